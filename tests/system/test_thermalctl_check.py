"""thermalctl check: the findings, the formats, the exit statuses, and where what is printed."""

import json
import os
import pty
import random
import re
import shutil
import subprocess
import threading
from pathlib import Path

import pytest

REPOSITORY = Path(__file__).resolve().parents[2]
PHONE = REPOSITORY / "boards" / "phone"

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

CONFIGURATION = """\
SCEN Default
[cpu_monitor]
algo_type monitor
sensor cpu
sampling 1000
thresholds 60000 70000
thresholds_clr 57000 67000
actions gpu gpu
action_info 1 2
"""

MISSPELT_KEY = ENVIRONMENT.replace("level_table", "level_tabel")
SHORT_PERIOD = ENVIRONMENT.replace("sampling 1000", "sampling 10")
CAPITALS = CONFIGURATION.replace("monitor\nsensor", "Monitor\nsensor")


@pytest.fixture
def board(tmp_path, build_dir):
    return Board(tmp_path, build_dir / "thermalctl")


class Board:
    """A directory with a board's files, and the tool that checks them from there."""

    def __init__(self, directory, tool):
        self.directory = directory
        self.tool = tool
        self.write("board.env", ENVIRONMENT)
        self.write("day.conf", CONFIGURATION)

    def write(self, name, content):
        path = self.directory / name
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        return path

    def run(self, *args, **options):
        return subprocess.run([self.tool, "check", *args], cwd=self.directory, text=True,
                              capture_output=True, timeout=60, **options)

    def check(self, *args):
        return self.run("--env", "board.env", "--conf", "day.conf", *args)

    def json(self, *args):
        return json.loads(self.check("--format", "json", *args).stdout)

    def rules(self, *args):
        return [finding["rule"] for finding in self.json(*args)["findings"]]

    def on_terminal(self, **environment):
        """What a terminal gets."""
        terminal, tool_side = pty.openpty()
        env = {name: value for name, value in os.environ.items() if name != "NO_COLOR"}
        process = subprocess.Popen([self.tool, "check", "--env", "board.env"], cwd=self.directory,
                                   stdout=tool_side, stderr=tool_side, env={**env, **environment})
        os.close(tool_side)
        output = b""
        while chunk := read_terminal(terminal):
            output += chunk
        os.close(terminal)
        process.wait(timeout=60)
        return output.decode()


def read_terminal(terminal):
    try:
        return os.read(terminal, 65536)
    except OSError:  # the other side is closed
        return b""


# What is found.

def test_a_board_without_problems_says_so(board):
    result = board.check("--werror")
    assert (result.returncode, result.stdout, result.stderr) == (0, "no problems in 2 files\n", "")


def test_the_phone_board_is_without_problems(board):
    configurations = sorted(str(path) for path in PHONE.glob("*.conf"))
    assert len(configurations) == 2
    result = board.run("--env", PHONE / "talmor-thermal.env", "--conf", *configurations, "--werror")
    assert (result.returncode, result.stdout) == (0, "no problems in 3 files\n")


def test_a_finding_shows_its_line_what_is_marked_and_a_hint(board):
    board.write("board.env", MISSPELT_KEY)
    result = board.run("--env", "board.env")
    assert result.returncode == 1
    assert result.stderr == ""
    first, line, caret, hint, count = result.stdout.splitlines()
    assert first.startswith("board.env:9:1: error: ")
    assert first.endswith(" [section-key-misspelt]")
    assert line == "    9 | level_tabel 800000 600000 400000"
    assert caret == "      | ^~~~~~~~~~~"
    assert hint == "      hint: did you mean 'level_table'?"
    assert count == "1 error in 1 file"


def test_the_findings_are_in_the_order_of_the_files_and_lines(board):
    board.write("board.env", SHORT_PERIOD.replace("level_table", "level_tabel"))
    board.write("night.conf", CAPITALS)
    board.write("day.conf", CAPITALS + "\njunk\n")
    found = board.json("--conf", "night.conf")["findings"]
    places = [(finding["file"], finding["line"]) for finding in found]
    assert places[:2] == [("board.env", 3), ("board.env", 9)]
    assert ("day.conf", 3) in places and ("day.conf", 11) in places and ("night.conf", 3) in places
    order = ["board.env", "day.conf", "night.conf"]
    assert places == sorted(places, key=lambda place: (order.index(place[0]), place[1]))


def test_a_configuration_named_twice_is_checked_once(board):
    board.write("day.conf", CAPITALS)
    once = board.json()
    assert board.json("--conf", "day.conf") == once
    assert once["counts"]["files"] == 2


def test_each_file_is_read_once(board):
    """A pipe gives its content once only."""
    os.mkfifo(board.directory / "pipe.env")
    os.mkfifo(board.directory / "pipe.conf")
    writers = [threading.Thread(target=board.write, args=args, daemon=True)
               for args in (("pipe.env", MISSPELT_KEY), ("pipe.conf", CONFIGURATION))]
    for writer in writers:
        writer.start()
    result = board.run("--env", "pipe.env", "--conf", "pipe.conf")
    assert "    9 | level_tabel" in result.stdout
    assert "2 files" in result.stdout


# Exit statuses.

def test_warnings_alone_are_fine(board):
    board.write("board.env", SHORT_PERIOD)
    result = board.check()
    assert result.returncode == 0
    assert "board.env:3:10: warning: " in result.stdout
    assert result.stdout.endswith("1 warning in 2 files\n")


def test_werror_makes_warnings_problems(board):
    board.write("board.env", SHORT_PERIOD)
    plain, strict = board.check(), board.check("--werror")
    assert strict.returncode == 1
    assert strict.stdout == plain.stdout


def test_errors_are_problems(board):
    board.write("day.conf", CAPITALS)
    assert board.check().returncode == 1


def test_a_disabled_rule_finds_nothing(board):
    board.write("board.env", SHORT_PERIOD)
    assert board.rules() == ["sampling-too-short"]
    result = board.check("--disable", "sampling-too-short", "--werror")
    assert (result.returncode, result.stdout) == (0, "no problems in 2 files\n")


def test_several_rules_can_be_disabled(board):
    board.write("board.env", SHORT_PERIOD)
    board.write("day.conf", CONFIGURATION.removeprefix("SCEN Default\n"))
    both = ("sampling-too-short", "no-default-scenario")
    assert sorted(board.rules()) == sorted(both)
    assert board.rules("--disable", both[0], "--disable", both[1]) == []
    assert board.rules("--disable", *both) == []


@pytest.mark.parametrize("file_format", ["text", "json", "sarif"])
def test_every_format_has_the_same_status(board, file_format):
    assert board.check("--format", file_format).returncode == 0
    board.write("day.conf", CAPITALS)
    assert board.check("--format", file_format).returncode == 1
    assert board.check("--format", file_format, "--conf", "none").returncode == 2


# Files that cannot be read.

def test_an_unreadable_file_is_named_and_the_rest_is_checked(board):
    board.write("board.env", SHORT_PERIOD)
    board.write("night.conf", CAPITALS)
    result = board.run("--env", "board.env", "--conf", "none.conf", ".", "night.conf")
    assert result.returncode == 2
    assert result.stderr == ("thermalctl: cannot read none.conf: No such file or directory\n"
                             "thermalctl: cannot read .: Is a directory\n")
    assert "board.env:3:10: warning: " in result.stdout
    assert "night.conf:3:11: error: " in result.stdout
    assert result.stdout.endswith("1 error and 1 warning in 2 files\n")


def test_a_configuration_is_checked_without_a_readable_board(board):
    board.write("day.conf", CAPITALS.replace("action_info 1 2", "action_info 1 9\nactoins gpu"))
    whole = board.rules()
    result = board.run("--env", "none.env", "--conf", "day.conf", "--format", "json")
    assert result.returncode == 2
    assert result.stderr == "thermalctl: cannot read none.env: No such file or directory\n"
    output = json.loads(result.stdout)
    # The board alone could tell that its device has no level 9.
    assert {"unknown-type", "level-past-table"} <= set(whole)
    assert [finding["rule"] for finding in output["findings"]] == \
        [rule for rule in whole if rule != "level-past-table"]
    assert output["unread"] == [{"file": "none.env", "reason": "No such file or directory"}]
    assert output["model"] is None


def test_without_a_readable_board_every_name_is_taken_for_granted(board):
    result = board.run("--env", "none.env", "--conf", "day.conf")
    assert (result.returncode, result.stdout) == (2, "no problems in 1 file\n")


# The command line.

@pytest.mark.parametrize("args, message", [
    ([], "--env is required"),
    (["--env"], "--env"),
    (["--env", "board.env", "--format", "xml"], "'xml' is none of text, json, sarif"),
    (["--env", "board.env", "--format", "markdown"], "--format: markdown is for --explain all"),
    (["--env", "board.env", "--disable", "sampling-too-shrt"],
     "--disable: there is no rule 'sampling-too-shrt'; did you mean 'sampling-too-short'?"),
    (["--explain", "unknown-typ"],
     "--explain: there is no rule 'unknown-typ'; did you mean 'unknown-type'?"),
    (["--explain", "xyz"], "--explain: there is no rule 'xyz' (--list-rules shows them all)"),
    (["--explain", "unknown-type", "--format", "sarif"], "cannot explain unknown-type as sarif"),
    (["--explain", "all", "--format", "github"], "cannot explain all as github"),
    (["board.env"], "board.env"),
])
def test_a_wrong_command_line_cannot_run(board, args, message):
    result = board.run(*args)
    assert result.returncode == 2
    assert result.stdout == ""
    assert message in result.stderr


def test_results_that_cannot_be_written_are_no_success(board):
    with open("/dev/full", "w") as full:
        result = subprocess.run([board.tool, "check", "--env", "board.env"], cwd=board.directory,
                                stdout=full, stderr=subprocess.PIPE, text=True, timeout=60)
    assert (result.returncode, result.stderr) == (2, "thermalctl: cannot write the results\n")


def test_help_shows_examples(board):
    result = board.run("--help")
    assert result.returncode == 0
    assert "Examples:\n  thermalctl check --env " in result.stdout


# Colour.

def test_a_terminal_shows_colour(board):
    board.write("board.env", MISSPELT_KEY)
    shown = board.on_terminal()
    assert "\x1b[1mboard.env:9:1:\x1b[0m \x1b[1;31merror:\x1b[0m " in shown
    assert "\x1b[1;32m^~~~~~~~~~~\x1b[0m" in shown


def test_an_empty_no_color_changes_nothing(board):
    board.write("board.env", MISSPELT_KEY)
    assert board.on_terminal(NO_COLOR="") == board.on_terminal()


def test_no_color_turns_colour_off(board):
    board.write("board.env", MISSPELT_KEY)
    shown = board.on_terminal(NO_COLOR="1")
    assert "\x1b" not in shown
    assert shown.replace("\r\n", "\n") == board.run("--env", "board.env").stdout


def test_a_pipe_gets_no_colour(board):
    board.write("board.env", MISSPELT_KEY)
    assert "\x1b" not in board.run("--env", "board.env").stdout


# JSON.

def test_json_holds_the_findings_their_counts_and_the_model(board):
    board.write("board.env", SHORT_PERIOD)
    output = board.json()
    assert list(output) == ["version", "findings", "counts", "unread", "model"]
    finding, = output["findings"]
    assert {**finding, "message": "", "hint": ""} == {
        "rule": "sampling-too-short", "severity": "warning", "file": "board.env", "line": 3,
        "column": 10, "end_column": 12, "message": "", "hint": ""}
    assert finding["message"]
    assert output["counts"] == {"errors": 0, "warnings": 1, "files": 2}
    assert output["unread"] == []
    assert output["model"] == {
        "environment": {
            "file": "board.env",
            "sensors": [{"name": "cpu", "kind": "real", "sampling": 10}],
            "devices": [{"name": "gpu", "kind": "gpufreq", "value_type": "integer", "levels": 3}],
            "conf_file": "talmor-thermal_default.conf"},
        "configurations": [{
            "file": "day.conf",
            "fatal": None,
            "scenarios": ["Default"],
            "items": [{"name": "cpu_monitor", "kind": "monitor", "scenario": "Default",
                       "sensor": "cpu", "sampling": 1000, "worker": "1000DefaultMONITOR"}]}]}


def test_json_says_where_the_daemon_would_end(board):
    board.write("day.conf", CAPITALS)
    configuration, = board.json()["model"]["configurations"]
    assert configuration["fatal"] == {
        "line": 3,
        "message": "[TalmorThermal] [CONF PARSE FAIL] Algo type should be 'monitor' or 'SS'"}


# SARIF.

# For each kind of object that the tool writes, out of the published schema of SARIF 2.1.0: the
# properties that it must have, and the others of those used here. The schema allows no unknown one.
SARIF = {
    "log": ({"version", "runs"}, {"$schema"}),
    "run": ({"tool"}, {"columnKind", "invocations", "results"}),
    "tool": ({"driver"}, set()),
    "driver": ({"name"}, {"rules", "version", "informationUri"}),
    "rule": ({"id"}, {"shortDescription", "fullDescription", "help", "defaultConfiguration"}),
    "defaultConfiguration": (set(), {"level"}),
    "text": ({"text"}, set()),
    "invocation": ({"executionSuccessful"}, {"toolExecutionNotifications"}),
    "notification": ({"message"}, {"level"}),
    "result": ({"message"}, {"ruleId", "ruleIndex", "level", "locations", "partialFingerprints"}),
    "location": (set(), {"physicalLocation"}),
    "physicalLocation": ({"artifactLocation"}, {"region"}),
    "artifactLocation": (set(), {"uri"}),
    "region": (set(), {"startLine", "startColumn", "endColumn"}),
}
LEVELS = {"none", "note", "warning", "error"}


def check_object(kind, value):
    required, optional = SARIF[kind]
    assert required <= set(value) <= required | optional, kind
    return value


def check_text(value):
    assert isinstance(check_object("text", value)["text"], str)


def check_result(result, rules):
    check_object("result", result)
    check_text(result["message"])
    assert result["level"] in LEVELS
    assert rules[result["ruleIndex"]]["id"] == result["ruleId"]
    assert all(isinstance(value, str) for value in result["partialFingerprints"].values())
    for location in result["locations"]:
        place = check_object("physicalLocation",
                             check_object("location", location)["physicalLocation"])
        uri = check_object("artifactLocation", place["artifactLocation"])["uri"]
        assert uri.isascii() and " " not in uri
        region = check_object("region", place["region"])
        assert region["startLine"] >= 1
        assert region["endColumn"] > region["startColumn"] >= 1


def check_sarif(log):
    """Asserts that it is a SARIF 2.1.0 log, and gives the results of its only run."""
    check_object("log", log)
    assert log["version"] == "2.1.0"
    run, = log["runs"]
    check_object("run", run)
    assert run["columnKind"] in ("utf16CodeUnits", "unicodeCodePoints")
    rules = check_object("driver", check_object("tool", run["tool"])["driver"])["rules"]
    assert len({rule["id"] for rule in rules}) == len(rules)
    for rule in rules:
        check_object("rule", rule)
        check_text(rule["shortDescription"])
        check_text(rule["fullDescription"])
        assert check_object("defaultConfiguration", rule["defaultConfiguration"])["level"] in LEVELS
    for invocation in run["invocations"]:
        assert isinstance(check_object("invocation", invocation)["executionSuccessful"], bool)
        for notification in invocation["toolExecutionNotifications"]:
            check_text(check_object("notification", notification)["message"])
            assert notification["level"] in LEVELS
    for result in run["results"]:
        check_result(result, rules)
    return run["results"]


def sarif(board, *args):
    return json.loads(board.check("--format", "sarif", *args).stdout)


def test_sarif_of_a_board_without_problems_is_valid(board):
    assert check_sarif(sarif(board)) == []


def test_sarif_is_valid_and_holds_the_findings_of_json(board):
    board.write("board.env", SHORT_PERIOD.replace("level_table", "level_tabel"))
    board.write("day.conf", CAPITALS)
    results = check_sarif(sarif(board, "--conf", "none.conf"))
    expected = board.json("--conf", "none.conf")["findings"]
    assert len(expected) == 3
    for result, finding in zip(results, expected, strict=True):
        place = result["locations"][0]["physicalLocation"]
        assert (result["ruleId"], result["level"]) == (finding["rule"], finding["severity"])
        assert place["artifactLocation"]["uri"] == finding["file"]
        assert place["region"] == {"startLine": finding["line"], "startColumn": finding["column"],
                                   "endColumn": finding["end_column"]}
        assert result["message"]["text"].startswith(finding["message"])
        assert finding["hint"] in result["message"]["text"]


def test_sarif_lists_every_rule(board):
    rules = sarif(board)["runs"][0]["tool"]["driver"]["rules"]
    assert [rule["id"] for rule in rules] == board.run("--list-rules").stdout.split()


def test_sarif_reports_the_files_that_it_could_not_read(board):
    invocation, = sarif(board, "--conf", "none.conf")["runs"][0]["invocations"]
    assert invocation == {
        "executionSuccessful": False,
        "toolExecutionNotifications": [{"level": "error", "message": {
            "text": "cannot read none.conf: No such file or directory."}}]}


# The rules' own words.

def test_a_rule_is_explained(board):
    result = board.run("--explain", "unknown-type")
    assert result.returncode == 0
    assert result.stdout.startswith("unknown-type (error)\n\n")
    assert "'monitor' or 'ss'" in result.stdout
    assert max(map(len, result.stdout.splitlines())) <= 80


def test_all_rules_are_explained(board):
    explained = board.run("--explain", "all").stdout
    rules = board.run("--list-rules").stdout.split()
    assert len(rules) == len(set(rules)) > 50
    for rule in rules:
        assert board.run("--explain", rule).stdout in explained


def test_the_page_of_the_rules_is_what_the_tool_prints(board):
    page = board.run("--explain", "all", "--format", "markdown").stdout
    assert (REPOSITORY / "docs" / "rules.md").read_text() == page


# The guide.

GUIDE = (REPOSITORY / "docs" / "check.md").read_text()


def run_in(directory, build_dir, *args):
    return subprocess.run([build_dir / "thermalctl", "check", *args], cwd=directory, text=True,
                          capture_output=True, timeout=60).stdout


def test_the_guide_shows_what_the_tool_prints(build_dir):
    files = ("--env", "board.env", "--conf", "day.conf")
    directory = REPOSITORY / "tests" / "thermalctl" / "guide"
    assert f"\n```text\n{run_in(directory, build_dir, *files)}```\n" in GUIDE
    output = run_in(directory, build_dir, *files, "--format", "json")
    model = output[output.index('  "model": {'):]
    assert f"\n```json\n{{\n  ...\n{model}```\n" in GUIDE
    log = json.loads(run_in(directory, build_dir, *files, "--format", "sarif"))
    shown = [result for result in log["runs"][0]["results"]
             if f"\n```json\n{json.dumps(result, indent=2)}\n```\n" in GUIDE]
    assert len(shown) == 1
    annotations = run_in(directory, build_dir, *files, "--format", "github").splitlines(keepends=True)
    assert f"--format github\n...\n{''.join(annotations[-3:])}```\n" in GUIDE


def test_the_settings_of_the_guide_are_understood(board):
    settings, _ = re.findall(r"^```toml\n(.*?)^```$", GUIDE, re.M | re.S)
    board.write("board.env", ENVIRONMENT + "\n"
                + ENVIRONMENT.replace("[cpu]", "[battery]").replace("[gpu]", "[fan]")
                .replace("zone0", "zone1").replace("gpu/max", "fan/max"))
    battery = (CONFIGURATION.partition("\n")[2].replace("cpu", "battery").replace("60000 70000", "400 450")
               .replace("57000 67000", "380 430"))
    board.write("night.conf", f"{CONFIGURATION}\n{battery.replace('battery_monitor', 'battery_day')}\n"
                              f"SCEN night\n{battery}")
    board.write("thermalctl.toml", settings)
    result = board.run("--env", "board.env", "--conf", "night.conf")
    assert (result.returncode, result.stderr) == (0, "")
    assert result.stdout == "no problems in 2 files; thermalctl.toml silences 2 findings\n"


def test_the_facts_of_the_guide_are_understood(build_dir, tmp_path):
    _, facts = re.findall(r"^```toml\n(.*?)^```$", GUIDE, re.M | re.S)
    board = tmp_path / "phone"
    shutil.copytree(REPOSITORY / "boards" / "phone", board)
    (board / "thermalctl.toml").write_text(facts)
    said = run_in(board, build_dir, "--env", "talmor-thermal.env", "--conf", "talmor-thermal.conf")
    assert said == "no problems in 2 files\n"
    # They are facts that findings come of: nothing cools the battery so early.
    (board / "thermalctl.toml").write_text(facts.replace("43C", "20C"))
    said = run_in(board, build_dir, "--env", "talmor-thermal.env", "--conf", "talmor-thermal.conf")
    assert "battery" in said and "20" in said



def test_the_guide_shows_what_the_tool_says_about_the_phone_board(build_dir, tmp_path):
    result = run_in(PHONE, build_dir, "--env", "talmor-thermal.env", "--conf",
                    "talmor-thermal.conf", "talmor-thermal_night.conf")
    assert f"\n```text\n{result}```\n" in GUIDE
    nodes = run_in(PHONE, build_dir, "--env", "talmor-thermal.env", "--nodes", tmp_path)
    lines = nodes.splitlines()
    assert "\n".join(["```text", *lines[:3], "...", lines[-1], "```"]) in GUIDE


def test_the_rules_that_the_guide_names_are_there(board):
    rules = board.run("--list-rules").stdout.split()
    named = re.findall(r"--(?:disable|explain) ([a-z0-9-]+)", GUIDE)
    assert len(named) > 3
    assert set(named) - {"all"} <= set(rules)


# Nodes.

def test_nodes_are_looked_for_only_when_asked(board):
    assert board.rules() == []
    assert board.rules("--nodes", "image") == ["node-not-found", "node-not-found"]


def test_nodes_are_looked_for_below_the_root(board):
    for node in ("sys/class/thermal/thermal_zone0/temp", "sys/kernel/gpu/max_clock"):
        path = board.directory / "image" / node
        path.parent.mkdir(parents=True)
        path.write_text("0")
    assert board.rules("--nodes", "image") == []
    (board.directory / "image/sys/kernel/gpu/max_clock").unlink()
    finding, = board.json("--nodes", "image")["findings"]
    assert (finding["line"], finding["rule"]) == (8, "node-not-found")


def test_nodes_by_itself_looks_at_this_machine(board):
    nodes = {"/sys/class/thermal/thermal_zone0/temp": "/proc/stat",
             "/sys/kernel/gpu/max_clock": "/dev/null"}
    text = ENVIRONMENT
    for node, here in nodes.items():
        text = text.replace(node, here)
    board.write("board.env", text)
    assert board.rules("--nodes") == []


# Any bytes, and many of them.

STRANGE = {
    "empty": b"",
    "one line feed": b"\n",
    "no final line feed": ENVIRONMENT.rstrip("\n").encode(),
    "carriage returns": ENVIRONMENT.replace("\n", "\r\n").encode(),
    "NUL": b"[cpu\0]\ntype real\0\nsampling\0 100\n\0",
    "not UTF-8": b"[\xff\xfe]\ntype \xc3\nlevel_table \x80 \xf5\n\n\xed\xa0\x80\n",
    "escape sequences": b"\x1b[2J\x1b]0;title\x07\n",
    "a huge line": b"[gpu]\ntype gpufreq\nlevel_table " + b"x" * 3_000_000 + b" 0b1" * 1000,
    "huge words": b"[" + b"a" * 2_000_000 + b"]\ntype " + b"r" * 2_000_000,
    "noise": random.Random(5).randbytes(100_000),
    "noise of the files' own words": b"".join(random.Random(6).choices(
        [b"[cpu]", b"type", b"real", b"virtual", b"\n", b"\n\n", b" ", b"sensors", b"SCEN", b"]",
         b"algo_type", b"monitor", b"ss", b"thresholds", b"actions", b"+", b"-1", b'"', b"0x"],
        k=30_000)),
}


@pytest.mark.parametrize("content", STRANGE.values(), ids=STRANGE.keys())
@pytest.mark.parametrize("name", ["board.env", "day.conf"])
def test_any_bytes_are_checked_and_shown_in_every_format(board, name, content):
    board.write(name, content)
    text = board.check()
    assert text.returncode in (0, 1)
    assert text.stderr == ""
    assert not any(ord(sign) < 32 and sign != "\n" for sign in text.stdout)
    findings = board.json()["findings"]
    assert len(check_sarif(sarif(board))) == len(findings)
    lines = text.stdout.splitlines()
    shown = sum(line.startswith(("board.env:", "day.conf:")) for line in lines)
    assert shown == min(len(findings), 100)


def item(i):
    return CONFIGURATION.partition("\n")[2].replace("cpu_monitor", f"cpu_monitor_{i}")


def test_ten_thousand_items_are_checked(board):
    board.write("day.conf", "SCEN Default\n" + "\n".join(map(item, range(10_000))))
    output = board.json()
    assert output["findings"] == []
    assert len(output["model"]["configurations"][0]["items"]) == 10_000


def test_ten_thousand_problems_are_found(board):
    items = [item(i).replace("sensor cpu", "sensor cpu\nsampeling 10") for i in range(10_000)]
    board.write("day.conf", "SCEN Default\n" + "\n".join(items))
    result = board.check()
    assert result.stdout.endswith("10000 errors in 2 files\n")
    assert result.stdout.count("\n      hint: did you mean 'sampling'?\n") == 100
    assert len(board.json()["findings"]) == 10_000
