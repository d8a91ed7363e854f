// pelago/MultiStatus.h
//
// The request PROPFIND and a parser for its reply (status 207), which reads the bytes as they arrive. Documents with a
// DOCTYPE, deep nesting or huge elements are refused.

#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>
#include <QXmlStreamReader>

#include <functional>

class QUrl;

namespace pelago {

struct DavCall;

/// One element "response" with the properties that have a 2xx status.
struct DavEntry
{
    QByteArray href; ///< as in the reply
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

    /// \p sink receives each entry as soon as it is complete. Entries without a property of status 2xx are skipped.
    explicit MultiStatus(Sink sink) : m_sink(std::move(sink)) {}

    /// Parses the next bytes. Returns false from then on if the document is refused.
    bool read(const QByteArray &bytes);
    /// Returns true if the whole document was read and accepted.
    bool isComplete() const { return m_complete && !m_refused; }
    /// Returns a PROPFIND for the properties of DavEntry. This object parses the reply and must exist during the call.
    DavCall request(const QUrl &url, const char *depth);

private:
    void readToken();
    void startElement();
    void endElement();

    Sink m_sink;
    QXmlStreamReader m_xml;
    QVector<QByteArray> m_paths; ///< of the open elements, the innermost one last
    QString m_text;              ///< of the innermost element
    DavEntry m_entry;
    DavEntry m_found;              ///< m_entry with the properties of the current propstat
    bool m_isStatusSuccess = true; ///< of the current propstat
    bool m_isEntryValid = false;
    int m_bytesSinceElement = 0;
    bool m_complete = false;
    bool m_refused = false;
};

} // namespace pelago
