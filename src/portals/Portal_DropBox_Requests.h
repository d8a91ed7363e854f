// portals/Portal_DropBox_Requests.h
//
// The paths of the Dropbox requests for httpClient. Names are percent-encoded. Performs no input or output.

#pragma once

#include <QString>

#include <string>

namespace DropBoxRequests {

/// Exchanges the authorisation code \p code, which is not encoded again, for a token. The path contains a secret.
QString token(const QString &code, const QString &appKey, const QString &appSecret, const QString &redirectUri);
QString accountInfo();
/// \p folder is the path of the folder ("/Work"); empty for the root.
QString listing(const std::wstring &folder);
/// \p root is the root of the item ("dropbox"), \p path its path.
QString download(const QString &root, const QString &path);
/// Replaces an existing file. \p folderPath is empty for the root.
QString upload(const QString &root, const QString &folderPath, const QString &fileName);

} // namespace DropBoxRequests
