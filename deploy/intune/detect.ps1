# Detection: 0 where nothing is to be repaired, else 1, which starts the remediation. The console shows the line.
$rehearse = "$env:SystemRoot\zum\zum_rehearse.exe"
if (-not (Test-Path -LiteralPath $rehearse)) { Write-Output "not rehearsed: $rehearse isn't there"; exit 1 }
& $rehearse --json | Out-Null
$status = $LASTEXITCODE
Write-Output "zum_rehearse.exe ended with $status"
if ($status -eq 0) { exit 0 }
exit 1
