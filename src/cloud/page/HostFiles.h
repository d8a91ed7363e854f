// cloud/page/HostFiles.h
//
// File names as import and export read them, and the host commands that both use.

#pragma once

#include <openkelda/openkelda.h>

#include <QString>

/// The text after the last "." of \p name's last component, case kept. False, and \p extension left alone, when there
/// is no dot or nothing stands before it.
bool getFileExtension(KString &name, KString &extension);

/// Makes \p name a lower-case base name: no white space around it, no path, none of \ / : * ? " < > |.
void CleanFilename(QString &name);

/// The host's import translator for \p extension (lower case, no dot); empty when there is none.
KString GetImportTranslatorNameFromExtension(const KString &extension);
/// The same for the extension of the file at \p path.
KString GetImportTranslatorName(const KString &path);

/// The host's export translators and, index by index, their extensions. \p extensions may be the shorter one.
void getAllExportTranslator(KStringArray &names, KStringArray &extensions);

/// The directory below the host's temporary folder that a file of \p subFolder is written to. Ends in a separator.
KString localFolder(const KString &subFolder);

/// Tells the user in the host's message area that \p name was imported or exported.
void DisplaySuccess(bool import, KString name);

/// Runs \p command with the host's command echo off; the echo is as before afterwards, also when the command fails.
void executeCommandSilently(const KString &command);
