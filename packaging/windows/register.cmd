@echo off
rem Registers the engine's automation server: for all users, or for the current one alone with /PerUser.
"%~dp0kelThreatEngine.exe" /RegServer %1
if errorlevel 1 (
  echo The engine could not be registered. Registering for all users takes an administrator; /PerUser does not.
  exit /b 1
)
echo The engine is registered.
