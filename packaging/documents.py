#!/usr/bin/env python3
"""Makes the documents of a package.

    documents.py win32|check|debian VERSION FOLDER

FOLDER is made anew. SOURCE_DATE_EPOCH must be set. The guides are made by pandoc from docs/.
"""

import gzip
import pathlib
import re
import shutil
import subprocess
import sys

sys.dont_write_bytecode = True

from pieces import (HERE, IDENTITY, PARTS, PROJECT, changes_of, debian_copyright, moment,  # noqa: E402
                    write_dos_text)

# The guides of the packages; links between them are kept.
GUIDES = {"operator": "zum_setup_util: from the symptom to the remedy", "rehearsal": "zum_rehearse: the rehearsal"}
CHECK_GUIDE = {"windows-check": "Checking a real Windows machine"}
SCHEMA = "rehearsal.schema.json"
HEADERS_OF_BOTH_WORLDS = {"CLI11": "libcli11-dev", "nlohmann-json": "nlohmann-json3-dev"}


def pandoc(source, *options, given=None):
    return subprocess.run(["pandoc", "--from", "gfm", *options, *([] if given else [source])], input=given, check=True,
                          capture_output=True, text=True, encoding="utf-8").stdout


def linked(packaged, ending):
    """The options for links between the guides of a package, in their form there."""
    return ["--lua-filter", HERE / "links.lua", "--metadata", f"packaged={packaged}", "--metadata", f"ending={ending}"]


def page(guide, packaged):
    """A page that stands alone: its style is inside, and it asks for nothing."""
    style = (HERE / "page.css").read_text(encoding="utf-8")
    body = pandoc(PROJECT / f"docs/{guide}.md", "--to", "html5", *linked(packaged, ".html"))
    return (f'<!DOCTYPE html>\n<html lang="en">\n<head>\n<meta charset="utf-8">\n<title>{(GUIDES | CHECK_GUIDE)[guide]}</title>\n'
            f"<style>\n{style}</style>\n</head>\n<body>\n{body}</body>\n</html>\n")


def plain(source, packaged=""):
    return pandoc(source, "--to", "plain", "--columns", "100", *linked(packaged, ".txt"), "--lua-filter",
                  HERE / "columns.lua")


def third_party_licences(package):
    """The licences of what is linked in, as Debian's packages hold them; packages of one source hold the same text."""
    parts, texts = [], {}
    for each in PARTS[package]:
        parts.append(f"{each['name']}: {each['licence']}\n"
                     f"    as told by Debian's package {each['debian']}, further down\n")
        texts.setdefault(debian_copyright(each["debian"]), {})[each["debian"]] = None
    for text, packages in texts.items():
        parts.append(f"\n{'=' * 100}\n{', '.join(packages)}\n{'=' * 100}\n\n{text}")
    return "What is part of the programs beside their own sources, and under which licences.\n\n" + "".join(parts)


def write_licences(package, folder):
    write_dos_text(folder / "LICENCE.txt", (HERE / "licence.txt").read_text(encoding="utf-8"))
    write_dos_text(folder / "THIRD-PARTY.txt", third_party_licences(package))


def make_win32(version, folder):
    changes_of(version)
    packaged = " ".join([f"{guide}.md" for guide in GUIDES] + [SCHEMA])
    for guide in GUIDES:
        (folder / f"{guide}.html").write_text(page(guide, packaged), encoding="utf-8")
        write_dos_text(folder / f"{guide}.txt", plain(PROJECT / f"docs/{guide}.md", packaged))
    shutil.copyfile(PROJECT / "docs" / SCHEMA, folder / SCHEMA)
    write_dos_text(folder / "CHANGELOG.txt", plain(PROJECT / "CHANGELOG.md"))
    write_licences("win32", folder)


def make_check(_, folder):
    for guide in CHECK_GUIDE:
        (folder / f"{guide}.html").write_text(page(guide, f"{guide}.md"), encoding="utf-8")
        write_dos_text(folder / f"{guide}.txt", plain(PROJECT / f"docs/{guide}.md", f"{guide}.md"))
    starter = PROJECT / "tests/windows_check/run-checks.cmd"
    write_dos_text(folder / starter.name, starter.read_text(encoding="ascii"))
    write_licences("check", folder)


def write_compressed(file, text):
    """As gzip -9n does: without name and time."""
    file.write_bytes(gzip.compress(text.encode("utf-8"), 9, mtime=0))


def debian_changelog(version):
    _, changes = changes_of(version)
    text = pandoc(None, "--to", "plain", "--columns", "76", given=changes)
    text = re.sub("(?m)^-   ", "* ", re.sub("(?m)^    ", "  ", text.strip()))
    lines = "\n".join(f"  {line}".rstrip() for line in text.splitlines())
    return (f"zum-rehearse ({version}) bookworm; urgency=medium\n\n{lines}\n\n"
            f" -- {IDENTITY['maintainer']}  {moment():%a, %d %b %Y %H:%M:%S} +0000\n")


def field(text):
    """The lines of a field behind its first one."""
    return "\n".join(f" {line}" if line.strip() else " ." for line in text.strip().splitlines())


def debian_copyright_file():
    """The machine-readable form. Of what is linked in only headers are part of the native program."""
    told = "".join(f"\n{name}, compiled into zum_rehearse, is under the licence that its package {package} tells:\n\n"
                   f"{debian_copyright(package)}" for name, package in HEADERS_OF_BOTH_WORLDS.items())
    licence = (HERE / "licence.txt").read_text(encoding="utf-8")
    return ("Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/\n"
            f"Upstream-Name: zum_setup_util\nComment:\n{field(told)}\n\n"
            f"Files: *\nCopyright: {IDENTITY['copyright']}\nLicense: {IDENTITY['licence']}\n{field(licence)}\n")


def make_debian(version, folder):
    packaged = f"rehearsal.md {SCHEMA}"
    (folder / "rehearsal.html").write_text(page("rehearsal", packaged), encoding="utf-8")
    shutil.copyfile(PROJECT / "docs" / SCHEMA, folder / SCHEMA)
    (folder / "copyright").write_text(debian_copyright_file(), encoding="utf-8")
    write_compressed(folder / "changelog.gz", debian_changelog(version))
    manual = pandoc(HERE / "debian/zum_rehearse.1.md", "--from", "markdown", "--standalone", "--to", "man",
                    "--metadata", f"footer=zum_rehearse {version}")
    write_compressed(folder / "zum_rehearse.1.gz", manual)


MAKERS = {"win32": make_win32, "check": make_check, "debian": make_debian}


def main():
    if len(sys.argv) != 4 or sys.argv[1] not in MAKERS:
        print(__doc__, file=sys.stderr)
        return 2
    folder = pathlib.Path(sys.argv[3])
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    MAKERS[sys.argv[1]](sys.argv[2], folder)
    return 0


if __name__ == "__main__":
    sys.exit(main())
