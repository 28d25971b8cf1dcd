// The whole road of a client, in JScript: page.js USERDATA. Prints what it saw; page.vbs prints the same.
// Written from docs/automation.md alone: what that page does not tell, this script does not know.
var files = new ActiveXObject("Scripting.FileSystemObject");
var shell = new ActiveXObject("WScript.Shell");
var userData = WScript.Arguments(0);

function say(name, value) { WScript.Echo(name + ": " + value); }
function yesNo(value) { return value ? "yes" : "no"; }
function has(text, part) { return yesNo(text.indexOf(part) >= 0); }
function lower(text) { return text.toLowerCase(); }
function fails(call) { try { call(); } catch (e) { return "yes"; } return "no"; }

function each(collection, visit) {
    for (var walk = new Enumerator(collection); !walk.atEnd(); walk.moveNext()) visit(walk.item());
}

// Items in the order of their texts: the order in which things are found is not promised.
function saySorted(name, texts) {
    texts.sort();
    say(name, texts.length);
    for (var i = 0; i < texts.length; i++) WScript.Echo("  " + texts[i]);
}

function sayPlanted(name) {
    var places = ["C:\\downloads\\song.exe", "C:\\downloads\\whistle.dll", "C:\\downloads\\ink.exe",
        "C:\\windows\\compass.ini"], there = "";
    for (var i = 0; i < places.length; i++) there += files.FileExists(places[i]) ? "1" : "0";
    say(name, there);
}

function runValue() {
    return fails(function () {
        shell.RegRead("HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run\\Tinwhistle Example");
    }) == "yes" ? "no" : "yes";
}

function newScan() {
    scanner.InitializeScan();
    scanner.OptScanDepth = 3;
    scanner.OptMaxOptionLevel = 2;
    scanner.DoScanProcesses = true;
    scanner.DoMostCommon = true;
    scanner.DoDriveScan = true;
    scanner.DoScanRegistry = true;
    scanner.DoScanCookies = true;
    scanner.DoScanZips = true;
    scanner.optWriteHistory = true;
    scanner.IsScheduledScan = true;
    say("run", yesNo(scanner.RunScanEasy()));
    return scanner.Scan;
}

function sayThreats(scan) {
    var seen = [], byPlace = 0, byKey = 0;
    each(scan.DetectedThreats, function (threat) {
        var id = threat.ThreatID;
        seen.push(id + " " + threat.Threat.ThreatName + ", type " + threat.ScanType + ", level " + threat.OptionLevel +
            ", action " + threat.DetectedThreatAction + ", of this scan " + yesNo(threat.ScanID == scan.ScanID));
        each(threat.ThreatLocationFiles, function (place) {
            seen.push(id + " file " + lower(place.DetectedFilePath) + " " + lower(place.MD5) + " level " +
                place.OptionLevel);
        });
        each(threat.ThreatLocationFolders, function (place) {
            seen.push(id + " folder " + lower(place.DetectedFolderPath));
        });
        each(threat.ThreatLocationCookies, function (place) {
            seen.push(id + " cookie " + place.Cookie + " " + yesNo(files.FileExists(place.DetectedFilePath)));
        });
        each(threat.ThreatLocationRegKeys, function (place) {
            seen.push(id + " registry " + place.RegHive + " " + place.Regkey + " [" + place.RegValueName + "] " +
                place.RegValueData);
        });
        seen.push(id + " customs " + threat.ThreatLocationCustoms.Count);
    });
    saySorted("threats and places", seen);

    for (var i = 1; i <= scan.DetectedThreats.Count; i++) {
        var threat = scan.DetectedThreats.Item(i);
        if (threat.ThreatID == scan.DetectedThreats(i).ThreatID) byPlace++;
        if (scan.DetectedThreats("threatid:" + threat.ThreatID).ThreatID == threat.ThreatID) byKey++;
        if (scan.GetDetectedThreat(i) != threat.ScanType + "|" + threat.Threat.ThreatName) say("other text", i);
    }
    say("by place, by key, count", byPlace + " " + byKey + " " + scan.DetectedThreatCount);
    say("behind the last fails", fails(function () { scan.GetDetectedThreat(scan.DetectedThreatCount + 1); }));
    say("unknown key fails", fails(function () { scan.DetectedThreats.Item("ThreatID:1"); }));
}

// What the columns of a table are, and how many rows the moves see.
function sayTable(name, table) {
    var columns = "", rows = 0;
    each(table.Fields, function (column) { columns += " " + column.Name + "/" + column.Type; });
    if (table.RecordCount > 0) table.MoveFirst();
    for (; !table.EOF; table.MoveNext()) rows++;
    say(name, table.RecordCount + " " + rows + columns);
}

// ---- beginning
var manager = new ActiveXObject("kelThreatEngine.Manager");
say("initialised", yesNo(manager.Inititalize(1, 1)) + " " + yesNo(manager.IsInititalized()) + " " +
    manager.CurrentLanguage + " " + manager.CurrentVersionType);
// Some hosts leave a NUL at the end of the expanded text.
say("user", yesNo(manager.UserName != "" &&
    shell.ExpandEnvironmentStrings("%USERNAME%").indexOf(manager.UserName) == 0));
say("administrator", yesNo(manager.HasAdminPermission));
var scanner = manager.Scanner;
say("before", yesNo(scanner.Scan == null) + " state " + scanner.ScannerState);
scanner.UserDataRootPath = userData;
say("user data", yesNo(lower(scanner.UserDataRootPath) == lower(userData) ||
    lower(scanner.UserDataRootPath) == lower(userData + "\\")));
sayPlanted("planted");

// ---- catalogue, versions, settings
var info = new ActiveXObject("kelThreatEngine.Info");
say("versions", info.DBVersionThreatData() + " " + info.DBVersionScanData());
say("diagnostics", has(info.Diagnostics(true), ":"));
var threats = manager.Threats;
say("names", threats.GetThreatDisplayName(9001) + " " + threats.GetThreatDisplayName(0) + " [" +
    threats.GetThreatDisplayName(1) + "] " + threats.GetThreatCategory(9003) + " " + threats.GetThreatThreatType(9004));
var record = threats.GetThreatByThreatID(9001);
say("record", record.ThreatID + " " + record.ThreatName + " " + record.Category + " " + record.ThreatType + " " +
    record.Author + " " + record.AuthorURL + " " + record.ThreatLevel + " " + record.GetThreatLevel() + " " +
    record.CustomRemovalType + " " + yesNo(record.CanQuarantine) + " " + yesNo(record.ThreatLocationFiles == null));
say("its texts", yesNo(record.GetDescriptionDisplay() == record.DescriptionShort) + " " +
    yesNo(record.GetThreatLevelDisplayName().length > 0) + " " + yesNo(record.GetCategoryDescription().length > 0));
say("level of the category", threats.GetThreatByThreatID(9003).ThreatLevel + " " +
    yesNo(threats.GetThreatByThreatID(9003).GetThreatLevel() > 0));
say("unknown", yesNo(threats.GetThreatByThreatID(1) == null));
manager.Settings.Save("name", "value");
say("settings", "[" + manager.Settings.View("name") + "]");
manager.Settings.Delete("name");

// ---- single questions, and the scan
scanner.InitializeScan();
say("questions", scanner.MD5ThreatExists("b48fe358795db0995c20ddec472f8725") + " " +
    scanner.FilePathThreatExists("%windows%\\compass.ini") + " " +
    scanner.CookieThreatExists("crumbtrail.example") + " " +
    scanner.FolderThreatExists("%program_files%\\bannerbird") + " " +
    scanner.IsFileThreat("C:\\downloads\\ink.exe", "", 3) + " " + scanner.IsFolderThreat("C:\\windows") + " " +
    scanner.FileThreatExists("ink.exe"));
scanner.AddScanDriveAndPath("C:\\downloads\\");
say("to walk", scanner.ScanDriveAndPathCount() + " " + scanner.GetScanDriveAndPath(1) + " [" +
    scanner.GetScanDriveAndPath(2) + "]");
var scan = newScan();
var firstID = scan.ScanID;
say("scan", scan.ScanID.length + " [" + scan.AbortReason + "] " + yesNo(scan.IsScheduledScan) + " " +
    yesNo(scan.EndDate >= scan.StartDate) + " state " + scanner.ScannerState);
say("scanned", yesNo(scan.ScannedProcessCount > 0) + " " + yesNo(scan.ScannedFileCount > 0) + " " +
    yesNo(scan.ScannedRegistryCount > 0) + " " + scan.ScannedCookieCount);
say("detected", scan.DetectedProcessCount + " " + scan.DetectedFileCount + " " + scan.DetectedRegistryCount + " " +
    scan.DetectedCookieCount + " " + scan.DetectedFolderCount);
sayThreats(scan);
say("reports", has(scan.ScanResultsSummary(), "Example.Adware.Bannerbird") + " " +
    has(lower(scan.ScanResultsFiles()), "c:\\downloads\\song.exe") + " " +
    has(scan.ScanResultsRegistry(), "Tinwhistle Example") + " " + has(scan.ScanResultsCookies(), "crumbtrail.example") +
    " " + has(lower(scan.ScanResultsFull()), "c:\\windows\\compass.ini") + " " +
    yesNo(scan.ScanResultsFolders().length > 0));
say("folders", lower(scan.FolderPaths.PathWindows) + " " +
    scan.FolderPaths.TranslateFromVariablePath("%windows%\\compass.ini") + " " +
    scan.FolderPaths.TranslateToVariablePath("C:\\windows\\compass.ini"));
say("path of a file", lower(scan.GetFilePathFromDetectedFile(9003, "564ee6e0c4ed6302803753eb53f2d7f8")));
say("level of a file", scan.GetFileOptionLevel("564ee6e0c4ed6302803753eb53f2d7f8", ""));

// ---- ignore list
var ignored = manager.IgnoredThreats;
ignored.AddIgnoredThreat(9003);
ignored.AddIgnoredThreat(9003);
ignored.AddIgnoredThreat(9005);
var numbers = "";
each(ignored.GetIgnoredThreatIDs(), function (number) { numbers += number + " "; });
say("ignored", numbers + ignored.GetIgnoredThreatCount() + " " + yesNo(ignored.IsIgnoredThreatID(9003)) + " " +
    yesNo(ignored.IsIgnoredThreatID(9001)) + " " + yesNo(manager.IsInititalized()));
scanner.ResetScan();
say("a reset forgets the folders", scanner.ScanDriveAndPathCount());
scanner.AddScanDriveAndPath("C:\\downloads\\");
scan = newScan();
say("found but ignored", scan.DetectedThreatCount);
say("9003 is left out", fails(function () { scan.DetectedThreats("ThreatID:9003"); }));
ignored.RemoveIgnoredThreat(9003);
ignored.RemoveIgnoredThreat(9005);
say("ignored", ignored.GetIgnoredThreatCount());

// ---- clean
scan = newScan();
var cleaner = manager.Cleaner;
say("cleaner", cleaner.CleanerState + " " + cleaner.QuarantineThreat(9001));
say("initialised", cleaner.InitializeClean(scan.ScanID, scan.DetectedThreats) + " " + cleaner.CleanerState + " " +
    cleaner.DetectedThreats.Count);
var cleaned = [];
each(scan.DetectedThreats, function (threat) {
    var answer = cleaner.QuarantineThreat(threat.ThreatID, false);
    var id = manager.Quarantine.GetQuarantineThreatIDFromThreatID(threat.ThreatID);
    cleaned.push(threat.ThreatID + " answer " + answer + " identifier " + yesNo(id != "") + " action " +
        threat.DetectedThreatAction);
});
cleaner.UninitializeClean();
saySorted("cleaned", cleaned);
say("reboot", yesNo(cleaner.IsRebootRequired));
sayPlanted("after the cleaning");
say("run value", runValue());

// ---- quarantine
var quarantine = manager.Quarantine, listed = [];
say("quarantine", quarantine.Count() + " " + yesNo(quarantine.QuarantineThreatExists(9001)) + " " +
    yesNo(quarantine.QuarantineThreatExists(1)) + " " +
    quarantine.GetQuarantineThreatsByScanID(scan.ScanID).Count + " " +
    yesNo(quarantine.GetQuarantineThreatsByScanID("none") == null) + " " +
    quarantine.GetQuarantineThreatsByDate().Count + " " +
    yesNo(quarantine.GetQuarantineThreatsByCategory("Adware") == null));
each(quarantine.GetQuarantineThreats(), function (item) {
    var id = item.ThreatID, record = quarantine.GetQuarantineThreat(item.QuarantineThreatID);
    listed.push(id + " " + item.ThreatName + ", " + item.Category + ", of this scan " +
        yesNo(item.ScanID == scan.ScanID) +
        ", identifier " + item.QuarantineThreatID.length + ", dated " + yesNo(item.QuarantineDate.length > 0) +
        ", folder " + yesNo(item.QuarantinePath.length > 0));
    each(record.QThreatLocationFiles, function (place) {
        listed.push(id + " file " + lower(place.OriginalFilePath) + " named " +
            yesNo(place.QuarantineFileName.length > 0));
    });
    each(record.QThreatLocationFolders, function (place) {
        listed.push(id + " folder " + lower(place.OriginalFolderPath));
    });
    each(record.QThreatLocationCookies, function (place) {
        listed.push(id + " cookie named " + yesNo(place.QuarantineFileName.length > 0));
    });
    each(record.QThreatLocationRegKeys, function (place) {
        listed.push(id + " registry " + place.RegHive + " " + place.Regkey + " [" + place.RegValueName + "] " +
            place.RegValueData + " type " + place.RegValueDataType);
    });
});
saySorted("in the quarantine", listed);
say("its XML", has(quarantine.GetQuarantineXML(), "Example.Adware.Bannerbird"));
record = quarantine.GetQuarantineThreatByThreatID(9002);
say("catalogue's record", record.QThreat(9002).ThreatName + " " + yesNo(record.QThreat(1) == null));
say("unknown", yesNo(quarantine.GetQuarantineThreat("none") == null) + " " +
    yesNo(quarantine.QuarantineThreatIDExists("none")) + " " +
    yesNo(quarantine.QuarantineThreatIDExists(record.QuarantineThreatID)));

// ---- restore
var answers = "";
each(quarantine.GetQuarantineThreats(), function (item) {
    answers += " " + quarantine.RestoreThreat(item.QuarantineThreatID);
});
say("restored", quarantine.Count() + answers);
sayPlanted("after the return");
say("run value", runValue());

// ---- again, and this time for good
scan = newScan();
say("found again", scan.DetectedThreatCount);
cleaner.InitializeClean(scan.ScanID, scan.DetectedThreats);
say("quarantined", cleaner.QuarantineThreat(9002, false));
var id = manager.Quarantine.GetQuarantineThreatIDFromThreatID(9002);
say("destroyed at once", cleaner.DestroyThreat(9005));
cleaner.UninitializeClean();
say("destroyed", yesNo(manager.Quarantine.DestroyThreat(id)) + " " + manager.Quarantine.Count() + " " +
    yesNo(manager.Quarantine.QuarantineThreatIDExists(id)));
sayPlanted("for good");

// ---- history
var history = manager.ScanHistory;
say("history", history.TotalScansRun() + " " + yesNo(history.GetLastScanID() == scan.ScanID) + " " +
    history.Count() + " " +
    yesNo(history.GetLastScanHistoryDetail().ScanID == scan.ScanID) + " " +
    yesNo(history.GetLastScanDate().length > 0));
var table = history.GetScanHistoryDetails();
sayTable("scans", table);
table.Filter = "ScanID = '" + firstID + "'";
table.MoveFirst();
say("filtered", table.RecordCount + " " + yesNo(table.Fields("ScanID").Value == firstID) + " " +
    yesNo(table.Fields.Item("ScanID").Value == firstID) + " " + yesNo(table.Fields(0).Name == "ScanID") + " " +
    table.Fields("DetectedFileCount").Value);
table.Filter = "";
table.MoveLast();
say("last", yesNo(table.EOF) + " " + yesNo(table.BOF));
say("by date", history.GetScanHistoryDetailsByDate(new Date().getFullYear()).RecordCount + " " +
    history.GetScanHistoryDetailsByDate(1999).RecordCount);
history.GetScanHistoryDetails().Filter = "";
var detail = history.GetScanHistoryDetail(firstID);
say("detail", yesNo(detail.ScanID == firstID) + " " + detail.DetectedFileCount + " " +
    detail.DetectedRegistryCount + " " +
    detail.DetectedCookieCount + " " + detail.GetTotalDetectedLocationsCount());
sayTable("detected threats", detail.DetectedThreats);
sayTable("detected files", detail.DetectedFiles);
sayTable("detected registry", detail.DetectedReg);
sayTable("detected cookies", detail.DetectedCookies);
detail = history.GetScanHistoryDetail(scan.ScanID);
sayTable("quarantined", detail.QuarantinedThreats);
sayTable("deleted", detail.DeletedThreats);
say("unknown", yesNo(history.GetScanHistoryDetail("none") == null));
history.Truncate();
say("truncated", history.TotalScansRun());
history.Delete(scan.ScanID);
say("deleted", history.TotalScansRun());

// ---- collections of the client's own
scanner.InitializeScan();
var file = new ActiveXObject("kelThreatEngine.ThreatLocationFile");
file.MD5 = "00";
file.DetectedFilePath = "C:\\own.exe";
var found = new ActiveXObject("kelThreatEngine.DetectedThreat");
found.ThreatID = 9008;
found.ThreatLocationFiles.Add(file, "own");
say("own", found.ThreatLocationFiles.Count + " " + found.ThreatLocationFiles("OWN").DetectedFilePath);
found.ThreatLocationFiles.Remove("own");
say("own", found.ThreatLocationFiles.Count);

WScript.Echo("end of the road");
WScript.Quit(7);
