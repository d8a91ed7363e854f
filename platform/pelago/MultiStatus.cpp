#include "MultiStatus.h"

#include "DavClient.h"

namespace pelago {

namespace {

constexpr int kMaxDepth = 64;
constexpr int kMaxElementBytes = 1024 * 1024;
constexpr int kMaxNameLength = 32; ///< longer than the names of all elements that are read
// An endless element must be detected before it uses all memory.
constexpr int kPieceBytes = 64 * 1024;

const QByteArray kRoot = "/multistatus";
const QByteArray kResponse = kRoot + "/response";
const QByteArray kHref = kResponse + "/href";
const QByteArray kPropStat = kResponse + "/propstat";
const QByteArray kStatus = kPropStat + "/status";
const QByteArray kProp = kPropStat + "/prop";
const QByteArray kCollection = kProp + "/resourcetype/collection";
const QByteArray kSize = kProp + "/getcontentlength";
const QByteArray kModified = kProp + "/getlastmodified";
const QByteArray kMediaType = kProp + "/getcontenttype";
const QByteArray kETag = kProp + "/getetag";

/// Returns true if a line like "HTTP/1.1 200 OK" has a 2xx status.
bool isSuccess(const QString &statusLine)
{
    return statusLine.section(QLatin1Char(' '), 1, 1, QString::SectionSkipEmpty).startsWith(QLatin1Char('2'));
}

qint64 sizeOf(const QString &text)
{
    bool ok = false;
    const qint64 size = text.toLongLong(&ok);
    return ok && size >= 0 ? size : -1;
}

} // namespace

DavCall MultiStatus::request(const QUrl &url, const char *depth)
{
    DavCall call;
    call.verb = "PROPFIND";
    call.url = url;
    call.headers = {{"Depth", depth}, {"Content-Type", "application/xml; charset=utf-8"}};
    call.body = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                "<propfind xmlns=\"DAV:\"><prop><resourcetype/><getcontentlength/><getlastmodified/>"
                "<getetag/><getcontenttype/></prop></propfind>";
    call.expected = 207;
    call.sink = [this](qint64, const QByteArray &bytes) { return read(bytes); };
    return call;
}

bool MultiStatus::read(const QByteArray &bytes)
{
    for (int at = 0; at < bytes.size() && !m_refused; at += kPieceBytes) {
        const QByteArray piece = bytes.mid(at, kPieceBytes);
        m_xml.addData(piece);
        m_bytesSinceElement += piece.size();
        while (!m_refused && !m_xml.atEnd())
            readToken();
        const bool broken = m_xml.hasError() && m_xml.error() != QXmlStreamReader::PrematureEndOfDocumentError;
        m_refused = m_refused || broken || m_bytesSinceElement > kMaxElementBytes;
    }
    return !m_refused;
}

void MultiStatus::readToken()
{
    switch (m_xml.readNext()) {
    case QXmlStreamReader::DTD:
        m_refused = true;
        break;
    case QXmlStreamReader::StartElement:
        startElement();
        break;
    case QXmlStreamReader::EndElement:
        endElement();
        break;
    case QXmlStreamReader::EndDocument:
        m_complete = true;
        break;
    case QXmlStreamReader::Characters:
        m_text += m_xml.text();
        break;
    default:
        break;
    }
}

void MultiStatus::startElement()
{
    m_bytesSinceElement = 0;
    m_text.clear();
    const bool isDav = m_xml.namespaceUri() == QLatin1String("DAV:");
    const QByteArray parent = m_paths.isEmpty() ? QByteArray() : m_paths.last();
    const QByteArray path = parent + '/' + (isDav ? m_xml.name().left(kMaxNameLength).toUtf8() : QByteArray("?"));
    m_refused = m_paths.size() >= kMaxDepth || (m_paths.isEmpty() && path != kRoot);
    m_paths.append(path);
    if (path == kResponse) {
        m_entry = DavEntry();
        m_isEntryValid = false;
    } else if (path == kPropStat) {
        m_found = m_entry;
        m_isStatusSuccess = true;
    } else if (path == kCollection) {
        m_found.folder = true;
    }
}

void MultiStatus::endElement()
{
    m_bytesSinceElement = 0;
    const QByteArray path = m_paths.takeLast();
    const QString text = m_text.trimmed();
    m_text.clear();
    if (path == kHref && m_entry.href.isEmpty()) {
        m_entry.href = text.toUtf8();
    } else if (path == kSize) {
        m_found.size = sizeOf(text);
    } else if (path == kModified) {
        m_found.modified = text;
    } else if (path == kMediaType) {
        m_found.mediaType = text;
    } else if (path == kETag) {
        m_found.etag = text.toUtf8();
    } else if (path == kStatus) {
        m_isStatusSuccess = isSuccess(text);
    } else if (path == kPropStat && m_isStatusSuccess) {
        m_found.href = m_entry.href;
        m_entry = m_found;
        m_isEntryValid = true;
    } else if (path == kResponse && m_isEntryValid && !m_entry.href.isEmpty()) {
        m_sink(m_entry);
    }
}

} // namespace pelago
