"""Reads Blueprint files, as their formatter lays them out."""

import re
from pathlib import Path

ANDROID = Path(__file__).resolve().parents[2] / "android"
FILE = ANDROID / "Android.bp"
PHONE = ANDROID / "phone" / "Android.bp"


def modules(file=FILE):
    """{name: (kind, {property: text or list of texts})}; a kind without a name is its own."""
    found = {}
    for kind, body in re.findall(r"^(\w+) \{\n(.*?)^\}", file.read_text(), re.MULTILINE | re.DOTALL):
        properties = _properties(body)
        found[properties.get("name", kind)] = (kind, properties)
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
