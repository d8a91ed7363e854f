// localcloud/ServedFolder.h
//
// The folder on disk that a service serves. Requests cannot read or write outside of it: links and special files are
// neither listed nor opened. The path of the folder is "", the path of an entry "/a/b".

#pragma once

#include <QFileInfo>

#include <optional>

namespace localcloud {

class ServedFolder
{
public:
    /// \p root must exist.
    explicit ServedFolder(const QString &root) : m_root(QFileInfo(root).canonicalFilePath()) {}

    /// Splits at slashes, then decodes each name once; several slashes count as one. Returns an empty optional for the
    /// names "." and "..", names of more than 255 bytes, slashes and zero bytes in names, and malformed UTF-8.
    static std::optional<QString> decodedPath(const QByteArray &encoded);

    /// Returns the file or folder at \p path. QFileInfo::exists() of the result is false for all other paths.
    QFileInfo find(const QString &path) const;

    /// Returns the files and folders in the folder \p path, sorted by name.
    QFileInfoList entries(const QString &path) const;

    QString localPath(const QString &path) const { return m_root + path; }

private:
    QString m_root; ///< canonical
};

} // namespace localcloud
