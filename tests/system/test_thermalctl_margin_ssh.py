"""The units of a board on several machines by GNU parallel and ssh: the very lines that docs/margin.md has for it."""

import os
import re
import shutil
from pathlib import Path

import pytest

from machines import Machines

REPOSITORY = Path(__file__).resolve().parents[2]
UNITS = ("--board", "boards/phone", "--tolerances", "boards/phone/tolerances.toml", "--workload", "game")

pytestmark = pytest.mark.skipif(os.geteuid() != 0, reason="another user's sshd lets nobody in")


@pytest.fixture
def machines(build_dir, tmp_path):
    """They have thermalctl and nothing of the board."""
    programs, state = tmp_path / "bin", tmp_path / "ssh"
    programs.mkdir()
    state.mkdir()
    (programs / "thermalctl").symlink_to(build_dir / "thermalctl")
    with Machines(state, programs) as started:
        yield started


def told_lines(shards, *asked):
    """Of the document, for so many shards."""
    text = (REPOSITORY / "docs" / "margin.md").read_text()
    (lines,) = re.findall(r"```\n(parallel .*?)```", text, re.S)
    assert len(lines.replace("\\\n", "").splitlines()) == 2
    assert "thermalctl margin ..." in lines and "64" in lines
    return lines.replace("...", " ".join(asked)).replace("64", str(shards))


@pytest.mark.parametrize("asked", [
    (*UNITS, "--duration", "6m", "--units", "21", "--limit", "skin=38C"),
    (*UNITS, "--duration", "2m", "--search", "--simulations", "21", "--conf", "boards/phone/talmor-thermal.conf",
     "--limit", "skin=38C"),
], ids=["units", "search"])
def test_two_lines_run_it_on_other_machines(machines, tmp_path, asked):
    here = tmp_path / "here"
    shutil.copytree(REPOSITORY / "boards" / "phone", here / "boards" / "phone")
    run = machines.run(told_lines(3, *asked), here)
    assert run.returncode == 1, run.stderr
    assert [path.name for path in sorted(here.glob("part-*"))] == ["part-1", "part-2", "part-3"]
    # They ran there, where no part is left.
    log = (machines.folder / "log").read_text()
    assert "Accepted publickey" in log
    assert [path.name for path in (machines.home / "margin").iterdir()] == ["boards"]

    def files():
        return {path.name: path.read_bytes() for path in (here / "margin").iterdir()}

    merged = files()
    shutil.rmtree(here / "margin")
    # The same on this machine alone; a search in other parts is another search.
    alone = [f"thermalctl margin {' '.join(map(str, asked))} --out margin"]
    if "--search" in asked:
        alone = [alone[0].replace("--out margin", f"--shard {index}/3 --out part-{index}") for index in (1, 2, 3)]
        alone.append("thermalctl margin merge part-* --out margin")
    told = machines.run("\n".join(alone), here)
    assert told.returncode == 1, told.stderr
    assert run.stdout.endswith(told.stdout[told.stdout.index("game on phone"):])
    assert files() == merged
