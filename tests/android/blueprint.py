"""Reads the Blueprint file, as its formatter lays it out."""

import re
from pathlib import Path

ANDROID = Path(__file__).resolve().parents[2] / "android"
FILE = ANDROID / "Android.bp"


def modules():
    """{name: (kind, {property: text or list of texts})}"""
    found = {}
    for kind, body in re.findall(r"^(\w+) \{\n(.*?)^\}", FILE.read_text(), re.MULTILINE | re.DOTALL):
        properties = _properties(body)
        found[properties["name"]] = (kind, properties)
    return found


def _properties(body):
    one_line = re.findall(r"^    (\w+): (.*),$", body, re.MULTILINE)
    lists = re.findall(r"^    (\w+): \[\n(.*?)^    \],$", body, re.MULTILINE | re.DOTALL)
    return {name: _value(text) for name, text in one_line} | {
        name: re.findall(r'"(.*)"', text) for name, text in lists}


def _value(text):
    texts = re.findall(r'"(.*?)"', text)
    if text.startswith("["):
        return texts
    return texts[0] if texts else text == "true"
