<#
.SYNOPSIS
Lists what is in the quarantine as objects, puts a threat back, or removes it for good.
.DESCRIPTION
Exit code: 0 done, 1 it failed, 69 the engine is not registered.
.EXAMPLE
powershell -File quarantine.ps1 -DataFolder C:\ProgramData\Scans
.EXAMPLE
powershell -File quarantine.ps1 -DataFolder C:\ProgramData\Scans -Restore 1B2C3D4E-0000-4000-8000-0000
.EXAMPLE
powershell -File quarantine.ps1 -DataFolder C:\ProgramData\Scans -Destroy 1B2C3D4E-0000-4000-8000-0000
#>
param(
    [Parameter(Mandatory = $true)] [string] $DataFolder,
    [string] $Restore,
    [string] $Destroy
)
$ErrorActionPreference = 'Stop'

try {
    $engine = New-Object -ComObject kelThreatEngine.Manager
} catch {
    'The engine is not registered: kelThreatEngine.exe /RegServer does that.'
    exit 69
}
[void] $engine.Inititalize()
$engine.Scanner.UserDataRootPath = $DataFolder
# Opens the quarantine.
[void] $engine.Cleaner.InitializeClean('')
$quarantine = $engine.Quarantine

if ($Restore) {
    $outcome = $quarantine.RestoreThreat($Restore)
    if ($outcome -ne 0) {
        "not restored $Restore, error $outcome"
        exit 1
    }
    "restored $Restore"
    exit 0
}
if ($Destroy) {
    if (-not ($quarantine.QuarantineThreatIDExists($Destroy) -and $quarantine.DestroyThreat($Destroy))) {
        "not destroyed $Destroy"
        exit 1
    }
    "destroyed $Destroy"
    exit 0
}
foreach ($threat in $quarantine.GetQuarantineThreats()) {
    [pscustomobject] @{
        Identifier = $threat.QuarantineThreatID
        Removed    = $threat.QuarantineDate
        Threat     = $threat.ThreatName
        Scan       = $threat.ScanID
    }
}
exit 0
