"""Speed and memory of the simulator: the phone board through a game, with all that it can write."""

import subprocess
import time

from . import boards
from .ground import Program

GLANCE = 0.002


def seconds_of(ground, hours, output):
    """Of wall clock, for a run of so many hours on one core."""
    begin = time.monotonic()
    subprocess.run(_command(ground, hours, output), check=True, stdout=subprocess.DEVNULL)
    return time.monotonic() - begin


def study_seconds(ground, cores):
    """Of wall clock, for 40 runs of 12 hours on so many cores."""
    command = ["taskset", "--cpu-list", f"0-{cores - 1}", ground.thermalctl, "simulate", "--jobs", str(cores),
               "--board", boards.PHONE, "--workload", "game", "--seed", "1..40", "--duration", "12h"]
    begin = time.monotonic()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
    return time.monotonic() - begin


def peak_of(ground, hours):
    """The most bytes of resident memory that were seen of a run."""
    peak = 0
    process = subprocess.Popen(_command(ground, hours, True), stdout=subprocess.DEVNULL)
    with Program(process) as program:
        while process.poll() is None:
            try:
                peak = max(peak, program.resident_bytes())
            except RuntimeError:
                break  # it has ended since, and holds nothing any more
            time.sleep(GLANCE)
        process.wait()
    if process.returncode:
        raise RuntimeError(f"the simulation ended: {process.returncode}")
    return peak


def _command(ground, hours, output):
    command = ["taskset", "--cpu-list", "0", ground.thermalctl, "simulate",
               "--board", boards.PHONE, "--workload", "game", "--duration", f"{hours}h"]
    return command + ["--out", ground.box.base / "simulation"] if output else command
