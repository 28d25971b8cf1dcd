#!/usr/bin/env python3
"""Writes tables of real size as CSV files: make_tables.py FOLDER [THREATS MD5S PATHS REGKEYS]. Nothing in them is on any
machine; the same arguments give the same rows."""
import hashlib
import pathlib
import sys

PLACES = ["%windows%\\", "%program_files%\\", "%appdata%\\", "c:\\", "%desktopdirectory%\\", "%profile%\\", "%system%\\"]
HIVES = ["HKEY_LOCAL_MACHINE", "HKEY_CURRENT_USER", "HKEY_CLASSES_ROOT"]


def main():
    folder = pathlib.Path(sys.argv[1])
    threats, md5s, paths, regkeys = [int(text) for text in sys.argv[2:6]] or (20_000, 1_000_000, 100_000, 100_000)
    folder.mkdir(parents=True, exist_ok=True)
    digest = lambda text: hashlib.md5(text.encode()).hexdigest()
    threat = lambda index: 10_000 + index % threats
    with open(folder / "threats.csv", "w", encoding="ascii", newline="\n") as file:
        sample = (pathlib.Path(__file__).resolve().parents[2] / "samples/threats.csv").read_text().splitlines()
        file.write(sample[0] + "\n" + sample[1] + "\n")
        for index in range(threats):
            file.write(f"{threat(index)},Example.Row{index},Adware,Adware,,,,{index % 6},0,,true,0,,0\n")
    with open(folder / "md5.csv", "w", encoding="ascii", newline="\n") as file:
        file.write("ThreatID,Key,OptionalScan\n")
        for index in range(md5s):
            file.write(f"{threat(index)},{digest(f'md5 {index}')},{index % 3}\n")
    with open(folder / "paths.csv", "w", encoding="ascii", newline="\n") as file:
        file.write("ThreatID,Key,OptionalScan\n")
        for index in range(paths):
            name = digest(f"path {index}")
            file.write(f"{threat(index)},{PLACES[index % len(PLACES)]}{name[:8]}\\{name[8:20]}.exe,{index % 3}\n")
    with open(folder / "regkeys.csv", "w", encoding="ascii", newline="\n") as file:
        file.write("ThreatID,RegHive,RegKey,RegValueName,RegValueData,OptionalScan\n")
        for index in range(regkeys):
            name = digest(f"key {index}")
            value = f"{name[20:28]},{name[28:]}" if index % 3 == 2 else f"{name[20:28]}," if index % 3 else ","
            hive = HIVES[index % len(HIVES)]
            key = f"CLSID\\{{{name[:20]}}}" if hive.endswith("ROOT") else f"Software\\{name[:8]}\\{name[8:20]}"
            file.write(f"{threat(index)},{hive},{key},{value},{index % 3}\n")


if __name__ == "__main__":
    main()
