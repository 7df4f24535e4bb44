"""Where a source can be broken in a small way, and how: the text between two offsets, and what is put in its place.

What is found wrongly doesn't compile as a rule, and is drawn again.
"""

import dataclasses
import hashlib
import re

from mutation.source import Source

KINDS = ("comparison", "boundary", "constant", "arithmetic", "condition", "statement", "arguments", "letter", "flag")

_OPPOSITE = {"==": "!=", "!=": "==", "<": ">=", ">": "<=", "<=": ">", ">=": "<"}
_NEIGHBOUR = {"<": "<=", "<=": "<", ">": ">=", ">=": ">"}
_ARITHMETIC = {"+": "-", "-": "+", "*": "/", "/": "*", "%": "/", "+=": "-=", "-=": "+=", "<<=": ">>=", ">>=": "<<="}
_STEP = {"++": "--", "--": "++"}
_BITS = {"|": "&", "&": "|", "|=": "&=", "&=": "|=", "^": "|"}
_NOT_CALLED = {"", "if", "for", "while", "switch", "catch", "return", "sizeof", "decltype", "alignof", "noexcept", "requires",
               "static_assert", "throw", "operator", "alignas", "constexpr",
               "swap", "max", "min"}  # the same in any order
_NO_STATEMENT = {"return", "case", "default", "using", "if", "for", "while", "do", "switch", "try", "else", "catch",
                 "public", "private", "protected", "static_assert", "typedef", "template", "friend", "namespace",
                 "class", "struct", "enum", "constexpr", "const", "static", "auto"}
_INTEGER = re.compile(r"(0[xX][0-9a-fA-F']+|[0-9][0-9']*)([uUlLzZ]*)")
_LETTER = re.compile(r"\\(?:x[0-9a-fA-F]+|u[0-9a-fA-F]{4}|U[0-9a-fA-F]{8}|[0-7]{1,3}|.)|[^\\]")


@dataclasses.dataclass
class Break:
    id: str
    file: str
    line: int
    kind: str
    before: str  # with a little of the line around it
    after: str
    begin: int
    end: int
    put: str

    def apply(self, text):
        """Each line keeps its number, which some tests ask for."""
        lines = text.count("\n", self.begin, self.end) - self.put.count("\n")
        return text[:self.begin] + self.put + "\n" * max(lines, 0) + text[self.end:]


def find(file, text):
    """All breaks of a file, in the order of the text. An id stays as long as the lines that are touched, and the
    number of their likes above, stay."""
    source = Source(text)
    spans = []
    for finder in (_operators, _constants, _conditions, _statements, _arguments, _letters, _flags):
        spans += finder(source)
    breaks, seen, likes = [], set(), {}
    for kind, begin, end, put in sorted(spans, key=lambda span: (span[1], span[2], KINDS.index(span[0]), span[3])):
        if (begin, end, put) not in seen and text[begin:end] != put:
            seen.add((begin, end, put))
            breaks.append(_break(file, text, kind, begin, end, put, likes))
    return breaks


def _break(file, text, kind, begin, end, put, likes):
    first, last = text.rfind("\n", 0, begin) + 1, text.find("\n", end)
    lines = " ".join(text[first:last].split())
    column = len(" ".join(text[first:begin].split()))
    above = likes.setdefault(lines, [])
    if first not in above:
        above.append(first)
    name = "\0".join([file, kind, lines, str(above.index(first)), str(column), text[begin:end], put])
    left, right = text[max(first, begin - 24):begin].lstrip(), text[end:min(last, end + 16)].rstrip()
    return Break(hashlib.sha1(name.encode()).hexdigest()[:10], file, text.count("\n", 0, begin) + 1, kind,
                 _short(left + text[begin:end] + right), _short(left + put + right), begin, end, put)


def _short(text):
    text = " ".join(text.split())
    return text if len(text) <= 120 else text[:80] + " ... " + text[-35:]


def _operators(source):
    for index, token in enumerate(source.tokens):
        if token.text in _STEP and source.tokens[index - 1].text != "operator":
            yield "arithmetic", token.begin, token.end, _STEP[token.text]
        if not source.is_operator(index):
            continue
        for kind, table in (("comparison", _OPPOSITE), ("boundary", _NEIGHBOUR), ("arithmetic", _ARITHMETIC)):
            if token.text in table:
                yield kind, token.begin, token.end, table[token.text]
        if token.text in ("<<", ">>") and source.tokens[index + 1].kind == "number":
            yield "arithmetic", token.begin, token.end, "<<" if token.text == ">>" else ">>"


def _constants(source):
    for index, token in enumerate(source.tokens):
        number = _INTEGER.fullmatch(token.text)
        pure = source.texts(index - 1, index) == ["="] and source.tokens[index - 2].text in (")", "const", "noexcept")
        if number and not pure:
            digits, suffix = number.groups()
            is_hex = digits[:2] in ("0x", "0X")
            value = int(digits.replace("'", ""), 16 if is_hex else 10)
            for other in sorted({value + 1, max(value - 1, 0)}):
                text = f"{other:#0{len(digits)}x}" if is_hex else str(other)
                yield "constant", token.begin, token.end, text + suffix
        elif token.text in ("true", "false") and not source.is_argument(index, index + 1):
            yield "constant", token.begin, token.end, "false" if token.text == "true" else "true"


def _conditions(source):
    for index, token in enumerate(source.tokens):
        if token.text in ("if", "while") and source.tokens[index + 1].text == "(":
            first, last = source.split(index + 1, ";")[-1]
            if "=" not in source.texts(first, last) and first < last:
                for put in ("false", "true") if token.text == "if" else ("false",):
                    yield "condition", source.tokens[first].begin, source.tokens[last - 1].end, put
        elif token.text == "for" and len(parts := source.split(index + 1, ";")) == 3 and parts[1][0] < parts[1][1]:
            yield "condition", source.tokens[parts[1][0]].begin, source.tokens[parts[1][1] - 1].end, "false"
        elif token.text in ("&&", "||") and source.is_operator(index):
            yield "condition", token.begin, token.end, "||" if token.text == "&&" else "&&"
        elif token.text == "!":
            yield "condition", token.begin, token.end, ""


def _statements(source):
    tokens = source.tokens
    for first, last in source.function_bodies():
        for index in range(first + 1, last):
            if not _begins_statement(source, index):
                continue
            end = index
            while end < last and tokens[end].text not in (";", "}"):
                end = source.closing.get(end, end) + 1
            if end < last and tokens[end].text == ";" and not _is_declaration(source, index, end, last):
                yield "statement", tokens[index].begin, tokens[end].begin, ""


def _begins_statement(source, index):
    token, before = source.tokens[index], source.tokens[index - 1].text
    if token.text in _NO_STATEMENT and not (token.text == "return" and source.tokens[index + 1].text == ";"):
        return False
    if token.kind != "word" and token.text not in ("*", "++", "--", "(", "::"):
        return False
    around = source.enclosing[index]
    if around is None or source.tokens[around].text != "{":
        return False
    if before == ")":
        return source.tokens[source.opening[index - 1] - 1].text in ("if", "for", "while", "constexpr")
    return before in (";", "{", "}", "else", "do")


def _is_declaration(source, index, end, last):
    """Of a name that is used further down, up to `last`: without it, the rest wouldn't compile. One that isn't used is
    there for what its destructor does."""
    texts = source.texts(index, end)
    if "=" in texts:
        left = source.slice((index, index + texts.index("=")))
        return re.fullmatch(r"[*(]*[\w:]+(?:(?:\.|->)\w+|\[.*\]|\(.*\)|\))*", left) is None
    declared = re.match(r"[\w:]+(?:<.*?>)?[*&]* (\w+)(?=$|[({\[])", source.slice((index, end)), re.S)
    return bool(declared) and texts[0] != "throw" and declared[1] in source.texts(end, last)


def _arguments(source):
    for first, last in source.function_bodies():
        for index in range(first + 1, last):
            if source.tokens[index].text != "(" or source.called(index) in _NOT_CALLED:
                continue
            parts = [part for part in source.split(index, ",") if part[0] < part[1]]
            for left, right in zip(parts, parts[1:]):
                between = source.text[source.tokens[left[1] - 1].end:source.tokens[right[0]].begin]
                yield ("arguments", source.tokens[left[0]].begin, source.tokens[right[1] - 1].end,
                       source.slice(right) + between + source.slice(left))


def _letters(source):
    """One letter a literal; the literal itself decides which."""
    for index, token in enumerate(source.tokens):
        if token.kind not in ("string", "character") or 'R"' in token.text or source.tokens[index - 1].text == "extern":
            continue
        quote = token.text.index("'" if token.kind == "character" else '"') + 1
        letters = list(_LETTER.finditer(token.text[quote:-1]))
        number = int(hashlib.sha1(token.text.encode("latin-1")).hexdigest(), 16)
        if letters:
            letter = letters[number % len(letters)]
            begin, end, text = quote + letter.start(), quote + letter.end(), letter.group()
        else:
            begin, end, text = quote, quote, ""
        other = text.swapcase() if text.isalpha() and number // 2 % 2 else "~" if text != "~" else "-"
        yield "letter", token.begin + begin, token.begin + end, other


def _flags(source):
    tokens = source.tokens
    for index, token in enumerate(tokens):
        if token.text in ("true", "false") and source.is_argument(index, index + 1):
            yield "flag", token.begin, token.end, "false" if token.text == "true" else "true"
        elif token.text in _BITS and source.is_operator(index):
            yield "flag", token.begin, token.end, _BITS[token.text]
            if token.text == "|":
                yield from _dropped_flags(source, index)
        elif token.text == "~" and tokens[index - 1].text in ("(", "=", "&", "|", "return", ",", "&="):
            yield "flag", token.begin, token.end, ""
        elif token.kind == "word" and re.fullmatch(r"k[A-Z]\w+", token.text):
            first = _name_begin(source, index)
            if source.is_argument(first, index + 1):
                yield "flag", tokens[first].begin, token.end, "0"


def _name_begin(source, index):
    """The beginning of a qualified name whose last word is at `index`."""
    while source.tokens[index - 1].text == "::" and source.tokens[index - 2].kind == "word":
        index -= 2
    return index


def _dropped_flags(source, index):
    """Of "a | b", each side that is a name alone."""
    tokens = source.tokens
    if tokens[index - 1].kind == "word":
        yield "flag", tokens[_name_begin(source, index - 1)].begin, tokens[index + 1].begin, ""
    end = index + 1
    while tokens[end].kind == "word" and tokens[end + 1].text == "::":
        end += 2
    if tokens[end].kind == "word" and tokens[end + 1].text != "(":
        yield "flag", tokens[index].begin, tokens[end].end, ""
