#!/usr/bin/python3
"""Has another writer ask the daemon for something else while thermalctl asks, at random moments.

Each trial has a daemon of its own, in a sandbox; many run side by side. The other writer renames a
file over the control file, or writes into the one that is there. Its word is lost when the daemon
never puts it in force and thermalctl says nothing; a success is false when what thermalctl calls in
force is not.
"""

import argparse
import collections
import os
import random
import sys
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path
from typing import NamedTuple

sys.path.insert(0, str(Path(__file__).parent))
from daemon import Daemon, monitor  # noqa: E402
from sandbox import replace_file  # noqa: E402
from thermalctl import PATIENT, Thermalctl  # noqa: E402

REPOSITORY = Path(__file__).resolve().parents[2]

# In milliseconds: slow enough for many daemons at a time on one machine.
CALM = 100

# Seconds from the start of thermalctl, a little more than it takes.
LONGEST = {"scenario": 3.6, "reload": 2.8, "fall back": 2.8}

DAY = ("SCEN Default\n" + monitor("day", sampling=CALM)
       + "SCEN game\n" + monitor("play", sampling=CALM, action_info=2)
       + "SCEN idle\n" + monitor("rest", sampling=CALM, action_info=3))
NIGHT = ("SCEN Default\n" + monitor("night", sampling=CALM, action_info=4)
         + "SCEN idle\n" + monitor("sleep", sampling=CALM, action_info=6))
DUSK = "SCEN Default\n" + monitor("dusk", sampling=CALM, action_info=5)


def rename(path, word):
    replace_file(path, word)


def write_in_place(path, word):
    """As a shell does it."""
    path.write_text(word)


def write_over(path, word):
    """In one write, without emptying the file first."""
    descriptor = os.open(path, os.O_WRONLY)
    os.write(descriptor, f"{word}\n".encode())
    os.close(descriptor)


WRITERS = {"renames": (rename,), "writes in place": (write_in_place, write_over)}


class Trial(NamedTuple):
    # scenario; reload, where the other asks for another configuration; fall back: a reload that ends
    # the scenario in force, where the other asks for another scenario
    command: str
    kind: str     # of the other writer
    seed: int


class Asked(NamedTuple):
    """What the other writer asks for, and by which levels its word and that of thermalctl show."""
    file: str
    word: str
    theirs: set
    ours: set


ASKED = {
    "scenario": Asked("talmor-thermal.scen", "idle", {"3"}, {"2"}),
    "reload": Asked("talmor-thermal.dconf", "dusk.conf", {"5"}, {"4"}),
    # Which scenario is in force behind it, the reload need not know.
    "fall back": Asked("talmor-thermal.scen", "idle", {"3", "6"}, {"4", "6"}),
}


class Ending(NamedTuple):
    trial: Trial
    is_lost: bool
    is_false: bool
    said: str
    story: str



def run(trial, build_dir):
    chance = random.Random(f"{trial}")
    daemon = Daemon(build_dir)
    thermalctl = Thermalctl(build_dir)
    try:
        daemon.sensor("cpu", 60000, sampling=CALM)
        daemon.device("gpu")
        daemon.conf(DAY)
        daemon.profile("dusk.conf", DUSK)
        night = daemon.box.base / "night.conf"
        night.write_text(NIGHT)
        daemon.started()
        daemon.wait_writes("gpu", ["1"])
        time.sleep(chance.uniform(0, 1))
        return ending(trial, chance, daemon, thermalctl, night)
    finally:
        daemon.close()


def ending(trial, chance, daemon, thermalctl, night):
    where = ("--dir", daemon.box.data_dir, *PATIENT)
    asked = ASKED[trial.command]
    if trial.command == "fall back":
        daemon.switch("game")
    if trial.command == "scenario":
        process = thermalctl.start("scenario", "game", *where)
    else:
        process = thermalctl.start("reload", night, "--env", daemon.box.env_file, *where)
    moment = chance.uniform(0, LONGEST[trial.command])
    time.sleep(moment)
    chance.choice(WRITERS[trial.kind])(daemon.box.data_dir / asked.file, asked.word)
    out, err = process.communicate()
    # What is in force reaches the node in one more period; what is asked for now, not for a second.
    soon = time.monotonic() + 0.5
    settle(daemon)
    writes = daemon.write_events("gpu")
    after = [event.data.decode() for event in writes]
    at_end = [event.data.decode() for event in writes if event.time < soon][-1]
    told = process.returncode == 1 and "another writer has asked" in err
    is_lost = not asked.theirs & {*after} and not (told and "has to ask again" in err)
    is_false = process.returncode == 0 and at_end not in asked.ours
    said = (out + err).strip().splitlines()[-1]
    return Ending(trial, is_lost, is_false, said, f"at {moment:.3f} s: {after}\n{daemon.story()}")


def settle(daemon):
    """Until nothing is under way: a request, a switch, what either does to the node."""
    for _ in range(2):
        daemon.wait(lambda: daemon.request_file() == "PARSED", "the request to be answered")
        daemon.wait_polls(3)
    daemon.wait_samples("cpu", 3)


def run_all(trials, build_dir, side_by_side):
    with ThreadPoolExecutor(side_by_side) as pool:
        return list(pool.map(lambda trial: run(trial, build_dir), trials))


def trials(count, seed, commands=tuple(LONGEST)):
    return [Trial(command, kind, seed + number)
            for command in commands for kind in WRITERS for number in range(count)]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build-dir", type=Path, default=REPOSITORY / "build" / "release")
    parser.add_argument("--trials", type=int, default=200, help="of each command and kind of writer")
    parser.add_argument("--only", choices=LONGEST, action="append", help="a command")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--side-by-side", type=int, default=12)
    options = parser.parse_args()
    endings = run_all(trials(options.trials, options.seed, options.only or tuple(LONGEST)),
                      options.build_dir.resolve(),
                      options.side_by_side)
    groups = collections.defaultdict(list)
    for end in endings:
        groups[end.trial.command, end.trial.kind].append(end)
    for (command, kind), group in groups.items():
        print(f"{command:9}  another writer {kind:15}  {len(group)} moments:"
              f" {sum(end.is_lost for end in group)} lost,"
              f" {sum(end.is_false for end in group)} false successes")
        for text, count in collections.Counter(end.said for end in group).most_common():
            print(f"    {count:4}  {text}")
    bad = [end for end in endings if end.is_lost or end.is_false]
    for end in bad:
        print(f"{end.trial}: {end.said}\n{end.story}")
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())
