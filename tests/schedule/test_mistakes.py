"""Each mistake that is planted in a copy of the daemon's sources is found by the schedules.

The programs come from `cmake --build --preset schedule --target mistakes`.
"""

import subprocess
from pathlib import Path

import pytest

HERE = Path(__file__).resolve().parent
PROGRAMS = HERE.parent.parent / "build" / "schedule" / "tests" / "schedule"
MISTAKES = sorted(patch.stem for patch in (HERE / "mistakes").glob("*.patch"))
SCHEDULES = 100_000
# Always the same, so that nothing but a change of the sources changes what comes of it.
SEED = 1


def play(program):
    """Returns the exit status and the report of schedules up to the first failure."""
    command = [PROGRAMS / program, "--schedules", str(SCHEDULES), "--first",
               "--seed", str(SEED)]
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          check=False)
    return done.returncode, done.stdout


@pytest.mark.parametrize("mistake", MISTAKES)
def test_is_found(mistake):
    status, report = play(f"schedule-{mistake}")
    assert status == 1 and "BROKEN" in report, report


def test_there_are_mistakes():
    assert len(MISTAKES) >= 12
