"""What a device of known numbers would have recorded: the matrix exponential of SciPy, and nothing of
thermalctl's own network."""

import csv
import math
from dataclasses import dataclass, field

import numpy as np
from scipy.linalg import expm


@dataclass
class Plant:
    """A plant's true numbers, by the names that its plant file has."""
    capacities: dict          # node: J/K
    resistances: dict         # (node, node or "ambient"): K/W
    sources: dict             # name: (watts at full load, {node: share})
    sensors: dict             # name: node
    lags: dict = field(default_factory=dict)  # sensor: seconds
    ambient: float = 25.0
    start: float = 30.0

    def system(self):
        """x' = A x + B [powers, ambient], with the lagged sensors behind the nodes."""
        nodes = list(self.capacities)
        lagged = list(self.lags)
        size = len(nodes) + len(lagged)
        a = np.zeros((size, size))
        b = np.zeros((size, len(self.sources) + 1))
        for (one, other), value in self.resistances.items():
            i = nodes.index(one)
            a[i, i] -= 1 / value / self.capacities[one]
            if other == "ambient":
                b[i, -1] += 1 / value / self.capacities[one]
                continue
            j = nodes.index(other)
            a[j, j] -= 1 / value / self.capacities[other]
            a[i, j] += 1 / value / self.capacities[one]
            a[j, i] += 1 / value / self.capacities[other]
        for k, (_, heats) in enumerate(self.sources.values()):
            for node, share in heats.items():
                b[nodes.index(node), k] += share / self.capacities[node]
        for k, sensor in enumerate(lagged):
            a[len(nodes) + k, len(nodes) + k] = -1 / self.lags[sensor]
            a[len(nodes) + k, nodes.index(self.sensors[sensor])] = 1 / self.lags[sensor]
        return nodes, lagged, a, b

    def run(self, powers, step, start=None):
        """Temperatures of the sensors at the start of each step of `powers` (steps by sources)."""
        nodes, lagged, a, b = self.system()
        size = len(a)
        whole = np.zeros((size + b.shape[1],) * 2)
        whole[:size, :size] = a
        whole[:size, size:] = b
        power = expm(whole * step)
        state, drive = power[:size, :size], power[:size, size:]
        inputs = np.column_stack([powers, np.full(len(powers), self.ambient)])
        x = np.full(size, self.start) if start is None else np.array(start)
        course = np.empty((len(powers), size))
        for k, now in enumerate(inputs):
            course[k] = x
            x = state @ x + drive @ now
        columns = [len(nodes) + lagged.index(s) if s in self.lags else nodes.index(n)
                   for s, n in self.sensors.items()]
        return course[:, columns]

    def toml(self, factors=None, free=("node.*.joules_per_kelvin", "resistance.*"), extra=""):
        """A sketch with each number off by its factor."""
        factors = factors or {}
        text = f"ambient = {self.ambient}\n"
        for name, value in self.capacities.items():
            text += f"[node.{name}]\njoules_per_kelvin = {value * factors.get(name, 1):.6g}\n"
        for (one, other), value in self.resistances.items():
            text += (f'[[resistance]]\nbetween = ["{one}", "{other}"]\n'
                     f"kelvin_per_watt = {value * factors.get((one, other), 1):.6g}\n")
        for name, (watts, heats) in self.sources.items():
            where = ", ".join(f"{node} = {share}" for node, share in heats.items())
            text += f"[source.{name}]\nnodes = {{ {where} }}\nwatts = {watts * factors.get('W' + name, 1):.6g}\n"
        for name, node in self.sensors.items():
            lag = f"lag = {self.lags[name] * factors.get('L' + name, 1):.6g}\n" if name in self.lags else ""
            text += f'[sensor.{name}]\nnode = "{node}"\n{lag}'
        names = ", ".join(f'"{each}"' for each in free)
        return text + f"[fit]\nfree = [{names}]\n" + extra

    def environment(self):
        return "".join(f"[{name}]\ntype real\nsampling 1000\nnode_path /dev/null/{name}\n\n"
                       for name in self.sensors)


def phone():
    """boards/phone's plant, with four sources of known watts."""
    return Plant({"little": 2.0, "big": 2.6, "gpu": 3.0, "battery": 45.0, "case": 70.0},
                 {("little", "case"): 6.67, ("big", "case"): 9.09, ("gpu", "case"): 8.33,
                  ("battery", "case"): 1.25, ("case", "ambient"): 4.0},
                 {"cpu_l": (1.2, {"little": 1}), "cpu_b": (3.0, {"big": 1}), "graphics": (2.5, {"gpu": 1}),
                  "charging": (1.5, {"battery": 0.6, "case": 0.4})},
                 {"little_t": "little", "big_t": "big", "gpu_t": "gpu", "battery_t": "battery", "case_t": "case"})


def watch():
    return Plant({"soc": 1.1, "battery": 6.0, "case": 14.0},
                 {("soc", "case"): 12.0, ("battery", "case"): 5.0, ("case", "ambient"): 22.0},
                 {"cpu": (0.6, {"soc": 1}), "screen": (0.25, {"case": 1})},
                 {"soc_t": "soc", "battery_t": "battery", "case_t": "case"})


def tablet():
    return Plant({"little": 2.2, "big": 3.1, "gpu": 3.6, "modem": 2.5, "board": 40.0, "battery": 120.0,
                  "front": 110.0, "back": 150.0},
                 {("little", "board"): 4.0, ("big", "board"): 5.2, ("gpu", "board"): 4.6, ("modem", "board"): 7.0,
                  ("board", "back"): 1.8, ("board", "battery"): 3.0, ("battery", "back"): 1.5,
                  ("board", "front"): 3.5, ("front", "ambient"): 5.0, ("back", "ambient"): 3.2},
                 {"cpu_l": (1.5, {"little": 1}), "cpu_b": (4.5, {"big": 1}), "graphics": (4.0, {"gpu": 1}),
                  "radio": (1.8, {"modem": 1}), "panel": (3.0, {"front": 1}), "charging": (2.5, {"battery": 1})},
                 {f"{n}_t": n for n in ("little", "big", "gpu", "modem", "board", "battery", "front", "back")})


def tv_box(fan):
    """With its fan at a level: what leads from the sink to the air goes by it."""
    return Plant({"soc": 4.0, "sink": 60.0, "box": 140.0},
                 {("soc", "sink"): 1.2, ("sink", "box"): 3.0, ("sink", "ambient"): 9.0 if fan == 0 else 3.5,
                  ("box", "ambient"): 4.0},
                 {"cpu": (6.0, {"soc": 1}), "usb": (2.0, {"box": 1})},
                 {"soc_t": "soc", "sink_t": "sink", "box_t": "box"})


def steps(random, count, seconds, shortest=60, longest=400):
    """Loads that now and then change: each source on its own."""
    loads = np.zeros((seconds, count))
    for source in range(count):
        at = 0
        while at < seconds:
            length = int(random.integers(shortest, longest))
            loads[at:at + length, source] = random.choice([0, 0.25, 0.5, 0.75, 1.0])
            at += length
    return loads


def rounded(values, step):
    return np.round(values / step) * step if step else values


def record(plant, random, folder, seconds=3600, noise=0.3, step=1.0, offset=3.4, loads=None, name="rec",
           sensors=None, start=None, in_watts=()):
    """Two files: loads on one clock, sensors on another that is `offset` seconds behind it."""
    loads = steps(random, len(plant.sources), seconds) if loads is None else loads
    watts = np.array([w for w, _ in plant.sources.values()])
    # The sensors are read between the changes of the loads, whose steps are therefore cut in two.
    fine = 10
    course = plant.run(np.repeat(loads * watts, fine, axis=0), 1 / fine, start)
    at = np.arange(seconds - 60) * fine + int(round(offset * fine)) % (60 * fine)
    readings = rounded(course[at] + random.normal(0, noise, (len(at), course.shape[1])), step)
    with open(folder / f"{name}-loads.csv", "w", newline="") as out:
        writer = csv.writer(out)
        scale = [plant.sources[s][0] if s in in_watts else 1 for s in plant.sources]
        writer.writerow(["time"] + [f"{s}:W" if s in in_watts else s for s in plant.sources])
        writer.writerows([[t] + [f"{v * k:g}" for v, k in zip(row, scale)] for t, row in enumerate(loads)])
    chosen = [i for i, s in enumerate(plant.sensors) if sensors is None or s in sensors]
    with open(folder / f"{name}-sensors.csv", "w", newline="") as out:
        writer = csv.writer(out)
        writer.writerow(["time"] + [list(plant.sensors)[i] for i in chosen])
        # A reading that was taken at `offset` seconds of the loads' clock says 0.
        writer.writerows([[k] + [f"{row[i]:.4f}" for i in chosen] for k, row in enumerate(readings)])
    return f"{folder / f'{name}-loads.csv'},{folder / f'{name}-sensors.csv'}"
