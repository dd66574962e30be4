"""thermalctl diff: what an edit changes, by meaning; formats, revisions and exit statuses."""

import json
import random
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
