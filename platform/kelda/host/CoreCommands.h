// host/CoreCommands.h
//
// The commands that every host offers, by subject. \p host must outlive its interpreter's use of them.

#pragma once

class KeldaHost;

/// eval, source, exists, print, info, warning, error, commandEcho, quit.
void addScriptCommands(KeldaHost &host);
/// callbacks, menuItem, deleteUI, waitCursor, setStringResource, getStringResource, loadPlugin, unloadPlugin,
/// pluginInfo.
void addInterfaceCommands(KeldaHost &host);
/// internalVar, getenv, about, sysFile, getFileList.
void addSystemCommands(KeldaHost &host);
