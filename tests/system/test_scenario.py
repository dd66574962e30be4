"""The scenario control file: switching the scenario in force."""

import os

import pytest

from daemon import activate_line, deactivate_line, monitor, monitor_line, sample_line, ss

SLEEP = "clock_nanosleep(CLOCK_REALTIME, 0, {tv_sec=1, tv_nsec=0}"
POLLS = ["[TalmorThermal] There is no conf file: no-such-file"]
PLAY = monitor("play", thresholds=40000, thresholds_clr=35000, action_info=2)
DREAM = monitor("dream", thresholds=30000, thresholds_clr=25000, action_info=3)
SCENARIOS = "SCEN Default\n" + monitor("day") + "SCEN game\n" + PLAY + "SCEN night\n" + DREAM


def start_line(old, new):
    return f"[TalmorThermal] Changing Scenario Start ({old}->{new})"


def done_line(name):
    return f"[TalmorThermal] ScenChange for sensor Thread is done [{name}]"


def all_done_line(name):
    return f"[TalmorThermal] All scenChangeDone to {name}"


def switch_logs(daemon, since):
    starts = ("[TalmorThermal] Changing", "[TalmorThermal] ScenChange", "[TalmorThermal] All scen",
              "[TalmorThermal] Sensor [cpu] ", "[TalmorThermal] There", "[TalmorThermal] No ")
    return [line for line in daemon.logs(since=since) if line.startswith(starts)]


@pytest.fixture
def board(daemon):
    daemon.sensor("cpu", 60000)
    daemon.device("gpu")
    daemon.conf(SCENARIOS)
    return daemon


def test_a_switch_logs_its_stages_in_order(board):
    board.started()
    board.wait_writes("gpu", ["1"])
    mark = board.switch("game")
    assert switch_logs(board, mark) == [
        start_line("Default", "game"),
        activate_line("cpu", "play", "game"),
        deactivate_line("cpu", "day", "Default"),
        done_line("game"), all_done_line("game")]


def test_the_algorithms_of_the_new_scenario_take_over(board):
    board.started()
    board.wait_writes("gpu", ["1"])
    board.switch("game")
    board.wait(lambda: board.writes("gpu")[-1] == "2", "level 2")
    board.switch("night")
    board.wait(lambda: board.writes("gpu")[-1] == "3", "level 3")
    mark = board.switch("Default")
    board.wait(lambda: board.writes("gpu")[-1] == "1", "level 1")
    board.wait_decisions("day", 5)
    assert board.writes("gpu", mark)[-1] == "1"
    assert board.scenario_file() == "Default"


def test_the_algorithms_of_the_old_scenario_stop_deciding(board):
    board.started()
    board.switch("game")
    board.wait_decisions("play", 2)
    mark = board.mark()
    board.wait_decisions("play", 10)
    assert board.logs(monitor_line("day"), mark) == []


def test_samples_name_the_scenario_in_force(board):
    board.started()
    board.wait_log(sample_line("cpu", 60000, "Default"))
    board.switch("game")
    mark = board.mark()
    board.wait_samples("cpu", 5, mark)
    assert set(board.logs("[TalmorThermal] Sensor [cpu]", mark)) == {
        sample_line("cpu", 60000, "game")}


def test_a_cold_scenario_wakes_nothing(board):
    board.set("cpu", 35000)
    board.started()
    mark = board.switch("game")
    board.wait_samples("cpu", 5)
    assert board.logs("[TalmorThermal] Sensor [cpu] activate", mark) == []
    board.set("cpu", 40000)
    board.wait_log(activate_line("cpu", "play", "game"), since=mark)


def test_a_scenario_without_algorithms_for_a_sensor_retires_the_old_ones(board):
    board.sensor("skin", 60000)
    board.device("lcd")
    board.conf("SCEN Default\n" + monitor("warm", sensor="skin", actions="lcd"))
    board.started()
    board.wait_writes("lcd", ["1"])
    mark = board.switch("game")
    board.wait_writes("lcd", ["1", "0"])
    assert deactivate_line("skin", "warm", "Default") in board.logs(since=mark)


def test_an_ss_of_the_old_scenario_releases_its_device(board):
    board.device("fan")
    board.conf("SCEN Default\n" + ss("step", device="fan", set_point=58000, start_level=1))
    board.started()
    board.wait_writes("fan", ["3"])
    mark = board.switch("night")
    board.wait_writes("fan", ["3", "0"])
    assert deactivate_line("cpu", "step", "Default") in board.logs(since=mark)


def test_the_name_of_the_scenario_in_force_changes_and_logs_nothing(board):
    board.started()
    board.wait_writes("gpu", ["1"])
    mark = board.mark()
    board.ask_scenario("Default")
    board.wait_polls(2)
    assert switch_logs(board, mark) == POLLS * 2
    assert board.scenario_file() == "Default"


@pytest.mark.parametrize("text, answer", [
    ("arcade", "arcade"), ("Game", "Game"), ("gam", "gam"), ("games and night", "games"), ("", ""),
    (" \n\t", ""), ("OLDSCEN_Default", "OLDSCEN_Default"), ("play", "play"),
])
def test_an_unknown_scenario_is_logged_and_overwritten(board, text, answer):
    board.started()
    board.wait_writes("gpu", ["1"])
    mark = board.mark()
    board.ask_scenario(text)
    board.wait_log(f"[TalmorThermal] There is no scen name: {answer}", since=mark)
    board.wait(lambda: board.scenario_file() == "Default", "the answer in the file")
    board.wait_polls(2)
    assert switch_logs(board, mark) == [
        f"[TalmorThermal] There is no scen name: {answer}", *POLLS, *POLLS]


def test_an_unknown_scenario_is_overwritten_with_the_one_in_force(board):
    board.started()
    board.switch("game")
    board.ask_scenario("arcade")
    board.wait_log("[TalmorThermal] There is no scen name: arcade")
    board.wait(lambda: board.scenario_file() == "game", "the answer in the file")


@pytest.mark.parametrize("text", ["game\n", "game night", "\n\n \tgame\tand more\nDefault\n",
                                  "game\fDefault"])
def test_the_first_word_alone_counts(board, text):
    board.started()
    board.ask_scenario(text)
    board.wait_scenario("game")
    assert board.scenario_file() == text


@pytest.mark.parametrize("scenario", ["Default", "game"])
def test_a_deleted_scenario_file_is_made_again_with_the_one_in_force(board, scenario):
    board.started()
    board.wait_writes("gpu", ["1"])
    if scenario != "Default":
        board.switch(scenario)
    mark = board.mark()
    os.unlink(board.box.data_dir / "talmor-thermal.scen")
    board.wait_log("[TalmorThermal] No scen file", since=mark)
    board.wait(lambda: _text(board, "talmor-thermal.scen") == scenario, "the file")
    board.wait_polls(2)
    assert switch_logs(board, mark) == ["[TalmorThermal] No scen file"] + POLLS * 2


def test_the_word_enofile_counts_as_a_missing_scenario_file(board):
    board.started()
    board.switch("game")
    board.ask_scenario("ENOFILE Default")
    board.wait_log("[TalmorThermal] No scen file")
    board.wait(lambda: board.scenario_file() == "game", "the answer in the file")
    assert "[TalmorThermal] There is no scen name: ENOFILE" not in board.logs()


def test_without_their_directory_both_files_are_missed_once_per_poll(board):
    board.box.config_dir.rmdir()
    board.box.data_dir.rmdir()
    board.started()
    last = board.wait_log("[TalmorThermal] No conf file", count=3)
    first = board.wait_log("[TalmorThermal] No conf file", count=1)
    assert 2 <= last.time - first.time < 4
    missed = [line for line in board.logs("[TalmorThermal] No ")]
    assert missed[:6] == ["[TalmorThermal] No scen file", "[TalmorThermal] No conf file"] * 3


def test_without_a_default_scenario_the_log_complains_at_every_poll(daemon):
    daemon.sensor("cpu", 60000)
    daemon.device("gpu")
    daemon.conf(monitor("day") + "SCEN game\n" + monitor("play", action_info=2))
    daemon.started()
    daemon.wait_writes("gpu", ["1"])  # its items are those of Default all the same
    daemon.wait_log("[TalmorThermal] There is no scen name: Default", count=3)
    daemon.switch("game")
    daemon.wait(lambda: daemon.writes("gpu")[-1] == "2", "level 2")
    mark = daemon.mark()
    daemon.ask_scenario("Default")
    daemon.wait_log("[TalmorThermal] There is no scen name: Default", since=mark)
    daemon.wait(lambda: daemon.scenario_file() == "game", "the answer in the file")


def test_two_switches_in_a_row_both_happen(board):
    board.started()
    for name in ("game", "night", "game", "Default"):
        board.switch(name)
    starts = board.logs("[TalmorThermal] Changing Scenario Start")
    assert starts == [start_line("Default", "game"), start_line("game", "night"),
                      start_line("night", "game"), start_line("game", "Default")]


def test_a_request_takes_at_most_about_two_polls(board):
    board.started()
    asked = board.wait_samples("cpu", 1)
    board.ask_scenario("game")
    done = board.wait_log(all_done_line("game"))
    assert done.time - asked.time < 4


# With every sensor thread.

@pytest.mark.parametrize("periods", [[1], [5], [2000], [20, 30], [5, 2000], [5, 50, 500, 2000],
                                     [1, 2, 3, 4]], ids=str)
def test_every_sensor_thread_takes_part_in_a_switch(daemon, periods):
    for period in periods:
        daemon.sensor(f"s{period}", 60000, sampling=period)
    daemon.device("gpu")
    daemon.conf("SCEN Default\n" + monitor("day", sensor=f"s{periods[-1]}") +
                "SCEN game\n" + monitor("play", sensor=f"s{periods[0]}", action_info=2))
    daemon.started()
    for name in ("game", "Default", "game"):
        mark = daemon.switch(name)
        logs = [line for line in daemon.logs(since=mark) if "[TalmorThermal] Sensor" not in line
                and "Monitor" not in line]
        assert logs[1:] == [done_line(name)] * len(periods) + [all_done_line(name)]
        done = daemon.log_events(done_line(name), mark)
        assert len({event.thread for event in done}) == len(done) == len(periods)
        for period in periods:
            daemon.wait_log(sample_line(f"s{period}", 60000, name), since=mark)
    daemon.wait(lambda: daemon.writes("gpu")[-1] == "2", "level 2")


def test_a_switch_cuts_a_long_period_short(board):
    board.sensor("slow", sampling=60000)
    board.started()
    mark = board.switch("game")
    board.wait_log(sample_line("slow", 20000, "game"), since=mark)


def test_a_busy_sensor_thread_finishes_its_pass_before_a_switch(daemon):
    sensors = [f"s{number}" for number in range(200)]
    for name in sensors:
        daemon.sensor(name, sampling=10)
    daemon.conf("SCEN Default\n" + monitor("day", sensor="s0") +
                "SCEN game\n" + monitor("play", sensor="s0"))
    daemon.started()
    for name in ("game", "Default"):
        mark = daemon.switch(name)
        daemon.wait_samples(sensors[-1], 3, mark)
    samples = [line for line in daemon.logs("[TalmorThermal] Sensor [s")]
    scenario_of = [line.split("Scen [")[1].split("]")[0] for line in samples]
    # Every pass is of one scenario throughout.
    passes = [set(scenario_of[i:i + 200]) for i in range(0, len(samples) - 200, 200)]
    assert all(len(names) == 1 for names in passes)


def test_a_thread_whose_every_sensor_is_asleep_holds_a_switch_up(board):
    board.sensor("trip", 20000)
    board.section("skin", "virtual", sampling=30, set_point=50000, set_point_clr=40000,
                  sensors="cpu", weights=2, trip_sensor="trip")
    board.started()
    mark = board.mark()
    board.ask_scenario("game")
    board.wait_log(start_line("Default", "game"), since=mark)
    # The other sensors are parked and no longer sampled; nothing goes on before the trip, and a
    # parked sensor cannot trip, so that the daemon stays as it is.
    board.wait(lambda: _unchanged(board), "the daemon to come to rest")
    assert board.logs(all_done_line("game")) == []
    assert board.box.running()


def test_a_switch_reaches_a_virtual_sensor_that_is_switched_on(board):
    board.section("skin", "virtual", sampling=30, set_point=50000, set_point_clr=40000,
                  sensors="cpu", weights=2, trip_sensor="cpu")
    board.started()
    board.wait_log_start("[TalmorThermal] Sensor[skin] ")
    mark = board.switch("game")
    board.wait_log(done_line("game"), count=2, since=mark)


def test_a_silent_daemon_switches_too(board):
    board.start("nolog")
    board.wait_writes("gpu", ["1"])
    board.ask_scenario("game")
    board.wait(lambda: board.writes("gpu")[-1] == "2", "level 2")
    assert board.logs() == []


def test_the_two_looks_of_a_second_take_six_system_calls(board):
    if board.emulator:
        pytest.skip("a trace would be the emulator's")
    trace = board.box.base / "trace"
    # With -D the tracer stands aside, and what is started is the daemon itself.
    board.started(prefix=["strace", "-D", "-f", "-qq", "-o", str(trace)])
    board.wait(lambda: len(_calls_of_each_second(trace)) >= 3, "three seconds")
    names = [[call.partition("(")[0] for call in calls] for calls in _calls_of_each_second(trace)]
    assert names[:3] == 3 * [2 * ["openat", "pread64", "close"]]


def _calls_of_each_second(trace):
    """The system calls of the scenario thread between its sleeps of exactly one second."""
    calls = [line.split(maxsplit=1) for line in trace.read_text().rpartition("\n")[0].splitlines()]
    sleepers = {thread for thread, call in calls if call.startswith(SLEEP)}
    if not sleepers:
        return []
    mine = [call for thread, call in calls if thread in sleepers and not call.startswith("<... ")]
    sleeps = [i for i, call in enumerate(mine) if call.startswith(SLEEP)]
    return [mine[before + 1:after] for before, after in zip(sleeps, sleeps[1:])]


def _text(board, name):
    path = board.box.data_dir / name
    return path.read_text() if path.exists() else None


def _unchanged(board, still_for=1.0):
    """Whether the monitors' decisions are all that has been logged for a while."""
    events = board.log_events("[TalmorThermal] Sensor")
    last_decision = board.log_events(monitor_line("day"))[-1]
    return last_decision.time - events[-1].time > still_for
