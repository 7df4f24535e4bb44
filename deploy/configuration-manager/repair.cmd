@echo off
rem Rehearses, and where the rehearsal says that it helps exports the registry branches, runs /unblock and rehearses again.
rem Beside this file: zum_rehearse.exe and zum_setup_util.exe. To be run elevated, as the system's account for one.
rem
rem   0        nothing is to be repaired (any more)
rem   4        repaired, but a package is missing: 1612 stays until it is back
rem   2, 3, 5  as zum_rehearse.exe; /unblock was not run
rem   1        /unblock failed, or something is to be repaired all the same, or a step before it failed
rem
rem All that is kept is in %SystemRoot%\zum, each repair in a folder of its own.
setlocal
set "zum=%SystemRoot%\zum"
if not exist "%zum%\" mkdir "%zum%"
copy /y "%~dp0zum_rehearse.exe" "%zum%\" >nul
if errorlevel 1 exit /b 1
copy /y "%~dp0zum_setup_util.exe" "%zum%\" >nul
if errorlevel 1 exit /b 1

"%zum%\zum_rehearse.exe" --json >"%zum%\before.json"
set "before=%ERRORLEVEL%"
if "%before%"=="1" goto repair
if "%before%"=="4" goto repair
exit /b %before%

:repair
set number=0
:next
set /a number=number+1
set "run=%zum%\repair-%number%"
if exist "%run%\" goto next
mkdir "%run%"
reg export HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Installer "%run%\installer-1.reg" /reg:64 >nul
if errorlevel 1 exit /b 1
reg export HKLM\SOFTWARE\Classes\Installer "%run%\installer-2.reg" /reg:64 >nul
if errorlevel 1 exit /b 1
"%zum%\zum_rehearse.exe" --undo "%run%\undo.reg" >nul
if not exist "%run%\undo.reg" exit /b 1
"%zum%\zum_setup_util.exe" --trace-output=%run% /unblock >"%run%\output.txt"
if not "%ERRORLEVEL%"=="0" exit /b 1
"%zum%\zum_rehearse.exe" --json >"%run%\after.json"
if not "%ERRORLEVEL%"=="0" exit /b 1
if "%before%"=="4" exit /b 4
exit /b 0
