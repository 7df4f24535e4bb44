#!/usr/bin/env python3
"""Writes how a package's bytes are made again.

    rebuild_notes.py win32|check signed|unsigned FOLDER [SYMBOLS]

FOLDER holds the package's files, its programs as they were built (signatures come later), and gets REBUILD.txt; SYMBOLS
holds the programs' symbols. What else the build folder may hold doesn't get in. SOURCE_DATE_EPOCH must be set.
"""

import hashlib
import pathlib
import sys

sys.dont_write_bytecode = True

from pieces import COMPONENTS, PARTS, commit, debian_version, moment, write_dos_text  # noqa: E402

TEXT = """How to make the same bytes again

Source:             commit {commit}
Time in the files:  {moment:%Y-%m-%d %H:%M:%S} UTC (SOURCE_DATE_EPOCH={epoch})
System:             Debian 12, with the packages

{packages}

On such a system, as root, from a clean checkout of the commit, in a folder of any name, at any time:

    SOURCE_DATE_EPOCH={epoch} scripts/package.sh {package}

The programs as the build makes them{symbols} have these SHA-256 digests:

{programs}

{signature}
"""
SIGNED = """The programs of this package are signed, so that they differ from those bytes by their signature. Put
it into what you have built: the outcome is the signed program, byte for byte. CA.pem is the signature's root.

    osslsigncode extract-signature -pem -in {name} -out signature.pem
    osslsigncode attach-signature -CAfile CA.pem -sigin signature.pem \\
        -in {built}/{name} -out again.exe
    cmp again.exe {name}"""
UNSIGNED = "The programs of this package are these bytes: they are not signed, and the whole package is equal."
# The program that is the example, and where the build makes it.
EXAMPLES = {"win32": {"name": "zum_setup_util.exe", "built": "build/windows/bin"},
            "check": {"name": "windows_check.exe", "built": "build/windows/tests/windows_check"}}


def digests(files):
    return "\n".join(f"    {hashlib.sha256(file.read_bytes()).hexdigest()}  {file.name}" for file in files)


def main():
    if len(sys.argv) not in (4, 5) or sys.argv[1] not in PARTS or sys.argv[2] not in ("signed", "unsigned"):
        print(__doc__, file=sys.stderr)
        return 2
    package, state, folder = sys.argv[1], sys.argv[2], pathlib.Path(sys.argv[3])
    symbols = sorted(pathlib.Path(sys.argv[4]).glob("*.debug")) if len(sys.argv) == 5 else []
    names = {each["debian"] for each in PARTS[package]}
    names |= set(COMPONENTS["build tools"]) | set(COMPONENTS["package tools"])
    text = TEXT.format(
        package=package, commit=commit(), moment=moment(), epoch=int(moment().timestamp()),
        packages="\n".join(f"    {name} {debian_version(name)}" for name in sorted(names)),
        symbols=", and their symbols," if symbols else "",
        programs=digests([*sorted(folder.glob("*.exe")), *symbols]),
        signature=SIGNED.format(**EXAMPLES[package]) if state == "signed" else UNSIGNED)
    write_dos_text(folder / "REBUILD.txt", text)
    return 0


if __name__ == "__main__":
    sys.exit(main())
