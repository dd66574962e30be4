#!/usr/bin/python3
"""Plants weaknesses that a board's own workload does not show, and prints of each whether the search of
thermalctl margin breaks its limit, in which simulation, and whether the command that it tells does so again.
Then sound boards, of which none may be called broken.

    tests/thermalctl/weak_boards.py [--thermalctl build/release/thermalctl] [--simulations 1500]

A weak board keeps its limit under its own workload and nominal unit. A sound one keeps it with a degree to
spare under every workload of a grid that spans the whole of what the search may do there.
"""

import argparse
import itertools
import re
import shlex
import subprocess
import sys
import tempfile
from pathlib import Path
from typing import NamedTuple

REPOSITORY = Path(__file__).resolve().parents[2]
MINUTES = 4

ENV = """\
[die]
type real
sampling 500
node_path /nowhere/die

[gpu]
type real
sampling 500
node_path /nowhere/gpu_temp

[case]
type real
sampling 1000
node_path /nowhere/case

[cpu]
type cpufreq
node_path /nowhere/cpu
level_table 2000000 1500000 1000000 500000

[graphics]
type gpufreq
node_path /nowhere/gpu
level_table 900000 600000 300000
"""


def monitor(name, sensor, thresholds, clear, actions, levels, sampling=500):
    def line(numbers):
        return " ".join(str(round(1000 * number)) for number in numbers)
    return (f"[{name}]\nalgo_type monitor\nsensor {sensor}\nsampling {sampling}\nthresholds {line(thresholds)}\n"
            f"thresholds_clr {line(clear)}\nactions {actions}\naction_info {levels}\n\n")


DIE = monitor("NAME_die", "die", (60, 65, 70), (56, 61, 66), "cpu cpu cpu", "1 2 3")
GPU = monitor("NAME_gpu", "gpu", (58, 64), (54, 60), "graphics graphics", "1 2")
CASE = monitor("NAME_case", "case", (40, 43), (38, 41), "cpu+graphics cpu+graphics", "2+1 3+2", 1000)


def scenario(name, *items):
    return "".join(item.replace("NAME", name) for item in items or (DIE, GPU, CASE))


def configuration(default=(), game=()):
    return "SCEN Default\n" + scenario("day", *default) + "SCEN game\n" + scenario("game", *game)


PLANT = """\
ambient = 25

[node.die]
joules_per_kelvin = 2
celsius = 30

[node.gpu]
joules_per_kelvin = 1.5
celsius = 30

[node.case]
joules_per_kelvin = 15
celsius = 28

[[resistance]]
between = ["die", "case"]
kelvin_per_watt = 5

[[resistance]]
between = ["gpu", "case"]
kelvin_per_watt = 9

[[resistance]]
between = ["case", "ambient"]
kelvin_per_watt = 4

[source.cpu]
node = "die"
device = "cpu"
watts = [6, 4, 2, 1]
speed = [1, 0.8, 0.5, 0.25]
work = true

[source.gpu]
node = "gpu"
device = "graphics"
watts = [5, 3, 1]
speed = [1, 0.7, 0.3]
work = true

[source.radio]
node = "case"
watts = 0.5

[sensor.die]
node = "die"

[sensor.gpu]
node = "gpu"

[sensor.case]
node = "case"
"""

# What every board's own workload is: some work, and then a quiet game.
OWN = "time,scenario,ambient,cpu,gpu,radio\n0,Default,25,0.4,0.1,0.2\n90s,game,,0.5,0.3,0.2\n"

# Of a board whose sensors and parts are what they should be.
EXACT = "[search]\n"


def vary(of, spread):
    return f'[[vary]]\nof = ["{of}"]\n{spread}\n'


class Board(NamedTuple):
    what: str
    budgets: tuple
    tolerances: str = EXACT
    conf: str = configuration()
    env: str = ENV
    plant: str = PLANT
    others: tuple = ()  # configurations beside it, by name and text
    # Factors of the case's resistance that a sound one's grid is run with.
    units: tuple = ("",)


def limit(*texts):
    return tuple(word for text in texts for word in ("--limit", text))


def require(text):
    return ("--require", text)


STRONG = PLANT.replace("watts = [6, 4, 2, 1]", "watts = [9, 5, 2, 1]")
# Its die and graphics stay cool on a case that takes all the heat.
BOUND = PLANT.replace("kelvin_per_watt = 5", "kelvin_per_watt = 2").replace("kelvin_per_watt = 9", "kelvin_per_watt = 3")
NARROW = [(55,), (54.9,)]

WEAK = [
    Board("the game forgets the gpu", limit("gpu=76C"), conf=configuration(game=(DIE, CASE))),
    Board("by day nothing is done for the case", limit("case=48C"), plant=BOUND,
          conf=configuration(default=(DIE, GPU))),
    Board("a bad interface between die and case", limit("node:die=76C"),
          vary("resistance.die-case", 'as = "factor"\nlognormal = { interval = [0.75, 1.33] }') + EXACT +
          "scenarios = []\n", configuration(default=(GPU, CASE))),
    Board("a sensor that is off, and thresholds close to the limit", limit("node:die=76C"),
          vary("sensor.die.offset", 'as = "plus"\nnormal = { interval = [-5, 5] }'), plant=STRONG,
          conf=configuration((DIE.replace("60000 65000 70000", "70000 72000 73000")
                                 .replace("56000 61000 66000", "69000 71000 72000"), GPU, CASE))),
    Board("a night that lets the gpu be hot", limit("gpu=76C"),
          EXACT + 'configurations = ["night.conf"]\nscenarios = []\n',
          others=(("night.conf", configuration((DIE, CASE))),)),
    Board("no hysteresis on the cpu", require("changes:cpu<=20/min"),
          conf=configuration(game=(monitor("NAME_die", "die", *NARROW, "cpu", "3"), GPU, CASE))),
    Board("no hysteresis on the graphics", require("changes:graphics<=20/min"),
          conf=configuration((DIE, monitor("NAME_gpu", "gpu", (52,), (51.9,), "graphics", "2"), CASE))),
    Board("a sensor that is read every 20 seconds", limit("node:die=76C"), plant=STRONG,
          env=ENV.replace("sampling 500\nnode_path /nowhere/die", "sampling 20000\nnode_path /nowhere/die")),
    Board("an item that decides every 30 seconds", limit("gpu=76C"),
          conf=configuration(game=(DIE, GPU.replace("sampling 500", "sampling 30000"), CASE))),
    Board("too warm a room", limit("case=48C"), EXACT + "ambient = [5, 42]\n"),
    Board("a sensor that sticks", limit("node:die=76C"), EXACT + '[search.faults]\ndie = ["stuck"]\n', plant=STRONG),
    Board("a sensor that cannot be read", limit("node:gpu=76C"),
          EXACT + '[search.faults]\ngpu = ["unreadable"]\ncase = ["nonsense"]\n'),
    Board("a sensor that reads 20 degrees", limit("node:case=48C"),
          EXACT + '[search.faults]\ncase = [20]\n', plant=BOUND),
    Board("a source that nobody cools", limit("case=48C"), plant=PLANT.replace("watts = 0.5", "watts = 6")),
    Board("a sensor that is late", limit("node:die=76C"),
          plant=STRONG.replace('[sensor.die]\nnode = "die"', '[sensor.die]\nnode = "die"\nlag = 40')),
    Board("a step that is too small, at some loads", require("changes:cpu<=5/min"),
          conf=configuration(*[(monitor("NAME_die", "die", (52, 70), (51.9, 66), "cpu cpu", "1 3"), GPU, CASE)] * 2),
          plant=PLANT.replace("watts = [6, 4, 2, 1]\nspeed = [1, 0.8", "watts = [6, 5.6, 2, 1]\nspeed = [1, 1")),
    Board("a die that takes much, on a case that gives little", limit("case=48C"),
          vary("source.cpu.watts", 'as = "factor"\nlognormal = { interval = [0.7, 1.4] }') +
          vary("resistance.case-ambient", 'as = "factor"\nlognormal = { interval = [0.7, 1.4] }') +
          vary("source.gpu.watts", 'as = "factor"\nlognormal = { interval = [0.7, 1.4] }') +
          "[search]\nambient = [20, 34]\n"),
    Board("a room in which hardly any work is done", require("work:cpu=45%"), EXACT + "ambient = [15, 40]\n"),
    Board("a game that only the night forgets, in a warm room", limit("case=52C"),
          EXACT + 'configurations = ["night.conf"]\nambient = [15, 33]\n', plant=BOUND,
          others=(("night.conf", configuration(game=(DIE, GPU))),)),
    Board("six parts that are each a little off", limit("case=56C"),
          "".join(vary(each, 'as = "factor"\nnormal = { mean = 1, deviation = 0.03 }') for each in (
              "source.cpu.watts", "source.gpu.watts", "source.radio.watts", "resistance.case-ambient",
              "resistance.die-case", "node.case.joules_per_kelvin")) + EXACT, plant=BOUND,
          conf=configuration((DIE, GPU), (DIE, GPU))),
]

GRID = "load = { radio = 0.5 }\nlasts = [\"20s\", \"2m\"]\nsteps = 2\n"
UNSURE = vary("resistance.case-ambient", 'as = "factor"\nuniform = { from = 0.9, to = 1.1 }') + EXACT.rstrip()


def sound(what, budgets, **changes):
    return Board(what, budgets, **{"tolerances": EXACT + GRID, **changes})


SOUND = [
    sound("as it is: the die", limit("die=76C")),
    sound("as it is: the gpu", limit("gpu=76C")),
    sound("as it is: the case", limit("case=49C")),
    sound("as it is: all three", limit("die=76C", "gpu=76C", "case=49C")),
    sound("a strong cpu", limit("node:die=80C"), plant=STRONG),
    sound("a gpu that is cooled early", limit("gpu=72C"),
          conf=configuration(*[(DIE, GPU.replace("58000 64000", "52000 58000").replace("54000 60000", "48000 54000"),
                                CASE)] * 2)),
    sound("a small case", limit("case=50C"), plant=PLANT.replace("joules_per_kelvin = 15", "joules_per_kelvin = 8")),
    sound("a large case", limit("case=48C"), plant=PLANT.replace("joules_per_kelvin = 15", "joules_per_kelvin = 40")),
    sound("a case that gives much", limit("case=46C", "die=76C"),
          plant=PLANT.replace("kelvin_per_watt = 4", "kelvin_per_watt = 2")),
    sound("a slow die", limit("die=76C"), plant=PLANT.replace("joules_per_kelvin = 2\n", "joules_per_kelvin = 8\n")),
    sound("a quick gpu", limit("gpu=80C"), plant=PLANT.replace("joules_per_kelvin = 1.5", "joules_per_kelvin = 0.8")),
    sound("a cold room", limit("case=46C"), plant=PLANT.replace("ambient = 25", "ambient = 10")),
    sound("a game that cools deeper", limit("die=74C", "gpu=74C"),
          conf=configuration(game=(DIE.replace("60000", "58000").replace("1 2 3", "2 3 3"), GPU.replace("1 2", "2 2"), CASE))),
    sound("a sensor that is a little late", limit("node:die=80C"),
          plant=PLANT.replace('[sensor.die]\nnode = "die"', '[sensor.die]\nnode = "die"\nlag = 1')),
    sound("sensors that are read each second", limit("node:die=80C", "node:gpu=80C"),
          env=ENV.replace("sampling 500", "sampling 1000")),
    sound("a wide hysteresis", require("changes:cpu<=30/min"),
          conf=configuration((DIE, GPU, CASE), (DIE.replace("56000 61000 66000", "50000 55000 60000"), GPU, CASE))),
    sound("a die that hardly warms", limit("die=70C"), plant=PLANT.replace("watts = [6, 4, 2, 1]", "watts = [3, 2, 1, 0.5]")),
    sound("a case that is a tenth off: its heat", limit("case=50C"), tolerances=UNSURE + "\n" + GRID, units=(0.9, 1.1)),
    sound("a case that is a tenth off: the die", limit("die=78C"), tolerances=UNSURE + "\n" + GRID, units=(0.9, 1.1)),
    sound("a case that is a tenth off: the gpu", limit("gpu=78C"), tolerances=UNSURE + "\n" + GRID, units=(0.9, 1.1)),
]


class Written:
    """A board's files in a folder, and thermalctl on them."""

    def __init__(self, board, folder, thermalctl):
        self.board, self.folder, self.thermalctl = board, folder, str(thermalctl)
        for name, text in (("board.env", board.env), ("board.conf", board.conf), ("plant.toml", board.plant),
                           ("own.csv", OWN), ("tolerances.toml", board.tolerances), *board.others):
            (folder / name).write_text(text)

    def run(self, *words):
        return subprocess.run([self.thermalctl, *map(str, words)], capture_output=True, text=True)

    def files(self):
        return ("--env", self.folder / "board.env", "--conf", self.folder / "board.conf",
                "--plant", self.folder / "plant.toml", "--duration", f"{MINUTES}m")

    def own(self):
        return self.run("simulate", *self.files(), "--workload", self.folder / "own.csv", *self.board.budgets)

    def search(self, simulations, *words, out="worst"):
        return self.run("margin", *self.files(), "--workload", self.folder / "own.csv", *self.board.budgets,
                        "--tolerances", self.folder / "tolerances.toml", "--search", "--simulations", simulations,
                        "--out", self.folder / out, *words)

    def replay(self, told):
        """What the command that a search has told comes to."""
        (command,) = re.findall(r"^run again by: thermalctl (.*)$", told, re.M)
        return self.run(*shlex.split(command))


def first_broken(told):
    """The number of the simulation, or None."""
    found = re.search(r": broken, at worst .*\(simulation \d+, the first was (\d+)\)", told)
    return int(found[1]) if found else None


def grid():
    """Workloads over all that a search of GRID may do: two steps of either scenario, from no load to all."""
    for first, second in itertools.product(itertools.product((0, 0.5, 1), (0, 0.5, 1), ("", "game")),
                                           itertools.product((0, 0.5, 1), (0, 0.5, 1), ("Default", "game"))):
        for time in (20, 70, 120):
            yield "time,cpu,gpu,radio,scenario\n" + "".join(
                f"{at},{cpu},{gpu},0.5,{word}\n" for at, (cpu, gpu, word) in ((0, first), (time, second)))


def closer(budgets):
    """With a degree to spare, or a tenth of the changes."""
    def one(word):
        word = re.sub(r"=(\d+)C$", lambda match: f"={int(match[1]) - 1}C", word)
        return re.sub(r"<=(\d+)/min$", lambda match: f"<={int(match[1]) * 9 // 10}/min", word)
    return [one(word) for word in budgets]


def keeps_the_grid(written, every=1):
    """What is wrong with it, or nothing."""
    paths = []
    for number, text in enumerate(list(grid())[::every]):
        paths.append(written.folder / f"grid-{number}.csv")
        paths[-1].write_text(text)
    for unit in written.board.units:
        words = ()
        if unit:
            (written.folder / "unit.toml").write_text(
                vary("resistance.case-ambient", f'as = "factor"\nlist = {{ values = [{unit}] }}'))
            words = ("--tolerances", written.folder / "unit.toml", "--unit", 1)
        run = written.run("simulate", *written.files(), "--workload", *paths, *closer(written.board.budgets), *words)
        if run.returncode != 0:
            return f"the grid breaks it, status {run.returncode}: {run.stderr[-200:]}"
    return ""


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--thermalctl", default=REPOSITORY / "build" / "release" / "thermalctl", type=Path)
    parser.add_argument("--simulations", default=1500, type=int)
    options = parser.parse_args()
    broken = claimed = wrong = 0
    for board in WEAK:
        with tempfile.TemporaryDirectory() as folder:
            written = Written(board, Path(folder), options.thermalctl)
            own = written.own().returncode
            found = written.search(options.simulations)
            again = written.replay(found.stdout).returncode if found.returncode == 1 else None
            good = (own, found.returncode, again) == (0, 1, 1)
            broken += good
            wrong += own != 0
            print(f"{'broken' if good else 'NOT BROKEN':<11} {board.what}: first in simulation "
                  f"{first_broken(found.stdout)}; own workload {own}, search {found.returncode}, again {again}", flush=True)
    for board in SOUND:
        with tempfile.TemporaryDirectory() as folder:
            written = Written(board, Path(folder), options.thermalctl)
            unsound = keeps_the_grid(written)
            status = written.search(options.simulations).returncode
            claimed += status != 0
            wrong += unsound != ""
            print(f"{'kept' if status == 0 else 'CLAIMED':<11} {board.what}{': ' + unsound if unsound else ''}", flush=True)
    print(f"\n{broken} of {len(WEAK)} weak boards broken, {claimed} of {len(SOUND)} sound ones called broken, in "
          f"{options.simulations} simulations each; {wrong} boards are not what they should be")
    return 0 if broken >= 19 and claimed == 0 and wrong == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
