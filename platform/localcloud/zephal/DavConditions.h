// localcloud/zephal/DavConditions.h
//
// The headers that make a request depend on what is stored: If-Match, If-None-Match, their siblings with dates, and
// WebDAV's If with its lists of entity tags. There are no locks here, so every lock token is one that does not hold.

#pragma once

#include <functional>
#include <localcloud/http/HttpTypes.h>
#include <localcloud/zephal/DavFolder.h>

namespace localcloud {

/// What lies at an address that an If header names; an entry that does not exist for addresses elsewhere.
using DavLookup = std::function<DavEntry(const QByteArray &address)>;

/// The status that ends \p request, which is about \p entry: 304, 412, or 400 for a malformed If header. 0 when every
/// condition holds.
int conditionStatus(const HttpRequest &request, const DavEntry &entry, const DavLookup &lookup);

/// The Range header, unless an If-Range header tells that the file is another one by now.
QByteArray validRange(const HttpRequest &request, const DavEntry &entry);

} // namespace localcloud
