#include "DropboxFixture.h"
#include <QTest>
#include <QUrlQuery>

namespace {

const QString kWeb = QStringLiteral("https://www.dropbox.com");
const QString kApi = QStringLiteral("https://api.dropbox.com");
const QString kReturn = QStringLiteral("http://localhost:8080/crvn/kelda/oauth/dropbox/redirect");

QString authorizeUrl(const QString &redirectUri)
{
    return kWeb + "/1/oauth2/authorize?client_id=app&response_type=code&redirect_uri=" + redirectUri;
}

QString tokenUrl(const QString &code, const QString &clientId, const QString &redirectUri)
{
    return kApi + "/1/oauth2/token?code=" + code + "&grant_type=authorization_code&client_id=" + clientId +
           "&client_secret=s&redirect_uri=" + redirectUri;
}

} // namespace

class TestLocalCloudSignIn : public QObject, private DropboxFixture
{
    Q_OBJECT
private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void signsInThroughTheForm();
    void denyingGivesNoCode();
    void refusesFaultyAuthorizeRequests_data();
    void refusesFaultyAuthorizeRequests();
    void pageEscapesWhatItRepeats();
    void exchangesACodeOnlyForItsOwner_data();
    void exchangesACodeOnlyForItsOwner();
    void knowsItsTokensAfterARestart();
};

void TestLocalCloudSignIn::signsInThroughTheForm()
{
    CloudClient client(*m_cloud);
    const CloudReply page = client.get(authorizeUrl(kReturn));
    QCOMPARE(page.status, 200);
    QVERIFY(page.header("Content-Type").startsWith("text/html"));
    QVERIFY(page.body.contains("id=\"allow\"") && page.body.contains("id=\"deny\""));

    const QByteArray form =
        "client_id=app&response_type=code&redirect_uri=" + QUrl::toPercentEncoding(kReturn) + "&state=a%26b";
    client.setHeader("Content-Type", "application/x-www-form-urlencoded");
    const CloudReply allowed = client.send("POST", kWeb + "/1/oauth2/authorize", form + "&decision=allow");
    QCOMPARE(allowed.status, 302);
    const QUrl location(allowed.header("Location"));
    QCOMPARE(location.toString(QUrl::RemoveQuery), kReturn);
    QCOMPARE(QUrlQuery(location).queryItemValue("state", QUrl::FullyDecoded), QString("a&b"));

    const QString code = QUrlQuery(location).queryItemValue("code");
    const CloudReply token = client.send("POST", tokenUrl(code, "app", kReturn));
    QCOMPARE(token.status, 200);
    QCOMPARE(token.json().value("token_type").toString(), QString("bearer"));
    QVERIFY(token.json().value("uid").isString());
    client.setHeader("Authorization", "Bearer " + token.json().value("access_token").toString().toLatin1());
    const CloudReply account = client.get(kApi + "/1/account/info/");
    QCOMPARE(account.status, 200);
    QCOMPARE(account.json().value("display_name").toString(), QString("Robin Example"));

    QCOMPARE(client.send("POST", tokenUrl(code, "app", kReturn)).status, 400);
    client.setHeader("Authorization", "Bearer other");
    QCOMPARE(client.get(kApi + "/1/account/info/").status, 401);
}

void TestLocalCloudSignIn::denyingGivesNoCode()
{
    const QByteArray form = "client_id=app&response_type=code&redirect_uri=" + kReturn.toLatin1() + "&decision=";
    for (const char *decision : {"deny", "", "Allow"}) {
        const CloudReply reply = m_client->send("POST", kWeb + "/1/oauth2/authorize", form + decision);
        QCOMPARE(reply.status, 302);
        QVERIFY(reply.header("Location").startsWith(kReturn.toLatin1() + "?error=access_denied"));
        QVERIFY(!reply.header("Location").contains("code="));
    }
}

void TestLocalCloudSignIn::refusesFaultyAuthorizeRequests_data()
{
    QTest::addColumn<QString>("query");
    const QString good = "client_id=app&response_type=code&redirect_uri=";
    QTest::newRow("no client") << "response_type=code&redirect_uri=" + kReturn;
    QTest::newRow("other response") << "client_id=app&response_type=token&redirect_uri=" + kReturn;
    QTest::newRow("no address") << good;
    QTest::newRow("elsewhere") << good + "http://example.com/localhost";
    QTest::newRow("looks local") << good + "http://localhost.example.com/";
    QTest::newRow("user part") << good + "http://localhost@example.com/";
    QTest::newRow("script") << good + "javascript://localhost/%250Aalert(1)";
}

void TestLocalCloudSignIn::refusesFaultyAuthorizeRequests()
{
    QFETCH(QString, query);
    const CloudReply page = m_client->get(kWeb + "/1/oauth2/authorize?" + query);
    QCOMPARE(page.status, 400);
    QVERIFY(!page.body.contains("id=\"allow\""));
    const CloudReply posted = m_client->send("POST", kWeb + "/1/oauth2/authorize", query.toUtf8() + "&decision=allow");
    QCOMPARE(posted.status, 400);
    QCOMPARE(posted.header("Location"), QByteArray());
}

void TestLocalCloudSignIn::pageEscapesWhatItRepeats()
{
    const QString hostile = "%22%3E%3Cscript%3E";
    const QString query = "?response_type=code&client_id=" + hostile + "&state=" + hostile + "&redirect_uri=";
    for (const QString &address : {kReturn + "?" + hostile, "http://evil.test/" + hostile}) {
        const CloudReply page = m_client->get(kWeb + "/1/oauth2/authorize" + query + address);
        QVERIFY(page.body.contains("&lt;script&gt;"));
        QVERIFY(!page.body.contains("<script"));
    }
}

void TestLocalCloudSignIn::exchangesACodeOnlyForItsOwner_data()
{
    QTest::addColumn<QString>("query"); // CODE stands for a fresh code
    QTest::addColumn<QString>("error"); // empty: a token comes
    const QString good =
        "code=CODE&grant_type=authorization_code&client_id=app&client_secret=s&redirect_uri=" + kReturn;
    QTest::newRow("in order") << good << "";
    QTest::newRow("escaped address") << QString(good).replace(kReturn, QUrl::toPercentEncoding(kReturn)) << "";
    QTest::newRow("other client") << QString(good).replace("id=app", "id=other") << "invalid_grant";
    QTest::newRow("other address") << good + "/x"
                                   << "invalid_grant";
    QTest::newRow("other code") << QString(good).replace("CODE", "CODEx") << "invalid_grant";
    QTest::newRow("no secret") << QString(good).replace("client_secret=s", "") << "invalid_client";
    QTest::newRow("other grant") << QString(good).replace("authorization_code", "password") << "unsupported_grant_type";
}

void TestLocalCloudSignIn::exchangesACodeOnlyForItsOwner()
{
    QFETCH(QString, query);
    QFETCH(QString, error);
    query.replace("CODE", m_cloud->issueDropboxCode("app", kReturn));
    const CloudReply reply = m_client->send("POST", kApi + "/1/oauth2/token?" + query);
    QCOMPARE(reply.status, error.isEmpty() ? 200 : 400);
    QCOMPARE(reply.json().value("error").toString(), error);
    QCOMPARE(reply.json().contains("access_token"), error.isEmpty());
}

void TestLocalCloudSignIn::knowsItsTokensAfterARestart()
{
    const QByteArray token = m_cloud->issueDropboxToken().toLatin1();
    m_cloud.reset();
    start();
    m_client->setHeader("Authorization", "Bearer " + token);
    QCOMPARE(m_client->get(kApi + "/1/account/info/").status, 200);
    const QString stored = m_data->filePath(".localcloud/dropbox-tokens.json");
    QCOMPARE(QFile::permissions(stored) & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
    m_cloud->revokeDropboxTokens();
    QCOMPARE(m_client->get(kApi + "/1/account/info/").status, 401);
    QVERIFY(!readFile(stored).contains(token));
}

QTEST_GUILESS_MAIN(TestLocalCloudSignIn)
#include "tst_localcloudsignin.moc"
