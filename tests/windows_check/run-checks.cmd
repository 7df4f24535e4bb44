@echo off
rem Runs the checks; see windows-check.html. It asks before it touches anything but a branch of its own
rem below HKEY_CURRENT_USER and a folder of its own below the temporary directory.
"%~dp0windows_check.exe" %*
set zum_status=%ERRORLEVEL%
pause
exit /b %zum_status%
