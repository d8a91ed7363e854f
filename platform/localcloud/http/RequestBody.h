// localcloud/http/RequestBody.h
//
// The body of a request while it arrives and afterwards: small ones stay in memory, larger ones go to a temporary file
// that a service can move into place without copying.

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
    /// Bodies of more than 64 KiB are spooled to a file in \p folder, readable by its owner only.
    explicit RequestBody(const QString &folder) : m_folder(folder) {}

    /// Adds bytes; false when they cannot be stored (full disk, no folder).
    bool append(const QByteArray &bytes);
    qint64 size() const { return m_size; }

    /// The bytes of a body that stayed in memory; empty for a spooled one.
    const QByteArray &bytes() const { return m_bytes; }

    /// Moves the body to \p path in one step, replacing what is there. \p path should lie on the same file system as
    /// the folder given at construction. False leaves \p path as it was. The body is empty afterwards.
    bool moveTo(const QString &path);

private:
    bool spool();

    QString m_folder;
    QByteArray m_bytes;
    std::shared_ptr<QTemporaryFile> m_file;
    qint64 m_size = 0;
};

} // namespace localcloud
