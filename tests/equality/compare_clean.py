#!/usr/bin/env python3
"""Compares a clean and its undoing in several shapes: compare_clean.py EXCEPTIONS FOLDER SHAPE...

The folder has, for each shape, NAME.before, NAME.cleaned and NAME.restored (snapshots), NAME.clean and NAME.restore (what
was told of each threat, as JSON lines), NAME.rescan (findings), NAME.cleaned-stores, NAME.restored-stores and the same for the logs.

Every difference is a line of text under one of these stages:
  stays     what the scan behind the clean still finds
  results   threats that were not told to be whole: cleaned, or restored
  restored  what the machine is not as it was, when all is restored
  shapes    what is told or done otherwise than in the first shape
The exceptions name those that may be, each under the rule that is its reason: `== STAGE SHAPES: REASON`, then one line
for each difference, `*` for any text. A difference that no exception names is a failure, and so is an exception that
does not occur in a shape that it names (`all`, or a list with commas).
"""
import collections
import difflib
import json
import pathlib
import re
import sys

# Wine writes this at each start of its server.
WINES_OWN = re.compile(r"value HKLM\\SYSTEM\\ControlSet001\\Control\\Class\\.* \[DriverDateData\] .*")
TOLD = ("clean_item", "clean", "clean_summary", "restored_item", "restored")
MARK = b"6635\r\n".hex()
IDENTIFIER = re.compile(r"[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{6,12}", re.I)
DATE = re.compile(r"\d{1,2}/\d{1,2}/\d{4}( \d{1,2}:\d{2}:\d{2} [AP]M)?")
STATEMENT = re.compile(r"\bln \d+:")


def shown(value):
    """A value of the registry: its type and, of a text, the text, with its terminator as the sign for it."""
    kind, data = value.split(":", 1)
    if kind in ("1", "2", "7"):
        data = bytes.fromhex(data).decode("utf-16-le", "backslashreplace").replace("\0", "␀")
    return f"{kind}:{data}"


def folded(names):
    found = {}
    for name in names:
        assert name.lower() not in found, f"two names that differ in case only: {name}"
        found[name.lower()] = name
    return found


def last(path):
    return path.rsplit("\\", 1)[-1]


def file_differences(before, after):
    old_names, new_names = folded(before), folded(after)
    for name in sorted(old_names.keys() | new_names.keys()):
        old_path, new_path = old_names.get(name), new_names.get(name)
        old, new = before.get(old_path), after.get(new_path)
        what = "folder" if "folder" in (old or new) else "file"
        if new is None:
            yield f"lost {what} {old_path}"
            continue
        if old is None:
            yield f"new {what} {new_path}"
            continue
        if last(old_path) != last(new_path):
            yield f"name of {what} {old_path} -> {last(new_path)}"
        if old.get("sum") != new.get("sum") or old.get("link") != new.get("link") or ("folder" in old) != ("folder" in new):
            marked = new.get("end") == MARK and new.get("size") == old.get("size", 0) + 6
            text = f" {old['text']!r} -> {new['text']!r}" if "text" in old and "text" in new else ""
            yield f"{'mark on' if marked else 'content of'} {what} {old_path}{text}"
        for field in ("mode", "attributes", "time"):
            if old.get(field) != new.get(field):
                yield f"{field} of {what} {old_path}" + (f" {old['mode']} -> {new['mode']}" if field == "mode" else "")


def registry_differences(before, after):
    old_keys, new_keys = folded(before), folded(after)
    for name in sorted(old_keys.keys() | new_keys.keys()):
        old_key, new_key = old_keys.get(name), new_keys.get(name)
        if new_key is None:
            yield f"lost key {old_key}"
        elif old_key is None:
            yield f"new key {new_key}"
        elif last(old_key) != last(new_key):
            yield f"name of key {old_key} -> {last(new_key)}"
        old_values, new_values = before.get(old_key, {}), after.get(new_key, {})
        old_names, new_names = folded(old_values), folded(new_values)
        for value in sorted(old_names.keys() | new_names.keys()):
            old_name, new_name = old_names.get(value), new_names.get(value)
            old, new = old_values.get(old_name), new_values.get(new_name)
            at = f"{old_key or new_key} [{old_name if old_name is not None else new_name}]"
            if new is None:
                yield f"lost value {at} = {shown(old)}"
            elif old is None:
                yield f"new value {at} = {shown(new)}"
            else:
                if old_name != new_name:
                    yield f"name of value {at} -> {new_name}"
                if old != new:
                    only_end = old.startswith("1:") and old == new + "0000"
                    yield f"terminator of {at}" if only_end else f"value {at} {shown(old)} -> {shown(new)}"


def differences(before, after):
    lines = [*file_differences(before["files"], after["files"]),
             *registry_differences(before["registry"], after["registry"])]
    return [line for line in lines if not WINES_OWN.fullmatch(line)]


def plain(text):
    """Without what is each run's own: dates, numbers of statements; identifiers by the order in which they are met."""
    numbers = {}
    text = DATE.sub("DATE", STATEMENT.sub("ln N:", text))
    return IDENTIFIER.sub(lambda found: f"<{numbers.setdefault(found.group().lower(), len(numbers) + 1)}>", text)


def lines_of(records):
    """Each record without what is its own; a note for people is a line of its own."""
    for record in records:
        yield json.dumps({key: value for key, value in record.items() if key not in ("date", "folder", "note")})
        if record.get("note"):
            yield f'note on {record["location"]}: {record["note"]}'


def failures_of(records):
    for record in records:
        if record["type"] == "clean" and record["result"] != "cleaned":
            yield f'clean of {record["threat"]}: {record["result"]}'
        if record["type"] == "restored" and not record["complete"]:
            yield f'restore of {record["threat"]}: {record["reason"]}'


class Exceptions:
    def __init__(self, path, shapes):
        self.rows = []
        stage = None
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            if line.startswith("== "):
                stage, wanted = re.fullmatch(r"== (\w+) (\S+): .+", line).groups()
                named = shapes if wanted == "all" else wanted.split(",")
            elif line and not line.startswith("#"):
                pattern = re.compile(".*".join(map(re.escape, line.split("*"))), re.S)
                self.rows.append((number, stage, named, pattern, line, set()))

    def unnamed(self, stage, shape, lines):
        """Those that no row names."""
        left = []
        for line in lines:
            rows = [row for row in self.rows if row[1] == stage and shape in row[2] and row[3].fullmatch(line)]
            for row in rows:
                row[5].add(shape)
            if not rows:
                left.append(line)
        return left

    def missing(self):
        for number, stage, shapes, _, line, met in self.rows:
            for shape in shapes:
                if shape not in met:
                    yield f"line {number}: {stage}, {shape}: does not occur: {line}"


def against(first, other, what):
    """Lines that only one of both has: `+` the other one, `-` the first."""
    for line in difflib.ndiff(first, other):
        if line[0] in "+-":
            yield f"{what} {line[0]} {line[2:]}"


class Shape:
    def __init__(self, folder, name):
        def text(what):
            return (folder / f"{name}.{what}").read_text(encoding="utf-8", errors="surrogateescape")

        snapshots = {what: json.loads(text(what)) for what in ("before", "cleaned", "restored")}
        rescan = [json.loads(line) for line in text("rescan").splitlines()]
        self.name = name
        self.removed = differences(snapshots["before"], snapshots["cleaned"])
        self.restored = differences(snapshots["before"], snapshots["restored"])
        self.stays = [f'{line["threat"]} {line["kind"]} {line["location"]}' for line in rescan if line["type"] == "finding"]
        self.complete = rescan[-1]["complete"] and not rescan[-1]["errors"] and not rescan[-1]["unreadable"]
        records = [json.loads(line) for what in ("clean", "restore") for line in text(what).splitlines()]
        records = [record for record in records if record["type"] in TOLD]
        self.told = {what: plain(text(what)).splitlines()
                     for what in ("cleaned-stores", "restored-stores", "cleaned-logs", "restored-logs")}
        self.told["records"] = plain("\n".join(lines_of(records))).splitlines()
        self.threats = sum(record["type"] == "clean" for record in records)
        self.failures = list(failures_of(records))
        self.gone = sum(line.startswith("lost file") for line in self.removed)
        self.cut = sum(line.startswith(("lost key", "lost value")) for line in self.removed)
        self.back = sum(line.startswith("lost file") for line in self.restored)


def main():
    exceptions_path, folder, names = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]), sys.argv[3:]
    exceptions = Exceptions(exceptions_path, names)
    shapes = [Shape(folder, name) for name in names]
    problems = []
    for shape in shapes:
        print(f"{shape.name:7} {shape.threats} threats cleaned: {shape.gone} files and {shape.cut} registry entries gone, "
              f"{len(shape.stays)} findings left, all restored but {shape.back} files")
        if shape.threats < 40 or shape.gone < 40 or shape.cut < 30 or not shape.complete:
            problems.append(f"{shape.name}: too little was cleaned, or the scan behind it was not whole")
        for stage, lines in (("stays", shape.stays), ("results", shape.failures), ("restored", shape.restored)):
            problems += [f"{shape.name}: {stage}: {line}" for line in exceptions.unnamed(stage, shape.name, lines)]
        if shape is shapes[0]:
            continue
        # What is restored is compared with the machine before, which is the same in all.
        others = [*against(shapes[0].removed, shape.removed, "removed")]
        for what, lines in shape.told.items():
            others += against(shapes[0].told[what], lines, what)
        problems += [f"{shape.name}: shapes: {line}" for line in exceptions.unnamed("shapes", shape.name, others)]
    problems += exceptions.missing()
    for problem in problems[:100]:
        print("  " + problem[:260])
    if problems:
        sys.exit(f"equality: {len(problems)} differences that {exceptions_path.name} does not tell, or tells and are not there")
    reasons = collections.Counter(row[1] for row in exceptions.rows)
    print(f"equality: cleaned alike and restored, with the exceptions of {exceptions_path.name} and no other "
          f"({', '.join(f'{count} {stage}' for stage, count in sorted(reasons.items()))})")


if __name__ == "__main__":
    main()
