#include "localcloud/CloudService.h"

#include <algorithm>

namespace localcloud {

bool CloudService::open(QString * /*error*/)
{
    return true;
}

bool CloudService::hasHost(const QString &host) const
{
    return std::any_of(m_routes.begin(), m_routes.end(),
                       [&](const Route &route) { return route.hosts.contains(host); });
}

void CloudService::serve(HttpRequest &request, HttpResponse &response) const
{
    const auto route = std::find_if(m_routes.begin(), m_routes.end(), [&](const Route &candidate) {
        const bool fits = candidate.match == Route::Match::Whole ? request.path == candidate.path
                                                                 : request.path.startsWith(candidate.path);
        return fits && candidate.hosts.contains(request.host);
    });
    if (route == m_routes.end()) {
        response.setJsonError(404, "Unknown call.");
    } else if (!route->methods.contains(request.method)) {
        response.setJsonError(405, "The method is not allowed for this call.");
        response.setHeader("Allow", route->methods.join(", "));
    } else if (route->transport == Route::Transport::Tls && !request.tls) {
        response.setJsonError(403, "This call requires https.");
    } else if (route->transport == Route::Transport::Plain && request.tls) {
        response.setJsonError(403, "This call requires plain http.");
    } else if (!route->isAllowed || route->isAllowed(request, response)) {
        request.path.remove(0, route->path.size());
        route->handler(request, response);
    }
}

} // namespace localcloud
