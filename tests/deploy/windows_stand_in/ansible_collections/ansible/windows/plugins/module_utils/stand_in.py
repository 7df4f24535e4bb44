# A stand-in for a Windows machine: a folder with its registry in registry.reg and its drive C: in "drive_c". The role's
# paths on it begin with that folder and go on with backslashes.
import json
import os


def here(path):
    return path.replace("\\", "/")


def root_of(path):
    """The machine that a path is on."""
    return here(path).split("/drive_c/")[0]


def note(root, text):
    with open(os.path.join(root, "calls.log"), "a") as file:
        file.write(text + "\n")


def scripted(root, program):
    """The next exit status that a test wants of a program; None: let it run."""
    path = os.path.join(root, "answers.json")
    if not os.path.exists(path):
        return None
    with open(path) as file:
        answers = json.load(file)
    status = answers.get(program, [None])[0]
    answers[program] = answers.get(program, [None])[1:] or [None]
    with open(path, "w") as file:
        json.dump(answers, file)
    return status
