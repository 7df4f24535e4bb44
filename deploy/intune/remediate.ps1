# Remediation: runs /unblock where the rehearsal ends with 1 or 4, and nowhere else. 0 only where a second rehearsal finds
# nothing to repair any more and no package was missing, else 1. The console shows the line.
$zum = "$env:SystemRoot\zum"
$rehearse = "$zum\zum_rehearse.exe"
if (-not (Test-Path -LiteralPath $rehearse)) { Write-Output "not repaired: $rehearse isn't there"; exit 1 }
& $rehearse --json | Out-Null
$before = $LASTEXITCODE
if ($before -eq 0) { Write-Output 'nothing to repair'; exit 0 }
if (1, 4 -notcontains $before) { Write-Output "not repaired: zum_rehearse.exe ended with $before"; exit 1 }

$run = "$zum\{0:yyyy-MM-ddTHH-mm-ss}" -f (Get-Date)
New-Item -ItemType Directory -Path $run | Out-Null
reg.exe export HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Installer "$run\installer-1.reg" /reg:64 | Out-Null
$first = $LASTEXITCODE
reg.exe export HKLM\SOFTWARE\Classes\Installer "$run\installer-2.reg" /reg:64 | Out-Null
if ($first -ne 0 -or $LASTEXITCODE -ne 0) { Write-Output 'not repaired: the records could not be exported'; exit 1 }
& $rehearse --undo "$run\undo.reg" | Out-Null
if (1, 4 -notcontains $LASTEXITCODE) { Write-Output 'not repaired: the undo file could not be written'; exit 1 }

$line = & "$zum\zum_setup_util.exe" "--trace-output=$run" /unblock
$status = $LASTEXITCODE
& $rehearse --json | Out-Null
$after = $LASTEXITCODE
Write-Output "before $before; $line ($status); after $after; kept in $run"
if ($status -eq 0 -and $after -eq 0 -and $before -eq 1) { exit 0 }
exit 1
