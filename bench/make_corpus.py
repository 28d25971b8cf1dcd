#!/usr/bin/env python3
"""Makes a corpus for bench/compare: files of random bytes in folders, the same at every run, and signatures for some.

usage: make_corpus.py KIND FILES ROWS FOLDER

FOLDER gets `files/`, and in `md5.csv` (kelsdb), `bad.hdb` (clamscan), `bad.md5` (md5deep) and `sorted.txt` (join) ROWS
signatures, of which 100 (or all files, if fewer) belong to planted files.
"""
import hashlib
import os
import random
import sys

PLANTED = 100
# Bytes of a file and files in a folder.
KINDS = {
    "small": (lambda r: int(1024 * 64 ** r.random()), 25),
    "mixed": (lambda r: int(1024 * 2440 ** (r.random() ** 0.72)), 50),
    "tiny": (lambda r: r.randint(200, 3000), 100),
}


def main():
    kind, files, rows, top = sys.argv[1], int(sys.argv[2]), int(sys.argv[3]), sys.argv[4]
    size_of, in_folder = KINDS[kind]
    choice = random.Random(f"{kind} {files}")
    pool = choice.randbytes(8 << 20)
    step = max(1, files // PLANTED)
    planted = []
    for number in range(files):
        folder = os.path.join(top, "files", f"group {number // in_folder // 40}", f"folder {number // in_folder}")
        if number % in_folder == 0:
            os.makedirs(folder, exist_ok=True)
        size = size_of(choice)
        start = choice.randrange(len(pool) - size)
        # The number in front makes every file another one.
        data = number.to_bytes(8, "little") + pool[start:start + size - 8]
        if number % step == 0 and len(planted) < PLANTED and size >= 1000:
            planted.append((hashlib.md5(data).hexdigest(), size))
        with open(os.path.join(folder, f"program {number}.exe"), "wb") as out:
            out.write(data)
    signatures = planted + [(choice.randbytes(16).hex(), 0) for _ in range(rows - len(planted))]
    with open(os.path.join(top, "md5.csv"), "w", encoding="ascii") as out:
        out.write("ThreatID,Key,OptionalScan\n")
        out.writelines(f"10000,{digest},0\n" for digest, _ in signatures)
    with open(os.path.join(top, "bad.hdb"), "w", encoding="ascii") as out:
        out.writelines(f"{digest}:{size or 5000}:Bad.{n}\n" for n, (digest, size) in enumerate(signatures))
    with open(os.path.join(top, "bad.md5"), "w", encoding="ascii") as out:
        out.writelines(f"{digest}  bad{n}\n" for n, (digest, _) in enumerate(signatures))
    with open(os.path.join(top, "sorted.txt"), "w", encoding="ascii") as out:
        out.writelines(f"{digest}\n" for digest in sorted(digest for digest, _ in signatures))
    with open(os.path.join(top, "planted"), "w", encoding="ascii") as out:
        out.write(f"{len(planted)}\n")


main()
