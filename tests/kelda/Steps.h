// kelda/Steps.h
//
// Tables of commands and what becomes of them, one step on a line: "source => outcome", where "↵" is a line break.

#pragma once

#include <QString>
#include <QStringList>

/// The steps of \p table as a list.
inline QStringList steps(const char *table)
{
    return QString::fromUtf8(table).split('\n', Qt::SkipEmptyParts);
}

/// \p expected as it really is: each source with the outcome that \p play returns for it. To be compared with \p
/// expected.
template <typename Play>
QStringList played(const QStringList &expected, Play play)
{
    QStringList result;
    for (const QString &step : expected) {
        const QString source = step.section(" => ", 0, 0);
        const QString outcome = play(QString(source).replace("↵", "\n")).trimmed();
        result.append(source + " => " + (outcome.isEmpty() ? "nothing" : outcome));
    }
    return result;
}
