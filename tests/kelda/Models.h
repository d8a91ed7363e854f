// kelda/Models.h
//
// The models of the host's tests.

#pragma once

#include "support/TestFiles.h"

#include <QtTest>

/// Copies the files that stand in models/ into \p folder: a box, a square with a texture, two squares, a placed
/// triangle.
inline void copyModels(const QString &folder)
{
    const QDir models(QFINDTESTDATA("models"));
    for (const QString &name : models.entryList(QDir::Files))
        QFile::copy(models.filePath(name), folder + '/' + name);
}
