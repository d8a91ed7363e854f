// host/CoreCommands.h
//
// The commands of every host.
//
//   eval TEXT...                       runs the joined arguments as a program
//   source FILE                        runs a script file; relative names are searched in KeldaHost::scriptFolders()
//   print TEXT...                      posts an information
//   error TEXT...                      fails with the text
//   commandEcho -q -state | -state on|off
//   waitCursor -q -state | -state on|off
//   quit [-exitCode N]
//   callbacks -addCallback PROC | -removeCallback PROC  -hook HOOK -owner NAME
//   menuItem -parent MENU -label TEXT [-command TEXT] ID | -exists ID
//   deleteUI ID                        removes a menu entry
//   setStringResource PLUGIN KEY TEXT, getStringResource PLUGIN KEY, loadPlugin FILE, unloadPlugin NAME
//   pluginInfo -q -listPlugins | -version NAME
//   internalVar -userAppDir | -userPrefDir
//   getenv NAME
//   about -uiLanguage
//   sysFile -exists PATH | -delete PATH
//   getFileList -folder DIR [-filespec WILDCARD]    the sorted names of files and folders

#pragma once

class KeldaHost;

void addCoreCommands(KeldaHost &host);
