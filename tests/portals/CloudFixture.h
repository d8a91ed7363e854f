// portals/CloudFixture.h
//
// The local cloud as this process's network, a host that records, and a stand-in for the user's browser.

#pragma once

#include "http/httpClient.h"
#include "http/simpleHttpServer.h"
#include "portals/Portal_DropBox_Login.h"
#include "support/RecordingHost.h"

#include <localcloud/LocalCloud.h>
#include <QtNetwork>
#include <QtTest>
#include <QtWidgets>
#include <QWebElement>
#include <QWebFrame>
#include <QWebView>

/// Hears of sign-ins and clicks.
struct RecordingOwner : ICloudPortalApi::IPortalOwnerCB
{
    void LoginDoneCB(bool success) override
    {
        heard << success;
        onDone();
    }
    void CloudItemClickCB(ICloudPortalApi::ICloudItem *item) override { clicked = item; }
    void CloudFolderArrowClickCB(ICloudPortalApi::ICloudItem *) override {}
    QWidget *GetParentLoginWidget() override { return window; }

    QList<bool> heard;
    std::function<void()> onDone = [] {};
    ICloudPortalApi::ICloudItem *clicked = nullptr;
    QWidget *window = nullptr;
};

/// A window over which sign-in dialogs open.
struct SignInWindow
{
    /// The dialog that is shown, and its page.
    QDialog *dialog() const
    {
        for (auto *dialog : m_window.findChildren<QDialog *>())
            if (dialog->isVisible())
                return dialog;
        return nullptr;
    }
    QWebFrame *page() const { return dialog()->findChild<QWebView *>()->page()->mainFrame(); }
    /// Fills in the page, once it is there, and sends it.
    void submit(const QString &password) const
    {
        QTRY_VERIFY(!page()->findFirstElement("#sign-in").isNull());
        page()->evaluateJavaScript("var field = function(id) { return document.getElementById(id); };"
                                   "field('user').value = 'demo'; field('password').value = '" +
                                   password + "'; field('sign-in').click();");
    }

    QWidget m_window;
};

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
        storeToken(QString());
        connect(&m_closer, &QTimer::timeout, this, [this] {
            if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
                boxes << box->text();
                box->close();
            }
        });
        m_closer.start(5);
    }
    ~CloudFixture() override { QDesktopServices::unsetUrlHandler("https"); }

    /// The portal's settings file.
    static Tavrin::Settings settings() { return Tavrin::Settings(Portal_DropBox_Login::settingsName); }
    static void storeToken(const QString &token) { settings().setSessionID(KQtUtil::toKString(token)); }
    static QString storedToken() { return KQtUtil::toQString(settings().getSessionID()); }

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
        const QByteArray page = visit("?code=" + code.toLatin1());
        return page.startsWith("HTTP/1.0 200 Ok\r\n") && page.contains("Login successful");
    }
    /// What the redirect server answers to a GET with \p query; empty when there is none.
    static QByteArray visit(const QByteArray &query)
    {
        QTcpSocket browser;
        browser.connectToHost(QHostAddress::LocalHost, 8080);
        browser.write("GET /crvn/kelda/oauth/dropbox/redirect" + query + " HTTP/1.1\r\nHost: localhost\r\n\r\n");
        const bool ended = QTest::qWaitFor([&] { return browser.state() == QAbstractSocket::UnconnectedState; });
        return ended ? browser.readAll() : QByteArray("(no answer)");
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
