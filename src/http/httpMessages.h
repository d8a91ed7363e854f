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

/// Returns a request without redirects, HTTP/2, cookies and content encoding. By default Qt requests gzip, decompresses
/// the reply without a limit and hides its Content-Length, and an incomplete reply looks complete.
QNetworkRequest plainRequest(const QUrl &url);
/// Sets \p headers on \p request. Removes CR, LF and NUL, and ignores headers whose name is empty then.
void addHeaders(QNetworkRequest &request, const HeaderMap &headers);
/// Sets the header \p name and removes headers whose name differs only in case.
void replaceHeader(HeaderMap &headers, const std::wstring &name, const KString &value);
/// Makes \p request accept every certificate. Also sets a peer name, so that Qt does not reuse the connection for
/// requests that verify the certificate.
void ignoreCertificates(QNetworkRequest &request);

/// Returns the absolute address that \p reply redirects to; empty without a redirect and for schemes other than http
/// and https.
QUrl redirectTarget(const QNetworkReply &reply);
/// Returns the Content-Length of \p reply, or -1. A transfer encoding overrides Content-Length (RFC 9112, 6.3).
qint64 announcedBytes(const QNetworkReply &reply);
/// Returns the content encoding of \p reply if the request did not accept it; empty otherwise.
QByteArray unwantedEncoding(const QNetworkReply &reply);

} // namespace httpMessages
