"""Runs Spin on a model."""

import re
import resource
import subprocess
import time
from dataclasses import dataclass
from pathlib import Path

MODELS = Path(__file__).resolve().parent
# Two searches may run side by side.
MEMORY_LIMIT_MB = 900
# Whatever Spin says of a search that has not seen every state.
INCOMPLETE = re.compile(r"max search depth too small|Search not completed|MEMLIM|out of memory"
                        r"|truncated")


@dataclass
class Search:
    title: str
    complete: bool
    errors: int
    finding: str  # what must never be, and was; empty if nothing
    states: int
    depth: int
    seconds: float  # of a processor, with those of the compiler
    megabytes: float
    output: str

    def row(self):
        return {name: getattr(self, name) for name in
                ("title", "finding", "states", "depth", "seconds", "megabytes")}


def run(command, directory):
    return subprocess.run(command, cwd=directory, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True)


def processor_seconds():
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def number(pattern, output):
    found = re.search(pattern, output)
    assert found, output
    return float(found[1])


def search(title, model, defines, directory, *, optimise="-O0", depth=100_000):
    before = processor_seconds()
    for command in (["spin", *[f"-D{define}" for define in defines], "-a", MODELS / model],
                    ["gcc", optimise, "-w", "-DSAFETY",
                     f"-DMEMLIM={MEMORY_LIMIT_MB}", "-o", "pan", "pan.c"]):
        done = run(command, directory)
        assert done.returncode == 0 and "rror:" not in done.stdout, done.stdout
    # -E: every model has a clock that says what may be when nobody can move.
    output = run(["./pan", "-E", "-w22", f"-m{depth}"], directory).stdout
    violated = re.search(r"assertion violated +!\((\w+)\)", output)
    errors = int(number(r"errors: (\d+)", output))
    return Search(title=title, complete=not INCOMPLETE.search(output), errors=errors,
                  finding=violated[1] if violated else "other" if errors else "",
                  states=int(number(r"(\d+) states, stored", output)),
                  depth=int(number(r"depth reached (\d+)", output)),
                  seconds=processor_seconds() - before,
                  megabytes=number(r"([\d.]+)\s+total actual memory usage", output),
                  output=output)
