<#
.SYNOPSIS
Scans the machine, or the folders that are named, and writes the report.
.DESCRIPTION
Exit code: 0 nothing found, 1 something found, 2 the scan did not run to its end, 69 the engine is not registered, 73
the report can not be written. The report is UTF-16, so that every name is in it.
.EXAMPLE
powershell -File nightly-scan.ps1 -DataFolder C:\ProgramData\Scans -Report C:\Reports\tonight.xml
.EXAMPLE
powershell -File nightly-scan.ps1 -DataFolder C:\ProgramData\Scans -Report C:\Reports\tonight.xml C:\Users D:\
#>
param(
    [Parameter(Mandatory = $true)] [string] $DataFolder,
    [Parameter(Mandatory = $true)] [string] $Report,
    [Parameter(ValueFromRemainingArguments = $true)] [string[]] $Folder = @()
)
$ErrorActionPreference = 'Stop'

try {
    $engine = New-Object -ComObject kelThreatEngine.Manager
} catch {
    'The engine is not registered: kelThreatEngine.exe /RegServer does that.'
    exit 69
}
[void] $engine.Inititalize()
$scanner = $engine.Scanner
$scanner.UserDataRootPath = $DataFolder
[void] $scanner.InitializeScan()

$wholeMachine = $Folder.Count -eq 0
$scanner.OptScanDepth = 3    # scandeep
$scanner.DoDriveScan = $true
$scanner.DoScanProcesses = $wholeMachine
$scanner.DoMostCommon = $wholeMachine
$scanner.DoScanRegistry = $wholeMachine
$scanner.DoScanCookies = $wholeMachine
$scanner.IsScheduledScan = $true
$scanner.optWriteHistory = $true
foreach ($path in $Folder) {
    $scanner.AddScanDriveAndPath($path)
}

$complete = $scanner.RunScanEasy()
$scan = $scanner.Scan
try {
    Set-Content -LiteralPath $Report -Value $scan.ScanResultsFull() -Encoding Unicode
} catch {
    "The report can not be written: $Report"
    exit 73
}

"$($scan.ScannedFileCount) files, $($scan.DetectedThreatCount) threats, $($scan.TotalScanTime())"
foreach ($threat in $scan.DetectedThreats) {
    "  $($threat.Threat.ThreatName)"
}
if (-not $complete) {
    "aborted: $($scan.AbortReason)"
    exit 2
}
exit [int] ($scan.DetectedThreatCount -gt 0)
