#include <algorithm>
#include <localcloud/http/Replies.h>
#include <localcloud/http/RouteTable.h>

namespace localcloud {

bool RouteTable::hasHost(const QString &host) const
{
    return std::any_of(m_routes.begin(), m_routes.end(),
                       [&](const Route &route) { return route.hosts.contains(host); });
}

const Route *RouteTable::find(const QString &host, const QByteArray &path) const
{
    const bool anyHost = !hasHost(host);
    const auto found = std::find_if(m_routes.begin(), m_routes.end(), [&](const Route &route) {
        return (anyHost || route.hosts.contains(host)) &&
               (route.exact ? path == route.prefix : path.startsWith(route.prefix));
    });
    return found == m_routes.end() ? nullptr : &*found;
}

void RouteTable::dispatch(HttpRequest &request, HttpResponse &response) const
{
    const Route *route = find(request.host, request.path);
    if (!route) {
        setJsonError(response, 404, "There is no such call.");
    } else if (!route->methods.contains(request.method)) {
        setJsonError(response, 405, "This call is made with another method.");
        response.setHeader("Allow", route->methods.join(", "));
    } else if (!route->admits || route->admits(request, response)) {
        request.path = request.path.mid(route->prefix.size());
        route->handler(request, response);
    }
}

} // namespace localcloud
