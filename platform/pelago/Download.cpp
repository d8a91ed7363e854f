#include "EndPoint.h"
#include "Storage.h"

#include <pelago/pelago.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdio>

namespace pelago {

namespace {

/// A temporary file in the folder of \p target: replaces it in keep(), and is removed otherwise.
class PartFile
{
public:
    explicit PartFile(const QString &target)
        : m_target(target), m_file(QFileInfo(target).dir().filePath(DavPath::temporaryName()))
    {}
    ~PartFile()
    {
        if (m_file.exists())
            m_file.remove();
    }

    bool open() { return !QFileInfo(m_target).isDir() && m_file.open(QIODevice::WriteOnly | QIODevice::NewOnly); }
    bool write(const QByteArray &bytes) { return m_file.write(bytes) == bytes.size(); }
    /// If the target is a link, the link is replaced.
    bool keep()
    {
        const bool written = m_file.flush() && m_file.error() == QFile::NoError;
        m_file.close();
        return written && std::rename(QFile::encodeName(m_file.fileName()).constData(),
                                      QFile::encodeName(m_target).constData()) == 0;
    }

private:
    QString m_target;
    QFile m_file;
};

/// Fails with Network if the listed size differs. A reply without a length ends with the connection, complete or not.
Outcome checkListedSize(EndPoint &endPoint, const QString &id, qint64 received)
{
    DavEntry entry;
    const Outcome found = findEntry(endPoint, id, &entry);
    const bool differs = found.isSuccess() && entry.size >= 0 && entry.size != received;
    return differs ? failure(Skein_Result_Network) : found;
}

} // namespace

Outcome downloadFile(EndPoint &endPoint, const QString &id, const QString &target, const Progress &progress)
{
    PartFile file(target);
    if (!file.open())
        return failure(Skein_Result_LocalFile);

    bool written = true;
    qint64 done = 0;
    DavCall call;
    call.verb = "GET";
    call.url = endPoint.address(id, DavPath::Form::File);
    call.expected = 200;
    call.sink = [&](qint64 announced, const QByteArray &bytes) {
        written = file.write(bytes);
        done += bytes.size();
        if (written)
            progress(done, announced);
        return written;
    };
    const DavResult got = endPoint.send(call);
    Outcome result = got;
    if (got.isSuccess() && got.announced < 0)
        result = checkListedSize(endPoint, id, done);
    if (!written || (result.isSuccess() && !file.keep()))
        return failure(Skein_Result_LocalFile);
    return result;
}

} // namespace pelago
