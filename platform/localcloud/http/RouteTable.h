// localcloud/http/RouteTable.h
//
// The calls of one service: which host and path leads to which function, with which methods and for whom.

#pragma once

#include <QByteArrayList>
#include <QStringList>

#include <functional>
#include <localcloud/http/HttpTypes.h>

namespace localcloud {

struct Route
{
    QStringList hosts; ///< the names under which the call is served, lower case
    QByteArray prefix;
    bool exact = true; ///< the whole path, or what it begins with
    QByteArrayList methods;
    /// Gets the request with \a prefix taken from its path.
    std::function<void(HttpRequest &, HttpResponse &)> handler;
    /// Whether the request may be served; fills the response when not. Null admits everybody.
    std::function<bool(const HttpRequest &, HttpResponse &)> admits;
};

class RouteTable
{
public:
    explicit RouteTable(QVector<Route> routes = {}) : m_routes(std::move(routes)) {}

    bool hasHost(const QString &host) const;
    bool hasPath(const QByteArray &path) const { return find({}, path) != nullptr; }

    /// Calls the handler. Answers 404 when there is none, 405 for another method. A host that no route names takes the
    /// first route that fits the path.
    void dispatch(HttpRequest &request, HttpResponse &response) const;

private:
    const Route *find(const QString &host, const QByteArray &path) const;

    QVector<Route> m_routes; ///< the first that fits counts
};

} // namespace localcloud
