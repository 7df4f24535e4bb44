"""The packages under test: where they are, and what is unpacked of them."""

import functools
import json
import os
import pathlib
import re
import subprocess

PROJECT = pathlib.Path(__file__).resolve().parent.parent.parent
DIST = pathlib.Path(os.environ["ZUM_DIST"])
WORK = pathlib.Path(os.environ["ZUM_WORK"])
VERSION = re.search(r"(?m)^project\(zum_setup_util VERSION (\S+) ",
                    (PROJECT / "CMakeLists.txt").read_text(encoding="utf-8")).group(1)
WIN32 = f"zum_setup_util-{VERSION}-win32"
BUILT = PROJECT / "build/windows/bin"
PROGRAMS = ["zum_rehearse.exe", "zum_setup_util.exe"]
IDENTITY = json.loads((PROJECT / "packaging/identity.json").read_text(encoding="utf-8"))


def run(*words, **options):
    """A command's standard output; it must succeed."""
    done = subprocess.run([str(word) for word in words], capture_output=True, check=False, stdin=subprocess.DEVNULL,
                          **options)
    if done.returncode != 0:
        printed = (done.stdout + done.stderr).decode(errors="replace")
        raise AssertionError(f"{words} ended with {done.returncode}:\n{printed}")
    return done.stdout.decode("utf-8")


@functools.cache
def unpacked(name=WIN32, dist=DIST):
    """The folder of an unpacked zip file, in one whose name has blanks."""
    folder = WORK / f"where a user unpacks it {len(list(WORK.iterdir()))}"
    run("unzip", "-q", dist / f"{name}.zip", "-d", folder)
    return folder / name


@functools.cache
def unpacked_debian():
    folder = WORK / "debian root"
    run("dpkg-deb", "-x", debian_package(), folder)
    return folder


def digests_in_notes(folder):
    """File -> the digest that REBUILD.txt tells of it, as it was built."""
    notes = (folder / "REBUILD.txt").read_text(encoding="ascii")
    return {name: digest for digest, name in re.findall(r"(?m)^    ([0-9a-f]{64})  (\S+)$", notes)}


def debian_package():
    return DIST / f"zum-rehearse_{VERSION}_amd64.deb"
