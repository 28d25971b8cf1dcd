#!/usr/bin/env python3
"""Makes the machine of a description: build_machine.py DESCRIPTION DRIVE_C REG_FILE TABLES_FOLDER

Files go below DRIVE_C, registry entries into REG_FILE (for `wine reg import`), the tables' rows into TABLES_FOLDER as
CSV files for kelsdb.
"""
import csv
import hashlib
import pathlib
import struct
import sys

TABLES = {
    "threats": ["ThreatID", "ThreatName", "ThreatCategory", "ThreatType", "ThreatDesc", "ThreatAuthor", "ThreatAuthorURL",
                "ThreatLevel", "ThreatAdviseType", "ThreatAdviseDetails"],
    "md5": ["ThreatID", "Key", "OptionalScan"],
    "paths": ["ThreatID", "Key", "OptionalScan"],
    "folders": ["ThreatID", "Key", "OptionalScan"],
    "cookies": ["ThreatID", "Key", "OptionalScan"],
    "regkeys": ["ThreatID", "RegHive", "RegKey", "RegValueName", "RegValueData", "OptionalScan"],
}


class Machine:
    def __init__(self, drive, sample_threats):
        self.drive = drive
        self.rows = {table: [] for table in TABLES}
        with open(sample_threats, encoding="utf-8", newline="") as file:
            sample = list(csv.reader(file))
        self.threat_columns, self.version_row = sample[0], sample[1]
        self.registry = {}
        self.contents = {}

    def place(self, path):
        """The path on the host; parts that are there in other case are the same folder."""
        assert path[:3] == "C:\\", path
        place = self.drive
        for part in path[3:].split("\\"):
            found = [entry for entry in place.iterdir() if entry.name.lower() == part.lower()] if place.is_dir() else []
            place = found[0] if found else place / part
        return place

    def write(self, path, content):
        place = self.place(path)
        place.parent.mkdir(parents=True, exist_ok=True)
        place.write_bytes(content)
        self.contents[path] = content

    def threat(self, text):
        head, category = text.split(" : ")
        number, name = head.split(" ", 1)
        values = {"ThreatID": number, "ThreatName": name, "ThreatCategory": category, "ThreatType": category,
                  "ThreatLevel": str(int(number) % 6), "ThreatAdviseType": str(int(number) % 3)}
        defaults = dict(zip(self.threat_columns, self.version_row))
        self.rows["threats"].append([values.get(column, defaults[column] if column not in TABLES["threats"] else "")
                                     for column in self.threat_columns])

    def file(self, text):
        path, content = text.split(" : ")
        word, size = content.split(" ")
        self.write(path, (word.encode() * (int(size) // len(word) + 1))[: int(size)])

    def link(self, text):
        path, target = text.split(" : ")
        items = struct.pack("<H", 0)
        header = struct.pack("<I16sII", 0x4C, bytes.fromhex("0114020000000000c000000000000046"), 3, 0x20)
        header = header.ljust(76, b"\0")
        volume = struct.pack("<IIII", 17, 3, 0x1234, 16) + b"\0"
        name = target.encode("cp1252") + b"\0"
        at = 28 + len(volume)
        info = struct.pack("<IIIIIII", at + len(name) + 1, 28, 1, 28, at, 0, at + len(name)) + volume + name + b"\0"
        self.write(path, header + struct.pack("<H", len(items)) + items + info)

    def append(self, text):
        path, line = text.split(" : ", 1)
        before = self.contents.get(path)
        if before is None:
            before = self.place(path).read_bytes()
        self.write(path, before + line.encode("cp1252") + b"\r\n")

    def readonly(self, text):
        self.place(text).chmod(0o444)

    def folder(self, text):
        self.place(text).mkdir(parents=True)

    def reg(self, text):
        key, value = text.split(" : ", 1) if " : " in text else (text, None)
        entries = self.registry.setdefault(key, [])
        if value is not None:
            name, data = value.split(" = ", 1)
            name = "" if name == '""' else name
            entries.append((name, data))

    def md5(self, text):
        head, path = text.split(" : ")
        number, level = head.split(" ")
        self.rows["md5"].append([number, hashlib.md5(self.contents[path]).hexdigest(), level])

    def keyed(self, table, text):
        head, key = text.split(" : ")
        number, level = head.split(" ")
        self.rows[table].append([number, key, level])

    def entry(self, text):
        head, rest = text.split(" : ", 1)
        number, level = head.split(" ")
        key, value = rest.split(" : ", 1) if " : " in rest else (rest, "")
        name, data = value.split(" = ", 1) if " = " in value else (value, "")
        hive, key = key.split("\\", 1)
        self.rows["regkeys"].append([number, hive, key, name, data, level])

    def read(self, description):
        kinds = {"threat": self.threat, "file": self.file, "link": self.link, "folder": self.folder,
                 "append": self.append, "readonly": self.readonly, "reg": self.reg,
                 "md5": self.md5, "entry": self.entry, "path": lambda text: self.keyed("paths", text),
                 "place": lambda text: self.keyed("folders", text), "cookie": lambda text: self.keyed("cookies", text)}
        for number, line in enumerate(description.read_text(encoding="utf-8").splitlines(), 1):
            if line and not line.startswith("#"):
                kind, text = line.split(" ", 1)
                try:
                    kinds[kind](text)
                except Exception as error:
                    sys.exit(f"{description}:{number}: {error!r}")

    def write_registry(self, path):
        def quoted(text):
            return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'

        lines = ["REGEDIT4", ""]
        for key, entries in self.registry.items():
            lines.append(f"[{key}]")
            for name, data in entries:
                if data.startswith("dword:"):
                    data = f"dword:{int(data[6:]):08x}"
                elif not data.startswith("hex"):
                    data = quoted(data)
                lines.append(f"{quoted(name) if name else '@'}={data}")
            lines.append("")
        path.write_bytes("\r\n".join(lines).encode("cp1252"))

    def write_tables(self, folder):
        folder.mkdir(parents=True, exist_ok=True)
        for table, rows in self.rows.items():
            with open(folder / f"{table}.csv", "w", encoding="utf-8", newline="") as file:
                writer = csv.writer(file)
                writer.writerow(self.threat_columns if table == "threats" else TABLES[table])
                if table == "threats":
                    writer.writerow(self.version_row)
                writer.writerows(rows)


def main():
    if len(sys.argv) != 5:
        sys.exit("usage: build_machine.py DESCRIPTION DRIVE_C REG_FILE TABLES_FOLDER")
    description, drive, registry, tables = map(pathlib.Path, sys.argv[1:])
    samples = pathlib.Path(__file__).resolve().parents[2] / "samples"
    machine = Machine(drive, samples / "threats.csv")
    machine.read(description)
    machine.write_registry(registry)
    machine.write_tables(tables)


if __name__ == "__main__":
    main()
