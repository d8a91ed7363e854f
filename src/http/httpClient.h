// http/httpClient.h
//
// Blocking HTTP requests on the host's user-interface thread. Each call runs a nested event loop without user input
// until its own reply has finished or its time-out has passed.

#pragma once

#include "ReturnStatus.h"
#include "TavrinHelper.h"

#include <openkelda/KString.h>

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QObject>
#include <QSslError>
#include <QString>
#include <QTimer>

#include <memory>

class QNetworkAccessManager;
class ReplyWait;
class UploadFile;

/// Calls on one client follow one another. Different clients may wait at the same time, one inside the other, and a
/// client may be destroyed while one of its calls waits: that call then returns status 0. Each call is a Transfer.
class httpClient : public QObject
{
    Q_OBJECT
public:
    httpClient();
    ~httpClient() override; // releases every reply still held

    /// The waits, in milliseconds, of the clients made from now on: of get and post, and of getFile and postFile.
    static void setDefaultTimeouts(int requestMs, int transferMs);

    /// Sets the authority of the following requests. \p port 0 leaves the port out of the URL. A null \p host changes
    /// nothing, the port included.
    void setHost(const char *host, unsigned int port);

    /// Sends a GET for \p path (absolute, with its query, escaped as on the wire) and stores the reply's bytes in
    /// \p body, error pages included. Returns the HTTP status; 408 on time-out; 0 if the service sent none, the reply
    /// broke off, is larger than 16 MiB, or came in a content encoding that \p headers did not ask for. Failures carry
    /// a message, which the host's error output shows as well. \p body is unchanged after a time-out and a reply that
    /// is too large.
    ReturnStatus get(QString path, HeaderMap headers, bool https, QByteArray &body);
    /// Sends a POST of \p data; the caller's \p headers name its type. Otherwise as get.
    ReturnStatus post(QString path, QByteArray &data, HeaderMap headers, bool https, QByteArray &body);

    /// Sets the size that the service gives for the files of the following downloads, or -1 (the default) if it gives
    /// none. It decides whether a reply without a Content-Length is complete.
    void expectDownloadBytes(qint64 bytes);
    /// Streams the reply into the new file \p localDir + \p fileName (no separator is added) in place of an older one,
    /// and makes missing directories. Accepts any certificate. Follows one 302, without \p headers and with
    /// certificates checked. If an older file cannot be removed, or the file cannot be written, the call returns status
    /// 0 with the system's reason, and a file that it began is removed. After other failures the bytes that arrived
    /// stay there.
    ReturnStatus getFile(QString localDir, QString fileName, QString path, HeaderMap headers, bool https);
    /// Sends a POST of the file \p localDir + \p fileName, which is read while it is sent. Returns status 0 without a
    /// message, and sends nothing, if it is not a regular file that can be read. Returns status 0 with a message if
    /// another program changes it meanwhile; the service gets an incomplete body then. Otherwise as post.
    ReturnStatus postFile(KString localDir, KString fileName, QString path, HeaderMap headers, bool https,
                          QByteArray &body);

signals:
    /// Never emitted by the client itself.
    void finished(QNetworkReply *reply);

public slots:
    /// Writes what the running download has ready into its file: at most 1 MiB per turn of the event loop, the rest in
    /// the following turns; everything once the reply has finished. Does nothing when no download runs.
    void readyReadCB();
    /// The message for \p error, which the host's error output shows as well; empty, and nothing shown, for NoError.
    KString slotError(QNetworkReply::NetworkError error);
    /// The names of \p errors, each shown on the host's error output and ended by a line feed.
    KString slotSslErrors(QList<QSslError> errors);

private:
    enum class Certificates { Checked, Ignored };

    QNetworkRequest makeRequest(const QString &path, const HeaderMap &headers, bool https) const;
    ReturnStatus exchange(QNetworkReply *reply, int timeoutMs, QByteArray &body, const UploadFile *file = nullptr);
    ReturnStatus outcome(const QNetworkReply &reply, qint64 receivedBytes, qint64 expectedBytes = -1);
    ReturnStatus failure(const KString &message);
    ReturnStatus unfinished(bool timedOut);
    ReturnStatus download(const QNetworkRequest &request, Certificates certificates, const QString &fileName);
    bool openDownload(const QString &path);
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
    std::unique_ptr<QFile> m_downloadFile;
    ReplyWait *m_downloadWait = nullptr;
    KString m_downloadError; ///< why the file could not be written; empty otherwise
    qint64 m_expectedBytes = -1;
    QTimer m_nextSlice;
};
