// http/UploadFile.h
//
// A local file that is read while it is sent. Reading fails once the file is no longer what it was when it was opened,
// so that a service never stores a mixture of two versions.

#pragma once

#include <QFile>

#include <sys/stat.h>

class UploadFile : public QFile
{
public:
    using QFile::QFile;

    /// Opens the file for unbuffered reading. Returns false if it is not a regular file or cannot be read.
    bool openForUpload();
    /// Whether a read failed because another program had changed the size or the time of the last modification.
    bool hasChanged() const { return m_hasChanged; }

protected:
    qint64 readData(char *data, qint64 size) override;

private:
    struct stat m_opened = {};
    bool m_hasChanged = false;
};
