"""The micro-benchmarks of single operations."""

import json
import subprocess
from typing import NamedTuple


class Operation(NamedTuple):
    name: str
    nanoseconds: float


def measure(ground, seconds):
    """Processor time of each, at the least of three runs."""
    output = subprocess.run(
        [ground.micro_binary, f"--benchmark_min_time={seconds}", "--benchmark_repetitions=3",
         "--benchmark_format=json"],
        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True).stdout
    least = {}
    for run in json.loads(output)["benchmarks"]:
        if run["run_type"] != "iteration":
            continue
        nanoseconds = run["cpu_time"] * {"ns": 1, "us": 1e3, "ms": 1e6}[run["time_unit"]]
        name = run["run_name"]
        least[name] = min(nanoseconds, least.get(name, nanoseconds))
    return [Operation(name, nanoseconds) for name, nanoseconds in least.items()]
