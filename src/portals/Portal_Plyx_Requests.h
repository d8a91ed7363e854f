// portals/Portal_Plyx_Requests.h
//
// The paths of the Plyx requests, as they go to the HTTP client. No input or output happens here.

#pragma once

#include "TavrinHelper.h"

#include <QString>

namespace PlyxRequests {

/// Who is signed in.
QString member();
/// Page \p pageNumber (the service counts from 1) of \p pageSize matches, the newest first. \p criteria name a gallery
/// by its media type id under "Public", or the member's own models by "Home"; with neither the result names no place
/// and does not begin with "/". The keywords stand under "SearchString"; the characters "&", "#" and "%", which would
/// end or change them, are escaped.
QString search(const HeaderMap &criteria, int pageNumber, int pageSize);
/// The description of an asset.
QString asset(const QString &assetId);
/// Asks which host serves the next download.
QString downloadServer();
/// A file of an asset, on a host that serves downloads.
QString download(const QString &assetId, const QString &fileId);

} // namespace PlyxRequests
