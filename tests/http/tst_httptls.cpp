#include "HttpTest.h"

#include <QSslConfiguration>

/// Which calls look at certificates, and that none of them profits from one that does not.
class TestHttpTls : public HttpFixture
{
    Q_OBJECT
private slots:
    void init() { reset(); }

    void onlyDownloadsAcceptAnyCertificate()
    {
        LocalServer server(LocalServer::Transport::Tls);
        server.answer("/x", Reply().body("the model"));
        TestClient client(server);
        const HeaderMap headers = {{L"Authorization", L"Bearer secret"}};
        const QString failed = "0 " + failureText("SslHandshakeFailedError");
        int accepted = 0;
        // The calls after a download must not go over the connection that it left open.
        for (const Call call :
             {Call::Get, Call::Post, Call::PostFile, Call::GetFile, Call::Get, Call::PostFile, Call::GetFile}) {
            const ReturnStatus status = client.run(call, "/x", headers, true);
            accepted += call == Call::GetFile ? 1 : 0;
            QCOMPARE(outcome(status), call == Call::GetFile ? "200 " : failed);
            QCOMPARE(server.requests().size(), accepted);
        }
        QCOMPARE(client.downloaded(), QByteArray("the model"));
        QCOMPARE(server.lastRequest("/x").header("Authorization"), QByteArray("Bearer secret"));
    }

    void redirectTargetIsChecked_data()
    {
        QTest::addColumn<bool>("fromTls");
        QTest::addColumn<bool>("trusted");
        QTest::newRow("plain to unknown") << false << false;
        QTest::newRow("unknown to the same") << true << false;
        QTest::newRow("plain to trusted") << false << true;
        QTest::newRow("trusted to the same") << true << true;
    }
    void redirectTargetIsChecked()
    {
        QFETCH(bool, fromTls);
        QFETCH(bool, trusted);
        const QSslConfiguration before = QSslConfiguration::defaultConfiguration();
        QSslConfiguration trusting = before;
        trusting.addCaCertificate(LocalServer::certificate());
        LocalServer target(LocalServer::Transport::Tls);
        LocalServer &first = fromTls ? target : *m_server;
        target.answer("/target", Reply().body("the model"));
        first.answer("/start", Reply(302).location("https://" + target.authority() + "/target"));
        TestClient client(first);
        QSslConfiguration::setDefaultConfiguration(trusted ? trusting : before);
        const ReturnStatus status = client.run(Call::GetFile, "/start", {}, fromTls);
        TestClient direct(target);
        const int directCode = direct.run(Call::Get, "/target", {}, true).GetStatusCode();
        QSslConfiguration::setDefaultConfiguration(before);
        QCOMPARE(outcome(status), trusted ? QString("200 ") : "0 " + failureText("SslHandshakeFailedError"));
        QCOMPARE(directCode, trusted ? 200 : 0);
        QCOMPARE(target.requests().size(), (fromTls ? 1 : 0) + (trusted ? 2 : 0));
        QCOMPARE(client.downloaded(), trusted ? QByteArray("the model") : QByteArray());
    }
};

QTEST_GUILESS_MAIN(TestHttpTls)
#include "tst_httptls.moc"
