// kelda/Steps.h
//
// Tables of commands and their outcomes, one step on a line, and the models of the host's tests.

#pragma once

#include "support/TestFiles.h"

#include <QtTest>

/// \p table has lines of the form "source => outcome". Compares each outcome with what \p play returns for the source.
/// "↵" is a line break; the outcome "nothing" is an empty text.
template <typename Play>
void playSteps(Play play, const char *table)
{
    const QStringList expected = QString::fromUtf8(table).split('\n', Qt::SkipEmptyParts);
    QStringList result;
    for (const QString &step : expected) {
        const QString source = step.section(" => ", 0, 0);
        const QString outcome = play(QString(source).replace("↵", "\n")).trimmed();
        result.append(source + " => " + (outcome.isEmpty() ? "nothing" : outcome));
    }
    QCOMPARE(result, expected);
}

/// Copies the files of models/ into \p folder: a box, a square with a texture, two squares, a placed triangle.
inline void copyModels(const QString &folder)
{
    const QDir models(QFINDTESTDATA("models"));
    for (const QString &name : models.entryList(QDir::Files))
        QFile::copy(models.filePath(name), folder + '/' + name);
}
