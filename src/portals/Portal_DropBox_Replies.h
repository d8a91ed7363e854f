// portals/Portal_DropBox_Replies.h
//
// What the Dropbox replies say. Each function takes the bytes as received, whatever they are; no input or output
// happens here.

#pragma once

#include "cloud/CloudItem.h"

#include <openkelda/KString.h>

#include <QByteArray>

namespace ICloudPortalApi {
class IPortalOwnerCB;
}

namespace DropBoxReplies {

/// Texts that the reply lacks, or gives as another type, are empty.
struct Token
{
    KString accessToken;
    KString tokenType;
    KString userId;
};

/// All texts are empty if the reply reports an error: "error" is neither null, false, 0 nor an empty text.
Token token(const QByteArray &body);
/// False, and \p name left alone, when the reply names no user. A name may be empty.
bool displayName(const QByteArray &body, KString &name);
/// Appends one new item per usable entry to \p items, which the caller owns; \p owner (may be null) hears their clicks.
/// An entry without a revision text, or with a ".." segment in its path, is left out.
/// A root that is not a plain name (letters, digits, "_", "-") is left out of its item.
void listing(const QByteArray &body, ICloudPortalApi::IPortalOwnerCB *owner, ICloudPortalApi::ItemVector &items);
/// True when the reply confirms that at least one byte was stored.
bool isStored(const QByteArray &body);

} // namespace DropBoxReplies
