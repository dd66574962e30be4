"""Random edits of a board's plant and workloads: refused, or simulated as their lines say."""

import shutil
import sys
from pathlib import Path

import pytest

REPOSITORY = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(REPOSITORY / "tests" / "thermalctl"))
import random_heat_edits as edits  # noqa: E402

# Of the five hundred that the script makes by itself.
EDITS = 160


@pytest.mark.parametrize("first", range(1, EDITS, 40))
def test_an_edit_is_refused_or_taken_as_it_stands(thermalctl, first):
    endings, wrong = edits.search(thermalctl.command[-1], range(first, first + 40))
    assert wrong == []
    assert endings["refused"] > 5 and endings["taken"] > 5


class MisreadTrial(edits.Trial):
    """A run of other files than those that it is then held against."""

    def __init__(self, thermalctl, folder, file, old, new):
        super().__init__(thermalctl, 0, folder)
        self.workload, minutes = edits.RUNS[file]
        self.end = 60_000 * minutes
        shutil.copytree(edits.PHONE, self.board, dirs_exist_ok=True)
        edits.add_further(self.board)
        self.run = edits.simulated(thermalctl, self.board, self.workload, minutes)
        path = next(self.board.rglob(file))
        assert old in path.read_text()
        path.write_text(path.read_text().replace(old, new, 1))


@pytest.mark.parametrize("file, old, new", [
    ("plant.toml", "joules_per_kelvin = 2.6", "joules_per_kelvin = 2.61"),
    ("plant.toml", "kelvin_per_watt = 1.25", "kelvin_per_watt = 1.26"),
    ("plant.toml", "ambient = 25.0", "ambient = 25.1"),
    ("plant.toml", "noise = 0.05", "noise = 0.005"),
    ("game.csv", "5m,game,0.60", "5m,game,0.61"),
    ("game.csv", "5m,game", "6m,game"),
    ("navigation.csv", "1m,30", "1m,31"),
    ("benchmark.toml", "1m30s", "1m31s"),
    ("rails.csv", "ramp watts big", "watts big     "),
    ("rails.csv", "1.655", "1.755"),
    ("rails.csv", "91,   3.204", "93,   3.204"),
    ("morning.toml", "ambient = 33", "ambient = 34"),
    ("morning.toml", '"ambient", ', ""),
    ("morning.toml", "load = { gpu = 0.2 }", "load = { gpu = 0.4 }"),
])
def test_a_run_that_is_another_than_its_files_say_is_found(thermalctl, tmp_path, file, old, new):
    ending, faults = MisreadTrial(thermalctl.command[-1], tmp_path, file, old, new).verdict()
    assert ending == "taken" and len(faults) == 1, faults
