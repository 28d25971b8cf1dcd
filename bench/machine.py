"""Makes offline machines for the benchmarks, the same at each run, out of files, registry entries and signatures."""
import csv
import hashlib
import json
import pathlib
import subprocess

ROOT = pathlib.Path(__file__).resolve().parent.parent
SAMPLES = ROOT / "samples"
TABLES = {"threats": ["ThreatID", "ThreatName", "ThreatCategory", "ThreatType", "ThreatDesc", "ThreatAuthor",
                      "ThreatAuthorURL", "ThreatLevel", "ThreatAdviseType", "ThreatAdviseDetails", "ThreatCanQuarantine",
                      "ThreatCustomRemovalType", "ThreatCustomData", "ThreatOptionLevel"],
          "md5": ["ThreatID", "Key"], "paths": ["ThreatID", "Key"], "folders": ["ThreatID", "Key"],
          "cookies": ["ThreatID", "Key"],
          "regkeys": ["ThreatID", "RegHive", "RegKey", "RegValueName", "RegValueData", "OptionalScan"]}
USER = "Ada"
PROFILES = "Documents and Settings"
SYSTEM = """{"type":"value","path":["Select"],"name":"Current","number":1}
{"type":"value","path":["ControlSet001","Control","Session Manager","Environment"],"name":"OS","text":"Windows_NT"}
"""
WINE_HEADER = "WINE REGISTRY Version 2\n;; All keys relative to \\\\%s\n\n#arch=win64\n"


class Machine:
    """A machine of one user in `work`/machine, its tables in `work`/data. `shape`: disk or prefix."""

    def __init__(self, shape, work, bin_folder):
        self.shape, self.work, self.bin = shape, work, bin_folder
        self.root, self.data = work / "machine", work / "data"
        self.drive = self.root if shape == "disk" else self.root / "drive_c"
        self.data.mkdir(parents=True)
        (self.drive / "windows/system32/config").mkdir(parents=True)
        self.rows = {table: [] for table in TABLES}
        self.rows["threats"].append([0, "2026.11.1", "version", "version", "", "", "", 0, 0, "", "false", 0, "", 0])
        self.software = {}
        self.set(("Microsoft", "Windows NT", "CurrentVersion"), "CurrentVersion", "5.1")
        profiles = ("Microsoft", "Windows NT", "CurrentVersion", "ProfileList")
        self.set(profiles, "ProfilesDirectory", f"%SystemDrive%\\{PROFILES}", 2)
        self.set((*profiles, "S-1-5-21-1-2-3-1003"), "ProfileImagePath", f"%SystemDrive%\\{PROFILES}\\{USER}", 2)
        self.set(("Microsoft", "Windows", "CurrentVersion"), "ProgramFilesDir", "C:\\Program Files")
        self.user = self.drive / ("users" if shape == "prefix" else PROFILES) / USER
        self.cookies = self.user / "Cookies"
        self.cookies.mkdir(parents=True)

    def set(self, path, name, text, kind=1):
        self.software.setdefault(path, []).append((name, kind, text))

    def file(self, path, data):
        place = self.drive / path
        place.parent.mkdir(parents=True, exist_ok=True)
        place.write_bytes(data)

    def signature(self, table, *row):
        self.rows[table].append(row)

    def add_keys(self, count):
        """Classes of six keys and seven values each."""
        for number in range(-(-count // 6)):
            mixed = (number * 2654435761) & 0xFFFFFFFF
            clsid = ("Classes", "CLSID", f"{{{mixed:08X}-4C3A-11D2-{number & 0xFFFF:04X}-00C04F{number & 0xFFFFFF:06X}}}")
            self.set(clsid, "", f"Sample component number {number}")
            server = (*clsid, "InprocServer32")
            self.set(server, "", f"C:\\Program Files\\Common Files\\Sample\\component{number}.dll")
            self.set(server, "ThreadingModel", "Apartment")
            self.set((*clsid, "ProgID"), "", f"Sample.Component{number}.1")
            self.set((*clsid, "VersionIndependentProgID"), "", f"Sample.Component{number}")
            self.set((*clsid, "TypeLib"), "", f"{{{mixed ^ 0xFFFFFFFF:08X}-4C3A-11D2-0000-00C04F000000}}")
            self.set((*clsid, "Version"), "", "1.0")

    def threat(self, number):
        self.signature("threats", number, f"Example.Threat{number}", "Adware", "Adware", "", "Example Ltd", "", 3, 0, "",
                       "true", 0, "", 0)

    def add_threats(self, count):
        for number in range(1, count + 1):
            threat = 10_000 + number
            self.threat(threat)
            shared = f"Program Files/Shared {number // 50}"
            for name in (f"{shared}/program {number}.exe", f"{shared}/library {number}.dll"):
                data = f"{name}\n".encode() * 60
                self.file(name, data)
                self.signature("md5", threat, hashlib.md5(data).hexdigest())
            self.file(f"Example {number}/notes.txt", b"a file of a folder\n")
            self.signature("folders", threat, f"c:\\example {number}")
            self.software[(f"Example Key {number}", "Part")] = []
            self.signature("regkeys", threat, "HKEY_LOCAL_MACHINE", f"SOFTWARE\\Example Key {number}", "", "", 0)
            self.set(("Example Shared",), f"Item {number}", f"data of {number}")
            self.signature("regkeys", threat, "HKEY_LOCAL_MACHINE", "SOFTWARE\\Example Shared", f"Item {number}",
                           f"data of {number}", 0)
            (self.cookies / f"{USER}@tracker{number}.example[1].txt").write_bytes(b"a cookie\n")
            self.signature("cookies", threat, f"tracker{number}.example")

    def finish(self):
        """Writes the registry and the tables."""
        if self.shape == "disk":
            config = self.drive / "windows/system32/config"
            self._hive(config / "SYSTEM", SYSTEM.splitlines(keepends=True))
            self._hive(config / "SOFTWARE", self._lines())
            self._hive(self.user / "NTUSER.DAT", ['{"type":"key","path":["Software"]}\n'])
        else:
            self._prefix()
        self._tables()

    def _lines(self):
        for path, values in self.software.items():
            if not values:
                yield json.dumps({"type": "key", "path": path}) + "\n"
            for name, kind, text in values:
                yield json.dumps({"type": "value", "path": path, "name": name, "valueType": kind, "text": text}) + "\n"

    def _hive(self, path, lines):
        made = subprocess.Popen([self.bin / "hivemake", "-o", path], stdin=subprocess.PIPE, text=True)
        made.stdin.writelines(lines)
        made.stdin.close()
        if made.wait() != 0:
            raise SystemExit(f"{path}: hivemake failed")

    def _prefix(self):
        def quoted(text):
            return text.replace("\\", "\\\\").replace('"', '\\"')
        with open(self.root / "system.reg", "w", encoding="ascii", newline="\n") as out:
            out.write(WINE_HEADER % "Machine")
            for path in sorted(self.software, key=lambda path: "\\".join(path).lower()):
                out.write("\n[Software\\\\" + "\\\\".join(path) + "] 1700000000\n#time=1da16a0d3d4c000\n")
                for name, kind, text in self.software[path]:
                    data = f'"{quoted(text)}"' if kind == 1 else f'str({kind}):"{quoted(text)}"'
                    out.write(f'"{name}"={data}\n' if name else f"@={data}\n")
        (self.root / "user.reg").write_text(
            WINE_HEADER % "User\\\\S-1-5-21-0-0-0-1000" + "\n[Software] 1700000000\n#time=1da16a0d3d4c000\n")
        (self.root / "userdef.reg").write_text(WINE_HEADER % "User\\\\.Default")
        devices = self.root / "dosdevices"
        devices.mkdir()
        (devices / "c:").symlink_to("../drive_c")

    def _tables(self):
        tables = self.work / "tables"
        tables.mkdir()
        for table, columns in TABLES.items():
            with open(tables / f"{table}.csv", "w", encoding="utf-8", newline="") as out:
                writer = csv.writer(out)
                writer.writerow(columns)
                writer.writerows(self.rows[table])
        subprocess.run([ROOT / "scripts/make-tables", self.bin / "kelsdb", self.data, tables, SAMPLES], check=True,
                       stdout=subprocess.DEVNULL)
