// http/httpClient.h
//
// Blocking HTTP requests on the host's user-interface thread. A call returns when its own reply has finished or its
// time-out has passed; until then timers, paints and sockets are served and user input waits.

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
class Transfer;

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

    /// GET of \p path (absolute, with its query, escaped as it goes on the wire). \p body receives the reply's bytes,
    /// an error page included, and is left alone on time-out. Returns the HTTP status: 0 when the service sent none or
    /// its reply broke off, 408 on time-out. Failures carry a message, which the host's error output shows as well.
    ReturnStatus get(QString path, HeaderMap headers, bool https, QByteArray &body);
    /// POST of \p data; the caller's \p headers name its type. Otherwise as get.
    ReturnStatus post(QString path, QByteArray &data, HeaderMap headers, bool https, QByteArray &body);

    /// Streams the reply into the file \p localDir + \p fileName (no separator is added), replacing an old one and
    /// making missing directories. Accepts any certificate; follows one 302, without \p headers and with certificates
    /// checked. A file that cannot be written ends the call with status 0 and is removed.
    ReturnStatus getFile(QString localDir, QString fileName, QString path, HeaderMap headers, bool https);
    /// POST of the file \p localDir + \p fileName, which is held in memory once. Status 0, nothing sent and no message
    /// when it cannot be read; with a message when it is larger than 2 GiB - 64 bytes. Otherwise as post.
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
    ReturnStatus outcome(const QNetworkReply &reply, qint64 receivedBytes);
    ReturnStatus unfinished(bool timedOut);
    ReturnStatus exchange(QNetworkReply *reply, int timeoutMs, QByteArray &body);
    ReturnStatus download(const QNetworkRequest &request, Certificates certificates, const QString &fileName);
    bool openDownload(const QString &localDir, const QString &fileName);
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
    bool m_writeFailed = false;
    QTimer m_nextSlice;
};
