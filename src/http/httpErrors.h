// http/httpErrors.h
//
// The names by which failures of the network and of TLS are shown.

#pragma once

#include <openkelda/KString.h>

#include <QNetworkReply>
#include <QSslError>

namespace httpErrors {

/// "UnknownHttpClientError" for a value that has no name; empty for NoError.
KString networkErrorName(QNetworkReply::NetworkError error);
/// The localised text for the user, the name in its last line; empty for NoError.
KString networkErrorText(QNetworkReply::NetworkError error);
/// Empty for a value that has no name.
KString sslErrorName(QSslError::SslError error);

} // namespace httpErrors
