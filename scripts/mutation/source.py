"""C++ as far as planting a mistake needs it: tokens without comments, and the statements of each block."""

import re
from dataclasses import dataclass

TOKEN = re.compile(
    r"""
    (?P<comment>   //[^\n]* | /\*.*?\*/ )
  | (?P<directive> ^[ \t]*\#(?:[^\n]*\\\n)*[^\n]* )
  | (?P<number>    \d[\w.']* )
  | (?P<text>      R"\(.*?\)" | "(?:\\.|[^"\\\n])*" | '(?:\\.|[^'\\\n])+' )
  | (?P<word>      [A-Za-z_]\w* )
  | (?P<sign>      -> | \+\+ | -- | && | \|\| | :: | << | >> | [-<>=!+*/%&|^]= | [^\s\w] )
    """,
    re.VERBOSE | re.MULTILINE | re.DOTALL,
)
CLOSING = {"(": ")", "[": "]", "{": "}"}
# What stands before the brace of a function's body or of a block, but not before a class or a list.
BEFORE_BLOCK = {")", "]", "const", "override", "noexcept", "else", "do", "try"}
WITH_BODY = {"if", "while", "for", "switch"}


@dataclass(frozen=True)
class Token:
    kind: str
    text: str
    start: int

    @property
    def end(self):
        return self.start + len(self.text)


@dataclass(frozen=True)
class Statement:
    """Tokens `first` to `last`, both included. A simple one ends in a semicolon and has no body."""

    first: int
    last: int
    simple: bool


class Source:
    def __init__(self, text):
        self.text = text
        self.tokens = [
            Token(found.lastgroup, found.group(), found.start())
            for found in TOKEN.finditer(text)
            if found.lastgroup not in ("comment", "directive")
        ]
        self.partner = self._partners()

    def is_spaced(self, index):
        """Binary operators have white space on both sides, brackets of templates and pointers have not."""
        token = self.tokens[index]
        return self.text[token.start - 1].isspace() and self.text[token.end].isspace()

    def piece(self, first, last):
        return self.text[self.tokens[first].start : self.tokens[last].end]

    def blocks(self):
        """The statements of every block, those that stand alone under an `if` or a loop included."""
        inside = set()
        for index, token in enumerate(self.tokens):
            if token.text != "{" or index == 0:
                continue
            before = self.tokens[index - 1].text
            bare = before in ("{", "}", ";") and self._opener_of(index) in inside
            if before in BEFORE_BLOCK or bare:
                inside.add(index)
                yield from self._statements(index + 1, self.partner[index])

    def is_declaration(self, statement):
        """Two names in a row, as in `Type name`, ahead of anything that an expression would need."""
        for index in range(statement.first, statement.last):
            token, following = self.tokens[index], self.tokens[index + 1]
            if token.text in ("=", "(", ".", "->", "++", "--", "delete", "return"):
                return False
            named = token.kind == "word" or token.text in (">", "*", "&")
            if named and token.text != "const" and following.kind == "word":
                return True
        return False

    def _partners(self):
        partner, opened = {}, []
        for index, token in enumerate(self.tokens):
            if token.text in CLOSING:
                opened.append(index)
            elif opened and token.text == CLOSING[self.tokens[opened[-1]].text]:
                partner[opened.pop()] = index
        return partner

    def _opener_of(self, index):
        return max((i for i, end in self.partner.items() if i < index < end), default=None)

    def _statements(self, index, end):
        found = []
        nested = []
        while index < end:
            statement = self._statement(index, nested)
            found.append(statement)
            index = statement.last + 1
        yield found
        for statement in nested:
            yield [statement]

    def _statement(self, index, nested):
        first, head = index, self.tokens[index].text
        if head == "{":
            return Statement(first, self.partner[index], False)
        if head in WITH_BODY:
            last = self._body(self.partner[index + 1] + 1, nested)
            if self.tokens[last + 1].text == "else":
                last = self._body(last + 2, nested)
            return Statement(first, last, False)
        if head == "try":
            last = self.partner[index + 1]
            while self.tokens[last + 1].text == "catch":
                last = self.partner[self.partner[last + 2] + 1]
            return Statement(first, last, False)
        if head == "do":
            last = self._body(index + 1, nested)
            return Statement(first, self.partner[last + 2] + 1, False)
        while self.tokens[index].text != ";":
            index = self.partner.get(index, index) + 1
        return Statement(first, index, True)

    def _body(self, index, nested):
        body = self._statement(index, nested)
        if body.simple:
            nested.append(body)
        return body.last
