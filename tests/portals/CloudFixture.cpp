#include "CloudFixture.h"

#include "http/httpClient.h"
#include "http/simpleHttpServer.h"
#include "portals/Portal_DropBox_Login.h"

#include <QApplication>
#include <QDesktopServices>
#include <QMessageBox>
#include <QNetworkProxy>
#include <QSslConfiguration>
#include <QTcpSocket>
#include <QtTest>
#include <QUrlQuery>

const char redirectPath[] = "/crvn/kelda/oauth/dropbox/redirect";

CloudFixture::CloudFixture()
{
    QString error;
    if (!cloud.start(&error))
        qFatal("the local cloud cannot start: %s", qPrintable(error));
    const auto port = static_cast<quint16>(cloud.proxyUrl().port());
    QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1", port));
    QSslConfiguration trust = QSslConfiguration::defaultConfiguration();
    trust.setCaCertificates({cloud.caCertificate()});
    QSslConfiguration::setDefaultConfiguration(trust);

    httpClient::setDefaultTimeouts(10000, 10000);
    SimpleHttpServer::setDefaultTimeouts(10000);
    QDesktopServices::setUrlHandler("https", this, "open");
    storeToken(QString());

    connect(&m_closer, &QTimer::timeout, this, [this] {
        if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
            m_boxes << box->text();
            box->close();
        }
    });
    m_closer.start(5);
}

CloudFixture::~CloudFixture()
{
    QDesktopServices::unsetUrlHandler("https");
    QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy);
    SimpleHttpServer::setDefaultTimeouts(300000);
    httpClient::setDefaultTimeouts(60000, 900000);
}

void CloudFixture::storeToken(const QString &token)
{
    Tavrin::Settings settings(Portal_DropBox_Login::settingsName);
    settings.setSessionID(KQtUtil::toKString(token));
    settings.setSecureSessionID(KString());
}

QString CloudFixture::storedToken()
{
    return KQtUtil::toQString(Tavrin::Settings(Portal_DropBox_Login::settingsName).getSessionID());
}

void CloudFixture::putFile(const QString &path, const QByteArray &content)
{
    QFile file(cloud.dropboxDir() + path);
    QDir().mkpath(QFileInfo(file).path());
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), qint64(content.size()));
}

QByteArray CloudFixture::fileContent(const QString &path) const
{
    QFile file(cloud.dropboxDir() + path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no such file)");
}

QStringList CloudFixture::requests() const
{
    QStringList targets;
    for (const RequestRecord &record : cloud.requests())
        targets << QString::fromLatin1(record.method + ' ' + record.target);
    return targets;
}

QString CloudFixture::everythingShown() const
{
    using Kind = KHost::MessageKind;
    return (host.messages(Kind::kInfo) + host.messages(Kind::kWarning) + host.errors() + m_boxes).join('\n');
}

quint16 CloudFixture::redirectPort(const QUrl &page)
{
    return static_cast<quint16>(QUrl(QUrlQuery(page).queryItemValue("redirect_uri")).port());
}

QByteArray CloudFixture::allow()
{
    const QUrlQuery asked(m_opened.value(m_opened.size() - 1));
    const QString code =
        cloud.issueDropboxCode(asked.queryItemValue("client_id"), asked.queryItemValue("redirect_uri"));
    return visit(redirectPort(m_opened.last()), redirectPath + QByteArray("?code=") + code.toLatin1());
}

QByteArray CloudFixture::visit(quint16 port, const QByteArray &target)
{
    QTcpSocket browser;
    browser.connectToHost(QHostAddress::LocalHost, port);
    if (!QTest::qWaitFor([&] { return browser.state() != QAbstractSocket::ConnectingState; }) ||
        browser.state() != QAbstractSocket::ConnectedState)
        return {};
    browser.write("GET " + target + " HTTP/1.1\r\nHost: localhost\r\nUser-Agent: test\r\n\r\n");
    if (!QTest::qWaitFor([&] { return browser.state() == QAbstractSocket::UnconnectedState; }))
        return "(no answer)";
    return browser.readAll();
}
