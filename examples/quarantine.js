// Lists what is in the quarantine, puts a threat back, or removes it for good.
//
//   cscript //nologo quarantine.js DATA-FOLDER list
//   cscript //nologo quarantine.js DATA-FOLDER restore IDENTIFIER
//   cscript //nologo quarantine.js DATA-FOLDER destroy IDENTIFIER
//
// Exit code: 0 done, 1 it failed, 64 wrong arguments, 69 the engine is not registered.
var errNone = 0;

function usage() {
    WScript.Echo("usage: quarantine.js DATA-FOLDER list|restore|destroy [IDENTIFIER]");
    return 64;
}

function list(quarantine) {
    var threats = quarantine.GetQuarantineThreats();
    for (var i = 1; i <= threats.Count; i++) {
        var threat = threats.Item(i);
        WScript.Echo(threat.QuarantineThreatID + "  " + threat.QuarantineDate + "  " + threat.ThreatName);
        var files = quarantine.GetQuarantineThreat(threat.QuarantineThreatID).QThreatLocationFiles;
        for (var f = 1; f <= files.Count; f++) {
            WScript.Echo("    " + files.Item(f).OriginalFilePath);
        }
    }
    WScript.Echo(threats.Count + " in the quarantine");
    return 0;
}

function main(given) {
    if (given.length < 2) {
        return usage();
    }
    var engine;
    try {
        engine = new ActiveXObject("kelThreatEngine.Manager");
    } catch (e) {
        WScript.Echo("The engine is not registered: kelThreatEngine.exe /RegServer does that.");
        return 69;
    }
    engine.Inititalize();
    engine.Scanner.UserDataRootPath = given(0);
    // Opens the quarantine.
    engine.Cleaner.InitializeClean("");
    var quarantine = engine.Quarantine;
    var order = String(given(1));
    if (order == "list" && given.length == 2) {
        return list(quarantine);
    }
    if (given.length != 3) {
        return usage();
    }
    var id = String(given(2));
    if (order == "restore") {
        var outcome = quarantine.RestoreThreat(id);
        WScript.Echo(outcome == errNone ? "restored " + id : "not restored " + id + ", error " + outcome);
        return outcome == errNone ? 0 : 1;
    }
    if (order == "destroy") {
        var destroyed = quarantine.QuarantineThreatIDExists(id) && quarantine.DestroyThreat(id);
        WScript.Echo((destroyed ? "destroyed " : "not destroyed ") + id);
        return destroyed ? 0 : 1;
    }
    return usage();
}

WScript.Quit(main(WScript.Arguments));
