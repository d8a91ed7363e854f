#include "http/TransferFiles.h"

#include "TavrinStrings.h"

#include <openkelda/KQtUtil.h>

#include <QDir>
#include <QFileInfo>

bool UploadFile::openForUpload()
{
    // Test for a regular file first, because open() would block on a pipe.
    return QFileInfo(fileName()).isFile() && open(QIODevice::ReadOnly | QIODevice::Unbuffered) &&
           fstat(handle(), &m_opened) == 0;
}

qint64 UploadFile::readData(char *data, qint64 size)
{
    const qint64 count = QFile::readData(data, size);
    // Checked after the read, so that the bytes just read belong to the opened version.
    struct stat now;
    m_hasChanged = m_hasChanged || fstat(handle(), &now) != 0 || now.st_size != m_opened.st_size ||
                   now.st_mtim.tv_sec != m_opened.st_mtim.tv_sec || now.st_mtim.tv_nsec != m_opened.st_mtim.tv_nsec;
    return m_hasChanged ? -1 : count;
}

DownloadFile::DownloadFile(const QString &path) : m_file(path)
{
    const QFileInfo older(path);
    older.dir().mkpath(QStringLiteral("."));
    const bool isFree = (!older.exists() && !older.isSymLink()) || m_file.remove();
    if (!isFree || !m_file.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered))
        setSystemError();
}

void DownloadFile::write(const QByteArray &bytes)
{
    for (qint64 written = 0; written < bytes.size();) {
        // A partial write reports no error, but the next write does.
        const qint64 count = m_file.write(bytes.constData() + written, bytes.size() - written);
        if (count <= 0)
            return setSystemError();
        written += count;
    }
}

void DownloadFile::close()
{
    const bool wasOpen = m_file.isOpen();
    m_file.close();
    if (m_error.isEmpty() && m_file.error() != QFileDevice::NoError)
        setSystemError(); // network file systems report write errors here
    if (wasOpen && !m_error.isEmpty())
        m_file.remove();
}

void DownloadFile::setSystemError()
{
    const QString reason = m_file.fileName() + QStringLiteral(" (") + m_file.errorString() + QLatin1Char(')');
    m_error = TavrinStrings::getString(TavrinStrings::kHttpFileWriteError) + KQtUtil::toKString(reason);
}
