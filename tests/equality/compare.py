#!/usr/bin/env python3
"""Compares scans of one machine: compare.py [--scans] FOLDER NAME..., each with NAME.jsonl and NAME.REPORT in the folder.

With --scans there is no report of them.
"""
import collections
import difflib
import json
import pathlib
import re
import sys

REPORTS = ("summary", "full", "files", "folders", "registry", "cookies")
AT_LEAST = 40  # threats; fewer would show little
OWN = ("seconds",)  # fields of the summary that are each scan's own
OWN_TEXTS = [
    (re.compile(r"[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{6,12}", re.I), "ID"),
    (re.compile(r"\d{1,2}/\d{1,2}/\d{4}( \d{1,2}:\d{2}:\d{2} [AP]M)?"), "DATE"),
    (re.compile(r"\d{1,2}:\d{2}:\d{2}( [AP]M)?"), "TIME"),
]


def read(folder, name, reports):
    lines = [json.loads(line) for line in (folder / f"{name}.jsonl").read_text(encoding="utf-8").splitlines()]
    findings = [{key: value for key, value in line.items() if key != "type"} for line in lines if line["type"] == "finding"]
    summary = {key: value for key, value in lines[-1].items() if key not in OWN}
    report = ""
    for kind in reports:
        report += f"<!-- {kind} -->\n" + (folder / f"{name}.{kind}").read_text(encoding="utf-8", errors="surrogateescape")
    for pattern, word in OWN_TEXTS:
        report = pattern.sub(word, report)
    return findings, summary, report


def show(name, other, lines):
    print(f"{name} and {other} differ:")
    for line in list(lines)[:40]:
        print("  " + line[:220])


def main():
    words = sys.argv[1:]
    reports = REPORTS
    if words[0] == "--scans":
        words, reports = words[1:], ()
    folder, names = pathlib.Path(words[0]), words[1:]
    scans = {name: read(folder, name, reports) for name in names}
    good = True
    first = names[0]
    key = lambda finding: json.dumps(finding, sort_keys=True)
    for name, (findings, summary, report) in scans.items():
        threats = len({finding["threat"] for finding in findings})
        kinds = collections.Counter(finding["kind"] for finding in findings)
        print(f"{name:13} {threats} threats in {len(findings)} locations ({', '.join(f'{n} {k}' for k, n in sorted(kinds.items()))}), "
              f"{summary['files']} scanned, complete: {summary['complete']}, errors: {summary['errors']}")
        if threats < AT_LEAST or not summary["complete"] or summary["errors"] or summary["unreadable"]:
            print(f"{name}: not the scan that was expected: {summary}")
            good = False
        other, other_summary, other_report = scans[first]
        if sorted(map(key, findings)) != sorted(map(key, other)):
            show(first, name, difflib.unified_diff(sorted(map(key, other)), sorted(map(key, findings)), lineterm="", n=0))
            good = False
        elif findings != other:
            print(f"{first} and {name} tell the same findings in another order")
            good = False
        if summary != other_summary:
            show(first, name, [f"{field}: {other_summary[field]} / {summary[field]}" for field in summary
                               if summary[field] != other_summary.get(field)])
            good = False
        if report != other_report:
            show(first, name, difflib.unified_diff(other_report.splitlines(), report.splitlines(), lineterm="", n=0))
            good = False
    if not good:
        sys.exit("equality: the scans are not equal")
    print(f"equality: all {len(scans)} scans are equal, in findings and counters" + (" and reports" if reports else ""))


if __name__ == "__main__":
    main()
