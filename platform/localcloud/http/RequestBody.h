// localcloud/http/RequestBody.h
//
// The body of a request. Up to 64 KiB stay in memory; a larger one goes to a temporary file, which a service can move
// into place without copying.

#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryFile>

#include <memory>

namespace localcloud {

class RequestBody
{
public:
    RequestBody() = default;
    /// Large bodies go to a file in \p folder that only its owner can read.
    explicit RequestBody(const QString &folder) : m_folder(folder) {}

    /// Returns false if the bytes cannot be stored.
    bool append(const QByteArray &bytes);
    qint64 size() const { return m_size; }

    /// Returns the bytes of a body in memory, nothing for one in a file.
    const QByteArray &bytes() const { return m_bytes; }

    /// Moves the body to \p path in one step and replaces the file there. \p path is on the same file system as the
    /// folder given at construction. Returns false and changes nothing if that fails. Empties the body on success.
    bool moveTo(const QString &path);

private:
    bool openFile();

    QString m_folder;
    QByteArray m_bytes;
    std::shared_ptr<QTemporaryFile> m_file;
    qint64 m_size = 0;
};

} // namespace localcloud
