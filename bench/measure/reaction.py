"""Time from a temperature that crosses a threshold to the write of the device's node.

The two nodes are ordinary files here, because the kernel tells of a write to one at once.
"""

import ctypes
import os
import random
import select
import time
from typing import NamedTuple

from . import boards

SAMPLING = 60  # milliseconds, of the sensor
DECIDING = 40  # milliseconds, of the algorithm
COOL, THRESHOLD, HOT = 30000, 50000, 60000
LOST_SECONDS = 10
_IN_MODIFY = 2


class Reactions(NamedTuple):
    """Milliseconds of each crossing."""
    rising: list  # the algorithm sleeps, and decides as soon as it is woken
    falling: list  # the algorithm is awake, and decides once in its period


def measure(ground, crossings):
    box = ground.box
    sensor = box.add_node(box.nodes / "temperature", str(COOL))
    device = box.add_node(box.nodes / "device0")
    ground.install(boards.environment([sensor], SAMPLING, [device]), "SCEN Default\n" +
                   boards.monitor("monitor", "sensor0", "device0", DECIDING, THRESHOLD))
    reactions = Reactions([], [])
    with ground.daemon("nolog") as daemon, _Watch(device) as watch:
        time.sleep(1)
        for _ in range(crossings // 2):
            for temperature, times in ((HOT, reactions.rising), (COOL, reactions.falling)):
                # The worker has gone to sleep by then, and every phase is as likely as any other.
                time.sleep((DECIDING + random.uniform(0, 3 * SAMPLING)) / 1000)
                begin = time.monotonic()
                box.write_node(sensor, str(temperature))
                daemon.check()
                times.append(1000 * (watch.next_write() - begin))
    return reactions


def distance_from_uniform(values, longest):
    """The largest distance between the distribution of the values and the even one from 0 on."""
    ordered = sorted(values)
    count = len(ordered)
    even = [min(max(value / longest, 0), 1) for value in ordered]
    return max(max((i + 1) / count - share, share - i / count) for i, share in enumerate(even))


def chance_distance(count):
    """What that distance stays below in 99 of 100 cases when the values are uniform."""
    return 1.63 / count ** 0.5


class _Watch:
    def __init__(self, path):
        self._libc = ctypes.CDLL(None, use_errno=True)
        self._descriptor = self._libc.inotify_init1(os.O_NONBLOCK | os.O_CLOEXEC)
        self._path = os.fsencode(path)

    def __enter__(self):
        # After the daemon has opened, and so emptied, its node.
        time.sleep(0.5)
        if self._libc.inotify_add_watch(self._descriptor, self._path, _IN_MODIFY) < 0:
            raise OSError(ctypes.get_errno(), "inotify_add_watch")
        return self

    def __exit__(self, *exception):
        os.close(self._descriptor)

    def next_write(self):
        if not select.select([self._descriptor], [], [], LOST_SECONDS)[0]:
            raise TimeoutError(f"no reaction in {LOST_SECONDS} s")
        now = time.monotonic()
        os.read(self._descriptor, 4096)
        return now
