"""How often a board of several periods wakes the processor.

Alone, this module measures daemons that are built already, in turn:

    cd bench && python3 -m measure.wakeups SETTLE_SECONDS SECONDS BUILD_DIR...
"""

import re
import subprocess
import sys
import time
from pathlib import Path
from typing import NamedTuple

from . import boards
from .ground import SYSFS_NODES, Ground

PERIODS = (250, 500, 1000)  # milliseconds, each of a sensor thread and of a worker that is awake

# What wakes within so long of the first that woke finds the processor awake: seconds.
ONE_WAKE_UP = 0.001

# A wait that strace could show in one line begins at the line's time, one that something else came
# between ends there.
_WAITED = re.compile(r"\d+ +(\d+\.\d+) (?:futex\(.*_WAIT_.*ETIMEDOUT|clock_nanosleep\().*"
                     r" <(\d+\.\d+)>")
_RESUMED = re.compile(r"\d+ +(\d+\.\d+) <\.\.\. (?:futex resumed.*ETIMEDOUT|"
                      r"clock_nanosleep resumed|restart_syscall resumed)")


class WakeUps(NamedTuple):
    """In a second."""
    threads: float  # of single threads
    processor: float  # of the processor: threads that wake together count once


def measure(ground, settle, seconds):
    """Of the daemon with every algorithm awake, after so many seconds in which workers that all
    start as one drift apart, or do not."""
    nodes = [node for node in SYSFS_NODES if node.endswith("/mtu")]
    device = ground.box.add_node(ground.box.nodes / "device0")
    environment, configuration = "", "SCEN Default\n"
    for i, period in enumerate(PERIODS):
        environment += boards.environment([nodes[i]], period).replace("sensor0", f"sensor{i}")
        configuration += boards.monitor(f"monitor{i}", f"sensor{i}", "device0", period, 1000)
    ground.install(environment + boards.environment([], 0, [device]), configuration)
    with ground.daemon("nolog") as daemon:
        time.sleep(settle)
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
    with subprocess.Popen(["strace", "-f", "-qq", "-ttt", "-T", "-o", output, "-p", str(daemon.pid),
                           "--trace=futex,clock_nanosleep,restart_syscall"]) as strace:
        time.sleep(seconds)
        strace.terminate()
    return [moment for moment in map(_end_of_wait, output.read_text().splitlines()) if moment]


def _end_of_wait(line):
    if waited := _WAITED.match(line):
        return float(waited[1]) + float(waited[2])
    resumed = _RESUMED.match(line)
    return float(resumed[1]) if resumed else None


if __name__ == "__main__":
    for build_dir in sys.argv[3:]:
        with Ground(Path(build_dir)) as here:
            found = measure(here, float(sys.argv[1]), float(sys.argv[2]))
        print(f"{build_dir}: threads {found.threads:.2f}/s, processor {found.processor:.2f}/s")
