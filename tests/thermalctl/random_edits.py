#!/usr/bin/python3
"""Edits boards/phone at random and looks for one that thermalctl check accepts in silence although the
daemon takes it differently from what its lines say.

    tests/thermalctl/random_edits.py [--edits 500] [--seed N] [--build-dir build/release]

What the lines say is read here, as a person would: a block goes from its header to the next one,
blank lines or not, a number is one that is digits from end to end, a level is an entry of its
device's table. What the daemon makes of them its own parsers tell (held-board). Where the two differ
the check has to find something, whatever it is.
"""

import argparse
import json
import random
import re
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path
from typing import NamedTuple

REPOSITORY = Path(__file__).resolve().parents[2]
PHONE = REPOSITORY / "boards" / "phone"
BOARD = "talmor-thermal.env"
DAY = "talmor-thermal.conf"
NIGHT = "talmor-thermal_night.conf"

WHITE_SPACE = " \t\v\f\r"
DEVICES = ("camera", "report", "charger", "cpufreq", "gpufreq", "backlight", "cpuhotplug")


# What the lines say.

class Unclear(NamedTuple):
    """What no field of the daemon can hold."""
    text: str


def words_of(line):
    words = [word for word in re.split(f"[{WHITE_SPACE}]+", line) if word]
    comment = next((i for i, word in enumerate(words) if word.startswith(("#", "//", ";"))), None)
    return words[:comment]


def number(word):
    return int(word) if re.fullmatch(r"[+-]?[0-9]+", word) else Unclear(word)


def one(words):
    return words[0] if len(words) == 1 else Unclear(" ".join(words))


def one_number(words):
    return number(words[0]) if len(words) == 1 else Unclear(" ".join(words))


def numbers(words):
    return [number(word) for word in words]


def texts(words):
    return list(words)


def entries(words):
    """Of a level table, with the words of a quoted one joined."""
    found, line = [], " ".join(words)
    for quoted, bare in re.findall(r'"([^"]*)"(?!\S)|(\S+)', line):
        found.append(bare or quoted)
    return found


def rows(words):
    return [word.split("+") for word in words]


def flag(words):
    return {"true": True, "false": False}.get(one(words), Unclear(" ".join(words)))


class Block:
    def __init__(self, name, scenario=None):
        self.name = name
        self.scenario = scenario
        self.kind = None
        self.lines = []

    def values(self, readers, defaults):
        """The value of each key, and what is said that no key takes."""
        values, unclear = dict(defaults), []
        seen = {}
        for key, words in self.lines:
            if key not in readers:
                unclear.append(" ".join([key, *words]))
                continue
            value = readers[key](words)
            if key in seen and (isinstance(value, list) or seen[key] != value):
                unclear.append(f"{key} twice")
            seen[key] = value
        return {**values, **seen}, unclear


def blocks_of(text, type_key):
    """The blocks of a file, and the lines above the first one."""
    blocks, stray, scenario = [], [], "Default"
    for line in text.split("\n"):
        words = words_of(line)
        if not words:
            continue
        first, rest = words[0], words[1:]
        if first.startswith("["):
            blocks.append(Block(" ".join(words).removeprefix("[").removesuffix("]"), scenario))
        elif first == "SCEN" and type_key == "algo_type":
            scenario = one(rest)
        elif not blocks:
            stray.append(line)
        elif first == type_key and blocks[-1].kind is None:
            blocks[-1].kind = one(rest)
        else:
            blocks[-1].lines.append((first, rest))
    return blocks, stray


SENSOR = {"sampling": one_number}
REAL = {**SENSOR, "node_path": one}
VIRTUAL = {**SENSOR, "set_point": one_number, "set_point_clr": one_number, "sensors": texts,
           "weights": numbers, "offsets": numbers, "trip_sensor": one}
DEVICE = {"node_path": one, "level_table": entries}
MONITOR = {"sensor": one, "sampling": one_number, "lowactive": flag, "thresholds": numbers,
           "thresholds_clr": numbers, "actions": rows, "action_info": rows}
SS = {"sensor": one, "sampling": one_number, "lowactive": flag, "device": one,
      "set_point": one_number, "set_point_clr": one_number, "start_level": one_number,
      "device_perf_floor": one_number, "time_tick_trigger": one_number}
SAMPLING = {"sampling": 1000}


def said_by_environment(text):
    sections, stray = blocks_of(text, "type")
    said = {"sensors": {}, "devices": {}, "unclear": list(stray), "conf_file": None}

    def add(group, name, value):
        if name in said[group]:
            said["unclear"].append(f"{name} twice")
        said[group][name] = value

    for section in sections:
        kind = section.kind
        if kind == "real":
            values, unclear = section.values(REAL, {**SAMPLING, "node_path": ""})
            add("sensors", section.name, {"kind": kind, **values})
        elif kind == "virtual":
            values, unclear = section.values(VIRTUAL, {
                **SAMPLING, "set_point": 0, "set_point_clr": 0, "sensors": [], "weights": [],
                "offsets": []})
            add("sensors", section.name, {"kind": kind, **values})
        elif kind in DEVICES:
            values, unclear = section.values(DEVICE, {"node_path": "", "level_table": []})
            add("devices", section.name, {"kind": kind, **values})
        elif kind == "conf_file":
            values, unclear = section.values({"file_name": one}, {})
            said["conf_file"] = values.get("file_name", said["conf_file"])
        else:
            unclear = [f"a section of kind {kind}"]
        said["unclear"] += unclear
    return said


def request(device, level, devices):
    """What an item asks of a device by a level: an entry of its table."""
    if device not in devices:
        return Unclear(device)
    table = devices[device]["level_table"]
    value = number(level)
    reports = not table
    if isinstance(value, Unclear) or not reports and not 0 <= value < len(table):
        return Unclear(level)
    return [device, value]


def said_by_item(item, devices):
    if item.kind == "monitor":
        values, unclear = item.values(MONITOR, {**SAMPLING, "lowactive": False})
        actions, infos = values.pop("actions", []), values.pop("action_info", [])
        values["rows"] = [[request(*cell, devices) for cell in zip(*pair)]
                          for pair in zip(actions, infos)]
        if list(map(len, actions)) != list(map(len, infos)):
            unclear.append("rows of another length")
    elif item.kind == "ss":
        values, unclear = item.values(SS, {
            **SAMPLING, "lowactive": False, "start_level": 0, "device_perf_floor": 2 ** 31 - 1,
            "time_tick_trigger": 0})
    else:
        values, unclear = {}, [f"an item of kind {item.kind}"]
    return {"kind": item.kind, "name": item.name, "scenario": item.scenario, **values}, unclear


def said_by_configuration(text, devices):
    items, stray = blocks_of(text, "algo_type")
    said = {"items": [], "unclear": list(stray)}
    for item in items:
        values, unclear = said_by_item(item, devices)
        said["items"].append(values)
        said["unclear"] += unclear
    return said


# What the daemon holds.

def written(entry, kind, type_):
    """What a node is to get for an entry: the text as it stands, or the number that it is."""
    if kind == "camera" or type_ == "string" and kind != "cpufreq":
        return entry
    if type_ != "hex" or kind == "cpufreq":
        return str(number(entry)) if not isinstance(number(entry), Unclear) else entry
    return format(int(entry, 16), "x") if re.fullmatch("0[xX][0-9a-fA-F]+", entry) else entry


def same_device(said, held):
    outputs = [written(entry, said["kind"], held["type"]) for entry in said["level_table"]]
    writes = held["outputs"] or not said["level_table"]
    return said["node_path"] == held["node_path"] and writes and outputs == held["outputs"]


def differences(environment, configuration, held):
    """What the lines say and the daemon does not hold."""
    board = said_by_environment(environment)
    day = said_by_configuration(configuration, board["devices"])
    found = [*board["unclear"], *day["unclear"]]
    if held["error"]:
        found.append(held["error"])
    if board["conf_file"] != held["conf_file"]:
        found.append(f"conf_file {board['conf_file']}")
    for group in ("sensors", "devices"):
        if board[group].keys() != held[group].keys():
            found.append(f"{group} {sorted(board[group].keys() ^ held[group].keys())}")
    for name in board["sensors"].keys() & held["sensors"].keys():
        if board["sensors"][name] != held["sensors"][name]:
            found.append(f"sensor {name}")
    for name in board["devices"].keys() & held["devices"].keys():
        if not same_device(board["devices"][name], held["devices"][name]):
            found.append(f"device {name}")

    def in_order(items):
        return sorted(items, key=lambda item: (str(item["scenario"]), str(item["name"]),
                                               json.dumps(item, sort_keys=True)))

    ours, theirs = in_order(day["items"]), in_order(held["items"])
    found += [f"item {a['name']}: {a} and not {b}" for a, b in zip(ours, theirs) if a != b]
    if len(ours) != len(theirs):
        found.append(f"{len(ours)} items and not {len(theirs)}")
    return found


# The edits: each takes the lines and a random source, and gives other lines, or None.

def at_word(change, pattern=r"\S+", lines_with=r"\S"):
    """An edit of one word that matches."""
    def edit(lines, chance):
        places = [(i, match) for i, line in enumerate(lines) if re.search(lines_with, line)
                  for match in re.finditer(pattern, line)]
        if not places:
            return None
        i, match = chance.choice(places)
        line = lines[i]
        new = line[:match.start()] + change(match.group(), chance) + line[match.end():]
        return [*lines[:i], *new.split("\n"), *lines[i + 1:]]
    return edit


def at_line(change, lines_with=r"\S"):
    """An edit of one line that matches, into any number of lines."""
    def edit(lines, chance):
        places = [i for i, line in enumerate(lines) if re.search(lines_with, line)]
        if not places:
            return None
        i = chance.choice(places)
        return [*lines[:i], *change(lines[i], chance), *lines[i + 1:]]
    return edit


def put_in(word, chance, letters):
    i = chance.randrange(len(word) + 1)
    return word[:i] + chance.choice(letters) + word[i:]


def take_out(word, chance):
    i = chance.randrange(len(word))
    return word[:i] + word[i + 1:]


def swap_letters(word, chance):
    if len(word) < 2:
        return word
    i = chance.randrange(len(word) - 1)
    return word[:i] + word[i + 1] + word[i] + word[i + 2:]


def swap_words(line, chance):
    words = line.split(" ")
    i, j = (chance.randrange(len(words)) for _ in range(2))
    words[i], words[j] = words[j], words[i]
    return [" ".join(words)]


def drop_word(line, chance):
    words = line.split(" ")
    del words[chance.randrange(len(words))]
    return [" ".join(words)]


def repeat_word(line, chance):
    words = line.split(" ")
    i = chance.randrange(len(words))
    return [" ".join([*words[:i], words[i], *words[i:]])]


def split_line(line, chance):
    words = line.split(" ")
    i = chance.randrange(len(words))
    return [" ".join(words[:i]), " ".join(words[i:])]


def move_line(lines, chance):
    rest = list(lines)
    line = rest.pop(chance.randrange(len(rest)))
    rest.insert(chance.randrange(len(rest) + 1), line)
    return rest


def join_lines(lines, chance):
    i = chance.randrange(len(lines) - 1)
    return [*lines[:i], f"{lines[i]} {lines[i + 1]}".strip(), *lines[i + 2:]]


def swap_lines(lines, chance):
    i = chance.randrange(len(lines) - 1)
    return [*lines[:i], lines[i + 1], lines[i], *lines[i + 2:]]


def other_name(word, chance):
    return chance.choice(["big", "little", "gpu", "battery", "skin", "cpu_big", "cpu_little",
                          "hotplug", "charger", "backlight", "camera", "report", "day_big"])


LOOK_ALIKES = {"a": "\u0430", "e": "\u0435", "o": "\u043E", "p": "\u0440", "c": "\u0441",
               "0": "\uFF10", "1": "\uFF11", "2": "\u0662", "-": "\u2013", "S": "\u0405"}


def look_alike(word, chance):
    places = [i for i, letter in enumerate(word) if letter in LOOK_ALIKES]
    if not places:
        return word + "\u200B"
    i = chance.choice(places)
    return word[:i] + LOOK_ALIKES[word[i]] + word[i + 1:]


NUMBER = r"(?<=[ +])-?\d+"
KEY = r"^\w+"
LEVELS = "^action_info"
LISTS = "^(thresholds|actions|action_info|level_table|weights|sensors)"

EDITS = {
    "drop a digit": at_word(take_out, NUMBER),
    "add a digit": at_word(lambda word, chance: put_in(word, chance, "0123456789"), NUMBER),
    "swap two digits": at_word(swap_letters, NUMBER),
    "a letter for a digit": at_word(
        lambda word, chance: word.replace(chance.choice(word), chance.choice("OlIoBS"), 1), NUMBER),
    "a unit": at_word(lambda word, chance: word + chance.choice(
        ["C", "°C", "mC", "ms", "s", "k", "kHz", "MHz", "m", "%", "mA"]), NUMBER),
    "a sign": at_word(lambda word, chance: chance.choice(["-", "+", "--", "~", "<", "="]) + word,
                      NUMBER),
    "a point or comma": at_word(lambda word, chance: put_in(word, chance, ".,_'"), NUMBER),
    "another notation": at_word(lambda word, chance: chance.choice(
        [hex(int(word)), bin(int(word)), f"{int(word) / 1000}e3", f"{int(word) / 1000:g}",
         f"0{word}", f'"{word}"', f"({word})"]), NUMBER),
    "many digits": at_word(lambda word, chance: word * chance.choice([2, 3]), NUMBER),
    "a misspelt key": at_word(lambda word, chance: chance.choice(
        [take_out, swap_letters, lambda w, c: put_in(w, c, "aeios_s")])(word, chance), KEY),
    "another case": at_word(lambda word, chance: chance.choice(
        [str.upper, str.capitalize, str.swapcase])(word), r"[A-Za-z_]+"),
    "a misspelt word": at_word(lambda word, chance: chance.choice(
        [take_out, swap_letters])(word, chance), r"(?<=[ +\[])[a-z]\w+"),
    "another name": at_word(other_name, r"(?<=[ +])[a-z_]+"),
    "a deleted line": at_line(lambda line, chance: [], ""),
    "a line twice": at_line(lambda line, chance: [line, line]),
    "a moved line": move_line,
    "two lines joined": join_lines,
    "two lines swapped": swap_lines,
    "a line split": at_line(split_line, " "),
    "a blank line": at_line(lambda line, chance: ["", line]),
    "no blank line": at_line(lambda line, chance: [], "^$"),
    "a comment line": at_line(lambda line, chance: [chance.choice(["# ", "// ", "; "]) + "old",
                                                    line]),
    "a line commented out": at_line(lambda line, chance: [chance.choice(["#", "//", "# "]) + line]),
    "a comment behind": at_line(lambda line, chance: [f"{line} # {chance.choice('abc')}"]),
    "another separator": at_word(lambda word, chance: chance.choice(
        ["=", " = ", ":", ": ", ",", ", ", ";", "\t", "  ", "\u00A0", "", "\r", "|"]), " "),
    "spaces around +": at_word(lambda word, chance: chance.choice(
        [" + ", " +", "+ ", ",", "++", " "]), r"\+"),
    "two words swapped": at_line(swap_words, LISTS),
    "a word dropped": at_line(drop_word, " "),
    "a word twice": at_line(repeat_word, " "),
    "a word more": at_line(lambda line, chance: [f"{line} {chance.choice(['0', '1', 'big', '9'])}"]),
    "a level past the table": at_word(
        lambda word, chance: str(int(word) + chance.choice([1, 2, 5, 10])), r"\d+", LEVELS),
    "another header": at_word(lambda word, chance: chance.choice(
        [word[:-1], word[1:], f"[ {word[1:]}", word.replace("_", " "), word.upper(), "[]",
         word + " x", f"SCEN {word}", put_in(word, chance, "xyz")]), r"\S+", r"^\["),
    "a line twice far away": lambda lines, chance: move_line(
        [*lines, chance.choice(lines)], chance),
    "a look-alike": at_word(look_alike, r"\S+"),
    "an invisible character": at_word(
        lambda word, chance: put_in(word, chance, "\u200B\u200D\uFEFF\u00AD"), r"\S+"),
    "an indented line": at_line(lambda line, chance: [chance.choice([" ", "\t", "    "]) + line]),
    "a quote": at_word(lambda word, chance: chance.choice(['"' + word, word + '"', f'" {word} "']),
                       r"(?<= )\S+"),
}


class Edit(NamedTuple):
    what: str
    file: str
    texts: dict


def random_edits(count, seed):
    chance = random.Random(seed)
    originals = {name: (PHONE / name).read_text() for name in (BOARD, DAY, NIGHT)}
    kinds = list(EDITS)
    done = 0
    while done < count:
        what = kinds[done % len(kinds)]
        name = chance.choice([BOARD, BOARD, DAY, NIGHT])
        lines = EDITS[what](originals[name].split("\n"), chance)
        text = originals[name] if lines is None else "\n".join(lines)
        # Every other file has two of them.
        if done % 2:
            more = EDITS[chance.choice(kinds)](text.split("\n"), chance)
            text = text if more is None else "\n".join(more)
        if text == originals[name]:
            continue
        done += 1
        yield Edit(what, name, {**originals, name: text})


# The search.

class Outcome(NamedTuple):
    edit: Edit
    differs: list
    rules: list

    @property
    def is_silent(self):
        return bool(self.differs) and not self.rules


def run(*command, cwd):
    return subprocess.run([str(word) for word in command], cwd=cwd, capture_output=True, text=True,
                          timeout=60)


def outcome_of(edit, build_dir, directory, options=()):
    for name, text in edit.texts.items():
        (directory / name).write_bytes(text.encode())
    held = [json.loads(line) for line in
            run(build_dir / "held-board", BOARD, DAY, NIGHT, cwd=directory).stdout.splitlines()]
    differs = [difference for name, each in zip((DAY, NIGHT), held, strict=True)
               for difference in differences(edit.texts[BOARD], edit.texts[name], each)]
    check = run(build_dir / "thermalctl", "check", "--env", BOARD, "--conf", DAY, NIGHT,
                "--format", "json", *options, cwd=directory)
    assert check.returncode in (0, 1), check
    return Outcome(edit, differs, [each["rule"] for each in json.loads(check.stdout)["findings"]])


def outcomes(count, seed, build_dir, options=()):
    """Of as many edits, in their order."""
    def outcome(edit):
        with tempfile.TemporaryDirectory() as name:
            return outcome_of(edit, build_dir, Path(name), options)

    with ThreadPoolExecutor() as pool:
        return list(pool.map(outcome, random_edits(count, seed)))


def changed_lines(edit):
    original = (PHONE / edit.file).read_text().split("\n")
    edited = edit.texts[edit.file].split("\n")
    first = next((i for i, pair in enumerate(zip(original, edited)) if pair[0] != pair[1]),
                 min(len(original), len(edited)))
    return f"{edit.file}:{first + 1}: {edited[first:first + 2]!a}"


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--edits", type=int, default=500)
    parser.add_argument("--seed", type=int, default=random.randrange(2 ** 32))
    parser.add_argument("--build-dir", type=Path, default=REPOSITORY / "build" / "release")
    options = parser.parse_args()
    print(f"seed {options.seed}")
    found = outcomes(options.edits, options.seed, options.build_dir.resolve())
    silent = [each for each in found if each.is_silent]
    for each in silent:
        print(f"{each.edit.what}: {changed_lines(each.edit)}\n    {each.differs[0]}")
    differ = sum(bool(each.differs) for each in found)
    told = sum(bool(each.rules) for each in found)
    print(f"{len(found)} edits: {differ} that the daemon takes differently from what they say, "
          f"{told} with a finding, {len(silent)} accepted in silence")
    return 1 if silent else 0


if __name__ == "__main__":
    sys.exit(main())
