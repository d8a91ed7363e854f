// Sign-in and import on Dropbox, through the real host, the real module and the local cloud. Results are checked
// outside the plug-in: the cloud's log, the bytes on disk and the triangles in the scene.

#include "E2ETest.h"
#include "support/Table.h"
#include "support/TestFiles.h"

class TestE2E : public E2ETest
{
    Q_OBJECT
public:
    TestE2E() : E2ETest("Dropbox") {}

private slots:
    void initTestCase()
    {
        E2ETest::initTestCase();
        writeQuads(remote("plain.obj"), 6);
        writeQuads(remote("e2e/deep/end.obj"), 1);
        writeFile(remote("e2e/notes"), "");
        QFile big(remote("e2e/big.obj"));
        QVERIFY(big.open(QIODevice::WriteOnly));
        QVERIFY(big.resize(64 * 1024 * 1024));
    }

    void importedFileEqualsTheOneOnTheDisk_data()
    {
        addRows({{"in the root", "plain.obj"},
                 {"address characters", "e2e/50% #1.obj"},
                 {"command characters", "e2e/say \"no\"; print $x `quit`.obj"},
                 {"deep", "e2e/deep/er/end.obj"}});
    }
    void importedFileEqualsTheOneOnTheDisk()
    {
        const auto [row, path] = currentRow<2>();
        const int quads = path.size();
        writeQuads(remote(path), quads);
        QVERIFY2(openSignedIn(), error());
        QStringList folders = path.split('/');
        const QString name = folders.takeLast();
        for (const QString &folder : qAsConst(folders))
            QVERIFY2(m_page->openFolder(folder), error());
        const std::size_t served = m_cloud.requests("/1/files/").size();

        QVERIFY2(import(name), error());

        const auto requests = m_cloud.requests("/1/files/");
        QCOMPARE(requests.size(), served + 1);
        QCOMPARE(requests.back().host, QString("api-content.dropbox.com"));
        QVERIFY(requests.back().tls);
        const QStringList downloads = transferred();
        QCOMPARE(downloads.size(), 1);
        QCOMPARE(sha256(downloads.first()), sha256(remote(path)));
        QCOMPARE(triangles(), 2 * quads);
        QVERIFY(m_driver->takeHostMessages().contains("info: Successful import: " + downloads.first()));
        QCOMPARE(m_driver->takeMessages(), QStringList());
    }

    void listShowsTheFoldersOfTheDisk()
    {
        QVERIFY2(m_page->open(), error());
        QCOMPARE(m_page->loginText(), QString("Login"));
        QVERIFY(!isListEnabled());

        QVERIFY2(signIn(), error());
        QCOMPARE(m_page->loginText(), QString("Logout (Robin Example)"));
        QCOMPARE(sorted(m_page->entries()), sorted(namesIn(m_cloud.dropboxFolder())));
        QVERIFY2(m_page->openFolder("e2e"), error());
        QCOMPARE(sorted(m_page->entries()), sorted(namesIn(remote("e2e"))));
        QCOMPARE(m_page->entries().first(), QString("deep"));

        QVERIFY2(m_page->select("notes"), error());
        QVERIFY2(!canImport(), "a file that no translator reads can be imported");
        QVERIFY2(m_page->goUp(), error());
        QCOMPARE(sorted(m_page->entries()), sorted(namesIn(m_cloud.dropboxFolder())));
    }

    void logoutRemovesTheSession()
    {
        QVERIFY2(openSignedIn(), error());
        QVERIFY2(m_page->select("plain.obj"), error());
        const QString token = storedSession();
        QVERIFY(isOnDisk(token));
        const QFile::Permissions others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
        QCOMPARE(QFile::permissions(settingsFile(m_guide->facts().settings)) & others, QFile::Permissions());

        QVERIFY2(logOut(), error());
        QVERIFY(!isListEnabled());
        QVERIFY(!canImport());
        QVERIFY(!isOnDisk(token));
    }

    void storedSessionSignsInWithoutABrowser_data()
    {
        QTest::addColumn<bool>("sameHost");
        QTest::newRow("module unloaded and loaded again") << true;
        QTest::newRow("host started again") << false;
    }
    void storedSessionSignsInWithoutABrowser()
    {
        QFETCH(bool, sameHost);
        QVERIFY2(openSignedIn(), error());
        const std::size_t asked = m_cloud.requests("/1/oauth2/authorize").size();

        if (sameHost) {
            QVERIFY2(m_driver->run("unloadPlugin \"Tavrin\""), error());
            QVERIFY(!m_page->dock());
            QVERIFY2(m_driver->run(QString("loadPlugin \"%1\"").arg(Driver::module())), error());
        } else {
            QVERIFY2(startHost(), error());
        }
        QVERIFY2(m_page->open(), error());
        QVERIFY2(m_driver->waitFor([this] { return m_page->isSignedIn(); }, "the stored session"), error());
        QVERIFY2(import("plain.obj"), error());
        QVERIFY(triangles() > 0);
        QVERIFY(!m_page->browser());
        QCOMPARE(m_cloud.requests("/1/oauth2/authorize").size(), asked);
    }

    void reopenedDockIsUsable()
    {
        storeDockedAtTheRight();
        QVERIFY2(openSignedIn(), error());
        QVERIFY2(m_page->openFolder("e2e"), error());
        QVERIFY2(closeDock(), error());
        QVERIFY2(m_page->open(), error());
        QVERIFY(m_page->isSignedIn());
        QVERIFY2(m_page->openFolder("deep"), error());
        QVERIFY2(m_page->importByDoubleClick("end.obj"), error());
        QCOMPARE(triangles(), 2);
    }

    void brokenTransferImportsNothing_data()
    {
        addRows({{"cut short", "api-content.dropbox.com /1/files/*/big.obj cut=65536"},
                 {"refused", "api-content.dropbox.com /1/files/*/big.obj status=503"},
                 {"server killed", "api-content.dropbox.com /none delay=1"}});
    }
    void brokenTransferImportsNothing()
    {
        const auto [name, rule] = currentRow<2>();
        const bool killed = name == "server killed";
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
        const QStringList messages = m_driver->takeHostMessages();
        QCOMPARE(messages.filter(QRegularExpression("^(?!error: Sorry but we were not able to connect)")),
                 QStringList());
        QCOMPARE(triangles(), 0);
        QCOMPARE(isWaitCursorShown(), false);
        if (killed)
            QVERIFY2(cloud.start({m_folder.filePath("cloud"), {}, quint16(cloud.address().port())}),
                     qPrintable(cloud.error()));
        QVERIFY2(m_page->openFolder("deep"), error());
        QVERIFY2(import("end.obj"), error());
        QCOMPARE(triangles(), 2);
    }
};

QTEST_MAIN(TestE2E)
#include "tst_e2e.moc"
