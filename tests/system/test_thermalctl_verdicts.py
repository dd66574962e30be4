"""thermalctl check and reload: what their answers are worth. What ends the daemon is an error that
nobody can talk away, a green answer is earned, and what is silenced has a reason."""

import json
import re
import shutil
import subprocess
from pathlib import Path

import pytest

from daemon import monitor, ss
from thermalctl import PATIENT

REPOSITORY = Path(__file__).resolve().parents[2]

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
    assert re.match(r"board\.env:1:1: error: .*the daemon finds no sensor and no device here \[",
                    result.stdout)


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


# What a board's engineers know better.

UNUSED = ENVIRONMENT + "\n[fan]\ntype gpufreq\nnode_path /fan\nlevel_table 3 2 1\n"


def entry(rule, file, **more):
    """A silenced finding, as the settings have it."""
    keys = {"rule": rule, "file": file, "reason": "known since the first board", **more}
    return "[[silenced]]\n" + "".join(f'{key} = "{value}"\n' for key, value in keys.items()) + "\n"


@pytest.fixture
def unused(board):
    """A board with a device that nobody drives."""
    board.write("board.env", UNUSED)
    assert board.found() == [("unused-device", "warning")]
    return board


def test_a_finding_is_silenced_with_a_reason(unused):
    unused.write("thermalctl.toml", entry("unused-device", "board.env", section="fan"))
    result = unused.check("--werror")
    assert (result.returncode, result.stderr) == (0, "")
    assert result.stdout == "no problems in 2 files; thermalctl.toml silences 1 finding\n"
    silenced, = unused.json()["silenced"]
    assert silenced["rule"] == "unused-device"
    assert silenced["reason"] == "known since the first board"


def test_the_settings_stand_beside_the_environment_file(unused):
    for name, text in (("board.env", UNUSED), ("day.conf", DEFAULT + MONITOR),
                       ("thermalctl.toml", entry("unused-device", "board.env"))):
        unused.write(f"boards/phone/{name}", text)
    files = ("--env", "boards/phone/board.env", "--conf", "boards/phone/day.conf")
    assert unused.run(*files, "--werror").returncode == 0
    # Those of the working directory are none of this board's.
    unused.write("thermalctl.toml", "nonsense")
    assert unused.run(*files, "--werror").returncode == 0
    assert unused.run("--env", unused.directory / files[1], "--conf", unused.directory / files[3],
                      "--werror").returncode == 0


def test_a_finding_is_silenced_at_its_place_alone(board):
    cold = with_value(monitor("cold", sampling=1000), "thresholds", "40")
    board.write("day.conf", DEFAULT + cold + cold.replace("cold", "frozen") + "SCEN game\n" + cold)
    assert [rule for rule, _ in board.found()] == ["degrees"] * 3
    for place, lines in (({"item": "frozen"}, [6, 25]), ({"scenario": "game"}, [6, 15]),
                         ({"item": "cold"}, [15]), ({"item": "cold", "scenario": "game"}, [6, 15]),
                         ({}, [])):
        board.write("thermalctl.toml", entry("degrees", "day.conf", **place))
        assert [each["line"] for each in board.json()["findings"]] == lines, place


def test_a_silenced_finding_that_no_longer_occurs_is_told(unused):
    unused.write("thermalctl.toml", entry("unused-device", "board.env", section="fan"))
    unused.write("board.env", ENVIRONMENT)
    result = unused.check()
    assert result.returncode == 0
    assert result.stdout.startswith(
        "thermalctl.toml:2:9: warning: 'unused-device' no longer finds anything in section 'fan' of "
        "board.env: this silences nothing [silenced-in-vain]\n    2 | rule = \"unused-device\"\n")
    assert unused.check("--werror").returncode == 1
    assert unused.check("--error", "silenced-in-vain").returncode == 1
    assert unused.check("--disable", "silenced-in-vain", "--werror").returncode == 0


def test_an_entry_for_a_file_that_is_not_there_is_told(unused):
    unused.write("thermalctl.toml", entry("unused-device", "baord.env"))
    result = unused.check()
    assert "thermalctl.toml:2:9: warning: there is no file 'baord.env'" in result.stdout
    assert "hint: did you mean 'board.env'?" in result.stdout


def test_an_entry_for_what_is_not_checked_says_nothing(board):
    board.write("night.conf", "SCEN default\n" + MONITOR)
    board.write("thermalctl.toml", entry("nothing-in-force", "night.conf")
                + entry("node-not-found", "board.env"))
    assert board.found() == []
    assert board.found("--conf", "night.conf", "--disable", "nothing-in-force",
                       "--disable", "scenario-not-everywhere") == []
    assert board.found("--conf", "night.conf", "--disable", "scenario-not-everywhere") == []


@pytest.mark.parametrize("item, rule", FATAL.values(), ids=FATAL.keys())
def test_what_ends_the_daemon_is_not_silenced(board, item, rule):
    board.write("day.conf", DEFAULT + item)
    board.write("thermalctl.toml", entry(rule, "day.conf"))
    assert board.check().returncode == 1
    assert (rule, "error") in board.found()
    assert ("silenced-in-vain", "warning") in board.found()


def test_no_reload_sends_what_ends_the_daemon_with_all_rules_silenced(running, reload, board):
    rules = board.run("--list-rules").stdout.split()
    (running.box.env_file.parent / "thermalctl.toml").write_text(
        "".join(entry(rule, "night.conf") for rule in rules))
    result = reload(DEFAULT + with_value(ss("night"), "set_point", "0x11170"))
    assert_kept_back(running, result, "ends the daemon")
    assert ": error: " in result.out


MISTAKES = {
    "an unknown key": ("silence = 1\n", "1:1", "'silence' is no key that is known here",
                       "silenced"),
    "an unknown key of an entry": (entry("degrees", "day.conf", itme="a"), "5:1",
                                   "'itme' is no key", "did you mean 'item'?"),
    "an unknown rule": (entry("unused-devise", "board.env"), "2:8",
                        "there is no rule 'unused-devise'", "did you mean 'unused-device'?"),
    "no reason": ('[[silenced]]\nrule = "degrees"\nfile = "day.conf"\n', "1:1",
                  "'reason' is missing", "why nobody"),
    "an empty reason": (entry("degrees", "day.conf", reason=""), "4:10", "'reason' is empty",
                        "say why"),
    "an unknown sensor": ('[sensor.cqu]\nunit = "tenths"\n', "1:1",
                          "the board has no sensor 'cqu'", "did you mean 'cpu'?"),
    "an unknown unit": ('[sensor.cpu]\nunit = "tents"\n', "2:8", "no node counts in 'tents'",
                        "did you mean 'tenths'?"),
    "no TOML": ("rule = \n", "1:", "", ""),
}


@pytest.mark.parametrize("text, place, message, hint", MISTAKES.values(), ids=MISTAKES.keys())
def test_a_mistake_in_the_settings_is_told_at_its_place(board, text, place, message, hint):
    board.write("thermalctl.toml", text)
    result = board.check()
    assert result.returncode == 2
    assert result.stderr.startswith(f"thermalctl.toml:{place}")
    first, line, caret, *rest = result.stderr.splitlines()
    assert re.match(r"thermalctl\.toml:\d+:\d+: error: ", first)
    assert message in first
    assert text.splitlines()[int(place.split(":")[0]) - 1].strip() in line
    assert "^" in caret
    assert hint in result.stderr


def test_a_simulation_goes_by_the_settings(thermalctl, tmp_path):
    """What they silence keeps no run from starting, and a mistake in them does."""
    board = shutil.copytree(REPOSITORY / "boards" / "phone", tmp_path / "phone")
    configuration = board / "talmor-thermal.conf"
    configuration.write_text(re.sub(r"set_point \d+", "set_point 40", configuration.read_text(), 1))

    def simulate(settings):
        (board / "thermalctl.toml").write_text(settings)
        return thermalctl("simulate", "--board", board, "--workload", "idle")

    refused = simulate("")
    assert refused.status == 2 and "[degrees]" in refused.err
    assert simulate(entry("degrees", configuration.name)).status == 0
    wrong = simulate(entry("degrees", configuration.name) + "[sensor.skin]\n")
    assert wrong.status == 2 and "thermalctl.toml:6:1: error: 'unit' is missing" in wrong.err


def test_settings_that_cannot_be_read_are_told(board):
    (board.directory / "thermalctl.toml").mkdir()
    result = board.check()
    assert result.returncode == 2
    assert result.stderr == "thermalctl: cannot read thermalctl.toml: Is a directory\n"


def test_the_settings_say_what_a_node_counts_in(board):
    tenths = with_value(with_value(MONITOR, "thresholds", "150 200"), "thresholds_clr", "120 180")
    board.write("day.conf", DEFAULT + tenths)
    assert board.found() == [("degrees", "error")] * 2
    board.write("thermalctl.toml", '[sensor.cpu]\nunit = "tenths"\n')
    assert board.found() == []
    board.write("day.conf", DEFAULT + MONITOR)
    assert {rule for rule, _ in board.found()} == {"beyond-any-sensor"}
    board.write("thermalctl.toml", '[sensor.cpu]\nunit = "degrees"\n')
    board.write("day.conf", DEFAULT + with_value(STEPS, "set_point", "40").replace("35000", "38"))
    assert board.found() == []


# What other programs get.

def many(board, number):
    """As many findings, the last of which is the only error."""
    items = [monitor(f"item{i}", sampling=1000, odd=1) for i in range(number - 1)]
    board.write("day.conf", DEFAULT + "".join(items) + with_value(STEPS, "set_point", "40"))


def test_a_hundred_findings_are_shown_and_the_others_counted(board):
    many(board, 250)
    shown = board.check().stdout
    assert len(re.findall(r"^day\.conf:\d+:\d+: ", shown, re.M)) == 100
    assert len(re.findall(r"^day\.conf:\d+:\d+: error: ", shown, re.M)) == 1
    assert shown.endswith("\nand 150 more findings, which --format json shows\n"
                          "1 error and 249 warnings in 2 files\n")
    annotations = board.check("--format", "github").stdout
    assert len(re.findall(r"^::(?:error|warning) ", annotations, re.M)) == 100
    assert "::notice title=thermalctl check::and 150 more findings" in annotations
    assert len(board.json()["findings"]) == 250
    sarif = json.loads(board.check("--format", "sarif").stdout)
    assert len(sarif["runs"][0]["results"]) == 250


def test_a_hundred_findings_are_all_shown(board):
    many(board, 100)
    shown = board.check().stdout
    assert len(re.findall(r"^day\.conf:\d+:\d+: ", shown, re.M)) == 100
    assert "more finding" not in shown


def results_of(board):
    return json.loads(board.check("--format", "sarif").stdout)["runs"][0]["results"]


def fingerprints_of(board):
    return [result["partialFingerprints"] for result in results_of(board)]


def test_the_fingerprints_stay_when_lines_shift(board):
    cold = with_value(STEPS, "set_point", "40")
    board.write("day.conf", DEFAULT + cold + cold.replace("cpu_steps", "again"))
    before = fingerprints_of(board)
    assert len(before) == 2 and before[0] != before[1] and before[0]
    board.write("day.conf", DEFAULT + MONITOR + cold + monitor("x", sampling=1000, device=None)
                .replace("device None\n", "") + cold.replace("cpu_steps", "again"))
    assert fingerprints_of(board) == before
    assert fingerprints_of(board) == before


def test_sarif_tells_the_tool_and_helps_with_each_rule(board):
    driver = json.loads(board.check("--format", "sarif").stdout)["runs"][0]["tool"]["driver"]
    version = subprocess.run([board.tool, "--version"], capture_output=True, text=True).stdout
    assert version == f"thermalctl {driver['version']}\n"
    assert re.match(r"[a-z][a-z0-9+.-]*:\S+$", driver["informationUri"])
    for rule in driver["rules"]:
        assert rule["help"]["text"] == rule["fullDescription"]["text"]
        assert rule["help"]["markdown"].startswith(("**Error.** ", "**Warning.** "))


def test_sarif_has_what_is_silenced_as_suppressed(unused):
    assert "suppressions" not in results_of(unused)[0]
    unused.write("thermalctl.toml", entry("unused-device", "board.env"))
    result, = results_of(unused)
    assert result["suppressions"] == [
        {"kind": "external", "justification": "known since the first board"}]


def test_github_marks_the_lines_of_a_pull_request(board):
    board.write("day.conf", DEFAULT + with_value(STEPS, "set_point", "40"))
    result = board.check("--format", "github")
    assert result.returncode == 1
    assert result.stdout == (
        "::error file=day.conf,line=7,col=11,endColumn=13,title=degrees::the daemon takes this for "
        "40 thousandths of a degree. Hint: write 40000 for 40 °C.\n1 error in 2 files\n")


def test_what_github_takes_for_its_own_is_escaped(board):
    board.write("100%,a:b.conf", DEFAULT + STEPS + "50%::error::x\n")
    result = board.run("--env", "board.env", "--conf", "100%,a:b.conf", "--format", "github")
    first = result.stdout.splitlines()[0]
    assert first.startswith("::error file=100%25%2Ca%3Ab.conf,line=")
    assert "50%25::error::x" in first
    assert sum(line.startswith("::") for line in result.stdout.splitlines()) == 1


def test_the_rules_are_explained_to_programs(board):
    rules = board.run("--list-rules").stdout.split()
    every = json.loads(board.run("--explain", "all", "--format", "json").stdout)
    assert [rule["rule"] for rule in every] == rules
    for rule in (every[0], every[-1]):
        assert set(rule) == {"rule", "severity", "summary", "explanation"}
        one = json.loads(board.run("--explain", rule["rule"], "--format", "json").stdout)
        assert one == rule
        words = board.run("--explain", rule["rule"]).stdout.split()
        assert " ".join(words[2:]) == rule["explanation"]
        assert words[1] == f"({rule['severity']})"


# What stands for what ends the daemon.

SWAPPED = ("--env", "day.conf", "--conf", "board.env")
STAND_INS = {
    "a section that the daemon drops": (ENVIRONMENT.replace("type real", "type Real"), DEFAULT + STEPS),
    "a section that it never reads": ("# sensors\n" + ENVIRONMENT, DEFAULT + STEPS),
    "an empty board": ("", DEFAULT + STEPS),
    "a file of the wrong kind": (ENVIRONMENT, (DEFAULT + STEPS).replace(" ", ";")),
    "a look-alike in a key": (ENVIRONMENT, DEFAULT + STEPS.replace("set_point 4", "s\u0435t_point 4")),
    "a look-alike in the type": (ENVIRONMENT, DEFAULT + STEPS.replace("algo_type ss", "algo_type s\u0455")),
    "a look-alike in the board": (ENVIRONMENT.replace("type real", "type r\u0435al"), DEFAULT + STEPS),
}


def assert_ends(board, run, *args):
    result = run(*args)
    output = json.loads(run(*args, "--format", "json").stdout)
    assert output["model"]["configurations"][0]["fatal"]
    assert result.returncode == 1
    assert "error" in {each["severity"] for each in output["findings"]}


@pytest.mark.parametrize("env, conf", STAND_INS.values(), ids=STAND_INS.keys())
def test_what_stands_for_what_ends_the_daemon_stays(board, env, conf):
    board.write("board.env", env)
    board.write("day.conf", conf)
    rules = board.run("--list-rules").stdout.split()
    for args in ((), ("--disable", *rules), ("--warn", *rules)):
        assert_ends(board, board.check, *args)
    board.write("thermalctl.toml", "".join(entry(rule, file) for rule in rules
                                           for file in ("board.env", "day.conf")))
    assert_ends(board, board.check)


def test_swapped_files_stay_an_error(board):
    rules = board.run("--list-rules").stdout.split()
    for args in ((), ("--disable", *rules), ("--warn", *rules)):
        assert board.run(*SWAPPED, *args).returncode == 1


def test_a_reload_tells_what_the_environment_takes_from_the_file(running, reload):
    environment = running.box.env_file
    environment.write_text(environment.read_text().replace("type real", "type Real"))
    result = reload(NIGHT)
    assert result.status == 1
    assert result.err.startswith("thermalctl: night.conf ends the daemon, so it was not asked for")
    assert "type Real" in result.out and ": error: " in result.out
