"""Kills a native program by SIGKILL at a chosen system call, before the call is carried out: strace does it, to the
program as it is given out."""

import collections
import dataclasses
import os
import re
import signal
import subprocess

# What may change something that outlives the process, or another process sees. An open may make or empty a file.
CHANGING = {
    "open", "openat", "creat", "write", "writev", "pwrite64", "pwritev", "sendto", "sendmsg", "sendfile",
    "copy_file_range", "rename", "renameat", "renameat2", "unlink", "unlinkat", "rmdir", "mkdir", "mkdirat", "link",
    "linkat", "symlink", "symlinkat", "truncate", "ftruncate", "fallocate", "chmod", "fchmod", "fchmodat", "utimensat",
    "fsync", "fdatasync", "flock", "exit_group",
}
KILLED = -signal.SIGKILL
LIMIT = 60  # seconds


@dataclasses.dataclass(frozen=True)
class Moment:
    """The `nth` call of that name. Of each process, where those that are started are followed."""

    call: str
    nth: int


def why_not():
    """The reason why nothing can be traced here, or None."""
    try:
        done = subprocess.run(["strace", "-qq", "-o", "/dev/null", "true"], stdout=subprocess.DEVNULL,
                              stderr=subprocess.PIPE, check=False)
    except FileNotFoundError:
        return "strace isn't installed"
    return None if done.returncode == 0 else "no process may be traced here: " + done.stderr.decode().strip()


def traced(options, command, folder, environment):
    """Runs a command under strace, up to the end of the last process that has its streams: exit status, output,
    errors."""
    done = subprocess.Popen(["strace", "-qq", *options, "--", *command], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                            stdin=subprocess.DEVNULL, cwd=folder, env=os.environ | environment)
    output, errors = done.communicate(timeout=LIMIT)
    return done.returncode, output, errors


def moments_of(command, folder, environment, follows=False):
    """All calls of a run in their order, of the first process alone unless `follows`."""
    log = folder / "calls.log"
    traced([*(["-f"] if follows else []), "-o", log], command, folder, environment)
    counts = collections.Counter()
    found = []
    for line in log.read_text(errors="replace").splitlines():
        match = re.match(r"(\d+ +)?(\w+)\(", line)
        if match and match.group(2) != "execve":
            process, call = match.groups()
            counts[process, call] += 1
            moment = Moment(call, counts[process, call])
            if moment not in found:
                found.append(moment)
    log.unlink()
    return found


def kill_at(moment, command, folder, environment, follows=False):
    """Exit status (-9 where the first process itself was killed), output and errors of a run that is killed so."""
    return traced([*(["-f"] if follows else []), "-o", "/dev/null", f"-etrace={moment.call}",
                   f"-einject={moment.call}:signal=KILL:when={moment.nth}"], command, folder, environment)
