"""thermalctl diff: what an edit changes, by meaning and in a study's runs; formats, revisions and exit statuses."""

import csv
import json
import random
import re
import shutil
import subprocess
import sys
import time
from pathlib import Path

import pytest

REPOSITORY = Path(__file__).resolve().parents[2]
PHONE = REPOSITORY / "boards" / "phone"
sys.path.insert(0, str(REPOSITORY / "tests" / "thermalctl"))
import meaning_edits  # noqa: E402

DAY = "talmor-thermal.conf"
SEED = 20261122


@pytest.fixture
def board(tmp_path):
    for path in PHONE.iterdir():
        if path.suffix in (".env", ".conf"):
            shutil.copy(path, tmp_path)
    return tmp_path


def edit(board, old, new, name=DAY):
    path = board / name
    text = path.read_text()
    assert old in text
    path.write_text(text.replace(old, new, 1))


GAME_SKIN = "[game_skin]\nalgo_type monitor\nsensor skin\nsampling 1000\nthresholds 38000 40000"


def test_a_board_is_no_change_of_itself(thermalctl, board):
    assert thermalctl("diff", PHONE, board) == (0, "no change\n", "")


def test_a_level_that_moves_is_told_with_its_item(thermalctl, board):
    edit(board, GAME_SKIN, GAME_SKIN.replace("40000", "41000"))
    assert thermalctl("diff", PHONE, board) == (
        0, "talmor-thermal.conf, game\n  game_skin: level 2 from 40.0 to 41.0 C\n", "")


def test_a_first_level_that_moves_changes_the_coverage(thermalctl, board):
    edit(board, GAME_SKIN, GAME_SKIN.replace("38000", "39000"))
    out = thermalctl("diff", PHONE, board).out
    assert "  game_skin: level 1 from 38.0 to 39.0 C\n" in out
    assert out.endswith("coverage\n  talmor-thermal.conf, game\n    skin: cooled from 38.0 to 39.0 C\n")


def test_an_item_that_goes_and_one_that_appears(thermalctl, board):
    text = (board / DAY).read_text()
    begin, end = text.index("[day_gpu]"), text.index("[day_skin]")
    (board / DAY).write_text(text[:begin] + text[begin:end].replace("day_gpu", "day_graphics") + text[end:])
    out = thermalctl("diff", PHONE, board).out
    assert "  day_gpu: goes (monitor on gpu from 62.0 C)\n" in out
    assert "  day_graphics: appears (monitor on gpu from 62.0 C)\n" in out
    assert "coverage" not in out


def test_the_environment_and_the_scenarios_are_compared(thermalctl, board):
    edit(board, "3000 2400 1800", "3000 2500 1800", "talmor-thermal.env")
    edit(board, "SCEN camera", "SCEN video")
    out = thermalctl("diff", PHONE, board).out
    assert out.startswith("the board\n  device charger: level 1 from 2400 to 2500\n")
    assert "talmor-thermal.conf, camera\n  the scenario goes\n" in out
    assert "talmor-thermal.conf, video\n  the scenario appears\n" in out


def test_two_configurations_are_compared_whatever_their_names(thermalctl, board):
    shutil.copy(board / DAY, board / "new.conf")
    assert thermalctl("diff", board / DAY, board / "new.conf").out == "no change\n"
    edit(board, "set_point 66000", "set_point 65000", "new.conf")
    assert "game_big: set point from 66.0 to 65.0 C\n" in thermalctl("diff", board / DAY, board / "new.conf").out


def test_a_configuration_without_a_board_is_compared(thermalctl, board, tmp_path_factory):
    alone = tmp_path_factory.mktemp("alone")
    shutil.copy(board / DAY, alone / "old.conf")
    shutil.copy(board / DAY, alone / "new.conf")
    edit(alone, "set_point 66000", "set_point 65000", "new.conf")
    assert "game_big: set point from 66.0 to 65.0 C\n" in thermalctl(
        "diff", alone / "old.conf", alone / "new.conf").out


def test_a_configuration_without_a_board_is_one_for_the_others(thermalctl, board, tmp_path_factory):
    alone = shutil.copy(board / DAY, tmp_path_factory.mktemp("alone") / "new.conf")
    assert thermalctl("diff", board / DAY, alone) == (0, "no change\n", "")
    assert thermalctl("diff", alone, board / DAY) == (0, "no change\n", "")


def git(folder, *words):
    subprocess.run(["git", "-C", folder, "-c", "user.name=a", "-c", "user.email=a@b", *words], check=True,
                   capture_output=True)


def test_a_revision_is_compared_with_the_folder_and_with_a_file(thermalctl, board):
    git(board, "init", "-q")
    git(board, "add", ".")
    git(board, "commit", "-qm", "board")
    assert thermalctl("diff", "HEAD", board) == (0, "no change\n", "")
    edit(board, "set_point 66000", "set_point 65000")
    for new in (board, board / DAY):
        assert "game_big: set point from 66.0 to 65.0 C\n" in thermalctl("diff", "HEAD", new).out
    git(board, "commit", "-qam", "cooler")
    run = subprocess.run([*thermalctl.command, "diff", "HEAD~1", "HEAD"], cwd=board, capture_output=True,
                         text=True)
    assert "game_big: set point from 66.0 to 65.0 C\n" in run.stdout


def test_a_revision_is_that_of_the_folder_within_its_repository(thermalctl, board):
    git(board.parent, "init", "-q")
    git(board.parent, "add", board.name)
    git(board.parent, "commit", "-qm", "boards")
    edit(board, "set_point 66000", "set_point 65000")
    assert "game_big: set point from 66.0 to 65.0 C\n" in thermalctl("diff", "HEAD", board).out


@pytest.mark.parametrize("fail_on, moved, status", [
    ([], "38000", 0), (["--fail-on", "any"], "40000", 1), (["--fail-on", "coverage"], "40000", 0),
    (["--fail-on", "coverage"], "38000", 1)])
def test_it_fails_on_what_is_asked(thermalctl, board, fail_on, moved, status):
    edit(board, GAME_SKIN, GAME_SKIN.replace(moved, moved[:2] + "500"))
    assert thermalctl("diff", PHONE, board, *fail_on).status == status
    assert thermalctl("diff", PHONE, PHONE, *fail_on).status == 0


def test_the_changes_as_markdown_and_json(thermalctl, board):
    edit(board, GAME_SKIN, GAME_SKIN.replace("38000", "39000"))
    markdown = thermalctl("diff", PHONE, board, "--format", "markdown").out
    assert "**talmor-thermal.conf, game**\n\n- game_skin: level 1 from 38.0 to 39.0 C\n" in markdown
    result = json.loads(thermalctl("diff", PHONE, board, "--format", "json").out)
    assert result["changed"] is True
    assert result["changes"] == [{"file": DAY, "scenario": "game", "about": "game_skin",
                                  "change": "level 1 from 38.0 to 39.0 C"}]
    assert [each["sensor"] for each in result["coverage"]] == ["skin"]


# What an edit changes in the runs of the board's study.

STUDY = """workloads = ["game"]
duration = "1h"
[[budget]]
limits = ["skin=43C"]
"""
NO_PARTING = ("no change\n\nwhere the runs part\n  the same to the end: 1 run\n\n"
              "no change of verdicts and figures\n")
LATE = PHONE / "tuning" / "late.conf"


@pytest.fixture
def boards(tmp_path):
    """Two folders with the phone and a study of an hour of a game, of which the day keeps the limit."""
    folders = tmp_path / "old", tmp_path / "new"
    for folder in folders:
        shutil.copytree(PHONE, folder)
        (folder / "study.toml").write_text(STUDY)
    return folders


def states(thermalctl, board, out):
    """What a run shows, by its moments: the configuration, the scenario, levels and temperatures."""
    assert thermalctl("simulate", "--board", board, "--only", "csv", "--out", out).status in (0, 1)
    moments = {}
    with open(out / "trace.csv", newline="") as file:
        for row in csv.DictReader(file):
            what = {"level": "level of ", "temperature": "temperature of ", "plant": "temperature of node:",
                    "scenario": "scenario", "configuration": "configuration"}.get(row["event"])
            if what in ("scenario", "configuration"):
                moments.setdefault(int(row["time_ms"]), {})[what] = row["name"]
            elif what:
                moments.setdefault(int(row["time_ms"]), {})[what + row["name"]] = int(row["value"])
    return moments


def first_difference(old, new):
    before, now = {}, {}
    for time_ms in sorted(old.keys() | new.keys()):
        before.update(old.get(time_ms, {}))
        now.update(new.get(time_ms, {}))
        differing = {what for what in before.keys() | now.keys() if before.get(what) != now.get(what)}
        if differing:
            return time_ms, {what: (before.get(what), now.get(what)) for what in differing}
    return None


def test_an_edit_that_means_nothing_parts_no_runs(thermalctl, boards):
    old, new = boards
    (new / DAY).write_text((new / DAY).read_text().replace("\n", "\r\n"))
    assert thermalctl("diff", old, new, "--fail-on", "verdict", "--fail-on", "any") == (0, NO_PARTING, "")


def test_the_first_moment_at_which_the_runs_part_is_that_of_their_traces(thermalctl, boards, tmp_path):
    old, new = boards
    shutil.copy(LATE, new / DAY)
    result = json.loads(thermalctl("diff", old, new, "--simulate", "--format", "json").out)["simulation"]
    [run] = result["runs"]
    time_ms, differing = first_difference(states(thermalctl, old, tmp_path / "a"),
                                          states(thermalctl, new, tmp_path / "b"))
    parting = run["parting"]
    assert parting["seconds"] * 1000 == time_ms > 300_000
    assert differing[parting["what"]] == (int(parting["before"]), int(parting["now"]))
    assert parting["now"] == "0" < parting["before"]
    seconds = round(time_ms / 1000)
    clock = f"{seconds // 3600}:{seconds // 60 % 60:02}:{seconds % 60:02}"
    line = f"talmor-thermal.conf: {clock} {parting['what']} 0, before {parting['before']}\n"
    assert f"\nwhere the runs part\n  {line}" in thermalctl("diff", old, new, "--simulate").out
    assert f"\n### Where the runs part\n\n- {line}" in thermalctl(
        "diff", old, new, "--simulate", "--format", "markdown").out


def test_a_limit_that_is_passed_is_a_worse_verdict(thermalctl, boards):
    old, new = boards
    shutil.copy(LATE, new / DAY)
    status, out, err = thermalctl("diff", old, new, "--fail-on", "verdict")
    assert (status, err) == (1, "")
    assert re.search(r"^ +skin=43C +kept +passed +worse$", out, re.M), out
    assert re.search(r"^talmor-thermal.conf +temperatures\.\S+\.peak +\S+ +\S+ +\+", out, re.M), out
    # Told, but not asked for.
    assert thermalctl("diff", old, new, "--simulate").status == 0
    # And the other way round it is better.
    assert thermalctl("diff", new, old, "--fail-on", "verdict").status == 0
    markdown = thermalctl("diff", old, new, "--simulate", "--format", "markdown").out
    assert "| talmor-thermal.conf | skin=43C | kept | passed | worse |\n" in markdown
    simulation = json.loads(thermalctl("diff", old, new, "--simulate", "--format", "json").out)["simulation"]
    assert simulation["worse"] is True
    assert {"run": "talmor-thermal.conf", "figure": "skin=43C", "before": "kept", "now": "passed",
            "difference": "worse", "worse": True} in simulation["figures"]


def test_it_tells_what_simulate_tells_against_an_earlier_study(thermalctl, boards, tmp_path):
    old, new = boards
    shutil.copy(LATE, new / DAY)
    thermalctl("simulate", "--board", old, "--only", "results", "--out", tmp_path / "before")
    against = thermalctl("simulate", "--board", new, "--against", tmp_path / "before" / "results.json").out
    table = against.partition("\nchanged against ")[2].partition("\n")[2]
    assert table.startswith("run ")
    assert thermalctl("diff", old, new, "--simulate").out.endswith("\nverdicts and figures\n" + table)


def test_without_simulate_nothing_is_run(thermalctl, boards):
    old, new = boards
    shutil.copy(LATE, new / DAY)
    (new / "plant.toml").write_text("nonsense")
    status, out, err = thermalctl("diff", old, new, "--fail-on", "coverage")
    assert (status, err) == (1, "")
    assert "runs" not in out
    assert "simulation" not in json.loads(thermalctl("diff", old, new, "--format", "json").out)


def test_the_plant_alone_may_change_the_runs(thermalctl, boards):
    old, new = boards
    edit(new, "ambient = 25", "ambient = 26", "plant.toml")
    status, out, _ = thermalctl("diff", old, new, "--simulate", "--fail-on", "any")
    assert status == 1
    assert out.startswith("no change\n\nwhere the runs part\n  talmor-thermal.conf: 0:00:01 temperature of node:case ")


def test_runs_that_only_one_side_has_are_counted(thermalctl, boards):
    old, new = boards
    edit(new, '["game"]', '["idle", "camera"]', "study.toml")
    out = thermalctl("diff", old, new, "--simulate").out
    assert "where the runs part\n  not there before: 2 runs\n  not there any more: 1 run\n" in out


def test_a_study_of_a_revision(thermalctl, boards):
    old, _ = boards
    git(old, "init", "-q")
    git(old, "add", ".")
    git(old, "commit", "-qm", "board")
    assert thermalctl("diff", "HEAD", old, "--simulate") == (0, NO_PARTING, "")
    shutil.copy(LATE, old / DAY)
    for new in (old, old / DAY):
        status, out, err = thermalctl("diff", "HEAD", new, "--fail-on", "verdict")
        assert (status, err) == (1, "")
        assert re.search(r"^ +skin=43C +kept +passed +worse$", out, re.M), out


@pytest.mark.parametrize("select", ["", f'configurations = ["{DAY}"]'], ids=["for all", "for one"])
@pytest.mark.parametrize("place", ["old/tuning/late.conf", "elsewhere.conf"])
def test_two_configurations_run_in_the_place_of_the_boards_own(thermalctl, boards, tmp_path, place, select):
    board, _ = boards
    (board / "study.toml").write_text(f'configurations = ["{DAY}"]\n{STUDY}{select}\n')
    shutil.copy(LATE, tmp_path / place)
    status, out, err = thermalctl("diff", board / DAY, tmp_path / place, "--fail-on", "verdict")
    assert (status, err) == (1, "")
    assert re.search(r"^ +skin=43C +kept +passed +worse$", out, re.M), out
    assert re.search(r"^  the configuration: 0:\d\d:\d\d level of charger 0, before [1-4]$", out, re.M), out


def test_two_environment_files_run_with_the_studys_configurations(thermalctl, boards):
    board, _ = boards
    hot = board / "hot" / "talmor-thermal.env"
    hot.parent.mkdir()
    shutil.copy(board / "talmor-thermal.env", hot)
    edit(hot.parent, "offsets -600", "offsets -900", hot.name)
    status, out, err = thermalctl("diff", board / hot.name, hot, "--simulate")
    assert (status, err) == (0, "")
    assert re.search(r"^  talmor-thermal.conf: 0:\d\d:\d\d temperature of skin \S+ C, before \S+ C$", out, re.M), out


def test_without_a_study_it_says_what_to_write(thermalctl, boards):
    old, new = boards
    (new / "study.toml").unlink()
    hint = ('there is no study.toml beside the board; write there what is run, such as workloads = ["game"], '
            'and what it is held to, such as limits = ["skin=43C"] below [[budget]]')
    for words in ((old, new, "--simulate"), (new, old, "--fail-on", "verdict"),
                  (new / DAY, new / DAY, "--simulate")):
        name = new / DAY if new / DAY in words else new
        status, out, err = thermalctl("diff", *words)
        assert (status, out) == (2, "")
        assert f"thermalctl: '{name}' cannot be simulated: {hint}\n" in err


@pytest.mark.parametrize("name, old_text, new_text, message", [
    ("study.toml", '"game"', '"gmae"', "did you mean 'game'?"),
    ("plant.toml", "= 70.0", "= -70.0", "plant.toml:23:21: error: 'joules_per_kelvin' must be a number"),
    (DAY, "algo_type monitor", "algo_type monitr", "did you mean 'monitor'?")])
def test_what_cannot_be_run_is_told_with_its_place(thermalctl, boards, name, old_text, new_text, message):
    old, new = boards
    edit(new, old_text, new_text, name)
    status, out, err = thermalctl("diff", old, new, "--simulate")
    assert (status, out) == (2, "")
    assert message in err
    assert err.endswith(f"thermalctl: '{new}' cannot be simulated\n")


@pytest.mark.parametrize("name, old_text, new_text, message", [
    ("study.toml", '"game"', '"gmae"', "{}study.toml:"),
    ("plant.toml", "= 70.0", "= -70.0", "{}plant.toml:23:21: error: 'joules_per_kelvin' must be a number"),
    (DAY, "algo_type monitor", "algo_type monitr", "{}talmor-thermal.conf:13:11: error: the daemon ends"),
    ("plant.toml", "", None, "{}plant.toml"), ("talmor-thermal.env", "", None, "holds no environment file")])
def test_the_files_of_a_revision_are_named_as_git_names_them(thermalctl, boards, name, old_text, new_text, message):
    old, _ = boards
    git(old.parent, "init", "-q")
    if new_text is None:
        (old / name).unlink()
    else:
        edit(old, old_text, new_text, name)
    git(old.parent, "add", old.name)
    git(old.parent, "commit", "-qm", "board")
    shutil.copytree(boards[1], old, dirs_exist_ok=True)
    run = subprocess.run([*thermalctl.command, "diff", "HEAD", old.name, "--simulate"], cwd=old.parent,
                         capture_output=True, text=True)
    assert (run.returncode, run.stdout) == (2, "")
    assert message.format("HEAD:old/") in run.stderr
    assert "'HEAD:old'" in run.stderr or "HEAD:old/" in run.stderr
    assert "thermalctl-" not in run.stderr


def test_a_file_that_a_revision_lacks_is_named_as_git_names_it(thermalctl, board):
    git(board, "init", "-q")
    git(board, "add", ".")
    git(board, "commit", "-qm", "board")
    shutil.copy(board / DAY, board / "new.conf")
    run = subprocess.run([*thermalctl.command, "diff", "HEAD", "new.conf"], cwd=board, capture_output=True,
                         text=True)
    assert (run.returncode, run.stdout) == (2, "")
    assert run.stderr.startswith("thermalctl: cannot read HEAD:new.conf: No such file or directory")
    assert "thermalctl-" not in run.stderr


@pytest.mark.parametrize("words, message", [
    (("nowhere", "."), "there is no file, no folder and no revision 'nowhere'"),
    ((PHONE, PHONE / DAY), "are a folder and a file; compare two of a kind"),
    ((REPOSITORY / "docs", PHONE), "holds no environment file (*.env)"),
])
def test_what_cannot_be_compared_could_not_run(thermalctl, words, message):
    status, out, err = thermalctl("diff", *words)
    assert (status, out) == (2, "")
    assert message in err


@pytest.mark.parametrize("seed", [SEED, random.randrange(2 ** 32)], ids=["fixed", "random"])
def test_edits_that_mean_nothing_are_no_change(build_dir, seed):
    assert meaning_edits.idle_edits(build_dir / "thermalctl", 60, seed) == [], seed


def test_no_edit_is_missed_whose_run_differs(build_dir):
    missed, differing = meaning_edits.real_edits(build_dir / "thermalctl", 20, SEED)
    assert missed == []
    assert differing > 5


def test_the_phone_is_compared_within_a_second(thermalctl, board):
    begin = time.monotonic()
    thermalctl("diff", PHONE, board)
    assert time.monotonic() - begin < 5  # on a busy machine
