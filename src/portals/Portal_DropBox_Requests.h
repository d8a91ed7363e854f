// portals/Portal_DropBox_Requests.h
//
// The paths of the Dropbox requests, as they go to the HTTP client; the characters "%", "#" and "?" of a name are
// escaped. No input or output happens here.

#pragma once

#include <QString>

#include <string>

namespace DropBoxRequests {

/// Exchange of the authorisation code \p code, which stays as the redirect carried it, for a token. Holds a secret.
QString token(const QString &code, const QString &appKey, const QString &appSecret, const QString &redirectUri);
QString accountInfo();
/// \p folder is the stored path of a folder ("/Work"), empty for the root.
QString listing(const std::wstring &folder);
/// \p root is the item's root ("dropbox"), \p path its stored path.
QString download(const QString &root, const QString &path);
/// \p folderPath is empty for the root; a file of that name already there is replaced.
QString upload(const QString &root, const QString &folderPath, const QString &fileName);

} // namespace DropBoxRequests
