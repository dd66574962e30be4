#!/usr/bin/env python3
"""Makes random edits to the plant and the workloads of boards/phone, and has each of them simulated.
An edit is either refused, with the file's name, or taken as its lines say: the heat of every run is
computed here once more, from a reading of the edited file that shares nothing with the tool's.

    tests/thermalctl/random_heat_edits.py --thermalctl build/release/thermalctl --count 500 --seed 1
"""

import argparse
import csv
import math
import random
import re
import shutil
import subprocess
import sys
import tempfile
import tomllib
from collections import Counter
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]
PHONE = REPOSITORY / "boards" / "phone"
sys.path.insert(0, str(REPOSITORY / "scripts"))
from phone.board import read_sections  # noqa: E402

# How long each file's run must be for most of its lines to count, in minutes.
RUNS = {"plant.toml": ("game", 8), "idle.csv": ("idle", 17), "game.csv": ("game", 8),
        "camera.csv": ("camera", 23), "navigation.csv": ("navigation", 37),
        "benchmark.toml": ("benchmark", 6), "rails.csv": ("rails", 5),
        "morning.toml": ("morning", 7)}

# Beside those of the board: what only ramps and measured watts have.
FURTHER = {"rails.csv": """\
time, ramp watts big, ramp watts gpu, watts modem, ramp little, ramp ambient, panel, charger, scenario
0,    0.412,          0.230,          0.3,         0.1,         25,           1,     1,       Default
7,    1.655,          2.480,          ,            ,            ,             ,      ,        game
60,   3.204,          ,               0.55,        0.9,         31,           ,      ,
91,   3.204,          1.377,          ,            ,            ,             0.4,   ,
1m31s,0.204,          4.1,            ,            0.2,         ,             ,      0,
4m,   ,               0.5,            0.35,        0.65,        22,           ,      ,
""", "morning.toml": """\
repeat = "3m"
ramp = ["ambient", "big", "gpu", "watts modem"]

[[at]]
time = 0
ambient = 21
load = { little = 0.4, big = 0.1, gpu = 0.2, panel = 1, charger = 1 }
watts = { modem = 0.35 }

[[at]]
time = "40s"
ambient = 33
load = { big = 1.0 }

[[at]]
time = "1m30s"
scenario = "game"
load = { big = 0.9, gpu = 1.0 }
watts = { modem = 0.9 }

[[at]]
time = "3m"
ambient = 21
load = { gpu = 0.2 }
"""}

# Millidegrees: the rounding of the trace, and that of a reading at the edge of a step.
TOLERANCE = 3

# Milliseconds of the steps in which a ramp is followed: where a load comes to fill its source, it is
# out by less than the tolerance.
SHORT = 100


class Unread(Exception):
    """What the tool must refuse, too."""


# ---- The edits

def numbers(text):
    return list(re.finditer(r"(?<![\w.])-?\d+(?:\.\d+)?(?![\w.])", text))


def words(text):
    return list(re.finditer(r"[A-Za-z_]{3,}", text))


def replaced(text, match, new):
    return text[:match.start()] + new + text[match.end():]


def edited(text, rng):
    """The text with one slip, and what that was."""
    lines = text.splitlines(keepends=True)
    at = rng.randrange(len(text))
    number, word = rng.choice(numbers(text)), rng.choice(words(text))
    other = rng.choice(numbers(text))[0]
    line = rng.randrange(len(lines))
    kind = rng.choice(("digit", "delete", "insert", "swap", "line gone", "line twice", "number",
                       "unit", "comma", "power", "sign", "scale", "word", "other word", "lines"))
    if kind == "digit":
        digits = [i for i, letter in enumerate(text) if letter.isdigit()]
        at = rng.choice(digits)
        return kind, text[:at] + rng.choice("0123456789") + text[at + 1:]
    if kind == "delete":
        return kind, text[:at] + text[at + 1:]
    if kind == "insert":
        return kind, text[:at] + rng.choice("0159.,;-=[]\"#e \n_x") + text[at:]
    if kind == "swap":
        return kind, text[:at] + text[at:at + 2][::-1] + text[at + 2:]
    if kind == "line gone":
        return kind, "".join(lines[:line] + lines[line + 1:])
    if kind == "line twice":
        return kind, "".join(lines[:line + 1] + lines[line:])
    if kind == "lines":
        second = rng.randrange(len(lines))
        lines[line], lines[second] = lines[second], lines[line]
        return kind, "".join(lines)
    if kind == "number":
        return kind, replaced(text, number, other)
    if kind == "unit":
        return kind, replaced(text, number, number[0] + rng.choice(("C", "mC", "s", "m", "W", "%")))
    if kind == "comma":
        return kind, replaced(text, number, number[0].replace(".", ",") + rng.choice(("", ",5")))
    if kind == "power":
        return kind, replaced(text, number, number[0] + f"e{rng.choice((-320, -12, -3, 3, 12, 400))}")
    if kind == "sign":
        return kind, replaced(text, number, number[0].lstrip("-") if number[0][0] == "-"
                              else "-" + number[0])
    if kind == "scale":
        return kind, replaced(text, number, f"{float(number[0]) * rng.choice((10, 1000, 0.001))!r}")
    if kind == "word":
        at = rng.randrange(word.start(), word.end())
        return kind, text[:at] + rng.choice("aeionrst") + text[at + 1:]
    return kind, replaced(text, word, rng.choice(words(text))[0])


# ---- The files, read strictly

def strict(table, allowed, needed=()):
    if unknown := table.keys() - set(allowed):
        raise Unread(f"unknown {unknown}")
    if missing := set(needed) - table.keys():
        raise Unread(f"missing {missing}")
    return table


def number_of(value):
    if isinstance(value, bool) or not isinstance(value, (int, float)) or not math.isfinite(value):
        raise Unread(f"no number: {value!r}")
    return float(value)


def seconds_of(text):
    """Milliseconds of a time."""
    units = {"ms": 1, "s": 1000, "m": 60_000, "h": 3_600_000, "d": 86_400_000, "": 1000}
    if re.fullmatch(r"\d*\.?\d*", text) and any(letter.isdigit() for letter in text):
        parts = [(text, "")]
    else:
        parts = re.findall(r"(\d*\.?\d*)(ms|s|m|h|d)", text)
        if not parts or "".join(number + unit for number, unit in parts) != text:
            raise Unread(f"no time: {text!r}")
    return round(sum(float(number) * units[unit] for number, unit in parts))


class Plant:
    def __init__(self, text, levels):
        try:
            top = tomllib.loads(text)
        except (tomllib.TOMLDecodeError, UnicodeDecodeError) as wrong:
            raise Unread(str(wrong)) from wrong
        strict(top, ("ambient", "node", "resistance", "source", "sensor"))
        self.ambient = number_of(top.get("ambient", 25))
        self.nodes = {name: strict(node, ("joules_per_kelvin", "celsius"), ("joules_per_kelvin",))
                      for name, node in top["node"].items()}
        self.start = {name: number_of(node.get("celsius", self.ambient))
                      for name, node in self.nodes.items()}
        self.resistances = [strict(each, ("between", "kelvin_per_watt"),
                                   ("between", "kelvin_per_watt")) for each in top["resistance"]]
        self.sources = {name: self._source(source, levels)
                        for name, source in top.get("source", {}).items()}
        self.sensors = {name: strict(sensor, ("node", "offset", "lag", "noise", "step"), ("node",))
                        for name, sensor in top["sensor"].items()}

    def _source(self, source, levels):
        strict(source, ("node", "nodes", "device", "watts", "law", "idle_watts", "load", "work",
                        "speed", "cores"))
        device = source.get("device")
        table = levels[device] if device else None
        made = {"heats": source.get("nodes", {source.get("node"): 1.0}), "device": device,
                "idle": number_of(source.get("idle_watts", 0)), "load": source.get("load"),
                "work": source.get("work", False), "cores": None}
        if "law" in source:
            law = strict(source["law"], ("a", "b", "unit"), ("b", "unit"))
            made["watts"] = [number_of(law.get("a", 0)) + number_of(law["b"])
                             * (float(entry) / number_of(law["unit"])) ** 3 for entry in table]
        else:
            watts = source["watts"]
            made["watts"] = [number_of(each) for each in
                             (watts if isinstance(watts, list) else [watts])]
        made["speed"] = source.get("speed") or (
            [float(entry) / float(table[0]) for entry in table] if device and made["work"] else [1])
        if "cores" in source:
            cores = strict(source["cores"], ("device", "share"), ("device", "share"))
            made["cores"] = cores["device"], [number_of(each) for each in cores["share"]]
        for wanted in (made["watts"],) + ((made["speed"],) if made["work"] else ()):
            if len(wanted) != (len(table) if table else 1):
                raise Unread("one number for each level")
        return made


def column_of(title):
    """The column's name, and whether it ramps."""
    name = title.removeprefix("ramp ").strip()
    if name.startswith("watts "):
        name = "watts " + name.removeprefix("watts ").strip()
    return name, title.startswith("ramp ")


def changes_of_csv(text):
    """(milliseconds, column, cell), in the file's order; the columns that ramp."""
    header, changes, short = None, [], False
    for line in text.splitlines():
        cells = [cell.strip() for cell in line.split(",")]
        if not line.strip() or line.strip().startswith("#"):
            continue
        if header is None:
            header, ramps = zip(*map(column_of, cells))
            continue
        time = seconds_of(cells[0])
        changes += [(time, name, cell) for name, cell in zip(header[1:], cells[1:]) if cell]
        if len(cells) > len(header):
            raise Unread("more cells than columns")
        short |= len(cells) < len(header)
    return changes, {name for name, ramp in zip(header, ramps) if ramp}, None, short


def changes_of_toml(text):
    try:
        top = tomllib.loads(text)
    except (tomllib.TOMLDecodeError, UnicodeDecodeError) as wrong:
        raise Unread(str(wrong)) from wrong
    strict(top, ("repeat", "ramp", "at"))
    ramps = {column_of(name)[0] for name in top.get("ramp", ())}
    changes = []
    for entry in top["at"]:
        strict(entry, ("time", "load", "watts", "ambient", "scenario", "configuration", "fault"),
               ("time",))
        time = seconds_of(str(entry["time"]))
        changes += [(time, name, str(entry[name])) for name in ("ambient", "scenario",
                                                               "configuration") if name in entry]
        changes += [(time, name, str(share)) for name, share in entry.get("load", {}).items()]
        changes += [(time, f"watts {name}", str(watts))
                    for name, watts in entry.get("watts", {}).items()]
        changes += [(time, f"fault {name}", str(word))
                    for name, word in entry.get("fault", {}).items()]
    changes.sort(key=lambda change: change[0])
    return changes, ramps, seconds_of(str(top["repeat"])) if "repeat" in top else None, False


def sloped(changes, ramps, repeat):
    """The changes, each with how much a second its value then grows."""
    made, last = [], {}
    for time, name, cell in changes:
        change = [time, name, cell, 0.0]
        if name in ramps:
            if name not in last and time > 0:
                raise Unread(f"{name} ramps from nowhere")
            if name in last and time > last[name][0]:
                grown = decimal(cell) - decimal(last[name][2])
                last[name][3] = grown * 1000 / (time - last[name][0])
            last[name] = change
        if name not in ramps or time != repeat:
            made.append(change)
    if late := ramps - last.keys():
        raise Unread(f"no number for {late}")
    loads = {name for _, name, _ in changes}
    if twice := {name for name in loads if f"watts {name}" in loads}:
        raise Unread(f"load and watts for {twice}")
    return made


def decimal(text):
    if not re.fullmatch(r"[+-]?(\d+\.?\d*|\.\d+)([eE][+-]?\d+)?", text):
        raise Unread(f"no number: {text!r}")
    return float(text)


# ---- The heat, by the exponential of the whole network

def product(a, b):
    columns = list(zip(*b))
    return [[sum(x * y for x, y in zip(row, column)) for column in columns] for row in a]


def exponential(matrix):
    size = len(matrix)
    norm = max(sum(abs(each) for each in row) for row in matrix)
    halvings = max(0, math.frexp(norm)[1] + 1) if norm else 0
    small = [[each / 2 ** halvings for each in row] for row in matrix]
    result = [[float(i == j) for j in range(size)] for i in range(size)]
    term = result
    for k in range(1, 16):
        term = [[each / k for each in row] for row in product(term, small)]
        result = [[x + y for x, y in zip(*rows)] for rows in zip(result, term)]
    for _ in range(halvings):
        result = product(result, result)
    return result


class Heat:
    def __init__(self, plant):
        self.plant = plant
        self.names = list(plant.nodes)
        self.celsius = [plant.start[name] for name in self.names]
        # What the workload has given, as its time, its value, and its growth a second.
        self.given = {"ambient": (0, plant.ambient, 0.0)}
        self.given |= {name: (0, number_of(source["load"] or 0), 0.0)
                       for name, source in plant.sources.items()}
        self.level = Counter()
        self.now = 0
        self.steps = {}
        index = {name: i for i, name in enumerate(self.names)}
        count = len(self.names)
        # Of the nodes, their watts and the ambient, and how these grow.
        self.rates = [[0.0] * (3 * count + 2) for _ in range(3 * count + 2)]
        for each in plant.resistances:
            for a, b in (each["between"], each["between"][::-1]):
                if a == "ambient":
                    continue
                i = index[a]
                flow = 1 / (number_of(each["kelvin_per_watt"]) * self._capacity(a))
                self.rates[i][i] -= flow
                self.rates[i][2 * count if b == "ambient" else index[b]] += flow
        for name, i in index.items():
            self.rates[i][count + i] = 1 / self._capacity(name)
        for i in range(count + 1):
            self.rates[count + i][2 * count + 1 + i] = 1.0

    def _capacity(self, name):
        return number_of(self.plant.nodes[name]["joules_per_kelvin"])

    def advance(self, time):
        ramps = any(growth for _, _, growth in self.given.values())
        while self.now < time:
            self._step(min(time - self.now, SHORT if ramps else time))

    def _step(self, length):
        if length not in self.steps:
            self.steps[length] = exponential([[each * length / 1000 for each in row]
                                              for row in self.rates])[:len(self.names)]
        inputs, ends = ([*self._watts(time), self.at(time, "ambient")]
                        for time in (self.now, self.now + length))
        growth = [(end - here) * 1000 / length for here, end in zip(inputs, ends)]
        state = [*self.celsius, *inputs, *growth]
        self.celsius = [sum(x * y for x, y in zip(row, state)) for row in self.steps[length]]
        self.now += length

    def give(self, name, value, growth):
        self.given[name] = (self.now, value, growth)

    def at(self, time, name):
        since, value, growth = self.given[name]
        return value + growth * (time - since) / 1000

    def _watts(self, time):
        heat = dict.fromkeys(self.names, 0.0)
        for name, source in self.plant.sources.items():
            share = 1.0
            if source["cores"]:
                device, shares = source["cores"]
                share = shares[self.level[device]]
            level = self.level[source["device"]] if source["device"] else 0
            busy = max(0.0, self.at(time, name))
            if source["work"] and busy:
                speed = source["speed"][level] * share
                busy = min(1.0, busy / speed) if speed else 1.0
            watts = source["idle"] + busy * share * source["watts"][level]
            if f"watts {name}" in self.given:
                watts = self.at(time, f"watts {name}")
            for node, part in source["heats"].items():
                heat[node] += number_of(part) * watts
        return [heat[name] for name in self.names]


def repeated(changes, repeat, end):
    for start in range(0, end, repeat or end):
        yield from ((start + time, name, cell, growth) for time, name, cell, growth in changes
                    if start + time < end)


def differences(plant, changes, repeat, trace, end):
    """Where the run that the trace holds is another than that of the files."""
    heat = Heat(plant)
    rows = list(csv.DictReader(trace))
    # Of one time: the workload first, then what is seen, then the levels that the daemon goes to.
    happening = [(time, 0, name, (cell, growth))
                 for time, name, cell, growth in repeated(changes, repeat, end)]
    for row in rows:
        time = int(row["time_ms"])
        if row["event"] == "plant" and time % 1000 == 0:
            happening.append((time, 1, row["name"], int(row["value"])))
        elif row["event"] == "level":
            happening.append((time, 2, row["name"], int(row["value"])))
    for time, order, name, value in sorted(happening, key=lambda each: each[:2]):
        heat.advance(time)
        if order == 2:
            heat.level[name] = value
        elif order == 1:
            here = heat.celsius[heat.names.index(name)] * 1000
            if abs(here - value) > TOLERANCE + abs(here) * 1e-6:
                yield f"{name} at {time} ms: {value}, and by the files {here:.1f}"
                return
        elif name in heat.given or name.startswith("watts "):
            heat.give(name, decimal(value[0]), value[1])
        elif name == "scenario" and not any(
                row["event"] == "scenario" and row["name"] == value[0]
                and int(row["time_ms"]) <= time + 3000 for row in rows) and time + 3000 < end:
            yield f"the scenario {value[0]} never came"
    yield from strange_readings(plant, rows, {name for _, name, _, _ in changes})


def strange_readings(plant, rows, columns):
    """Of sensors that neither lag nor have faults."""
    truth = {(row["time_ms"], row["name"]): int(row["value"]) for row in rows
             if row["event"] == "plant"}
    for row in rows:
        sensor = plant.sensors.get(row["name"]) if row["event"] == "temperature" else None
        if sensor is None or sensor.get("lag") or f"fault {row['name']}" in columns:
            continue
        reading = int(row["value"]) - 1000 * sensor.get("offset", 0)
        most = 1000 * (6 * sensor.get("noise", 0) + sensor.get("step", 0) / 2) + TOLERANCE
        there = truth[row["time_ms"], sensor["node"]]
        if abs(reading - there) > most:
            yield f"{row['name']} at {row['time_ms']} ms: {row['value']}, and its node {there}"
            return


# ---- The trials

def add_further(board):
    for name, text in FURTHER.items():
        (board / "workloads" / name).write_text(text)


def simulated(thermalctl, board, workload, minutes):
    return subprocess.run([thermalctl, "simulate", "--board", board, "--workload", workload,
                           "--duration", f"{minutes}m", "--out", board / "out"],
                          capture_output=True, text=True, timeout=120)


class Trial:
    """One edit of one file, simulated."""

    def __init__(self, thermalctl, seed, folder):
        rng = random.Random(seed)
        self.file = rng.choice(("plant.toml",) * 5 + tuple(RUNS)[1:])
        self.workload, minutes = RUNS[self.file]
        self.end = 60_000 * minutes
        self.board = Path(shutil.copytree(PHONE, Path(folder) / f"board-{seed}"))
        add_further(self.board)
        path = next(self.board.rglob(self.file))
        before = path.read_text()
        self.kind, self.text = edited(before, rng)
        path.write_text(self.text)
        self.changed = self.text != before
        self.run = simulated(thermalctl, self.board, self.workload, minutes)

    def verdict(self):
        """What became of it, and whatever should not have."""
        if self.run.returncode == 2:
            # A source that the plant lacks is missed in the workload.
            told = re.search(rf"({self.file}|{self.workload}\.\w+)(:\d+:\d+)?: error: ",
                             self.run.stderr)
            return "refused", [] if told else [f"refused without the file: {self.run.stderr}"]
        if self.run.returncode != 0:
            return "failed", [f"status {self.run.returncode}: {self.run.stderr}"]
        return "taken", list(self._misunderstandings())

    def _misunderstandings(self):
        levels = {name: keys["level_table"] for name, keys, _ in
                  read_sections((self.board / "talmor-thermal.env").read_text())
                  if "level_table" in keys}
        path = next((self.board / "workloads").glob(f"{self.workload}.*"))
        try:
            plant = Plant((self.board / "plant.toml").read_text(), levels)
            read = changes_of_toml if path.suffix == ".toml" else changes_of_csv
            changes, ramps, repeat, short = read(path.read_text())
            if short != ("fewer cells than columns" in self.run.stderr):
                yield "a row with too few cells, in silence" if short else self.run.stderr
            known = {"ambient", "scenario", "configuration", *plant.sources,
                     *(f"fault {name}" for name in plant.sensors),
                     *(f"watts {name}" for name in plant.sources)}
            if unknown := ({name for _, name, _ in changes} | ramps) - known:
                raise Unread(f"unknown {unknown}")
            changes = sloped(changes, ramps, repeat)
            with open(self.board / "out" / "trace.csv", newline="") as trace:
                yield from differences(plant, changes, repeat, trace, self.end)
        except (Unread, KeyError, TypeError, AttributeError, IndexError, ValueError) as wrong:
            yield f"taken, and here it cannot be read: {wrong!r}"


def changed_lines(before, after):
    return [line for line in after.splitlines() if line not in before.splitlines()]


def search(thermalctl, seeds):
    """How the edits of these seeds ended, by count, and a description of each that should not have
    ended so."""
    endings, wrong = Counter(), []
    with tempfile.TemporaryDirectory() as folder:
        for seed in seeds:
            trial = Trial(thermalctl, seed, folder)
            ending, faults = trial.verdict()
            endings[ending] += 1
            original = FURTHER.get(trial.file) or next(PHONE.rglob(trial.file)).read_text()
            wrong += [f"seed {seed}, {trial.file}, {trial.kind}: {fault}\n"
                      f"  {changed_lines(original, trial.text)}" for fault in faults]
            shutil.rmtree(trial.board)
    return endings, wrong


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--thermalctl", type=Path,
                        default=REPOSITORY / "build" / "release" / "thermalctl")
    parser.add_argument("--count", type=int, default=500)
    parser.add_argument("--seed", type=int, default=1, help="of the first edit")
    options = parser.parse_args()
    endings, wrong = search(options.thermalctl, range(options.seed, options.seed + options.count))
    print("\n".join(wrong))
    print(", ".join(f"{count} {ending}" for ending, count in sorted(endings.items())),
          f"of {options.count} edits; {len(wrong)} not as they should be")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
