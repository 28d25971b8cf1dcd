// The whole road of a client in JScript: road.js DATA-FOLDER MACHINE-FOLDER. Its last line tells that it ran to its end: an
// error ends a script in silence here.
var checks = 0, failures = 0;

function check(what, is, should) {
    checks++;
    if (is !== should) {
        failures++;
        WScript.Echo("FAILED " + what + ": is " + is + " (" + typeof is + "), should be " + should);
    }
}

function fails(what, call) {
    var failed = false;
    try {
        call();
    } catch (error) {
        failed = true;
    }
    check(what + " fails", failed, true);
}

// What For Each walks, as an array.
function items(collection) {
    var found = [];
    for (var walk = new Enumerator(collection); !walk.atEnd(); walk.moveNext()) {
        found.push(walk.item());
    }
    return found;
}

function open(data) {
    var engine = new ActiveXObject("kelThreatEngine.Manager");
    check("Inititalize", engine.Inititalize(), false);
    check("CurrentLanguage", engine.CurrentLanguage, 0);
    engine.Scanner.UserDataRootPath = data;
    check("UserDataRootPath", engine.Scanner.UserDataRootPath, data + "\\");
    check("DBVersionThreatData", new ActiveXObject("kelThreatEngine.Info").DBVersionThreatData(), "2026.11.1");
    check("an unknown threat", engine.Threats.GetThreatByThreatID(4), null);
    check("Category", engine.Threats.GetThreatByThreatID(9002).Category, "Trojan");
    return engine;
}

function records() {
    // Clients make records of their own.
    var threat = new ActiveXObject("kelThreatEngine.Threat");
    threat.ThreatName = "mine";
    threat.CanQuarantine = true;
    threat.OptionLevel = 7;
    check("ThreatName", threat.ThreatName, "mine");
    check("CanQuarantine", threat.CanQuarantine, true);
    check("OptionLevel", threat.OptionLevel, 7);
    check("ThreatLocationFiles", threat.ThreatLocationFiles, null);
    var detected = new ActiveXObject("kelThreatEngine.DetectedThreat");
    var file = new ActiveXObject("kelThreatEngine.ThreatLocationFile");
    file.DetectedFilePath = "C:\\x.exe";
    detected.ThreatLocationFiles.Add(file);
    threat.ThreatLocationFiles = detected.ThreatLocationFiles;
    check("a shared collection", threat.ThreatLocationFiles.Count, 1);
    check("its item", threat.ThreatLocationFiles.Item(1).DetectedFilePath, "C:\\x.exe");
    threat.ThreatLocationFiles = null;
    check("no collection", threat.ThreatLocationFiles, null);
    var files = detected.ThreatLocationFiles;
    files.Add(new ActiveXObject("kelThreatEngine.ThreatLocationFile"), "key");
    fails("a key twice", function () { files.Add(file, "KEY"); });
    fails("an item of another class", function () { files.Add(threat); });
    files.Remove("key");
    check("Count behind Remove", files.Count, 1);
    fails("clsFolderPaths", function () { new ActiveXObject("kelThreatEngine.clsFolderPaths"); });
}

function scan(engine, machine) {
    var scanner = engine.Scanner;
    check("InitializeScan", scanner.InitializeScan(), true);
    scanner.OptScanDepth = 3;
    scanner.DoDriveScan = true;
    scanner.optWriteHistory = true;
    scanner.AddScanDriveAndPath(machine);
    check("RunScanEasy", scanner.RunScanEasy(), true);
    var found = scanner.Scan;
    check("DetectedThreatCount", found.DetectedThreatCount, 3);
    check("GetDetectedThreat", found.GetDetectedThreat(1).substr(0, 2), "2|");
    fails("GetDetectedThreat of no place", function () { return found.GetDetectedThreat(4); });
    check("ScanResultsFull", found.ScanResultsFull().indexOf("Example.KeyLogger.Inkwell") > 0, true);
    check("StartDate", new Date(found.StartDate).getFullYear(), new Date().getFullYear());
    return found;
}

function clean(engine, found) {
    var cleaner = engine.Cleaner;
    check("InitializeClean", cleaner.InitializeClean(found.ScanID, found.DetectedThreats), 0);
    var detected = items(found.DetectedThreats);
    check("detected", detected.length, 3);
    for (var i = 0; i < detected.length; i++) {
        check("QuarantineThreat", cleaner.QuarantineThreat(detected[i].ThreatID), 0);
        check("DetectedThreatAction", detected[i].DetectedThreatAction, 1);
    }
    // Without detections, by the history alone.
    check("InitializeClean without detections", cleaner.InitializeClean(found.ScanID, null), 0);
    cleaner.UninitializeClean();
}

function undo(engine) {
    var quarantine = engine.Quarantine;
    var kept = items(quarantine.GetQuarantineThreats());
    check("Count", kept.length, 3);
    check("GetQuarantineThreatsByScanID of none", quarantine.GetQuarantineThreatsByScanID("none"), null);
    for (var i = 0; i < kept.length; i++) {
        check("RestoreThreat", quarantine.RestoreThreat(kept[i].QuarantineThreatID), 0);
    }
    check("Count behind RestoreThreat", quarantine.Count(), 0);
}

function history(engine, found) {
    var past = engine.ScanHistory;
    check("TotalScansRun", past.TotalScansRun(), 1);
    check("GetLastScanID", past.GetLastScanID(), found.ScanID);
    var table = past.GetLastScanHistoryDetail().DetectedFiles;
    var paths = 0;
    for (table.MoveFirst(); !table.EOF; table.MoveNext()) {
        check("ScanID", table.Fields("ScanID").Value, found.ScanID);
        check("FoundAt", table.Fields.Item("FoundAt").Value.substr(0, 3).toLowerCase(), "c:\\");
        paths++;
    }
    check("paths", paths, 3);
    past.Delete();
    check("TotalScansRun behind Delete", past.TotalScansRun(), 0);
}

var engine = open(WScript.Arguments(0));
records();
var found = scan(engine, WScript.Arguments(1));
clean(engine, found);
undo(engine);
history(engine, found);
WScript.Echo("road: " + checks + " checks, " + failures + " failed");
WScript.Quit(failures);
