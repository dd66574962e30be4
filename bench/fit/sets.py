"""Recordings that determine too little, each in its own way, and what has to be named of them; and
recordings of which nothing may be named."""

from dataclasses import dataclass, field

import numpy as np

import truth

THERMAL = ("node.*.joules_per_kelvin", "resistance.*")


@dataclass
class Set:
    name: str
    plant: truth.Plant
    named: list                     # texts of which each must be in one of the sentences
    allowed: list = field(default_factory=list)   # what else may be; "" for all
    free: tuple = THERMAL
    seconds: int = 2400
    loads: object = None            # a function of the random numbers, the plant and the seconds
    record: dict = field(default_factory=dict)
    extra: str = ""
    watts: tuple = ()               # sources that are recorded in watts


def without(*names):
    def loads(random, plant, seconds):
        course = truth.steps(random, len(plant.sources), seconds)
        for name in names:
            course[:, list(plant.sources).index(name)] = 0
        return course
    return loads


def together(one, other):
    def loads(random, plant, seconds):
        course = truth.steps(random, len(plant.sources), seconds)
        names = list(plant.sources)
        course[:, names.index(other)] = course[:, names.index(one)]
        return course
    return loads


def still(*names):
    """These are on and never move; without a name all of them."""
    def loads(random, plant, seconds):
        course = truth.steps(random, len(plant.sources), seconds)
        for index, name in enumerate(plant.sources):
            if name in (names or plant.sources):
                course[:, index] = 0.5
        return course
    return loads


def settled(plant):
    """The device has been at half of all loads for long: nothing warms or cools."""
    powers = np.array([watts for watts, _ in plant.sources.values()]) / 2
    _, _, a, b = plant.system()
    return np.linalg.solve(a, -b @ np.append(powers, plant.ambient))


def two_chips():
    plant = truth.watch()
    plant.sources = {"cpu": (0.4, {"soc": 1}), "dsp": (0.3, {"soc": 1}), "screen": (0.25, {"case": 1})}
    return plant


def in_series():
    return truth.Plant({"chip": 2.5, "glue": 0.01, "case": 50.0},
                       {("chip", "glue"): 4.0, ("glue", "case"): 4.5, ("case", "ambient"): 5.0},
                       {"cpu": (3.0, {"chip": 1}), "panel": (1.0, {"case": 1})},
                       {"chip_t": "chip", "case_t": "case"})


def lagged(seconds):
    plant = truth.phone()
    plant.lags = {"battery_t": seconds}
    return plant


def poor():
    phone, watch, tablet = truth.phone(), truth.watch(), truth.tablet()
    leaf = {"sensors": ("big_t", "gpu_t", "battery_t", "case_t")}
    still_start = {"start": settled(phone)}
    return [
        # A chip that nothing warms but its case: of it only the product is seen.
        Set("a GPU that was never on", phone, ["source.graphics.watts"], ["node.gpu.joules_per_kelvin"], free=(*THERMAL, "source.graphics.watts"),
            loads=without("graphics")),
        Set("a big core that was never on", phone, ["source.cpu_b.watts"], ["node.big.joules_per_kelvin"], free=(*THERMAL, "source.cpu_b.watts"),
            loads=without("cpu_b")),
        Set("a screen that was never on", watch, ["source.screen.watts"], free=(*THERMAL, "source.screen.watts"),
            loads=without("screen")),
        Set("two sources of one node always together", two_chips(), ["the sum of source.cpu.watts and source.dsp.watts"],
            free=(*THERMAL, "source.cpu.watts", "source.dsp.watts"), loads=together("cpu", "dsp")),
        Set("all watts of a phone free", phone, ["common scale"], free=(*THERMAL, "source.*.watts")),
        Set("all watts of a watch free", watch, ["common scale"], free=(*THERMAL, "source.*.watts")),
        Set("all watts of a tablet free", tablet, ["common scale"], free=(*THERMAL, "source.*.watts")),
        Set("a little core without a sensor, never on", phone,
            ["node.little.joules_per_kelvin", "resistance.little-case"], loads=without("cpu_l"), record=leaf),
        Set("a GPU without a sensor, never on", phone,
            ["node.gpu.joules_per_kelvin", "resistance.gpu-case"], loads=without("graphics"),
            record={"sensors": ("little_t", "big_t", "battery_t", "case_t")}),
        Set("a phone for 40 s", phone, ["is too short beside"], [""], seconds=100),
        Set("a watch for 40 s", watch, ["is too short beside"], [""], seconds=100),
        Set("a tablet for 60 s", tablet, ["is too short beside"], [""], seconds=120),
        Set("a battery's lag, with nothing that moves it", lagged(2.0), ["sensor.battery_t.lag"],
            free=(*THERMAL, "sensor.battery_t.lag"), loads=without("charging")),
        Set("two resistances in a row", in_series(), ["the sum of resistance.chip-glue and resistance.glue-case"],
            free=("node.chip.*", "node.case.*", "resistance.*")),
        Set("a shift of all sensors and the ambient", watch, ["ambient"], [""],
            free=(*THERMAL, "sensor.*.offset", "ambient")),
        Set("a settled phone with loads that never move", phone, ["node.case.joules_per_kelvin"], [""],
            loads=still(), record=still_start),
        Set("sensors on the case alone, short steps of the little core", phone, ["little"], [""],
            record={"sensors": ("case_t",)}),
        Set("watts that were measured, and free in the sketch", phone, ["source.cpu_l.watts"],
            free=(*THERMAL, "source.cpu_l.watts"), watts=("cpu_l",)),
        Set("a screen that never moves beside a free ambient", watch, ["source.screen.watts", "ambient"],
            free=(*THERMAL, "source.screen.watts", "ambient"), loads=still("screen")),
        Set("a node of no weight, unseen", in_series(), ["node.glue.joules_per_kelvin"], ["resistance"]),
    ]


def good():
    sets = []
    for index in range(20):
        plant = (truth.phone, truth.watch, truth.tablet, lambda: lagged(30.0))[index % 4]()
        free = THERMAL if index % 4 != 3 else (*THERMAL, "sensor.battery_t.lag")
        sets.append(Set(f"good {index + 1}", plant, [], free=free, seconds=3600))
    return sets
