// localcloud/ServedFolder.h
//
// The folder on disk that a service shows. Requests cannot reach anything outside it: links and special files are
// neither listed nor opened. Paths are "" for the folder itself and "/a/b" for what it contains.

#pragma once

#include <QFileInfo>

#include <optional>

namespace localcloud {

class ServedFolder
{
public:
    /// \p root exists.
    explicit ServedFolder(const QString &root) : m_root(QFileInfo(root).canonicalFilePath()) {}

    /// Splits at slashes, then decodes each name once; several slashes count as one. Returns an empty optional for the
    /// names "." and "..", names of more than 255 bytes, slashes and zero bytes in names, and malformed UTF-8.
    static std::optional<QString> decodedPath(const QByteArray &encoded);

    /// Returns the file or folder at \p path. The result does not exist if there is neither.
    QFileInfo find(const QString &path) const;

    /// Returns the files and folders in the folder \p path, sorted by name.
    QFileInfoList entries(const QString &path) const;

    QString localPath(const QString &path) const { return m_root + path; }

private:
    QString m_root; ///< canonical
};

} // namespace localcloud
