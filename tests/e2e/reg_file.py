"""Registry files ("Windows Registry Editor Version 5.00"): a writer and a reader of this suite's own.

The writer puts every value as hexadecimal bytes, which carries all of them exactly; the reader knows all that a file of
the host layer may hold.
"""

import re

HEADER = "Windows Registry Editor Version 5.00"
HIVE = "HKEY_LOCAL_MACHINE\\"


def quoted(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def unquoted(text):
    return re.sub(r"\\(.)", r"\1", text, flags=re.S)


def write(path, branch):
    lines = [HEADER, ""]
    for key, values in branch.items():
        lines.append(f"[{HIVE}{key}]")
        for name, (kind, data) in values.items():
            lines.append(f"{quoted(name) if name else '@'}=hex({kind:x}):{data.hex(',')}")
        lines.append("")
    path.write_bytes(b"\xff\xfe" + "\r\n".join(lines).encode("utf-16-le", "surrogatepass"))


def text_of(data):
    if data[:2] == b"\xff\xfe":
        return data[2:].decode("utf-16-le", "surrogatepass")
    return data.decode("utf-8")


def value_of(text):
    if text.startswith('"'):
        return 1, (unquoted(text[1:text.rindex('"')]) + "\0").encode("utf-16-le", "surrogatepass")
    if text.startswith("dword:"):
        return 4, int(text[6:], 16).to_bytes(4, "little")
    match = re.fullmatch(r"hex(?:\(([0-9a-fA-F]+)\))?:(.*)", text, re.S)
    kind = 3 if match.group(1) is None else int(match.group(1), 16)
    return kind, bytes.fromhex(match.group(2).replace(",", ""))


def read(path):
    """The branch that a file holds."""
    text = re.sub(r"\\\r?\n[ \t]*", "", text_of(path.read_bytes()))
    branch = {}
    values = None
    # A string may hold line ends of its own: an entry goes up to its closing quote.
    entry = re.compile(r'\[(?P<key>[^\r\n]*)\]|(?P<name>@|"(?:\\.|[^"\\])*")=(?P<value>"(?:\\.|[^"\\])*"|[^\r\n]*)', re.S)
    for match in entry.finditer(text):
        if match.group("key") is not None:
            key = match.group("key")
            values = branch.setdefault(key[len(HIVE):], {}) if key.startswith(HIVE) else {}
        else:
            name = match.group("name")
            values["" if name == "@" else unquoted(name[1:-1])] = value_of(match.group("value"))
    return branch
