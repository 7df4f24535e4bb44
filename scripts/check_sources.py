#!/usr/bin/env python3
"""Checks the sources against the rules that no compiler holds.

    check_sources.py [--root DIR]   checks the tree, prints a line an offence, exits with 1 when there is one
    check_sources.py --self-test    plants one offence of each kind in a copy and sees each of them found

The rules:
  layers       a folder includes only from itself and from the folders below it
  windows.h    only winapi/win32 (and the tests' own Windows helpers) include it
  wchar_t      appears only there and in the helper that feeds the standard regular expressions
  guard        a header's include guard is its path
  own-header   a product source has a header of its own name (one folder up when it is a platform's form of a unit) and
               includes it first; main.cpp and the seam's two worlds have none
  length       no file has more than 500 lines
  text         no tabs, no trailing blanks, a line end at the end
  checks       the reported checks of a file have the texts that are listed for it
  drawings     each file and folder that a drawing in docs/drawings names is there, and the SVG shows what its source says;
               layers.dot has each layer
  map          the README of a folder in MAPS names each source of the folder once: `NAME` is NAME.h and NAME.cpp
  links        what such a README leads to is there
"""

import argparse
import html
import pathlib
import re
import shutil
import sys
import tempfile

# Each product folder, from the bottom up; a layer sees the ones that it names.
LAYERS = {
    "winapi": [],
    "oru/rtl": ["winapi"],
    "oru/system/datetime": ["oru/rtl", "winapi"],
    "platform/util": ["oru/rtl", "winapi"],
    "platform/util/windows": ["platform/util", "oru/rtl", "winapi"],
    "standalone_tracer_lib": ["platform/util", "oru/system/datetime", "oru/rtl", "winapi"],
    "zum_setup_util_lib": ["standalone_tracer_lib", "platform/util/windows", "platform/util",
                           "oru/system/datetime", "oru/rtl", "winapi"],
    "zum_setup_util": ["zum_setup_util_lib", "standalone_tracer_lib", "platform/util/windows", "platform/util",
                       "oru/system/datetime", "oru/rtl", "winapi"],
    "zum_rehearse": ["zum_setup_util", "zum_setup_util_lib", "standalone_tracer_lib", "platform/util/windows",
                     "platform/util", "oru/system/datetime", "oru/rtl", "winapi"],
}
# The seam's worlds are reached through the headers above them; no other product file names them.
SEAM_BEHIND = ("winapi/win32/", "winapi/host/", "winapi/rehearsal/")
WINDOWS_H_ALLOWED = ("winapi/win32/", "tests/support/win32/", "tests/e2e/helpers/", "tests/windows_check/")
WCHAR_ALLOWED = WINDOWS_H_ALLOWED + ("zum_setup_util_lib/wide_regex.", "tests/", "bench/wine/")
LAYERS_DRAWING = "docs/drawings/layers.dot"
MAPS = ("winapi/host", "winapi/rehearsal")
MOST_LINES = 500
# All reported checks of the files with one that no test can make fail. Its text is the expression in the source: it would
# change with the name of a local, and no test would see it.
CHECK_TEXTS = {
    "oru/rtl/compact_string.cpp": [
        "n <= max_size() - capacity", "min_capacity() < n", "n <= max_size()", "n < capacity_including_null_char",
        "data != nullptr", "size < capacity_including_null_char", "ptr != nullptr",
        "oru::math::is_aligned(capacity_including_null_char, heap_capacity_alignment)",
        "n <= capacity_without_null_char()"],
    "oru/rtl/object_impl.h": ["m_ref == 0", "memory != nullptr", "m_ref > 0"],
    "oru/rtl/vector.h": [
        "size() + n > capacity()", "max_size() >= size_now", "n <= max_size()", "size() <= max_size() - n"],
    "oru/system/datetime/windows/year_function.cpp": ["nullptr != g_fnGetTimeZoneInformationForYear"],
    "platform/util/windows/filesystem/file_operations.cpp": ["finder.IsValid()"],
    "platform/util/windows/registry.cpp": [
        "!newKey.IsValid()", "newKey.IsValid()", "key.IsValid()", "value.size() <= MaxSize",
        "multistring.size() <= MaxSize"],
    "platform/util/windows/registry_query.cpp": [
        "MaxSize <= value.max_size()", "key.IsValid()", "key.GetValue() != (( HKEY ) (ULONG_PTR)((LONG)0x80000004) )",
        "i < OverallInterationsLimit", "capacity <= MaxSize", "newCapacity > capacity"],
}
SUFFIXES = {".h", ".cpp"}
TOP_FOLDERS = ("winapi", "oru", "platform", "standalone_tracer_lib", "zum_setup_util_lib", "zum_setup_util",
               "zum_rehearse", "tests", "bench", "fuzz")


def layer_of(path):
    """The product folder that a path lies in, the deepest that fits; None for tests and the like."""
    fitting = [layer for layer in LAYERS if path.startswith(layer + "/")]
    return max(fitting, key=len) if fitting else None


def check_includes(path, lines):
    layer = layer_of(path)
    for number, line in enumerate(lines, 1):
        match = re.match(r'\s*#\s*include\s*["<]([^">]+)[">]', line)
        if not match:
            continue
        target = match.group(1)
        if target.lower() == "windows.h" and not path.startswith(WINDOWS_H_ALLOWED):
            yield number, "windows.h", "includes windows.h outside the folders that may"
        if layer is None:
            continue
        target_layer = layer_of(target)
        if target_layer and target_layer != layer and target_layer not in LAYERS[layer]:
            yield number, "layers", f"{layer} may not include {target}"
        if layer != "winapi" and target.startswith(SEAM_BEHIND):
            yield number, "layers", f"{target} is behind the seam; only the headers of winapi/ itself may be included"
        if target.startswith(("tests/", "bench/", "fuzz/")):
            yield number, "layers", f"a product file may not include {target}"


def strip_comment(line):
    return re.sub(r'//.*|"(\\.|[^"\\])*"', "", line)


def check_wchar(path, lines):
    if path.startswith(WCHAR_ALLOWED):
        return
    for number, line in enumerate(lines, 1):
        if re.search(r"\b(wchar_t|wstring|wregex|wcout)\b|(?<![\w])L[\"']", strip_comment(line)):
            yield number, "wchar_t", "wide characters of the compiler: the project's text is char16_t"


def check_guard(path, lines):
    if not path.endswith(".h"):
        return
    guard = re.sub(r"[^A-Z0-9]", "_", path.upper()) + "_"
    directives = [line.strip() for line in lines if line.startswith("#")]
    if directives[:2] != [f"#ifndef {guard}", f"#define {guard}"]:
        yield 1, "guard", f"the include guard isn't {guard}"


def check_own_header(path, lines, root):
    if not path.endswith(".cpp") or layer_of(path) is None:
        return
    own = path[:-4] + ".h"
    if not (root / own).exists():
        own = own.replace("/windows/", "/").replace("/host/", "/")
    includes = [m.group(1) for m in (re.match(r'#include ["<]([^">]+)', line) for line in lines) if m]
    if (root / own).exists():
        if includes[:1] != [own]:
            yield 1, "own-header", f"the first include isn't {own}"
    elif not path.endswith("/main.cpp") and not path.startswith(SEAM_BEHIND):
        yield 1, "own-header", "has no header of its own name"


def check_text(lines, text):
    if len(lines) > MOST_LINES:
        yield MOST_LINES, "length", f"has {len(lines)} lines"
    for number, line in enumerate(lines, 1):
        if "\t" in line or line != line.rstrip():
            yield number, "text", "has a tab or trailing blanks"
    if text and not text.endswith("\n"):
        yield len(lines), "text", "has no line end at its end"


def check_check_texts(root):
    """What ORU_CHECK makes a text of, with the blanks that the compiler leaves, and the text of ORU_CHECK_TEXT."""
    for path, listed in CHECK_TEXTS.items():
        text = (root / path).read_text(encoding="utf-8")
        found = {}
        for match in re.finditer(r'\bORU_CHECK(?:\((.*?)|_TEXT\(.*?,\s*"((?:\\.|[^"\\])*)")\);', text, re.DOTALL):
            shown = match.group(2) or " ".join(match.group(1).split())
            found[shown] = text.count("\n", 0, match.start()) + 1
        for shown in sorted(found.keys() - set(listed)):
            yield path, found[shown], "checks", f"the check {shown!r} isn't listed"
        for missing in sorted(set(listed) - found.keys()):
            yield path, 1, "checks", f"no check has the text {missing!r}"


def check_drawings(root):
    """The texts of each drawing's boxes, from its source: paths must lead somewhere, and the SVG must hold them all."""
    for source in sorted((root / "docs/drawings").glob("*.dot")):
        path = source.relative_to(root).as_posix()
        drawing = source.with_suffix(".svg")
        shown = html.unescape(drawing.read_text(encoding="utf-8")) if drawing.exists() else ""
        for number, line in enumerate(source.read_text(encoding="utf-8").splitlines(), 1):
            for label in re.findall(r'label="([^"]*)"', line):
                for text in label.split("\\n"):
                    if re.fullmatch(r"[\w/]+(/|\.h|\.cpp)", text) and not (root / text).exists():
                        yield path, number, "drawings", f"{text} isn't there"
                    if text.strip() not in shown:
                        yield path, number, "drawings", f"the SVG doesn't show {text!r}: run scripts/draw.sh"


def check_layers_drawing(root):
    source = root / LAYERS_DRAWING
    text = source.read_text(encoding="utf-8") if source.exists() else ""
    for layer in (*LAYERS, *(folder.rstrip("/") for folder in SEAM_BEHIND)):
        if f'label="{layer}/' not in text:
            yield LAYERS_DRAWING, 1, "drawings", f"has no box for {layer}/"


def check_map(root, folder):
    """The second column of the README's tables, against the folder's sources."""
    readme = f"{folder}/README.md"
    lines = (root / readme).read_text(encoding="utf-8").splitlines()
    rows = [line.split("|")[2] for line in lines if line.startswith("|") and line.count("|") == 3]
    named = [name for row in rows for name in re.findall(r"`([^`]+)`", row)]
    files = sorted(file.name for file in (root / folder).iterdir() if file.suffix in SUFFIXES)
    for file in files:
        times = named.count(file) + named.count(file.rsplit(".", 1)[0])
        if times != 1:
            yield f"{folder}/{file}", 1, "map", f"stands in {readme} {times} times"
    for number, line in enumerate(lines, 1):
        row = line.split("|")[2] if line.startswith("|") and line.count("|") == 3 else ""
        for name in re.findall(r"`([^`]+)`", row):
            if not any(name in (file, file.rsplit(".", 1)[0]) for file in files):
                yield readme, number, "map", f"names {name}, which isn't there"
        for target in re.findall(r"\]\(([^)#]+)", line):
            if "://" not in target and not (root / folder / target).exists():
                yield readme, number, "links", f"leads to {target}, which isn't there"
        for path in re.findall(r"`([\w.]+/[\w./]*)`", line):
            if not (root / path).exists():
                yield readme, number, "links", f"names {path}, which isn't there"


def offences(root):
    yield from check_check_texts(root)
    yield from check_drawings(root)
    yield from check_layers_drawing(root)
    for folder in MAPS:
        yield from check_map(root, folder)
    for top in TOP_FOLDERS:
        for file in sorted((root / top).rglob("*")):
            if file.suffix not in SUFFIXES or not file.is_file():
                continue
            path = file.relative_to(root).as_posix()
            text = file.read_text(encoding="utf-8")
            lines = text.splitlines()
            for check in (check_includes(path, lines), check_wchar(path, lines), check_guard(path, lines),
                          check_own_header(path, lines, root), check_text(lines, text)):
                for number, rule, what in check:
                    yield path, number, rule, what


PLANTS = [
    ("layers", "oru/rtl/planted.cpp", '#include "zum_setup_util_lib/stage.h"\n'),
    ("layers", "zum_setup_util/planted.cpp", '#include "winapi/host/control.h"\n'),
    ("layers", "oru/rtl/planted2.cpp", '#include "tests/support/checks.h"\n'),
    ("windows.h", "zum_setup_util/planted2.cpp", "#include <windows.h>\n"),
    ("windows.h", "platform/util/windows/planted.cpp", "#include <Windows.h>\n"),
    ("wchar_t", "oru/rtl/planted3.cpp", "const wchar_t text = 0;\n"),
    ("guard", "oru/rtl/planted.h", "#pragma once\n"),
    ("own-header", "oru/rtl/check.cpp", '#include <atomic>\n#include "oru/rtl/check.h"\n'),
    ("own-header", "oru/rtl/planted6.cpp", '#include "oru/rtl/check.h"\n'),
    ("length", "oru/rtl/planted4.cpp", "\n" * 501),
    ("text", "oru/rtl/planted5.cpp", "int planted = 0; \n"),
    ("checks", "oru/rtl/vector.h", "".join(f"ORU_CHECK({text.replace('size_now', 'old_size')});\n"
                                          for text in CHECK_TEXTS["oru/rtl/vector.h"])),
    ("checks", "oru/system/datetime/windows/year_function.cpp", 'ORU_CHECK_TEXT(function, "nullptr != function");\n'),
    ("drawings", "docs/drawings/planted.dot", 'digraph { box [label="planted\\noru/rtl/no_such_file.cpp"] }\n'),
    ("drawings", LAYERS_DRAWING, 'digraph { box [label="winapi/"] }\n'),
    ("map", "winapi/host/planted.cpp", "int planted = 0;\n"),
    ("map", "winapi/rehearsal/README.md", "| task | files |\n|---|---|\n| planted | `planted` |\n"),
    ("links", "winapi/host/README.md", "[planted](no_such_file.md)\n"),
    ("links", "winapi/rehearsal/README.md", "`tests/support/no_such_file.h`\n"),
]


def self_test(root):
    missed = 0
    for rule, path, text in PLANTS:
        with tempfile.TemporaryDirectory() as folder:
            copy = pathlib.Path(folder)
            for top in (*TOP_FOLDERS, "docs"):
                if (root / top).exists():
                    shutil.copytree(root / top, copy / top)
            (copy / path).write_text(text, encoding="utf-8")
            found = any(o[0] == path and o[2] == rule for o in offences(copy))
        print(f"planted {rule} in {path}: {'found' if found else 'NOT FOUND'}")
        missed += not found
    return missed


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--root", type=pathlib.Path, default=pathlib.Path(__file__).resolve().parent.parent)
    parser.add_argument("--self-test", action="store_true")
    arguments = parser.parse_args()
    if arguments.self_test:
        return 1 if self_test(arguments.root) else 0
    found = list(offences(arguments.root))
    for path, number, rule, what in found:
        print(f"{path}:{number}: {rule}: {what}")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
