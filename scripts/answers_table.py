#!/usr/bin/env python3
"""The table in docs/testing.md of what the systems answered, by the reports of the contract suite.

    answers_table.py --write         makes it from the last runs of all systems: build/{native,windows,witness}/results
    answers_table.py --check FOLDER  sees that it is what the reports FOLDER/{native,windows,witness}/contract_test.xml say,
                                     as far as they are there
    answers_table.py --self-test     plants differences and sees each of them found

A row is what EXPECT_ANSWER notes (tests/support/answers.h). In the table are those to which not all systems answer alike,
or to which Windows answers otherwise by its documentation; of the others there is the number. Some answers are those of
the superuser, so that another user's reports are left out, with a word.
"""

import os
import pathlib
import re
import sys
import xml.etree.ElementTree as ElementTree

PROJECT = pathlib.Path(__file__).resolve().parent.parent
DOCUMENT = PROJECT / "docs/testing.md"
SYSTEMS = {"native": "host", "windows": "Wine 8", "witness": "Wine 10"}
BEGIN, END = "<!-- by scripts/answers_table.py: -->\n", "<!-- end of what that script makes -->\n"
COUNTED = re.compile(r"(\d+) rows; (\d+) of them")
HEAD = ["Case", "Row", *SYSTEMS.values(), "Windows, as documented", "What differs"]


def read_report(file):
    """(case, row) -> (answer, Windows' answer as documented, what differs), and the number of cases without a row."""
    rows, plain = {}, 0
    for case in ElementTree.parse(file).getroot().iter("testcase"):
        noted = {entry.get("name"): entry.get("value") for entry in case.iter("property")}
        found = [name.removeprefix("answer: ") for name in noted if name.startswith("answer: ")]
        plain += not found
        for row in found:
            rows[case.get("name"), row] = (noted[f"answer: {row}"], noted[f"windows: {row}"], noted.get(f"why: {row}", ""))
    return rows, plain


def cell(text):
    """Texts that could be taken for markup stand between backticks."""
    if not text:
        return "–"
    if re.fullmatch(r"[\w .,:;'()-]+", text):
        return text
    return ("`` {} ``" if "`" in text else "`{}`").format(text.replace("|", "\\|"))


def named(why):
    """With the systems' names as in the table's head."""
    for name, shown in (("wine-8 wine-10:", "both Wines:"), ("wine-8:", "Wine 8:"), ("wine-10:", "Wine 10:")):
        why = why.replace(name, shown)
    return why.replace("|", "\\|")


def lines_of(reports):
    """The table's rows: (case, row) -> cells of the systems that are there, Windows' and what differs."""
    keys = [set(rows) for rows, _ in reports.values()]
    if any(other != keys[0] for other in keys):
        raise SystemExit(f"the systems have other rows: {sorted(set.union(*keys) - set.intersection(*keys))}")
    lines = {}
    for key in sorted(keys[0]):
        found = {system: rows[key] for system, (rows, _) in reports.items()}
        _, windows, why = next(iter(found.values()))
        if len({answer for answer, _, _ in found.values()} | {windows}) > 1:
            lines[key] = {system: cell(answer) for system, (answer, _, _) in found.items()} | {
                HEAD[-2]: cell(windows), HEAD[-1]: named(why)}
    return lines


def made(reports):
    lines = lines_of(reports)
    rows, plain = next(iter(reports.values()))
    text = (f"{len(rows)} rows; {len(lines)} of them, which are in the table, have several answers. In the other "
            f"{len(rows) - len(lines)} host, Wine 8 and Wine 10 answer alike, and nothing else is documented of Windows. "
            f"{plain} cases have no row: they expect the same of every system.\n\n")
    text += "| " + " | ".join(HEAD) + " |\n" + "|---" * len(HEAD) + "|\n"
    for (case, row), cells in lines.items():
        text += f"| {case} | {cell(row)} | " + " | ".join(cells[name] for name in HEAD[2:]) + " |\n"
    return text


def parts(document):
    before, _, rest = document.partition(BEGIN)
    block, _, after = rest.partition(END)
    if not after:
        raise SystemExit(f"{DOCUMENT.name} has no place for the table")
    return before, block, after


def table_of(block):
    lines = {}
    for line in block.splitlines():
        cells = [text.strip() for text in re.split(r"(?<!\\)\|", line)[1:-1]]
        if len(cells) == len(HEAD) and cells[0] not in ("Case", "---"):
            lines[cells[0], cells[1]] = dict(zip(HEAD[2:], cells[2:]))
    return lines


def complaints(block, reports):
    table = table_of(block)
    lines = {(case, cell(row)): cells for (case, row), cells in lines_of(reports).items()}
    known = {(case, cell(row)) for rows, _ in reports.values() for case, row in rows}
    answers = {system: {(case, cell(row)): cell(found[0]) for (case, row), found in rows.items()}
               for system, (rows, _) in reports.items()}
    for key in sorted(lines.keys() - table.keys()):
        yield f"{key}: isn't in the table"
    for key, cells in table.items():
        if key not in known:
            yield f"{key}: is in the table alone"
            continue
        for system, answered in answers.items():
            if answered[key] != cells[system]:
                yield f"{key}: {system} gave {answered[key]}, and the table says {cells[system]}"
        for name in HEAD[-2:]:
            if key in lines and lines[key][name] != cells[name]:
                yield f"{key}: {name}: {lines[key][name]}, and the table says {cells[name]}"
    counted = COUNTED.search(block)
    if counted is None or [int(count) for count in counted.groups()] != [len(known), len(table)]:
        yield f"there are {len(known)} rows, and {len(table)} in the table: {counted and counted.group()}"


def reports_in(folder, name):
    files = {system: folder / build / name for build, system in SYSTEMS.items()}
    return {system: read_report(file) for system, file in files.items() if file.exists()}


def check(folder):
    reports = reports_in(folder, "contract_test.xml")
    if not reports:
        print("no report of the contract suite is there")
        return 1
    found = list(complaints(parts(DOCUMENT.read_text(encoding="utf-8"))[1], reports))
    print("\n".join(found) or f"the table is that of {', '.join(reports)}")
    return 1 if found else 0


def write():
    reports = reports_in(PROJECT / "build", "results/contract_test.xml")
    if reports.keys() != set(SYSTEMS.values()):
        print(f"there are reports of {', '.join(reports) or 'no system'} alone; scripts/test.sh and scripts/test.sh witness "
              "make those of all")
        return 1
    before, _, after = parts(DOCUMENT.read_text(encoding="utf-8"))
    DOCUMENT.write_text(before + BEGIN + made(reports) + END + after, encoding="utf-8")
    return 0


def self_test():
    def report(answer, windows="3", **more):
        rows = {("A.B", "alike"): ("1", "1", ""), ("A.B", "a|row"): (answer, windows, "wine-8: is early")}
        return rows | more.get("rows", {}), 5

    reports = {"host": report("3"), "Wine 8": report("2"), "Wine 10": report("3")}
    block = made(reports)
    print(block)
    planted = {
        "another answer": reports | {"Wine 10": report("2")},
        "another answer of one system alone": {"Wine 8": report("3", windows="4")},
        "another answer of Windows": {"Wine 8": report("2", windows="5")},
        "a further row": {"host": report("3", rows={("A.C", "new"): ("1", "1", "")})},
        "a further row that differs": {"host": report("3", rows={("A.C", "new"): ("1", "2", "")})},
        "a row that is gone": {"host": ({("A.B", "alike"): ("1", "1", "")}, 5)},
    }
    wrong = [name for name, other in planted.items() if not list(complaints(block, other))]
    for system in SYSTEMS.values():
        wrong += list(complaints(block, {system: reports[system]}))
    wrong += list(complaints(block, reports))
    print("\n".join(wrong) or "all planted differences were found")
    return 1 if wrong else 0


def main():
    if sys.argv[1:] == ["--self-test"]:
        return self_test()
    if os.geteuid() != 0:
        print("left out: the table has the superuser's answers")
        return 0
    if sys.argv[1:] == ["--write"]:
        return write()
    if len(sys.argv) == 3 and sys.argv[1] == "--check":
        return check(pathlib.Path(sys.argv[2]))
    print(__doc__, file=sys.stderr)
    return 2


if __name__ == "__main__":
    sys.exit(main())
