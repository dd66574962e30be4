#!/usr/bin/python3
"""Edits boards/phone at random and holds what thermalctl diff says against it: edits that mean nothing
must give "no change"; of edits of one value each one is to be told whose simulated run differs.

    tests/thermalctl/meaning_edits.py [--idle 1000] [--real 300] [--seed N] [--thermalctl build/release/thermalctl]
"""

import argparse
import random
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]
PHONE = REPOSITORY / "boards" / "phone"
ENV, DAY, NIGHT = "talmor-thermal.env", "talmor-thermal.conf", "talmor-thermal_night.conf"
FILES = (ENV, DAY, NIGHT)


# Edits that mean nothing.

def blocks_of(text):
    return [block.strip("\n") for block in re.split(r"\n\s*\n", text) if block.strip()]


def shuffled_sections(text, rng):
    """Devices in another order; a virtual sensor stays below its sources."""
    blocks = blocks_of(text)
    sensors = [block for block in blocks if re.search(r"^type (real|virtual)", block, re.M)]
    others = [block for block in blocks if block not in sensors]
    rng.shuffle(others)
    reals = [block for block in sensors if "\ntype real" in block]
    rng.shuffle(reals)
    virtuals = [block for block in sensors if block not in reals]
    return "\n\n".join(reals + others + virtuals) + "\n"


def scenarios_of(text):
    """Each scenario's line with its items."""
    return re.split(r"^(?=SCEN )", text.strip("\n"), flags=re.M)[1:]


def shuffled_scenarios(text, rng):
    scenarios = [each.strip("\n") for each in scenarios_of(text)]
    rng.shuffle(scenarios)
    return "\n\n".join(scenarios) + "\n"


def shuffled_items(text, rng):
    result = []
    for scenario in scenarios_of(text):
        line, _, items = scenario.partition("\n")
        items = blocks_of(items)
        rng.shuffle(items)
        result.append(line + "\n" + "\n\n".join(items))
    return "\n\n".join(result) + "\n"


def shuffled_lines(text, rng):
    """The keys of a block in another order; its header and type come first."""
    result = []
    for block in blocks_of(text):
        lines = block.split("\n")
        fixed = 2 + lines[0].startswith("SCEN")
        keys = lines[fixed:]
        rng.shuffle(keys)
        result.append("\n".join(lines[:fixed] + keys))
    return "\n\n".join(result) + "\n"


def spaced(text, rng):
    def line(words):
        blank = rng.choice([" ", "  ", "\t", " \t"])
        return rng.choice(["", " ", "\t"]) + blank.join(words) + rng.choice(["", " ", "\t "])
    return "".join((line(each.split()) if each.split() else rng.choice(["", " ", "\t"])) + "\n"
                   for each in text.split("\n"))


def with_carriage_returns(text, rng):
    return "".join(each + ("\r\n" if rng.random() < .8 else "\n") for each in text.rstrip("\n").split("\n"))


def with_blank_lines(text, rng):
    return re.sub(r"\n\n", lambda _: "\n" * rng.randint(2, 5), text) + "\n" * rng.randint(0, 3)


def without_last_line_feed(text, _):
    return text.rstrip("\n")


def with_default_said(text, rng):
    """A value that the daemon has without its line, too."""
    blocks = blocks_of(text)
    items = [i for i, block in enumerate(blocks) if "algo_type" in block and "lowactive" not in block]
    if not items:
        return text
    i = rng.choice(items)
    blocks[i] += "\n" + rng.choice(["lowactive false", "lowactive no"]
                                   + ["time_tick_trigger 0"] * ("algo_type ss" in blocks[i]))
    return "\n\n".join(blocks) + "\n"


def with_zeros(text, rng):
    numbers = list(re.finditer(r"(?<= )[1-9][0-9]{3,}\b", text))
    at = rng.choice(numbers)
    return text[:at.start()] + "0" + text[at.start():]


IDLE = {"sections": ((ENV,), shuffled_sections), "scenarios": ((DAY, NIGHT), shuffled_scenarios),
        "items": ((DAY, NIGHT), shuffled_items), "lines": (FILES, shuffled_lines),
        "spaces": (FILES, spaced), "carriage returns": (FILES, with_carriage_returns),
        "blank lines": (FILES, with_blank_lines), "line feed": (FILES, without_last_line_feed),
        "default": ((DAY, NIGHT), with_default_said), "zeros": ((DAY, NIGHT), with_zeros)}


# Edits of one value.

def with_number(text, rng):
    at = rng.choice(list(re.finditer(r"(?<![\w.])-?\d+(?![\w.])", text)))
    value = int(at[0])
    new = rng.choice([value + rng.choice([1, 2, 500, 1000, -1000, 3000]), value * 2, value // 2])
    return text[:at.start()] + str(max(new, 0)) + text[at.end():]


def with_other_name(text, rng):
    names = ["cpu_big", "cpu_little", "gpu", "charger", "backlight", "camera", "battery", "big", "little", "skin"]
    at = rng.choice([each for each in re.finditer(r"(?<=[ +])[a-z_]+\b", text) if each[0] in names])
    return text[:at.start()] + rng.choice([name for name in names if name != at[0]]) + text[at.end():]


def without_block(text, rng):
    blocks = [block for block in blocks_of(text)]
    candidates = [i for i, block in enumerate(blocks) if "algo_type" in block and not block.startswith("SCEN")]
    if not candidates:
        return with_number(text, rng)
    del blocks[rng.choice(candidates)]
    return "\n\n".join(blocks) + "\n"


def without_line(text, rng):
    lines = text.split("\n")
    i = rng.choice([i for i, line in enumerate(lines) if re.match(r"sampling|start_level|device_perf|lowactive", line)])
    return "\n".join(lines[:i] + lines[i + 1:])


REAL = (with_number, with_number, with_number, with_other_name, without_block, without_line)


def edited(folder, file, text):
    for name in FILES:
        shutil.copy(PHONE / name, folder)
    (folder / file).write_bytes(text.encode())


def diff(tool, folder, *options):
    return subprocess.run([tool, "diff", PHONE, folder, *options], capture_output=True, text=True)


def idle_edits(tool, count, seed):
    """Those of which the tool says that they change something."""
    rng = random.Random(seed)
    wrong = []
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        for _ in range(count):
            kinds = rng.sample(sorted(IDLE), rng.randint(1, 3))
            file = rng.choice(FILES)
            text = (PHONE / file).read_text()
            # What changes the ends of lines comes last: the others look for blank ones.
            for kind in sorted(kinds, key=list(IDLE).index):
                if file in IDLE[kind][0]:
                    text = IDLE[kind][1](text, rng)
            edited(folder, file, text)
            run = diff(tool, folder)
            if (run.returncode, run.stdout) != (0, "no change\n"):
                wrong.append((file, kinds, run.stdout + run.stderr))
    return wrong


def trace_of(tool, board, out):
    """What the daemon does in some minutes of a game, by the events of the run."""
    run = subprocess.run([tool, "simulate", "--env", board / ENV, "--conf", board / DAY, "--plant",
                          PHONE / "plant.toml", "--workload", PHONE / "workloads" / "game.csv",
                          "--duration", "8m", "--out", out], capture_output=True, text=True)
    if run.returncode == 2:
        return run.returncode, ""
    text = next(Path(out).rglob("trace.csv")).read_text()
    shutil.rmtree(out, ignore_errors=True)
    return 0, text


def real_edits(tool, count, seed):
    """Those of which the tool says nothing although the run differs, and how many runs differ."""
    rng = random.Random(seed)
    missed, differing = [], 0
    with tempfile.TemporaryDirectory() as name, tempfile.TemporaryDirectory() as out:
        folder = Path(name)
        edited(folder, ENV, (PHONE / ENV).read_text())
        usual = trace_of(tool, folder, Path(out))
        for _ in range(count):
            file = rng.choice((ENV, DAY, DAY))
            text = rng.choice(REAL)((PHONE / file).read_text(), rng) if file != ENV else with_number(
                (PHONE / file).read_text(), rng)
            edited(folder, file, text)
            said = diff(tool, folder).stdout
            differs = trace_of(tool, folder, Path(out)) != usual
            differing += differs
            if differs and said == "no change\n":
                missed.append((file, text))
    return missed, differing


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--idle", type=int, default=1000)
    parser.add_argument("--real", type=int, default=300)
    parser.add_argument("--seed", type=int, default=random.randrange(2 ** 32))
    parser.add_argument("--thermalctl", default=REPOSITORY / "build" / "release" / "thermalctl")
    args = parser.parse_args()
    wrong = idle_edits(args.thermalctl, args.idle, args.seed)
    for file, kinds, told in wrong[:5]:
        print(f"{file}: {kinds}:\n{told}")
    missed, differing = real_edits(args.thermalctl, args.real, args.seed)
    for file, _ in missed:
        print(f"{file}: missed")
    print(f"seed {args.seed}: {args.idle - len(wrong)} of {args.idle} edits that mean nothing give 'no change'; "
          f"of {args.real} others {differing} run otherwise, of which {len(missed)} are missed")
    return 1 if wrong or missed else 0


if __name__ == "__main__":
    sys.exit(main())
