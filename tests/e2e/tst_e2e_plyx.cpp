// Whole journeys on Plyx: the sign-in page in the dialog, galleries, and models with their textures.

#include "Journey.h"
#include "tour/Evidence.h"
#include "tour/PlyxGuide.h"

#include <QtTest>
#include <QWebElement>
#include <QWebFrame>
#include <QWebPage>
#include <QWebView>

class TestE2EPlyx : public Journey
{
    Q_OBJECT
public:
    TestE2EPlyx() : Journey(QStringLiteral("Plyx")) {}

private slots:
    void init();
    void cleanup();

    void signsInAfterAWrongPassword();
    void closedSignInCanBeStartedAgain();
    void sessionIsKeptUntilLogout();
    void pagesEndAtTheThird();
    void filesComeFromTheirServers();
    void lostTextureLeavesTheModel_data();
    void lostTextureLeavesTheModel();

private:
    bool openSignedIn();

    std::unique_ptr<PlyxGuide> m_guide;
};

void TestE2EPlyx::init()
{
    Journey::init();
    m_guide = std::make_unique<PlyxGuide>(*m_driver, m_cloud);
}

void TestE2EPlyx::cleanup()
{
    m_guide.reset();
    Journey::cleanup();
}

bool TestE2EPlyx::openSignedIn()
{
    return m_page->open() && m_guide->askToSignIn(*m_page) && m_guide->answerSignIn(*m_page);
}

void TestE2EPlyx::signsInAfterAWrongPassword()
{
    QVERIFY2(m_page->open() && m_guide->askToSignIn(*m_page), qPrintable(error()));
    const auto refusal = [this] {
        return m_page->signInPage()->page()->mainFrame()->findFirstElement("#error").toPlainText();
    };
    QVERIFY2(m_driver->typeInPage(m_page->signInPage(), "#user", "demo") &&
                 m_driver->typeInPage(m_page->signInPage(), "#password", "wrong") &&
                 m_driver->clickInPage(m_page->signInPage(), "#sign-in"),
             qPrintable(error()));
    QTRY_VERIFY(refusal().contains("wrong"));
    QVERIFY(!m_page->isSignedIn());
    QCOMPARE(storedSession(m_guide->facts().settings), QString());

    QVERIFY2(m_driver->typeInPage(m_page->signInPage(), "#password", "demo") &&
                 m_driver->clickInPage(m_page->signInPage(), "#sign-in"),
             qPrintable(error()));
    QTRY_COMPARE(m_page->loginText(), QStringLiteral("Logout (Robin Example)"));
    QTRY_COMPARE(m_page->entries(), (QStringList{"Grell", "Tarn", "Lumo", "Lumo Mobile", "Home"}));
    QVERIFY(!m_page->signInPage());
}

void TestE2EPlyx::closedSignInCanBeStartedAgain()
{
    QVERIFY2(m_page->open() && m_guide->askToSignIn(*m_page), qPrintable(error()));
    QVERIFY2(m_driver->clickInPage(m_page->signInPage(), "#user"), qPrintable(error()));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    QTRY_VERIFY(!m_page->signInPage());
    QCOMPARE(m_page->loginText(), QStringLiteral("Login"));
    QVERIFY(!m_page->isListEnabled());
    QVERIFY2(m_guide->askToSignIn(*m_page) && m_guide->answerSignIn(*m_page), qPrintable(error()));
}

void TestE2EPlyx::sessionIsKeptUntilLogout()
{
    QVERIFY2(openSignedIn(), qPrintable(error()));
    const QString session = storedSession(m_guide->facts().settings);
    QVERIFY(session.contains('+') || session.contains('/'));
    const int admitted = m_guide->answers(m_guide->facts().admission);

    QVERIFY2(startHost() && m_page->open(), qPrintable(error()));
    m_guide = std::make_unique<PlyxGuide>(*m_driver, m_cloud);
    QVERIFY2(m_driver->waitFor([this] { return m_page->isSignedIn(); }, "the stored session"), qPrintable(error()));
    QVERIFY2(m_page->openFolder("Home"), qPrintable(error()));
    QCOMPARE(m_guide->answers(m_guide->facts().admission), admitted);

    QVERIFY2(m_page->logOut(), qPrintable(error()));
    QVERIFY(!m_page->isListEnabled());
    const QByteArray kept =
        contentBelow(m_userDir->path()) + contentBelow(QFileInfo(settingsFile(m_guide->facts().settings)).path());
    QVERIFY2(!kept.contains(session.toUtf8()), "the session is still on disk");
}

void TestE2EPlyx::pagesEndAtTheThird()
{
    QVERIFY2(openSignedIn() && m_page->openFolder("Lumo"), qPrintable(error()));
    for (int page = 2; page <= 3; ++page) {
        QVERIFY2(m_page->nextPage(), qPrintable(error()));
        QCOMPARE(sorted(m_page->entries()), sorted(m_guide->entries({{"Lumo"}, {}, page})));
    }
    QVERIFY(!m_page->nextPage());
    QVERIFY2(m_page->search("no such & model"), qPrintable(error()));
    QCOMPARE(m_page->entries(), QStringList());
    const auto requests = m_cloud.requests("/API/v1/Search");
    QVERIFY2(requests.back().target.contains("&keyword=no%20such%20%26%20model&"), qPrintable(requests.back().target));
    QVERIFY2(m_page->goUp(), qPrintable(error()));
    QCOMPARE(m_page->entries().size(), 5);
}

void TestE2EPlyx::filesComeFromTheirServers()
{
    QVERIFY2(openSignedIn() && m_page->openFolder("Lumo"), qPrintable(error()));
    const std::size_t before = m_cloud.requests().size();
    QVERIFY2(m_page->importByDoubleClick("Wooden barrel"), qPrintable(error()));
    QCOMPARE(sceneInfo("textures"), 1);

    QStringList asked;
    const auto requests = m_cloud.requests();
    for (std::size_t i = before; i < requests.size(); ++i) {
        const auto &request = requests[i];
        QStringList headers;
        for (const char *name : {"X-AFC", "X-Session", "X-Secure-Session"}) {
            if (request.headers.contains(QLatin1String(name)))
                headers << name;
        }
        asked << QStringLiteral("%1 %2 %3 %4")
                     .arg(request.tls ? "https" : "http", request.host.section('.', 0, 0),
                          request.target.section('/', 1, 3), QString::number(headers.size()));
    }
    QCOMPARE(asked.first(), QStringLiteral("https www API/v1/Asset 3"));
    QCOMPARE(asked.filter(QRegularExpression("^http www API/v1/Server 2$")).size(), 3);
    QCOMPARE(asked.filter(QRegularExpression("^https files. v1/Download\\?id=102_\\d+ 3$")).size(), 3);
    QCOMPARE(asked.filter(QRegularExpression("^https files. v1/File/\\S+ 0$")).size(), 3);
    QVERIFY2(asked.last().contains("v1/File"), "the model is not the last file");
    QCOMPARE(asked.size(), 10);
}

void TestE2EPlyx::lostTextureLeavesTheModel_data()
{
    QTest::addColumn<QString>("rule");
    QTest::newRow("refused") << "files*.plyx.example /v1/File/*.png status=404";
    QTest::newRow("cut") << "files*.plyx.example /v1/File/*.png cut=300";
}

void TestE2EPlyx::lostTextureLeavesTheModel()
{
    QFETCH(QString, rule);
    CloudProcess cloud;
    QVERIFY(replaceCloud(cloud, rule));
    QVERIFY2(openSignedIn() && m_page->openFolder("Lumo") && m_page->importByDoubleClick("Wooden barrel"),
             qPrintable(error()));
    QCOMPARE(triangles(), 384);
    QCOMPARE(sceneInfo("textures"), 0);
    QCOMPARE(m_driver->takeMessages().size(), 1);
    QCOMPARE(m_driver->ask("waitCursor -q -state"), QStringLiteral("0"));
}

QTEST_MAIN(TestE2EPlyx)
#include "tst_e2e_plyx.moc"
