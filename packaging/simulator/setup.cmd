@echo off
rem setup.cmd: registers the simulated suite that lies in this folder, and shows what the agent finds there.
rem setup.cmd remove: undoes it.
if /i "%1"=="remove" goto remove
if not "%1"=="" goto usage
"%~dp0bin\simctl.exe" setup
if errorlevel 1 exit /b 1
"%~dp0bin\fcoectl.exe" tree
exit /b

:remove
"%~dp0bin\simctl.exe" remove
exit /b

:usage
echo usage: setup.cmd [remove]
exit /b 2
