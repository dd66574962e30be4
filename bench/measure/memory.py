"""Resident memory, and its growth over configuration swaps."""

import time
from typing import NamedTuple

from . import boards
from .ground import SYSFS_NODES
from .swap import Swapper

SETTLED = 2.0  # seconds after which start-up is over and every thread has had its turn
WARM_UP_SWAPS = 200  # until the allocator has its arenas

# A `Scenario` is 48 bytes and its block of the heap 64; none is ever freed.
SCENARIO_BYTES = 64
PAGES_OF_SLACK = 32


class Growth(NamedTuple):
    swaps: int
    bytes: int
    kept: int  # bytes of the scenario objects of replaced configurations

    @property
    def accounted(self):
        return self.bytes <= self.kept + PAGES_OF_SLACK * 4096


def of_phone(ground):
    boards.install_phone(ground)
    return _resident(ground)


def of_sensors(ground, count):
    device = ground.box.add_node(ground.box.nodes / "device0")
    ground.install(boards.environment(SYSFS_NODES[:count], 1000, [device]), boards.sleepers(count))
    return _resident(ground)


def growth(ground, swaps):
    boards.install_phone(ground)
    names = ("first.conf", "second.conf")
    text = (boards.PHONE / "talmor-thermal.conf").read_text()
    for name in names:
        (ground.box.config_dir / name).write_text(text)
    scenarios = sum(line.startswith("SCEN ") for line in text.splitlines())
    with ground.daemon("nolog", env=Swapper.environment(ground)) as daemon:
        time.sleep(SETTLED)
        swapper = Swapper(ground, daemon, names)
        swapper.swap(WARM_UP_SWAPS)
        before = daemon.resident_bytes()
        swapper.swap(swaps)
        grown = daemon.resident_bytes() - before
    return Growth(swaps, grown, swaps * scenarios * SCENARIO_BYTES)


def _resident(ground):
    with ground.daemon("nolog") as daemon:
        time.sleep(SETTLED)
        return daemon.resident_bytes()
