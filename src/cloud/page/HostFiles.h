// cloud/page/HostFiles.h
//
// File names for import and export, and the host commands that both use. The commands may spin the event loop.

#pragma once

#include <openkelda/openkelda.h>

#include <QString>

/// Stores the text after the last "." of \p name's last component in \p extension, case kept. Returns false and leaves
/// \p extension unchanged if the component has no dot or begins with that dot.
bool getFileExtension(KString &name, KString &extension);

/// Changes \p name to a lower-case base name without path, without white space at its ends, and without the characters
/// \ / : * ? " < > |.
void CleanFilename(QString &name);

/// Returns the host's import translator for \p extension (lower case, no dot), or an empty text.
KString GetImportTranslatorNameFromExtension(const KString &extension);
/// Returns the host's import translator for the extension of the file at \p path, or an empty text.
KString GetImportTranslatorName(const KString &path);

/// Reads the host's export translators and, index by index, their extensions. \p extensions may be the shorter array.
void getAllExportTranslator(KStringArray &names, KStringArray &extensions);

/// Returns the directory for files of \p subFolder in the download area, with a separator at its end.
KString localFolder(const KString &subFolder);

/// Shows in the host's message area that \p name was imported or exported.
void DisplaySuccess(bool import, KString name);

/// Runs \p command with the host's command echo off. Restores the echo, also if the command fails.
void executeCommandSilently(const KString &command);
