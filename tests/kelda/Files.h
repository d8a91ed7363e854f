// kelda/Files.h
//
// Files of the host's tests, each test's in a folder of its own.

#pragma once

#include <QtTest>

/// Writes a file, its folders too, and returns its name.
inline QString writeFile(const QString &name, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(name).path());
    QFile file(name);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(name));
    return name;
}

/// Copies the files that stand in models/ into \p folder: a box, a square with a texture, two squares, a placed
/// triangle.
inline void copyModels(const QString &folder)
{
    const QDir models(QFINDTESTDATA("models"));
    for (const QString &name : models.entryList(QDir::Files))
        QFile::copy(models.filePath(name), folder + '/' + name);
}
