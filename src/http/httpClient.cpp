#include "http/httpClient.h"

#include "http/httpErrors.h"
#include "http/ReplyWait.h"
#include "http/Transfer.h"
#include "http/UploadBody.h"
#include "TavrinStrings.h"

#include <openkelda/KGlobal.h>
#include <openkelda/KQtUtil.h>

#include <QDir>
#include <QNetworkAccessManager>
#include <QPointer>
#include <QSslConfiguration>
#include <QUrl>

namespace {

constexpr qint64 readBufferBytes = 15 * 1024 * 1024;
constexpr qint64 sliceBytes = 1024 * 1024;
constexpr qint64 largestUploadBytes = 2LL * 1024 * 1024 * 1024 - 64;

int defaultRequestTimeoutMs = 60000;
int defaultTransferTimeoutMs = 900000;

/// A request that neither follows redirects nor speaks HTTP/2, whatever the toolkit's version holds for usual.
QNetworkRequest plainRequest(const QUrl &url)
{
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    return request;
}

/// \p text without what would end the header line.
QByteArray headerText(const std::wstring &text)
{
    QByteArray bytes = QString::fromStdWString(text).toUtf8();
    for (const char separator : {'\r', '\n', '\0'})
        bytes.replace(QByteArray(1, separator), QByteArray());
    return bytes.isNull() ? QByteArray("") : bytes;
}

/// Sets \p name, taking away every entry that differs from it in case only.
void replaceHeader(HeaderMap &headers, const std::wstring &name, const KString &value)
{
    const QString wanted = QString::fromStdWString(name);
    for (auto entry = headers.begin(); entry != headers.end();) {
        const bool same = QString::fromStdWString(entry->first).compare(wanted, Qt::CaseInsensitive) == 0;
        entry = same ? headers.erase(entry) : std::next(entry);
    }
    headers[name] = value.wide();
}

/// Accepts every certificate for \p request. Its connection is kept apart from those of other requests by the name
/// given for the peer, so that none of them goes over a connection whose certificate nobody checked.
void ignoreCertificates(QNetworkRequest &request)
{
    QSslConfiguration tls = request.sslConfiguration();
    tls.setPeerVerifyMode(QSslSocket::VerifyNone);
    tls.setProtocol(QSsl::TlsV1_0OrLater);
    request.setSslConfiguration(tls);
    request.setPeerVerifyName(request.url().host());
}

/// Where \p reply redirects to; empty for nowhere, and for a scheme that is not followed.
QUrl redirectTarget(const QNetworkReply &reply)
{
    const QUrl target = reply.attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
    if (target.isEmpty())
        return QUrl();
    const QUrl resolved = reply.url().resolved(target);
    const bool followed = resolved.scheme() == QLatin1String("http") || resolved.scheme() == QLatin1String("https");
    return followed ? resolved : QUrl();
}

/// Whether fewer bytes came than the service announced. Now and then the toolkit takes a connection that closed too
/// early for the end of the reply. It hides the announced length of what it decompressed.
bool isShort(const QNetworkReply &reply, qint64 receivedBytes)
{
    const QVariant announced = reply.header(QNetworkRequest::ContentLengthHeader);
    const bool hasBody = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() != 204;
    return hasBody && announced.isValid() && receivedBytes < announced.toLongLong();
}

ReturnStatus interrupted()
{
    return ReturnStatus(0, httpErrors::networkErrorText(QNetworkReply::OperationCanceledError));
}

} // namespace

httpClient::httpClient()
    : m_manager(new QNetworkAccessManager(this)), m_host(QStringLiteral("127.0.0.1")),
      m_transferTimeoutMs(defaultTransferTimeoutMs), m_requestTimeoutMs(defaultRequestTimeoutMs),
      m_timeoutMessage(TavrinStrings::getString(TavrinStrings::kHttpRequestTimeout))
{
    m_nextSlice.setSingleShot(true);
    connect(&m_nextSlice, &QTimer::timeout, this, &httpClient::readyReadCB);
}

httpClient::~httpClient()
{
    if (m_downloadReply)
        m_downloadReply->disconnect(this);
    delete m_manager;
}

void httpClient::setDefaultTimeouts(int requestMs, int transferMs)
{
    defaultRequestTimeoutMs = requestMs;
    defaultTransferTimeoutMs = transferMs;
}

void httpClient::setHost(const char *host, unsigned int port)
{
    if (!host)
        return;
    m_host = QString::fromLatin1(host);
    m_port = port;
}

ReturnStatus httpClient::get(QString path, HeaderMap headers, bool https, QByteArray &body)
{
    const Transfer transfer(Transfer::Kind::Waiting);
    return exchange(m_manager->get(makeRequest(path, headers, https)), m_requestTimeoutMs, body);
}

ReturnStatus httpClient::post(QString path, QByteArray &data, HeaderMap headers, bool https, QByteArray &body)
{
    const Transfer transfer(Transfer::Kind::Waiting);
    return exchange(m_manager->post(makeRequest(path, headers, https), data), m_requestTimeoutMs, body);
}

ReturnStatus httpClient::postFile(KString localDir, KString fileName, QString path, HeaderMap headers, bool https,
                                  QByteArray &body)
{
    auto file = std::make_unique<UploadBody>(KQtUtil::toQString(localDir) + KQtUtil::toQString(fileName));
    if (!file->load(largestUploadBytes)) {
        return file->isTooLarge() ? ReturnStatus(0, TavrinStrings::getString(TavrinStrings::kHttpUploadTooLarge))
                                  : ReturnStatus(0);
    }
    KString length;
    length += static_cast<double>(file->size());
    replaceHeader(headers, L"Content-Length", length);
    replaceHeader(headers, L"Content-Type", "application/octet-stream");
    QNetworkReply *reply = m_manager->post(makeRequest(path, headers, https), file.get());
    file.release()->setParent(reply);
    const Transfer transfer(Transfer::Kind::Upload, KQtUtil::toQString(fileName));
    connect(reply, &QNetworkReply::uploadProgress, &transfer, &Transfer::report);
    return exchange(reply, m_transferTimeoutMs, body);
}

ReturnStatus httpClient::getFile(QString localDir, QString fileName, QString path, HeaderMap headers, bool https)
{
    if (m_downloadFile)
        return interrupted();
    if (!openDownload(localDir, fileName))
        return closeDownload(ReturnStatus(0));

    const QPointer<httpClient> self(this);
    QNetworkRequest request = makeRequest(path, headers, https);
    ignoreCertificates(request);
    ReturnStatus status = download(request, https ? Certificates::Ignored : Certificates::Checked, fileName);
    if (!self)
        return status;

    const bool redirected = status.GetStatusCode() == 302 && m_downloadReply->error() == QNetworkReply::NoError;
    const QUrl target = redirected ? redirectTarget(*m_downloadReply) : QUrl();
    if (!target.isEmpty()) {
        releaseDownloadReply();
        m_writeFailed = !m_downloadFile->resize(0) || !m_downloadFile->seek(0);
        status = download(plainRequest(target), Certificates::Checked, fileName);
        if (!self)
            return status;
    }
    return closeDownload(status);
}

void httpClient::readyReadCB()
{
    if (!m_downloadFile || !m_downloadReply || m_writeFailed)
        return;
    const bool last = m_downloadReply->isFinished();
    if (!last && m_nextSlice.isActive())
        return;
    do {
        const QByteArray slice = m_downloadReply->read(sliceBytes);
        if (slice.isEmpty())
            return;
        if (m_downloadFile->write(slice) != slice.size() || !m_downloadFile->flush()) {
            m_writeFailed = true;
            if (m_downloadWait)
                m_downloadWait->stop();
            return;
        }
    } while (last);
    m_nextSlice.start(0);
}

KString httpClient::slotError(QNetworkReply::NetworkError error)
{
    const KString text = httpErrors::networkErrorText(error);
    if (!m_quiet && !text.isEmpty())
        KGlobal::displayError(text);
    return text;
}

KString httpClient::slotSslErrors(QList<QSslError> errors)
{
    KString text;
    for (const QSslError &error : errors) {
        const KString name = httpErrors::sslErrorName(error.error());
        KGlobal::displayError(name);
        text += name + "\n";
    }
    return text;
}

QNetworkRequest httpClient::makeRequest(const QString &path, const HeaderMap &headers, bool https) const
{
    QString url = (https ? QStringLiteral("https://") : QStringLiteral("http://")) + m_host;
    if (m_port != 0)
        url += QLatin1Char(':') + QString::number(m_port);
    QNetworkRequest request = plainRequest(QUrl(url + path, QUrl::TolerantMode));
    for (const auto &[name, value] : headers) {
        const QByteArray key = headerText(name);
        if (!key.isEmpty())
            request.setRawHeader(key, headerText(value));
    }
    return request;
}

/// Waits for \p reply, which is released then, and says how it ended.
ReturnStatus httpClient::exchange(QNetworkReply *reply, int timeoutMs, QByteArray &body)
{
    const QPointer<httpClient> self(this);
    ReplyWait wait(reply);
    const ReplyWait::End end = wait.run(timeoutMs);
    if (!self)
        return interrupted();
    if (end != ReplyWait::End::Finished) {
        reply->abort();
        reply->deleteLater();
        return unfinished(end == ReplyWait::End::TimedOut);
    }
    const std::unique_ptr<QNetworkReply> finishedReply(reply);
    body = reply->readAll();
    return outcome(*reply, body.size());
}

/// A finished reply's status. One that broke off has none worth showing, although its first line may have said 200.
ReturnStatus httpClient::outcome(const QNetworkReply &reply, qint64 receivedBytes)
{
    ReturnStatus status(reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt());
    QNetworkReply::NetworkError error = reply.error();
    if (error == QNetworkReply::NoError && status.IsSuccess() && isShort(reply, receivedBytes))
        error = QNetworkReply::RemoteHostClosedError;
    if (error == QNetworkReply::NoError)
        return status;
    if (status.IsSuccess())
        status.SetStatusCode(0);
    status.SetErrorMessage(slotError(error));
    return status;
}

ReturnStatus httpClient::unfinished(bool timedOut)
{
    if (!timedOut)
        return interrupted();
    KGlobal::displayError(m_timeoutMessage);
    return ReturnStatus(408, m_timeoutMessage);
}

/// One request of a download; its reply stays the download reply until it is released.
ReturnStatus httpClient::download(const QNetworkRequest &request, Certificates certificates, const QString &fileName)
{
    const QPointer<httpClient> self(this);
    m_downloadReply = m_manager->get(request);
    m_downloadReply->setReadBufferSize(readBufferBytes);
    connect(m_downloadReply, &QNetworkReply::readyRead, this, &httpClient::readyReadCB);
    connect(m_downloadReply, &QNetworkReply::errorOccurred, this, &httpClient::slotError);
    if (certificates == Certificates::Ignored) {
        connect(m_downloadReply, &QNetworkReply::sslErrors, m_downloadReply,
                [reply = m_downloadReply] { reply->ignoreSslErrors(); });
    }

    Transfer transfer(Transfer::Kind::Download, fileName);
    // The reply's own signal for this is a rare one, and says nothing about what came before a silence.
    connect(m_downloadReply, &QNetworkReply::readyRead, &transfer, [this, &transfer] {
        const qint64 total = m_downloadReply->header(QNetworkRequest::ContentLengthHeader).toLongLong();
        transfer.report(m_downloadFile->pos() + m_downloadReply->bytesAvailable(), total);
    });
    ReplyWait wait(m_downloadReply);
    m_downloadWait = &wait;
    const ReplyWait::End end = wait.run(m_transferTimeoutMs);
    if (!self)
        return interrupted();
    m_downloadWait = nullptr;
    m_nextSlice.stop();
    if (m_writeFailed)
        return ReturnStatus(0);
    if (end != ReplyWait::End::Finished)
        return unfinished(end == ReplyWait::End::TimedOut);
    return outcome(*m_downloadReply, m_downloadFile->size() + m_downloadReply->bytesAvailable());
}

bool httpClient::openDownload(const QString &localDir, const QString &fileName)
{
    QDir().mkpath(localDir);
    m_downloadFile = std::make_unique<QFile>(localDir + fileName);
    // Also takes away a link, which writing would follow.
    m_downloadFile->remove();
    m_writeFailed = !m_downloadFile->open(QIODevice::WriteOnly);
    return !m_writeFailed;
}

/// Takes the last bytes of a good download, ends it, and tells a file that could not be written from one that was.
ReturnStatus httpClient::closeDownload(const ReturnStatus &status)
{
    if (status.IsSuccess())
        readyReadCB();
    releaseDownloadReply();
    const std::unique_ptr<QFile> file = std::move(m_downloadFile);
    const bool wasOpen = file->isOpen();
    m_writeFailed = m_writeFailed || !file->flush();
    const KString reason = KQtUtil::toKString(file->fileName() + QStringLiteral(" (") + file->errorString() + ')');
    file->close();
    if (!m_writeFailed)
        return status;

    if (wasOpen)
        file->remove();
    const KString message = TavrinStrings::getString(TavrinStrings::kHttpFileWriteError) + reason;
    if (!m_quiet)
        KGlobal::displayError(message);
    return ReturnStatus(0, message);
}

/// Aborts the download reply if it still runs.
void httpClient::releaseDownloadReply()
{
    if (!m_downloadReply)
        return;
    QNetworkReply *const reply = m_downloadReply;
    m_downloadReply = nullptr;
    reply->disconnect(this);
    if (reply->isRunning())
        reply->abort();
    reply->deleteLater();
}
