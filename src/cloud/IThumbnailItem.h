// cloud/IThumbnailItem.h
//
// Optional interface of an item: the picture that the list shows in place of its icon.

#pragma once

#include "http/ThumbnailRequest.h"

namespace ICloudPortalApi {

/// A class derived from ICloudItem also derives from this one if its items have pictures. The page finds the interface
/// with dynamic_cast and loads the pictures of visible rows in the background.
class IThumbnailItem
{
public:
    virtual ~IThumbnailItem() = default;

    /// Returns the picture: a PNG, JPEG or GIF file of at most 512 KiB that is served without a session. The address is
    /// empty for an item without a picture. Must not spin the event loop.
    virtual ThumbnailSource thumbnail() = 0;
};

} // namespace ICloudPortalApi
