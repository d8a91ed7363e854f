#include <QXmlStreamReader>

#include <localcloud/http/HttpTypes.h>
#include <localcloud/zephal/DavXml.h>

namespace localcloud {

namespace {

const QString kDav = QStringLiteral("DAV:");
constexpr const char *kLiveNames[] = {"resourcetype", "getcontentlength", "getlastmodified", "getetag",
                                      "getcontenttype"};

bool isDav(const QXmlStreamReader &reader, const char *name)
{
    return reader.namespaceUri() == kDav && reader.name() == QLatin1String(name);
}

/// Moves to the document's root; false when it is not \p name or a document type comes first.
bool startsWith(QXmlStreamReader &reader, const char *name)
{
    while (!reader.atEnd() && !reader.isStartElement()) {
        if (reader.readNext() == QXmlStreamReader::DTD)
            return false;
    }
    return isDav(reader, name);
}

/// Adds the names of the elements in the current one.
void readNames(QXmlStreamReader &reader, QVector<DavProperty> &properties)
{
    while (reader.readNextStartElement()) {
        properties.append({reader.namespaceUri().toString(), reader.name().toString()});
        reader.skipCurrentElement();
    }
}

/// Reads on to the end of the document; whether all of it is well-formed.
bool endsWell(QXmlStreamReader &reader)
{
    while (!reader.atEnd())
        reader.readNext();
    return !reader.hasError();
}

/// What stands inside the element of a property; nothing when the entry has no such property.
std::optional<QByteArray> valueOf(const QString &name, const DavEntry &entry, const QString &fileName)
{
    if (name == QLatin1String("resourcetype"))
        return entry.isFolder() ? QByteArray("<D:collection/>") : QByteArray("");
    if (name == QLatin1String("getlastmodified"))
        return httpDate(entry.modified);
    if (entry.isFolder())
        return {};
    if (name == QLatin1String("getcontentlength"))
        return QByteArray::number(entry.size);
    if (name == QLatin1String("getetag"))
        return entry.etag;
    if (name == QLatin1String("getcontenttype"))
        return mediaType(fileName);
    return {};
}

QByteArray davElement(const QByteArray &name, const QByteArray &inside)
{
    return inside.isEmpty() ? "<D:" + name + "/>" : "<D:" + name + '>' + inside + "</D:" + name + '>';
}

QByteArray emptyElement(const DavProperty &property)
{
    const QByteArray name = property.name.toUtf8();
    if (property.space == kDav)
        return davElement(name, {});
    if (property.space.isEmpty())
        return '<' + name + "/>";
    return "<x:" + name + " xmlns:x=\"" + property.space.toHtmlEscaped().toUtf8() + "\"/>";
}

QByteArray propstat(const QByteArray &properties, int status)
{
    return "<D:propstat>" + davElement("prop", properties) + "<D:status>HTTP/1.1 " + QByteArray::number(status) + ' ' +
           reasonPhrase(status) + "</D:status></D:propstat>";
}

QByteArray response(const QByteArray &href, const QByteArray &inside)
{
    return "<D:response><D:href>" + href + "</D:href>" + inside + "</D:response>\n";
}

} // namespace

std::optional<DavQuery> parsePropfind(const QByteArray &xml)
{
    DavQuery query;
    if (xml.isEmpty())
        return query;
    QXmlStreamReader reader(xml);
    if (!startsWith(reader, "propfind"))
        return {};
    int kinds = 0;
    while (reader.readNextStartElement()) {
        if (isDav(reader, "prop")) {
            query.kind = DavQuery::Kind::Some;
            ++kinds;
            readNames(reader, query.properties);
            continue;
        }
        if (isDav(reader, "propname"))
            query.kind = DavQuery::Kind::Names;
        kinds += isDav(reader, "propname") || isDav(reader, "allprop") ? 1 : 0;
        reader.skipCurrentElement();
    }
    return kinds == 1 && endsWell(reader) ? std::optional(query) : std::nullopt;
}

std::optional<QVector<DavProperty>> parseProppatch(const QByteArray &xml)
{
    QVector<DavProperty> properties;
    QXmlStreamReader reader(xml);
    if (!startsWith(reader, "propertyupdate"))
        return {};
    while (reader.readNextStartElement()) { // set and remove
        while (reader.readNextStartElement()) {
            if (isDav(reader, "prop"))
                readNames(reader, properties);
            else
                reader.skipCurrentElement();
        }
    }
    return !properties.isEmpty() && endsWell(reader) ? std::optional(properties) : std::nullopt;
}

QByteArray multiStatusStart()
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<D:multistatus xmlns:D=\"DAV:\">\n";
}

QByteArray multiStatusEnd()
{
    return "</D:multistatus>\n";
}

QByteArray propertiesResponse(const QByteArray &href, const DavEntry &entry, const QString &fileName,
                              const DavQuery &query)
{
    QByteArray found;
    QByteArray missing;
    for (const char *name : kLiveNames) {
        const auto value = query.kind == DavQuery::Kind::Some ? std::nullopt : valueOf(name, entry, fileName);
        if (value)
            found += davElement(name, query.kind == DavQuery::Kind::All ? *value : QByteArray());
    }
    for (const DavProperty &property : query.properties) {
        const auto value = property.space == kDav ? valueOf(property.name, entry, fileName) : std::nullopt;
        if (value)
            found += davElement(property.name.toUtf8(), *value);
        else
            missing += emptyElement(property);
    }
    const bool needsFound = !found.isEmpty() || missing.isEmpty();
    return response(href, (needsFound ? propstat(found, 200) : QByteArray()) +
                              (missing.isEmpty() ? QByteArray() : propstat(missing, 404)));
}

QByteArray refusalResponse(const QByteArray &href, const QVector<DavProperty> &properties)
{
    QByteArray refused;
    for (const DavProperty &property : properties)
        refused += emptyElement(property);
    return response(href, propstat(refused, 403));
}

QByteArray preconditionBody(const QByteArray &name)
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<D:error xmlns:D=\"DAV:\">" + davElement(name, {}) +
           "</D:error>\n";
}

} // namespace localcloud
