"""What a decision pass and a swap cost as the number of items grows."""

import time
from typing import NamedTuple

from . import boards
from .ground import SYSFS_NODES
from .swap import Swapper

COUNTS = (10, 100, 1000, 10000)
DEVICES = 50
DECIDING = 20  # milliseconds
BELOW_MTU = 1000  # every interface starts with a larger mtu

# A count ten times as large may cost this much more: ten times, and a tenth of that for noise.
LINEAR_DECADE = 11


class Curve(NamedTuple):
    name: str
    nanoseconds: list  # at each of COUNTS

    @property
    def linear(self):
        return all(after <= LINEAR_DECADE * before
                   for before, after in zip(self.nanoseconds, self.nanoseconds[1:]))


def decision_passes(ground, seconds):
    return Curve("decision pass over awake monitors",
                 [_decision_pass(ground, count, seconds) for count in COUNTS])


def swaps(ground, times):
    return Curve("swap of a configuration", [_swap(ground, count, times) for count in COUNTS])


def _decision_pass(ground, count, seconds):
    """Nanoseconds of the worker's thread for a pass over monitors that keep their level."""
    nodes = _install(ground)
    ground.box.conf_file.write_text(
        boards.items(count, len(nodes), DEVICES, DECIDING, BELOW_MTU))
    with ground.daemon("nolog") as daemon:
        daemon.sampler(len(nodes), 1000)  # all are awake after the first samples
        time.sleep(1)
        worker = _busiest(daemon)
        passes, spent = daemon.wake_ups(worker), daemon.thread_time(worker)
        time.sleep(seconds)
        return (daemon.thread_time(worker) - spent) / (daemon.wake_ups(worker) - passes)


def _busiest(daemon):
    before = {thread: daemon.wake_ups(thread) for thread in daemon.threads()}
    time.sleep(10 * DECIDING / 1000)
    return max(before, key=lambda thread: daemon.wake_ups(thread) - before[thread])


def _swap(ground, count, times):
    """Nanoseconds of the whole process for one swap of sleeping items, its polls included."""
    nodes = _install(ground)
    text = boards.items(count, len(nodes), DEVICES, 1000, boards.OUT_OF_REACH)
    ground.box.conf_file.write_text(text)
    names = ("first.conf", "second.conf")
    for name in names:
        (ground.box.config_dir / name).write_text(text)
    with ground.daemon("nolog", env=Swapper.environment(ground)) as daemon:
        daemon.sampler(len(nodes), 1000)
        swapper = Swapper(ground, daemon, names)
        swapper.swap(2)
        spent = daemon.processor_time()
        swapper.swap(times)
        return (daemon.processor_time() - spent) / times


def _install(ground):
    nodes = [node for node in SYSFS_NODES if node.endswith("/mtu")]
    devices = [ground.box.add_node(ground.box.nodes / f"device{i}") for i in range(DEVICES)]
    ground.install(boards.environment(nodes, 1000, devices), "")
    return nodes
