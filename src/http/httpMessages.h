// http/httpMessages.h
//
// Builds the requests of httpClient and reads the headers of the replies. Performs no input or output.

#pragma once

#include "TavrinHelper.h"

#include <openkelda/KString.h>

#include <QByteArray>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>

#include <string>

namespace httpMessages {

/// A request without redirects, HTTP/2, cookies and content encoding. Qt would otherwise ask for gzip, decompress the
/// reply without a limit, and hide the announced length, so that a cut reply looks complete.
QNetworkRequest plainRequest(const QUrl &url);
/// Sets \p headers on \p request. CR, LF and NUL are removed; a header whose name is empty then is left out.
void addHeaders(QNetworkRequest &request, const HeaderMap &headers);
/// Sets \p name and removes the entries whose names differ from it in case only.
void replaceHeader(HeaderMap &headers, const std::wstring &name, const KString &value);
/// Makes \p request accept every certificate. Also sets a name for the peer, so that Qt does not reuse its connection
/// for requests that check the certificate.
void ignoreCertificates(QNetworkRequest &request);

/// The absolute address that \p reply redirects to; empty without a redirect and for schemes other than http and https.
QUrl redirectTarget(const QNetworkReply &reply);
/// The length of the body that \p reply announces, or -1. A transfer encoding overrides Content-Length (RFC 9112, 6.3).
qint64 announcedBytes(const QNetworkReply &reply);
/// The content encoding of \p reply if the request asked for none; empty otherwise.
QByteArray unwantedEncoding(const QNetworkReply &reply);

} // namespace httpMessages
