# SPDX-License-Identifier: LGPL-2.1-or-later
"""The small faults that can be made in a C++ source, one at a time.

A source is read as tokens, laid out as clang-format lays it out: an operator between two values has
space on both sides, and the bracket of a template has not.
"""

import re
from dataclasses import dataclass

TOKEN = re.compile(
    r"""
      (?P<skipped> \s+ | //[^\n]* | /\*.*?\*/ )
    | (?P<directive> ^[ ]*\#(?:\\\n|[^\n])* )
    | (?P<string> R"(?P<mark>[^(]*)\(.*?\)(?P=mark)" | "(?:\\.|[^"\\])*" )
    | (?P<character> '(?:\\.|[^'\\])+' )
    | (?P<number> \d(?:'?[\w.])* )
    | (?P<word> [A-Za-z_]\w* )
    | (?P<sign> <<= | >>= | -> | :: | <= | >= | == | != | && | \|\| | \+\+ | -- | \+= | -= | << | >>
        | . )
    """,
    re.VERBOSE | re.DOTALL | re.MULTILINE,
)
BRACKETS = {"(": ")", "{": "}", "[": "]"}

# What stands between two values, and what may stand there in its place.
BETWEEN_VALUES = {
    "<": ["<=", ">="],
    "<=": ["<", ">"],
    ">": [">=", "<="],
    ">=": [">", "<"],
    "==": ["!="],
    "!=": ["=="],
    "&&": ["||"],
    "||": ["&&"],
    "+": ["-"],
    "-": ["+"],
    "+=": ["-="],
    "-=": ["+="],
    "&": ["|"],
    "|": ["&"],
    "<<": [">>"],
    ">>": ["<<"],
}
JUDGEMENTS = {"<", "<=", ">", ">=", "==", "!=", "&&", "||", "!"}
OPPOSITES = {"true": "false", "false": "true", "++": "--", "--": "++"}


@dataclass(frozen=True, order=True)
class Fault:
    """A part of a source, from one offset to another, and what stands there instead."""

    file: str
    start: int
    end: int
    after: str
    line: int
    column: int
    before: str

    def __str__(self):
        place = f"{self.file}:{self.line}:{self.column}"
        return f"{place} '{one_line(self.before)}' -> '{one_line(self.after)}'"

    def in_text(self, text):
        return text[: self.start] + self.after + text[self.end :]


@dataclass(frozen=True)
class Token:
    kind: str
    text: str
    start: int
    end: int


def one_line(text):
    return " ".join(text.split())


def tokens_of(text):
    tokens = []
    for match in TOKEN.finditer(text):
        if match.lastgroup not in ("skipped", "directive"):
            kind = "string" if match["string"] else match.lastgroup
            tokens.append(Token(kind, match.group(), match.start(), match.end()))
    return tokens


def closing(tokens, opening):
    """The index of the bracket that closes the one at an index."""
    depth = 0
    for index in range(opening, len(tokens)):
        if tokens[index].kind == "sign":
            depth += (tokens[index].text in BRACKETS) - (tokens[index].text in BRACKETS.values())
        if depth == 0:
            return index
    raise ValueError(f"'{tokens[opening].text}' is not closed")


def without_declarative(tokens):
    """Without what only the compiler reads."""
    kept = []
    index = 0
    while index < len(tokens):
        texts = [token.text for token in tokens[index : index + 2]]
        if texts == ["static_assert", "("]:
            index = closing(tokens, index + 1)
        elif texts == ["[", "["]:
            index = closing(tokens, index)
        elif texts == ["extern", '"C"'] or texts[0] == "operator":
            index += 1
        else:
            kept.append(tokens[index])
        index += 1
    return kept


def other_number(text):
    """One more, and one less where that is none below zero."""
    match = re.fullmatch(r"(0[xX])?([0-9a-fA-F']+?)([uUlLzZ]*)", text)
    if not match or (not match[1] and not re.fullmatch(r"[\d']+", match[2])):
        return []
    digits = match[2].replace("'", "")
    octal = not match[1] and len(digits) > 1 and digits[0] == "0"
    number = int(digits, 16 if match[1] else 8 if octal else 10)
    form = "0x{:x}{}" if match[1] else "0{:o}{}" if octal else "{}{}"
    return [form.format(other, match[3]) for other in (number + 1, number - 1) if other >= 0]


def other_character(text):
    escapes = {r"'\0'": "'0'", r"'\n'": r"'\r'", r"'\r'": r"'\n'", r"'\''": "'\"'", r"'\\'": "'/'"}
    if text in escapes:
        return [escapes[text]]
    if len(text) == 3 and text[1].isascii():
        return (
            ["'!'" if text != "'!'" else "'?'"]
            if not text[1].isalnum()
            else [f"'{other(text[1])}'"]
        )
    return []


def other(letter):
    """A letter or digit of the same kind."""
    return {"z": "a", "Z": "A", "9": "0"}.get(letter, chr(ord(letter) + 1))


def other_strings(text):
    """With its middle letter changed, and empty."""
    if text.startswith("R"):
        return []
    # What follows "%" or "\" is part of a conversion or escape.
    letters = [match.end() - 1 for match in re.finditer(r"(?<![%\\])[A-Za-z0-9]", text)]
    changed = []
    if letters:
        place = letters[len(letters) // 2]
        changed.append(text[:place] + other(text[place]) + text[place + 1 :])
    return changed + ['""'] * (text != '""')


class Source:
    """The faults of one source."""

    def __init__(self, name, text):
        self.name = name
        self.text = text
        self.tokens = without_declarative(tokens_of(text))

    def faults(self):
        found = set()
        for index, token in enumerate(self.tokens):
            for first, last, after in [
                *((token, token, after) for after in self.other_token(index)),
                *self.other_statement(index),
            ]:
                found.add(self.fault(first, last, after))
        return sorted(found)

    def fault(self, first, last, after):
        above = self.text[: first.start].split("\n")
        before = self.text[first.start : last.end]
        place = len(above), len(above[-1]) + 1
        return Fault(self.name, first.start, last.end, after, *place, before)

    def stands_between_values(self, index):
        token = self.tokens[index]
        around = self.text[token.start - 1] + self.text[token.end]
        return around.isspace() and self.tokens[index - 1].text != "template"

    def other_token(self, index):
        token = self.tokens[index]
        if token.text in OPPOSITES:
            return [OPPOSITES[token.text]]
        if token.text in BETWEEN_VALUES:
            return BETWEEN_VALUES[token.text] if self.stands_between_values(index) else []
        if token.text == "!":
            return [""]
        kinds = {"number": other_number, "character": other_character, "string": other_strings}
        return kinds[token.kind](token.text) if token.kind in kinds else []

    def other_statement(self, index):
        token = self.tokens[index]
        if token.text in ("if", "while") and self.tokens[index + 1].text == "(":
            yield from self.forced_condition(index)
        elif token.text in ("break", "continue") and self.tokens[index + 1].text == ";":
            yield token, token, ""
        elif token.text == "return":
            yield from self.other_return(index)
        elif self.tokens[index - 1].text in (";", "{", "}", ")", "else"):
            yield from self.dropped_statement(index)

    def forced_condition(self, index):
        last = closing(self.tokens, index + 1) - 1
        inside = self.tokens[index + 2 : last + 1]
        starts = [place for place, token in enumerate(inside) if token.text == ";"]
        condition = inside[starts[-1] + 1 :] if starts else inside
        # What the condition declares may be needed behind it.
        if any(token.text == "=" for token in condition):
            return
        # A loop without end is found by waiting, which shows nothing.
        for forced in ("false",) if self.tokens[index].text == "while" else ("true", "false"):
            yield condition[0], condition[-1], forced

    def end_of_statement(self, index):
        """The semicolon, or the bracket that ends the head of a loop."""
        while self.tokens[index].text not in (";", ")", "}"):
            if self.tokens[index].text in BRACKETS:
                index = closing(self.tokens, index)
            index += 1
        return index

    def other_return(self, index):
        end = self.end_of_statement(index)
        value = self.tokens[index + 1 : end]
        if not value:
            yield self.tokens[index], self.tokens[index], ""
        elif [token.text for token in value] != ["{", "}"] and (
            len(value) > 1 or value[0].kind == "word" and value[0].text not in OPPOSITES
        ):
            if value[0].text != "nullptr":
                yield value[0], value[-1], "{}"
            if any(token.text in JUDGEMENTS for token in value):
                yield value[0], value[-1], "true"

    def dropped_statement(self, index):
        """A call whose result nobody uses, or an assignment."""
        place = index
        while (
            self.tokens[place].text in ("::", ".", "->", "*") or self.tokens[place].kind == "word"
        ):
            if self.is_word(place) and self.is_word(place + 1):
                return  # a declaration
            place += 1
            if self.tokens[place].text == "[":
                place = closing(self.tokens, place) + 1
        if place == index:
            return
        if self.tokens[place].text == "(":
            end = closing(self.tokens, place) + 1
            while self.tokens[end].text in (".", "->") and self.tokens[end + 2].text == "(":
                end = closing(self.tokens, end + 2) + 1
        elif self.tokens[place].text in ("=", "+=", "-=", "++", "--"):
            end = self.end_of_statement(place)
        else:
            return
        if self.tokens[end].text == ";":
            yield self.tokens[index], self.tokens[end - 1], ""

    def is_word(self, index):
        return self.tokens[index].kind == "word"
