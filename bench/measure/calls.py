"""System calls of the sampling and of the scenario thread, and wake-ups of the whole process."""

import collections
import subprocess
import time
from typing import NamedTuple

from . import boards
from .ground import SYSFS_NODES

SENSORS = 64
TRACED_PERIOD = 100  # milliseconds: enough passes in a short trace
TRACED_SECONDS = 2.0
TRACED_LOOKS = 4.5  # seconds: four of the scenario thread's own
_SLEEP = "clock_nanosleep(CLOCK_REALTIME, 0, {tv_sec=1, tv_nsec=0}"


class Calls(NamedTuple):
    """System call -> how often it is made."""
    per_sample: dict
    per_pass: dict  # what one pass over all sensors adds: its waiting


def count(ground):
    _install(ground, TRACED_PERIOD)
    with ground.daemon("nolog") as daemon:
        lines = _trace(ground, daemon.sampler(SENSORS, TRACED_PERIOD), TRACED_SECONDS)
    waits = [i for i, line in enumerate(lines) if "FUTEX_WAIT" in line]
    passes = len(waits) - 1
    names = collections.Counter(line.partition("(")[0] for line in lines[waits[0]:waits[-1]])
    waiting = names.pop("futex")
    return Calls({name: count / (passes * SENSORS) for name, count in names.items()},
                 {"futex": waiting / passes})


def of_looks(ground):
    """System call -> how often the two looks of a second at the control files make it."""
    _install(ground, 1000)
    with ground.daemon("nolog") as daemon:
        daemon.sampler(SENSORS, 1000)
        # The scenario thread is the last that starts.
        lines = _trace(ground, daemon.threads()[-1], TRACED_LOOKS)
    sleeps = [i for i, line in enumerate(lines) if line.startswith(_SLEEP)]
    names = collections.Counter(line.partition("(")[0] for line in lines[sleeps[0]:sleeps[-1]])
    del names["clock_nanosleep"]
    return {name: count / (len(sleeps) - 1) for name, count in names.items()}


def wake_ups(ground, seconds):
    """Wake-ups in a second of each thread that woke at all, with no algorithm active."""
    _install(ground, 1000)
    with ground.daemon("nolog") as daemon:
        daemon.sampler(SENSORS, 1000)
        before = {thread: daemon.wake_ups(thread) for thread in daemon.threads()}
        begin = time.monotonic()
        time.sleep(seconds)
        elapsed = time.monotonic() - begin
        woke = [daemon.wake_ups(thread) - count for thread, count in before.items()]
    return [count / elapsed for count in woke if count]


def _install(ground, period):
    device = ground.box.add_node(ground.box.nodes / "device0")
    ground.install(boards.environment(SYSFS_NODES[:SENSORS], period, [device]),
                   boards.sleepers(SENSORS))


def _trace(ground, thread, seconds):
    output = ground.box.base / "trace"
    with subprocess.Popen(["strace", "-qq", "-o", output, "-p", str(thread)]) as strace:
        time.sleep(seconds)
        strace.terminate()
    # The call in which the trace ends has no result.
    return [line for line in output.read_text().splitlines() if " = " in line]
