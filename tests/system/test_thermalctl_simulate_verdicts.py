"""What thermalctl simulate calls kept, and what it refuses to run: a verdict is earned, and nothing
that check rejects is simulated."""

import csv
import os
import re
import shutil
from pathlib import Path

import pytest

REPOSITORY = Path(__file__).resolve().parents[2]
PHONE = REPOSITORY / "boards" / "phone"
CONFIGURATION = "talmor-thermal.conf"

STUCK = """\
time,scenario,little,big,gpu,panel,charger,modem,fault battery
0,Default,0.30,0.20,0.15,1,1,0.4,
5m,game,0.60,0.90,1.0,1,1,0.3,stuck
"""


@pytest.fixture
def board(tmp_path):
    """A copy of the phone board."""
    return Path(shutil.copytree(PHONE, tmp_path / "board"))


def change(path, old, new):
    text = path.read_text()
    assert old in text
    path.write_text(text.replace(old, new, 1))


def rows(table):
    """The cells behind each "limit", by the group in whose rows it stands."""
    group, found = "", {}
    for line in table.splitlines():
        group = re.match(r"(\S.*?)(?:  |$)", line)[1] if line[:1].strip() else group
        limit = re.search(r"\blimit (\S+) +(.+)", line)
        if limit:
            found[group] = (limit[1], limit[2].strip())
    return found


# What check rejects.

REJECTED = {
    "unknown-device": ("actions cpu_big+gpu", "actions cpu_bgi+gpu"),
    "merged-items": ("\n\n[", "\n["),
    "unordered-thresholds": ("thresholds 38000 40000 42000 44000",
                             "thresholds 40000 38000 42000 44000"),
    "level-past-its-table": ("action_info 2+1 4+2+1", "action_info 22+1 24+2+1"),
    "spelling-of-the-kind": ("algo_type ss", "algo_type step"),
    "no-set-point": ("set_point 68000\n", ""),
    "bracket-at-the-end": (None, "\n]\n"),
}


def mistaken(board, old, new):
    path = board / CONFIGURATION
    text = path.read_text()
    if old is None:
        text += new
    elif old == "\n\n[":
        text = text.replace(old, new, 3)
    else:
        first = old if old in text else re.search(old.split()[0] + r" .*\n", text)[0]
        text = text.replace(first, new + ("\n" if first.endswith("\n") and new else ""), 1)
    path.write_text(text)


@pytest.mark.parametrize("mistake", REJECTED)
def test_what_check_rejects_is_not_run_and_told_with_the_same_text(thermalctl, simulate, board,
                                                                   mistake):
    mistaken(board, *REJECTED[mistake])
    told = thermalctl("check", "--env", board / "talmor-thermal.env", "--conf",
                      board / CONFIGURATION)
    assert told.status == 1
    done = simulate("--board", board, "--workload", "game", "--limit", "skin=90C", "--out",
                    board / "out", status=2)
    assert done.out == ""
    for finding in re.findall(r"^\S+: error: .*\n(?: .*\n)*", told.out, re.M):
        assert finding in done.err
    assert ": warning: " not in done.err
    assert not (board / "out").exists()


def test_a_configuration_that_the_workload_asks_for_is_checked_too(simulate, board):
    change(board / "talmor-thermal_night.conf", "algo_type ss", "algo_type SS")
    mistaken_night = board / "talmor-thermal_night.conf"
    change(mistaken_night, "algo_type monitor", "algo_type monitr")
    (board / "swap.csv").write_text(
        "time,little,big,gpu,panel,charger,modem,configuration\n"
        "0,0.3,0.2,0.1,1,1,0.4,\n5m,,,,,,,talmor-thermal_night.conf\n")
    simulate("--board", board, "--workload", "game")
    done = simulate("--board", board, "--workload", board / "swap.csv", status=2)
    line = mistaken_night.read_text().splitlines().index("algo_type monitr") + 1
    assert f"{mistaken_night}:{line}:11: error: " in done.err


def test_warnings_are_counted_in_one_line(thermalctl, simulate, board):
    change(board / CONFIGURATION, "sampling 250", "sampling 10")
    told = thermalctl("check", "--env", board / "talmor-thermal.env", "--conf",
                      board / CONFIGURATION)
    assert told.status == 0
    count = re.search(r"(\d+) warnings?", told.out.splitlines()[-1])[0]
    done = simulate("--board", board, "--workload", "game", "--duration", "1m")
    assert done.err == (f"thermalctl: {count}, told by thermalctl check --env "
                        f"{board}/talmor-thermal.env --conf {board}/talmor-thermal.conf\n")
    assert done.out


def test_correct_files_are_run_without_a_word(simulate):
    assert simulate("--board", PHONE, "--workload", "game", "--duration", "1m").err == ""


def test_a_configuration_from_a_pipe_is_refused(simulate, tmp_path):
    os.mkfifo(tmp_path / "pipe")
    done = simulate("--board", PHONE, "--workload", "game", "--conf", tmp_path / "pipe", status=2)
    assert done.err == (f"{tmp_path}/pipe: error: is no regular file\n"
                        "      hint: write the text to one: it is read more than once\n")


# Limits.

def test_a_stuck_sensor_does_not_keep_the_limit_of_its_node(simulate, tmp_path):
    (tmp_path / "stuck.csv").write_text(STUCK)
    done = simulate("--board", PHONE, "--workload", tmp_path / "stuck.csv", "--limit",
                    "battery=45C", "--out", tmp_path, status=1)
    found = rows(done.out)
    assert found["battery"] == ("45", "kept")
    limit, verdict = found["battery (plant)"]
    assert limit == "45" and verdict.startswith("passed for 0:")
    peak = max(int(row["value"]) for row in csv.DictReader(open(tmp_path / "trace.csv"))
               if (row["event"], row["name"]) == ("plant", "battery"))
    assert 52_000 < peak < 53_500


def test_a_node_has_limits_of_its_own(simulate, tmp_path):
    (tmp_path / "stuck.csv").write_text(STUCK)
    common = ("--board", PHONE, "--workload", tmp_path / "stuck.csv", "--limit")
    done = simulate(*common, "node:battery=45000mC", status=1)
    assert rows(done.out).keys() == {"battery (plant)"}
    simulate(*common, "node:battery=60C")
    simulate(*common, "node:case=60C", "--limit", "case=60C")


def test_every_node_is_recorded_each_second_and_with_its_sensors_samples(simulate, tmp_path):
    simulate("--board", PHONE, "--workload", "game", "--duration", "10s", "--out", tmp_path)
    times = {}
    for row in csv.DictReader(open(tmp_path / "trace.csv")):
        if row["event"] == "plant":
            times.setdefault(row["name"], []).append(int(row["time_ms"]))
    second = list(range(0, 10_000, 1000))
    quarter = list(range(0, 10_000, 250))
    assert times == {"little": quarter, "big": quarter, "gpu": quarter, "battery": second,
                     "case": second}


def test_a_limit_that_no_sample_was_held_against_is_no_pass(simulate, board):
    (board / "plant.toml").write_text(re.sub("celsius = .*", "celsius = 20.0",
                                             (board / "plant.toml").read_text()))
    done = simulate("--board", board, "--workload", "idle", "--duration", "1m", "--limit",
                    "skin=43C", status=3)
    assert rows(done.out)["skin"] == ("43", "no sample")
    assert done.err == ("thermalctl: talmor-thermal.conf: skin never had a sample: nobody knows "
                        "whether its limit was kept\n")


KNOWN = """\
[[silenced]]
rule = "virtual-period-alone"
file = "talmor-thermal.env"
reason = "to see what becomes of it"
"""
STILL = ("[cool]\ntype virtual\nsampling 700\ntrip_sensor battery\nset_point 90000\n"
         "set_point_clr 80000\nsensors battery\nweights 2\n")


@pytest.mark.parametrize("limits", [(), ("--limit", "battery=90C", "--limit", "node:case=90C")])
def test_a_run_in_which_the_daemon_stands_still_is_no_pass(simulate, board, limits):
    # By itself it is an error of the check.
    (board / "talmor-thermal.env").write_text((board / "talmor-thermal.env").read_text().rstrip("\n")
                                              + "\n\n" + STILL)
    (board / "thermalctl.toml").write_text(KNOWN)
    done = simulate("--board", board, "--workload", "game", "--duration", "10m", "--out",
                    board / "out", *limits, status=3)
    assert "kept" not in done.out.replace("kept by what samples", "")
    assert "the daemon stood still from 0:05:0" in done.err
    if limits:
        assert rows(done.out) == {"battery": ("90", "not judged"),
                                  "battery (plant)": ("90", "not judged"),
                                  "case (plant)": ("90", "not judged")}
    events = [row for row in csv.DictReader(open(board / "out" / "trace.csv"))]
    still = next(int(row["time_ms"]) for row in events if row["event"] == "standstill")
    assert {row["event"] for row in events if int(row["time_ms"]) > still} == {"plant", "end"}


def in_tenths(text):
    """The board's files with its battery in tenths of a degree."""
    def shorter(match):
        return re.sub(r"(-?\d+)00\b", r"\1", match[0])
    blocks = re.split(r"\n\n", text)
    return "\n\n".join(re.sub(r"^(thresholds|thresholds_clr|set_point|set_point_clr) .*$", shorter, block, flags=re.M)
                       if re.search(r"^sensor battery$|^trip_sensor battery$", block, re.M) else block
                       for block in blocks)


def temperatures(board, sensor):
    with open(board / "out" / "trace.csv", newline="") as file:
        return [int(row["value"]) for row in csv.DictReader(file)
                if (row["event"], row["name"]) == ("temperature", sensor)]


def levels(board):
    with open(board / "out" / "trace.csv", newline="") as file:
        return [(row["name"], row["value"]) for row in csv.DictReader(file) if row["event"] == "level"]


def test_a_sensor_in_tenths_is_simulated_and_told_in_degrees(simulate, board):
    # What only the battery feeds, for the skin would sum up tenths and thousandths.
    environment = board / "talmor-thermal.env"
    environment.write_text(environment.read_text().replace("sensors battery big gpu", "sensors gpu big gpu"))
    day = board / CONFIGURATION
    change(day, "38000 41000 44000 48000\nthresholds_clr 36500 39500 42500 45000",
           "33000 34000 35000 48000\nthresholds_clr 32000 33000 34000 45000")
    run = ("--board", board, "--workload", "game", "--duration", "20m", "--limit", "battery=34C", "--out", board / "out",
           "--only", "csv")
    usual = simulate(*run, status=1)
    usual_levels, usual_temperatures = levels(board), temperatures(board, "battery")
    for path in [environment, *board.glob("*.conf")]:
        assert in_tenths(path.read_text()) != path.read_text()
        path.write_text(in_tenths(path.read_text()))
    (board / "thermalctl.toml").write_text('[sensor.battery]\nunit = "tenths"\n')
    done = simulate(*run, status=1)
    now = temperatures(board, "battery")
    assert all(value % 100 == 0 for value in now)
    assert len(now) == len(usual_temperatures)
    # A tenth is enough to shift a decision, and no more.
    assert max(abs(a - b) for a, b in zip(now, usual_temperatures)) < 500
    assert ("charger", "3") in usual_levels
    assert set(levels(board)) == set(usual_levels)
    assert rows(done.out).keys() == rows(usual.out).keys()


def test_a_fault_of_a_sensor_in_tenths_is_told_in_degrees_and_judged(simulate, board):
    environment = board / "talmor-thermal.env"
    environment.write_text(environment.read_text().replace("sensors battery big gpu", "sensors gpu big gpu"))
    for path in [environment, *board.glob("*.conf")]:
        path.write_text(in_tenths(path.read_text()))
    (board / "thermalctl.toml").write_text('[sensor.battery]\nunit = "tenths"\n')
    (board / "workloads" / "hot.csv").write_text(
        "time,little,big,gpu,panel,charger,fault battery\n0,0.3,0.2,0.1,1,1,\n1m,,,,,,52.4\n")
    done = simulate("--board", board, "--workload", "hot", "--duration", "5m", "--limit", "battery=50C", "--out",
                    board / "out", "--only", "csv", status=1)
    assert max(temperatures(board, "battery")) == 52_400, done.out


def test_the_same_configuration_twice_is_one_run(simulate, tmp_path):
    same = PHONE / ".." / "phone" / CONFIGURATION
    done = simulate("--board", PHONE, "--workload", "idle", "--duration", "1m", "--conf",
                    PHONE / CONFIGURATION, "--conf", PHONE / CONFIGURATION, "--conf", same)
    assert done.out.splitlines()[0].split() == [CONFIGURATION]


# Budgets of every kind.

GAME = ("--board", PHONE, "--workload", "game", "--duration", "20m")


def verdicts(table):
    """The cells of the rows that tell verdicts, by the row's label."""
    return {row[1]: row[2] for row in re.findall(
        r"^(\S.*?  )? +((?:limit|required) .*?)  +((?:kept|passed|missed).*)$", table, re.M)}


@pytest.mark.parametrize("budget, status, label, verdict", [
    (("--limit", "skin=41C:30m"), 0, "limit 41 for 0:30:00 in all", r"kept: 0:1\d:\d\d"),
    (("--limit", "skin=41C:60s"), 1, "limit 41 for 0:01:00 in all", r"passed: 0:1\d:\d\d"),
    (("--limit", "p99:skin=44C"), 0, "limit p99 44", r"kept: 4\d\.\d+"),
    (("--limit", "p50:skin=30C"), 1, "limit p50 30", r"passed: 4\d\.\d+"),
    (("--require", "work:gpu=75%"), 0, "required work at least 75 %", r"kept: \d\d\.\d\d %"),
    (("--require", "work:gpu=99%"), 1, "required work at least 99 %", r"missed: \d\d\.\d\d %"),
    (("--require", "changes:cpu_big<=6/min"), 0, "required changes a minute at most 6",
     r"kept: \d\.\d\d"),
    (("--require", "changes:cpu_big<=0.01/min"), 1, "required changes a minute at most 0.01",
     r"missed: \d\.\d\d"),
])
def test_a_budget_has_its_verdict_in_the_table_and_in_the_status(simulate, budget, status, label,
                                                                 verdict):
    told = verdicts(simulate(*GAME, *budget, status=status).out)
    assert re.fullmatch(verdict, told[label]), told


def test_a_time_above_a_limit_is_also_held_against_the_node(simulate, tmp_path):
    (tmp_path / "stuck.csv").write_text(STUCK)
    done = simulate("--board", PHONE, "--workload", tmp_path / "stuck.csv", "--limit",
                    "battery=45C:60s", status=1)
    found = rows(done.out)
    assert found["battery"][1].endswith("kept: 0:00:00")
    assert re.search(r"passed: 0:\d\d:\d\d$", found["battery (plant)"][1])


def test_each_of_several_budgets_has_its_own_verdict(simulate):
    done = simulate(*GAME, "--limit", "skin=44C", "--limit", "skin=30C", "--limit", "p95:skin=44C",
                    "--require", "work:big=99%", status=1)
    told = verdicts(done.out)
    assert told["limit 44"] == "kept" and told["limit 30"].startswith("passed for ")
    assert told["limit p95 44"].startswith("kept: ")
    assert told["required work at least 99 %"].startswith("missed: ")


# The command line.

@pytest.mark.parametrize("bare", ["43", "43000"])
def test_a_temperature_without_a_unit_is_refused_with_both_spellings(simulate, bare):
    done = simulate("--board", PHONE, "--workload", "game", "--limit", f"skin={bare}", status=2)
    assert done.err == (f"--limit skin={bare}: error: '{bare}' has no unit\n"
                        "      hint: write 43C or 43000mC\n")


@pytest.mark.parametrize("arguments, told", [
    (("--workload", "gmae"), "--workload gmae: error: is no file, and no workload of {board}\n"
     "      hint: did you mean 'game'?\n"),
    (("--workload", "xyzzy"), "--workload xyzzy: error: is no file, and no workload of {board}\n"
     "      hint: there are 'benchmark', 'camera', 'game', 'idle' and 'navigation'\n"),
    (("--workload", "game", "--limit", "sikn=43C"), "--limit sikn: error: the board has no sensor "
     "and the plant no node 'sikn'\n      hint: did you mean 'skin'?\n"),
    (("--workload", "game", "--limit", "xyzzy=43C"), "--limit xyzzy: error: the board has no sensor and the plant no "
     "node 'xyzzy'\n      hint: there are 'battery', 'big', 'gpu', 'little', 'skin' and 'case'\n"),
    (("--workload", "game", "--limit", "node:skin=43C"), "--limit node:skin: error: the plant has "
     "no node 'skin'\n      hint: there are 'little', 'big', 'gpu', 'battery' and 'case'\n"),
    (("--workload", "game", "--require", "work:gup=75%"), "--require work:gup: error: the plant has "
     "no source that does work called 'gup'\n      hint: did you mean 'gpu'?\n"),
    (("--workload", "game", "--require", "changes:cpu_bgi<=6/min"), "--require changes:cpu_bgi: "
     "error: the board has no device with levels called 'cpu_bgi'\n"
     "      hint: did you mean 'cpu_big'?\n"),
    (("--workload", "game", "--require", "wrok:gpu=75%"), "--require wrok:gpu=75%: error: 'wrok' is "
     "nothing that can be required\n      hint: did you mean 'work'?\n"),
    (("--workload", "game", "--limit", "p101:skin=43C"), "--limit p101:skin=43C: error: 'p101' is "
     "no percentile\n      hint: write one above 0 and below 100, such as p95:skin=42C\n"),
    (("--workload", "game", "--limit", "skin=43000C"), "--limit skin=43000C: error: '43000C' lies "
     "outside of -273.15 to 1000 degrees Celsius\n      hint: write 43C or 43000mC\n"),
])
def test_what_was_meant_is_offered(simulate, arguments, told):
    assert simulate("--board", PHONE, *arguments, status=2).err == told.format(board=PHONE)


def test_a_board_that_is_none_is_told_once(simulate, tmp_path):
    done = simulate("--board", tmp_path / "none", "--workload", "game", status=2)
    assert done.err.splitlines() == [
        f"--board {tmp_path}/none: error: cannot be read: No such file or directory"]
    (tmp_path / "file").write_text("")
    done = simulate("--board", tmp_path / "file", "--workload", "game", status=2)
    assert done.err == f"--board {tmp_path}/file: error: is no folder\n"


# Files of the wrong kind, told once.

KINDS = {
    "configuration-as-plant": ("--plant", lambda board: (board / CONFIGURATION).read_bytes(),
                               "this is a configuration; did you swap --conf and --plant?"),
    "environment-as-workload": ("--workload",
                                lambda board: (board / "talmor-thermal.env").read_bytes(),
                                "this is an environment file; did you swap --env and --workload?"),
    "plant-as-environment": ("--env", lambda board: (board / "plant.toml").read_bytes(),
                             "this is a plant; did you swap --plant and --env?"),
    "workload-as-configuration": ("--conf",
                                  lambda board: (board / "workloads" / "game.csv").read_bytes(),
                                  "this is a workload; did you swap --workload and --conf?"),
    "plant-as-workload": ("--workload", lambda board: (board / "plant.toml").read_bytes(),
                          "this is a plant; did you swap --plant and --workload?"),
    "semicolons": ("--workload", lambda board: (board / "workloads" / "game.csv").read_bytes()
                   .replace(b",", b";"), "the cells are separated by semicolons"),
    "mark": ("--workload", lambda board: b"\xef\xbb\xbf"
             + (board / "workloads" / "game.csv").read_bytes(),
             "the file begins with U+FEFF, a byte order mark"),
    "utf-16": ("--plant", lambda board: (board / "plant.toml").read_text().encode("utf-16"),
               "this is UTF-16, with two bytes for each character"),
    "returns": ("--workload", lambda board: (board / "workloads" / "game.csv").read_bytes()
                .replace(b"\n", b"\r"), "the lines end with carriage returns alone"),
    "binary": ("--plant", lambda board: Path("/bin/true").read_bytes(),
               "this is a binary file and no text"),
    "empty": ("--workload", lambda board: b"", "the file is empty"),
}


@pytest.mark.parametrize("kind", KINDS)
def test_a_file_of_the_wrong_kind_is_told_once(simulate, board, tmp_path, kind):
    option, content, told = KINDS[kind]
    wrong = tmp_path / "wrong"
    wrong.write_bytes(content(board))
    arguments = {"--board": board, "--workload": "game", option: wrong}
    done = simulate(*(each for pair in arguments.items() for each in pair), status=2)
    assert re.findall(r"error: .*", done.err) == [f"error: {told}"]
    assert done.err.startswith(f"{wrong}:")


def test_a_swap_of_the_boards_own_two_is_told_once(simulate, board):
    done = simulate("--board", board, "--env", board / CONFIGURATION, "--conf",
                    board / "talmor-thermal.env", "--workload", "game", status=2)
    assert len(re.findall(r": error: ", done.err)) == 1
    assert "did you swap --env and --conf?" in done.err


def test_a_word_of_megabytes_is_cut(simulate, board, tmp_path):
    change(board / "workloads" / "game.csv", "5m,game", "5m," + "x" * 5_000_000)
    done = simulate("--board", board, "--workload", "game", status=2)
    assert "no configuration declares the scenario 'xxx" in done.err
    assert len(done.err) < 1000
