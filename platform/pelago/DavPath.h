// pelago/DavPath.h
//
// Identifiers of files and folders, and what they are on the wire. An identifier holds names separated by "/", as plain
// text; on the wire each name is escaped by itself.

#pragma once

#include <QByteArrayList>
#include <QString>
#include <QUrl>

namespace pelago::DavPath {

/// Whether \p name can be one part of an identifier: not empty, ".", or "..", and without "/" and zero characters.
bool isName(const QString &name);
/// Whether \p id is made of such names; the empty one is.
bool isIdentifier(const QString &id);
/// The identifier of \p name in \p folder.
QString child(const QString &folder, const QString &name);
/// The identifier of the folder that holds \p id.
QString parent(const QString &id);
/// A new name for a file that is still on its way. Without a leading dot, because many servers deny such names.
QString unusedName();

enum class Form { File, Folder };

/// The address of \p id below \p root, whose path ends in "/"; a folder's ends in "/" too.
QUrl address(const QUrl &root, const QString &id, Form form);

/// Tells what the addresses in a folder's listing mean.
class Folder
{
public:
    enum class Member { Itself, Child, Other };

    explicit Folder(const QUrl &address);

    /// \p href is a path or a full address, escaped in any way. Itself and Child lie on the folder's host and path; \p
    /// name is the child's then. Other is everything else, names that no identifier can hold included.
    Member find(const QByteArray &href, QString *name) const;

private:
    QByteArray m_host;
    QByteArrayList m_names;
};

} // namespace pelago::DavPath
