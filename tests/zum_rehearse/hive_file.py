"""Registry hives for the tests: an empty one written down by hand, filled by hivexregedit."""

import struct
import subprocess

BLOCK = 0x1000  # of the header, and of the one bin


def cell(data):
    """A cell in use: its negative size, its data, filled up to eight bytes."""
    size = (4 + len(data) + 7) & ~7
    return struct.pack("<i", -size) + data.ljust(size - 4, b"\0")


def empty_hive():
    """A hive with nothing but a root key, and the security record that every key shares."""
    name = b"$$$PROTO.HIV"
    # Owner and group S-1-5-18, an empty list of rights.
    owner = bytes([1, 1, 0, 0, 0, 0, 0, 5]) + struct.pack("<I", 18)
    descriptor = struct.pack("<BBHIIII", 1, 0, 0x8004, 20, 32, 0, 44) + owner + owner + struct.pack("<BBHHH", 2, 0, 8, 0, 0)
    root_at = 0x20
    root_size = len(cell(b"\0" * (76 + len(name))))
    security_at = root_at + root_size
    root = b"nk" + struct.pack("<HQIiIIiiIiiiIIIIIHH", 0x2C, 0, 0, -1, 0, 0, -1, -1, 0, -1, security_at, -1,
                               0, 0, 0, 0, 0, len(name), 0) + name
    security = b"sk" + struct.pack("<HIIII", 0, security_at, security_at, 1, len(descriptor)) + descriptor
    cells = cell(root) + cell(security)
    free = BLOCK - 0x20 - len(cells)
    bin_ = b"hbin" + struct.pack("<IIQQI", 0, BLOCK, 0, 0, 0) + cells + struct.pack("<i", free)
    header = b"regf" + struct.pack("<IIQIIIIIII", 1, 1, 0, 1, 3, 0, 1, root_at, BLOCK, 1)
    header = header.ljust(0x1FC, b"\0")
    checksum = 0
    for (word,) in struct.iter_unpack("<I", header):
        checksum ^= word
    return (header + struct.pack("<I", checksum)).ljust(BLOCK, b"\0") + bin_.ljust(BLOCK, b"\0")


def lists_first_subkey_only(data, names):
    """The hive with keys of these names whose subkeys are all the first of them."""
    patched = bytearray(data)
    for name in names:
        place = data.index(name.encode("ascii"), BLOCK) - 76
        assert data[place:place + 2] == b"nk"
        list_at = BLOCK + 4 + struct.unpack_from("<I", data, place + 0x1C)[0]
        kind, count = struct.unpack_from("<2sH", data, list_at)
        assert kind in (b"lf", b"lh") and count > 1
        for number in range(1, count):
            start = list_at + 4
            patched[start + 8 * number:start + 8 * number + 8] = data[start:start + 8]
    return bytes(patched)


def value_at(data, name):
    """Where the record of the value of this name begins; size and place of its data stand behind four bytes."""
    place = data.index(name.encode("ascii"), BLOCK) - 20
    assert data[place:place + 2] == b"vk"
    return place


def loses_data_of(data, name):
    """The hive with a value of this name whose data lies outside of the file."""
    place = value_at(data, name) + 8
    return data[:place] + struct.pack("<I", 0x7FFFFFF0) + data[place + 4:]


def shares_data_of(data, name, others):
    """The hive with values of other names that have the bytes of this one."""
    shared = data[value_at(data, name) + 4:][:8]
    for other in others:
        place = value_at(data, other) + 4
        data = data[:place] + shared + data[place + 8:]
    return data


def write(path, branch):
    """A hive of HKEY_LOCAL_MACHINE\\SOFTWARE with what the branch holds."""
    path.write_bytes(empty_hive())
    lines, made = ["Windows Registry Editor Version 5.00"], {"SOFTWARE"}
    for key, values in branch.items():
        parts = key.split("\\")
        for count in range(2, len(parts) + 1):  # the tool wants each key above first
            above = "\\".join(parts[:count])
            if above.lower() not in made or count == len(parts):
                lines += ["", f"[HKEY_LOCAL_MACHINE\\{above}]"]
                made.add(above.lower())
        lines += [f'"{name}"=hex({kind:x}):{",".join(f"{byte:02x}" for byte in data)}'
                  for name, (kind, data) in values.items()]
    lines.append("")
    plain = path.with_name(path.name + ".utf8")  # what the tool takes
    plain.write_text("\n".join(lines), encoding="utf-8")
    subprocess.run(["hivexregedit", "--merge", "--prefix", "HKEY_LOCAL_MACHINE\\SOFTWARE", path, plain], check=True,
                   timeout=120)
    plain.unlink()
