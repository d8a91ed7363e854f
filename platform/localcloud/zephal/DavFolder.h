// localcloud/zephal/DavFolder.h
//
// The folder on disk behind a WebDAV service. Paths are "" for the folder itself, "/a/b" for what lies in it. Links and
// special files are never followed, listed or replaced, so that nothing outside is reached. Everything that is stored
// appears in one step.

#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <localcloud/http/RequestBody.h>
#include <optional>

namespace localcloud {

/// What lies at a path.
struct DavEntry
{
    enum class Kind { None, File, Folder, Other };

    Kind kind = Kind::None;
    qint64 size = 0;     ///< in bytes, of a file
    qint64 modified = 0; ///< in seconds since 1970
    QByteArray etag;     ///< strong, with its quotes; of a file

    bool exists() const { return kind != Kind::None; }
    bool isFile() const { return kind == Kind::File; }
    bool isFolder() const { return kind == Kind::Folder; }
};

class DavFolder
{
public:
    enum class CopyDepth { FolderOnly, Everything };

    /// \p root exists. \p workFolder, on the same file system, takes what is being made or removed.
    DavFolder(const QString &root, const QString &workFolder);

    /// Splits at the slashes, then decodes each segment once; equal slashes count as one. Nothing for what can be no
    /// name here: ".", "..", more than 255 bytes, slashes, zero bytes, bytes that are no UTF-8, and for a raw "#".
    static std::optional<QString> decodedPath(const QByteArray &encoded);
    /// The way back: everything but letters, digits and "-._~/" is escaped.
    static QByteArray encodedPath(const QString &path);

    DavEntry find(const QString &path) const;
    /// The files and folders in a folder, sorted.
    QStringList names(const QString &path) const;
    QString localPath(const QString &path) const { return m_root + path; }

    bool makeFolder(const QString &path) const;
    /// Moves \p body to \p path; the folder above exists.
    bool store(const QString &path, RequestBody &body);
    /// Removes a folder with all that is in it.
    bool remove(const QString &path) const;
    /// Both replace what lies at \p to, and leave it as it was when they fail.
    bool move(const QString &from, const QString &to) const;
    bool copy(const QString &from, const QString &to, CopyDepth depth);

private:
    bool place(const QString &local, const QString &target) const;
    bool copyTree(const QString &from, const QString &to, CopyDepth depth);
    void stamp(const QString &local);

    QString m_root; ///< canonical
    QString m_work;
    qint64 m_lastStamp = 0; ///< nanoseconds since 1970
};

} // namespace localcloud
