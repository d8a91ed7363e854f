// localcloud/CloudService.h
//
// The base class of a service: a table of routes from host, path and method to handlers. Handlers get complete requests
// and must not spin the event loop.

#pragma once

#include "localcloud/http/HttpTypes.h"

#include <QByteArrayList>
#include <QStringList>

#include <functional>

namespace localcloud {

/// The places of one service's data, all on one file system.
struct ServiceStorage
{
    QString folder;     ///< the served files; must exist
    QString workFolder; ///< for temporary files; must exist
    QString tokenFile;  ///< for the TokenStore
};

struct Route
{
    enum class Match { Whole, Prefix };
    enum class Transport { Any, Plain, Tls };

    QStringList hosts; ///< lower case
    QByteArray path;
    Match match = Match::Whole; ///< whether \a path is the whole path of the request or its beginning
    QByteArrayList methods;
    Transport transport = Transport::Tls; ///< requests over the other transport fail with 403
    /// Called with the request, from whose path \a path was removed.
    std::function<void(HttpRequest &, HttpResponse &)> handler;
    /// Returns false and fills the response to refuse the request. Null allows all requests.
    std::function<bool(const HttpRequest &, HttpResponse &)> isAllowed;
};

class CloudService
{
public:
    virtual ~CloudService() = default;

    /// Reads the stored data. Returns false and sets \p error if it is damaged.
    virtual bool open(QString *error);

    /// Returns true if \p host (lower case, without port) is one of this service's names.
    bool hasHost(const QString &host) const;

    /// Fills \p response by the first route that matches. May empty the request's body. The status is 404 if no route
    /// matches, and 405 if the route has other methods.
    void serve(HttpRequest &request, HttpResponse &response) const;

protected:
    void addRoute(const Route &route) { m_routes.append(route); }

private:
    QVector<Route> m_routes;
};

} // namespace localcloud
