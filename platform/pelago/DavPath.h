// pelago/DavPath.h
//
// Identifiers of files and folders, and their addresses. An identifier consists of names separated by "/", not escaped;
// in an address each name is percent-escaped.

#pragma once

#include <QByteArrayList>
#include <QString>
#include <QUrl>

namespace pelago::DavPath {

/// Returns true if \p name can be part of an identifier: not empty, ".", or "..", and without "/" and NUL.
bool isName(const QString &name);
/// Returns true if \p id is empty or consists of such names.
bool isIdentifier(const QString &id);
/// Returns the identifier of \p name in \p folder.
QString child(const QString &folder, const QString &name);
/// Returns the identifier of the folder that contains \p id.
QString parent(const QString &id);
/// Returns a new name for an incomplete file, without a leading dot, because many servers refuse such names.
QString temporaryName();

enum class Form { File, Folder };

/// Returns the address of \p id below \p root, whose path ends in "/". With Form::Folder, the result ends in "/" too.
QUrl address(const QUrl &root, const QString &id, Form form);

/// Classifies the addresses in a folder's listing.
class Folder
{
public:
    enum class Member { Itself, Child, Other };

    explicit Folder(const QUrl &address);

    /// \p href is a path or a full address, escaped in any way. Itself and Child have the folder's host and path; for a
    /// Child, \p name is set. Other is everything else, including names that cannot be part of an identifier.
    Member find(const QByteArray &href, QString *name) const;

private:
    QByteArray m_host;
    QByteArrayList m_names;
};

} // namespace pelago::DavPath
