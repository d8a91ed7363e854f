// bench/Programs.h
//
// Other programs as references, and this program anew where a measurement needs a process of its own.

#pragma once

#include <QString>
#include <QStringList>

#include <vector>

/// Runs \p program to its end and returns what it printed; empty when it failed, with the reason on the error output.
/// Children never outlive this process. Does not spin the event loop.
QByteArray outputOf(const QString &program, const QStringList &arguments);
/// The time in seconds that curl gives for one transfer; not a number when that failed.
double curlSeconds(const QStringList &arguments);
/// The numbers that this program prints when it is started with \p arguments; empty when it failed.
std::vector<double> numbersOfSelf(const QStringList &arguments);

/// Writes \p size bytes (a multiple of a mebibyte) that are no hole of the file system and do not repeat soon.
bool writeNoise(const QString &file, qint64 size);
