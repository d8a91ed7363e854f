// localcloud/zephal/DavXml.h
//
// The XML of WebDAV: reading which properties a request is about, and writing what they are.

#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

#include <localcloud/zephal/DavFolder.h>
#include <optional>

namespace localcloud {

/// The name of a property.
struct DavProperty
{
    QString space;
    QString name;
};

/// What a PROPFIND asks for.
struct DavQuery
{
    enum class Kind { All, Names, Some };

    Kind kind = Kind::All;
    QVector<DavProperty> properties; ///< of Some
};

/// Reads the body of a PROPFIND, where an empty one asks for everything. Nothing when it is malformed or declares a
/// document type.
std::optional<DavQuery> parsePropfind(const QByteArray &xml);

/// The properties that the body of a PROPPATCH sets or removes; nothing as above.
std::optional<QVector<DavProperty>> parseProppatch(const QByteArray &xml);

/// What a multi-status begins and ends with.
QByteArray multiStatusStart();
QByteArray multiStatusEnd();

/// One response of a multi-status: the properties of \p entry, found at the address \p href. \p fileName tells the
/// media type.
QByteArray propertiesResponse(const QByteArray &href, const DavEntry &entry, const QString &fileName,
                              const DavQuery &query);

/// The response that refuses to change any of \p properties.
QByteArray refusalResponse(const QByteArray &href, const QVector<DavProperty> &properties);

/// The body that tells which precondition of WebDAV was not met.
QByteArray preconditionBody(const QByteArray &name);

} // namespace localcloud
