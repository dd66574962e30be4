"""The board and the configurations of the soak, and the levels that they ask for.

Every item drives a device of its own, so that an item that fails shows in a device's node however
busy the others are; all monitors of a scenario share one more device. Level tables hold the level
itself.
"""

from typing import NamedTuple

LEVELS = 10  # entries in every level table
SHARED_DEVICE = "all"
VIRTUAL_WEIGHT = 11  # of one source: the reading settles at 11/10 of it

# Temperatures that a sensor wanders through, in millidegrees. At the first all its items sleep, the
# second is just above the lowest threshold, at the last each item asks for its highest level.
RISING = (20000, 41000, 52000, 64500, 67500, 58000, 71000)
FALLING = (30000, 9500, 6500, 3000)  # for the items that act on cold


class Sensor(NamedTuple):
    name: str
    period: int
    values: tuple = RISING

    @property
    def rest(self):
        return self.values[0]

    @property
    def alarm(self):
        return self.values[-1]


SENSORS = (
    Sensor("s0", 1), Sensor("s1", 1), Sensor("s2", 2), Sensor("s3", 2), Sensor("s4", 3),
    Sensor("s5", 3), Sensor("s6", 5), Sensor("s7", 5, FALLING),
)

MONITOR_SENSORS = ("s0", "s1", "s2", "s3", "s4", "s5", "s6", "s7", "skin", "s0")
SS_SENSORS = ("s1", "s2", "s3", "s4", "s5")
MONITOR_DEVICES = tuple(f"d{i}" for i in range(len(MONITOR_SENSORS)))
SS_DEVICES = tuple(f"e{i}" for i in range(len(SS_SENSORS)))
DEVICES = (*MONITOR_DEVICES, *SS_DEVICES, SHARED_DEVICE)

KINDS = {"d0": "cpufreq", "d1": "camera", "d2": "cpuhotplug", "e0": "charger", "e1": "backlight"}


class Monitor(NamedTuple):
    name: str
    number: int
    period: int
    levels: tuple  # asked of its own device, from the lowest threshold to the highest

    def section(self):
        cold = MONITOR_SENSORS[self.number] == "s7"
        thresholds = (10000, 7000, 4000) if cold else (40000, 50000, 63000)
        clearing = (12000, 9000, 6000) if cold else (38000, 48000, 60000)
        count = len(self.levels)
        row = f"{MONITOR_DEVICES[self.number]}+{SHARED_DEVICE}"
        return _block(self.name, "algo_type monitor", {
            "sensor": MONITOR_SENSORS[self.number],
            "sampling": self.period,
            "thresholds": _words(thresholds[:count]),
            "thresholds_clr": _words(clearing[:count]),
            "actions": _words([row] * count),
            "action_info": _words(f"{level}+{i + 1}" for i, level in enumerate(self.levels)),
            "lowactive": "true" if cold else "false",
        })

    def asks(self):
        """The levels that its devices are asked for at the alarm temperature."""
        return {MONITOR_DEVICES[self.number]: self.levels[-1], SHARED_DEVICE: len(self.levels)}

    first_asks = asks


class SS(NamedTuple):
    name: str
    number: int
    period: int
    set_point: int
    start_level: int
    perf_floor: int
    time_tick_trigger: int = 0

    def section(self):
        return _block(self.name, "algo_type ss", {
            "sensor": SS_SENSORS[self.number],
            "device": SS_DEVICES[self.number],
            "sampling": self.period,
            "set_point": self.set_point,
            "set_point_clr": self.set_point - 3000,
            "start_level": self.start_level,
            "device_perf_floor": self.perf_floor,
            "time_tick_trigger": self.time_tick_trigger,
        })

    def asks(self):
        """What it asks for once the alarm temperature has been steady for a while."""
        if self.time_tick_trigger:  # it winds up until the floor stops it
            return {SS_DEVICES[self.number]: self.perf_floor}
        return self.first_asks()

    def first_asks(self):
        """What its first decision at the alarm temperature asks for."""
        steps = RISING[-1] // 1000 - self.set_point // 1000 + 1
        index = min(steps + self.start_level - 1, LEVELS - 1)
        return {SS_DEVICES[self.number]: min(index, self.perf_floor)}


class Configuration(NamedTuple):
    name: str
    scenarios: dict  # name -> its items

    def text(self):
        return "".join(f"SCEN {name}\n" + "".join(item.section() for item in items)
                       for name, items in self.scenarios.items())

    def rest_levels(self):
        return dict.fromkeys(DEVICES, 0)

    def alarm_levels(self, scenario):
        """Device -> level, with the scenario in force and every temperature steady at its alarm."""
        return _merged(item.asks() for item in self.scenarios[scenario])

    def permitted_levels(self, scenario):
        """Device -> the levels that it may have at the alarm temperatures.

        A monitor that has been woken and not reached level 1 stays awake when its scenario is left,
        so another scenario's monitor may ask too: for more, or, under the name of one in force and
        after it, in its place.
        """
        in_force = {item.name: item.asks() for item in self.scenarios[scenario]}
        permitted = {device: {level} for device, level in _merged(in_force.values()).items()}
        for other, items in self.scenarios.items():
            for item in items:
                if other == scenario or not isinstance(item, Monitor):
                    continue
                with_it = _merged({**in_force, item.name: item.asks()}.values())
                for device in item.asks():
                    permitted[device].add(with_it[device])
        return permitted

    def workers(self):
        """How many threads its items need."""
        return len({(scenario, item.period, type(item))
                    for scenario, items in self.scenarios.items() for item in items})


def environment(nodes):
    sensors = [_block(s.name, "type real", {"sampling": s.period, "node_path": nodes / s.name})
               for s in SENSORS]
    # "skin" stays on once its trip sensor has been warm. "flicker" goes on and off with its own,
    # because that one has a second virtual sensor, which never goes on.
    virtuals = [_virtual("skin", 2, "s0", 30000), _virtual("flicker", 3, "s1", 50000),
                _virtual("never", 5, "s1", 1000000)]
    devices = [_block(name, f"type {KINDS.get(name, 'gpufreq')}",
                      {"node_path": nodes / name, "level_table": _words(range(LEVELS))})
               for name in DEVICES]
    return "".join([*sensors, *virtuals, *devices])


def configurations():
    """Not all of them have all scenarios. Items have namesakes in the next configuration, in
    another scenario of it, or in every scenario of their own; workers are shared or not.
    """
    return (
        _configuration("amber.conf", {"Default": "a", "game": "b", "video": "c"}, (1, 2), shift=0),
        _configuration("blue.conf", {"Default": "a", "game": "b", "video": "c"}, (1, 3), shift=1),
        _configuration("coral.conf", {"Default": "x", "game": "x", "night": "x"}, (2, 1), shift=2),
        _configuration("dune.conf", {"Default": "c", "night": "a"}, (2, 2), shift=3),
    )


def least_levels():
    """Device -> the level that every scenario of every configuration asks for at once when hot."""
    asked = [_merged(item.first_asks() for item in items)
             for configuration in configurations()
             for items in configuration.scenarios.values()]
    return {device: min(levels[device] for levels in asked) for device in DEVICES}


def _configuration(name, prefixes, periods, shift):
    return Configuration(name, {
        scenario: _items(prefix, periods, shift + number)
        for number, (scenario, prefix) in enumerate(prefixes.items())})


def _items(prefix, periods, shift):
    monitors = [Monitor(f"{prefix}m{i}", i, periods[i % 2],
                        tuple(1 + (shift + i + step) % 3 + 2 * step for step in range(2 + i % 2)))
                for i in range(len(MONITOR_SENSORS))]
    steps = [SS(f"{prefix}p{i}", i, periods[i % 2], set_point=64000 + 1000 * ((shift + i) % 3),
                start_level=1 + shift % 2, perf_floor=7 + i % 3,
                time_tick_trigger=3 if i == 4 else 0)
             for i in range(len(SS_SENSORS))]
    return [*monitors, *steps]


def _virtual(name, period, source, set_point):
    return _block(name, "type virtual", {
        "sampling": period, "set_point": set_point, "set_point_clr": set_point - 5000,
        "sensors": source, "weights": VIRTUAL_WEIGHT, "trip_sensor": source})


def _merged(requests):
    levels = dict.fromkeys(DEVICES, 0)
    for request in requests:
        for device, level in request.items():
            levels[device] = max(levels[device], level)
    return levels


def _words(values):
    return " ".join(map(str, values))


def _block(name, kind, keys):
    lines = [f"{key} {value}" for key, value in keys.items()]
    return "\n".join([f"[{name}]", kind, *lines]) + "\n\n"
