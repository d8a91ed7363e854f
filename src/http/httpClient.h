// http/httpClient.h
//
// Blocking HTTP requests on the host's user-interface thread. Each call runs a nested event loop without user input
// until its reply has finished or its time-out has passed.

#pragma once

#include "ReturnStatus.h"
#include "TavrinHelper.h"

#include <openkelda/KString.h>

#include <QByteArray>
#include <QList>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QObject>
#include <QSslError>
#include <QString>
#include <QTimer>

#include <memory>

class DownloadFile;
class QNetworkAccessManager;
class ReplyWait;
class UploadFile;

/// One client runs one call at a time. The calls of several clients may be nested. If a client is deleted during its
/// call, the call returns status 0. Each call is a Transfer.
class httpClient : public QObject
{
    Q_OBJECT
public:
    httpClient();
    /// Aborts a running call.
    ~httpClient() override;

    /// Sets the time-outs, in milliseconds, of clients that are created later: \p requestMs for get and post,
    /// \p transferMs for getFile and postFile.
    static void setDefaultTimeouts(int requestMs, int transferMs);

    /// Sets host and port of the following requests. Port 0 omits the port from the URL. Ignored if \p host is null.
    void setHost(const char *host, unsigned int port);

    /// Sends a GET for \p path (absolute, percent-encoded, with the query) and stores the reply's bytes in \p body,
    /// error pages included. Returns the HTTP status, 408 on time-out, or 0 if the server sent no status or the reply
    /// is incomplete, larger than 16 MiB, or in a content encoding that \p headers do not accept. A failure has a
    /// message, which is also written to the host's error output. After a time-out or a reply that is too large, \p
    /// body is unchanged.
    ReturnStatus get(QString path, HeaderMap headers, bool https, QByteArray &body);
    /// Sends a POST with the body \p data. The content type must be in \p headers. Otherwise like get().
    ReturnStatus post(QString path, QByteArray &data, HeaderMap headers, bool https, QByteArray &body);

    /// Sets the size of the files of the following downloads, or -1 (the default) if it is unknown. A reply without
    /// Content-Length is complete only if it has this size.
    void expectDownloadBytes(qint64 bytes);
    /// Downloads to the new file \p localDir + \p fileName (no separator is added). Replaces an older file and creates
    /// missing folders. Accepts any certificate. Follows one 302, without \p headers, and verifies certificates then.
    /// If the file cannot be replaced or written, returns status 0 with the system's reason and removes the incomplete
    /// file. After other failures the file keeps the received bytes.
    ReturnStatus getFile(QString localDir, QString fileName, QString path, HeaderMap headers, bool https);
    /// Sends a POST with the file \p localDir + \p fileName, which is read while it is sent. Returns status 0 without a
    /// message and without a request if it is not a readable regular file. Returns status 0 with a message if another
    /// program changes the file during the upload; the request body is incomplete then. Otherwise like post().
    ReturnStatus postFile(KString localDir, KString fileName, QString path, HeaderMap headers, bool https,
                          QByteArray &body);

signals:
    /// The client does not emit this signal.
    void finished(QNetworkReply *reply);

public slots:
    /// Writes received bytes of the running download to its file: at most 1 MiB per turn of the event loop, or all of
    /// them after the reply has finished. Ignored without a running download.
    void readyReadCB();
    /// Returns the message for \p error and writes it to the host's error output. Returns an empty text for NoError.
    KString slotError(QNetworkReply::NetworkError error);
    /// Returns the names of \p errors, each followed by a line feed, and writes them to the host's error output.
    KString slotSslErrors(QList<QSslError> errors);

private:
    enum class Certificates { Checked, Ignored };

    QNetworkRequest makeRequest(const QString &path, const HeaderMap &headers, bool https) const;
    ReturnStatus exchange(QNetworkReply *reply, int timeoutMs, QByteArray &body, const UploadFile *file = nullptr);
    ReturnStatus outcome(const QNetworkReply &reply, qint64 receivedBytes, qint64 expectedBytes = -1);
    ReturnStatus failure(const KString &message);
    ReturnStatus unfinished(bool timedOut);
    ReturnStatus download(const QNetworkRequest &request, Certificates certificates, const QString &fileName);
    ReturnStatus closeDownload(const ReturnStatus &status);
    void releaseDownloadReply();

    bool m_quiet = false;
    QNetworkAccessManager *m_manager;
    QString m_host;
    unsigned int m_port = 0;
    int m_transferTimeoutMs;
    int m_requestTimeoutMs;
    KString m_timeoutMessage;

    QNetworkReply *m_downloadReply = nullptr;
    std::unique_ptr<DownloadFile> m_downloadFile; ///< null if no download is running
    ReplyWait *m_downloadWait = nullptr;
    qint64 m_expectedBytes = -1;
    QTimer m_nextSlice;
};
