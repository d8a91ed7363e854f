// localcloud/CloudService.h
//
// One service of the local cloud. It sees complete requests and answers at once, without spinning the event loop; large
// bodies travel as files in both directions (RequestBody::moveTo, HttpResponse::file).

#pragma once

#include <localcloud/http/HttpTypes.h>

namespace localcloud {

class CloudService
{
public:
    virtual ~CloudService() = default;

    /// Whether \p host (lower case, no port) is one of this service's names.
    virtual bool handles(const QString &host) const = 0;

    /// Whether a request that came straight to this machine, under no service's name, is for this service.
    virtual bool handlesPath(const QByteArray &path) const = 0;

    /// Fills \p response (status 200, empty so far). May move the request's body away.
    virtual void handle(HttpRequest &request, HttpResponse &response) = 0;
};

} // namespace localcloud
