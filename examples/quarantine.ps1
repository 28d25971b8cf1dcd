<#
.SYNOPSIS
Lists what is in the quarantine as objects, or puts a threat back.
.EXAMPLE
powershell -File quarantine.ps1 -DataFolder C:\ProgramData\Scans
.EXAMPLE
powershell -File quarantine.ps1 -DataFolder C:\ProgramData\Scans -Restore 1B2C3D4E-0000-4000-8000-0000
#>
param(
    [Parameter(Mandatory = $true)] [string] $DataFolder,
    [string] $Restore
)
$ErrorActionPreference = 'Stop'

$engine = New-Object -ComObject kelThreatEngine.Manager
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
foreach ($threat in $quarantine.GetQuarantineThreats()) {
    [pscustomobject] @{
        Identifier = $threat.QuarantineThreatID
        Removed    = $threat.QuarantineDate
        Threat     = $threat.ThreatName
        Scan       = $threat.ScanID
    }
}
exit 0
