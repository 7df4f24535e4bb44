"""What the parts of the packages share: who stands behind them, of what time they are, what Debian's packages say."""

import datetime
import json
import os
import pathlib
import re
import subprocess

HERE = pathlib.Path(__file__).resolve().parent
PROJECT = HERE.parent
IDENTITY = json.loads((HERE / "identity.json").read_text(encoding="utf-8"))
COMPONENTS = json.loads((HERE / "components.json").read_text(encoding="utf-8"))
# What is part of the programs of each package for Windows beside their own sources.
PARTS = {"win32": COMPONENTS["linked in"], "check": COMPONENTS["linked in"] + COMPONENTS["linked into the checks"]}


def moment():
    """The time of all that is packaged: the sources' own, which scripts/package.sh settles."""
    return datetime.datetime.fromtimestamp(int(os.environ["SOURCE_DATE_EPOCH"]), datetime.timezone.utc)


def commit():
    """The commit that is built, in words; scripts/package.sh tells it."""
    return os.environ.get("ZUM_SOURCE_COMMIT") or "not known: built from a tree without its history"


def debian_version(package):
    return subprocess.run(["dpkg-query", "-W", "-f", "${Version}", package], check=True, capture_output=True,
                          text=True).stdout


def debian_copyright(package):
    return pathlib.Path("/usr/share/doc", package, "copyright").read_text(encoding="utf-8")


def changes_of(version):
    """The date and the text of a version's part of the changelog; the date is "unreleased" before its release."""
    text = (PROJECT / "CHANGELOG.md").read_text(encoding="utf-8")
    match = re.search(rf"^## {re.escape(version)}, (\S+)\n(.*?)(?=^## |\Z)", text, re.MULTILINE | re.DOTALL)
    if match is None:
        raise SystemExit(f"CHANGELOG.md has no heading for the version {version}")
    return match.group(1), match.group(2).strip()


def write_dos_text(file, text):
    """A text file for Windows: an old editor there knows no other line ends, and UTF-8 only by its mark."""
    mark = "" if text.isascii() else "\ufeff"
    file.write_bytes((mark + text).replace("\r\n", "\n").replace("\n", "\r\n").encode("utf-8"))
