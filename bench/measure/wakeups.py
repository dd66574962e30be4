"""How often a board of several periods wakes the processor, and what grouping could save of it."""

import re
import subprocess
import time
from typing import NamedTuple

from . import boards
from .ground import SYSFS_NODES

PERIODS = (250, 500, 1000)  # milliseconds, each of a sensor thread and of a worker that is awake

# What wakes within so long of the first that woke finds the processor awake: seconds.
ONE_WAKE_UP = 0.001

# Phases drift apart by a fraction of a millisecond per period; all threads start as one.
DRIFT_SECONDS = 20.0

# A wait that strace could show in one line begins at the line's time, one that something else came
# between ends there.
_WAITED = re.compile(r"\d+ +(\d+\.\d+) (?:futex\(.*_WAIT_.*ETIMEDOUT|clock_nanosleep\().* <(\d+\.\d+)>")
_RESUMED = re.compile(r"\d+ +(\d+\.\d+) <\.\.\. (?:futex resumed.*ETIMEDOUT|"
                      r"clock_nanosleep resumed|restart_syscall resumed)")


class WakeUps(NamedTuple):
    """In a second."""
    threads: float  # of single threads
    processor: float  # of the processor: threads that wake together count once


def measure(ground, seconds):
    """The daemon with every algorithm awake."""
    nodes = [node for node in SYSFS_NODES if node.endswith("/mtu")]
    device = ground.box.add_node(ground.box.nodes / "device0")
    environment, configuration = "", "SCEN Default\n"
    for i, period in enumerate(PERIODS):
        environment += boards.environment([nodes[i]], period).replace("sensor0", f"sensor{i}")
        configuration += boards.monitor(f"monitor{i}", f"sensor{i}", "device0", period, 1000)
    ground.install(environment + boards.environment([], 0, [device]), configuration)
    with ground.daemon("nolog") as daemon:
        time.sleep(DRIFT_SECONDS)
        moments = _moments(ground, daemon, seconds)
    return WakeUps(len(moments) / seconds, count_groups(moments) / seconds)


def count_groups(moments):
    groups, begin = 0, float("-inf")
    for moment in sorted(moments):
        if moment - begin > ONE_WAKE_UP:
            groups, begin = groups + 1, moment
    return groups


def _moments(ground, daemon, seconds):
    """When a thread came back from a wait that had run its course."""
    output = ground.box.base / "wake-ups"
    with subprocess.Popen(["strace", "-f", "-qq", "-ttt", "-T", "--trace=futex,clock_nanosleep,restart_syscall",
                           "-o", output, "-p", str(daemon.pid)]) as strace:
        time.sleep(seconds)
        strace.terminate()
    return [moment for moment in map(_end_of_wait, output.read_text().splitlines()) if moment]


def _end_of_wait(line):
    if waited := _WAITED.match(line):
        return float(waited[1]) + float(waited[2])
    resumed = _RESUMED.match(line)
    return float(resumed[1]) if resumed else None
