// bench/References.h
//
// Other programs and Qt's network classes as references, and this program as a child process for measurements that need
// a new process.

#pragma once

#include <QString>
#include <QStringList>
#include <QUrl>

#include <vector>

/// Runs \p program and returns its output. Empty if it failed; the reason is printed to standard error. The child ends
/// with this process. Does not spin the event loop.
QByteArray outputOf(const QString &program, const QStringList &arguments);
/// The seconds that curl measures for one transfer, or kFailed.
double curlSeconds(const QStringList &arguments);
/// The numbers that this program prints when it is started with \p arguments; empty if it failed.
std::vector<double> numbersOfSelf(const QStringList &arguments);

/// Downloads \p source to the file \p target with a QNetworkAccessManager, without checking certificates. Returns the
/// seconds, or kFailed. Spins the event loop.
double qtDownloadSeconds(const QUrl &source, const QString &target);
/// Posts the file \p source, which is read while it is sent. Otherwise as qtDownloadSeconds.
double qtUploadSeconds(const QString &source, const QUrl &target);

/// Writes \p size bytes, a multiple of a mebibyte, that cannot be compressed and are no hole of the file system.
bool writeNoise(const QString &file, qint64 size);
