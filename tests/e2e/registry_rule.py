"""What the rewrite of the installer's records must do, as a rule of its own on a plain picture of a registry.

A branch is a dict: path below HKEY_LOCAL_MACHINE -> dict: value name -> (type, bytes). Paths stand in enumeration
order. Nothing here comes from the program: it is the judge of it.
"""

import copy

USER_DATA = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\S-1-5-18\\Products"
CLASSES = "SOFTWARE\\Classes\\Installer\\Products"
# The same places as a 32-bit program sees them that forgets to ask for the 64-bit view.
USER_DATA_32 = "SOFTWARE\\Wow6432Node\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\S-1-5-18\\Products"
CLASSES_32 = "SOFTWARE\\Wow6432Node\\Classes\\Installer\\Products"
# All that is compared before and after a run.
ROOTS = ["SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer", "SOFTWARE\\Classes\\Installer",
         "SOFTWARE\\Wow6432Node\\Microsoft\\Windows\\CurrentVersion\\Installer",
         "SOFTWARE\\Wow6432Node\\Classes\\Installer"]

NONE, SZ, EXPAND_SZ, BINARY, DWORD, MULTI_SZ, QWORD = 0, 1, 2, 3, 4, 7, 11


def units(text):
    """The bytes of a text, low byte first."""
    return text.encode("utf-16-le", "surrogatepass")


def sz(text):
    """The bytes of a text with its terminator."""
    return units(text + "\0")


def same_name(names, name):
    """The one of the names that is this one but for its case, or None."""
    return next((each for each in names if each.lower() == name.lower()), None)


def sub_keys(branch, path):
    """The names of a key's direct subkeys, in order."""
    prefix = path.lower() + "\\"
    found = []
    for key in branch:
        if key.lower().startswith(prefix) and "\\" not in key[len(prefix):]:
            found.append(key[len(prefix):])
    return found


def read_text(values, name):
    """The text of a string value: whole characters, one terminating zero taken off; None when there is none."""
    found = same_name(values, name)
    if found is None or values[found][0] != SZ:
        return None
    data = values[found][1]
    text = data[:len(data) // 2 * 2]
    return text[:-2] if text[-2:] == b"\0\0" else text


def write_text(values, name, data):
    """The system adds the zero that stands behind a string when the string doesn't end in one; it keeps the case of a
    name that is there."""
    if data and data[-2:] != b"\0\0":
        data += b"\0\0"
    values[same_name(values, name) or name] = (SZ, data)


def rewrite(branch, read_only=()):
    """The branch after the rewrite, and the updates in the order in which they must be traced. `read_only` are the
    paths of keys that can't be opened for writing."""
    after = copy.deepcopy(branch)
    updates = []
    paths = {}
    for path in after:
        paths.setdefault(path.lower(), path)

    def writable(path):
        found = paths.get(path.lower())
        return None if found is None or found in read_only else after[found]

    for name in sub_keys(branch, USER_DATA):
        install = writable(f"{USER_DATA}\\{name}\\InstallProperties")
        if install is None:
            continue
        package = read_text(install, "LocalPackageNotExist")
        if package is not None:
            updates.append(f"update LocalPackageNotExist for key = {name}")
            write_text(install, "LocalPackage", package)
            del install[same_name(install, "LocalPackageNotExist")]
        source = writable(f"{CLASSES}\\{name}\\SourceList")
        if source is None:
            continue
        if read_text(source, "PackageNameNotExist") is not None:
            updates.append(f"update PackageNameNotExist for key = {name}")
            write_text(source, "PackageName", sz("zum_win.msi"))
            del source[same_name(source, "PackageNameNotExist")]
    return after, updates
