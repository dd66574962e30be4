"""The phone's files edited at random: thermalctl check accepts none in silence that the daemon takes
differently from what its lines say."""

import random
import sys
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "thermalctl"))
import random_edits  # noqa: E402

EDITS = 500
SEED = 20261122


def told(outcomes):
    return "\n".join(f"{each.edit.what}: {random_edits.changed_lines(each.edit)}: "
                     f"{each.differs[0]}" for each in outcomes)


def test_the_phone_itself_says_what_the_daemon_holds(build_dir, tmp_path):
    texts = {name: (random_edits.PHONE / name).read_text()
             for name in (random_edits.BOARD, random_edits.DAY, random_edits.NIGHT)}
    edit = random_edits.Edit("none", random_edits.BOARD, texts)
    outcome = random_edits.outcome_of(edit, build_dir, tmp_path)
    assert (outcome.differs, outcome.rules) == ([], [])


@pytest.mark.parametrize("seed", [SEED, random.randrange(2 ** 32)], ids=["fixed", "random"])
def test_no_edit_is_accepted_in_silence_that_the_daemon_takes_differently(build_dir, seed):
    print(f"seed {seed}")
    outcomes = random_edits.outcomes(EDITS, seed, build_dir)
    silent = [each for each in outcomes if each.is_silent]
    assert not silent, f"seed {seed}:\n{told(silent)}"
    # Most of them mean something else than what the daemon makes of them, in all three files.
    differing = [each for each in outcomes if each.differs]
    assert len(differing) > EDITS / 2
    assert len({each.edit.file for each in differing}) == 3


def test_an_edit_that_is_accepted_in_silence_is_noticed(build_dir):
    """Without the rules that find the most some edits are."""
    rules = ["words-ignored", "section-words-ignored", "item-number-cut-short", "item-key-unknown",
             "item-key-misspelt", "section-key-misspelt", "look-alike-character"]
    options = [word for rule in rules for word in ("--disable", rule)]
    outcomes = random_edits.outcomes(100, SEED, build_dir, options)
    assert any(each.is_silent for each in outcomes)
