#!/usr/bin/env python3
"""Writes how a package's bytes are made again.

    rebuild_notes.py UNSIGNED FOLDER signed|unsigned

UNSIGNED is the folder with the programs as they were built; FOLDER holds the package's files and gets REBUILD.txt.
SOURCE_DATE_EPOCH must be set.
"""

import hashlib
import pathlib
import sys

sys.dont_write_bytecode = True

from pieces import COMPONENTS, commit, debian_version, moment, write_dos_text  # noqa: E402

TEXT = """How to make the same bytes again

Source:             commit {commit}
Time in the files:  {moment:%Y-%m-%d %H:%M:%S} UTC (SOURCE_DATE_EPOCH={epoch})
System:             Debian 12, with the packages

{packages}

On such a system, as root, from a clean checkout of the commit, in a folder of any name, at any time:

    SOURCE_DATE_EPOCH={epoch} scripts/package.sh win32

The programs as the build makes them have these SHA-256 digests:

{programs}

{signature}
"""
SIGNED = """The programs of this package are signed, so that they differ from those bytes by their signature. Put
it into what you have built: the outcome is the signed program, byte for byte. CA.pem is the signature's root.

    osslsigncode extract-signature -pem -in zum_setup_util.exe -out signature.pem
    osslsigncode attach-signature -CAfile CA.pem -sigin signature.pem \\
        -in build/windows/bin/zum_setup_util.exe -out again.exe
    cmp again.exe zum_setup_util.exe"""
UNSIGNED = "The programs of this package are these bytes: they are not signed, and the whole package is equal."


def main():
    if len(sys.argv) != 4 or sys.argv[3] not in ("signed", "unsigned"):
        print(__doc__, file=sys.stderr)
        return 2
    built, folder = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    names = {each["debian"] for each in COMPONENTS["linked in"]}
    names |= set(COMPONENTS["build tools"]) | set(COMPONENTS["package tools"])
    text = TEXT.format(
        commit=commit(), moment=moment(), epoch=int(moment().timestamp()),
        packages="\n".join(f"    {name} {debian_version(name)}" for name in sorted(names)),
        programs="\n".join(f"    {hashlib.sha256(file.read_bytes()).hexdigest()}  {file.name}"
                           for file in sorted(built.glob("*.exe"))),
        signature=SIGNED if sys.argv[3] == "signed" else UNSIGNED)
    write_dos_text(folder / "REBUILD.txt", text)
    return 0


if __name__ == "__main__":
    sys.exit(main())
