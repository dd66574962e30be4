"""thermalctl check: what a finding says. A file of the wrong kind, a mistake that many lines suffer
from and a character that nobody sees are told once, where they are, with what to write instead."""

import json
import os
import subprocess
from pathlib import Path

import pytest

REPOSITORY = Path(__file__).resolve().parents[2]
PHONE = REPOSITORY / "boards" / "phone"
BOARD = (PHONE / "talmor-thermal.env").read_text()
DAY = (PHONE / "talmor-thermal.conf").read_text()
NIGHT = (PHONE / "talmor-thermal_night.conf").read_text()


@pytest.fixture
def phone(tmp_path, build_dir):
    return Phone(tmp_path, build_dir / "thermalctl")


class Phone:
    """The phone's files, one of them changed, and what the tool says of them."""

    def __init__(self, directory, tool):
        self.directory = directory
        self.tool = tool
        for name, text in {"board.env": BOARD, "day.conf": DAY, "night.conf": NIGHT}.items():
            self.write(name, text)

    def write(self, name, content):
        (self.directory / name).write_bytes(
            content if isinstance(content, bytes) else content.encode())

    def run(self, *args, **options):
        return subprocess.run([self.tool, "check", *args], cwd=self.directory, text=True,
                              capture_output=True, timeout=60, **options)

    def check(self, *args, env="board.env", confs=("day.conf", "night.conf")):
        return self.run("--env", env, "--conf", *confs, *args)

    def findings(self, **files):
        return json.loads(self.check("--format", "json", **files).stdout)["findings"]

    def the_finding(self, **files):
        finding, = self.findings(**files)
        assert finding["severity"] == "error"
        assert self.check(**files).returncode == 1
        return finding


# Wrong kinds of files.

@pytest.mark.parametrize("path, what", [("plant.toml", "a plant"), ("workloads/game.csv", "a workload"),
                                        ("workloads/benchmark.toml", "a workload")])
def test_a_file_that_stands_beside_the_two_is_told_once(phone, path, what):
    text = (PHONE / path).read_text()
    phone.write("other.env", text)
    finding = phone.the_finding(env="other.env")
    assert finding["rule"] == "wrong-kind-of-file"
    assert finding["message"].startswith(f"this is {what}, of which the daemon reads nothing; 48 items depend on it")
    assert finding["hint"] == "name the file that was meant"
    assert text.splitlines()[finding["line"] - 1].startswith(("[node.", "time,", "[[at]]"))
    finding = phone.the_finding(confs=["other.env", "night.conf"])
    assert finding["message"].endswith(f"this is {what}, of which the daemon reads nothing")


def test_a_check_that_could_read_nothing_is_no_green_answer(phone):
    run = phone.run("--env", "nowhere.env")
    assert (run.returncode, run.stdout) == (2, "nothing was checked\n")


def test_two_files_swapped_are_told_once(phone):
    finding = phone.the_finding(env="day.conf", confs=["board.env"])
    assert (finding["file"], finding["line"], finding["column"]) == ("day.conf", 1, 1)
    assert finding["message"] == "this is a configuration; did you swap --env and --conf?"
    assert finding["hint"] == "the environment is board.env"


def test_a_configuration_in_place_of_the_environment_is_told_alone(phone):
    finding = phone.the_finding(env="day.conf", confs=["night.conf"])
    assert finding["message"] == "this is a configuration; did you swap --env and --conf?"


def test_an_environment_in_place_of_a_configuration_is_told_alone(phone):
    phone.write("other.env", BOARD)
    finding = phone.the_finding(confs=["other.env", "night.conf"])
    assert finding["file"] == "other.env"
    assert finding["message"].endswith(
        "this is an environment file; did you swap --env and --conf?")


def cells(text, sign):
    return "".join(sign.join([*line.split(), "", ""]) + "\n" for line in text.splitlines())


WRONG_KINDS = {
    "byte order mark": (lambda text: b"\xef\xbb\xbf" + text.encode(), "byte order mark"),
    "UTF-16": (lambda text: text.encode("utf-16"), "UTF-16"),
    "UTF-16, big-endian": (lambda text: b"\xfe\xff" + text.encode("utf-16-be"), "UTF-16"),
    "UTF-16, no mark": (lambda text: text.encode("utf-16-le"), "UTF-16"),
    "UTF-16, big-endian, no mark": (lambda text: text.encode("utf-16-be"), "UTF-16"),
    "carriage returns": (lambda text: text.replace("\n", "\r").encode(), "carriage returns"),
    "semicolons": (lambda text: cells(text, ";").encode(), "spreadsheet"),
    "commas": (lambda text: cells(text, ",").encode(), "spreadsheet"),
    "binary": (lambda text: b"\x7fELF\x02\x01\x01" + bytes(9) + text.encode(), "binary file"),
    "noise": (lambda text: bytes(range(256)) * 20, "binary file"),
}


@pytest.mark.parametrize("spoil, words", WRONG_KINDS.values(), ids=WRONG_KINDS.keys())
def test_an_environment_of_the_wrong_kind_is_told_alone(phone, spoil, words):
    phone.write("board.env", spoil(BOARD))
    finding = phone.the_finding()
    assert (finding["file"], finding["line"]) == ("board.env", 1)
    assert words in finding["message"]
    assert "48 items depend on it" in finding["message"]
    assert finding["hint"]


@pytest.mark.parametrize("spoil, words", WRONG_KINDS.values(), ids=WRONG_KINDS.keys())
def test_a_configuration_of_the_wrong_kind_is_told_alone(phone, spoil, words):
    phone.write("day.conf", spoil(DAY))
    finding = phone.the_finding()
    assert (finding["file"], finding["line"]) == ("day.conf", 1)
    assert words in finding["message"]
    assert finding["hint"]


@pytest.mark.parametrize("content", [b"", b"\n", b" \r\n\t\n"])
def test_an_empty_environment_is_told_by_what_it_means(phone, content):
    phone.write("board.env", content)
    finding = phone.the_finding()
    assert "the file is empty: the daemon finds no sensor and no device" in finding["message"]
    assert "48 items depend on it" in finding["message"]


def test_an_empty_configuration_is_told_by_what_it_means(phone):
    phone.write("day.conf", "\n")
    finding = phone.the_finding(confs=["day.conf"])
    assert finding["message"] == "the daemon finds no item here and never drives a device"


def test_what_only_a_configuration_of_the_wrong_kind_uses_is_not_called_unused(phone):
    phone.write("day.conf", b"\x00" + DAY.encode())
    phone.write("night.conf", NIGHT.split("\n\n", maxsplit=1)[0] + "\n")
    assert phone.the_finding()["file"] == "day.conf"


def test_a_file_of_the_right_kind_is_checked_beside_one_of_the_wrong(phone):
    phone.write("day.conf", DAY.encode("utf-16"))
    phone.write("night.conf", NIGHT.replace("algo_type ss", "algo_type SS", 1))
    rules = [(finding["file"], finding["rule"]) for finding in phone.findings()]
    assert rules == [("day.conf", "wrong-kind-of-file"), ("night.conf", "unknown-type")]


# Why a file cannot be read.

def test_a_file_that_cannot_be_read_says_why(phone):
    (phone.directory / "folder").mkdir()
    (phone.directory / "loop").symlink_to("loop")
    result = phone.check(confs=["none.conf", "folder", "day.conf/x", "loop"])
    assert result.returncode == 2
    assert result.stderr == ("thermalctl: cannot read none.conf: No such file or directory\n"
                             "thermalctl: cannot read folder: Is a directory\n"
                             "thermalctl: cannot read day.conf/x: Not a directory\n"
                             "thermalctl: cannot read loop: Too many levels of symbolic links\n")


def test_a_file_that_may_not_be_read_says_so(phone):
    os.chmod(phone.directory / "day.conf", 0)
    # Root may read all files, but for one who has given that right away.
    without = ["setpriv", "--bounding-set", "-all", "--inh-caps", "-all"] * (os.geteuid() == 0)
    result = subprocess.run([*without, phone.tool, "check", "--env", "board.env", "--conf",
                             "day.conf"], cwd=phone.directory, text=True, capture_output=True,
                            timeout=60)
    assert result.returncode == 2
    assert "thermalctl: cannot read day.conf: Permission denied\n" in result.stderr


def test_what_an_unread_configuration_may_use_is_not_called_unused(phone):
    phone.write("night.conf", NIGHT.split("\n\n", maxsplit=1)[0] + "\n")
    result = phone.check(confs=["none.conf", "night.conf"])
    assert result.returncode == 2
    assert result.stdout == "no problems in 2 files\n"


# One cause, one finding.

def section(name):
    """The lines of a section of the phone."""
    return next(text for text in BOARD.split("\n\n") if text.startswith(f"[{name}]\n"))


DEAD = {
    "a comment above all": ("# the phone\n" + BOARD, 1, 48),
    "a kind in capitals": (BOARD.replace("type real", "type Real", 1), 6, 6),
    "a misspelt kind": (BOARD.replace(section("charger"), section("charger").replace(
        "type charger", "type chrager")), 56, 18),
    "no bracket": (BOARD.replace("[big]", "[big"), 10, 24),
    "no blank line": (BOARD.replace("\n\n[camera]", "\n[camera]"), 64, 4),
    "a blank line too many": (BOARD.replace("sampling 250", "\nsampling 250", 1), 8, 48),
    "no header": (BOARD.replace("[backlight]\n", ""), 60, 12),
    "no type": (BOARD.replace("type backlight\n", ""), 61, 12),
}


@pytest.mark.parametrize("board, line, items", DEAD.values(), ids=DEAD.keys())
def test_a_dead_section_is_one_error_with_the_number_of_items(phone, board, line, items):
    phone.write("board.env", board)
    finding = phone.the_finding()
    assert (finding["file"], finding["line"]) == ("board.env", line)
    assert f"; {items} items depend on it" in finding["message"]


def test_a_dead_board_of_24_items_is_one_error(phone):
    phone.write("board.env", "# the phone\n" + BOARD)
    result = phone.check(confs=["day.conf"])
    assert "24 items depend on it, and the daemon ends [junk-before-header]\n" in result.stdout
    assert result.stdout.endswith("1 error in 2 files\n")


def test_an_unknown_name_is_told_once_for_all_files(phone):
    for name, text in {"day.conf": DAY, "night.conf": NIGHT}.items():
        phone.write(name, text.replace("sensor little", "sensor small"))
    errors = [finding for finding in phone.findings() if finding["severity"] == "error"]
    assert [(error["file"], error["line"], error["rule"]) for error in errors] == \
        [("day.conf", 23, "unknown-sensor")]
    assert errors[0]["message"].endswith("; 6 items depend on it")


def test_a_table_that_became_too_short_is_told_once(phone):
    phone.write("board.env", BOARD.replace("level_table 8 6 5", "level_table 8 6"))
    finding = phone.the_finding()
    assert finding["rule"] == "level-past-table"
    assert finding["message"].endswith("'hotplug'; so in 5 further places")


def test_a_period_that_is_missing_is_told_once(phone):
    phone.write("board.env", BOARD.replace("sampling 250\n", "", 1))
    finding, = phone.findings()
    assert (finding["rule"], finding["severity"]) == ("period-below-sensors", "warning")
    assert "'little', which is read every 1000 ms; so in 5 further places" in finding["message"]


def test_devices_that_nothing_names_are_one_finding(phone):
    more = "".join(f"\n[{name}]\ntype charger\nnode_path /sys/{name}\nlevel_table 2 1\n"
                   for name in ("pump", "valve", "belt"))
    phone.write("board.env", BOARD + more)
    finding, = phone.findings()
    assert finding["rule"] == "unused-device"
    assert finding["message"] == \
        "the daemon never drives 'pump', 'valve' and 'belt': no item names them"


@pytest.mark.parametrize("line", ["device cpu_big", "set_point 68000", "action_info 1 2",
                                  "thresholds_clr 66000 72000 78000"])
def test_a_blank_line_inside_of_an_item_is_one_error(phone, line):
    phone.write("day.conf", DAY.replace(line, "\n" + line, 1))
    finding = phone.the_finding()
    assert finding["rule"] == "no-item-line"
    assert finding["message"].startswith(f"the daemon ends: '{line.split()[0]}' stands outside")


# Long words.

@pytest.mark.parametrize("name, text", [
    ("day.conf", DAY.replace("sensor big", "sensor " + "x" * 5_000_000, 1)),
    ("day.conf", DAY.replace("sampling 250", "y" * 5_000_000 + " 250", 1)),
    ("board.env", BOARD.replace("type real", "type " + "z" * 5_000_000, 1)),
], ids=["a name", "a key", "a kind"])
def test_a_word_of_five_megabytes_is_cut(phone, name, text):
    phone.write(name, text)
    result = phone.check()
    assert len(result.stdout) < 20_000
    assert max(map(len, result.stdout.splitlines())) < 500
    finding = next(each for each in phone.findings() if each["file"] == name)
    letter = next(letter for letter in "xyz" if letter * 10 in finding["message"])
    assert letter * 50 + "..." + letter * 10 in finding["message"]
    marked = next(line for line in result.stdout.splitlines() if line.endswith("..."))
    assert letter * 50 in marked


# Characters that do not show, or show as others do.

STRANGERS = {
    "zero-width space": ("sensor big", "sen\u200Bsor big", "U+200B", "sensor"),
    "no-break space": ("sensor big", "sensor\u00A0big", "U+00A0", "sensor big"),
    "Cyrillic letter": ("sensor big", "sensor b\u0456g", "U+0456", "big"),
    "Greek letter": ("device cpu_big", "device cpu_b\u03B9g".replace("\u03B9", "\u03BF"), "U+03BF",
                     "cpu_bog"),
    "en dash": ("thresholds 10000 0", "thresholds 10000 \u20131", "U+2013", "-1"),
    "full-width digits": ("set_point 68000", "set_point \uFF16\uFF18000", "U+FF16", "68000"),
    "other digits": ("set_point 68000", "set_point \u06668000", "U+0666", "68000"),
    "soft hyphen": ("algo_type ss", "algo_\u00ADtype ss", "U+00AD", "algo_type"),
    "full-width bracket": ("[day_big]", "\uFF3Bday_big]", "U+FF3B", "[day_big]"),
    "mark in the middle": ("[day_gpu]", "\uFEFF[day_gpu]", "U+FEFF", "[day_gpu]"),
}


@pytest.mark.parametrize("plain, strange, code, read", STRANGERS.values(), ids=STRANGERS.keys())
def test_a_look_alike_is_told_alone_by_its_code_point(phone, plain, strange, code, read):
    assert plain in DAY
    phone.write("day.conf", DAY.replace(plain, strange, 1))
    finding = phone.the_finding()
    assert finding["rule"] == "look-alike-character"
    assert f" holds {code}, " in finding["message"]
    assert finding["hint"] == f"write '{read}'"


def test_the_line_shows_a_sign_for_what_does_not_show(phone):
    phone.write("day.conf", DAY.replace("sensor big", "sen\u200Bsor big", 1))
    lines = phone.check().stdout.splitlines()
    assert lines[1].endswith(" | sen\uFFFDsor big")
    assert lines[2].endswith(" |    ^")


def test_a_look_alike_in_a_header_of_the_board_is_one_error(phone):
    phone.write("board.env", BOARD.replace("[battery]", "[b\u0430ttery]"))
    finding = phone.the_finding()
    assert "U+0430" in finding["message"] and "items depend on it" in finding["message"]
    assert finding["hint"] == "write '[battery]'"


def test_a_name_of_another_script_is_as_good_as_any(phone):
    phone.write("day.conf", DAY.replace("[day_big]", "[\u5927\u6838\u5FC3]"))
    assert phone.findings() == []


# What used to be wrong, or unwanted.

def virtual(name, set_point, clear, trip="battery"):
    return (f"\n[{name}]\ntype virtual\nsampling 1000\ntrip_sensor {trip}\nset_point {set_point}\n"
            f"set_point_clr {clear}\nsensors battery\nweights 100\n")


def board_rules(phone, board):
    phone.write("board.env", board)
    result = phone.run("--env", "board.env", "--format", "json")
    return json.loads(result.stdout)["findings"]


def test_a_virtual_sensor_by_itself_is_not_said_to_be_switched_off(phone):
    finding, = board_rules(phone, BOARD.replace("set_point_clr 27000", "set_point_clr 31000"))
    assert finding["rule"] == "virtual-set-points-reversed"
    assert "stays on" in finding["message"]
    assert "on and off" not in finding["message"]


def test_virtual_sensors_that_go_on_together_are_fine(phone):
    assert board_rules(phone, BOARD + virtual("case", 29000, 27000)) == []


def test_virtual_sensors_that_go_on_apart_may_stand_still(phone):
    finding, = board_rules(phone, BOARD + virtual("case", 35000, 27000))
    assert finding["rule"] == "trip-sensor-shared"
    assert "keeps its last temperature" in finding["message"]
    assert "trip sensor of its own" not in finding["message"] + finding["hint"]


@pytest.mark.parametrize("device, remedy", [("charger", "in quotes"), ("cpu_big", "such as kHz")])
def test_a_number_over_32_bits_is_told_by_what_the_daemon_makes_of_it(phone, device, remedy):
    old = section(device)
    new = old[:old.index("level_table")] + "level_table 2850000000 1000000000"
    finding, = board_rules(phone, BOARD.replace(old, new))
    assert "no whole number" not in finding["message"]
    assert finding["message"].startswith(
        "'2850000000' is over 2147483647: the daemon writes -1444967296 for it")
    assert remedy in finding["hint"]


def test_the_remedy_for_a_number_over_32_bits_holds(phone):
    old = section("charger")
    new = old[:old.index("level_table")] + 'level_table "2850000000" "1000000000"'
    assert board_rules(phone, BOARD.replace(old, new)) == []


def test_a_default_period_is_as_good_as_one_that_is_written(phone):
    phone.write("board.env", BOARD.replace("sampling 1000\n", ""))
    assert phone.findings() == []


@pytest.mark.parametrize("table, rules", [
    ("0 20 17 14", []), ("0 20 17 14 14", []), ("0 1 2 3", []),
    ("0 20 14 17", ["level-table-direction"]), ("1 20 17 14", ["level-table-direction"])])
def test_an_entry_0_for_no_limit_turns_no_table(phone, table, rules):
    old = section("charger")
    new = old[:old.index("level_table")] + "level_table " + table
    assert [each["rule"] for each in board_rules(phone, BOARD.replace(old, new))] == rules


@pytest.mark.parametrize("period, count", [(1000, 0), (1001, 0), (1111, 0), (1112, 1)])
def test_periods_that_are_nearly_equal_are_meant_to_be(phone, period, count):
    day = "SCEN Default\n[a]\nalgo_type monitor\nsensor battery\nthresholds 40000\n" \
          "thresholds_clr 38000\nactions charger\naction_info 1\n"
    phone.write("board.env", section("battery").replace("1000", str(period)) + "\n\n"
                + section("charger") + "\n")
    phone.write("day.conf", day)
    assert [each["rule"] for each in phone.findings(confs=["day.conf"])] == \
        ["period-below-sensors"] * count


def test_the_guide_shows_what_a_dead_board_prints(phone):
    guide = (REPOSITORY / "docs" / "check.md").read_text()
    phone.write("board.env", "# the phone\n" + BOARD)
    assert f"\n```text\n{phone.check(confs=['day.conf']).stdout}```\n" in guide
