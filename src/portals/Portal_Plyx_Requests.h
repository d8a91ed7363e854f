// portals/Portal_Plyx_Requests.h
//
// The paths of the Plyx requests for httpClient. Ids and keywords are percent-encoded. Performs no input or output.

#pragma once

#include "TavrinHelper.h"

#include <QString>

namespace PlyxRequests {

/// The signed-in user.
QString member();
/// Page \p pageNumber (from 1) of the matches, newest first, with \p pageSize matches per page. \p criteria contain the
/// media type id of a gallery in "Public" or select the user's models with "Home", and may contain keywords in
/// "SearchString". Without "Public" and "Home" the result is invalid and does not begin with "/".
QString search(const HeaderMap &criteria, int pageNumber, int pageSize);
/// The files of an asset.
QString asset(const QString &assetId);
/// The server of the next download.
QString downloadServer();
/// A file of an asset, on a download server.
QString download(const QString &assetId, const QString &fileId);

} // namespace PlyxRequests
