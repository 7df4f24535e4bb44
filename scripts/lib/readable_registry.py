#!/usr/bin/env python3
"""Turns the dump of a registry file (standard input) into text for a person: a line a key in brackets, and a line a
value with its type, its size in bytes and, for texts and numbers, what it says."""

import re
import sys

TYPES = {0: "REG_NONE", 1: "REG_SZ", 2: "REG_EXPAND_SZ", 3: "REG_BINARY", 4: "REG_DWORD", 7: "REG_MULTI_SZ",
         11: "REG_QWORD"}


def readable(kind, data):
    if kind in (1, 2, 7):
        text = data.decode("utf-16-le", "replace")
        strings = text.rstrip("\0").split("\0") if kind == 7 else [text.rstrip("\0")]
        return " | ".join(strings)
    if kind in (4, 11):
        return str(int.from_bytes(data, "little"))
    return data.hex(" ")


def plain(name):
    """A name as it is: the dump has "%" and four digits for what isn't plain ASCII."""
    return re.sub("%([0-9a-f]{4})", lambda match: chr(int(match.group(1), 16)), name)


def main():
    for line in sys.stdin:
        what, _, rest = line.rstrip("\n").partition(" ")
        if what == "key":
            print(f"[{plain(rest)}]")
            continue
        name, kind, digits = (rest.rsplit(" ", 2) + ["", ""])[:3]
        data = bytes.fromhex(digits)
        print(f"    {plain(name) or '(default)'} ({TYPES.get(int(kind), kind)}, {len(data)} bytes): {readable(int(kind), data)}")


if __name__ == "__main__":
    main()
