#!/usr/bin/env python3
"""What a machine is at a moment, as JSON: snapshot.py HIVEDUMP DRIVE_C HIVES_FOLDER OUT

HIVES_FOLDER holds the machine's hives in the places that they have on a disk, users among them. Of the drive it takes
each file's bytes, mode, time and extended attributes; left out are the hives themselves and the folders that belong to
those who run the test.
"""
import concurrent.futures
import hashlib
import json
import os
import pathlib
import subprocess
import sys

LEFT_OUT = {".run"}
SHORT = 1000  # bytes of an ini file that is taken as text
HIVES = {"SYSTEM": r"HKLM\SYSTEM", "SOFTWARE": r"HKLM\Software", "DEFAULT": r"HKU\.DEFAULT", "NTUSER.DAT": "HKCU"}


def is_hive(path):
    return path.name in HIVES and (path.parent.name == "config" or path.name == "NTUSER.DAT")


def files_of(drive):
    files = {}
    for folder, folders, names in os.walk(drive):
        folders[:] = [name for name in folders if name not in LEFT_OUT]
        for name in folders + names:
            path = pathlib.Path(folder) / name
            if is_hive(path):
                continue
            status = path.lstat()
            entry = {"mode": oct(status.st_mode & 0o7777),
                     "attributes": {key: os.getxattr(path, key, follow_symlinks=False).hex()
                                    for key in sorted(os.listxattr(path, follow_symlinks=False))}}
            if path.is_symlink():
                entry["link"] = os.readlink(path)
            elif not path.is_dir():
                content = path.read_bytes()
                entry.update(time=status.st_mtime_ns, size=len(content), sum=hashlib.md5(content).hexdigest(),
                             end=content[-6:].hex())
                if path.suffix == ".ini" and len(content) < SHORT:
                    entry["text"] = content.decode("cp1252")
            else:
                entry["folder"] = True
            files["C:\\" + str(path.relative_to(drive)).replace("/", "\\")] = entry
    return files


def registry_of(hivedump, hive):
    keys = {}
    run = subprocess.run([hivedump, "--format", "jsonl", hive], capture_output=True, check=True)
    for line in run.stdout.decode("utf-8", "surrogatepass").splitlines():
        record = json.loads(line)
        if record["type"] not in ("key", "value"):
            continue
        key = "\\".join([HIVES[hive.name]] + record["path"])
        if record["type"] == "key":
            keys[key] = {}
        else:
            keys[key][record["name"]] = f'{record["valueType"]}:{record["data"]}'
    return keys


def main():
    if len(sys.argv) != 5:
        sys.exit("usage: snapshot.py HIVEDUMP DRIVE_C HIVES_FOLDER OUT")
    hivedump, drive, hives, out = sys.argv[1], *map(pathlib.Path, sys.argv[2:])
    registry = {}
    with concurrent.futures.ThreadPoolExecutor() as pool:
        for keys in pool.map(lambda hive: registry_of(hivedump, hive), filter(is_hive, sorted(hives.rglob("*")))):
            registry.update(keys)
    if len(registry) < 100:
        sys.exit(f"{hives}: too little of a registry")
    out.write_text(json.dumps({"files": files_of(drive), "registry": registry}), encoding="utf-8")


if __name__ == "__main__":
    main()
