#include "pelago/Cloud.h"

#include <QFile>

namespace {

void write(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(path));
}

void collect(void *context, const char *id, const char *name, const char *modified, const char *mediaType, int64_t size)
{
    static_cast<QVector<Entry> *>(context)->append({id, name, modified, mediaType, size});
}

void progress(void *context, int64_t done, int64_t total)
{
    auto *cloud = static_cast<const Cloud *>(context);
    if (done < cloud->done)
        qFatal("progress went back");
    cloud->done = done;
    cloud->total = total;
}

void finished(void *context, int result)
{
    static_cast<const Cloud *>(context)->results.append(result);
}

} // namespace

Cloud::Cloud(const QString &address, const QByteArray &more) : storage(address)
{
    write(local("pelago.ini"), "[production]\nstorage=" + storage.toUtf8() + '\n' + more);
    qputenv("PELAGO_CONFIG", local("pelago.ini").toUtf8());
    session = Skein_Auth_openSession("key", "secret", local("session.skein").toUtf8(),
                                     Skein_Auth_getServerAddress(Skein_Service_Deployment_Production));
}

Cloud::~Cloud()
{
    Skein_Storage_destroyEndPoint(endPoint);
    Skein_Auth_closeSession(session);
}

int Cloud::signIn(const char *password)
{
    const int result = Skein_Auth_login(session, "demo", password);
    endPoint = Skein_Storage_createEndPoint(session, storage.toUtf8(), 0, "my", 0, 0);
    return result;
}

int Cloud::list(const QString &folder, QVector<Entry> *entries) const
{
    return Skein_Storage_listContents(endPoint, folder.toUtf8(), collect, entries);
}

int Cloud::download(const QString &folder, const QString &name) const
{
    done = -1;
    return Skein_Storage_downloadFile(endPoint, folder.toUtf8(), name.toUtf8(), m_home.path().toUtf8(), "got", progress,
                                      finished, const_cast<Cloud *>(this), const_cast<Cloud *>(this));
}

int Cloud::upload(const QString &folder, const QString &name, const QByteArray &content) const
{
    done = -1;
    const QByteArray path = writeLocal(content);
    const QByteArray utf8 = name.toUtf8();
    const char *const paths[] = {path.constData()};
    const char *const names[] = {utf8.constData()};
    return Skein_Storage_uploadFiles(endPoint, folder.toUtf8(), paths, names, 1, progress, finished,
                                     const_cast<Cloud *>(this), const_cast<Cloud *>(this));
}

int Cloud::replace(const QString &folder, const QString &name, const QByteArray &content) const
{
    done = -1;
    const QString id = folder.isEmpty() ? name : folder + '/' + name;
    return Skein_Storage_updateFile(endPoint, folder.toUtf8(), id.toUtf8(), 2, writeLocal(content), progress, finished,
                                    const_cast<Cloud *>(this), const_cast<Cloud *>(this));
}

QByteArray Cloud::got() const
{
    QFile file(local("got"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("nothing");
}

QByteArray Cloud::writeLocal(const QByteArray &content) const
{
    write(local("local"), content);
    return local("local").toUtf8();
}
