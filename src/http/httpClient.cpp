#include "http/httpClient.h"

#include "http/httpErrors.h"
#include "http/httpMessages.h"
#include "http/ReplyWait.h"
#include "http/Transfer.h"
#include "http/TransferFiles.h"
#include "TavrinStrings.h"

#include <openkelda/KGlobal.h>
#include <openkelda/KQtUtil.h>

#include <QNetworkAccessManager>
#include <QPointer>
#include <QUrl>

#include <new>

using namespace httpMessages;

namespace {

constexpr qint64 kReadBufferBytes = 15 * 1024 * 1024;
constexpr qint64 kSliceBytes = 1024 * 1024;
constexpr qint64 kMaxReplyBytes = 16 * 1024 * 1024;

int defaultRequestTimeoutMs = 60000;
int defaultTransferTimeoutMs = 900000;

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
    auto opened = std::make_unique<UploadFile>(KQtUtil::toQString(localDir) + KQtUtil::toQString(fileName));
    if (!opened->openForUpload())
        return ReturnStatus(0);
    KString length;
    length += static_cast<double>(opened->size());
    replaceHeader(headers, L"Content-Length", length);
    replaceHeader(headers, L"Content-Type", "application/octet-stream");
    QNetworkReply *reply = m_manager->post(makeRequest(path, headers, https), opened.get());
    UploadFile *const file = opened.release();
    file->setParent(reply); // Qt may read the file until the reply is deleted
    const Transfer transfer(Transfer::Kind::Upload, KQtUtil::toQString(fileName));
    connect(reply, &QNetworkReply::uploadProgress, &transfer, &Transfer::report);
    return exchange(reply, m_transferTimeoutMs, body, file);
}

void httpClient::expectDownloadBytes(qint64 bytes)
{
    m_expectedBytes = bytes;
}

ReturnStatus httpClient::getFile(QString localDir, QString fileName, QString path, HeaderMap headers, bool https)
{
    if (m_downloadFile)
        return interrupted();
    m_downloadFile = std::make_unique<DownloadFile>(localDir + fileName);
    if (!m_downloadFile->error().isEmpty())
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
        // A new file, because the old one may contain the body of the redirect.
        m_downloadFile = std::make_unique<DownloadFile>(localDir + fileName);
        if (!m_downloadFile->error().isEmpty())
            return closeDownload(ReturnStatus(0));
        status = download(plainRequest(target), Certificates::Checked, fileName);
        if (!self)
            return status;
    }
    return closeDownload(status);
}

void httpClient::readyReadCB()
{
    if (!m_downloadFile || !m_downloadReply || !m_downloadFile->error().isEmpty())
        return;
    const bool isLast = m_downloadReply->isFinished();
    if (!isLast && m_nextSlice.isActive())
        return;
    try {
        do {
            const QByteArray slice = m_downloadReply->read(kSliceBytes);
            if (slice.isEmpty())
                return;
            m_downloadFile->write(slice);
        } while (isLast && m_downloadFile->error().isEmpty());
    } catch (const std::bad_alloc &) {
        m_downloadFile->setError(TavrinStrings::getString(TavrinStrings::kHttpOutOfMemory));
    }
    if (m_downloadFile->error().isEmpty())
        m_nextSlice.start(0);
    else if (m_downloadWait)
        m_downloadWait->stop();
}

KString httpClient::slotError(QNetworkReply::NetworkError error)
{
    KString text = httpErrors::networkErrorText(error);
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
    addHeaders(request, headers);
    return request;
}

/// Blocks until \p reply has finished, schedules its deletion, and returns its status. \p file is the uploaded file or
/// null, and belongs to the reply.
ReturnStatus httpClient::exchange(QNetworkReply *reply, int timeoutMs, QByteArray &body, const UploadFile *file)
{
    const QPointer<httpClient> self(this);
    ReplyWait wait(reply);
    QByteArray received;
    bool isOutOfMemory = false;
    const auto receive = [&] {
        try {
            received += reply->readAll();
        } catch (const std::bad_alloc &) {
            received = QByteArray();
            isOutOfMemory = true;
        }
        if (isOutOfMemory || received.size() > kMaxReplyBytes)
            wait.stop();
    };
    // Read the bytes as they arrive, because Qt does not refill an almost full read buffer without a read.
    reply->setReadBufferSize(kReadBufferBytes);
    const QObject duringWait;
    connect(reply, &QNetworkReply::readyRead, &duringWait, receive);
    const ReplyWait::End end = wait.run(timeoutMs);
    if (!self)
        return interrupted();
    reply->deleteLater();
    if (end == ReplyWait::End::Finished)
        receive();
    else
        reply->abort();
    if (isOutOfMemory)
        return failure(TavrinStrings::getString(TavrinStrings::kHttpOutOfMemory));
    if (received.size() > kMaxReplyBytes)
        return failure(TavrinStrings::getString(TavrinStrings::kHttpReplyTooLarge));
    if (file && file->hasChanged())
        return failure(TavrinStrings::getString(TavrinStrings::kHttpFileChanged) +
                       KQtUtil::toKString(file->fileName()));
    if (end != ReplyWait::End::Finished)
        return unfinished(end == ReplyWait::End::TimedOut);
    body = received;
    return outcome(*reply, body.size());
}

/// Returns the status of a finished reply. An incomplete or unreadable reply has status 0, even if its first line
/// contains 200. A reply without a length must have \p expectedBytes bytes, unless \p expectedBytes is negative.
ReturnStatus httpClient::outcome(const QNetworkReply &reply, qint64 receivedBytes, qint64 expectedBytes)
{
    ReturnStatus status(reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt());
    const qint64 announced = announcedBytes(reply);
    QNetworkReply::NetworkError error = reply.error();
    if (error == QNetworkReply::NoError && status.IsSuccess() && receivedBytes < announced)
        error = QNetworkReply::RemoteHostClosedError; // Qt sometimes reports success when the connection closes early
    if (error != QNetworkReply::NoError) {
        if (status.IsSuccess())
            status.SetStatusCode(0);
        status.SetErrorMessage(slotError(error));
        return status;
    }
    const QByteArray encoding = unwantedEncoding(reply);
    if (status.IsSuccess() && !encoding.isEmpty())
        return failure(TavrinStrings::getString(TavrinStrings::kHttpReplyEncoded) + encoding.constData());
    if (status.IsSuccess() && announced < 0 && expectedBytes >= 0 && receivedBytes != expectedBytes)
        return failure(TavrinStrings::getString(TavrinStrings::kHttpWrongSize));
    return status;
}

/// Returns status 0 for a failure that the client itself detected.
ReturnStatus httpClient::failure(const KString &message)
{
    if (!m_quiet)
        KGlobal::displayError(message);
    return ReturnStatus(0, message);
}

ReturnStatus httpClient::unfinished(bool timedOut)
{
    if (!timedOut)
        return interrupted();
    KGlobal::displayError(m_timeoutMessage);
    return ReturnStatus(408, m_timeoutMessage);
}

/// Sends one request of a download. Its reply is kept in m_downloadReply.
ReturnStatus httpClient::download(const QNetworkRequest &request, Certificates certificates, const QString &fileName)
{
    const QPointer<httpClient> self(this);
    m_downloadReply = m_manager->get(request);
    m_downloadReply->setReadBufferSize(kReadBufferBytes);
    connect(m_downloadReply, &QNetworkReply::readyRead, this, &httpClient::readyReadCB);
    connect(m_downloadReply, &QNetworkReply::errorOccurred, this, &httpClient::slotError);
    if (certificates == Certificates::Ignored) {
        connect(m_downloadReply, &QNetworkReply::sslErrors, m_downloadReply,
                [reply = m_downloadReply] { reply->ignoreSslErrors(); });
    }

    Transfer transfer(Transfer::Kind::Download, fileName);
    // Not downloadProgress: Qt emits that rarely, and not for the last bytes before a pause.
    connect(m_downloadReply, &QNetworkReply::readyRead, &transfer, [this, &transfer] {
        transfer.report(m_downloadFile->writtenBytes() + m_downloadReply->bytesAvailable(),
                        announcedBytes(*m_downloadReply));
    });
    ReplyWait wait(m_downloadReply);
    m_downloadWait = &wait;
    const ReplyWait::End end = wait.run(m_transferTimeoutMs);
    if (!self)
        return interrupted();
    m_downloadWait = nullptr;
    m_nextSlice.stop();
    if (!m_downloadFile->error().isEmpty())
        return ReturnStatus(0);
    if (end != ReplyWait::End::Finished)
        return unfinished(end == ReplyWait::End::TimedOut);
    return outcome(*m_downloadReply, m_downloadFile->writtenBytes() + m_downloadReply->bytesAvailable(),
                   m_expectedBytes);
}

/// Writes the remaining bytes of a successful download and closes the file. Returns \p status, or status 0 if the file
/// could not be written.
ReturnStatus httpClient::closeDownload(const ReturnStatus &status)
{
    if (status.IsSuccess())
        readyReadCB();
    releaseDownloadReply();
    const std::unique_ptr<DownloadFile> file = std::move(m_downloadFile);
    file->close();
    return file->error().isEmpty() ? status : failure(file->error());
}

/// Schedules the deletion of the download reply, which is aborted if it is not finished.
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

#include "moc_httpClient.cpp"
