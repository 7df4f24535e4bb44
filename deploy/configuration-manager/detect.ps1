# Detection method: a line on the standard output and 0 say "installed", which is: nothing is to be repaired. No line and 0
# say "not installed": repair.cmd is to be run. Any other status is an error of the detection.
$rehearse = "$env:SystemRoot\zum\zum_rehearse.exe"
if (-not (Test-Path -LiteralPath $rehearse)) { exit 0 }
& $rehearse --json | Out-Null
$status = $LASTEXITCODE
if ($status -eq 0) { Write-Output 'nothing is to be repaired'; exit 0 }
if (1, 3, 4 -contains $status) { exit 0 }
exit $status
