// tour/LocalFiles.h
//
// Files on disk with which the tour and the tests check a result without the plug-in.

#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

/// In hexadecimal digits; empty if the file cannot be read.
QString sha256(const QString &file);
/// The absolute paths of all files below \p folder.
QStringList filesBelow(const QString &folder);
/// The names of the files and folders in \p folder, sorted.
QStringList namesIn(const QString &folder);
QStringList sorted(QStringList names);

/// Writes an OBJ file of \p count separate squares, which are two triangles each after triangulation. Creates missing
/// folders.
bool writeQuads(const QString &file, int count);

/// The path of the plug-in's settings file \p name.
QString settingsFile(const QString &name);
/// Stores that the dock of the plug-in is at the right side of the host's window.
void storeDockedAtTheRight();
/// Removes all settings of the plug-in below HOME.
void removeSettings();
