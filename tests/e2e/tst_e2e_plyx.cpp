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
    TestE2EPlyx() : E2ETest(QStringLiteral("Plyx")) {}

private slots:
    void signsInAfterAWrongPassword();
    void closedSignInCanBeStartedAgain();
    void sessionIsKeptUntilLogout();
    void thirdPageIsTheLast();
    void eachFileComesFromItsServer();
    void modelIsImportedWithoutAFailedTexture_data();
    void modelIsImportedWithoutAFailedTexture();

private:
    bool typePassword(const QString &password)
    {
        return m_driver->typeInPage(m_page->signInPage(), "#password", password) &&
               m_driver->clickInPage(m_page->signInPage(), "#sign-in");
    }
};

void TestE2EPlyx::signsInAfterAWrongPassword()
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
    QTRY_COMPARE(m_page->loginText(), QStringLiteral("Logout (Robin Example)"));
    QTRY_COMPARE(m_page->entries(), (QStringList{"Grell", "Tarn", "Lumo", "Lumo Mobile", "Home"}));
    QVERIFY(!m_page->signInPage());
}

void TestE2EPlyx::closedSignInCanBeStartedAgain()
{
    QVERIFY2(m_page->open(), error());
    QVERIFY2(m_guide->openSignInPage(*m_page), error());
    QVERIFY2(m_driver->clickInPage(m_page->signInPage(), "#user"), error());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    QTRY_VERIFY(!m_page->signInPage());
    QCOMPARE(m_page->loginText(), QStringLiteral("Login"));
    QVERIFY(!isListEnabled());
    QVERIFY2(signIn(), error());
}

void TestE2EPlyx::sessionIsKeptUntilLogout()
{
    QVERIFY2(openSignedIn(), error());
    const QString session = storedSession();
    QVERIFY(session.contains(QRegularExpression("[+/]")));
    const int signIns = m_guide->countRequests(m_guide->facts().signIn);

    QVERIFY2(startHost(), error());
    QVERIFY2(m_page->open(), error());
    QVERIFY2(m_driver->waitFor([this] { return m_page->isSignedIn(); }, "the stored session"), error());
    QVERIFY2(m_page->openFolder("Home"), error());
    QCOMPARE(m_guide->countRequests(m_guide->facts().signIn), signIns);

    QVERIFY2(logOut(), error());
    QVERIFY(!isListEnabled());
    QVERIFY(!isOnDisk(session));
}

void TestE2EPlyx::thirdPageIsTheLast()
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
    QVERIFY2(requests.back().target.contains("&keyword=no%20such%20%26%20model&"), qPrintable(requests.back().target));
    QVERIFY2(m_page->goUp(), error());
    QCOMPARE(m_page->entries().size(), 5);
}

void TestE2EPlyx::eachFileComesFromItsServer()
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
        if (request.target.startsWith(QLatin1String("/thumbnails/")))
            continue; // the list loads its pictures at the same time
        QStringList headers;
        for (const char *name : {"X-AFC", "X-Session", "X-Secure-Session"}) {
            if (request.headers.contains(QLatin1String(name)))
                headers << name;
        }
        sent << QStringLiteral("%1 %2 %3 %4")
                    .arg(request.tls ? "https" : "http", request.host.section('.', 0, 0),
                         request.target.section('/', 1, 3), QString::number(headers.size()));
    }
    QCOMPARE(sent.first(), QStringLiteral("https www API/v1/Asset 3"));
    QCOMPARE(sent.filter(QRegularExpression("^http www API/v1/Server 2$")).size(), 3);
    QCOMPARE(sent.filter(QRegularExpression("^https files. v1/Download\\?id=102_\\d+ 3$")).size(), 3);
    QCOMPARE(sent.filter(QRegularExpression("^https files. v1/File/\\S+ 0$")).size(), 3);
    QVERIFY2(sent.last().contains("v1/File"), "the model is not the last file");
    QCOMPARE(sent.size(), 10);
}

void TestE2EPlyx::modelIsImportedWithoutAFailedTexture_data()
{
    QTest::addColumn<QString>("rule");
    QTest::newRow("refused") << "files*.plyx.example /v1/File/*.png status=404";
    QTest::newRow("cut") << "files*.plyx.example /v1/File/*.png cut=300";
}

void TestE2EPlyx::modelIsImportedWithoutAFailedTexture()
{
    QFETCH(QString, rule);
    CloudProcess cloud;
    QVERIFY(replaceCloud(cloud, rule));
    QVERIFY2(openSignedIn(), error());
    QVERIFY2(m_page->openFolder("Lumo"), error());
    QVERIFY2(m_page->importByDoubleClick("Wooden barrel"), error());
    QCOMPARE(triangles(), 384);
    QCOMPARE(m_driver->sceneInfo("textures"), 0);
    QCOMPARE(m_driver->takeMessages().size(), 1);
    QCOMPARE(isWaitCursorShown(), false);
}

QTEST_MAIN(TestE2EPlyx)
#include "tst_e2e_plyx.moc"
