#include "HttpTest.h"

#include <QSslConfiguration>

/// Which calls look at certificates, and that none of them profits from one that does not.
class TestHttpTls : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void onlyDownloadsAcceptAnyCertificate();
    void acceptedConnectionIsNotReused();
    void redirectTargetIsChecked_data();
    void redirectTargetIsChecked();
    void trustedCertificateServesEveryCall();

private:
    RecordingHost m_host;
    QTemporaryDir m_dir;
    QString m_folder = m_dir.path() + '/';
};

namespace {

/// Makes the test servers' certificate an authority that the program trusts.
class TrustedCertificate
{
public:
    TrustedCertificate() : m_before(QSslConfiguration::defaultConfiguration())
    {
        QSslConfiguration trusting = m_before;
        trusting.addCaCertificate(LocalServer::certificate());
        QSslConfiguration::setDefaultConfiguration(trusting);
    }
    ~TrustedCertificate() { QSslConfiguration::setDefaultConfiguration(m_before); }

private:
    QSslConfiguration m_before;
};

} // namespace

void TestHttpTls::init()
{
    m_host.clear();
    httpClient::setDefaultTimeouts(5000, 5000);
}

void TestHttpTls::onlyDownloadsAcceptAnyCertificate()
{
    LocalServer server(LocalServer::Transport::Tls);
    server.answer("/x", Reply().body("the model"));
    QFile file(m_folder + "up");
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("secret") == 6);
    file.close();
    const QString refused = failureText("SslHandshakeFailedError");
    httpClient client;
    useServer(client, server);
    QByteArray body;
    QByteArray data("secret");
    const HeaderMap headers = {{L"Authorization", L"Bearer secret"}};
    const KString folder = KQtUtil::toKString(m_folder);
    QCOMPARE(messageOf(client.get("/x", headers, true, body)), refused);
    QCOMPARE(messageOf(client.post("/x", data, headers, true, body)), refused);
    QCOMPARE(messageOf(client.postFile(folder, "up", "/x", headers, true, body)), refused);
    QCOMPARE(client.get("/x", headers, true, body).GetStatusCode(), 0);
    QCOMPARE(server.requests().size(), 0);

    QCOMPARE(client.getFile(m_folder, "cup.obj", "/x", headers, true).GetStatusCode(), 200);
    QCOMPARE(contentOf(m_folder + "cup.obj"), QByteArray("the model"));
    QCOMPARE(server.lastRequest("/x").header("Authorization"), QByteArray("Bearer secret"));
}

void TestHttpTls::acceptedConnectionIsNotReused()
{
    LocalServer server(LocalServer::Transport::Tls);
    server.answer("/x", Reply().body("the model"));
    httpClient client;
    useServer(client, server);
    QCOMPARE(client.getFile(m_folder, "cup.obj", "/x", {}, true).GetStatusCode(), 200);
    QByteArray body;
    const ReturnStatus status = client.get("/x", {}, true, body);
    QCOMPARE(messageOf(status), failureText("SslHandshakeFailedError"));
    QCOMPARE(server.requests().size(), 1);
    QCOMPARE(client.getFile(m_folder, "cup.obj", "/x", {}, true).GetStatusCode(), 200);
}

void TestHttpTls::redirectTargetIsChecked_data()
{
    QTest::addColumn<bool>("fromTls");
    QTest::addColumn<bool>("trusted");
    QTest::newRow("plain to unknown") << false << false;
    QTest::newRow("unknown to the same") << true << false;
    QTest::newRow("plain to trusted") << false << true;
    QTest::newRow("trusted to the same") << true << true;
}

void TestHttpTls::redirectTargetIsChecked()
{
    QFETCH(bool, fromTls);
    QFETCH(bool, trusted);
    const std::unique_ptr<TrustedCertificate> trust(trusted ? new TrustedCertificate : nullptr);
    LocalServer target(LocalServer::Transport::Tls);
    LocalServer plain;
    LocalServer &first = fromTls ? target : plain;
    target.answer("/target", Reply().body("the model"));
    first.answer("/start", Reply(302).location("https://" + target.authority() + "/target"));
    httpClient client;
    useServer(client, first);
    const ReturnStatus status = client.getFile(m_folder, "cup.obj", "/start", {}, fromTls);
    QCOMPARE(status.GetStatusCode(), trusted ? 200 : 0);
    QCOMPARE(messageOf(status), trusted ? QString() : failureText("SslHandshakeFailedError"));
    QCOMPARE(target.count("/target"), trusted ? 1 : 0);
    QCOMPARE(contentOf(m_folder + "cup.obj"), trusted ? QByteArray("the model") : QByteArray());
}

void TestHttpTls::trustedCertificateServesEveryCall()
{
    const TrustedCertificate trust;
    LocalServer server(LocalServer::Transport::Tls);
    server.answer("/x", Reply().body("fine"));
    httpClient client;
    useServer(client, server);
    QByteArray body;
    QByteArray data("data");
    QCOMPARE(client.get("/x", {}, true, body).GetStatusCode(), 200);
    QCOMPARE(client.post("/x", data, {{L"Content-Type", L"text/plain"}}, true, body).GetStatusCode(), 200);
    QCOMPARE(server.lastRequest("/x").body, data);
    QCOMPARE(client.getFile(m_folder, "cup.obj", "/x", {}, true).GetStatusCode(), 200);
    QCOMPARE(m_host.errors(), QStringList());
}

QTEST_GUILESS_MAIN(TestHttpTls)
#include "tst_httptls.moc"
