// http/HttpTest.h
//
// What the tests of the HTTP client share.

#pragma once

#include "http/httpClient.h"
#include "support/LocalServer.h"
#include "support/RecordingHost.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

inline void useServer(httpClient &client, const LocalServer &server)
{
    client.setHost("127.0.0.1", server.serverPort());
}

/// The message of a failure as the user sees it, in default texts.
inline QString failureText(const char *name)
{
    return QStringLiteral("Sorry but we were not able to connect, it is possible the service is down. Please try "
                          "again.\nhttp Error: ") +
           QString::fromLatin1(name);
}

inline QString messageOf(const ReturnStatus &status)
{
    return KQtUtil::toQString(status.GetErrorMessage());
}

inline QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(cannot be read)");
}

/// Bytes that no other position of the array repeats, so that a lost or doubled piece shows.
inline QByteArray numberedBytes(int size)
{
    QByteArray bytes;
    bytes.reserve(size + 16);
    for (int at = 0; bytes.size() < size; ++at)
        bytes += QByteArray::number(at) + ' ';
    bytes.truncate(size);
    return bytes;
}
