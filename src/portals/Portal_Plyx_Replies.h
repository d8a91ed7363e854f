// portals/Portal_Plyx_Replies.h
//
// What the Plyx replies say. Each function takes the bytes as received, whatever they are; no input or output happens
// here.

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

/// True when the reply numbers the member whose session was sent.
bool isMember(const QByteArray &body);
/// False, and \p name left alone, when the reply names no member. A name may be empty.
bool memberName(const QByteArray &body, KString &name);

/// Appends one new item per asset with an id to \p items, which the caller owns; \p owner (may be null) hears their
/// clicks. A number that the reply lacks, or gives as another type, is left as it was.
void searchResults(const QByteArray &body, ICloudPortalApi::IPortalOwnerCB *owner, ICloudPortalApi::ItemVector &items,
                   int &currentPage, int &totalPageCount, int &totalResultCount);

/// One texture of an asset. The name has no folder in it and may be written as it is.
struct Texture
{
    QString localName;
    QString fileId;
};

struct AssetFiles
{
    std::vector<Texture> textures;
    std::optional<QString> modelId; ///< the file in the OBJ format; none when the asset is not offered as such
};

AssetFiles assetFiles(const QByteArray &body);

/// The host, with a port perhaps, that serves the next download; empty when the reply names none or anything more.
KString downloadHost(const QByteArray &body);

} // namespace PlyxReplies
