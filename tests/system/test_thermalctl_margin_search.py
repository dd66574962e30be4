"""thermalctl margin --search: what breaks a limit is found, made small and reproduced, and nothing else is claimed."""

import csv
import json
import re
import shlex
import shutil
import signal
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
    (("--shard", "1/11"), "--shard 1/11: error: must be one of at most 10: each part has a simulation"),
    (("--shard", "2/1"), "--shard 2/1: error: must be one of so many, such as 3/8"),
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


# Parts and rounds.

@pytest.fixture
def parts(written, tmp_path):
    """Searches a board in parts: the worst of six numbers of its unit together, which few attempts find."""
    board = written(WEAK["six parts that are each a little off"], budgets=weak_boards.limit("case=48C"))

    def make(count, simulations, *words, name="part"):
        paths = [tmp_path / f"{name}-{index}" for index in range(1, count + 1)]
        for index, path in enumerate(paths, 1):
            run = board.search(simulations, "--shard", f"{index}/{count}", *words, out=path)
            assert run.returncode == 0, run.stderr
            assert re.fullmatch(rf"{path}: \d+ simulations? of {simulations}, shard {index}/{count}\n", run.stdout)
        return paths
    make.board = board
    return make


def merged(parts, *paths, out="worst"):
    return parts.board.run("margin", "merge", *paths, "--out", parts.board.folder / out)


def found_files(parts, out="worst"):
    return {path.name: path.read_bytes() for path in (parts.board.folder / out).iterdir()}


def worst_of(told):
    return float(re.search(r"^case=48C: .*? ([\d.]+) C, [\d.]+ C (?:beyond|within) it", told, re.M)[1])


def worst_in(part):
    """What the part has found of its first limit, in degrees."""
    return json.loads(part.read_text().splitlines()[1])["search"]["worst"][0]["measured"][0] / 1000


def test_a_search_in_parts_names_the_worst_of_them_in_any_order(parts):
    three = parts(3, 90)
    told = merged(parts, *three)
    assert (told.returncode, told.stderr) == (1, "")
    assert "90 simulations of up to 0:04:00" in told.stdout
    each = [worst_in(part) for part in three]
    assert len(set(each)) == 3
    assert worst_of(told.stdout) == pytest.approx(max(each), abs=0.006)
    number = int(re.search(r"\(simulation (\d+), the first was", told.stdout)[1])
    assert (number - 1) // 30 == each.index(max(each))
    assert parts.board.replay(told.stdout).returncode == 1
    files = found_files(parts)
    assert sorted(files) == ["worst.part", "worst.tolerances.toml", "worst.workload.toml"]
    for order in (2, 0, 1), (1, 2, 0):
        shutil.rmtree(parts.board.folder / "worst")
        again = merged(parts, *(three[index] for index in order))
        assert (again.stdout, found_files(parts)) == (told.stdout, files)


def test_a_search_in_one_part_is_the_search(parts):
    whole = parts.board.search(60)
    files = found_files(parts)
    shutil.rmtree(parts.board.folder / "worst")
    told = merged(parts, *parts(1, 60))
    assert (told.returncode, told.stdout, told.stderr) == (whole.returncode, whole.stdout, "")
    assert found_files(parts) == files


def test_a_part_of_a_search_has_the_same_bytes_again(parts):
    first, second = parts(2, 40, "--jobs", "1")
    before = [path.read_bytes() for path in (first, second)]
    assert before[0] != before[1]
    names = {path.name for path in parts.board.folder.iterdir()}
    parts(2, 40, "--jobs", "3")
    assert [path.read_bytes() for path in (first, second)] == before
    assert {path.name for path in parts.board.folder.iterdir()} == names


def test_a_later_round_begins_with_the_worst_of_the_one_before(parts):
    worst = worst_of(merged(parts, *parts(3, 30)).stdout)
    before = parts.board.folder / "worst"
    # So few that they find nothing worse themselves, and the worst stays what it was.
    told = merged(parts, *parts(2, 2, "--from", before, name="few"), out="few")
    assert worst_of(told.stdout) == worst
    assert "32 simulations of up to" in told.stdout
    alone = max(worst_in(part) for part in parts(2, 2, "--seed", "9", name="alone"))
    assert alone < worst
    # More of them climb from there.
    rounds = [worst]
    for number in (2, 3):
        told = merged(parts, *parts(3, 90, "--from", before, name=f"round-{number}"), out=f"worst-{number}")
        assert told.returncode == 1
        before = parts.board.folder / f"worst-{number}"
        rounds.append(worst_of(told.stdout))
        assert f"{30 + 90 * (number - 1)} simulations of up to" in told.stdout
    assert rounds[0] < rounds[1] <= rounds[2]
    assert parts.board.replay(told.stdout).returncode == 1


def test_one_machine_goes_on_from_its_own_worst(parts):
    first = parts.board.search(30)
    again = parts.board.search(60, "--from", parts.board.folder / "worst")
    assert again.returncode == 1, again.stderr
    assert "90 simulations of up to" in again.stdout
    assert worst_of(again.stdout) > worst_of(first.stdout)
    assert weak_boards.first_broken(again.stdout) == weak_boards.first_broken(first.stdout)


def test_parts_of_which_none_has_broken_anything_claim_nothing(parts, written):
    board = parts.board
    (board.folder / "tolerances.toml").write_text("[search]\nload = { cpu = 0, gpu = 0, radio = 0 }\n")
    told = merged(parts, *parts(2, 8))
    assert (told.returncode, told.stderr) == (0, "")
    assert "case=48C: not broken in 8 simulations, the nearest" in told.stdout
    xml = board.run("margin", "merge", board.folder / "part-1", board.folder / "part-2", "--format", "junit").stdout
    assert 'tests="2"' in xml and 'failures="0"' in xml


def test_parts_of_a_search_that_do_not_go_together_are_refused_by_name(parts, tmp_path):
    one, two, three = parts(3, 30)
    assert merged(parts, one, two, three).returncode == 1
    files = found_files(parts)

    def refused(*paths):
        run = merged(parts, *paths)
        assert (run.returncode, run.stdout) == (2, "")
        assert found_files(parts) == files
        return run.stderr

    assert "simulations 11 to 20, shard 2/3, are missing" in refused(one, three)
    twin = tmp_path / "twin"
    shutil.copy(two, twin)
    assert f"{twin}: error: has simulations 11 to 20, and {two} has simulations 11 to 20" in refused(one, two, three, twin)
    (later,) = parts(1, 5, "--from", tmp_path / "worst", name="later")
    foreign = refused(one, two, three, later)
    assert f"{later}: error: is of another question than {one}: it is of another round" in foreign
    whole = two.read_bytes()
    for words, told in ((("--seed", "2"), "its seed is 2 and not 1"), (("--limit", "case=47C"), "limits or thermalctl differ")):
        run = parts.board.search(30, "--shard", "2/3", *words, out=two)
        assert run.returncode == 0, run.stderr
        assert f"{two}: error: is of another question than {one}: " in refused(one, two, three)
        assert told in refused(one, two, three)
    tolerances = tmp_path / "tolerances.toml"
    tolerances.write_text(tolerances.read_text() + "steps = 2\n")
    assert parts.board.search(30, "--shard", "2/3", out=two).returncode == 0
    assert "tolerances.toml was another text" in refused(one, two, three)
    for torn, told in ((whole[:-5], "it has"), (whole[:300], "its head is not whole"),
                       (whole.replace(b'"stood_still":0', b'"stood_still":1'), "its bytes are not those")):
        two.write_bytes(torn)
        assert f"{two}: error: is torn: {told}" in refused(one, two, three)
    tolerances.write_text(parts.board.board.tolerances)
    units = parts.board.run("margin", *parts.board.files(), "--workload", tmp_path / "own.csv", *parts.board.board.budgets,
                            "--tolerances", tolerances, "--units", 30, "--shard", "2/3", "--out", two)
    assert units.returncode == 0, units.stderr
    assert f"{two}: error: is of another question than {one}: it is of units, and not of a search" in refused(one, two, three)
    two.write_bytes(whole)
    run = parts.board.run("margin", "merge", one, two, three, "--until", "share<=1%@95%")
    assert (run.returncode, run.stdout) == (2, "")
    assert "is of units, and these are parts of a search" in run.stderr


def test_a_round_goes_on_from_the_same_search_alone(parts, tmp_path):
    def refused(*words):
        run = parts.board.search(20, *words)
        assert (run.returncode, run.stdout) == (2, "")
        return run.stderr

    before = tmp_path / "before"
    assert f"{before / 'worst.part'}: error: cannot be read: No such file" in refused("--from", before)
    merged(parts, *parts(2, 20), out="before")
    other = refused("--from", before, "--seed", "2")
    assert f"{before / 'worst.part'}: error: is of another search than this one: its seed is 1 and not 2" in other
    part = before / "worst.part"
    part.write_bytes(part.read_bytes()[:-9])
    assert f"{part}: error: is torn" in refused("--from", before)
    run = parts.board.run("margin", *parts.board.files(), "--tolerances", tmp_path / "tolerances.toml", "--from", before)
    assert run.returncode == 2 and "--from and --simulations are of a search" in run.stderr
    assert not (tmp_path / "worst").exists()


def test_an_interrupted_part_of_a_search_leaves_what_was_there(parts, tmp_path, thermalctl):
    part = tmp_path / "part"
    part.write_text("earlier")
    names = {path.name for path in tmp_path.iterdir()}
    board = parts.board
    run = thermalctl.start("margin", *board.files(), "--workload", tmp_path / "own.csv", *board.board.budgets, "--tolerances",
                           tmp_path / "tolerances.toml", "--search", "--simulations", "1000000", "--shard", "1/2", "--out", part)
    try:
        time.sleep(1.5)
        run.send_signal(signal.SIGINT)
        out, err = run.communicate(timeout=LIMIT)
    finally:
        run.kill()
    assert (run.returncode, out) == (2, "")
    assert "interrupted: no part is written" in err
    assert part.read_text() == "earlier"
    assert {path.name for path in tmp_path.iterdir()} == names


def test_what_was_interrupted_goes_on(parts, tmp_path, thermalctl):
    board = parts.board
    run = thermalctl.start("margin", *board.files(), "--workload", tmp_path / "own.csv", *board.board.budgets, "--tolerances",
                           tmp_path / "tolerances.toml", "--search", "--simulations", "1000000", "--out", tmp_path / "worst")
    try:
        time.sleep(1.5)
        run.send_signal(signal.SIGINT)
        out, err = run.communicate(timeout=LIMIT)
    finally:
        run.kill()
    known = int(re.search(r"what the first (\d+) simulations? found", err)[1])
    again = board.search(20, "--from", tmp_path / "worst")
    assert f"{known + 20} simulations of up to" in again.stdout
    assert worst_of(again.stdout) >= worst_of(out)
