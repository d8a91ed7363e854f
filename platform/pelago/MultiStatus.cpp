#include "MultiStatus.h"

#include "DavClient.h"

namespace pelago {

namespace {

constexpr int deepest = 64;
constexpr int largestTokenBytes = 1024 * 1024;

/// Whether a status line says 2xx.
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

struct MultiStatus::Step
{
    Element parent;
    const char *name;
    Element element;
};

DavCall MultiStatus::question(const QUrl &url, const char *depth)
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
    // Small pieces, so that an element that never ends is noticed before it fills the memory.
    constexpr int pieceBytes = 64 * 1024;
    for (int at = 0; at < bytes.size() && !m_refused; at += pieceBytes) {
        const QByteArray piece = bytes.mid(at, pieceBytes);
        m_xml.addData(piece);
        m_sinceToken += piece.size();
        while (!m_refused && !m_xml.atEnd()) {
            switch (m_xml.readNext()) {
            case QXmlStreamReader::DTD:
                m_refused = true;
                break;
            case QXmlStreamReader::StartElement:
                start();
                break;
            case QXmlStreamReader::EndElement:
                end();
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
        const bool broken = m_xml.hasError() && m_xml.error() != QXmlStreamReader::PrematureEndOfDocumentError;
        m_refused = m_refused || broken || m_sinceToken > largestTokenBytes;
    }
    return !m_refused;
}

MultiStatus::Element MultiStatus::elementBelow(Element parent, const QStringRef &name)
{
    static const Step steps[] = {
        {Element::Document, "multistatus", Element::MultiStatus},
        {Element::MultiStatus, "response", Element::Response},
        {Element::Response, "href", Element::Href},
        {Element::Response, "propstat", Element::PropStat},
        {Element::PropStat, "status", Element::PropStatStatus},
        {Element::PropStat, "prop", Element::Prop},
        {Element::Prop, "resourcetype", Element::ResourceType},
        {Element::ResourceType, "collection", Element::Collection},
        {Element::Prop, "getcontentlength", Element::ContentLength},
        {Element::Prop, "getlastmodified", Element::Modified},
        {Element::Prop, "getcontenttype", Element::MediaType},
        {Element::Prop, "getetag", Element::ETag},
    };
    for (const Step &step : steps) {
        if (step.parent == parent && name == QLatin1String(step.name))
            return step.element;
    }
    return Element::Unknown;
}

void MultiStatus::start()
{
    m_sinceToken = 0;
    m_text.clear();
    const Element parent = m_open.isEmpty() ? Element::Document : m_open.last();
    const bool known = m_xml.namespaceUri() == QLatin1String("DAV:");
    const Element element = known ? elementBelow(parent, m_xml.name()) : Element::Unknown;
    m_refused = m_open.size() >= deepest || (m_open.isEmpty() && element != Element::MultiStatus);
    m_open.append(element);
    if (element == Element::Response) {
        m_entry = DavEntry();
        m_entryFits = false;
    } else if (element == Element::PropStat) {
        m_found = m_entry;
        m_statusFits = true;
    } else if (element == Element::Collection) {
        m_found.folder = true;
    }
}

void MultiStatus::end()
{
    m_sinceToken = 0;
    const Element element = m_open.takeLast();
    const QString text = m_text.trimmed();
    m_text.clear();
    switch (element) {
    case Element::Href:
        if (m_entry.href.isEmpty())
            m_entry.href = text.toUtf8();
        break;
    case Element::ContentLength:
        m_found.size = sizeOf(text);
        break;
    case Element::Modified:
        m_found.modified = text;
        break;
    case Element::MediaType:
        m_found.mediaType = text;
        break;
    case Element::ETag:
        m_found.etag = text.toUtf8();
        break;
    case Element::PropStatStatus:
        m_statusFits = isSuccess(text);
        break;
    case Element::PropStat:
        if (m_statusFits) {
            m_found.href = m_entry.href;
            m_entry = m_found;
            m_entryFits = true;
        }
        break;
    case Element::Response:
        if (m_entryFits && !m_entry.href.isEmpty())
            m_sink(m_entry);
        break;
    default:
        break;
    }
}

} // namespace pelago
