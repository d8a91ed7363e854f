// pelago/Cloud.h
//
// A session and an end point for one storage address, through the flat interface only.

#pragma once

#include "support/TestFiles.h"

#include <pelago/pelago.h>

#include <QTemporaryDir>
#include <QVector>

struct Entry
{
    QString id, name, modified, mediaType;
    qint64 size;
};

/// The name of a negative \p result without "Skein_Result_", otherwise the number.
inline QString nameOf(int result)
{
    static const QStringList kNames = {"PasswordSignIn", "UnknownHandle", "BadArgument", "NotSignedIn", "Network",
                                       "TimedOut",       "Closed",        "NotFound",    "Forbidden",   "Conflict",
                                       "NoSpace",        "Redirected",    "ServerError", "BadReply",    "LocalFile"};
    return result < 0 ? kNames.value(-1 - result) : QString::number(result);
}

class Cloud
{
public:
    /// Writes a pelago.ini with \p more lines and opens a session.
    explicit Cloud(const QString &address, const QByteArray &more = "kind=password\n") : storage(address.toUtf8())
    {
        write("pelago.ini", "[production]\nstorage=" + storage + '\n' + more);
        qputenv("PELAGO_CONFIG", local("pelago.ini"));
        const char *server = Skein_Auth_getServerAddress(Skein_Service_Deployment_Production);
        session = Skein_Auth_openSession("key", "secret", local("session.skein"), server);
    }
    ~Cloud()
    {
        Skein_Storage_destroyEndPoint(endPoint);
        Skein_Auth_closeSession(session);
    }

    /// Signs in as demo and creates the end point.
    int signIn(const char *password = "demo")
    {
        const int result = Skein_Auth_login(session, "demo", password);
        configure("");
        return result;
    }
    /// Adds \p line to pelago.ini, and replaces the end point.
    void configure(const QByteArray &line)
    {
        write("pelago.ini", readFile(local("pelago.ini")) + line + '\n');
        Skein_Storage_destroyEndPoint(endPoint);
        endPoint = Skein_Storage_createEndPoint(session, storage, 0, "my", 0, 0);
    }
    int list(const QByteArray &folder)
    {
        entries.clear();
        const auto collect = [](void *to, const char *id, const char *name, const char *modified, const char *mediaType,
                                int64_t size) {
            static_cast<Cloud *>(to)->entries.append({id, name, modified, mediaType, size});
        };
        return Skein_Storage_listContents(endPoint, folder, collect, this);
    }
    /// Downloads to the local file "got".
    int download(const QByteArray &folder, const QByteArray &name)
    {
        const QByteArray to = m_home.path().toUtf8();
        return Skein_Storage_downloadFile(endPoint, folder, name, to, "got", progress, finished, this, this);
    }
    /// Writes \p content to the local file "local", unless it is null, and uploads that file.
    int upload(const QByteArray &folder, const QByteArray &name, const QByteArray &content = QByteArray())
    {
        const QByteArray path = localFile(content);
        const char *const paths[] = {path.constData()};
        const char *const names[] = {name.constData()};
        return Skein_Storage_uploadFiles(endPoint, folder, paths, names, 1, progress, finished, this, this);
    }
    int replace(const QByteArray &folder, const QByteArray &name, const QByteArray &content = QByteArray())
    {
        const QByteArray id = folder.isEmpty() ? name : folder + '/' + name;
        return Skein_Storage_updateFile(endPoint, folder, id, 2, localFile(content), progress, finished, this, this);
    }

    QByteArray local(const char *name) const { return m_home.filePath(name).toUtf8(); }
    QByteArray write(const char *name, const QByteArray &content) const
    {
        writeFile(local(name), content);
        return local(name);
    }
    QByteArray got() const { return readFile(local("got")); }

    int64_t session = -1;
    int64_t endPoint = -1;
    QByteArray storage;
    QVector<Entry> entries;      ///< of the last listing
    qint64 done = -1, total = 0; ///< the last progress of the last transfer
    QVector<int> results;        ///< of the transfer callbacks

private:
    QByteArray localFile(const QByteArray &content) const
    {
        return content.isNull() ? local("local") : write("local", content);
    }
    static void progress(void *context, int64_t done, int64_t total)
    {
        auto *cloud = static_cast<Cloud *>(context);
        cloud->done = done;
        cloud->total = total;
    }
    static void finished(void *context, int result) { static_cast<Cloud *>(context)->results.append(result); }

    QTemporaryDir m_home;
};
