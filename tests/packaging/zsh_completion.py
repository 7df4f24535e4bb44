"""What zsh offers behind a command line, asked of a zsh on a terminal of its own: only there it completes."""

import os
import pty
import subprocess
import tempfile

# compadd is what a completion calls with its candidates; here it notes those that fit what is typed, and goes on. With
# -O, -A or -D it only sorts candidates out for its caller.
SETUP = r"""
PS1='' fpath=("$COMPLETIONS" $fpath)
autoload -Uz compinit && compinit -u -D
compadd() {
    local -a found
    if [[ ${(j: :)@[1,(i)-(|-)]} != *-[OAD]* ]]; then
        builtin compadd -O found "$@"
        print -rN -- $found >>"$MATCHES"
    fi
    builtin compadd "$@"
}
complete-and-leave() {
    BUFFER=$LINE CURSOR=$#LINE
    zle complete-word
    print -rN -- '(complete)' >>"$MATCHES"
    exit
}
zle -N complete-and-leave
bindkey '^T' complete-and-leave
"""


def complete(completions, line, cwd):
    """The candidates for the last word of the line; `completions` is the folder with the completion functions."""
    with tempfile.TemporaryDirectory() as folder:
        setup, matches = f"{folder}/setup", f"{folder}/matches"
        with open(setup, "w", encoding="ascii") as file:
            file.write(SETUP)
        environment = os.environ | {"COMPLETIONS": str(completions), "MATCHES": matches, "LINE": line, "TERM": "dumb"}
        terminal, other = pty.openpty()
        with subprocess.Popen(["zsh", "-f", "-i"], stdin=other, stdout=other, stderr=other, cwd=cwd, env=environment,
                              start_new_session=True) as shell:
            os.close(other)
            os.write(terminal, f"source {setup}\n\x14".encode("ascii"))
            shown = b""
            try:
                while chunk := os.read(terminal, 1000):
                    shown += chunk
            except OSError:  # the shell has left
                pass
            os.close(terminal)
            shell.wait(60)
        if not os.path.exists(matches):
            raise AssertionError(f"zsh didn't complete: {shown}")
        with open(matches, encoding="utf-8") as file:
            *found, end, rest = file.read().split("\0")
        if (end, rest) != ("(complete)", ""):
            raise AssertionError(f"zsh didn't come to the end: {shown}")
        return sorted(set(found) - {""})
