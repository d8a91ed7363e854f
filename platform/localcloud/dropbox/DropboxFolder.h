// localcloud/dropbox/DropboxFolder.h
//
// The folder on disk behind the Dropbox service: which file a requested path means, and what is told about it. Nothing
// outside the folder is ever named, neither through ".." nor through links.

#pragma once

#include <QByteArray>
#include <QDir>
#include <QFileInfo>
#include <QJsonObject>
#include <QString>

namespace localcloud {

class DropboxFolder
{
public:
    /// \p root exists and is a folder.
    explicit DropboxFolder(const QString &root);

    /// Decodes \p encoded once and joins equal slashes: "/a/b", or "/" for the folder itself. A null string for bytes
    /// that are no UTF-8, zero bytes and the segments "." and "..".
    static QString decodedPath(const QByteArray &encoded);

    /// The existing file or folder of a decoded path; an info that does not exist when there is none or it lies
    /// outside.
    QFileInfo find(const QString &path) const;

    /// The local path at which \p path may be stored, its folders created; empty when that is refused.
    QString pathForWriting(const QString &path) const;

    /// Metadata without "contents". \p path is the decoded one.
    QJsonObject metadata(const QString &path, const QFileInfo &info) const;

    /// The metadata of what \p info's folder holds, by name. Null when it holds more than \p limit entries.
    QJsonValue contents(const QString &path, const QFileInfo &info, int limit) const;

private:
    bool isInside(const QString &localPath) const;
    QString m_root; ///< canonical
};

} // namespace localcloud
