"""From the command line to the running daemon."""

import os

import pytest

from daemon import monitor, monitor_line, sample_line

DEFAULT_CONF = "/data/vendor/thermal/config/talmor-thermal_default.conf"
FACTORY_CONF = "/vendor/etc/talmor-thermal.conf"
COPIED = f"[TalmorThermal] Conf file is copied!({FACTORY_CONF} -> {DEFAULT_CONF})"
BEFORE_CONFIGURATION = [
    "[TalmorThermal] Using Env Config!",
    "[TalmorThermal] EnvParse Passed!",
]
AFTER_CONFIGURATION = [
    "[TalmorThermal] ConfParse Passed!",
    "[TalmorThermal] initScenario Passed!",
]


def one_monitor_board(daemon, temperature=60000):
    daemon.sensor("cpu", temperature)
    daemon.device("gpu")
    daemon.monitor("hot")


def startup_log(daemon):
    """The log up to the end of start-up."""
    daemon.wait_log(AFTER_CONFIGURATION[-1])
    logs = daemon.logs()
    return logs[:logs.index(AFTER_CONFIGURATION[-1]) + 1]


def test_start_up_logs_its_stations_in_order(daemon):
    one_monitor_board(daemon)
    daemon.start()
    assert startup_log(daemon) == [*BEFORE_CONFIGURATION, COPIED, *AFTER_CONFIGURATION]


def test_a_hot_sensor_at_start_drives_its_device(daemon):
    one_monitor_board(daemon)
    daemon.start()
    daemon.wait_writes("gpu", ["1"])


@pytest.mark.parametrize("factory", [
    pytest.param(b"", id="empty"),
    pytest.param(b"\r\n \t\r\n\n", id="blank-lines-and-carriage-returns"),
    pytest.param(monitor("hot").encode().rstrip(), id="no-line-end"),
    pytest.param(monitor("hot").encode().rstrip() + b"\nunknown_key " +
                 bytes(byte for byte in range(256) if byte != ord("\n")) * 400,
                 id="long-and-binary"),
])
def test_the_factory_configuration_is_copied_byte_for_byte(daemon, factory):
    daemon.sensor("cpu")
    daemon.device("gpu")
    daemon.write_files()
    daemon.box.conf_file.write_bytes(factory)
    daemon.start(write_files=False)
    assert COPIED in startup_log(daemon)
    assert daemon.box.host_path(DEFAULT_CONF).read_bytes() == factory


def test_a_configuration_that_is_already_there_is_not_replaced(daemon):
    daemon.sensor("cpu", 60000)
    daemon.device("gpu")
    daemon.conf("this would end the daemon\n")
    daemon.box.host_path(DEFAULT_CONF).write_text(monitor("kept"))
    daemon.start()
    assert startup_log(daemon) == [*BEFORE_CONFIGURATION, *AFTER_CONFIGURATION]
    daemon.wait_log(monitor_line("kept", 60000, 0, 1))
    assert daemon.box.host_path(DEFAULT_CONF).read_text() == monitor("kept")


def test_the_environment_names_the_configuration_file(daemon):
    one_monitor_board(daemon)
    daemon.section("active", "conf_file", file_name="board.conf")
    daemon.start()
    assert startup_log(daemon) == [
        *BEFORE_CONFIGURATION,
        f"[TalmorThermal] Conf file is copied!({FACTORY_CONF} -> "
        "/data/vendor/thermal/config/board.conf)",
        *AFTER_CONFIGURATION]
    assert os.listdir(daemon.box.config_dir) == ["board.conf"]


def test_without_its_directory_the_factory_configuration_itself_is_read(daemon):
    one_monitor_board(daemon)
    daemon.box.config_dir.rmdir()
    daemon.start()
    assert startup_log(daemon) == [
        *BEFORE_CONFIGURATION,
        f"[TalmorThermal] Can't open : {DEFAULT_CONF}",
        f"[TalmorThermal] Unreadable conf file : {DEFAULT_CONF}",
        *AFTER_CONFIGURATION]
    daemon.wait_writes("gpu", ["1"])


def test_without_a_factory_configuration_an_empty_one_is_made(daemon):
    one_monitor_board(daemon)
    daemon.write_files()
    daemon.box.conf_file.unlink()
    daemon.start(write_files=False)
    assert startup_log(daemon) == [
        *BEFORE_CONFIGURATION,
        f"[TalmorThermal] Can't open : {FACTORY_CONF}",
        *AFTER_CONFIGURATION]
    assert daemon.box.host_path(DEFAULT_CONF).read_bytes() == b""
    daemon.wait_samples("cpu", 5)
    assert daemon.writes("gpu") == []


def test_without_any_configuration_the_sensors_are_sampled_all_the_same(daemon):
    one_monitor_board(daemon)
    daemon.write_files()
    daemon.box.conf_file.unlink()
    daemon.box.config_dir.rmdir()
    daemon.start(write_files=False)
    assert startup_log(daemon) == [
        *BEFORE_CONFIGURATION,
        f"[TalmorThermal] Can't open : {FACTORY_CONF}",
        f"[TalmorThermal] Unreadable conf file : {DEFAULT_CONF}",
        f"[TalmorThermal] Unreadable conf file : {FACTORY_CONF}",
        *AFTER_CONFIGURATION]
    daemon.wait_samples("cpu", 5)


def test_a_directory_in_the_place_of_the_configuration_falls_back_to_the_factory_one(daemon):
    one_monitor_board(daemon)
    daemon.box.host_path(DEFAULT_CONF).mkdir()
    daemon.start()
    assert startup_log(daemon) == [
        *BEFORE_CONFIGURATION,
        f"[TalmorThermal] Unreadable conf file : {DEFAULT_CONF}",
        *AFTER_CONFIGURATION]
    daemon.wait_writes("gpu", ["1"])


def test_two_directories_in_the_place_of_both_configurations_leave_it_without_algorithms(daemon):
    one_monitor_board(daemon)
    daemon.write_files()
    daemon.box.conf_file.unlink()
    daemon.box.conf_file.mkdir()
    daemon.box.host_path(DEFAULT_CONF).mkdir()
    daemon.start(write_files=False)
    assert startup_log(daemon) == [
        *BEFORE_CONFIGURATION,
        f"[TalmorThermal] Unreadable conf file : {DEFAULT_CONF}",
        f"[TalmorThermal] Unreadable conf file : {FACTORY_CONF}",
        *AFTER_CONFIGURATION]
    daemon.wait_samples("cpu", 5)


def test_the_control_files_are_reset_whatever_they_held(daemon):
    daemon.scenario("Default")
    one_monitor_board(daemon)
    (daemon.box.data_dir / "talmor-thermal.scen").write_text("game and much more text\n")
    (daemon.box.data_dir / "talmor-thermal.dconf").write_text("other.conf and more text\n")
    daemon.started()
    assert daemon.request_file() == "PARSED"
    assert daemon.scenario_file() == "Default"


def test_the_control_files_are_created(daemon):
    daemon.scenario("Default")
    one_monitor_board(daemon)
    daemon.started()
    assert daemon.request_file() == "PARSED"
    assert daemon.scenario_file() == "Default"


def test_control_files_that_cannot_be_made_do_not_stop_start_up(daemon):
    one_monitor_board(daemon)
    daemon.box.config_dir.rmdir()
    daemon.box.data_dir.rmdir()
    daemon.start()
    assert startup_log(daemon)[-1] == AFTER_CONFIGURATION[-1]
    daemon.wait_writes("gpu", ["1"])


def test_nolog_silences_every_line(daemon):
    one_monitor_board(daemon)
    daemon.section("missing", "real", node_path="/nonexistent")
    daemon.section("broken", "charger", node_path="/nonexistent/charger", level_table="1 2")
    daemon.start("nolog")
    daemon.wait_writes("gpu", ["1"])
    daemon.set("cpu", 20000)
    daemon.wait_writes("gpu", ["1", "0"])
    assert daemon.logs() == []


def test_nolog_silences_a_failing_copy(daemon):
    one_monitor_board(daemon)
    daemon.box.config_dir.rmdir()
    daemon.start("nolog")
    daemon.wait_writes("gpu", ["1"])
    assert daemon.logs() == []


@pytest.mark.parametrize("arguments", [
    ["NOLOG"], ["Nolog"], ["nolog "], [" nolog"], ["-nolog"], ["--nolog"], ["nologs"], ["nolo"],
    [""], ["nolog", "nolog"], ["nolog", ""], ["verbose", "nolog"], ["-c", "/some/file"],
], ids=repr)
def test_any_other_command_line_is_accepted_and_leaves_logging_on(daemon, arguments):
    daemon.sensor("cpu")
    daemon.start(*arguments)
    assert startup_log(daemon) == [*BEFORE_CONFIGURATION, COPIED, *AFTER_CONFIGURATION]


def test_an_empty_board_keeps_running(daemon):
    daemon.start()
    assert startup_log(daemon) == [*BEFORE_CONFIGURATION, COPIED, *AFTER_CONFIGURATION]
    # Without a scenario in the configuration the control file's word is unknown, once a second.
    daemon.wait_log("[TalmorThermal] There is no scen name: Default", count=2)
    assert daemon.box.running()


def test_the_main_thread_stays_blocked_for_good(daemon):
    # The monitor's thread has a name that sorts before that of the sensor's.
    daemon.sensor("cpu", 60000, sampling=50)
    daemon.device("gpu")
    daemon.monitor("hot", sampling=1000)
    daemon.started()
    daemon.wait_decisions("hot", 2)
    assert state_of(daemon.pid, daemon.pid) == "S"
    ran_before = run_time(daemon.pid, daemon.pid)
    daemon.wait_samples("cpu", 20)
    assert run_time(daemon.pid, daemon.pid) == ran_before
    assert daemon.logs("[TalmorThermal] RunThreads Passed!") == []


def test_it_dies_by_signal_without_any_teardown(daemon):
    one_monitor_board(daemon)
    daemon.started()
    daemon.wait_writes("gpu", ["1"])
    daemon.box.process.terminate()
    assert daemon.wait_exit() == -15
    assert daemon.writes("gpu") == ["1"]


def test_a_missing_environment_waits_in_silence_and_at_rest(daemon, new_daemon):
    daemon.conf("this is never read\n")
    daemon.write_files()
    daemon.box.env_file.unlink()
    daemon.start(write_files=False)
    daemon.wait_log(BEFORE_CONFIGURATION[0])
    daemon.wait(lambda: state_of(daemon.pid, daemon.pid) == "S", "the main thread to sleep")
    switches, seconds = wake_ups(daemon.pid), daemon.processor_seconds()

    clock = new_daemon()  # a second daemon whose samples tell that time has passed
    clock.sensor("cpu")
    clock.started()
    clock.wait_samples("cpu", 50)

    assert wake_ups(daemon.pid) - switches <= 2
    assert daemon.processor_seconds() - seconds <= 0.02
    assert daemon.logs() == BEFORE_CONFIGURATION[:1]
    assert os.listdir(daemon.box.data_dir) == ["config"]
    assert os.listdir(daemon.box.config_dir) == []
    assert daemon.box.running()


def test_the_first_sample_is_taken_at_once(daemon):
    daemon.sensor("cpu", 33000, sampling=30000)
    daemon.start()
    daemon.wait_log(sample_line("cpu", 33000))


def state_of(pid, thread):
    stat = open(f"/proc/{pid}/task/{thread}/stat").read()
    return stat.rpartition(")")[2].split()[0]


def run_time(pid, thread):
    """Nanoseconds that a thread has been running, and how often it was given the processor."""
    on_processor, _, turns = open(f"/proc/{pid}/task/{thread}/schedstat").read().split()
    return int(on_processor), int(turns)


def wake_ups(pid):
    """How often the threads of a process have gone to sleep by themselves."""
    count = 0
    for thread in os.listdir(f"/proc/{pid}/task"):
        for line in open(f"/proc/{pid}/task/{thread}/status"):
            if line.startswith("voluntary_ctxt_switches:"):
                count += int(line.split()[1])
    return count


def test_on_a_host_liblog_prints_every_line_to_standard_error(daemon):
    one_monitor_board(daemon)
    daemon.preloads.clear()  # nothing stands between the daemon and its liblog
    daemon.start()
    daemon.wait(lambda: AFTER_CONFIGURATION[-1] in daemon.box.stderr(), "the end of start-up")
    daemon.box.stop()
    assert all(line.startswith("echo-service V ") for line in daemon.box.stderr().splitlines() if line)
    daemon.box.stderr_file.write_text("")  # as quiet as a recorded one
