<#
.SYNOPSIS
Lists the scans that were made as objects, or what one of them found.
.DESCRIPTION
Exit code: 0 done, 1 there is no such scan, 69 the engine is not registered.
.EXAMPLE
powershell -File history.ps1 -DataFolder C:\ProgramData\Scans
.EXAMPLE
powershell -File history.ps1 -DataFolder C:\ProgramData\Scans -Scan last
#>
param(
    [Parameter(Mandatory = $true)] [string] $DataFolder,
    [string] $Scan
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
$history = $engine.ScanHistory

# The rows of a table as objects.
function Get-Row($table) {
    while (-not $table.EOF) {
        $row = [ordered] @{}
        foreach ($field in $table.Fields) {
            $row[$field.Name] = $field.Value
        }
        [pscustomobject] $row
        $table.MoveNext()
    }
}

if (-not $Scan) {
    Get-Row $history.GetScanHistoryDetails()
    exit 0
}
if ($Scan -eq 'last') {
    $Scan = $history.GetLastScanID()
}
$detail = $history.GetScanHistoryDetail($Scan)
if ($null -eq $detail) {
    "there is no scan $Scan"
    exit 1
}
Get-Row $detail.DetectedThreats
Get-Row $detail.DetectedFiles
Get-Row $detail.DetectedReg
Get-Row $detail.DetectedCookies
exit 0
