"""Studies: a matrix of runs on several threads, their results for machines, budgets in a file, and what
has changed since an earlier one."""

import csv
import hashlib
import json
import os
import re
import shutil
import signal
import subprocess
import time
import xml.etree.ElementTree as ElementTree
from pathlib import Path

import pytest

from daemon import LIMIT

REPOSITORY = Path(__file__).resolve().parents[2]
PHONE = REPOSITORY / "boards" / "phone"
DAY, NIGHT = PHONE / "talmor-thermal.conf", PHONE / "talmor-thermal_night.conf"
ALL = ("--only", "html,csv,json,results")
# Two configurations, two workloads, two seeds.
MATRIX = ("--board", PHONE, "--conf", DAY, "--conf", NIGHT, "--workload", "game", "--workload", "idle",
          "--seed", "1..2", "--duration", "10m")
SHORT = ("--board", PHONE, "--workload", "game", "--duration", "1m")


@pytest.fixture
def board(tmp_path):
    """A copy of the phone board without its study."""
    board = Path(shutil.copytree(PHONE, tmp_path / "board"))
    (board / "study.toml").unlink()
    return board


def results(folder):
    return json.loads((folder / "results.json").read_text())


def digests(folder):
    """Of the page without its foot, which tells the command and the date."""
    def content(path):
        if path.name != "report.html":
            return path.read_bytes()
        page, count = re.subn(r'"origin":.*?,"runs":', "", path.read_text(), flags=re.S)
        assert count == 1
        return page.encode()
    return {path.name: hashlib.sha256(content(path)).hexdigest() for path in Path(folder).iterdir()}


# The matrix.

def test_each_configuration_runs_under_each_workload_with_each_seed(simulate, tmp_path):
    simulate(*MATRIX, "--out", tmp_path / "out")
    runs = results(tmp_path / "out")["runs"]
    assert [(run["configuration"], run["workload"], run["seed"]) for run in runs] == [
        (conf.name, workload, seed) for conf in (DAY, NIGHT) for workload in ("game", "idle") for seed in (1, 2)]
    assert runs[5]["run"] == "talmor-thermal_night.conf, game, seed 2"
    # Each is another one; but neither configuration has anything to do with a phone at rest.
    assert len({json.dumps(run["temperatures"]) for run in runs}) >= 6


def test_the_result_depends_neither_on_the_number_of_threads_nor_on_the_order(simulate, tmp_path):
    outs = []
    for jobs in (1, 2, 5):
        out = tmp_path / str(jobs)
        outs.append((simulate(*MATRIX, "--jobs", jobs, "--out", out, *ALL).out, digests(out)))
    assert outs[0] == outs[1] == outs[2]
    assert outs[0][1].keys() == {"report.html", "trace.csv", "trace.json", "results.json", "results.csv"}
    backwards = tmp_path / "backwards"
    simulate("--board", PHONE, "--conf", NIGHT, "--conf", DAY, "--workload", "idle", "--workload", "game",
             "--seed", "2,1", "--duration", "10m", "--out", backwards)
    def by_name(folder):
        return {run["run"]: run for run in results(folder)["runs"]}
    assert by_name(backwards) == by_name(tmp_path / "1")


def test_a_run_of_a_study_is_the_one_that_it_is_alone(simulate, tmp_path):
    simulate(*MATRIX, "--out", tmp_path / "all", "--jobs", "3", *ALL)
    simulate("--board", PHONE, "--conf", NIGHT, "--workload", "game", "--seed", "2", "--duration", "10m",
             "--out", tmp_path / "one")
    lines = (tmp_path / "all" / "trace.csv").read_text().splitlines()
    name = '"talmor-thermal_night.conf, game, seed 2"'
    there = [line[len(name):] for line in lines if line.startswith(name)]
    alone = (tmp_path / "one" / "trace.csv").read_text().splitlines()[1:]
    assert there == [line.removeprefix("talmor-thermal_night.conf") for line in alone]


def test_seeds_are_lists_and_ranges(simulate, tmp_path):
    simulate(*SHORT, "--seed", "3,1..2", "--seed", "7", "--out", tmp_path)
    assert [run["seed"] for run in results(tmp_path)["runs"]] == [3, 1, 2, 7]


@pytest.mark.parametrize("arguments, told", [
    (("--seed", "1..0"), "--seed 1..0: error: '1..0' ends before it begins\n      hint: write 0..1\n"),
    (("--seed", "x"), "--seed x: error: 'x' is no seed\n"
     "      hint: write numbers and ranges, such as 7, 1..20 or 1,2,10..12\n"),
    (("--seed", "1..99999", "--workload", "idle"),
     "simulate: error: 199998 runs are more than 100000\n      hint: take fewer seeds, or several studies\n"),
    (("--only", "htlm", "--out", "x"), "--only htlm: error: there is no output 'htlm'\n"
     "      hint: did you mean 'html'?\n"),
    (("--only", "html"), "--only: error: chooses among the files of --out, which is not given\n"),
    (("--tolerance", "paek=1"), "--tolerance paek=1: error: there is no figure 'paek'\n"
     "      hint: did you mean 'peak'?\n"),
])
def test_what_cannot_be_run_is_told(simulate, arguments, told):
    done = simulate(*SHORT, *arguments, status=2)
    assert done.err == told and done.out == ""


@pytest.mark.parametrize("arguments", [("--jobs", "0"), ("--jobs", "-1"), ("--jobs", "x"),
                                       ("--format", "xml")])
def test_a_number_or_a_form_that_cannot_be_is_refused(simulate, arguments):
    assert simulate(*SHORT, *arguments, status=2).err.startswith("thermalctl: ")


def test_a_study_on_a_terminal_tells_how_far_it_is(thermalctl):
    with thermalctl.on_terminal("simulate", "--board", PHONE, "--workload", "game", "--seed", "1..4",
                                "--duration", "100h") as terminal:
        text = terminal.wait_for(lambda text: re.search(r" %, \d+:\d\d:\d\d left", text))
        assert re.search(r"\r\x1b\[K[0-4] of 4 runs, \d+ %, \d+:\d\d:\d\d left", text)
        terminal.process.send_signal(signal.SIGINT)
        assert terminal.end() == -signal.SIGINT


def test_a_study_of_many_runs_has_a_line_for_each(simulate, tmp_path):
    done = simulate(*SHORT, "--seed", "1..12", "--limit", "skin=44.5C", "--limit", "node:big=30C",
                    "--out", tmp_path, status=1)
    lines = done.out.splitlines()
    assert lines[0].split() == ["run", "verdict", "node:big=30C"]
    # What is kept everywhere needs no column.
    assert lines[13:] == ["kept by all: skin=44.5C"]
    assert "report.html is left out" in done.err
    assert not (tmp_path / "report.html").exists()
    assert all(re.match(rf"seed {seed} +passed +passed for 0:01:00$", line)
               for seed, line in enumerate(lines[1:13], 1)), done.out


def test_traces_of_more_than_a_day_are_not_written_unasked(simulate, tmp_path):
    long = ("--board", PHONE, "--workload", "idle", "--out", tmp_path)
    done = simulate(*long, "--duration", "13h", "--seed", "1,2")
    assert done.err == ("thermalctl: trace.csv and trace.json are left out: the runs are longer than a day "
                        "in all; --only csv,json writes them\n")
    assert digests(tmp_path).keys() == {"report.html", "results.json", "results.csv"}
    assert simulate(*long, "--duration", "12h", "--seed", "1,2").err == ""
    assert (tmp_path / "trace.csv").exists()


@pytest.mark.parametrize("only, files", [
    ("html,csv", {"report.html", "trace.csv"}), ("results", {"results.json", "results.csv"}),
    ("json", {"trace.json"}),
])
def test_only_what_is_asked_for_is_written(simulate, tmp_path, only, files):
    simulate(*SHORT, "--out", tmp_path / "out", "--only", only)
    assert digests(tmp_path / "out").keys() == files


@pytest.mark.parametrize("jobs", [1, 3])
def test_an_interrupted_study_leaves_the_earlier_results(thermalctl, simulate, tmp_path, jobs):
    simulate(*SHORT, "--out", tmp_path)
    before = digests(tmp_path)
    run = thermalctl.start("simulate", "--board", PHONE, "--workload", "game", "--seed", "1..6", "--jobs",
                           jobs, "--duration", "300d", "--out", tmp_path, "--only", "results")
    try:
        deadline = time.monotonic() + LIMIT
        while not list(tmp_path.glob(".results.json*")):
            assert run.poll() is None and time.monotonic() < deadline
            time.sleep(0.01)
        time.sleep(0.2)
        run.send_signal(signal.SIGINT)
        run.communicate(timeout=LIMIT)
    finally:
        run.kill()
    assert run.returncode == -signal.SIGINT
    assert digests(tmp_path) == before


def test_a_study_that_runs_out_of_disk_leaves_the_earlier_results(thermalctl, tmp_path):
    disk = tmp_path / "disk"
    disk.mkdir()
    run = " ".join(map(str, (*thermalctl.command, "simulate", *SHORT[:4], "--duration", "20m", "--seed", "1..4",
                             "--jobs", "3", "--out", disk)))
    script = (f"mount -t tmpfs -o size=2m none {disk} || exit 99; echo old > {disk}/trace.csv; {run}; "
              f"echo $? > {tmp_path}/status; ls -A {disk} > {tmp_path}/left; cat {disk}/trace.csv > {tmp_path}/text")
    unshare = ["unshare", "--mount", *([] if os.geteuid() == 0 else ["--map-root-user"])]
    done = subprocess.run([*unshare, "sh", "-c", script], capture_output=True, text=True)
    assert done.returncode == 0, done.stderr
    assert (tmp_path / "status").read_text() == "2\n"
    assert "cannot be written: No space left on device" in done.stderr
    assert (tmp_path / "left").read_text() == "trace.csv\n"
    assert (tmp_path / "text").read_text() == "old\n"


# Results.

def test_the_results_are_the_figures_of_the_trace(simulate, tmp_path):
    table = simulate("--board", PHONE, "--workload", "game", "--duration", "30m", "--limit", "skin=41C",
                     "--limit", "skin=41C:60s", "--limit", "p95:skin=43C", "--require", "work:gpu=75%",
                     "--require", "changes:cpu_big<=6/min", "--out", tmp_path, status=1).out
    file = results(tmp_path)
    assert (file["format"], file["version"]) == ("thermalctl results", 1)
    run, = file["runs"]
    assert (run["seconds"], run["verdict"], run["stood_still_s"]) == (1800, "passed", None)
    samples, levels = [], []
    for row in csv.DictReader(open(tmp_path / "trace.csv")):
        if (row["event"], row["name"]) == ("temperature", "skin"):
            samples.append((int(row["time_ms"]), int(row["value"])))
        if (row["event"], row["name"]) == ("level", "cpu_big"):
            levels.append((int(row["time_ms"]), int(row["value"])))
    held = [(after[0] - at, value) for (at, value), after in zip(samples, [*samples[1:], (1_800_000, 0)])]
    skin = run["temperatures"]["skin"]
    assert skin["peak"] == max(value for _, value in held) / 1000
    whole = sum(time for time, _ in held)
    assert skin["mean"] == pytest.approx(sum(time * value for time, value in held) / whole / 1000, abs=1e-6)
    for percent in (50, 95, 99):
        below = sorted((value, time) for time, value in held)
        passed = 0
        for value, time_ in below:
            passed += time_
            if passed >= whole * percent / 100:
                break
        assert skin[f"p{percent}"] == value / 1000
    limit = run["budgets"]["skin=41C"]
    assert limit["verdict"] == "passed" and limit["bound"] == 41 and limit["measured"] == skin["peak"]
    assert limit["above_s"] == sum(time for time, value in held if value > 41_000) / 1000
    assert limit["first_above_s"] == next(at for at, value in samples if value > 41_000) / 1000
    assert limit["beyond"] == pytest.approx(skin["peak"] - 41)
    timed = run["budgets"]["skin=41C:60s"]
    assert (timed["verdict"], timed["allowed_s"], timed["above_s"]) == ("passed", 60, limit["above_s"])
    assert run["budgets"]["p95:skin=43C"]["measured"] == skin["p95"]
    cpu = run["devices"]["cpu_big"]
    assert cpu["changes_per_minute"] == pytest.approx((len(levels) - 1) / 30, abs=1e-6)
    level_times = [(after[0] - at, value) for (at, value), after in zip(levels, [*levels[1:], (1_800_000, 0)])]
    assert cpu["mean_level"] == pytest.approx(sum(t * v for t, v in level_times) / 1_800_000, abs=1e-6)
    assert run["budgets"]["work:gpu=75%"]["measured"] == run["sources"]["gpu"]["work_percent"]
    assert run["budgets"]["changes:cpu_big<=6/min"]["measured"] == cpu["changes_per_minute"]
    assert {"little", "big", "gpu"} <= run["sources"].keys()
    group, joules = "", {}
    for line in table.splitlines():
        group = line.split()[0] if line[0] != " " else group
        joules.update({group: float(cell) for cell in re.findall(r"\benergy, J +(\S+)$", line)})
    assert joules == {source: pytest.approx(figures["joules"], abs=0.06)
                      for source, figures in run["sources"].items()}
    # Sensors every 250 ms and all else on the same moments.
    assert run["wakeups_per_hour"] == pytest.approx(4 * 3600, rel=0.01)


def test_the_csv_has_what_the_json_has(simulate, tmp_path):
    simulate(*MATRIX, "--limit", "node:case=45C", "--out", tmp_path)

    def flat(value, prefix=""):
        if not isinstance(value, dict):
            return {prefix: "" if value is None else value if isinstance(value, str) else json.dumps(value)}
        return {key: text for name, inner in value.items()
                for key, text in flat(inner, f"{prefix}.{name}" if prefix else name).items()}

    with open(tmp_path / "results.csv") as file:
        rows = list(csv.DictReader(file))
    assert len(rows) == 8
    for row, run in zip(rows, results(tmp_path)["runs"]):
        assert {key: text for key, text in row.items() if text} == {
            key: text for key, text in flat(run).items() if text}


def test_junit_has_a_case_for_each_budget(simulate):
    done = simulate(*MATRIX, "--limit", "node:case=45C", "--limit", "node:big=30C", "--format", "junit",
                    status=1)
    suites = ElementTree.fromstring(done.out)
    assert [suite.get("name") for suite in suites][5] == "talmor-thermal_night.conf, game, seed 2"
    assert len(suites) == 8
    for suite in suites:
        ends = {case.get("name"): [part.tag for part in case] for case in suite}
        assert ends == {"node:case=45C": [], "node:big=30C": ["failure"]}, done.out
        assert (suite.get("tests"), suite.get("failures"), suite.get("errors")) == ("2", "1", "0")


def test_a_log_has_the_same_figures_as_far_as_it_knows_them(simulate, thermalctl, tmp_path):
    simulate("--board", PHONE, "--workload", "game", "--duration", "20m", "--limit", "skin=41C", "--out",
             tmp_path / "simulated", status=1)
    done = thermalctl("plot", tmp_path / "simulated" / "trace.csv", "--board", PHONE, "--limit", "skin=41C",
                      "--limit", "p95:node:case=45C", "--out", tmp_path / "read", "--format", "junit")
    assert done.status == 1
    simulated, read = results(tmp_path / "simulated")["runs"][0], results(tmp_path / "read")["runs"][0]
    for group in ("temperatures", "devices"):
        assert read[group] == simulated[group]
    assert read["budgets"]["skin=41C"] == simulated["budgets"]["skin=41C"]
    assert "seed" not in read and "wakeups_per_hour" not in read
    suite, = ElementTree.fromstring(done.out)
    assert [len(case) for case in suite] == [1, 0]


# A study's file.

STUDY = """\
workloads = ["game"]
seeds = "1..2"
duration = "10m"

[[budget]]
limits = ["node:case=60C"]
[[budget]]
workloads = ["game"]
requirements = ["work:gpu=10%"]
"""


def test_a_study_beside_the_board_needs_no_command_line(simulate, board, tmp_path):
    (board / "study.toml").write_text(STUDY)
    simulate("--board", board, "--out", tmp_path / "out")
    runs = results(tmp_path / "out")["runs"]
    assert [(run["workload"], run["seed"], run["seconds"]) for run in runs] == [("game", 1, 600), ("game", 2, 600)]
    assert all(run["budgets"].keys() == {"node:case=60C", "work:gpu=10%"} for run in runs)
    # Nor does it need the board's name.
    simulate("--study", board / "study.toml", "--out", tmp_path / "same")
    assert digests(tmp_path / "out") == digests(tmp_path / "same")
    (board / "study.toml").write_text(STUDY.replace("60C", "30C"))
    simulate("--board", board, status=1)


def test_the_command_line_goes_before_the_study_and_adds_budgets(simulate, board, tmp_path):
    (board / "study.toml").write_text(STUDY)
    simulate("--board", board, "--study", board / "study.toml", "--workload", "idle", "--workload", "game",
             "--seed", "5", "--duration", "1m", "--limit", "node:big=99C", "--out", tmp_path / "out")
    runs = results(tmp_path / "out")["runs"]
    assert [(run["workload"], run["seed"], run["seconds"]) for run in runs] == [("idle", 5, 60), ("game", 5, 60)]
    assert runs[0]["budgets"].keys() == {"node:case=60C", "node:big=99C"}
    assert runs[1]["budgets"].keys() == {"node:case=60C", "node:big=99C", "work:gpu=10%"}
    # A workload by itself is run by itself.
    simulate("--board", board, "--workload", "game", "--duration", "1m", "--out", tmp_path / "out")
    assert results(tmp_path / "out")["runs"][0]["budgets"] == {}


@pytest.mark.parametrize("old, new, told", [
    ('["game"]\nseeds', '["gmae"]\nseeds', "study.toml:1:14: error: 'gmae' is no file, and no workload of"),
    ('"1..2"', '"2..1"', "study.toml:2:9: error: '2..1' ends before it begins\n    2 | seeds = \"2..1\"\n"
     "      |         ^~~~~~\n      hint: write 1..2\n"),
    ("node:case", "node:csae", "study.toml:6:11: error: the plant has no node 'csae'\n"
     "    6 | limits = [\"node:csae=60C\"]\n      |           ^~~~~~~~~~~~~~~\n"
     "      hint: did you mean 'case'?\n"),
    ("work:gpu", "work:gup", "study.toml:9:17: error: the plant has no source that does work called 'gup'\n"
     "    9 | requirements = [\"work:gup=10%\"]\n      |                 ^~~~~~~~~~~~~~\n"
     "      hint: did you mean 'gpu'?\n"),
    ("[[budget]]", "[[bugdet]]", "is no key that is known here"),
    ("seeds = ", "seeds  ", "study.toml:2:8: error: "),
])
def test_what_is_wrong_with_a_study_is_told_at_its_place(simulate, board, old, new, told):
    (board / "study.toml").write_text(STUDY.replace(old, new, 1))
    done = simulate("--board", board, status=2)
    assert told in done.err and done.out == ""


def test_without_a_study_a_workload_is_missing(simulate, board):
    assert simulate("--board", board, status=2).err == (
        f"--workload: error: is missing, and there is no {board}/study.toml to name one\n")
    (board / "study.toml").write_text("seeds = 3\n")
    assert simulate("--board", board, status=2).err == (
        f"{board}/study.toml: error: names no workload\n"
        "      hint: write which, such as workloads = [\"game\"], or give --workload\n")


def test_the_boards_own_study_covers_all_that_ships_and_is_kept(simulate, tmp_path):
    simulate("--board", PHONE, "--out", tmp_path)
    runs = results(tmp_path)["runs"]
    assert {(run["configuration"], run["workload"]) for run in runs} == {
        (conf.name, workload.stem) for conf in PHONE.glob("*.conf") for workload in (PHONE / "workloads").iterdir()}
    assert all(run["verdict"] == "kept" and run["seconds"] >= 3600 for run in runs)
    assert all(any(verdict["measured"] is not None for verdict in run["budgets"].values()) for run in runs)


def test_the_boards_own_study_fails_with_a_worse_configuration(simulate, board):
    shutil.copy(PHONE / "study.toml", board)
    shutil.copy(board / "tuning" / "late.conf", board / "talmor-thermal.conf")
    done = simulate("--board", board, status=1)
    assert "passed for" in done.out


def test_the_tuning_candidates_differ_in_one_item(simulate):
    def items(path):
        return dict(re.findall(r"^(\[\w+\]\n)(.*?)(?=^\[|^SCEN|\Z)", path.read_text(), re.M | re.S))
    board = items(DAY)
    assert len(board) > 10
    for name in ("late.conf", "cliff.conf"):
        other = items(PHONE / "tuning" / name)
        assert {item for item in board if other[item] != board[item]} == {"[game_skin]\n"}


# Against an earlier study.

@pytest.fixture
def baseline(simulate, tmp_path):
    """The results of an ordinary run whose limits are kept."""
    simulate(*SHORT, "--limit", "node:big=90C", "--out", tmp_path / "before")
    return tmp_path / "before" / "results.json"


AGAINST = (*SHORT, "--limit", "node:big=90C", "--against")


def test_the_same_study_has_not_changed(simulate, baseline):
    assert simulate(*AGAINST, baseline).out.endswith(f"\nnothing has changed against {baseline}\n")


def edit(path, change):
    file = json.loads(path.read_text())
    change(file["runs"][0])
    path.write_text(json.dumps(file))


def test_what_has_changed_is_shown_beyond_its_tolerance(simulate, baseline):
    def cooler(run):
        run["temperatures"]["node:big"]["peak"] -= 1
    edit(baseline, cooler)
    shown = r"\ntalmor-thermal\.conf +temperatures\.node:big\.peak +\S+ +\S+ +\+1\n"
    assert re.search(shown, simulate(*AGAINST, baseline).out)
    assert "nothing has changed" in simulate(*AGAINST, baseline, "--tolerance", "peak=1").out
    assert "nothing has changed" in simulate(*AGAINST, baseline, "--tolerance", "peak=10%").out


def test_a_worse_verdict_ends_with_1(simulate, baseline):
    worse = (*SHORT, "--limit", "node:big=30C", "--against", baseline)
    assert "node:big=90C" in simulate(*worse, status=1).out
    # Also where all that is asked for is kept, but less is asked for.
    done = simulate(*SHORT, "--against", baseline, status=1)
    assert re.search(r"node:big=90C +kept +not asked for +worse\n", done.out)


def test_changes_go_to_standard_error_beside_a_form_for_machines(simulate, baseline):
    done = simulate(*AGAINST, baseline, "--format", "junit")
    ElementTree.fromstring(done.out)
    assert "nothing has changed against" in done.err


@pytest.mark.parametrize("content, told", [
    (lambda text: text[:len(text) // 2], "is no whole JSON from here on"),
    (lambda text: "", "is no whole JSON from here on"),
    (lambda text: text.replace("thermalctl results", "something else"), "holds no results of thermalctl"),
    (lambda text: '{"runs": []}', "holds no results of thermalctl"),
    (lambda text: text.replace('"version": 1', '"version": 2'),
     "holds results of version 2, and this thermalctl knows them up to 1"),
    (lambda text: text.replace('"seed"', '"sede"'), "run 1 of 1 has no configuration, workload and seed"),
])
def test_a_file_that_is_no_baseline_is_refused_before_anything_is_run(simulate, baseline, tmp_path, content,
                                                                      told):
    baseline.write_text(content(baseline.read_text()))
    done = simulate(*AGAINST, baseline, "--out", tmp_path / "new", status=2)
    assert told in done.err and str(baseline) in done.err and done.out == ""
    assert not (tmp_path / "new").exists()


def test_a_baseline_that_is_not_there_is_told(simulate, tmp_path):
    done = simulate(*AGAINST, tmp_path / "none.json", status=2)
    assert done.err == f"{tmp_path}/none.json: error: cannot be read: No such file or directory\n"
