@echo off
rem Takes back what register.cmd did; with /PerUser for the current user alone.
"%~dp0kelThreatEngine.exe" /UnregServer %1
if errorlevel 1 (
  echo The engine could not be unregistered.
  exit /b 1
)
echo The engine is no longer registered.
