// portals/tst_dropbox_login.cpp
//
// Signing in to Dropbox over real sockets: browser, redirect server, token exchange, stored session.

#include "CloudFixture.h"
#include "http/httpClient.h"
#include "http/simpleHttpServer.h"
#include "portals/Portal_DropBox_Login.h"

#include <QTcpServer>
#include <QtTest>

#include <functional>
#include <memory>

namespace {

class Owner : public ICloudPortalApi::IPortalOwnerCB
{
public:
    void LoginDoneCB(bool success) override
    {
        heard << success;
        if (onDone)
            onDone();
    }
    void CloudItemClickCB(ICloudPortalApi::ICloudItem *) override {}
    void CloudFolderArrowClickCB(ICloudPortalApi::ICloudItem *) override {}
    QWidget *GetParentLoginWidget() override { return nullptr; }

    QList<bool> heard;
    std::function<void()> onDone;
};

bool isFree(quint16 port)
{
    QTcpServer probe;
    return probe.listen(QHostAddress::LocalHost, port);
}

} // namespace

class TestDropBoxLogin : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_fixture = std::make_unique<CloudFixture>();
        m_login = std::make_unique<Portal_DropBox_Login>();
    }

    void cleanup()
    {
        m_login.reset();
        QVERIFY(isFree(8080));
        m_fixture.reset();
    }

    void allowSignsIn()
    {
        Owner owner;
        QVERIFY(!m_login->Login(&owner));
        QCOMPARE(m_fixture->opened().size(), 1);
        QCOMPARE(
            m_fixture->opened().at(0).toString(),
            QStringLiteral("https://www.dropbox.com/1/oauth2/authorize?client_id=" APP_KEY
                           "&response_type=code&redirect_uri=http://localhost:8080/crvn/kelda/oauth/dropbox/redirect"));
        QVERIFY(m_fixture->requests().isEmpty());

        const QByteArray page = m_fixture->allow();
        QVERIFY2(page.startsWith("HTTP/1.0 200 Ok\r\n") && page.contains("Login successful"), page.constData());
        QCOMPARE(owner.heard, QList<bool>{true});
        const QStringList exchange = m_fixture->requests();
        QCOMPARE(exchange.size(), 1);
        QVERIFY2(exchange.at(0).startsWith("POST /1/oauth2/token?code="), qPrintable(exchange.at(0)));
        QVERIFY2(exchange.at(0).endsWith("&grant_type=authorization_code&client_id=" APP_KEY
                                         "&client_secret=" APP_SECRET
                                         "&redirect_uri=http://localhost:8080/crvn/kelda/oauth/dropbox/redirect"),
                 qPrintable(exchange.at(0)));
        QCOMPARE(m_fixture->cloud.requests().at(0).host, QStringLiteral("api.dropbox.com"));

        const QString token = CloudFixture::storedToken();
        QVERIFY(!token.isEmpty());
        QCOMPARE(m_login->GetSecureSessionID().utf8(), "4711");
        QVERIFY(m_login->IsLogin());
        QCOMPARE(m_fixture->requests().mid(1), QStringList("GET /1/account/info/"));
        QCOMPARE(m_fixture->cloud.requests().at(1).header("Authorization"), "Bearer " + token.toLatin1());
        QVERIFY(m_login->IsLogin());
        QCOMPARE(m_fixture->requests().size(), 2);
        KString name;
        QVERIFY(m_login->GetUsername(name));
        QCOMPARE(name.utf8(), "Robin Example");

        const QString shown = m_fixture->everythingShown();
        QVERIFY2(!shown.contains(token) && !shown.contains(APP_SECRET), qPrintable(shown));
        QVERIFY(isFree(8080));
    }

    void waitGoesOnUntilAllowed()
    {
        Owner owner;
        SimpleHttpServer::setDefaultTimeouts(10000, 50);
        m_login->Login(&owner);
        QVERIFY(CloudFixture::visit(8080, redirectPath + QByteArray("?error=access_denied")).isEmpty());
        QVERIFY(!m_login->IsLogin()); // what a change of tabs asks
        QVERIFY(owner.heard.isEmpty());
        QVERIFY(!m_fixture->allow().isEmpty());
        QCOMPARE(owner.heard, QList<bool>{true});
        QVERIFY(m_login->IsLogin());
    }

    void storedTokenNeedsNoBrowser()
    {
        CloudFixture::storeToken(m_fixture->cloud.issueDropboxToken());
        Owner owner;
        QVERIFY(m_login->Login(&owner));
        QCOMPARE(owner.heard, QList<bool>{true});
        QVERIFY(m_fixture->opened().isEmpty());
        QCOMPARE(m_fixture->requests(), QStringList("GET /1/account/info/"));
        QVERIFY(isFree(8080));

        QVERIFY(m_login->Logout());
        QVERIFY(!m_login->IsLogin());
        QCOMPARE(CloudFixture::storedToken(), QString());
        HeaderMap info;
        QVERIFY(!m_login->GetUserInformation(info));
        QCOMPARE(m_fixture->requests().size(), 1);
    }

    void staleTokenIsForgotten()
    {
        CloudFixture::storeToken(m_fixture->cloud.issueDropboxToken());
        m_fixture->cloud.revokeDropboxTokens();
        QVERIFY(!m_login->IsLogin());
        QCOMPARE(CloudFixture::storedToken(), QString());
        QCOMPARE(m_login->GetSessionID().utf8(), "");

        CloudFixture::storeToken("stale again");
        QVERIFY(!m_login->Login(nullptr));
        QCOMPARE(m_fixture->opened().size(), 1);
        QVERIFY(!m_fixture->allow().isEmpty());
        QVERIFY(m_login->IsLogin());
    }

    void failedExchangeSignsNobodyIn_data()
    {
        QTest::addColumn<QString>("action");
        for (const char *action : {"status=400", "cut=10", "garbage", "hang", "redirect=https://www.dropbox.com/"})
            QTest::newRow(action) << action;
    }

    void failedExchangeSignsNobodyIn()
    {
        QFETCH(QString, action);
        httpClient::setDefaultTimeouts(100, 100);
        QVERIFY(m_fixture->cloud.addRule("api.dropbox.com", "/1/oauth2/token", action));
        Owner owner;
        bool signedIn = true;
        owner.onDone = [&] { signedIn = m_login->IsLogin(); };
        m_login->Login(&owner);
        QVERIFY(!m_fixture->allow().isEmpty());
        QCOMPARE(owner.heard, QList<bool>{true});
        QVERIFY(!signedIn);
        QCOMPARE(CloudFixture::storedToken(), QString());
        QVERIFY(!m_fixture->everythingShown().contains(APP_SECRET));
    }

    void logoutEndsTheWait()
    {
        Owner owner;
        m_login->Login(&owner);
        QVERIFY(m_login->Logout());
        QVERIFY(m_fixture->allow().isEmpty());
        QVERIFY(owner.heard.isEmpty());
        QCOMPARE(CloudFixture::storedToken(), QString());
    }

    void logoutDuringTheExchange()
    {
        QVERIFY(m_fixture->cloud.addRule("api.dropbox.com", "/1/oauth2/token", "delay=100"));
        Owner owner;
        m_login->Login(&owner);
        connect(&m_fixture->cloud, &LocalCloud::requestServed, m_fixture.get(), [this] { m_login->Logout(); });
        QVERIFY(!m_fixture->allow().isEmpty());
        QCOMPARE(m_fixture->requests().size(), 1);
        QVERIFY(owner.heard.isEmpty());
        QCOMPARE(CloudFixture::storedToken(), QString());
    }

    void secondLoginReplacesTheFirst()
    {
        Owner first;
        Owner second;
        m_login->Login(&first);
        m_login->Login(&second);
        QCOMPARE(m_fixture->opened().size(), 2);
        QCOMPARE(CloudFixture::redirectPort(m_fixture->opened().at(1)), quint16(8080));
        QVERIFY(!m_fixture->allow().isEmpty());
        QVERIFY(first.heard.isEmpty());
        QCOMPARE(second.heard, QList<bool>{true});
        QVERIFY(m_fixture->host.errors().isEmpty());
    }

    void timeoutIsToldAndMayBeTriedAgain()
    {
        SimpleHttpServer::setDefaultTimeouts(30);
        Owner owner;
        owner.onDone = [&] {
            SimpleHttpServer::setDefaultTimeouts(10000);
            owner.onDone = nullptr;
            m_login->Login(&owner);
        };
        m_login->Login(&owner);
        QTRY_COMPARE(owner.heard, QList<bool>{false});
        QCOMPARE(m_fixture->host.errors(), QStringList("Dropbox authentication timeout"));
        QVERIFY(m_fixture->requests().isEmpty());
        QVERIFY(!m_fixture->allow().isEmpty());
        QCOMPARE(owner.heard, (QList<bool>{false, true}));
    }

    void takenPortMovesTheRedirect()
    {
        QTcpServer other;
        QVERIFY(other.listen(QHostAddress::LocalHost, 8080));
        m_login->Login(nullptr);
        QCOMPARE(m_login->GetOauthRedirectUri().utf8(), "http://localhost:80/crvn/kelda/oauth/dropbox/redirect");
        QCOMPARE(CloudFixture::redirectPort(m_fixture->opened().at(0)), quint16(80));
    }

    void requestAddressFitsItsBuffer()
    {
        QByteArray buffer(300, 'x');
        QCOMPARE(m_login->CreateLoginRequest(buffer.data(), 300), -1L);
        QCOMPARE(buffer, QByteArray(300, 'x'));

        m_login->SetSessionID("token");
        const QByteArray address = m_login->GetLoginRequestUrl().utf8();
        for (const int size : {0, 1, 20, 300}) {
            buffer.fill('x', 310);
            QCOMPARE(m_login->CreateLoginRequest(buffer.data(), static_cast<unsigned long>(size)), address.size() + 1L);
            QCOMPARE(buffer.mid(size), QByteArray(310 - size, 'x'));
            if (size > 0)
                QVERIFY(buffer.at(size - 1) == '\0' && address.left(size - 1) == buffer.constData());
        }
    }

private:
    std::unique_ptr<CloudFixture> m_fixture;
    std::unique_ptr<Portal_DropBox_Login> m_login;
};

QTEST_MAIN(TestDropBoxLogin)
#include "tst_dropbox_login.moc"
