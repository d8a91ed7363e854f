// Sign-in, import and export on Dropbox, through the real host, the real module and the local cloud. Results are
// checked outside the plug-in: the cloud's log, the bytes on disk and the triangles in the scene.

#include "E2ETest.h"
#include "support/Table.h"

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
        writeQuads(remote("e2e/big.obj"), 5000);
        writeQuads(remote("exports/first.obj"), 1);
    }

    void importedFileEqualsTheOneOnTheDisk()
    {
        const QString name = "50% #1 \"no\"; print $x `quit`.obj";
        writeQuads(remote("e2e/" + name), 3);
        QVERIFY2(openSignedIn(), error());
        QVERIFY2(m_page->openFolder("e2e"), error());
        const std::size_t served = m_cloud.requests("/1/files/").size();

        QVERIFY2(import(name), error());

        const auto requests = m_cloud.requests("/1/files/");
        QCOMPARE(requests.size(), served + 1);
        QCOMPARE(requests.back().host, QString("api-content.dropbox.com"));
        QVERIFY(requests.back().tls);
        const QStringList downloads = transferred();
        QCOMPARE(downloads.size(), 1);
        QCOMPARE(sha256(downloads.first()), sha256(remote("e2e/" + name)));
        QCOMPARE(triangles(), 6);
        QVERIFY(m_driver->takeHostMessages().contains("info: Successful import: " + downloads.first()));
        QCOMPARE(m_driver->takeMessages(), QStringList());
    }

    void storedSessionSignsInWithoutABrowserUntilTheLogout()
    {
        QVERIFY2(openSignedIn(), error());
        const std::size_t asked = m_cloud.requests("/1/oauth2/authorize").size();

        QVERIFY2(startHost(), error());
        QVERIFY2(m_page->open(), error());
        QVERIFY2(m_driver->waitFor([this] { return m_page->isSignedIn(); }, "the stored session"), error());
        QVERIFY2(import("plain.obj"), error());
        QVERIFY(!m_page->browser());
        QCOMPARE(m_cloud.requests("/1/oauth2/authorize").size(), asked);

        QVERIFY2(m_page->clickLogin(), error());
        QTRY_VERIFY(!m_page->isSignedIn());
        QVERIFY(!m_page->list()->isEnabled());
        QCOMPARE(storedSession(), QString());
    }

    void brokenTransferImportsNothing()
    {
        CloudProcess cloud;
        QVERIFY(replaceCloud(cloud, "api-content.dropbox.com /1/files/*/big.obj cut=65536"));
        QVERIFY2(openSignedIn(), error());
        QVERIFY2(m_page->openFolder("e2e"), error());
        QVERIFY2(m_page->select("big.obj"), error());
        m_driver->takeHostMessages();
        QVERIFY2(m_page->import(), error());
        QCOMPARE(m_driver->takeMessages().size(), 1);
        const QStringList messages = m_driver->takeHostMessages();
        QCOMPARE(messages.filter(QRegularExpression("^(?!error: Sorry but we were not able to connect)")),
                 QStringList());
        QCOMPARE(triangles(), 0);
        QCOMPARE(m_driver->ask("waitCursor -q -state"), QString("0"));
        QVERIFY2(m_page->openFolder("deep"), error());
        QVERIFY2(import("end.obj"), error());
        QCOMPARE(triangles(), 2);
    }

    void exportedModelsComeBack_data()
    {
        // The translator, the typed name and the name in the cloud.
        addRows({{"OBJ", "C:\\Work\\A/b:c", "bc.obj"},
                 {"FBX", " Round: Trip\"", "round trip.fbx"},
                 {"glTF binary", "ÄRGER 日本", "ärger 日本.glb"}});
    }
    void exportedModelsComeBack()
    {
        const auto [translator, typed, name] = currentRow<3>();
        QVERIFY2(prepareExport(translator, typed), error());
        QVERIFY2(m_page->exportAll(), error());

        QCOMPARE(m_page->part("CloudExportFileName")->property("text").toString(), name);
        QVERIFY2(m_page->entries().contains(name), qPrintable(m_page->entries().join(", ")));
        const QStringList local = transferred().filter(name);
        QCOMPARE(local.size(), 1);
        QCOMPARE(sha256(local.first()), sha256(remote("exports/" + name)));

        QVERIFY(QDir(m_userDir->filePath("temp_cloud")).removeRecursively());
        QVERIFY2(m_driver->run("file -new -force"), error());
        QVERIFY2(m_page->showImportTab(), error());
        QVERIFY2(import(name), error());
        QCOMPARE(triangles(), 12);
        QCOMPARE(m_driver->takeMessages(), QStringList());
    }

    void existingFileIsReplacedOnlyWithConsent_data() { addRows({{"no"}, {"yes"}}); }
    void existingFileIsReplacedOnlyWithConsent()
    {
        const bool agreed = currentRow<1>()[0] == "yes";
        writeQuads(remote("exports/taken.obj"), 9);
        const QString old = sha256(remote("exports/taken.obj"));
        QVERIFY2(prepareExport("OBJ", "taken"), error());
        answerQuestions(agreed ? QMessageBox::Yes : QMessageBox::No);
        QVERIFY2(m_page->exportAll(), error());
        QCOMPARE(m_questions, 1);
        QCOMPARE(sha256(remote("exports/taken.obj")) == old, !agreed);
        QCOMPARE(transferred().filter("/taken.obj").size(), agreed ? 1 : 0);
    }

private:
    /// Signs in, imports a model and fills in the export tab of the folder "exports".
    bool prepareExport(const QString &translator, const QString &name)
    {
        return openSignedIn() && import("plain.obj") && m_page->openFolder("exports") && m_page->showExportTab() &&
               m_page->chooseTranslator(translator) && m_page->setExportName(name);
    }
};

QTEST_MAIN(TestE2E)
#include "tst_e2e.moc"
