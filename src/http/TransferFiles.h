// http/TransferFiles.h
//
// The local files of uploads and downloads. Both report errors instead of sending or keeping damaged data.

#pragma once

#include <openkelda/KString.h>

#include <QByteArray>
#include <QFile>
#include <QString>

#include <sys/stat.h>

/// A file that is read while it is uploaded. Reading fails after another program has changed the file, so that the
/// service never stores a mixture of two versions.
class UploadFile : public QFile
{
public:
    using QFile::QFile;

    /// Opens the file for unbuffered reading. Returns false if it is not a regular file or cannot be read.
    bool openForUpload();
    /// Returns true if a read failed because the size or the modification time of the file had changed.
    bool hasChanged() const { return m_hasChanged; }

protected:
    qint64 readData(char *data, qint64 size) override;

private:
    struct stat m_opened = {};
    bool m_hasChanged = false;
};

/// A new file that is written while it is downloaded.
class DownloadFile
{
public:
    /// Creates the empty file \p path and missing folders. Replaces an older file or link; one that cannot be removed
    /// is an error, because writing would follow a link.
    explicit DownloadFile(const QString &path);

    /// Appends \p bytes.
    void write(const QByteArray &bytes);
    qint64 writtenBytes() const { return m_file.pos(); }
    /// Closes the file. Removes it after an error, unless it is an older file that could not be replaced.
    void close();

    /// Marks the file as damaged. \p reason is a localised message.
    void setError(const KString &reason) { m_error = reason; }
    /// Returns the localised reason why the file could not be created, written or closed; empty without an error.
    KString error() const { return m_error; }

private:
    void setSystemError();

    QFile m_file;
    KString m_error;
};
