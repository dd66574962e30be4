"""Workloads that ramp and sources that were measured, as a user of the command sees them."""

import csv
import math
import re
from pathlib import Path

import pytest

REPOSITORY = Path(__file__).resolve().parents[2]
BOARD = REPOSITORY / "boards" / "phone"

ENVIRONMENT = """\
[cpu]
type real
sampling 500
node_path /nowhere/cpu

[gpu]
type gpufreq
node_path /nowhere/gpu
level_table 100 40
"""
CONFIGURATION = """\
[never]
algo_type monitor
sensor cpu
sampling 500
thresholds 900000
thresholds_clr 899000
actions gpu
action_info 1
"""
PLANT = """\
[node.die]
joules_per_kelvin = 5
[[resistance]]
between = ["die", "ambient"]
kelvin_per_watt = 6
[source.core]
node = "die"
watts = 4
idle_watts = 0.25
load = 0
[sensor.cpu]
node = "die"
"""
TAU, OHM = 30, 6


@pytest.fixture
def simulate(thermalctl, tmp_path):
    """Runs a workload on a board of one node; gives the trace's rows and what was printed."""
    def run(text, name="work.csv", duration="200s", status=0):
        for file, content in (("talmor-thermal.env", ENVIRONMENT), ("plant.toml", PLANT),
                              ("talmor-thermal.conf", CONFIGURATION), (name, text)):
            (tmp_path / file).write_text(content)
        result = thermalctl("simulate", "--board", tmp_path, "--workload", tmp_path / name,
                            "--duration", duration, "--out", tmp_path / "out")
        assert result.status == status, result.err
        if status:
            return [], result
        with open(tmp_path / "out" / "trace.csv", newline="") as trace:
            return list(csv.DictReader(trace)), result
    return run


def of(rows, event):
    return {int(row["time_ms"]): int(row["value"]) for row in rows if row["event"] == event}


def after(celsius, seconds, watts, slope, ambient=25.0, ambient_slope=0.0):
    """One node behind a stretch of straight lines, by hand."""
    decay = math.exp(-seconds / TAU)
    level, grown = ambient + OHM * watts, ambient_slope + OHM * slope
    return level + grown * (seconds - TAU) + (celsius - level + grown * TAU) * decay


def test_a_load_that_ramps_heats_along_its_line(simulate):
    rows, _ = simulate("time,ramp core\n0,0\n100,1\n")
    heat, power = of(rows, "plant"), of(rows, "power")
    for second in range(0, 101):
        wanted = after(25, second, 0.25, 0.04)
        assert abs(heat[1000 * second] - 1000 * wanted) <= 0.5 + 1e-6, second
        assert power[1000 * second] == 250_000 + 40_000 * second
    held = after(after(25, 100, 0.25, 0.04), 99, 4.25, 0)
    assert abs(heat[199_000] - 1000 * held) <= 0.5 + 1e-6
    assert max(power) == 100_000


def test_measured_watts_take_the_place_of_load_and_idle_power(simulate):
    rows, result = simulate("time,ramp watts core,ramp ambient\n0,2,25\n60,0.5,28\n60,3,\n")
    heat = of(rows, "plant")
    there = after(25, 60, 2, -0.025, 25, 0.05)
    assert abs(heat[60_000] - 1000 * there) <= 0.5 + 1e-6
    assert abs(heat[160_000] - 1000 * after(there, 100, 3, 0, 28)) <= 0.5 + 1e-6
    joules = 60 * 1.25 + 140 * 3
    assert re.search(rf"core\s+energy, J\s+{joules:.1f}$", result.out, re.MULTILINE)
    assert "work done" not in result.out


def test_a_ramp_that_repeats_closes_its_line(simulate):
    rows, _ = simulate('repeat = 20\nramp = ["watts core"]\n[[at]]\ntime = 0\nwatts = { core = 1 }\n'
                       '[[at]]\ntime = 10\nwatts = { core = 3 }\n'
                       '[[at]]\ntime = 20\nwatts = { core = 1 }\n', "work.toml")
    power = of(rows, "power")
    for second in range(200):
        assert power[1000 * second] == 1_000_000 + 200_000 * min(second % 20, 20 - second % 20)


def test_the_powers_add_up_to_the_joules_of_the_table(thermalctl, tmp_path):
    table = thermalctl("simulate", "--board", BOARD, "--workload", "game", "--out", tmp_path).out
    with open(tmp_path / "trace.csv", newline="") as trace:
        rows = [row for row in csv.DictReader(trace) if row["event"] == "power"]
    for source in {row["name"] for row in rows}:
        mine = [(int(row["time_ms"]), int(row["value"])) for row in rows if row["name"] == source]
        ends = [time for time, _ in mine[1:]] + [3_600_000]
        joules = sum(watts * (end - time) / 1e9 for (time, watts), end in zip(mine, ends))
        told = re.search(rf"^{source}\s(?:.*\n\s+)?.*energy, J\s+([\d.]+)$", table, re.MULTILINE)
        assert abs(float(told[1]) - joules) < 0.051 + joules * 1e-6, source
    again = thermalctl("plot", tmp_path / "trace.csv", "--board", BOARD).out
    energy = r"energy, J\s+([\d.]+)"
    assert re.findall(energy, again) == re.findall(energy, table)


@pytest.mark.parametrize("text, told", [
    ("time,ramp core\n5,1\n", "work.csv:1:6: error: the load of 'core' ramps and has no value at time 0"),
    ("time,ramp scenario\n0,Default\n", "work.csv:1:6: error: 'scenario' cannot ramp"),
    ("time,watts cor\n0,1\n", "did you mean 'watts core'?"),
    ("time,core,watts core\n0,1,1\n", "work.csv:2:5: error: 'core' has a load, too"),
    ("time,watts core\n0,-1\n", "work.csv:2:3: error: the watts of 'core' must lie from 0 to 1000000"),
    ("time,watts core\n5,1\n", "no watts at time 0 for the source 'core'"),
])
def test_a_slip_is_told_at_its_place(simulate, text, told):
    assert told in simulate(text, status=2)[1].err


def test_the_guides_workloads_run_on_the_phone(thermalctl, tmp_path):
    guide = (REPOSITORY / "docs" / "simulation.md").read_text()
    shown = re.findall(r"```(?:text|toml)\n((?:time,.*ramp|repeat = .*\nramp)[\s\S]*?)```", guide)
    assert len(shown) == 3
    for text in shown:
        path = tmp_path / ("work.toml" if text.startswith("repeat") else "work.csv")
        # The excerpts leave out what does not ramp.
        path.write_text(text)
        result = thermalctl("simulate", "--board", BOARD, "--workload", path, "--duration", "2m")
        assert result.status == 0, result.err
