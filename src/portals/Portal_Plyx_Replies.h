// portals/Portal_Plyx_Replies.h
//
// Parses the replies of Plyx, which may be any bytes. Performs no input or output.

#pragma once

#include "cloud/CloudItem.h"

#include <openkelda/KString.h>

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

namespace ICloudPortalApi {
class IPortalOwnerCB;
}

namespace PlyxReplies {

/// Returns true if the reply contains a member number, so the session is valid.
bool isMember(const QByteArray &body);
/// Returns false and leaves \p name unchanged if the reply contains no member name. The name may be empty.
bool memberName(const QByteArray &body, KString &name);

/// Appends a new item for each asset with an id to \p items; the caller owns the items. \p owner (may be null) receives
/// their clicks. Leaves numbers unchanged that the reply does not contain.
void searchResults(const QByteArray &body, ICloudPortalApi::IPortalOwnerCB *owner, ICloudPortalApi::ItemVector &items,
                   int &currentPage, int &totalPageCount, int &totalResultCount);

/// A texture of an asset. The name is safe as a local file name.
struct Texture
{
    QString localName;
    QString fileId;
};

struct AssetFiles
{
    std::vector<Texture> textures;
    std::optional<QString> modelId; ///< the file in OBJ format; empty if the asset has no such file
};

AssetFiles assetFiles(const QByteArray &body);

/// Returns the host of the next download, with its port if the reply contains one. Empty if the reply contains anything
/// else.
KString downloadHost(const QByteArray &body);

} // namespace PlyxReplies
