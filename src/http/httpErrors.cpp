#include "http/httpErrors.h"

#include "TavrinStrings.h"

namespace {

struct Name
{
    int value;
    const char *name;
};

constexpr Name kNetworkErrorNames[] = {
    {1, "ConnectionRefusedError"},
    {2, "RemoteHostClosedError"},
    {3, "HostNotFoundError"},
    {4, "TimeoutError"},
    {5, "OperationCanceledError"},
    {6, "SslHandshakeFailedError"},
    {7, "TemporaryNetworkFailureError"},
    {99, "UnknownNetworkError"},
    {101, "ProxyConnectionRefusedError"},
    {102, "ProxyConnectionClosedError"},
    {103, "ProxyNotFoundError"},
    {104, "ProxyTimeoutError"},
    {105, "ProxyAuthenticationRequiredError"},
    {199, "UnknownProxyError"},
    {201, "ContentAccessDenied"},
    {202, "ContentOperationNotPermittedError"},
    {203, "ContentNotFoundError"},
    {204, "AuthenticationRequiredError"},
    {205, "ContentReSendError"},
    {299, "UnknownContentError"},
    {301, "ProtocolUnknownError"},
    {302, "ProtocolInvalidOperationError"},
    {399, "ProtocolFailure"},
};

constexpr Name kSslErrorNames[] = {
    {20, "AuthorityIssuerSerialNumberMismatch"},
    {24, "CertificateBlacklisted"},
    {6, "CertificateExpired"},
    {5, "CertificateNotYetValid"},
    {18, "CertificateRejected"},
    {13, "CertificateRevoked"},
    {4, "CertificateSignatureFailed"},
    {17, "CertificateUntrusted"},
    {22, "HostNameMismatch"},
    {14, "InvalidCaCertificate"},
    {8, "InvalidNotAfterField"},
    {7, "InvalidNotBeforeField"},
    {16, "InvalidPurpose"},
    {0, "NoError"},
    {21, "NoPeerCertificate"},
    {23, "NoSslSupport"},
    {15, "PathLengthExceeded"},
    {9, "SelfSignedCertificate"},
    {19, "SubjectIssuerMismatch"},
    {3, "UnableToDecodeIssuerPublicKey"},
    {2, "UnableToDecryptCertificateSignature"},
    {1, "UnableToGetIssuerCertificate"},
    {11, "UnableToGetLocalIssuerCertificate"},
    {12, "UnableToVerifyFirstCertificate"},
    {-1, "UnspecifiedError"},
};

template <typename Table>
const char *nameIn(const Table &table, int value, const char *defaultName)
{
    for (const Name &entry : table) {
        if (entry.value == value)
            return entry.name;
    }
    return defaultName;
}

} // namespace

namespace httpErrors {

KString networkErrorText(QNetworkReply::NetworkError error)
{
    if (error == QNetworkReply::NoError)
        return KString();
    return TavrinStrings::getString(TavrinStrings::KHttpServerErrorGeneric) + "\n" +
           TavrinStrings::getString(TavrinStrings::kHttpError) +
           nameIn(kNetworkErrorNames, error, "UnknownHttpClientError");
}

KString sslErrorName(QSslError::SslError error)
{
    return nameIn(kSslErrorNames, error, "");
}

} // namespace httpErrors
