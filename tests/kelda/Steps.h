// kelda/Steps.h
//
// Tables of commands and what becomes of them, one step on a line: "source => outcome", where "↵" is a line break.

#pragma once

#include <QtTest>

/// Compares each outcome in \p table with what \p play returns for its source; no text is the outcome "nothing".
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
