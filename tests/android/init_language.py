"""The part of init's language that our files use, as init holds a vendor's file to it: anything else
is an error."""

import re
from dataclasses import dataclass, field

NAME = r"[A-Za-z][\w-]*"
PATH = r"(/[\w.:@,+=~%-]+)+"
MODE = r"0[0-7]{3}"
USER = r"root|system"
TEXT = r"[\x20-\x7e]+"

TRIGGERS = {"post-fs-data", "boot", "charger"}
# On which properties a vendor's file may trigger; the states of other services are the core's.
PROPERTIES = ("init.svc.vendor.", "init.svc.odm.", "ro.vendor.", "ro.odm.", "persist.vendor.",
              "persist.odm.", "vendor.", "odm.", "ro.boot.", "sys.boot_completed", "ro.debuggable",
              "persist.log.tag")
COMMANDS = {
    "chmod": [MODE, PATH],
    "chown": [USER, USER, PATH],
    "copy": [PATH, PATH],
    "exec_start": [r"vendor\.[\w-]+"],
    "mkdir": [PATH, MODE, USER, USER],
    "write": [PATH, TEXT],
}
OPTIONS = {
    "capabilities": [],  # with none named all are dropped
    "class": [r"core|main|hal|late_start"],
    "disabled": [],
    "group": [USER],
    "oneshot": [],
    "oom_score_adjust": [r"-1000|-?[1-9]\d{0,2}|0|1000"],
    "restart_period": [r"[1-9]\d*"],
    "task_profiles": [NAME],
    "user": [USER],
}


class SyntaxErrorInLine(Exception):
    pass


@dataclass
class Service:
    path: str
    arguments: list
    options: dict = field(default_factory=dict)
    onrestart: list = field(default_factory=list)


def parse(text):
    """Returns the commands of each trigger, and the services by their names."""
    actions, services = {}, {}
    section = None
    if text and not text.endswith("\n"):
        raise SyntaxErrorInLine("the last line does not end")
    for number, line in enumerate(text.splitlines(), 1):
        try:
            words = tokens(line)
            if not words:
                continue
            if line[0] != " ":
                section = _begin(words, actions, services)
            else:
                _continue(section, words)
        except ValueError as error:
            raise SyntaxErrorInLine(f"line {number}: {error}") from error
    return actions, services


def tokens(line):
    """The words of a line. Between quotes all is taken as it is; outside of them a backslash takes
    the next character as it is, but for those that it makes white space of."""
    words, at = [], 0
    while at < len(line):
        if line[at] == " ":
            at += 1
        elif line[at] == "#":
            break
        else:
            word, at = _token(line, at)
            words.append(_expanded(word))
    return words


def _token(line, at):
    word = ""
    while at < len(line) and line[at] != " ":
        if line[at] == '"':
            end = line.find('"', at + 1)
            _require(end >= 0, "a quote that does not end")
            word, at = word + line[at + 1:end], end + 1
        elif line[at] == "\\":
            _require(at + 1 < len(line), "a line that goes on")
            after = line[at + 1]
            word, at = word + {"n": "\n", "r": "\r", "t": "\t"}.get(after, after), at + 2
        else:
            word, at = word + line[at], at + 1
    return word, at


def _expanded(word):
    """A dollar stands for a property's value, two for one dollar."""
    _require(not re.search(r"(?<!\$)(\$\$)*\$(?!\$)", word), f"a property in {word}")
    return word.replace("$$", "$")


def _begin(words, actions, services):
    if words[0] == "on":
        return actions.setdefault(" ".join(_trigger(words[1:])), [])
    _require(words[0] == "service", f"no section: {words[0]}")
    _require(len(words) >= 3 and re.fullmatch(PATH, words[2]), "a service has a name and a path")
    # The state of another is told in a property that the vendor's side may not read.
    _require(re.fullmatch(r"vendor\.[\w-]+", words[1]), f"{words[1]} is no name for a vendor's service")
    _require(words[1] not in services, f"a second service {words[1]}")
    services[words[1]] = Service(words[2], words[3:])
    return services[words[1]]


def _trigger(words):
    """Of one event and of any number of properties."""
    parts = words[::2]
    _require(parts and words[1::2] == ["&&"] * (len(parts) - 1), f"no trigger: {words}")
    for part in parts:
        name, equals, value = part.removeprefix("property:").partition("=")
        if part.startswith("property:"):
            _require(equals and value, f"no value: {part}")
            _require(name.startswith(PROPERTIES), f"a vendor's file may not trigger on {name}")
        else:
            _require(part in TRIGGERS, f"no trigger: {part}")
    return words


def _continue(section, words):
    _require(section is not None, "outside of a section")
    name, arguments = words[0], words[1:]
    if not isinstance(section, Service):
        _check(COMMANDS, name, arguments)
        section.append(words)
    elif name == "onrestart":
        _require(arguments, "onrestart takes a command")
        _check(COMMANDS, arguments[0], arguments[1:])
        section.onrestart.append(arguments)
    else:
        _check(OPTIONS, name, arguments)
        _require(name not in section.options, f"a second {name}")
        section.options[name] = arguments


def _check(language, name, arguments):
    _require(name in language, f"unknown word: {name}")
    _require(len(arguments) == len(language[name]), f"{name} takes {len(language[name])} words")
    for pattern, word in zip(language[name], arguments):
        _require(re.fullmatch(pattern, word), f"{name} cannot take {word}")


def _require(condition, what):
    if not condition:
        raise ValueError(what)


# Seconds: what init waits for where a service does not say, and how long it remembers ends.
DEFAULT_PERIOD, WINDOW = 5, 240


def blames_an_update(period, runs, boot_completed):
    """Whether init, of Android 12 to 14, takes a service for the crash of an update. `runs`: how
    long the service lives, time after time, in seconds. A service that ends is started again when
    its period since the last start is over."""
    start, first, count = 100.0, 0.0, 0
    for run in runs:
        end = start + run
        if end < first + WINDOW or not boot_completed:
            count += 1
        else:
            first, count = end, 1
        if count > 4:
            return True
        start = max(end, start + period)
    return False
