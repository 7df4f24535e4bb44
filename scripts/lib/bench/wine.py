"""Runs Windows programs under Wine and takes the CPU time that client and server need together.

The server is one process that works for all clients: its time is the difference of its schedstat before and after.
The environment is that of scripts/lib/wine.sh, and the server has to run.
"""

import ctypes
import os
import pathlib
import subprocess
import time

LOADER = "/usr/lib/wine/wine"  # Debian's "wine" is a script around it, which would be measured, too
SETTLED = 0.004
PR_SET_CHILD_SUBREAPER = 36


class WineError(RuntimeError):
    pass


def server_pid(prefix):
    for folder in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            if not (folder / "comm").read_text().startswith("wineserver"):
                continue
            if f"WINEPREFIX={prefix}".encode() in (folder / "environ").read_bytes().split(b"\0"):
                return int(folder.name)
        except OSError:
            continue
    raise WineError(f"no server runs for {prefix}")


def cpu_time(pid):
    """Nanoseconds, of all threads."""
    return sum(int((task / "schedstat").read_text().split()[0]) for task in pathlib.Path(f"/proc/{pid}/task").iterdir())


def adopt_orphans():
    """What clients start is this process's to wait for from now on, so that its time is told here."""
    ctypes.CDLL(None).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)


def orphans_time():
    """Seconds of all that clients left behind and that has ended, or ends within a moment."""
    spent, deadline = 0.0, time.monotonic() + 0.2
    while time.monotonic() < deadline:
        try:
            pid, _, usage = os.wait4(-1, os.WNOHANG)
        except ChildProcessError:
            break
        if pid:
            spent += usage.ru_utime + usage.ru_stime
        else:
            time.sleep(SETTLED)
    return spent


class Wine:
    def __init__(self, core):
        self.prefix = pathlib.Path(os.environ["WINEPREFIX"])
        self.core = core
        self.server = server_pid(self.prefix)
        for task in pathlib.Path(f"/proc/{self.server}/task").iterdir():
            os.sched_setaffinity(int(task.name), {core})
        os.sched_setaffinity(0, {core})  # clients inherit it; this process only waits for them
        self.environment = dict(os.environ, TZ="Europe/Berlin")

    def server_time(self):
        """When the server has done what the last client left it."""
        last = cpu_time(self.server)
        while True:
            time.sleep(SETTLED)
            now = cpu_time(self.server)
            if now == last:
                return now
            last = now

    def saves(self):
        """Changes when the server has written the registry to its file, which it does from time to time."""
        return (self.prefix / "system.reg").stat().st_mtime_ns

    def call(self, program, *arguments):
        """Runs a program that isn't measured; gives its output."""
        done = subprocess.run([LOADER, str(program), *arguments], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, text=True, env=self.environment, check=False)
        if done.returncode:
            raise WineError(f"{program} {arguments}: {done.returncode}\n{done.stdout}{done.stderr}")
        return done.stdout

    def run(self, command, expect=0, orphans=False):
        """Nanoseconds of CPU time that a program takes with the server. None for a run in which the server saved the
        registry: that cost belongs to nobody. With `orphans`, what the program started counts, too, and so does a
        save, since such a run may be longer than the time between two of them."""
        saves, before = self.saves(), self.server_time()
        process = subprocess.Popen([LOADER, *map(str, command)], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL, env=self.environment)
        _, state, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(state)
        if process.returncode != expect:
            raise WineError(f"{command} ended with {process.returncode}")
        spent = usage.ru_utime + usage.ru_stime + (orphans_time() if orphans else 0.0)
        total = spent * 1e9 + self.server_time() - before
        return total if orphans or self.saves() == saves else None

    def measure(self, command, prepare=None, **options):
        """As run, with `prepare` called before, and once more where the server saved."""
        while True:
            if prepare:
                prepare()
            spent = self.run(command, **options)
            if spent is not None:
                return spent
