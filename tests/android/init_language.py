"""The part of init's language that our files use: anything else is an error."""

import re
from dataclasses import dataclass, field

NAME = r"[A-Za-z][\w-]*"
PATH = r"(/[\w.-]+)+"
MODE = r"0[0-7]{3}"
USER = r"root|system"

TRIGGERS = {"post-fs-data", "boot"}
COMMANDS = {
    "chown": [USER, USER, PATH],
    "mkdir": [PATH, MODE, USER, USER],
}
OPTIONS = {
    "capabilities": [],  # with none named all are dropped
    "class": [r"core|main|hal|late_start"],
    "group": [USER],
    "oom_score_adjust": [r"-1000|-?[1-9]\d{0,2}|0|1000"],
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


def parse(text):
    """Returns the commands of each trigger, and the services by their names."""
    actions, services = {}, {}
    section = None
    if text and not text.endswith("\n"):
        raise SyntaxErrorInLine("the last line does not end")
    for number, line in enumerate(text.splitlines(), 1):
        words = line.split()
        if not words or words[0].startswith("#"):
            continue
        try:
            if line[0] != " ":
                section = _begin(words, actions, services)
            else:
                _continue(section, words)
        except ValueError as error:
            raise SyntaxErrorInLine(f"line {number}: {error}") from error
    return actions, services


def _begin(words, actions, services):
    if words[0] == "on":
        _require(len(words) == 2 and words[1] in TRIGGERS, f"no trigger: {words[1:]}")
        return actions.setdefault(words[1], [])
    _require(words[0] == "service", f"no section: {words[0]}")
    _require(len(words) >= 3 and re.fullmatch(NAME, words[1]) and re.fullmatch(PATH, words[2]),
             "a service has a name and a path")
    _require(words[1] not in services, f"a second service {words[1]}")
    services[words[1]] = Service(words[2], words[3:])
    return services[words[1]]


def _continue(section, words):
    _require(section is not None, "outside of a section")
    name, arguments = words[0], words[1:]
    if isinstance(section, Service):
        _check(OPTIONS, name, arguments)
        _require(name not in section.options, f"a second {name}")
        section.options[name] = arguments
    else:
        _check(COMMANDS, name, arguments)
        section.append(words)


def _check(language, name, arguments):
    _require(name in language, f"unknown word: {name}")
    _require(len(arguments) == len(language[name]), f"{name} takes {len(language[name])} words")
    for pattern, word in zip(language[name], arguments):
        _require(re.fullmatch(pattern, word), f"{name} cannot take {word}")


def _require(condition, what):
    if not condition:
        raise ValueError(what)
