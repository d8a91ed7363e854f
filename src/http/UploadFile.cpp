#include "http/UploadFile.h"

#include <QFileInfo>

#include <sys/stat.h>

bool UploadFile::openForUpload()
{
    // A pipe would block in open().
    return QFileInfo(fileName()).isFile() && open(QIODevice::ReadOnly | QIODevice::Unbuffered) &&
           fstat(handle(), &m_opened) == 0;
}

qint64 UploadFile::readData(char *data, qint64 size)
{
    const qint64 count = QFile::readData(data, size);
    // After the read, so that the bytes just read belong to the opened version.
    struct stat now;
    m_hasChanged = m_hasChanged || fstat(handle(), &now) != 0 || now.st_size != m_opened.st_size ||
                   now.st_mtim.tv_sec != m_opened.st_mtim.tv_sec || now.st_mtim.tv_nsec != m_opened.st_mtim.tv_nsec;
    return m_hasChanged ? -1 : count;
}
