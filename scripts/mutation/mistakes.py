"""The small mistakes that can be made in a source."""

import re
from dataclasses import dataclass

from mutation.source import Source

OTHER_SIGN = {
    "<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==",
    "&&": "||", "||": "&&",
    "+": "-", "-": "+", "*": "/", "/": "*", "%": "/", "+=": "-=", "-=": "+=",
}  # fmt: skip
OTHER_TOKEN = {"++": "--", "--": "++", "true": "false", "false": "true", "min": "max", "max": "min"}
# Already nothing, or a mistake of its own kind.
# Hardly ever does it matter where such a name begins, as long as that is ahead of its uses.
PLAIN_DECLARATION = re.compile(r"\w( = (\d+|true|false|nullptr))?;$")
PLAIN_RESULT = re.compile(r"return (?:[\d']+|true|false|nullptr|std::nullopt|\{\});")


@dataclass(frozen=True)
class Mistake:
    path: str
    kind: str
    start: int
    end: int
    replacement: str
    text: str  # of the whole source, without the mistake

    @property
    def line(self):
        return self.text.count("\n", 0, self.start) + 1

    def planted(self):
        return self.text[: self.start] + self.replacement + self.text[self.end :]

    def diff(self):
        """The lines that change, with one before and one after them, each behind its mark."""
        first = self.text.count("\n", 0, self.start)
        last = self.text.count("\n", 0, self.end)
        old, new = self.text.split("\n"), self.planted().split("\n")
        tail = len(old) - last - 1
        marked = [(" ", old[max(first - 1, 0) : first]), ("-", old[first : last + 1])]
        marked += [("+", new[first : len(new) - tail]), (" ", old[last + 1 : last + 2])]
        return [mark + line for mark, lines in marked for line in lines if line.strip()]

    def key(self):
        """What a list names this mistake by: stays when the lines around it move or are indented anew."""
        return (self.path, *(line[0] + line[1:].strip() for line in self.diff()))


def mistakes_in(path, text):
    source = Source(text)

    def mistake(kind, first, last, replacement):
        start, end = source.tokens[first].start, source.tokens[last].end
        return Mistake(path, kind, start, end, replacement, text)

    for index, token in enumerate(source.tokens):
        for kind, last, replacement in _at_token(source, index, token):
            yield mistake(kind, index, last, replacement)
    for statements in source.blocks():
        for statement in statements:
            if _can_go(source, statement):
                yield mistake("statement dropped", statement.first, statement.last, ";")
        for one, next_one in zip(statements, statements[1:]):
            if _can_swap(source, one, next_one):
                a, b = source.piece(one.first, one.last), source.piece(next_one.first, next_one.last)
                between = text[source.tokens[one.last].end : source.tokens[next_one.first].start]
                yield mistake("neighbours swapped", one.first, next_one.last, b + between + a)


def _at_token(source, index, token):
    """Kind, last token and replacement of each mistake that begins at this token."""
    if token.kind == "sign" and token.text in OTHER_SIGN and source.is_spaced(index):
        if source.tokens[index - 1].text != "template":
            yield "operator", index, OTHER_SIGN[token.text]
    elif token.text in OTHER_TOKEN:
        yield "other way round", index, OTHER_TOKEN[token.text]
    elif token.text == "!":
        yield "condition negated", index, ""
    elif token.kind == "number" and re.fullmatch(r"[\d']+[uU]?", token.text):
        value = int(re.sub(r"\D", "", token.text))
        yield "constant", index, str(value + 1)
        yield "constant", index, str(value - 1) if value else "-1"
    elif token.text in ("if", "while") and source.tokens[index + 1].text == "(":
        condition = source.piece(index + 1, source.partner[index + 1])
        yield "condition negated", source.partner[index + 1], f"{token.text} (!{condition})"
    elif token.text == "return":
        last = index
        while source.tokens[last].text != ";":
            last = source.partner.get(last, last) + 1
        if last > index + 1 and not PLAIN_RESULT.fullmatch(source.piece(index, last)):
            yield "return value", last, "return {};"
            yield "return value", last, f"return !({source.piece(index + 1, last - 1)});"


def _can_go(source, statement):
    head = source.tokens[statement.first].text
    if head == "return":
        return statement.last == statement.first + 1
    return head != "using"


def _can_swap(source, one, other):
    if source.tokens[other.first].text in ("return", "break", "continue"):
        return False
    texts = [source.piece(each.first, each.last) for each in (one, other)]
    if texts[0] == texts[1]:
        return False
    declared = [text for each, text in zip((one, other), texts) if source.is_declaration(each)]
    return len(declared) < 2 and not any(PLAIN_DECLARATION.search(text) for text in declared)
