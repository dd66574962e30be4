"""thermalctl scenario and reload: steering a running daemon through its control files."""

import fcntl
import os
import re
import stat
import threading

import pytest

from daemon import monitor
from sandbox import wait_until
from thermalctl import PATIENT

DAY = "SCEN Default\n" + monitor("day") + "SCEN game\n" + monitor("play", action_info=2)
NIGHT = "SCEN Default\n" + monitor("night", action_info=3)
ENDS_THE_DAEMON = NIGHT.replace("monitor\n", "Monitor\n", 1)
SCENARIO_FILE = "talmor-thermal.scen"
REQUEST_FILE = "talmor-thermal.dconf"


@pytest.fixture
def board(daemon):
    """A hot sensor, a device, and the scenarios Default and game."""
    daemon.sensor("cpu", 60000)
    daemon.device("gpu")
    daemon.conf(DAY)
    return daemon


@pytest.fixture
def running(board):
    return board.started()


@pytest.fixture
def dead(running):
    """The files that a daemon leaves behind."""
    running.box.stop()
    return running


@pytest.fixture
def scenario(thermalctl, board):
    def run(name, *args, **options):
        return thermalctl("scenario", name, "--dir", board.box.data_dir, *args, **options)
    return run


@pytest.fixture
def reload_words(board):
    def words(path, *args):
        return ("reload", path, "--dir", board.box.data_dir, "--env", board.box.env_file, *args)
    return words


@pytest.fixture
def reload(thermalctl, reload_words):
    def run(path, *args):
        return thermalctl(*reload_words(path, *args))
    return run


@pytest.fixture
def profile(tmp_path):
    """Writes a configuration somewhere else than the daemon looks for it."""
    def write(text, name="night.conf"):
        path = tmp_path / name
        path.write_text(text)
        return path
    return write


def errors_in(result):
    return re.findall(r": error: .* \[([a-z-]+)\]$", result.out, re.M)


def files_in(directory):
    return sorted(entry.name for entry in os.scandir(directory))


# A scenario.

def test_a_scenario_is_in_force_once_it_says_so(running, scenario):
    result = scenario("game", *PATIENT)
    assert result == (0, "game is in force\n", "")
    assert "[TalmorThermal] All scenChangeDone to game" in running.logs()
    assert running.scenario_file() == "game"


def test_a_scenario_takes_about_three_seconds(running, scenario):
    start = running.wait_samples("cpu", 1).time
    scenario("game", *PATIENT)
    done = running.wait_samples("cpu", 1).time
    switched = running.wait_log("[TalmorThermal] All scenChangeDone to game").time
    assert 1 <= switched - start < 4
    assert 0.5 < done - switched < 4


def test_the_scenario_in_force_is_told_without_a_switch(running, scenario):
    assert scenario("Default", *PATIENT) == (0, "Default is in force\n", "")
    assert running.logs("[TalmorThermal] Changing Scenario Start") == []


def test_one_scenario_after_the_other(running, scenario):
    for name in ("game", "Default", "game"):
        assert scenario(name, *PATIENT).out == f"{name} is in force\n"
    assert running.logs("[TalmorThermal] All scenChangeDone") == [
        f"[TalmorThermal] All scenChangeDone to {name}" for name in ("game", "Default", "game")]


@pytest.mark.parametrize("in_force", ["Default", "game"])
def test_an_unknown_scenario_is_refused(running, scenario, in_force):
    if in_force != "Default":
        running.switch(in_force)
    status, out, err = scenario("arcade", *PATIENT)
    assert (status, out) == (1, "")
    assert err == ("thermalctl: the configuration has no scenario 'arcade'; "
                   f"{in_force} stays in force\n")
    assert running.scenario_file() == in_force


@pytest.mark.parametrize("name", ["", "two words", " game", "game\n", "a\tb", "ENOFILE"])
def test_what_the_daemon_cannot_read_as_a_scenario_is_not_written(running, scenario, name):
    status, out, err = scenario(name)
    assert (status, out) == (2, "")
    assert err.startswith("thermalctl: no scenario can be called '")
    running.wait_polls(1)
    assert running.logs("[TalmorThermal] There is no scen name") == []
    assert running.scenario_file() == "Default"


def test_a_dead_daemon_is_told_from_a_refusal(dead, scenario):
    status, out, err = scenario("game", "--timeout", 2)
    assert (status, out) == (2, "")
    assert err == (f"thermalctl: no answer within 2 s: is the daemon running, is {dead.box.data_dir}"
                   " its directory, and may it write there?\n")


def test_a_missing_directory_is_named(thermalctl, tmp_path):
    result = thermalctl("scenario", "game", "--dir", tmp_path / "no")
    assert result == (2, "", f"thermalctl: cannot write {tmp_path}/no/{SCENARIO_FILE}: "
                             "No such file or directory\n")


def test_two_that_ask_for_the_same_scenario_both_get_it(running, thermalctl):
    words = ("scenario", "game", "--dir", running.box.data_dir, *PATIENT)
    asking = [thermalctl.start(*words) for _ in range(2)]
    assert [process.communicate() for process in asking] == [("game is in force\n", "")] * 2


def test_one_asks_after_the_other(running, scenario):
    directory = os.open(running.box.data_dir, os.O_RDONLY)
    fcntl.flock(directory, fcntl.LOCK_EX)
    assert scenario("game", "--timeout", 0.5) == (
        2, "", "thermalctl: another thermalctl has not finished its work in"
               f" {running.box.data_dir}\n")
    assert running.scenario_file() == "Default"
    os.close(directory)
    assert scenario("game", *PATIENT) == (0, "game is in force\n", "")


def test_a_reload_waits_for_its_turn(dead, reload, profile):
    directory = os.open(dead.box.data_dir, os.O_RDONLY)
    fcntl.flock(directory, fcntl.LOCK_EX)
    result = reload(profile(NIGHT), "--timeout", 0.5)
    os.close(directory)
    assert result.status == 2
    assert result.err.startswith("thermalctl: another thermalctl has not finished its work in ")


def test_another_writer_who_asks_for_another_scenario_is_told(running, thermalctl):
    asking = thermalctl.start("scenario", "game", "--dir", running.box.data_dir, *PATIENT)
    running.wait(lambda: running.scenario_file() == "game", "the request")
    running.ask_scenario("Default")
    assert asking.communicate() == (
        "", "thermalctl: another writer has asked for Default meanwhile\n")
    assert asking.returncode == 1


# A configuration.

def test_a_configuration_is_in_force_once_it_says_so(running, reload, profile):
    running.wait_writes("gpu", ["1"])
    assert reload(profile(NIGHT), *PATIENT) == (0, "night.conf is in force\n", "")
    assert running.request_file() == "PARSED"
    assert (running.box.config_dir / "night.conf").read_text() == NIGHT
    running.wait(lambda: running.writes("gpu")[-1] == "3", "level 3")


def test_a_configuration_without_the_scenario_in_force_tells_the_new_one(running, reload, profile):
    running.switch("game")
    assert reload(profile(NIGHT), *PATIENT) == (0, "night.conf is in force, scenario Default\n", "")
    assert running.scenario_file() == "Default"


def test_a_configuration_replaces_one_of_its_name(running, reload, profile):
    running.profile("night.conf", DAY)
    assert reload(profile(NIGHT), *PATIENT).status == 0
    assert (running.box.config_dir / "night.conf").read_text() == NIGHT
    assert running.logs("[TalmorThermal] Appling new CONF") != []


def test_a_configuration_that_is_in_its_place_already_is_taken_from_there(running, reload):
    running.profile("night.conf", NIGHT)
    assert reload(running.box.config_dir / "night.conf", *PATIENT).status == 0
    assert (running.box.config_dir / "night.conf").read_text() == NIGHT


def test_a_configuration_that_ends_the_daemon_is_not_asked_for(running, reload, profile):
    result = reload(profile(ENDS_THE_DAEMON))
    assert result.status == 1
    assert errors_in(result) != []
    assert result.err == ("thermalctl: night.conf ends the daemon, so it was not asked for (--force"
                          " asks for it all the same)\n")
    running.wait_polls(2)
    assert running.logs("[TalmorThermal] Start to apply new CONF") == []
    assert "night.conf" not in files_in(running.box.config_dir)


def test_warnings_are_shown_and_do_not_keep_it_back(running, reload, profile):
    result = reload(profile(NIGHT.replace("[night]\n", "[night] words\n")), *PATIENT)
    assert result.status == 0
    assert errors_in(result) == []
    assert ": warning: " in result.out
    assert result.out.endswith("night.conf is in force\n")


def test_the_environment_is_the_daemons_and_does_not_keep_it_back(running, reload, profile):
    environment = running.box.env_file
    environment.write_text(environment.read_text() + "\n[lost]\ntype real\nsampling 0\n")
    assert reload(profile(NIGHT), *PATIENT) == (0, "night.conf is in force\n", "")


def test_a_forced_error_ends_the_daemon_and_that_is_told(running, reload, profile):
    result = reload(profile(ENDS_THE_DAEMON), "--force", "--timeout", 3)
    assert running.wait_exit() == 0
    assert running.logs()[-1].startswith("[TalmorThermal] [CONF PARSE FAIL] ")
    assert result.status == 2
    assert errors_in(result) != []
    assert result.err == (
        "thermalctl: the daemon has taken night.conf over, but has not said PARSED within 3 s: it"
        " has ended, or waits for a thread of a long period (--timeout)\n")


def test_a_daemon_that_is_started_again_is_told_from_a_swap(running, thermalctl, reload_words,
                                                            profile):
    asking = thermalctl.start(*reload_words(profile(ENDS_THE_DAEMON), "--force", *PATIENT))
    assert running.wait_exit() == 0
    running.start(write_files=False)
    assert asking.communicate()[1] == (
        "thermalctl: the daemon must have ended on night.conf and been started again, without it;"
        f" or {running.box.env_file} is not its environment\n")
    assert asking.returncode == 2
    assert running.request_file() == "PARSED"


def test_a_rejection_is_told_from_a_swap(running, thermalctl, reload_words, profile):
    running.wait_polls(1)
    asking = thermalctl.start(*reload_words(profile(NIGHT), *PATIENT))
    # The file is gone when the daemon looks for it, most of a second later.
    wait_until(lambda: running.request_file() == "night.conf", "the request", poll=0.001)
    os.unlink(running.box.config_dir / "night.conf")
    assert asking.communicate() == (
        "", "thermalctl: the daemon has rejected night.conf: it cannot open it in its own config"
            " directory\n")
    assert asking.returncode == 1
    assert running.logs("[TalmorThermal] There is no conf file: night.conf") != []


def test_a_request_waits_for_the_one_before_it(running, reload, profile):
    running.profile("day.conf", DAY)
    running.ask_configuration("day.conf")
    assert reload(profile(NIGHT), *PATIENT).status == 0
    running.wait_log("[TalmorThermal] Appling new CONF file is completed", count=2)
    running.wait(lambda: running.writes("gpu")[-1] == "3", "level 3")


def test_a_request_that_nobody_takes_up_is_left_alone(dead, reload, profile):
    dead.ask_configuration("day.conf")
    result = reload(profile(NIGHT), "--timeout", 1)
    assert result == (2, "", "thermalctl: an earlier request, for day.conf, is still not done after"
                             " 1 s: is the daemon running?\n")
    assert dead.request_file() == "day.conf"
    assert "night.conf" not in files_in(dead.box.config_dir)


def test_a_dead_daemon_is_told_from_a_rejection(dead, reload, profile):
    result = reload(profile(NIGHT), "--timeout", 1)
    assert result == (2, "", "thermalctl: no answer within 1 s: is the daemon running, and is "
                             f"{dead.box.data_dir} its directory?\n")
    assert dead.request_file() == "PARSED"


@pytest.mark.parametrize("name", ["two words.conf", " ", "PARSED", "ENOFILE", "a\nb"])
def test_a_name_that_cannot_be_asked_for_is_refused_at_once(running, reload, profile, name):
    before = files_in(running.box.config_dir)
    status, out, err = reload(profile(NIGHT, name))
    assert (status, out) == (2, "")
    assert err.startswith("thermalctl: a file called '")
    assert files_in(running.box.config_dir) == before
    assert running.request_file() == "PARSED"


def test_a_path_without_a_name_is_refused(running, reload, tmp_path):
    status, out, err = reload(str(tmp_path) + "/")
    assert (status, out) == (2, "")
    assert err == "thermalctl: a file called '' cannot be asked for: the request is one word\n"


def test_files_that_cannot_be_read_are_all_named(thermalctl, running, tmp_path):
    result = thermalctl("reload", tmp_path / "no.conf", "--env", tmp_path / "no.env",
                        "--dir", running.box.data_dir)
    assert result == (2, "", f"thermalctl: cannot read {tmp_path}/no.env: No such file or directory\n"
                             f"thermalctl: cannot read {tmp_path}/no.conf: No such file or directory\n")


def test_a_directory_without_configurations_is_named(running, thermalctl, profile, tmp_path):
    result = thermalctl("reload", profile(NIGHT), "--env", running.box.env_file, "--dir", tmp_path)
    assert result == (2, "", f"thermalctl: cannot write {tmp_path}/config/night.conf: "
                             "No such file or directory\n")


# The files that it writes.

class Reader(threading.Thread):
    """Reads a file again and again, and keeps what it has seen."""

    def __init__(self, path):
        super().__init__(daemon=True)
        self.path = path
        self.seen = set()
        self.over = threading.Event()

    def run(self):
        while not self.over.is_set():
            self.seen.add(self.path.read_text())

    def __enter__(self):
        self.start()
        return self

    def __exit__(self, *exception):
        self.over.set()
        self.join()


def test_no_reader_finds_a_part_of_a_word(dead, scenario, reload, profile):
    # Without a daemon, whose own answers are not written at once.
    night = profile(NIGHT)
    with Reader(dead.box.data_dir / SCENARIO_FILE) as words, \
            Reader(dead.box.data_dir / REQUEST_FILE) as requests:
        for name in ("game", "Default", "game"):
            scenario(name, "--timeout", 0.2)
            reload(night, "--timeout", 0.2)
    assert {"Default", "game"} <= words.seen <= {"Default", "game", "ENOFILE"}
    assert requests.seen == {"PARSED", "night.conf"}


def test_no_reader_finds_a_part_of_a_configuration(dead, reload, profile):
    old, new = ("SCEN Default\n" + "".join(monitor(f"{name}{number}") for number in range(3000))
                for name in ("old", "new"))
    dead.profile("night.conf", old)
    with Reader(dead.box.config_dir / "night.conf") as reader:
        for text in (new, old, new):
            reload(profile(text), "--force", "--timeout", 0.1)
    assert reader.seen <= {old, new}
    assert (dead.box.config_dir / "night.conf").read_text() == new


def test_the_mode_of_a_control_file_stays(running, scenario, reload, profile):
    for name, mode in ((SCENARIO_FILE, 0o664), (REQUEST_FILE, 0o666)):
        os.chmod(running.box.data_dir / name, mode)
    scenario("game", *PATIENT)
    reload(profile(NIGHT), *PATIENT)
    for name, mode in ((SCENARIO_FILE, 0o664), (REQUEST_FILE, 0o666)):
        assert stat.S_IMODE(os.stat(running.box.data_dir / name).st_mode) == mode


def test_nothing_else_is_left_in_the_directories(running, scenario, reload, profile):
    scenario("game", *PATIENT)
    scenario("arcade", *PATIENT)
    reload(profile(NIGHT), *PATIENT)
    assert files_in(running.box.data_dir) == ["config", REQUEST_FILE, SCENARIO_FILE]
    assert files_in(running.box.config_dir) == ["night.conf", "talmor-thermal_default.conf"]


# On a terminal.

def test_a_line_tells_on_a_terminal_what_it_waits_for(running, thermalctl):
    with thermalctl.on_terminal("scenario", "game", "--dir", running.box.data_dir,
                                *PATIENT) as terminal:
        assert terminal.end() == 0
    assert "\r\x1b[Kasking for game ... 0 s" in terminal.text
    assert "\r\x1b[Kwaiting for the switch to game ... " in terminal.text
    # It is gone when the result comes.
    assert terminal.text.endswith("\r\x1b[Kgame is in force\r\n")


def test_a_reload_tells_its_steps_on_a_terminal(running, thermalctl, reload_words, profile):
    with thermalctl.on_terminal(*reload_words(profile(NIGHT), *PATIENT)) as terminal:
        assert terminal.end() == 0
    steps = ["asking for night.conf", "waiting for night.conf to be in force"]
    places = [terminal.text.index(step) for step in steps]
    assert places == sorted(places)
    assert terminal.text.endswith("\r\x1b[Knight.conf is in force\r\n")
