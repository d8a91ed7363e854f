// http/ThumbnailRequest.h
//
// Fetches one picture for a list in the background. The address and the reply come from a service and are not trusted.

#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QUrl>

class QNetworkAccessManager;
class QNetworkReply;

/// A picture of a service, and the host that may serve it.
struct ThumbnailSource
{
    QUrl address; ///< absolute, or relative to the root of \a host; empty without a picture
    QString host; ///< the portal's host, with a port if it needs one

    /// Returns the address of the request; empty unless it is an https address of at most 4096 bytes on \a host or a
    /// subdomain.
    QUrl httpsAddress() const;
};

/// Sends a GET without cookies, credentials and headers of a session, and checks the certificate. Sends up to three
/// more for redirects that satisfy ThumbnailSource::httpsAddress(), and if the connection closes before the reply.
class ThumbnailRequest : public QObject
{
    Q_OBJECT
public:
    /// Sends the request at once. \p source has an httpsAddress(). \p timeoutMs limits the whole request, redirects
    /// included. \p manager must outlive this object.
    ThumbnailRequest(QNetworkAccessManager &manager, const ThumbnailSource &source, int timeoutMs);
    ~ThumbnailRequest() override; // aborts the request without a signal

signals:
    /// Emitted once. \p body is empty if the request failed, the status is not 200, or the body is incomplete, encoded,
    /// or larger than 512 KiB.
    void finished(const QByteArray &body);

private:
    void send(const QUrl &address);
    void receive();
    void readReply();
    void finish(const QByteArray &body);
    void releaseReply();

    QNetworkAccessManager &m_manager;
    const QString m_host;
    QNetworkReply *m_reply = nullptr;
    QByteArray m_body;
    int m_sent = 0;
    QTimer m_timer;
};
