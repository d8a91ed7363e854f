// tour/Evidence.h
//
// What can be seen of a journey without asking the plug-in: files, their bytes, and settings on disk.

#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

/// In hexadecimal digits; empty for a file that cannot be read.
QString sha256(const QString &file);
/// All files below \p folder, absolute.
QStringList filesBelow(const QString &folder);
/// All bytes of all of them.
QByteArray contentBelow(const QString &folder);
/// The entries that a listing of \p folder must show.
QStringList namesIn(const QString &folder);
QStringList sorted(QStringList names);

/// Writes an OBJ file of \p count separate squares, its folders too: two triangles each when triangulated.
bool writeQuads(const QString &file, int count);
/// Triangles of an OBJ file, counted from its text.
qint64 trianglesInObj(const QString &file);

/// The plug-in's settings file of that name.
QString settingsFile(const QString &name);
/// The session that it keeps; empty without one.
QString storedSession(const QString &name);
/// Stores what a user leaves who docked the cloud browser at the right of the host's window.
void storeDockedAtTheRight();
/// Forgets what earlier runs with this HOME stored.
void removeSettings();
