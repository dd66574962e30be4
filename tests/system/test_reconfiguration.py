"""The configuration request file: replacing the algorithms of a running daemon."""

import os

import pytest

from daemon import (activate_line, deactivate_line, monitor, monitor_line, sample_line, ss, ss_line,
                    ss_stop_line)

BEGIN = "[TalmorThermal] Start to apply new CONF file"
END = "[TalmorThermal] Appling new CONF file is completed"
FAIL = "[TalmorThermal] [CONF PARSE FAIL] "
CONFIG_DIR = "/data/vendor/thermal/config/"
IN_FORCE = CONFIG_DIR + "talmor-thermal_default.conf"

OLD = "SCEN Default\n" + monitor("old")
NEW = "SCEN Default\n" + monitor("new", thresholds=40000, thresholds_clr=35000, action_info=2)
GAME = "SCEN game\n" + monitor("play", action_info=3)


def start_line(old="Default", new="Default"):
    return f"[TalmorThermal] Changing Scenario Start ({old}->{new})"


def done_line(name):
    return f"[TalmorThermal] ScenChange for sensor Thread is done [{name}]"


def all_done_line(name="Default"):
    return f"[TalmorThermal] All scenChangeDone to {name}"


def no_file_line(name):
    return f"[TalmorThermal] There is no conf file: {name}"


def stages(daemon, since):
    """What has been logged but samples and decisions."""
    return [line for line in daemon.logs(since=since) if "temp(" not in line]


@pytest.fixture
def board(daemon):
    """A hot sensor, a device, and the configuration OLD."""
    daemon.sensor("cpu", 60000)
    daemon.device("gpu")
    daemon.conf(OLD)
    return daemon


@pytest.fixture
def running(board):
    board.started()
    board.wait_writes("gpu", ["1"])
    return board


# A swap.

def test_a_swap_logs_its_stages_in_order(running):
    mark = running.swap("new.conf", NEW)
    assert stages(running, mark) == [
        BEGIN,
        start_line(), done_line("OLDSCEN_Default"), all_done_line(),
        start_line(),
        activate_line("cpu", "new"),
        deactivate_line("cpu", "old", "OLDSCEN_Default"),
        done_line("Default"), all_done_line(),
        END]


def test_the_new_algorithms_drive_the_devices(running):
    running.swap("new.conf", NEW)
    running.wait(lambda: running.writes("gpu")[-1] == "2", "level 2")
    mark = running.mark()
    running.set("cpu", 40000)
    running.wait_log(monitor_line("new", 40000, 1, 1), since=mark)
    running.set("cpu", 34999)
    running.wait(lambda: running.writes("gpu")[-1] == "0", "level 0")


def test_the_old_algorithms_decide_no_more(running):
    running.swap("new.conf", NEW)
    mark = running.mark()
    running.wait_decisions("new", 10)
    assert running.logs(monitor_line("old"), mark) == []


def test_the_request_is_answered_once_when_all_is_done(running):
    mark = running.swap("new.conf", NEW)
    assert running.request_file() == "PARSED"
    answers = running.write_events("talmor-thermal.dconf", since=mark)
    assert [event.data for event in answers] == [b"PARSED"]
    switched = running.log_events(all_done_line(), mark)[-1]
    completed = running.log_events(END, mark)[0]
    events = running.refresh()
    assert events.index(switched) < events.index(answers[0]) < events.index(completed)


def test_between_the_two_switches_the_old_algorithms_run_under_a_prefixed_name(running):
    mark = running.swap("new.conf", NEW)
    samples = running.logs("[TalmorThermal] Sensor [cpu], ", mark)
    assert sample_line("cpu", 60000, "OLDSCEN_Default") in samples
    scenarios = [line.split("Scen [")[1].split("]")[0] for line in samples]
    changes = [name for i, name in enumerate(scenarios) if i == 0 or name != scenarios[i - 1]]
    assert changes == ["Default", "OLDSCEN_Default", "Default"]
    assert running.logs(activate_line("cpu", "old", "OLDSCEN_Default")) == []


def test_sampling_goes_on_through_a_swap(running):
    mark = running.mark()
    running.swap("new.conf", NEW)
    running.wait_samples("cpu", 3)
    times = [event.time for event in running.log_events("[TalmorThermal] Sensor [cpu], ", mark)]
    assert max(after - before for before, after in zip(times, times[1:])) < 1


def test_a_cold_device_stays_untouched(board):
    board.set("cpu", 20000)
    board.started()
    board.swap("new.conf", NEW)
    board.wait_samples("cpu", 5)
    assert board.writes("gpu") == []


def test_a_configuration_without_algorithms_releases_all_devices(running):
    running.swap("empty.conf", "")
    running.wait_writes("gpu", ["1", "0"])
    running.wait_samples("cpu", 5)
    assert running.writes("gpu") == ["1", "0"]


def test_an_old_ss_releases_its_device(board):
    board.device("fan")
    board.conf("SCEN Default\n" + ss("step", device="fan", set_point=58000, start_level=1))
    board.started()
    board.wait_writes("fan", ["3"])
    mark = board.swap("new.conf", NEW)
    board.wait_writes("fan", ["3", "0"])
    assert deactivate_line("cpu", "step", "OLDSCEN_Default") in board.logs(since=mark)


def test_a_new_ss_steps_from_its_set_point(running):
    running.swap("new.conf", "SCEN Default\n" + ss("step", set_point=57000, start_level=1))
    running.wait_log(ss_line("step", 0, 60000, 4))
    running.set("cpu", 20000)
    running.wait_log(ss_stop_line("step", 60000, 20000, 4))
    running.wait(lambda: running.writes("gpu")[-1] == "0", "level 0")


def test_virtual_sensors_take_part_in_a_swap(board):
    board.section("skin", "virtual", sampling=30, set_point=50000, set_point_clr=40000,
                  sensors="cpu", weights=2, trip_sensor="cpu")
    board.device("lcd")
    board.started()
    board.wait_log_start("[TalmorThermal] Sensor[skin] ")
    mark = board.swap("new.conf", NEW + monitor("warm", sensor="skin", actions="lcd"))
    board.wait_writes("lcd", ["1"])
    board.wait_log(done_line("Default"), count=2, since=mark)


@pytest.mark.parametrize("periods", [[5], [20, 30], [5, 50, 500, 2000]], ids=str)
def test_every_sensor_thread_takes_part_in_a_swap(daemon, periods):
    for period in periods:
        daemon.sensor(f"s{period}", 60000, sampling=period)
    daemon.device("gpu")
    daemon.conf("SCEN Default\n" + monitor("old", sensor=f"s{periods[-1]}"))
    daemon.started()
    daemon.wait_writes("gpu", ["1"])
    mark = daemon.swap("new.conf",
                       "SCEN Default\n" + monitor("new", sensor=f"s{periods[0]}", action_info=2))
    for name in ("OLDSCEN_Default", "Default"):
        daemon.wait_log(done_line(name), count=len(periods), since=mark)
    daemon.wait(lambda: daemon.writes("gpu")[-1] == "2", "level 2")


def test_the_same_file_can_be_loaded_again_after_it_was_edited(running):
    for level in (2, 3, 4):
        running.swap("new.conf", "SCEN Default\n" + monitor(f"m{level}", action_info=level))
        running.wait(lambda: running.writes("gpu")[-1] == str(level), f"level {level}")


def test_the_file_in_force_can_be_asked_for_by_its_name(running):
    running.swap("talmor-thermal_default.conf", NEW)
    running.wait(lambda: running.writes("gpu")[-1] == "2", "level 2")


def test_a_swap_and_a_way_back(running):
    running.swap("new.conf", NEW)
    running.wait(lambda: running.writes("gpu")[-1] == "2", "level 2")
    running.swap("talmor-thermal_default.conf")
    running.wait(lambda: running.writes("gpu")[-1] == "1", "level 1")


def test_the_factory_file_is_not_copied_over_a_swapped_one(running):
    running.swap("new.conf", NEW)
    assert sorted(os.listdir(running.box.config_dir)) == ["new.conf", "talmor-thermal_default.conf"]
    assert (running.box.config_dir / "new.conf").read_text() == NEW
    assert len(running.logs("[TalmorThermal] Conf file is copied")) == 1


def test_a_silent_daemon_swaps_too(board):
    board.start("nolog")
    board.wait_writes("gpu", ["1"])
    board.profile("new.conf", NEW)
    board.ask_configuration("new.conf")
    board.wait(lambda: board.writes("gpu")[-1] == "2", "level 2")
    board.wait(lambda: board.request_file() == "PARSED", "the answer")
    assert board.logs() == []


# Threads.

def test_threads_of_the_old_configuration_end_and_do_not_pile_up(running):
    configurations = [
        ("SCEN Default\n" + monitor(f"m{n}", sampling=21 + n) + monitor(f"x{n}", sampling=31 + n)
         + ss(f"s{n}", sampling=41 + n)) for n in range(4)]
    running.swap("0.conf", configurations[0])
    threads = running.thread_count()
    for n in (1, 2, 3):
        running.swap(f"{n}.conf", configurations[n])
        running.wait_log_start(monitor_line(f"m{n}"))
        running.wait_threads(threads)


def test_a_thread_with_items_of_both_configurations_goes_on(running):
    before = running.log_events(monitor_line("old"))[0].thread
    mark = running.swap("new.conf", NEW)  # of the same period, scenario and kind
    assert running.wait_log_start(monitor_line("new"), since=mark).thread == before


def test_a_new_period_brings_a_new_thread(running):
    before = running.log_events(monitor_line("old"))[0].thread
    threads = running.thread_count()
    running.swap("new.conf", "SCEN Default\n" + monitor("new", sampling=25))
    assert running.wait_log_start(monitor_line("new")).thread != before
    running.wait_threads(threads)


def test_a_retired_thread_of_a_long_period_is_waited_for(board):
    board.conf_text = "SCEN Default\n" + monitor("old", sampling=3000)
    board.started()
    decided = board.wait_log_start(monitor_line("old"))
    threads = board.thread_count()
    mark = board.swap("new.conf", NEW)
    done = board.wait_log(END, since=mark)
    board.wait_log_start(monitor_line("new"), since=mark)
    assert done.time - decided.time < 10
    board.wait_threads(threads)


def test_the_daemon_outlives_the_thread_whose_name_comes_first(daemon):
    # "1000DefaultMONITOR" comes before the sensors' "500": what the main thread waits for must
    # not be the thread that a swap retires.
    daemon.sensor("cpu", 60000, sampling=500)
    daemon.device("gpu")
    daemon.conf("SCEN Default\n" + monitor("old", sampling=1000))
    daemon.started()
    daemon.wait_writes("gpu", ["1"])
    daemon.swap("new.conf", NEW)
    daemon.wait(lambda: daemon.writes("gpu")[-1] == "2", "level 2")
    daemon.wait_decisions("new", 20)
    assert daemon.logs("[TalmorThermal] RunThreads Passed!") == []


# Scenarios and swaps.

def test_a_swap_keeps_the_scenario_in_force(board):
    board.conf(GAME)
    board.started()
    board.switch("game")
    board.wait_log_start(monitor_line("play"))
    mark = board.swap("new.conf", NEW + "SCEN game\n" + monitor("race", action_info=4))
    assert stages(board, mark) == [
        BEGIN,
        start_line("game", "game"), done_line("OLDSCEN_game"), all_done_line("game"),
        start_line("game", "game"),
        activate_line("cpu", "race", "game"),
        deactivate_line("cpu", "play", "OLDSCEN_game"),
        done_line("game"), all_done_line("game"),
        END]
    board.wait(lambda: board.writes("gpu")[-1] == "4", "level 4")
    assert board.scenario_file() == "game"


def test_a_configuration_without_the_scenario_in_force_falls_back_to_default(board):
    board.conf(GAME)
    board.started()
    board.switch("game")
    mark = board.swap("new.conf", NEW)
    assert stages(board, mark) == [
        BEGIN,
        start_line("game", "game"), done_line("OLDSCEN_game"), all_done_line("game"),
        # The word that was read last: that of the scenario file, at the beginning of this poll.
        "[TalmorThermal] There is no scen name in new conf file: game",
        start_line(),
        activate_line("cpu", "new"),
        deactivate_line("cpu", "play", "OLDSCEN_game"),
        done_line("Default"), all_done_line(),
        END]
    assert board.scenario_file() == "Default"
    board.wait(lambda: board.writes("gpu")[-1] == "2", "level 2")


def test_a_scenario_and_a_configuration_without_it_asked_for_in_one_poll(board):
    board.conf(GAME)
    board.profile("new.conf", NEW)
    board.started()
    board.wait_polls(1)  # so that both files are written well before the next one
    mark = board.mark()
    board.ask_scenario("game")
    board.ask_configuration("new.conf")
    board.wait_swap(mark)
    logs = [line for line in stages(board, mark)
            if line.startswith(("[TalmorThermal] Chang", "[TalmorThermal] There", BEGIN, END))]
    assert logs == [
        start_line("Default", "game"),
        BEGIN,
        start_line("game", "game"),
        # The word that was read last: that of the request file, since a poll that switches the
        # scenario does not read the scenario file.
        "[TalmorThermal] There is no scen name in new conf file: new.conf",
        start_line(),
        END]
    assert board.scenario_file() == "Default"
    board.wait(lambda: board.writes("gpu")[-1] == "2", "level 2")


def test_without_a_default_scenario_every_swap_falls_back_to_it(running):
    mark = running.swap("new.conf", monitor("new", action_info=2))
    assert "[TalmorThermal] There is no scen name in new conf file: Default" in running.logs(
        since=mark)
    running.wait(lambda: running.writes("gpu")[-1] == "2", "level 2")


def test_the_scenarios_are_those_of_the_new_configuration(board):
    board.conf(GAME)
    board.started()
    board.swap("new.conf", NEW + "SCEN night\n" + monitor("dream", action_info=5))
    board.ask_scenario("game")
    board.wait_log("[TalmorThermal] There is no scen name: game")
    board.switch("night")
    board.wait(lambda: board.writes("gpu")[-1] == "5", "level 5")


def test_old_algorithms_of_other_scenarios_are_gone(board):
    board.conf(GAME)
    board.started()
    board.swap("new.conf", NEW + "SCEN game\n" + monitor("race", action_info=4))
    mark = board.switch("game")
    board.wait(lambda: board.writes("gpu")[-1] == "4", "level 4")
    board.wait_decisions("race", 5)
    assert board.logs(monitor_line("play"), mark) == []


def test_a_scenario_whose_name_holds_the_prefix_loses_its_algorithms_in_a_swap(board):
    odd = "SCEN my_OLDSCEN_game\n" + monitor("odd", action_info=6)
    board.conf(odd)
    board.started()
    board.switch("my_OLDSCEN_game")
    board.wait(lambda: board.writes("gpu")[-1] == "6", "level 6")
    board.switch("Default")
    board.swap("new.conf", NEW + odd)
    mark = board.switch("my_OLDSCEN_game")
    board.wait_samples("cpu", 10)
    assert board.logs(activate_line("cpu", "odd", "my_OLDSCEN_game"), mark) == []
    board.wait(lambda: board.writes("gpu")[-1] == "0", "level 0")


def test_a_switch_after_a_swap_and_a_swap_after_a_switch(board):
    board.conf(GAME)
    board.started()
    board.swap("new.conf", NEW + GAME)
    board.switch("game")
    board.wait(lambda: board.writes("gpu")[-1] == "3", "level 3")
    board.swap("newer.conf", OLD + "SCEN game\n" + monitor("race", action_info=4))
    board.wait(lambda: board.writes("gpu")[-1] == "4", "level 4")
    board.switch("Default")
    board.wait(lambda: board.writes("gpu")[-1] == "1", "level 1")


# No gap.

def hot_writes(board, mark):
    board.wait_decisions("new", 5)
    return board.writes("gpu", mark)


def test_no_hot_device_falls_back_when_a_new_thread_takes_over(board):
    board.started()
    board.wait_writes("gpu", ["1"])
    mark = board.swap("new.conf", "SCEN Default\n" + monitor("new", sampling=25, action_info=2))
    assert hot_writes(board, mark) == ["2"]


def test_no_hot_device_falls_back_when_a_thread_serves_both_configurations(board):
    board.started()
    board.wait_writes("gpu", ["1"])
    mark = board.swap("new.conf", NEW)
    assert hot_writes(board, mark) == ["2"]


def test_an_algorithm_of_the_same_name_keeps_its_device(board):
    board.conf_text = "SCEN Default\n" + monitor("new")
    board.started()
    board.wait_writes("gpu", ["1"])
    board.swap("new.conf", "SCEN Default\n" + monitor("new", sampling=25, action_info=2))
    board.wait_decisions("new", 5)
    assert board.writes("gpu")[-1] == "2"


# Requests that come to nothing.

@pytest.mark.parametrize("word", ["no-such-file", "no-such-file and more", "PARSED.conf", "parsed"])
def test_a_request_for_a_file_that_is_not_there_is_answered_at_once(running, word):
    mark = running.mark()
    running.ask_configuration(word)
    running.wait_log(no_file_line(word.split()[0]), since=mark)
    running.wait(lambda: running.request_file() == "PARSED", "the answer")
    running.wait_polls(1)
    assert stages(running, mark) == [no_file_line(word.split()[0]), no_file_line("no-such-file")]
    assert running.writes("gpu") == ["1"]


@pytest.mark.parametrize("word", ["PARSED", "PARSED new.conf", "\n PARSED\n"])
def test_the_word_parsed_asks_for_nothing(running, word):
    running.profile("new.conf", NEW)
    running.profile("PARSED", NEW)
    mark = running.mark()
    running.ask_configuration(word)
    # A scenario that is not there shows when the files have been polled.
    for _ in range(3):
        answered = running.mark()
        running.ask_scenario("arcade")
        running.wait_log("[TalmorThermal] There is no scen name: arcade", since=answered)
        running.wait(lambda: running.scenario_file() == "Default", "the answer")
    assert stages(running, mark) == ["[TalmorThermal] There is no scen name: arcade"] * 3
    assert running.request_file() == word


def test_a_deleted_request_file_is_made_again(running):
    mark = running.mark()
    os.unlink(running.box.data_dir / "talmor-thermal.dconf")
    running.wait_log("[TalmorThermal] No conf file", since=mark)
    running.wait(lambda: (running.box.data_dir / "talmor-thermal.dconf").exists() and
                 running.request_file() == "PARSED", "the file")
    running.wait_polls(1)
    assert stages(running, mark) == ["[TalmorThermal] No conf file", no_file_line("no-such-file")]


def test_the_word_enofile_counts_as_a_missing_request_file(running):
    running.profile("ENOFILE", NEW)
    mark = running.mark()
    running.ask_configuration("ENOFILE")
    running.wait_log("[TalmorThermal] No conf file", since=mark)
    running.wait(lambda: running.request_file() == "PARSED", "the answer")
    running.wait_polls(1)
    assert stages(running, mark) == ["[TalmorThermal] No conf file", no_file_line("no-such-file")]


def test_only_the_first_word_of_a_request_counts(running):
    running.profile("new.conf", NEW)
    mark = running.mark()
    running.ask_configuration(" \n new.conf other.conf\n")
    running.wait_swap(mark)
    running.wait(lambda: running.writes("gpu")[-1] == "2", "level 2")


def test_a_name_is_put_behind_the_directory_as_it_stands(running):
    (running.box.data_dir / "beside.conf").write_text(NEW)
    mark = running.mark()
    running.ask_configuration("../beside.conf")
    running.wait_swap(mark)
    running.wait(lambda: running.writes("gpu")[-1] == "2", "level 2")


# Names that come back.

def test_a_scenario_under_the_retired_name_of_the_one_in_force_is_lost(running):
    doomed = "SCEN OLDSCEN_Default\n" + "".join(monitor(f"doomed{i}") for i in range(200))
    for i in range(3):
        mark = running.swap(f"swap{i}.conf", NEW + doomed)
        running.wait(lambda: running.writes("gpu")[-1] == "2", "level 2")
        assert END in running.logs(since=mark)
    mark = running.mark()
    running.wait_samples("cpu", 5, mark)
    running.wait_decisions("new", 3)
    assert "doomed" not in "".join(running.logs(since=mark))
    assert running.logs("[TalmorThermal] [TalmorThermal] Monitor [new]", mark)


def test_a_report_tells_the_end_of_an_alarm_also_when_an_item_of_its_name_goes_on(board):
    board.section("report", "report", node_path="@/report")
    alarm = "SCEN Default\n" + monitor("hot", actions="report")
    board.profile("old.conf", alarm)
    board.started()
    board.swap("old.conf")
    board.wait_log(monitor_line("hot", 60000, 1, 1))
    mark = board.swap("new.conf", alarm)
    board.wait_log(monitor_line("hot", 60000, 1, 1), since=mark)
    events = [line.split("] ")[1].split()[0] for line in
              board.path("report").read_text().splitlines()]
    assert events == ["Over", "Over", "Under"]


# Files that cannot be read, and files with errors.

def check_file_in_force_is_read_again(daemon, request, path):
    mark = daemon.mark()
    daemon.ask_configuration(request)
    daemon.wait_swap(mark)
    logs = stages(daemon, mark)
    assert [line for line in logs if line.startswith("[TalmorThermal] Unreadable")] == [
        f"[TalmorThermal] Unreadable conf file : {path}"]
    assert logs.index(BEGIN) < logs.index(f"[TalmorThermal] Unreadable conf file : {path}")
    assert daemon.request_file() == "PARSED"
    daemon.wait(lambda: daemon.writes("gpu")[-1] == "1", "level 1")
    daemon.wait_decisions("old", 3)


def test_a_request_for_a_directory_reads_the_file_in_force_again(running):
    (running.box.config_dir / "folder").mkdir()
    check_file_in_force_is_read_again(running, "folder", CONFIG_DIR + "folder")


def test_an_empty_request_asks_for_the_directory_itself(running):
    check_file_in_force_is_read_again(running, "", CONFIG_DIR)


def test_the_file_in_force_stays_the_one_that_was_read(running):
    (running.box.config_dir / "folder").mkdir()
    running.swap("new.conf", NEW)
    mark = running.swap("folder")
    running.wait(lambda: running.writes("gpu")[-1] == "2", "level 2")
    running.swap("folder")
    running.wait_decisions("new", 3)
    assert running.logs("[TalmorThermal] Unreadable", mark) == [
        f"[TalmorThermal] Unreadable conf file : {CONFIG_DIR}folder"] * 2


def test_without_the_file_in_force_the_factory_file_is_read(running):
    (running.box.config_dir / "folder").mkdir()
    os.unlink(running.box.host_path(IN_FORCE))
    mark = running.swap("folder")
    assert running.logs("[TalmorThermal] Unreadable", mark) == [
        f"[TalmorThermal] Unreadable conf file : {CONFIG_DIR}folder",
        f"[TalmorThermal] Unreadable conf file : {IN_FORCE}"]
    running.wait_decisions("old", 3)
    running.wait(lambda: running.writes("gpu")[-1] == "1", "level 1")


def test_with_nothing_left_to_read_all_devices_are_released(running):
    (running.box.config_dir / "folder").mkdir()
    os.unlink(running.box.host_path(IN_FORCE))
    os.unlink(running.box.conf_file)
    mark = running.swap("folder")
    assert running.logs("[TalmorThermal] Unreadable", mark) == [
        f"[TalmorThermal] Unreadable conf file : {path}"
        for path in (CONFIG_DIR + "folder", IN_FORCE, "/vendor/etc/talmor-thermal.conf")]
    running.wait_writes("gpu", ["1", "0"])


@pytest.mark.parametrize("text, error", [
    ("nonsense\n", "Each item should be started with 'SCEN' or embraced with [name]"),
    (NEW + "]\n", "Each item should be started with 'SCEN' or embraced with [name]"),
    (NEW + "[a]\nsensor cpu\n",
     "Each item's property should contain & start with 'algo_type'"),
    (NEW + "[a]\nalgo_type SS\n", "Algo type should be 'monitor' or 'SS'"),
    (NEW + monitor("bad", sensor="gone"), "There is some missing property for bad"),
])
def test_an_error_in_the_new_file_ends_the_daemon_with_status_0(running, text, error):
    running.profile("bad.conf", text)
    mark = running.mark()
    running.ask_configuration("bad.conf")
    assert running.wait_exit() == 0
    assert stages(running, mark)[-1] == FAIL + error
    assert len(running.logs(FAIL)) == 1
    assert END not in running.logs()
    assert running.request_file() == "bad.conf"


def test_an_error_ends_a_silent_daemon_without_a_word(board):
    board.profile("bad.conf", "nonsense\n")
    board.start("nolog")
    board.wait_writes("gpu", ["1"])
    board.ask_configuration("bad.conf")
    assert board.wait_exit() == 0
    assert board.logs() == []


def test_an_unknown_device_in_a_new_file_is_skipped(running):
    running.swap("new.conf", "SCEN Default\n" + monitor("new", actions="nothing+gpu",
                                                        action_info="1+2"))
    running.wait(lambda: running.writes("gpu")[-1] == "2", "level 2")
