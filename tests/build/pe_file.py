"""Reads what the tests ask about a Windows program file, of 32 or 64 bits: headers, exports, imports, resources.

Knows the file format only; what a file must look like is said by its callers.
"""

import struct

DLL = 0x2000  # characteristics
MACHINE_I386, MACHINE_X86_64 = 0x014C, 0x8664
MAGIC_PE32, MAGIC_PE32_PLUS = 0x010B, 0x020B
HIGH_ENTROPY, DYNAMIC_BASE = 0x0020, 0x0040  # characteristics of a DLL
EXPORTS, IMPORTS, RESOURCES = 0, 1, 2  # data directories
RESOURCE_VERSION = 16


class PeFile:
    def __init__(self, path):
        with open(path, "rb") as file:
            self._data = file.read()
        (start,) = self._unpack("<I", 0x3C)
        if self._data[start : start + 4] != b"PE\0\0":
            raise ValueError(f"{path} is not a Windows program file")
        coff = start + 4
        self.machine, sections, self.time_stamp, _, _, optional_size, self.characteristics = (
            self._unpack("<HHIIIHH", coff)
        )
        optional = coff + 20
        (self.magic,) = self._unpack("<H", optional)
        if self.magic not in (MAGIC_PE32, MAGIC_PE32_PLUS):
            raise ValueError(f"{path} is of a kind that is not known")
        self._word = "<I" if self.magic == MAGIC_PE32 else "<Q"
        base, count = (28, 92) if self.magic == MAGIC_PE32 else (24, 108)
        (self.image_base,) = self._unpack(self._word, optional + base)
        (self.dll_characteristics,) = self._unpack("<H", optional + 70)
        (directories,) = self._unpack("<I", optional + count)
        first = optional + count + 4
        self._directories = [self._unpack("<II", first + 8 * i) for i in range(directories)]
        table = optional + optional_size
        self._sections = [self._unpack("<IIII", table + 40 * i + 8) for i in range(sections)]

    def exports(self):
        """The exported names, in the file's order."""
        address, size = self._directories[EXPORTS]
        if not size:
            return []
        offset = self._offset(address)
        count, _, names = self._unpack("<III", offset + 24)
        return [self._text(name) for (name,) in self._rows("<I", self._offset(names), count)]

    def exported_dll_name(self):
        address, _ = self._directories[EXPORTS]
        (name,) = self._unpack("<I", self._offset(address) + 12)
        return self._text(name)

    def export_time_stamp(self):
        address, _ = self._directories[EXPORTS]
        return self._unpack("<I", self._offset(address) + 4)[0]

    def imports(self):
        """Names imported from each DLL, as {DLL in lower case: [name, ...]}."""
        address, size = self._directories[IMPORTS]
        result = {}
        offset = self._offset(address) if size else 0
        while size:
            lookup, _, _, name, table = self._unpack("<IIIII", offset)
            if not name:
                break
            names = result.setdefault(self._text(name).lower(), [])
            entry = self._offset(lookup or table)
            bytes_of_entry = struct.calcsize(self._word)
            while (value := self._unpack(self._word, entry)[0]) != 0:
                by_ordinal = value >> (8 * bytes_of_entry - 1)
                names.append(f"#{value & 0xFFFF}" if by_ordinal else self._text(value + 2))
                entry += bytes_of_entry
            offset += 20
        return result

    def has_resource(self, kind):
        address, size = self._directories[RESOURCES]
        if not size:
            return False
        offset = self._offset(address)
        named, numbered = self._unpack("<HH", offset + 12)
        entries = self._rows("<II", offset + 16 + 8 * named, numbered)
        return any(identifier == kind for identifier, _ in entries)

    def _unpack(self, layout, offset):
        return struct.unpack_from(layout, self._data, offset)

    def _rows(self, layout, offset, count):
        step = struct.calcsize(layout)
        return [self._unpack(layout, offset + step * i) for i in range(count)]

    def _offset(self, address):
        for size, start, raw_size, raw in self._sections:
            if start <= address < start + max(size, raw_size):
                return raw + address - start
        raise ValueError(f"address {address:#x} lies in no section")

    def _text(self, address):
        offset = self._offset(address)
        return self._data[offset : self._data.index(b"\0", offset)].decode("ascii")
