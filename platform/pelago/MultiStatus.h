// pelago/MultiStatus.h
//
// Asks for properties, and reads the body of the 207 reply while its bytes arrive. Documents with a DOCTYPE, deep
// nesting or huge elements are refused: nothing of the kind belongs into a listing.

#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>
#include <QXmlStreamReader>

#include <functional>

class QUrl;

namespace pelago {

struct DavCall;

/// One element "response": the properties that the server gave with a status 2xx.
struct DavEntry
{
    QByteArray href; ///< as written
    bool folder = false;
    qint64 size = -1; ///< bytes, -1 when unknown
    QString modified;
    QString mediaType;
    QByteArray etag;
};

class MultiStatus
{
public:
    using Sink = std::function<void(const DavEntry &)>;

    /// \p sink gets each entry as soon as it is complete. An entry without any property that the server gave is left
    /// out.
    explicit MultiStatus(Sink sink) : m_sink(std::move(sink)) {}

    /// Takes the next bytes. False once the document is refused, which is final.
    bool read(const QByteArray &bytes);
    /// Whether the document came to its proper end.
    bool isComplete() const { return m_complete && !m_refused; }
    /// A PROPFIND that asks for what DavEntry holds. Its reply goes to this object, which outlives the call.
    DavCall question(const QUrl &url, const char *depth);

private:
    enum class Element {
        Unknown,
        Document,
        MultiStatus,
        Response,
        Href,
        PropStat,
        PropStatStatus,
        Prop,
        ResourceType,
        Collection,
        ContentLength,
        Modified,
        MediaType,
        ETag
    };
    struct Step;

    static Element elementBelow(Element parent, const QStringRef &name);
    void start();
    void end();

    Sink m_sink;
    QXmlStreamReader m_xml;
    QVector<Element> m_open;
    QString m_text; ///< of the innermost element that has a value
    DavEntry m_entry;
    DavEntry m_found;         ///< the properties of the present propstat
    bool m_statusFits = true; ///< of the present propstat
    bool m_entryFits = false;
    int m_sinceToken = 0; ///< bytes
    bool m_complete = false;
    bool m_refused = false;
};

} // namespace pelago
