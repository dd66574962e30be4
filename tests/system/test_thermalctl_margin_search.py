"""thermalctl margin --search: what breaks a limit is found, made small and reproduced, and nothing else is claimed."""

import csv
import re
import shlex
import signal
import subprocess
import sys
import time
import tomllib
from pathlib import Path

import pytest

from daemon import LIMIT

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "thermalctl"))
import weak_boards  # noqa: E402

WEAK = {board.what: board for board in weak_boards.WEAK}
SOUND = {board.what: board for board in weak_boards.SOUND}


@pytest.fixture
def written(build_dir, tmp_path):
    def write(board, **changes):
        return weak_boards.Written(board._replace(**changes), tmp_path, build_dir / "thermalctl")
    return write


# All of them with all simulations: tests/thermalctl/weak_boards.py.
@pytest.mark.parametrize("what", [
    "the game forgets the gpu", "a bad interface between die and case", "no hysteresis on the cpu",
    "a night that lets the gpu be hot", "a sensor that cannot be read", "a room in which hardly any work is done",
    "six parts that are each a little off",
])
def test_a_planted_weakness_is_found_and_reproduced(written, what):
    board = written(WEAK[what])
    assert board.own().returncode == 0
    found = board.search(400)
    assert found.returncode == 1, found.stdout + found.stderr
    assert weak_boards.first_broken(found.stdout) <= 400
    assert board.replay(found.stdout).returncode == 1


@pytest.mark.parametrize("what", ["as it is: all three", "a case that is a tenth off: its heat"])
def test_nothing_is_claimed_of_a_sound_board(written, what):
    board = written(SOUND[what])
    assert weak_boards.keeps_the_grid(board, every=12) == ""
    found = board.search(300)
    assert found.returncode == 0, found.stdout + found.stderr
    assert "not broken in 300 simulations" in found.stdout
    assert "safe" not in found.stdout


def figure_told(told, budget):
    """Of the attempt that is written."""
    return float(re.search(rf"^as little as still breaks {re.escape(budget)} \(.*\): ([\d.]+) C", told, re.M)[1])


# With noise, which a unit and the nominal one draw differently.
@pytest.mark.parametrize("what, budget", [
    ("a bad interface between die and case", "node:die=76C"),
    ("a night that lets the gpu be hot", "node:gpu=76C"),
    ("a sensor that reads 20 degrees", "node:case=48C"),
    ("by day nothing is done for the case", "node:case=48C"),
])
def test_the_command_reproduces_the_very_figure(written, tmp_path, what, budget):
    noisy = re.sub(r'\[sensor\.\w+\]', r"\g<0>\nnoise = 1.5", WEAK[what].plant)
    board = written(WEAK[what], plant=noisy, budgets=("--limit", budget))
    told = board.search(300).stdout
    (command,) = re.findall(r"^run again by: thermalctl (.*)$", told, re.M)
    assert ("--unit 1" in command) == ("[[vary]]" in told) == ("interface" in what)
    again = board.run(*shlex.split(command), "--out", tmp_path / "again", "--only", "results")
    assert again.returncode == 1, again.stderr
    with open(tmp_path / "again" / "results.csv", newline="") as file:
        (row,) = csv.DictReader(file)
    peak = float(row[f"temperatures.{budget.partition('=')[0]}.peak"])
    assert f"{peak:.2f}" == f"{figure_told(told, budget):.2f}"
    # The file says itself how it is run.
    assert (tmp_path / "worst" / "worst.workload.toml").read_text().startswith("# thermalctl " + command)


def test_a_file_of_bounds_alone_makes_units_that_are_all_alike(written, tmp_path):
    board = written(SOUND["as it is: the die"])
    run = board.run("margin", *board.files(), "--workload", tmp_path / "own.csv", *board.board.budgets, "--tolerances",
                    tmp_path / "tolerances.toml", "--units", 5, "--out", tmp_path / "margin")
    assert run.returncode == 0, run.stderr
    assert "5 of 5" in run.stdout


def test_what_is_written_is_as_little_as_breaks_it(written, tmp_path):
    board = written(WEAK["a source that nobody cools"])
    told = board.search(300).stdout
    workload = tomllib.loads((tmp_path / "worst" / "worst.workload.toml").read_text())
    (only,) = workload["at"]
    assert only["load"]["radio"] >= 0.5 and only["time"] == 0
    assert (only["load"]["cpu"], only["load"]["gpu"]) == (0, 0)
    assert "scenario" not in only and "fault" not in only
    assert (tmp_path / "worst" / "worst.tolerances.toml").read_text() == "# the nominal unit\n"
    duration = int(re.search(r"--duration (\d+)ms", told)[1])
    assert 0 < duration < 240_000
    # A second less, and it is kept.
    (command,) = re.findall(r"^run again by: thermalctl (.*)$", told, re.M)
    shorter = command.replace(f"--duration {duration}ms", f"--duration {duration - 1000}ms")
    assert board.run(*shlex.split(shorter)).returncode == 0


def test_only_what_breaks_it_stays_of_the_unit(written, tmp_path):
    board = written(WEAK["a bad interface between die and case"])
    spare = weak_boards.vary("node.gpu.joules_per_kelvin", 'as = "factor"\nuniform = { from = 0.9, to = 1.1 }')
    (tmp_path / "tolerances.toml").write_text(spare + board.board.tolerances)
    board.search(300)
    (only,) = tomllib.loads((tmp_path / "worst" / "worst.tolerances.toml").read_text())["vary"]
    assert only["of"] == ["resistance.die-case"]
    assert 1 < only["list"]["values"][0] < 1.33 ** 1.6


def test_the_result_does_not_depend_on_the_threads_but_on_the_seed(written, tmp_path):
    board = written(WEAK["by day nothing is done for the case"])
    told = [board.search(200, "--seed", seed, "--jobs", jobs).stdout for seed, jobs in ((1, 1), (1, 3), (2, 1))]
    assert told[0] == told[1]
    assert told[0] != told[2].replace("--seed 2", "--seed 1")


def test_the_worst_of_several_seeds_is_named_by_one_line(written, tmp_path):
    """As docs/margin.md has it for several machines."""
    board = written(WEAK["a source that nobody cools"])
    worst = {}
    for seed in (1, 2, 3):
        told = board.search(60, "--seed", seed).stdout
        (tmp_path / f"worst-{seed}.txt").write_text(told)
        worst[seed] = float(re.search(r"^case=48C: broken, at worst ([\d.]+) C", told, re.M)[1])
    line = subprocess.run("grep -H '^case=48C: broken' worst-*.txt | sort -g -k5 | tail -1", shell=True, cwd=tmp_path,
                          capture_output=True, text=True, check=True).stdout
    assert len(set(worst.values())) > 1
    seed, celsius = re.match(r"worst-(\d)\.txt:.*at worst ([\d.]+) C", line).groups()
    assert worst[int(seed)] == float(celsius) == max(worst.values())


def test_the_number_of_simulations_is_honest(written):
    board = written(SOUND["as it is: the die"])
    for simulations in (1, 37):
        assert f"not broken in {simulations} simulation" in board.search(simulations).stdout
    assert board.search(0).returncode == 2


def test_nothing_beyond_the_bounds_is_tried(written, tmp_path):
    """Within loads of a tenth nothing is hot; and what is found lies within."""
    board = written(WEAK["a source that nobody cools"])
    tolerances = tmp_path / "tolerances.toml"
    tolerances.write_text("[search]\nload = { radio = [0, 0.1], cpu = [0, 0.1], gpu = 0 }\nscenarios = []\n")
    kept = board.search(200)
    assert kept.returncode == 0
    assert "radio 0 to 0.1" in kept.stdout and "gpu 0 to 0" in kept.stdout
    tolerances.write_text("[search]\nload = { radio = [0.3, 0.9] }\nlasts = [\"30s\", \"40s\"]\nsteps = 6\nambient = [20, 30]\n")
    assert board.search(200).returncode == 1
    steps = tomllib.loads((tmp_path / "worst" / "worst.workload.toml").read_text())["at"]
    assert all(0.3 <= step["load"]["radio"] <= 0.9 for step in steps if "radio" in step.get("load", {}))
    assert all(20 <= step["ambient"] <= 30 for step in steps if "ambient" in step)


@pytest.mark.parametrize("search, told", [
    ("loads = 1", ["'loads' is no key that is known here", "did you mean 'load'?"]),
    ("load = { radoi = 1 }", ["'radoi' is no key that is known here", "did you mean 'radio'?"]),
    ("load = { radio = [0, 2] }", ["2"]),
    ("load = { radio = [0.5, 0.2] }", ["'radio' must be one number, or the two ends"]),
    ('scenarios = ["gmae"]', ["no configuration declares the scenario 'gmae'", "did you mean 'game'?"]),
    ('configurations = ["borad.conf"]', ["there is no configuration 'borad.conf'", "did you mean 'board.conf'?"]),
    ('faults = { dye = ["stuck"] }', ["'dye' is no key that is known here", "did you mean 'die'?"]),
    ('faults = { die = ["stcuk"] }', ["'stcuk' is no fault", "did you mean 'stuck'?"]),
    ("faults = { die = [2000] }", ["no sensor can read 2000 degrees"]),
    ('lasts = ["5m", "10s"]', ["'lasts' must be the least and the greatest time that a step lasts"]),
    ("steps = 2.5", ["'steps' must be a number without a fraction"]),
    ("steps = 0", ["steps"]),
    ("ambient = [-400, 20]", ["degrees Celsius"]),
])
def test_wrong_bounds_are_told_at_their_place(written, tmp_path, search, told):
    board = written(SOUND["as it is: the die"], tolerances="[search]\n" + search + "\n")
    run = board.search(10)
    assert (run.returncode, run.stdout) == (2, "")
    assert f"{tmp_path / 'tolerances.toml'}:2:" in run.stderr
    assert "^" in run.stderr
    for text in told:
        assert text in run.stderr
    assert not (tmp_path / "worst").exists()


@pytest.mark.parametrize("words, told", [
    (("--until", "share<=1%@95%"), "--search excludes --units, --sobol and --until"),
    (("--sobol", "5"), "--search excludes --units, --sobol and --until"),
    (("--units", "5"), "--search excludes --units, --sobol and --until"),
    (("merge", "part-1"), "merge takes --out, --format and --until alone"),
    (("--shard", "1/2"), "give each machine a --seed of its own"),
    (("--seed", "1..3"), "takes one configuration, one workload and one seed, and here are 3 runs"),
])
def test_a_search_is_of_one_run(written, words, told):
    run = written(SOUND["as it is: the die"]).search(10, *words)
    assert (run.returncode, run.stdout) == (2, "")
    assert told in run.stderr


def test_without_a_limit_there_is_nothing_to_break(written):
    run = written(SOUND["as it is: the die"], budgets=()).search(10)
    assert (run.returncode, run.stdout) == (2, "")
    assert "asks what breaks a limit" in run.stderr


def test_a_ci_gets_a_case_for_each_limit_that_is_searched(written):
    board = written(WEAK["by day nothing is done for the case"], budgets=weak_boards.limit("node:case=48C", "node:die=90C"))
    xml = board.search(100, "--format", "junit").stdout
    assert 'tests="2"' in xml and 'failures="1"' in xml
    assert "node:case=48C: broken" in xml


def test_an_interrupt_shows_the_worst_so_far(written, tmp_path, thermalctl):
    board = written(WEAK["by day nothing is done for the case"])
    run = thermalctl.start("margin", *board.files(), "--workload", tmp_path / "own.csv", *board.board.budgets, "--tolerances",
                           tmp_path / "tolerances.toml", "--search", "--simulations", "1000000", "--out", tmp_path / "worst")
    try:
        time.sleep(2)
        run.send_signal(signal.SIGINT)
        out, err = run.communicate(timeout=LIMIT)
    finally:
        run.kill()
    assert run.returncode == 2
    known = int(re.search(r"interrupted: what is shown is what the first (\d+) simulations? found", err)[1])
    assert 0 < known < 1_000_000
    assert "case=48C: broken, at worst" in out
    assert board.replay(out).returncode == 1


def test_a_folder_that_cannot_be_written_is_told_before_the_search(written, tmp_path):
    board = written(SOUND["as it is: the die"])
    (tmp_path / "worst").write_text("a file")
    run = board.search(100000)
    assert (run.returncode, run.stdout) == (2, "")
    assert "cannot be written" in run.stderr or "no folder" in run.stderr or "Not a directory" in run.stderr
    assert (tmp_path / "worst").read_text() == "a file"
