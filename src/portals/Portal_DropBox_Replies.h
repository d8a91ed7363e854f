// portals/Portal_DropBox_Replies.h
//
// Parses the replies of Dropbox, which may be any bytes. Performs no input or output.

#pragma once

#include "cloud/CloudItem.h"

#include <openkelda/KString.h>

#include <QByteArray>

namespace ICloudPortalApi {
class IPortalOwnerCB;
}

namespace DropBoxReplies {

/// Texts that the reply does not contain are empty.
struct Token
{
    KString accessToken;
    KString tokenType;
    KString userId;
};

/// All texts are empty if the reply contains "error", unless that is null, false, 0 or an empty text.
Token token(const QByteArray &body);
/// Returns false and leaves \p name unchanged if the reply contains no user name. The name may be empty.
bool displayName(const QByteArray &body, KString &name);
/// Appends a new item for each entry to \p items; the caller owns the items. \p owner (may be null) receives their
/// clicks. Ignores an entry without a revision or with ".." in its path, and a root with characters other than letters,
/// digits, "_" and "-".
void listing(const QByteArray &body, ICloudPortalApi::IPortalOwnerCB *owner, ICloudPortalApi::ItemVector &items);
/// Returns true if the reply confirms that at least one byte was stored.
bool isStored(const QByteArray &body);

} // namespace DropBoxReplies
