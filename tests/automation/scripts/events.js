// Events in JScript, for the host of tests/automation/scripthost: events.js DATA-FOLDER MACHINE-FOLDER.
var locations = 0, found = "", aborted = "";

function Watch_StartingLocation(location, scanType, count) {
    locations++;
    if (locations != count) WScript.Echo("out of step: " + location + " is " + count);
    if (locations == 3) manager.Scanner.AbortScan("three are enough");
}
function Watch_ThreatDetected(location, scanType, threatID, count) { found += " " + threatID; }
function Watch_ScanAborted(reason) { aborted += "[" + reason + "]"; }

var manager = WScript.CreateObject("kelThreatEngine.Manager");
manager.Inititalize();
var scanner = manager.Scanner;
scanner.UserDataRootPath = WScript.Arguments(0);
scanner.InitializeScan();
scanner.AddScanDriveAndPath(WScript.Arguments(1));
scanner.OptScanDepth = 3;
scanner.DoDriveScan = true;
WScript.ConnectObject(scanner.Scan.Callback, "Watch_");
WScript.Echo("run: " + (scanner.RunScanEasy() ? "yes" : "no") + ", aborted: " + aborted + " " +
    scanner.Scan.AbortReason);
WScript.Echo("locations: " + locations + " of " + scanner.Scan.ScannedFileCount);
WScript.Echo("end of the events");
WScript.Quit(9);
