"""As much of a 32-bit Windows program's file as the tests ask for. Offsets are those of the PE format's description."""

import struct

EXPORTS, IMPORTS, RESOURCES, RELOCATIONS, DELAY_IMPORTS = 0, 1, 2, 5, 13
RT_VERSION, RT_MANIFEST = 16, 24


class PeFile:
    def __init__(self, data):
        self.data = data
        self.header = self.u32(0x3C)
        if data[self.header:self.header + 4] != b"PE\0\0":
            raise ValueError("no PE signature")
        self.optional = self.header + 24
        if self.u16(self.optional) != 0x10B:
            raise ValueError("not a 32-bit program")
        first = self.optional + self.u16(self.header + 20)
        self.sections = [first + 40 * index for index in range(self.u16(self.header + 6))]

    def u16(self, offset):
        return struct.unpack_from("<H", self.data, offset)[0]

    def u32(self, offset):
        return struct.unpack_from("<I", self.data, offset)[0]

    def text(self, offset):
        return self.data[offset:self.data.index(b"\0", offset)].decode("latin-1")

    @property
    def machine(self):
        return self.u16(self.header + 4)

    @property
    def time_stamp_offset(self):
        return self.header + 8

    @property
    def symbol_count_offset(self):
        return self.header + 16

    @property
    def characteristics(self):
        return self.u16(self.header + 22)

    @property
    def subsystem(self):
        return self.u16(self.optional + 68)

    @property
    def dll_characteristics_offset(self):
        return self.optional + 70

    def section_name(self, at):
        """A name of more than eight characters stands in the string table, behind the symbols."""
        name = self.data[at:at + 8].rstrip(b"\0").decode("latin-1")
        if not name.startswith("/"):
            return name
        return self.text(self.u32(self.header + 12) + 18 * self.u32(self.symbol_count_offset) + int(name[1:]))

    def section_names(self):
        return [self.section_name(at) for at in self.sections]

    def section_data(self, name):
        for at in self.sections:
            if self.section_name(at) == name:
                return self.data[self.u32(at + 20):self.u32(at + 20) + self.u32(at + 16)]
        return b""

    def directory(self, index):
        """Address and size of a data directory."""
        return struct.unpack_from("<II", self.data, self.optional + 96 + 8 * index)

    def offset(self, address):
        for at in self.sections:
            start, size = self.u32(at + 12), max(self.u32(at + 8), self.u32(at + 16))
            if start <= address < start + size:
                return self.u32(at + 20) + address - start
        raise ValueError(f"address {address:#x} lies in no section")

    def imports(self):
        """The names of the modules that the system loads before the program starts."""
        address, _ = self.directory(IMPORTS)
        names = []
        at = self.offset(address) if address else None
        while at is not None and self.u32(at + 12):
            names.append(self.text(self.offset(self.u32(at + 12))).lower())
            at += 20
        return names

    def exports(self):
        """The exported names."""
        address, _ = self.directory(EXPORTS)
        if not address:
            return []
        table = self.offset(address)
        count, names = self.u32(table + 24), self.offset(self.u32(table + 32))
        return [self.text(self.offset(self.u32(names + 4 * index))) for index in range(count)]

    def export_name_offset(self):
        """Where in the file the first exported name stands."""
        table = self.offset(self.directory(EXPORTS)[0])
        return self.offset(self.u32(self.offset(self.u32(table + 32))))

    def resource(self, kind):
        """The bytes of the first resource of a kind, whatever its name and language; None when there is none."""
        address, _ = self.directory(RESOURCES)
        if not address:
            return None
        root = self.offset(address)
        at = root
        for level in range(3):
            entries = self.u16(at + 12) + self.u16(at + 14)
            found = None
            for index in range(entries):
                name, target = struct.unpack_from("<II", self.data, at + 16 + 8 * index)
                if level > 0 or name == kind:
                    found = target
                    break
            if found is None:
                return None
            at = root + (found & 0x7FFFFFFF)
        start = self.offset(self.u32(at))
        return self.data[start:start + self.u32(at + 4)]
