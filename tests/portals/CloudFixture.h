// portals/CloudFixture.h
//
// The local cloud as this process's network, a host that records, and a stand-in for the user's browser.

#pragma once

#include "http/httpClient.h"
#include "http/simpleHttpServer.h"
#include "portals/Portal_DropBox_Login.h"
#include "portals/Portal_Plyx_Login.h"
#include "support/RecordingHost.h"

#include <QtNetwork>
#include <QtTest>
#include <QtWidgets>

#include <localcloud/LocalCloud.h>

/// Made anew for each test, before the portal, and gone after it.
class CloudFixture : public QObject
{
    Q_OBJECT
public:
    explicit CloudFixture(const LocalCloudOptions &options = {}) : cloud(options)
    {
        if (!cloud.start())
            qFatal("the local cloud cannot start");
        QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1", cloud.port()));
        QSslConfiguration trust = QSslConfiguration::defaultConfiguration();
        trust.setCaCertificates({cloud.caCertificate()});
        QSslConfiguration::setDefaultConfiguration(trust);
        httpClient::setDefaultTimeouts(10000, 10000);
        SimpleHttpServer::setDefaultTimeouts(10000);
        QDesktopServices::setUrlHandler("https", this, "open");
        for (const char *settingsName : {Portal_DropBox_Login::settingsName, Portal_Plyx_Login::settingsName})
            store(settingsName, {});
        connect(&m_closer, &QTimer::timeout, this, [this] {
            if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
                boxes << box->text();
                box->close();
            }
        });
        m_closer.start(5);
    }
    ~CloudFixture() override { QDesktopServices::unsetUrlHandler("https"); }

    static void store(const char *settingsName, const localcloud::PlyxSession &session)
    {
        Tavrin::Settings settings(settingsName);
        settings.setSessionID(KQtUtil::toKString(session.id));
        settings.setSecureSessionID(KQtUtil::toKString(session.secureId));
    }
    /// Both identifiers in a settings file as "session|secure".
    static QString stored(const char *settingsName)
    {
        const Tavrin::Settings settings(settingsName);
        return KQtUtil::toQString(settings.getSessionID() + "|" + settings.getSecureSessionID());
    }

    /// The requests served so far, in order, as "METHOD target".
    QStringList requests() const
    {
        QStringList targets;
        for (const RequestRecord &record : cloud.requests())
            targets << QString::fromLatin1(record.method + ' ' + record.target);
        return targets;
    }
    /// Everything that the user could have seen: messages and boxes.
    QString everythingShown() const
    {
        using Kind = KHost::MessageKind;
        return (host.messages(Kind::kInfo) + host.messages(Kind::kWarning) + host.errors() + boxes).join('\n');
    }

    /// Presses Allow on the page opened last and follows its redirect: true when the redirect server answered.
    bool allow()
    {
        const QUrlQuery asked(opened.value(opened.size() - 1));
        const QString redirect = asked.queryItemValue("redirect_uri");
        const QString code = cloud.issueDropboxCode(asked.queryItemValue("client_id"), redirect);
        QTcpSocket browser;
        browser.connectToHost(QHostAddress::LocalHost, 8080);
        browser.write("GET /crvn/kelda/oauth/dropbox/redirect?code=" + code.toLatin1() + " HTTP/1.1\r\n\r\n");
        const bool ended = QTest::qWaitFor([&] { return browser.state() == QAbstractSocket::UnconnectedState; });
        const QByteArray page = browser.readAll();
        return ended && page.startsWith("HTTP/1.0 200 Ok\r\n") && page.contains("Login successful");
    }

    RecordingHost host;
    LocalCloud cloud;
    QList<QUrl> opened; ///< in the browser
    QStringList boxes;  ///< the texts of the message boxes; each was closed at once

private slots:
    void open(const QUrl &url) { opened << url; }

private:
    QTimer m_closer;
};
