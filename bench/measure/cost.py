"""Processor time per sample of the daemon, of the floor program and of the least daemon, in turn."""

import time
from typing import NamedTuple

from . import boards
from .ground import SYSFS_NODES


class Load(NamedTuple):
    sensors: int
    period: int  # milliseconds
    window: float  # seconds
    log: str  # "log" or "nolog"


class Cost(NamedTuple):
    """Nanoseconds per sample, a figure for each round."""
    daemon: list
    floor: list
    least: list  # the floor with the seeks and the looks that no daemon of these nodes goes without

    def ratios(self, what):
        return [cost / floor for cost, floor in zip(what, self.floor)]


def measure(ground, load, rounds):
    nodes = SYSFS_NODES[:load.sensors]
    device = ground.box.add_node(ground.box.nodes / "device0")
    ground.install(boards.environment(nodes, load.period, [device]), boards.sleepers(load.sensors))
    cost = Cost([], [], [])
    for _ in range(rounds):
        with ground.daemon(*(["nolog"] if load.log == "nolog" else [])) as daemon:
            cost.daemon.append(_per_sample(daemon, load))
        with ground.floor(load.period, load.log, nodes) as floor:
            cost.floor.append(_per_sample(floor, load))
        with ground.floor(load.period, load.log, nodes, ground.control_files()) as least:
            cost.least.append(_per_sample(least, load))
    return cost


def _per_sample(program, load):
    sampler = program.sampler(load.sensors, load.period)
    reads, spent = program.reads(sampler), program.processor_time()
    time.sleep(load.window)
    spent = program.processor_time() - spent
    return spent / (program.reads(sampler) - reads)
