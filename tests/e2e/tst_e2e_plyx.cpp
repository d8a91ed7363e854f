// Plyx: the sign-in page in the dialog, galleries, and models with their textures.

#include "E2ETest.h"

#include <QWebElement>
#include <QWebFrame>
#include <QWebPage>
#include <QWebView>

class TestE2EPlyx : public E2ETest
{
    Q_OBJECT
public:
    TestE2EPlyx() : E2ETest("Plyx") {}

private slots:
    void signsInAfterAWrongPassword()
    {
        QVERIFY2(m_page->open(), error());
        QVERIFY2(m_guide->openSignInPage(*m_page), error());
        const auto refusal = [this] {
            return m_page->signInPage()->page()->mainFrame()->findFirstElement("#error").toPlainText();
        };
        QVERIFY2(m_driver->typeInPage(m_page->signInPage(), "#user", "demo"), error());
        QVERIFY2(typePassword("wrong"), error());
        QTRY_VERIFY(refusal().contains("wrong"));
        QVERIFY(!m_page->isSignedIn());
        QCOMPARE(storedSession(), QString());

        QVERIFY2(typePassword("demo"), error());
        QTRY_COMPARE(m_page->loginText(), QString("Logout (Robin Example)"));
        QTRY_COMPARE(m_page->entries(), (QStringList{"Grell", "Tarn", "Lumo", "Lumo Mobile", "Home"}));
        QVERIFY(!m_page->signInPage());
    }

    void thirdPageIsTheLast()
    {
        QVERIFY2(openSignedIn(), error());
        QVERIFY2(m_page->openFolder("Lumo"), error());
        for (int page = 2; page <= 3; ++page) {
            QVERIFY2(m_page->nextPage(), error());
            QCOMPARE(sorted(m_page->entries()), sorted(m_guide->entries({{"Lumo"}, {}, page})));
        }
        QVERIFY(!m_page->nextPage());
        QVERIFY2(m_page->search("no such & model"), error());
        QCOMPARE(m_page->entries(), QStringList());
        const auto requests = m_cloud.requests("/API/v1/Search");
        QVERIFY2(requests.back().target.contains("&keyword=no%20such%20%26%20model&"),
                 qPrintable(requests.back().target));
        QVERIFY2(m_page->goUp(), error());
        QCOMPARE(m_page->entries().size(), 5);
    }

    void eachFileComesFromItsServer()
    {
        QVERIFY2(openSignedIn(), error());
        QVERIFY2(m_page->openFolder("Lumo"), error());
        const std::size_t before = m_cloud.requests().size();
        QVERIFY2(m_page->importByDoubleClick("Wooden barrel"), error());
        QCOMPARE(m_driver->sceneInfo("textures"), 1);

        QStringList sent;
        const auto requests = m_cloud.requests();
        for (std::size_t i = before; i < requests.size(); ++i) {
            const auto &request = requests[i];
            sent << QString("%1 %2 %3 %4")
                        .arg(request.tls ? "https" : "http", request.host.section('.', 0, 0),
                             request.target.section('/', 1, 3),
                             request.headers.contains("X-Secure-Session") ? "secret" : "open");
        }
        // The list loads its pictures at the same time.
        sent = sent.filter(QRegularExpression("^(?!\\S+ \\S+ thumbnails/)"));
        QCOMPARE(sent.first(), QString("https www API/v1/Asset secret"));
        QCOMPARE(sent.filter("http www API/v1/Server open").size(), 3);
        QCOMPARE(sent.filter(QRegularExpression("^https files. v1/Download\\?id=102_\\d+ secret$")).size(), 3);
        QCOMPARE(sent.filter(QRegularExpression("^https files. v1/File/\\S+ open$")).size(), 3);
        QCOMPARE(sent.size(), 10);
    }

private:
    bool typePassword(const QString &password)
    {
        return m_driver->typeInPage(m_page->signInPage(), "#password", password) &&
               m_driver->clickInPage(m_page->signInPage(), "#sign-in");
    }
};

QTEST_MAIN(TestE2EPlyx)
#include "tst_e2e_plyx.moc"
