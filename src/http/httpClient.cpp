#include "http/httpClient.h"

#include "http/httpErrors.h"
#include "http/httpMessages.h"
#include "http/ReplyWait.h"
#include "http/Transfer.h"
#include "http/UploadFile.h"
#include "TavrinStrings.h"

#include <openkelda/KGlobal.h>
#include <openkelda/KQtUtil.h>

#include <QDir>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QPointer>
#include <QUrl>

#include <new>

using namespace httpMessages;

namespace {

constexpr qint64 readBufferBytes = 15 * 1024 * 1024;
constexpr qint64 sliceBytes = 1024 * 1024;
constexpr qint64 largestReplyBytes = 16 * 1024 * 1024;

int defaultRequestTimeoutMs = 60000;
int defaultTransferTimeoutMs = 900000;

/// Writes all of \p bytes. A write that was cut short reports no error, but the next one does.
bool writeAll(QFile &file, const QByteArray &bytes)
{
    for (qint64 written = 0; written < bytes.size();) {
        const qint64 count = file.write(bytes.constData() + written, bytes.size() - written);
        if (count <= 0)
            return false;
        written += count;
    }
    return true;
}

KString writeError(const QFile &file)
{
    const QString reason = file.fileName() + QStringLiteral(" (") + file.errorString() + QLatin1Char(')');
    return TavrinStrings::getString(TavrinStrings::kHttpFileWriteError) + KQtUtil::toKString(reason);
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
    auto opened = std::make_unique<UploadFile>(KQtUtil::toQString(localDir) + KQtUtil::toQString(fileName));
    if (!opened->openForUpload())
        return ReturnStatus(0);
    KString length;
    length += static_cast<double>(opened->size());
    replaceHeader(headers, L"Content-Length", length);
    replaceHeader(headers, L"Content-Type", "application/octet-stream");
    QNetworkReply *reply = m_manager->post(makeRequest(path, headers, https), opened.get());
    UploadFile *const file = opened.release();
    file->setParent(reply); // Qt may read it until the reply is deleted
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
    if (!openDownload(localDir + fileName))
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
        if (!openDownload(localDir + fileName)) // takes away the redirect's own body
            return closeDownload(ReturnStatus(0));
        status = download(plainRequest(target), Certificates::Checked, fileName);
        if (!self)
            return status;
    }
    return closeDownload(status);
}

void httpClient::readyReadCB()
{
    if (!m_downloadFile || !m_downloadReply || !m_downloadError.isEmpty())
        return;
    const bool last = m_downloadReply->isFinished();
    if (!last && m_nextSlice.isActive())
        return;
    try {
        do {
            const QByteArray slice = m_downloadReply->read(sliceBytes);
            if (slice.isEmpty())
                return;
            if (!writeAll(*m_downloadFile, slice))
                m_downloadError = writeError(*m_downloadFile);
        } while (last && m_downloadError.isEmpty());
    } catch (const std::bad_alloc &) {
        m_downloadError = TavrinStrings::getString(TavrinStrings::kHttpOutOfMemory);
    }
    if (m_downloadError.isEmpty())
        m_nextSlice.start(0);
    else if (m_downloadWait)
        m_downloadWait->stop();
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
        if (isOutOfMemory || received.size() > largestReplyBytes)
            wait.stop();
    };
    // Close to the limit, Qt fills the read buffer only after a read; so the bytes are read as they arrive.
    reply->setReadBufferSize(readBufferBytes);
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
    if (received.size() > largestReplyBytes)
        return failure(TavrinStrings::getString(TavrinStrings::kHttpReplyTooLarge));
    if (file && file->hasChanged())
        return failure(TavrinStrings::getString(TavrinStrings::kHttpFileChanged) +
                       KQtUtil::toKString(file->fileName()));
    if (end != ReplyWait::End::Finished)
        return unfinished(end == ReplyWait::End::TimedOut);
    body = received;
    return outcome(*reply, body.size());
}

/// The status of a finished reply. A reply that broke off or cannot be read has status 0, also if its first line said
/// 200. A reply without a length of its own must have \p expectedBytes unless that is negative.
ReturnStatus httpClient::outcome(const QNetworkReply &reply, qint64 receivedBytes, qint64 expectedBytes)
{
    ReturnStatus status(reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt());
    const qint64 announced = announcedBytes(reply);
    QNetworkReply::NetworkError error = reply.error();
    if (error == QNetworkReply::NoError && status.IsSuccess() && receivedBytes < announced)
        error = QNetworkReply::RemoteHostClosedError; // Qt sometimes reports success for a cut reply
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

/// A failure that the client itself detected.
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
        transfer.report(m_downloadFile->pos() + m_downloadReply->bytesAvailable(), announcedBytes(*m_downloadReply));
    });
    ReplyWait wait(m_downloadReply);
    m_downloadWait = &wait;
    const ReplyWait::End end = wait.run(m_transferTimeoutMs);
    if (!self)
        return interrupted();
    m_downloadWait = nullptr;
    m_nextSlice.stop();
    if (!m_downloadError.isEmpty())
        return ReturnStatus(0);
    if (end != ReplyWait::End::Finished)
        return unfinished(end == ReplyWait::End::TimedOut);
    return outcome(*m_downloadReply, m_downloadFile->size() + m_downloadReply->bytesAvailable(), m_expectedBytes);
}

/// Creates the empty file \p path in place of an older file or link. An older one that cannot be removed is refused,
/// since writing would follow a link.
bool httpClient::openDownload(const QString &path)
{
    const QFileInfo older(path);
    older.dir().mkpath(QStringLiteral("."));
    m_downloadFile = std::make_unique<QFile>(path);
    const bool isFree = (!older.exists() && !older.isSymLink()) || m_downloadFile->remove();
    const QIODevice::OpenMode mode = QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered;
    m_downloadError = isFree && m_downloadFile->open(mode) ? KString() : writeError(*m_downloadFile);
    return m_downloadError.isEmpty();
}

/// Writes the remaining bytes of a successful download, closes the file, and reports a failure to write it, which
/// removes the file.
ReturnStatus httpClient::closeDownload(const ReturnStatus &status)
{
    if (status.IsSuccess())
        readyReadCB();
    releaseDownloadReply();
    const std::unique_ptr<QFile> file = std::move(m_downloadFile);
    const bool wasOpen = file->isOpen();
    file->close();
    if (m_downloadError.isEmpty() && file->error() != QFileDevice::NoError)
        m_downloadError = writeError(*file); // network file systems report here
    if (m_downloadError.isEmpty())
        return status;
    if (wasOpen)
        file->remove();
    return failure(m_downloadError);
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
