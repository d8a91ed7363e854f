// http/HttpTest.h
//
// The fixture of the tests of the HTTP client: a server, a client and a host.

#pragma once

#include "http/httpClient.h"
#include "support/LocalServer.h"
#include "support/RecordingHost.h"
#include "support/Table.h"
#include "support/TestFiles.h"

#include <QtNetwork>
#include <QtTest>

#include <memory>

/// The code and the message, as in "404 text" or "200 ".
inline QString outcome(const ReturnStatus &status)
{
    return QString::number(status.GetStatusCode()) + ' ' + KQtUtil::toQString(status.GetErrorMessage());
}

/// The message of a failed request.
inline QString failureText(const char *name)
{
    return QString("Pech\nhttp Error: ") + name;
}

/// Consecutive numbers, so that a lost or repeated piece changes the content.
inline QByteArray numberedBytes(int size)
{
    QByteArray bytes;
    for (int at = 0; bytes.size() < size; ++at)
        bytes += QByteArray::number(at) + ' ';
    return bytes.left(size);
}

enum class Call { Get, Post, GetFile, PostFile };

/// A client of one server with a folder for its files.
class TestClient : public httpClient
{
public:
    explicit TestClient(const LocalServer &server) { setHost("127.0.0.1", server.serverPort()); }

    /// Downloads go to the file "down".
    ReturnStatus run(Call call, const QString &path, const HeaderMap &headers = {}, bool https = false)
    {
        if (call == Call::Get)
            return get(path, headers, https, body);
        if (call == Call::Post)
            return post(path, data, headers, https, body);
        if (call == Call::GetFile)
            return getFile(folder, "down", path, headers, https);
        writeFile(folder + QString::fromUtf8("t\xc3\xa4sse"), data);
        return send("t\xc3\xa4sse", path, headers, https);
    }
    /// Posts the file \p name of the folder.
    ReturnStatus send(const char *name, const QString &path, const HeaderMap &headers = {}, bool https = false)
    {
        return postFile(KQtUtil::toKString(folder), name, path, headers, https, body);
    }
    QByteArray downloaded() const { return readFile(folder + "down"); }

    QTemporaryDir dir;
    QString folder = dir.path() + '/';
    QByteArray data = QByteArray("a=1&b=\0", 7);
    QByteArray body = "before";
};

/// reset() creates a server and its client, clears the host's messages and gives two texts that a test can recognise.
class HttpFixture : public QObject
{
protected:
    void reset(int timeoutMs = 60000)
    {
        m_host.clear();
        m_host.setText("kHttpRequestTimeout", "408 zu lange");
        m_host.setText("KHttpServerErrorGeneric", "Pech");
        httpClient::setDefaultTimeouts(timeoutMs, timeoutMs);
        m_server = std::make_unique<LocalServer>();
        m_client = std::make_unique<TestClient>(*m_server);
    }

    RecordingHost m_host;
    std::unique_ptr<LocalServer> m_server;
    std::unique_ptr<TestClient> m_client;
};
