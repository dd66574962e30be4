"""The heat of a phone as five lumps joined by thermal resistances (an RC model).

    ambient -- case -- little, big, gpu, battery

Temperatures in degrees Celsius, heat in watts, time in seconds of the phone. What the cooling
devices allow (`Limits`) decides how much heat a workload makes: a frequency cap lowers the power of
a busy processor faster than its speed, since its voltage falls with the frequency.
"""

from dataclasses import dataclass

AMBIENT = 25.0
START = 30.0
CAPACITY = {"little": 2.0, "big": 2.6, "gpu": 3.0, "battery": 45.0, "case": 70.0}  # J/K
CONDUCTANCE_TO_CASE = {"little": 0.15, "big": 0.11, "gpu": 0.12, "battery": 0.8}  # W/K
CASE_TO_AMBIENT = 0.25  # W/K

# Watts of a fully busy processor at its highest frequency.
BUSY = {"little": 1.2, "big": 5.0, "gpu": 3.6}
POWER_EXPONENT = 2.5
BIG_CORES = LITTLE_CORES = 4

# How busy a workload keeps each processor while nothing is capped, and whether the panel is on.
WORKLOADS = {
    "idle": {"little": 0.10, "big": 0.02, "gpu": 0.02, "panel": 0.0},
    "game": {"little": 0.60, "big": 0.90, "gpu": 1.00, "panel": 1.0},
}

RADIOS = 0.2            # W into the case, always
PANEL = 0.7             # W into the case at full brightness
CHARGER_LOSS = 0.1      # W into the case per ampere
PACK_RESISTANCE = 0.05  # ohm, heats the battery with the square of the current
STEP = 0.5              # s, far below the 13 s in which the fastest lump follows the case


@dataclass
class Limits:
    """What the devices allow: frequencies and brightness as fractions of their highest value."""
    little: float = 1.0
    big: float = 1.0
    gpu: float = 1.0
    online_cpus: int = LITTLE_CORES + BIG_CORES
    brightness: float = 1.0
    charge_amperes: float = 3.0


class Phone:
    def __init__(self):
        self.temperature = dict.fromkeys(CAPACITY, START)

    def advance(self, seconds, workload, limits):
        while seconds > 0:
            step = min(seconds, STEP)
            self._step(step, heat(workload, limits))
            seconds -= step

    def _step(self, seconds, watts):
        case = self.temperature["case"]
        net = dict(watts)
        for part, conductance in CONDUCTANCE_TO_CASE.items():
            flow = conductance * (self.temperature[part] - case)
            net[part] -= flow
            net["case"] += flow
        net["case"] -= CASE_TO_AMBIENT * (case - AMBIENT)
        for part, flow in net.items():
            self.temperature[part] += flow * seconds / CAPACITY[part]


def heat(workload, limits):
    load = WORKLOADS[workload]
    big_share = max(0, limits.online_cpus - LITTLE_CORES) / BIG_CORES
    return {
        "little": processor_heat(BUSY["little"], load["little"], limits.little),
        "big": big_share * processor_heat(BUSY["big"], load["big"], limits.big),
        "gpu": processor_heat(BUSY["gpu"], load["gpu"], limits.gpu),
        "battery": PACK_RESISTANCE * limits.charge_amperes ** 2,
        "case": (RADIOS + PANEL * load["panel"] * limits.brightness
                 + CHARGER_LOSS * limits.charge_amperes),
    }


def processor_heat(watts, load, cap):
    """Work that a cap delays keeps the processor busy for longer, until it is busy all the time."""
    return watts * cap ** POWER_EXPONENT * min(1.0, load / cap)
