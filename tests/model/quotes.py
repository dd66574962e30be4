"""The statements of the code that a model quotes, and whether they are still there.

    /* In FILE: SIGNATURE */      the function that the quotes below, down to the next such line, are of
    STEP;  /*> STATEMENT */       the statement that the step stands for
    STEP;  /*- WHY */             a step without one
"""

import re
from dataclasses import dataclass, field
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]
HEADING = re.compile(r"/\* In (\S+): (.*?) \*/$")
QUOTE = re.compile(r"/\*> (.*?) \*/")
# Lines that only say how steps hang together.
STRUCTURE = re.compile(r"(?:if|fi;?|do|od;?|:: else(?: ->(?: break)?)?|:: true ->|break|\};?|)$")


@dataclass
class Function:
    """What a model quotes of one function of the code."""
    file: str
    signature: str
    line: int
    quotes: list = field(default_factory=list)

    def __str__(self):
        return f"{self.file}: {self.signature}"


def plain(code):
    """C++ without comments, every run of white space as one space."""
    return " ".join(re.sub(r"//[^\n]*", "", code).split())


def body(code, signature):
    """The function's body in plain C++, or nothing."""
    start = code.find(plain(signature))
    if start < 0:
        return None
    begin = code.find("{", start)
    depth = 0
    for end in range(begin, len(code)):
        depth += {"{": 1, "}": -1}.get(code[end], 0)
        if depth == 0:
            return code[begin + 1:end]
    return None


def quoted_functions(model):
    functions = []
    for number, line in enumerate(model.read_text().splitlines(), 1):
        heading = HEADING.match(line.strip())
        if heading:
            functions.append(Function(heading[1], heading[2], number))
        for quote in QUOTE.findall(line):
            assert functions, f"{model.name}:{number}: a quote of no function"
            functions[-1].quotes.append(quote)
    return functions


def missing(function, code):
    """Those of the function's quotes that its body does not have, or not behind the one before."""
    text = body(plain(code), function.signature)
    if text is None:
        return [function.signature]
    gone = []
    position = 0
    for quote in function.quotes:
        found = re.compile(r"(?<!\w)" + re.escape(plain(quote))).search(text, position)
        if found:
            position = found.start() + 1
        else:
            gone.append(quote)
    return gone


def without_mistakes(lines, mistakes):
    """The numbered lines that are there when no mistake is planted."""
    kept, conditions = [], []
    for number, line in enumerate(lines, 1):
        if line.startswith("#if"):
            planted = any(re.search(rf"\b{name}\b", line) for name in mistakes)
            conditions.append({"planted": planted, "holds": not (planted and "#ifdef" in line)})
        elif line.startswith("#else"):
            conditions[-1]["holds"] ^= conditions[-1]["planted"]
        elif line.startswith("#endif"):
            conditions.pop()
        elif line.strip() and all(condition["holds"] for condition in conditions):
            kept.append((number, line))
    return kept


def unquoted_steps(model, mistakes):
    """The lines that stand for no statement although others of their block do. A line counts as
    quoted with the line that it is indented under."""
    blocks, block = [], None
    for number, line in without_mistakes(model.read_text().splitlines(), mistakes):
        if re.match(r"(inline|proctype) ", line):
            block = []
            blocks.append(block)
        elif line.startswith("}"):
            block = None
        elif block is not None:
            block.append((number, line))
    found = []
    for block in blocks:
        if not any(QUOTE.search(line) for _, line in block):
            continue
        parents = []
        for number, line in block:
            indent = len(line) - len(line.lstrip())
            while parents and parents[-1][0] >= indent:
                parents.pop()
            covered = "/*>" in line or "/*-" in line or any(mark for _, mark in parents)
            step = re.sub(r"/\*.*?\*/", "", line).strip()
            declares = re.match(r"(bool|byte|short) ", step)
            if not covered and not declares and not STRUCTURE.match(step) and not line.strip(
                    ).startswith("/*") and not line.strip().endswith("*/"):
                found.append(f"{model.name}:{number}: {line.strip()}")
            parents.append((indent, covered))
    return found
