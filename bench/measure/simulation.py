"""Speed and memory of the simulator: the phone board through a game, a board of many sensors, and one of many nodes
under a workload of odd times."""

import os
import random
import re
import subprocess
import time
from pathlib import Path
from typing import NamedTuple

from . import boards

GLANCE = 0.005


class Run(NamedTuple):
    seconds: float  # of processor time, the start of the process included
    clock: float  # seconds by the clock
    peak: int  # bytes of resident memory, those of the last milliseconds aside


class Study(NamedTuple):
    one: float  # seconds by the clock
    two: float
    apart: float


def of_phone(ground, duration, output=False):
    return _run(ground, ["--board", boards.PHONE, "--workload", "game"], duration, output)


def of_sensors(ground, count, *words):
    """An hour of so many sensors at a second, each with noise and a monitor that never wakes."""
    board = _folder(ground, "sensors")
    nodes = [f"/nowhere/{i}" for i in range(count)]
    (board / "talmor-thermal.env").write_text(boards.environment(nodes, 1000, ["/nowhere/device"]))
    (board / "talmor-thermal.conf").write_text(boards.sleepers(count))
    (board / "plant.toml").write_text(
        '[node.case]\njoules_per_kelvin = 70.0\n[[resistance]]\nbetween = ["case", "ambient"]\n'
        'kelvin_per_watt = 8.0\n[source.load]\nnode = "case"\nwatts = 3.0\n'
        + "".join(f'[sensor.sensor{i}]\nnode = "case"\nnoise = 0.05\nstep = 0.1\n'
                  for i in range(count)))
    (board / "work.csv").write_text("time,load\n0,0.2\n5m,1\n20m,0.3\n")
    return _run(ground, ["--board", board, "--workload", board / "work.csv", *words], "1h")


def of_odd_times(ground, nodes):
    """An hour of a chain of so many nodes whose load changes at random milliseconds, twice a second."""
    board = _folder(ground, "nodes")
    (board / "talmor-thermal.env").write_text(boards.environment(["/nowhere/0"], 1000, ["/nowhere/device"]))
    (board / "talmor-thermal.conf").write_text(boards.sleepers(1))
    chain = [f"n{i}" for i in range(nodes)] + ["ambient"]
    (board / "plant.toml").write_text(
        "".join(f"[node.{name}]\njoules_per_kelvin = {1 + i % 7}.0\n" for i, name in enumerate(chain[:-1]))
        + "".join(f'[[resistance]]\nbetween = ["{a}", "{b}"]\nkelvin_per_watt = 0.{1 + i % 9}\n'
                  for i, (a, b) in enumerate(zip(chain, chain[1:])))
        + '[source.load]\nnode = "n0"\nwatts = 3.0\n[sensor.sensor0]\nnode = "n0"\n')
    rng = random.Random(1)
    times = sorted({0, *rng.sample(range(1, 3_600_000), 7200)})
    (board / "work.csv").write_text(
        "time,load\n" + "".join(f"{time}ms,{rng.randrange(101) / 100}\n" for time in times))
    return _run(ground, ["--board", board, "--workload", board / "work.csv"], "1h")


def heat_error(ground):
    """The furthest from the closed form, as a share of the temperature, where time constants are far apart."""
    return float(subprocess.run([ground.heat_binary], stdout=subprocess.PIPE, check=True).stdout)


def study(ground):
    """40 runs of 12 hours by the clock, in turn on one core, on two, and halved between two processes that share
    nothing, with a core for each: more than that the machine does not give two threads, either."""
    def part(cores, seeds):
        return ["taskset", "--cpu-list", cores, ground.thermalctl, "simulate", "--jobs", str(len(cores.split(","))),
                "--board", boards.PHONE, "--workload", "game", "--seed", seeds, "--duration", "12h"]
    return Study(_clock(part("0", "1..40")), _clock(part("0,1", "1..40")),
                 _clock(part("0", "1..20"), part("1", "21..40")))


def _clock(*commands):
    """Seconds until all of them, begun together, have ended well."""
    begin = time.monotonic()
    processes = [subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
                 for command in commands]
    if any([process.wait() for process in processes]):
        raise RuntimeError("a study did not end well")
    return time.monotonic() - begin


def _folder(ground, name):
    board = ground.box.base / name
    board.mkdir(exist_ok=True)
    return board


def _run(ground, inputs, duration, output=False):
    command = [ground.thermalctl, "simulate", *inputs, "--duration", duration]
    if output:
        command += ["--out", ground.box.base / "simulation"]
    return watched(command, cores={0})


def watched(command, ends=(0,), cores=None):
    """Runs it to its end, with one of the statuses that are fine. `cores`: those it may use."""
    begin = time.monotonic()
    own = os.sched_getaffinity(0)
    # It takes them over. A program in front of it would be counted with it, and takes 2 ms.
    os.sched_setaffinity(0, cores or own)
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    os.sched_setaffinity(0, own)
    peak = ended = 0
    while not ended:
        time.sleep(GLANCE)
        peak = _peak_so_far(process.pid) or peak
        # What the kernel has counted of this one child.
        ended, status, used = os.wait4(process.pid, os.WNOHANG)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode not in ends:
        raise RuntimeError(f"the simulation ended: {process.returncode}")
    return Run(used.ru_utime + used.ru_stime, time.monotonic() - begin, peak)


def _peak_so_far(pid):
    """Nothing of a process that has ended and is only waited for."""
    peak = re.search(r"^VmHWM:\s+(\d+) kB", Path(f"/proc/{pid}/status").read_text(), re.MULTILINE)
    return int(peak[1]) * 1024 if peak else 0
