#include "localcloud/http/RequestBody.h"

#include <QFile>

#include <cstdio>

namespace localcloud {

namespace {

constexpr qint64 kMemoryLimit = 64LL * 1024;

} // namespace

bool RequestBody::append(const QByteArray &bytes)
{
    m_size += bytes.size();
    if (!m_file && m_size <= kMemoryLimit) {
        m_bytes += bytes;
        return true;
    }
    if (!m_file && !openFile())
        return false;
    return m_file->write(bytes) == bytes.size();
}

bool RequestBody::openFile()
{
    m_file = std::make_shared<QTemporaryFile>(m_folder + QStringLiteral("/upload-XXXXXX"));
    if (!m_file->open() || m_file->write(m_bytes) != m_bytes.size())
        return false;
    m_bytes.clear();
    return true;
}

bool RequestBody::moveTo(const QString &path)
{
    if (!m_file && !openFile())
        return false;
    m_file->setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
    if (!m_file->flush())
        return false;
    const QByteArray from = QFile::encodeName(m_file->fileName());
    if (std::rename(from.constData(), QFile::encodeName(path).constData()) != 0)
        return false;
    m_file->setAutoRemove(false);
    m_file.reset();
    m_size = 0;
    return true;
}

} // namespace localcloud
