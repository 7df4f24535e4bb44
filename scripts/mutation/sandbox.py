"""Runs a test of broken code where it can do no harm: it sees the machine's files but can't change them, has a temporary
directory, processes and a network of its own, and limits of time and memory."""

import dataclasses
import os
import resource
import signal
import subprocess
import tempfile

TEMPORARY_BYTES, OUTPUT_BYTES = 2 << 30, 4 << 20
_BWRAP = ["bwrap", "--ro-bind", "/", "/", "--dev", "/dev", "--proc", "/proc", "--size", str(TEMPORARY_BYTES), "--tmpfs",
          "/tmp", "--unshare-pid", "--unshare-net", "--unshare-ipc", "--die-with-parent", "--new-session"]


def why_not():
    """The reason why no sandbox can be made here, or None."""
    try:
        done = subprocess.run([*_BWRAP, "true"], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                              stderr=subprocess.PIPE, check=False)
    except FileNotFoundError:
        return "bubblewrap isn't installed"
    return None if done.returncode == 0 else "no sandbox may be made here: " + done.stderr.decode().strip()


@dataclasses.dataclass
class Ended:
    status: int  # of the process, 128 and more for a signal; None when it took too long
    output: str

    @property
    def endless(self):
        """By its own time. Wall time alone may be the machine's."""
        return self.status in (128 + signal.SIGXCPU, 128 + signal.SIGKILL)


def run(command, environment, shown, processor_seconds, wall_seconds, memory=None):
    """`shown` is a folder that may lie below the machine's own temporary directory."""
    def limit():
        resource.setrlimit(resource.RLIMIT_CPU, (int(processor_seconds) + 1, int(processor_seconds) + 2))
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        if memory:  # addresses that nothing is written to don't count
            resource.setrlimit(resource.RLIMIT_DATA, (memory, memory))

    cage = [*_BWRAP, "--ro-bind", str(shown), str(shown), "--chdir", "/tmp"]
    with tempfile.TemporaryFile() as output:
        process = subprocess.Popen([*cage, *map(str, command)], stdin=subprocess.DEVNULL, stdout=output,
                                   stderr=subprocess.STDOUT, preexec_fn=limit, start_new_session=True,
                                   env={**os.environ, "HOME": "/tmp", "PYTHONDONTWRITEBYTECODE": "1", **environment})
        try:
            status = process.wait(wall_seconds)
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            process.wait()
            status = None
        size = output.seek(0, os.SEEK_END)
        output.seek(max(0, size - OUTPUT_BYTES))
        return Ended(status, output.read().decode("utf-8", "replace"))
