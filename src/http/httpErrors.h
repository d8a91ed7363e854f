// http/httpErrors.h
//
// Names and messages for network and TLS errors.

#pragma once

#include <openkelda/KString.h>

#include <QNetworkReply>
#include <QSslError>

namespace httpErrors {

/// Returns the localised message for the user, with the error's name in the last line; empty for NoError.
KString networkErrorText(QNetworkReply::NetworkError error);
/// Returns an empty text for an unknown value.
KString sslErrorName(QSslError::SslError error);

} // namespace httpErrors
