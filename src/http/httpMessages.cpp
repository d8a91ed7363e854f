#include "http/httpMessages.h"

#include <openkelda/KQtUtil.h>

#include <QSslConfiguration>

namespace {

constexpr char kIdentity[] = "identity";

/// Returns \p text without the characters that would end the header line.
QByteArray headerText(const std::wstring &text)
{
    QByteArray bytes = QString::fromStdWString(text).toUtf8();
    for (const char separator : {'\r', '\n', '\0'})
        bytes.replace(QByteArray(1, separator), QByteArray());
    return bytes.isNull() ? QByteArray("") : bytes;
}

} // namespace

namespace httpMessages {

QNetworkRequest plainRequest(const QUrl &url)
{
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setRawHeader("Accept-Encoding", kIdentity);
    return request;
}

void addHeaders(QNetworkRequest &request, const HeaderMap &headers)
{
    for (const auto &[name, value] : headers) {
        const QByteArray key = headerText(name);
        if (!key.isEmpty())
            request.setRawHeader(key, headerText(value));
    }
}

void replaceHeader(HeaderMap &headers, const std::wstring &name, const KString &value)
{
    const QString wanted = QString::fromStdWString(name);
    for (auto entry = headers.begin(); entry != headers.end();) {
        const bool same = QString::fromStdWString(entry->first).compare(wanted, Qt::CaseInsensitive) == 0;
        entry = same ? headers.erase(entry) : std::next(entry);
    }
    headers[name] = value.wide();
}

void ignoreCertificates(QNetworkRequest &request)
{
    QSslConfiguration tls = request.sslConfiguration();
    tls.setPeerVerifyMode(QSslSocket::VerifyNone);
    tls.setProtocol(QSsl::TlsV1_0OrLater);
    request.setSslConfiguration(tls);
    request.setPeerVerifyName(request.url().host());
}

QUrl redirectTarget(const QNetworkReply &reply)
{
    const QUrl target = reply.attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
    if (target.isEmpty())
        return QUrl();
    const QUrl resolved = reply.url().resolved(target);
    const bool followed = resolved.scheme() == QLatin1String("http") || resolved.scheme() == QLatin1String("https");
    return followed ? resolved : QUrl();
}

qint64 announcedBytes(const QNetworkReply &reply)
{
    const QVariant length = reply.header(QNetworkRequest::ContentLengthHeader);
    const bool hasBody = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() != 204;
    return hasBody && length.isValid() && !reply.hasRawHeader("Transfer-Encoding") ? length.toLongLong() : -1;
}

QByteArray unwantedEncoding(const QNetworkReply &reply)
{
    const QByteArray encoding = reply.rawHeader("Content-Encoding").trimmed();
    const bool isWanted = reply.request().rawHeader("Accept-Encoding") != kIdentity;
    return isWanted || encoding.compare(kIdentity, Qt::CaseInsensitive) == 0 ? QByteArray() : encoding;
}

} // namespace httpMessages
