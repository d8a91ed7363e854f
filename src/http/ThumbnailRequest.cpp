#include "http/ThumbnailRequest.h"

#include "http/httpMessages.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>

using namespace httpMessages;

namespace {

constexpr int kMaxBodyBytes = 512 * 1024;
constexpr int kMaxSent = 4;
constexpr int kMaxAddressBytes = 4096;

bool isComplete(const QNetworkReply &reply, qint64 receivedBytes)
{
    const qint64 announced = announcedBytes(reply); // Qt sometimes reports success for a cut reply
    return reply.error() == QNetworkReply::NoError &&
           reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() == 200 &&
           (announced < 0 || announced == receivedBytes) && unwantedEncoding(reply).isEmpty();
}

/// Returns the address of the request that follows \p reply; empty if \p reply is the last one.
QUrl nextAddress(const QNetworkReply &reply, const QString &host)
{
    // Qt also fails requests that wait for a connection when another connection breaks.
    if (reply.error() == QNetworkReply::RemoteHostClosedError &&
        !reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid())
        return reply.url();
    return ThumbnailSource{redirectTarget(reply), host}.httpsAddress();
}

} // namespace

QUrl ThumbnailSource::httpsAddress() const
{
    if (address.isEmpty())
        return QUrl();
    const QUrl root(QStringLiteral("https://") + host + QLatin1Char('/'));
    if (root.host().isEmpty())
        return QUrl();
    const QUrl url = root.resolved(address);
    const bool isOnHost =
        url.host() == root.host() || url.host().endsWith(QLatin1Char('.') + root.host(), Qt::CaseInsensitive);
    if (url.scheme() != QLatin1String("https") || !isOnHost || url.toEncoded().size() > kMaxAddressBytes)
        return QUrl();
    return url.adjusted(QUrl::RemoveUserInfo | QUrl::RemoveFragment);
}

ThumbnailRequest::ThumbnailRequest(QNetworkAccessManager &manager, const ThumbnailSource &source, int timeoutMs)
    : m_manager(manager), m_host(source.host)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, [this] { finish(QByteArray()); });
    m_timer.start(timeoutMs);
    send(source.httpsAddress());
}

ThumbnailRequest::~ThumbnailRequest()
{
    releaseReply();
}

void ThumbnailRequest::send(const QUrl &address)
{
    ++m_sent;
    m_body.clear();
    QNetworkRequest request = plainRequest(address);
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    m_reply = m_manager.get(request);
    m_reply->setReadBufferSize(kMaxBodyBytes); // limits the memory while the event loop is blocked
    connect(m_reply, &QNetworkReply::readyRead, this, &ThumbnailRequest::receive);
    connect(m_reply, &QNetworkReply::finished, this, &ThumbnailRequest::readReply);
}

void ThumbnailRequest::receive()
{
    m_body += m_reply->readAll();
    if (m_body.size() > kMaxBodyBytes)
        finish(QByteArray());
}

void ThumbnailRequest::readReply()
{
    m_body += m_reply->readAll();
    const QUrl next = nextAddress(*m_reply, m_host);
    if (!next.isEmpty() && m_sent < kMaxSent) {
        releaseReply();
        send(next);
        return;
    }
    const bool isUsable = m_body.size() <= kMaxBodyBytes && isComplete(*m_reply, m_body.size());
    finish(isUsable ? m_body : QByteArray());
}

/// The receiver of the signal may delete this object.
void ThumbnailRequest::finish(const QByteArray &body)
{
    m_timer.stop();
    releaseReply();
    emit finished(body);
}

void ThumbnailRequest::releaseReply()
{
    if (!m_reply)
        return;
    m_reply->disconnect(this);
    m_reply->abort();
    m_reply->deleteLater();
    m_reply = nullptr;
}

#include "moc_ThumbnailRequest.cpp"
