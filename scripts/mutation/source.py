"""A C++ source as brackets and tokens. The tokens are clang's, so that what looks like code in a comment or a literal
is none; the rest is told from how clang-format lays the sources out."""

import dataclasses
import re
import subprocess

CLANG = "clang-14"
_TOKEN = re.compile(rb"^(\w+) '.*?Loc=<.*?:(\d+):(\d+)>", re.M | re.S)
_DIRECTIVE = re.compile(r"^[ \t]*#(?:[^\n\\]|\\.)*\n", re.M | re.S)
_OPEN, _CLOSE = ("(", "[", "{"), (")", "]", "}")


@dataclasses.dataclass
class Token:
    kind: str  # "word", "number", "string", "character" or "sign"
    text: str
    begin: int  # offsets in the text
    end: int
    spaced: bool  # on both sides


def read(path):
    """A character a byte, so that offsets are the lexer's, and nothing is lost on the way back."""
    return path.read_bytes().decode("latin-1")


def write(path, text):
    path.write_bytes(text.encode("latin-1"))


class Source:
    def __init__(self, text):
        self.text = text
        self.tokens = _tokens(text)
        self.closing = _closing(self.tokens)  # the index of the closing bracket by that of the opening one
        self.opening = {last: first for first, last in self.closing.items()}
        self.enclosing = _enclosing(self.tokens, self.closing)  # the opening bracket around each token, or None

    def slice(self, part):
        """The text of some tokens, given by the first one's index and the one behind the last."""
        return self.text[self.tokens[part[0]].begin:self.tokens[part[1] - 1].end]

    def texts(self, first, last):
        return [token.text for token in self.tokens[first:last]]

    def is_operator(self, index):
        """A template's "<" and a reference's "&" have a blank on one side at the most."""
        token = self.tokens[index]
        return token.kind == "sign" and token.spaced and self.tokens[index - 1].text not in ("operator", "template")

    def is_argument(self, first, last):
        around = self.enclosing[first]
        return (around is not None and self.tokens[around].text == "(" and self.tokens[first - 1].text in ("(", ",")
                and self.tokens[last].text in (")", ","))

    def called(self, opening):
        """The word that is called with these brackets, if one is."""
        index = opening - 1
        if self.tokens[index].text == ">" and not self.tokens[index].spaced:
            depth = 0
            while depth or self.tokens[index].text == ">":
                depth += {">": 1, "<": -1}.get(self.tokens[index].text, 0)
                index -= 1
        ends = self.tokens[opening - 1].end == self.tokens[opening].begin
        return self.tokens[index].text if self.tokens[index].kind == "word" and ends else ""

    def split(self, opening, separator):
        """The parts between a pair of brackets."""
        parts, begin, index, angles = [], opening + 1, opening + 1, 0
        while index < self.closing[opening]:
            token = self.tokens[index]
            if index in self.closing:
                index = self.closing[index]
            elif token.text == "<" and not token.spaced:
                angles += 1
            elif token.text in (">", ">>") and not token.spaced and angles:
                angles -= len(token.text)
            elif token.text == separator and angles <= 0:
                parts.append((begin, index))
                begin = index + 1
            index += 1
        return parts + [(begin, index)]

    def function_bodies(self):
        """The outermost pairs of braces that stand in nothing but namespaces and classes."""
        index, head = 0, 0
        while index < len(self.tokens):
            text = self.tokens[index].text
            if text == "template" and self.tokens[index + 1].text == "<":
                index = head = self._behind_template(index + 1)
                continue
            if text == "{" and index in self.closing:
                words = set(self.texts(head, index))
                if not words & {"namespace", "class", "struct", "enum", "union", "extern"} or (
                        "(" in words and not words & {"namespace", "enum"}):
                    yield index, self.closing[index]
                    index = self.closing[index]
            if text in ("{", ";", "}"):
                head = index + 1
            index += 1

    def _behind_template(self, index):
        depth = 0
        while True:
            text = self.tokens[index].text
            depth += text == "<"
            depth -= len(text) if text in (">", ">>") else 0
            index += 1
            if depth <= 0:
                return index


def _tokens(text):
    """Without what stands in preprocessor lines, and what is compiled for Windows only."""
    raw = text.encode("latin-1")
    starts = [0]
    for line in raw.split(b"\n"):
        starts.append(starts[-1] + len(line) + 1)
    places = [(name.decode(), starts[int(line) - 1] + int(column) - 1)
              for name, line, column in _TOKEN.findall(_dump(raw))]
    ends = [offset for _, offset in places[1:]] + [len(raw)]
    directives = list(_DIRECTIVE.finditer(text))
    hidden = [match.span() for match in directives] + list(_windows_only(directives))
    return [_token(name, text, begin, end) for (name, begin), end in zip(places, ends)
            if name not in ("unknown", "comment", "eof") and not any(first <= begin < last for first, last in hidden)]


def _windows_only(directives):
    """The parts between directives that no native build compiles."""
    open_, begin = [], 0
    for directive in directives:
        words = directive[0].split()
        if "Windows" in open_:
            yield begin, directive.start()
        if words[0].startswith("#if"):
            about = re.search(r"\b_WIN32\b", directive[0])
            without = words[0] == "#ifndef" or "!defined(_WIN32)" in directive[0]
            open_.append("" if not about else "native" if without else "Windows")
        elif words[0] == "#else":
            open_.append({"native": "Windows", "Windows": "native"}.get(open_.pop(), ""))
        elif words[0] == "#endif":
            open_.pop()
        begin = directive.end()


def _dump(raw):
    return subprocess.run([CLANG, "-cc1", "-x", "c++", "-std=c++20", "-dump-raw-tokens", "-"], input=raw,
                          capture_output=True, check=True).stderr


def _token(name, text, begin, end):
    body = text[begin:end].rstrip()
    end = begin + len(body)
    spaced = begin > 0 and text[begin - 1].isspace() and text[end:end + 1].isspace()
    return Token(_kind(name), body, begin, end, spaced)


def _kind(name):
    if name == "raw_identifier":
        return "word"
    if name == "numeric_constant":
        return "number"
    if name.endswith("string_literal"):
        return "string"
    return "character" if name.endswith("char_constant") else "sign"


def _closing(tokens):
    pairs, stack = {}, []
    for index, token in enumerate(tokens):
        if token.kind == "sign" and token.text in _OPEN:
            stack.append(index)
        elif token.kind == "sign" and token.text in _CLOSE and stack:
            pairs[stack.pop()] = index
    return pairs


def _enclosing(tokens, closing):
    around, stack, ends = [], [None], set(closing.values())
    for index in range(len(tokens)):
        if index in ends:
            stack.pop()
        around.append(stack[-1])
        if index in closing:
            stack.append(index)
    return around
