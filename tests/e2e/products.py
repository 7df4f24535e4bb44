"""Products of every kind that the rewrite tells apart, as registry branches."""

from registry_rule import (BINARY, CLASSES, CLASSES_32, DWORD, EXPAND_SZ, MULTI_SZ, NONE, QWORD, SZ, USER_DATA,
                           USER_DATA_32, sz, units)

WRONG_TYPES = {
    "None": (NONE, sz("x")), "ExpandSz": (EXPAND_SZ, sz("%TEMP%\\x.msi")), "Binary": (BINARY, b"\x01\x02\x03"),
    "Dword": (DWORD, b"\x01\0\0\0"), "DwordOfThreeBytes": (DWORD, b"\x01\0\0"),
    "MultiSz": (MULTI_SZ, units("a\0b\0\0")), "Qword": (QWORD, b"\x01" * 8), "Type77": (77, sz("x")),
}

# Data of a marked string, by what is special about it.
STRINGS = {
    "NoBytes": b"", "TerminatorOnly": sz(""), "OneCharacter": sz("x"), "TwoTerminators": units("ab\0\0"),
    "ThreeTerminators": units("ab\0\0\0"), "EmbeddedZero": units("ab\0cd\0"), "OneByte": b"a", "ThreeBytes": b"a\0b",
    "FiveBytes": units("ab") + b"c", "OddBehindTheTerminator": sz("ab") + b"c", "NonAscii": sz("C:\\ä€Жш\U0001F600.msi"),
    "LoneSurrogate": sz("C:\\\ud800.msi"), "Quotes": sz("\"C:\\a b\\c.msi\""), "LineEnds": sz("a\r\nb\tc"),
}
for _length in (63, 64, 65, 127, 128, 129, 1000):
    STRINGS[f"Length{_length}"] = sz("x" * _length)
    STRINGS[f"Length{_length}WithoutTerminator"] = units("y" * _length)
for _bytes in (127, 129, 131, 257):
    STRINGS[f"Bytes{_bytes}"] = units("z" * (_bytes // 2)) + b"z"

MARKED = {"LocalPackageNotExist": (SZ, sz("C:\\Windows\\Installer\\1a2b.msi"))}
MARKED_NAME = {"PackageNameNotExist": (SZ, sz("anything.msi"))}
ORDINARY = {"LocalPackage": (SZ, sz("C:\\old.msi"))}
ORDINARY_NAME = {"PackageName": (SZ, sz("old.msi"))}


def key_name(number):
    """A packed product code, as the installer forms its subkeys' names."""
    return f"{number:04X}C0DE{'0123456789ABCDEF' * 2}"[:32]


def product(name, install=None, source=None, user_data=USER_DATA, classes=CLASSES):
    """A product's keys; a part that is None isn't there, as is the Classes key without a source."""
    branch = {f"{user_data}\\{name}": {}}
    if install is not None:
        branch[f"{user_data}\\{name}\\InstallProperties"] = dict(install)
    if source is not None:
        branch[f"{classes}\\{name}"] = {"ProductName": (SZ, sz("Something"))}
        branch[f"{classes}\\{name}\\SourceList"] = dict(source)
    return branch


def odd_names():
    return {
        "LongestName": "N" * 255, "NonAsciiName": "Produkt-ä€Ж", "NameWithBlank": "a product", "BracedName": "{x}",
        "UnderscoreName": "_x", "LowerCaseName": "abc", "OneCharacterName": "1", "NameWithDots": "..",
        "NameWithPercent": "%s%n", "SurrogatePairName": "p\U0001F600",
    }


def kinds():
    """Name of the kind -> branch. Each product has a key of its own."""
    found = {}

    def add(kind, install=None, source=None):
        name = key_name(len(found))
        found[kind] = product(name, install, source)
        return found[kind], name

    add("NoMarks", ORDINARY, ORDINARY_NAME)
    add("NoValuesAtAll", {}, {})
    add("PackageMarked", MARKED, ORDINARY_NAME)
    add("NameMarked", ORDINARY, MARKED_NAME)
    add("BothMarked", MARKED, MARKED_NAME)
    add("BothMarkedBothThere", MARKED | ORDINARY, MARKED_NAME | ORDINARY_NAME)
    add("OrdinaryOfOtherTypes", MARKED | {"LocalPackage": (DWORD, b"\x05\0\0\0")},
        MARKED_NAME | {"PackageName": (EXPAND_SZ, sz("%X%"))})
    add("OrdinaryLongerThanTheNew", MARKED | {"LocalPackage": (SZ, sz("l" * 500))},
        MARKED_NAME | {"PackageName": (SZ, sz("n" * 500))})
    add("NoInstallProperties", None, MARKED_NAME)
    add("NoSourceList", MARKED, None)
    add("NeitherKey", None, None)
    add("OtherValuesStay", MARKED | {"DisplayName": (SZ, sz("P")), "": (SZ, sz("default")), "Size": (DWORD, b"\x09\0\0\0")},
        MARKED_NAME | {"LastUsedSource": (EXPAND_SZ, sz("n;1;C:\\")), "": (BINARY, b"\0")})
    add("MarksUnderTheOtherKey", MARKED_NAME, MARKED)
    add("NamesInOtherCase", {"localPACKAGEnotexist": (SZ, sz("C:\\case.msi")), "LOCALpackage": (SZ, sz("old"))},
        {"packagenameNOTEXIST": (SZ, sz("x")), "PACKAGENAME": (SZ, sz("old"))})
    add("NamesThatBeginLikeTheMarks", {"LocalPackageNotExist2": (SZ, sz("a")), "LocalPackageNotExis": (SZ, sz("b"))},
        {"PackageNameNotExistX": (SZ, sz("c"))})
    branch, name = add("MarksOnTheProductsOwnKeys", {}, {})
    branch[f"{USER_DATA}\\{name}"].update(MARKED)
    branch[f"{CLASSES}\\{name}"].update(MARKED_NAME)
    branch, name = add("OtherSubKeysStay", MARKED, MARKED_NAME)
    branch[f"{USER_DATA}\\{name}\\Usage"] = dict(MARKED)
    branch[f"{USER_DATA}\\{name}\\InstallProperties\\Deeper"] = dict(MARKED)
    branch[f"{CLASSES}\\{name}\\SourceList\\Net"] = {"1": (EXPAND_SZ, sz("C:\\"))} | MARKED_NAME
    branch[f"{CLASSES}\\{name}\\SourceList\\Media"] = {"DiskPrompt": (SZ, sz("[1]"))}
    for kind, value in WRONG_TYPES.items():
        add(f"PackageOfType{kind}", {"LocalPackageNotExist": value} | ORDINARY, MARKED_NAME)
        add(f"NameOfType{kind}", MARKED, {"PackageNameNotExist": value} | ORDINARY_NAME)
    for kind, data in STRINGS.items():
        add(f"Package{kind}", {"LocalPackageNotExist": (SZ, data)}, {})
    for kind in ("NoBytes", "TerminatorOnly", "OneByte", "FiveBytes", "Length63", "Length64", "Length65", "Length1000",
                 "Length64WithoutTerminator", "Bytes129", "NonAscii", "EmbeddedZero"):
        add(f"Name{kind}", {}, {"PackageNameNotExist": (SZ, STRINGS[kind])})
    for kind, name in odd_names().items():
        found[kind] = product(name, MARKED, MARKED_NAME)
    # Not listed as a product: its key is under Classes only.
    found["ClassesOnly"] = {path: values for path, values in product("ABCDEF", None, MARKED_NAME).items()
                            if path.startswith(CLASSES)}
    # What a 32-bit program sees that forgets to ask for the 64-bit view.
    found["ThirtyTwoBitView"] = product(key_name(0x7777), MARKED, MARKED_NAME, USER_DATA_32, CLASSES_32)
    return found


def everything():
    """All kinds on one machine."""
    branch = {}
    for each in kinds().values():
        branch.update(each)
    return branch
