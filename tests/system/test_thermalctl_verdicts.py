"""thermalctl check and reload: what their answers are worth. What ends the daemon is an error that
nobody can talk away, a green answer is earned, and what is silenced has a reason."""

import json
import re
import subprocess

import pytest

from daemon import monitor, ss
from thermalctl import PATIENT

ENVIRONMENT = """\
[cpu]
type real
sampling 1000
node_path /sys/class/thermal/thermal_zone0/temp

[gpu]
type gpufreq
node_path /sys/kernel/gpu/max_clock
level_table 800000 600000 400000
"""

DEFAULT = "SCEN Default\n"
MONITOR = monitor("cpu_monitor", sampling=1000, thresholds="60000 70000",
                  thresholds_clr="57000 67000", actions="gpu gpu", action_info="1 2")
STEPS = ss("cpu_steps", sampling=1000, start_level=1)


def with_value(item, key, value):
    """The item with another line of a key."""
    changed = re.sub(rf"^{key} .*$", f"{key} {value}", item, flags=re.M)
    assert changed != item
    return changed


class Board:
    """A directory with a board's files, and the tool that checks them from there."""

    def __init__(self, directory, tool):
        self.directory = directory
        self.tool = tool
        self.write("board.env", ENVIRONMENT)
        self.write("day.conf", DEFAULT + MONITOR)

    def write(self, name, content):
        path = self.directory / name
        path.parent.mkdir(exist_ok=True, parents=True)
        path.write_text(content)
        return path

    def run(self, *args):
        return subprocess.run([self.tool, "check", *args], cwd=self.directory, text=True,
                              capture_output=True, timeout=60)

    def check(self, *args):
        return self.run("--env", "board.env", "--conf", "day.conf", *args)

    def json(self, *args):
        return json.loads(self.check("--format", "json", *args).stdout)

    def found(self, *args):
        """Rule and severity of each finding."""
        return [(each["rule"], each["severity"]) for each in self.json(*args)["findings"]]


@pytest.fixture
def board(tmp_path, build_dir):
    return Board(tmp_path, build_dir / "thermalctl")


# What ends the daemon.

UNREADABLE_SET_POINTS = ("0x11170", "0.5", "0,9", "0C", "-0.5")
FATAL = {
    **{f"set_point {word}": (with_value(STEPS, "set_point", word), "temperature-cut-short")
       for word in UNREADABLE_SET_POINTS},
    "set_point 0": (with_value(STEPS, "set_point", "0"), "set-point-zero"),
    "set_point 4294967296": (with_value(STEPS, "set_point", "4294967296"), "item-number-too-large"),
    "set_point warm": (with_value(STEPS, "set_point", "warm"), "item-number-without-digits"),
    "set_point alone": (STEPS.replace("set_point 40000", "set_point"), "item-key-without-value"),
    "no set_point": (STEPS.replace("set_point 40000\n", ""), "missing-property"),
    "set_pont": (STEPS.replace("set_point 40000", "set_pont 40000"), "item-key-misspelt"),
    "no sensor": (with_value(STEPS, "sensor", "cpu0"), "unknown-sensor"),
    "no device": (with_value(STEPS, "device", "gpu0"), "unknown-device"),
    "no kind": (with_value(STEPS, "algo_type", "SS"), "unknown-type"),
    "no type line": (STEPS.replace("algo_type ss\n", ""), "no-type-line"),
    "an empty scenario": ("\n" + STEPS, "scenario-without-item"),
    "a comment": (STEPS + "# the end\n", "no-item-line"),
    "a bracket": (STEPS + "]\n", "bracket-without-item"),
}


@pytest.mark.parametrize("item, rule", FATAL.values(), ids=FATAL.keys())
@pytest.mark.parametrize("choice", [(), ("--disable",), ("--warn",)], ids=" ".join)
def test_what_ends_the_daemon_is_an_error_whatever_is_asked(board, item, rule, choice):
    board.write("day.conf", DEFAULT + item)
    every_rule = board.run("--list-rules").stdout.split()
    for rules in ([rule], every_rule):
        args = [*choice, *rules] if choice else []
        assert board.check(*args).returncode == 1
        output = board.json(*args)
        assert output["model"]["configurations"][0]["fatal"]
        assert (rule, "error") in [(each["rule"], each["severity"]) for each in output["findings"]]


@pytest.mark.parametrize("word", UNREADABLE_SET_POINTS)
def test_what_would_end_the_daemon_next_is_an_error_as_well(board, word):
    item = with_value(STEPS, "set_point", word)
    board.write("day.conf", DEFAULT + item + item.replace("cpu_steps", "again"))
    assert board.found("--disable", "temperature-cut-short") == [
        ("temperature-cut-short", "error")] * 2


def test_beside_what_ends_the_daemon_a_rule_is_lowered_and_left_out_as_ever(board):
    board.write("day.conf", DEFAULT + with_value(STEPS, "set_point", "0.5")
                + with_value(STEPS, "set_point", "38C").replace("cpu_steps", "warm"))
    name = "temperature-cut-short"
    assert board.found() == [(name, "error")] * 2
    assert board.found("--warn", name) == [(name, "error"), (name, "warning")]
    assert board.found("--disable", name) == [(name, "error")]


# What else is an error.

@pytest.mark.parametrize("scenario", ["SCEN default\n", "SCEN DEFAULT\n", "SCEN game\n"])
def test_a_configuration_of_which_nothing_is_in_force_is_an_error(board, scenario):
    board.write("day.conf", scenario + MONITOR)
    assert board.found() == [("nothing-in-force", "error")]
    assert board.check().returncode == 1


def test_items_above_the_first_scenario_are_in_force(board):
    board.write("day.conf", MONITOR)
    assert board.found() == [("no-default-scenario", "warning")]
    assert board.check().returncode == 0


@pytest.mark.parametrize("word", ["38C", "4e4", "42,000", "42.000", "60", "38.5", "42_000", "42O00"])
@pytest.mark.parametrize("key", ["set_point", "set_point_clr"])
def test_a_temperature_that_keeps_an_item_on_is_an_error(board, key, word):
    board.write("day.conf", DEFAULT + with_value(STEPS, key, word))
    assert [severity for _, severity in board.found()] == ["error"]
    assert board.check().returncode == 1


@pytest.mark.parametrize("words", ["38C 70000", "4e4 70000", "42,000 70000", "60 70000", "60 70"])
@pytest.mark.parametrize("key", ["thresholds", "thresholds_clr"])
def test_a_threshold_that_keeps_an_item_on_is_an_error(board, key, words):
    board.write("day.conf", DEFAULT + with_value(MONITOR, key, words))
    assert board.found()[0] in [("temperature-cut-short", "error"), ("degrees", "error")]
    assert board.check().returncode == 1


@pytest.mark.parametrize("word", ["40000mC", "40000.5", "40000C"])
def test_a_temperature_that_is_read_as_it_is_meant_is_a_warning(board, word):
    board.write("day.conf", DEFAULT + with_value(STEPS, "set_point", word))
    assert board.found() == [("item-number-cut-short", "warning")]


@pytest.mark.parametrize("content", ["", "\n \n", "[conf]\ntype conf_file\nfile_name day.conf\n"])
def test_a_board_without_any_sensor_or_device_is_an_error(board, content):
    board.write("board.env", content)
    result = board.run("--env", "board.env")
    assert result.returncode == 1
    assert "board.env:1:1: error: the daemon finds no sensor and no device here [empty-environment]\n" \
        in result.stdout


# Errors and warnings as a user wants them.

def no_period(board):
    board.write("day.conf", MONITOR)  # no-default-scenario, a warning


def test_a_rule_finds_errors_where_asked(board):
    no_period(board)
    assert board.found() == [("no-default-scenario", "warning")]
    assert board.found("--error", "no-default-scenario") == [("no-default-scenario", "error")]
    assert board.check("--error", "no-default-scenario").returncode == 1
    assert board.check("--error", "no-default-scenario", "degrees").returncode == 1


def test_a_rule_finds_warnings_where_asked(board):
    board.write("day.conf", "SCEN default\n" + with_value(STEPS, "set_point", "40"))
    assert board.found() == [("nothing-in-force", "error"), ("degrees", "error")]
    lowered = ("--warn", "nothing-in-force", "--warn", "degrees")
    assert board.found(*lowered) == [("nothing-in-force", "warning"), ("degrees", "warning")]
    assert board.check(*lowered).returncode == 0
    assert board.check(*lowered, "--werror").returncode == 1
    assert board.check("--warn", "degrees").returncode == 1


@pytest.mark.parametrize("option", ["--error", "--warn"])
def test_a_rule_that_there_is_not_is_told_with_the_one_that_was_meant(board, option):
    result = board.check(option, "degrees", "unused-devise")
    assert (result.returncode, result.stdout) == (2, "")
    assert result.stderr.startswith(f"thermalctl: {option}: there is no rule 'unused-devise'; "
                                    "did you mean 'unused-device'?")


@pytest.mark.parametrize("first, second", [("--disable", "--error"), ("--disable", "--warn"),
                                           ("--error", "--warn")])
def test_a_rule_is_asked_for_in_one_way_only(board, first, second):
    result = board.check(second, "degrees", first, "degrees")
    assert (result.returncode, result.stdout) == (2, "")
    assert result.stderr.startswith(f"thermalctl: {second}: degrees is given to {first}, too")


# A reload goes by what the daemon would do.

NIGHT = DEFAULT + monitor("night", action_info=3)


@pytest.fixture
def running(daemon):
    """A hot sensor, a device, and the scenarios Default and game."""
    daemon.sensor("cpu", 60000)
    daemon.device("gpu")
    daemon.conf(DEFAULT + monitor("day") + "SCEN game\n" + monitor("play"))
    return daemon.started()


@pytest.fixture
def reload(thermalctl, running, tmp_path):
    """Asks for a configuration of that text."""
    def run(text, *args):
        path = tmp_path / "night.conf"
        path.write_text(text)
        return thermalctl("reload", path, "--dir", running.box.data_dir, "--env",
                          running.box.env_file, *args)
    return run


def assert_kept_back(running, result, why):
    assert result.status == 1
    assert result.err == (f"thermalctl: night.conf {why}, so it was not asked for (--force asks for"
                          " it all the same)\n")
    running.wait_polls(2)
    assert running.logs("[TalmorThermal] Start to apply new CONF") == []
    assert not (running.box.config_dir / "night.conf").exists()


@pytest.mark.parametrize("word", UNREADABLE_SET_POINTS)
def test_no_reload_sends_what_ends_the_daemon(running, reload, word):
    result = reload(DEFAULT + with_value(ss("night"), "set_point", word))
    assert_kept_back(running, result, "ends the daemon")
    assert ": error: " in result.out


@pytest.mark.parametrize("text", ["", "SCEN default\n" + monitor("night")])
def test_no_reload_sends_what_leaves_the_daemon_idle(running, reload, text):
    assert_kept_back(running, reload(text), "leaves no item in force")


def test_a_reload_sends_what_the_daemon_works_with_whatever_is_found(running, reload):
    result = reload(NIGHT + with_value(monitor("cold"), "thresholds", "40"), *PATIENT)
    assert (result.status, result.err) == (0, "")
    assert ": error: " in result.out
    assert result.out.endswith("night.conf is in force\n")


def test_a_reload_knows_the_scenario_that_stays_in_force(running, reload, thermalctl):
    assert thermalctl("scenario", "game", "--dir", running.box.data_dir, *PATIENT).status == 0
    assert reload("SCEN game\n" + monitor("play", action_info=2), *PATIENT).status == 0
