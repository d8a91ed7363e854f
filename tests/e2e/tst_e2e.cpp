// Sign-in and import on Dropbox, through the real host, the real module and the local cloud. Results are checked
// outside the plug-in: the cloud's log, the bytes on disk and the triangles in the scene.

#include "E2ETest.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QLineEdit>

class TestE2E : public E2ETest
{
    Q_OBJECT
public:
    TestE2E() : E2ETest(QStringLiteral("Dropbox")) {}

private slots:
    void initTestCase();
    void importedFileEqualsTheOneOnTheDisk_data();
    void importedFileEqualsTheOneOnTheDisk();
    void redirectedDownloadSendsNoToken();
    void listShowsTheFoldersOfTheDisk();
    void deniedSignInDoesNotSignIn();
    void logoutRemovesTheSession();
    void storedSessionSignsInWithoutABrowser_data();
    void storedSessionSignsInWithoutABrowser();
    void reopenedDockIsUsable();
    void optionsChangeWhatIsImported();
    void brokenTransferImportsNothing_data();
    void brokenTransferImportsNothing();
};

void TestE2E::initTestCase()
{
    E2ETest::initTestCase();
    writeQuads(remote("plain.obj"), 6);
    writeQuads(remote("e2e/two words.obj"), 4);
    writeQuads(remote("e2e/plain.obj"), 5);
    writeQuads(remote("e2e/Grün und 日本.obj"), 3);
    writeQuads(remote("e2e/50% #1.obj"), 2);
    writeQuads(remote("e2e/say \"no\"; print $x `quit`.obj"), 7);
    writeQuads(remote("e2e/deep/er/end.obj"), 1);
    QFile big(remote("e2e/big.obj"));
    QVERIFY(big.open(QIODevice::WriteOnly));
    QVERIFY(big.resize(64 * 1024 * 1024));
    QFile notes(remote("e2e/notes"));
    QVERIFY(notes.open(QIODevice::WriteOnly));
}

void TestE2E::importedFileEqualsTheOneOnTheDisk_data()
{
    QTest::addColumn<QStringList>("folders");
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("quads");
    const QStringList e2e{"e2e"};
    QTest::newRow("in the root") << QStringList() << "plain.obj" << 6;
    QTest::newRow("same name, other folder") << e2e << "plain.obj" << 5;
    QTest::newRow("blank") << e2e << "two words.obj" << 4;
    QTest::newRow("non-ASCII") << e2e << "Grün und 日本.obj" << 3;
    QTest::newRow("address characters") << e2e << "50% #1.obj" << 2;
    QTest::newRow("command characters") << e2e << "say \"no\"; print $x `quit`.obj" << 7;
    QTest::newRow("deep") << QStringList{"e2e", "deep", "er"} << "end.obj" << 1;
}

void TestE2E::importedFileEqualsTheOneOnTheDisk()
{
    QFETCH(QStringList, folders);
    QFETCH(QString, name);
    QFETCH(int, quads);
    QVERIFY2(openSignedIn(), error());
    for (const QString &folder : folders)
        QVERIFY2(m_page->openFolder(folder), error());
    const std::size_t served = m_cloud.requests(QStringLiteral("/1/files/")).size();
    QCOMPARE(triangles(), 0);

    QVERIFY2(import(name), error());

    const auto requests = m_cloud.requests(QStringLiteral("/1/files/"));
    QCOMPARE(requests.size(), served + 1);
    QCOMPARE(requests.back().host, QStringLiteral("api-content.dropbox.com"));
    QCOMPARE(requests.back().status, 200);
    QVERIFY(requests.back().tls);
    const QString path = (folders + QStringList{name}).join(QLatin1Char('/'));
    const QStringList downloads = transferred();
    QCOMPARE(downloads.size(), 1);
    QCOMPARE(sha256(downloads.first()), sha256(remote(path)));
    QCOMPARE(triangles(), 2 * quads);
    QVERIFY(m_driver->takeHostMessages().contains(QStringLiteral("info: Successful import: ") + downloads.first()));
    QCOMPARE(m_driver->takeMessages(), QStringList());
}

void TestE2E::redirectedDownloadSendsNoToken()
{
    CloudProcess cloud;
    QVERIFY(replaceCloud(cloud, "api-content.dropbox.com /1/files/* signed-redirect"));
    QVERIFY2(openSignedIn(), error());
    QVERIFY2(import("plain.obj"), error());

    QCOMPARE(triangles(), 12);
    const auto requests = cloud.requests();
    QCOMPARE(requests.back().host, QStringLiteral("dl.dropboxusercontent.com"));
    QCOMPARE(requests.back().status, 200);
    QVERIFY(!requests.back().headers.contains(QLatin1String("Authorization")));
    const auto first = requests[requests.size() - 2];
    QCOMPARE(first.status, 302);
    QVERIFY(first.headers.contains(QLatin1String("Authorization")));
}

void TestE2E::listShowsTheFoldersOfTheDisk()
{
    QVERIFY2(m_page->open(), error());
    QCOMPARE(m_page->loginText(), QStringLiteral("Login"));
    QVERIFY(!isListEnabled());

    QVERIFY2(signIn(), error());
    QCOMPARE(m_page->loginText(), QStringLiteral("Logout (Robin Example)"));
    QCOMPARE(sorted(m_page->entries()), sorted(namesIn(m_cloud.dropboxFolder())));
    QVERIFY2(m_page->openFolder("e2e"), error());
    QCOMPARE(sorted(m_page->entries()), sorted(namesIn(remote("e2e"))));
    QCOMPARE(m_page->entries().first(), QStringLiteral("deep"));

    QVERIFY2(m_page->select("notes"), error());
    QVERIFY2(!canImport(), "a file that no translator reads can be imported");
    QVERIFY2(chooseFromPath("e2e", "deep"), error());
    QCOMPARE(m_page->entries(), QStringList{"er"});
    for (int level = 0; level < 2; ++level)
        QVERIFY2(m_page->goUp(), error());
    QCOMPARE(sorted(m_page->entries()), sorted(namesIn(m_cloud.dropboxFolder())));
}

void TestE2E::deniedSignInDoesNotSignIn()
{
    const std::size_t exchanged = m_cloud.requests(QStringLiteral("/1/oauth2/token")).size();
    QVERIFY2(m_page->open(), error());
    QVERIFY2(m_guide->openSignInPage(*m_page), error());
    QVERIFY2(m_driver->clickInPage(m_page->browser(), "#deny"), error());
    QTest::qWait(200);
    QCOMPARE(m_page->loginText(), QStringLiteral("Login"));
    QVERIFY(!isListEnabled());
    QCOMPARE(m_cloud.requests(QStringLiteral("/1/oauth2/token")).size(), exchanged);

    QVERIFY2(signIn(), error());
    QCOMPARE(m_cloud.requests(QStringLiteral("/1/oauth2/token")).size(), exchanged + 1);
}

void TestE2E::logoutRemovesTheSession()
{
    QVERIFY2(openSignedIn(), error());
    QVERIFY2(m_page->select("plain.obj"), error());
    const QString token = storedSession();
    QVERIFY(isOnDisk(token));
    const QFile::Permissions others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
    QVERIFY(!(QFileInfo(settingsFile(m_guide->facts().settings)).permissions() & others));

    QVERIFY2(logOut(), error());
    QCOMPARE(storedSession(), QString());
    QVERIFY(!isListEnabled());
    QVERIFY(!canImport());
    QVERIFY(!isOnDisk(token));
}

void TestE2E::storedSessionSignsInWithoutABrowser_data()
{
    QTest::addColumn<bool>("sameHost");
    QTest::newRow("module unloaded and loaded again") << true;
    QTest::newRow("host started again") << false;
}

void TestE2E::storedSessionSignsInWithoutABrowser()
{
    QFETCH(bool, sameHost);
    QVERIFY2(openSignedIn(), error());
    const std::size_t asked = m_cloud.requests(QStringLiteral("/1/oauth2/authorize")).size();

    if (sameHost) {
        QVERIFY2(m_driver->run(QStringLiteral("unloadPlugin \"Tavrin\"")), error());
        QVERIFY(!m_page->dock());
        QVERIFY2(m_driver->run(QStringLiteral("loadPlugin \"%1\"").arg(Driver::module())), error());
    } else {
        m_driver->stop();
        QVERIFY2(startHost(), error());
    }
    QVERIFY2(m_page->open(), error());
    QVERIFY2(m_driver->waitFor([this] { return m_page->isSignedIn(); }, "the stored session"), error());
    QVERIFY2(import("plain.obj"), error());
    QCOMPARE(triangles(), 12);
    QVERIFY(!m_page->browser());
    QCOMPARE(m_cloud.requests(QStringLiteral("/1/oauth2/authorize")).size(), asked);
}

void TestE2E::reopenedDockIsUsable()
{
    storeDockedAtTheRight();
    QVERIFY2(openSignedIn(), error());
    QVERIFY2(m_page->openFolder("e2e"), error());
    QVERIFY2(closeDock(), error());
    QVERIFY2(m_page->open(), error());
    QVERIFY(m_page->isSignedIn());
    QVERIFY2(m_page->importByDoubleClick("two words.obj"), error());
    QCOMPARE(triangles(), 8);
}

void TestE2E::optionsChangeWhatIsImported()
{
    QVERIFY2(openSignedIn(), error());
    QVERIFY2(import("plain.obj"), error());
    const QStringList before = m_driver->ask("sceneInfo -q -boundingBox").split(QLatin1Char(' '));
    QVERIFY2(m_driver->run("file -new -force"), error());

    int dialogs = 0;
    m_driver->setDialogHandler([&](QDialog &dialog) {
        auto *scale = dialog.findChild<QDoubleSpinBox *>("KeldaOption_scale");
        auto *ok = dialog.findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok);
        // The driver calls this again if the dialog was not ready.
        const bool answered = dialog.objectName() == QLatin1String("CloudPortalOptionsDialog") &&
                              m_driver->replace(scale, "3") && m_driver->click(ok);
        dialogs += answered ? 1 : 0;
        return answered;
    });
    auto *showOptions = m_page->part("CloudImportButton")->parentWidget()->findChild<QCheckBox *>();
    QVERIFY2(m_driver->click(showOptions), error());
    QVERIFY(showOptions->isChecked());
    QVERIFY2(import("plain.obj"), error());

    QCOMPARE(dialogs, 1);
    const QStringList after = m_driver->ask("sceneInfo -q -boundingBox").split(QLatin1Char(' '));
    QCOMPARE(before.size(), 6);
    for (int i = 0; i < 6; ++i)
        QCOMPARE(after.value(i).toDouble(), 3 * before[i].toDouble());
}

void TestE2E::brokenTransferImportsNothing_data()
{
    QTest::addColumn<QString>("rule");
    QTest::addColumn<bool>("killed");
    QTest::newRow("cut short") << "api-content.dropbox.com /1/files/*/big.obj cut=65536" << false;
    QTest::newRow("refused") << "api-content.dropbox.com /1/files/*/big.obj status=503" << false;
    QTest::newRow("server killed") << "api-content.dropbox.com /none delay=1" << true;
}

void TestE2E::brokenTransferImportsNothing()
{
    QFETCH(QString, rule);
    QFETCH(bool, killed);
    CloudProcess cloud;
    QVERIFY(replaceCloud(cloud, rule));
    QVERIFY2(openSignedIn(), error());
    QVERIFY2(m_page->openFolder("e2e"), error());
    QVERIFY2(m_page->select("big.obj"), error());

    m_driver->takeHostMessages();
    qint64 arrived = 0;
    QTimer poll;
    connect(&poll, &QTimer::timeout, &poll, [&] {
        arrived = QFileInfo(m_userDir->filePath("temp_cloud/Dropbox/e2e/big.obj")).size();
        if (arrived > 0) {
            cloud.kill();
            poll.stop();
        }
    });
    if (killed)
        poll.start(2);
    QVERIFY2(m_page->import(), error());
    poll.stop();
    QCOMPARE(arrived > 0, killed);
    QVERIFY(arrived < QFileInfo(remote("e2e/big.obj")).size());

    QCOMPARE(m_driver->takeMessages().size(), 1);
    for (const QString &message : m_driver->takeHostMessages())
        QVERIFY2(message.startsWith(QLatin1String("error: Sorry but we were not able to connect")),
                 qPrintable(message));
    QCOMPARE(triangles(), 0);
    QCOMPARE(isWaitCursorShown(), false);
    if (killed)
        QVERIFY2(cloud.start({m_folder.filePath("cloud"), {}, quint16(cloud.address().port())}),
                 qPrintable(cloud.error()));
    QVERIFY2(import("plain.obj"), error());
    QCOMPARE(triangles(), 10);
}

QTEST_MAIN(TestE2E)
#include "tst_e2e.moc"
