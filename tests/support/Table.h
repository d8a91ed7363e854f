// support/Table.h
//
// Test tables whose rows are texts.

#pragma once

#include <QtTest>

#include <array>

/// Adds the rows of a test's table. The first text of a row is its name.
inline void addRows(const QList<QStringList> &rows)
{
    QTest::addColumn<QStringList>("texts");
    for (const QStringList &row : rows)
        QTest::newRow(qPrintable(row.first())) << row;
}

/// The texts of the current row, its name included.
template <std::size_t count>
std::array<QString, count> currentRow()
{
    QFETCH(QStringList, texts);
    std::array<QString, count> row;
    std::copy_n(texts.begin(), count, row.begin());
    return row;
}
