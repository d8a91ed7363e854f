// Export to Dropbox: the file that the host writes, the file that the cloud stores, and the import of that file.

#include "E2ETest.h"
#include "support/Table.h"

Q_DECLARE_METATYPE(QMessageBox::StandardButton)

class TestE2EExport : public E2ETest
{
    Q_OBJECT
public:
    TestE2EExport() : E2ETest("Dropbox") {}

private slots:
    void initTestCase()
    {
        E2ETest::initTestCase();
        writeQuads(remote("plain.obj"), 6);
        writeQuads(remote("exports/first.obj"), 1);
    }

    void exportedModelsComeBack_data() { addRows({{"OBJ", "obj"}, {"FBX", "fbx"}, {"glTF binary", "glb"}}); }
    void exportedModelsComeBack()
    {
        const auto [translator, extension] = currentRow<2>();
        QVERIFY2(prepareExport(translator, " Round: Trip\""), error());
        QVERIFY2(m_page->exportAll(), error());

        const QString name = "round trip." + extension;
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

    void unusualNamesAreCleanedOrRefused_data()
    {
        // The typed name and the name in the cloud.
        addRows({{"path", "C:\\Work\\A/b:c", "bc.obj"},
                 {"non-ASCII", "ÄRGER 日本", "ärger 日本.obj"},
                 {"too long", QString(300, 'x'), ""}});
    }
    void unusualNamesAreCleanedOrRefused()
    {
        const auto [name, typed, stored] = currentRow<3>();
        QVERIFY2(prepareExport("OBJ", typed), error());
        QStringList expected = namesIn(remote("exports"));
        m_driver->takeHostMessages();
        QVERIFY2(m_page->exportAll(), error());

        if (!stored.isEmpty())
            expected << stored;
        QCOMPARE(sorted(QDir(remote("exports")).entryList(QDir::Files | QDir::Hidden)), sorted(expected));
        QCOMPARE(m_driver->takeMessages(), QStringList());
        const QStringList messages = m_driver->takeHostMessages();
        QCOMPARE(messages.filter(QRegularExpression("^error: .*File name too long")).isEmpty(), !stored.isEmpty());
        QCOMPARE(isWaitCursorShown(), false);
        QFile::remove(remote("exports/" + stored));
    }

    void existingFileIsReplacedOnlyWhenAsked_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QMessageBox::StandardButton>("answer");
        QTest::newRow("no") << "taken" << QMessageBox::No;
        QTest::newRow("yes") << "taken" << QMessageBox::Yes;
        QTest::newRow("another name") << "free" << QMessageBox::NoButton;
    }
    void existingFileIsReplacedOnlyWhenAsked()
    {
        QFETCH(QString, typed);
        QFETCH(QMessageBox::StandardButton, answer);
        writeQuads(remote("exports/taken.obj"), 9);
        const QString old = sha256(remote("exports/taken.obj"));
        QVERIFY2(prepareExport("OBJ", typed), error());
        const std::size_t before = m_cloud.requests().size();
        answerQuestions(answer);
        QVERIFY2(m_page->exportAll(), error());

        const bool exported = answer != QMessageBox::No;
        QCOMPARE(m_questions, typed == "taken" ? 1 : 0);
        QCOMPARE(sha256(remote("exports/taken.obj")) == old, answer != QMessageBox::Yes);
        QCOMPARE(m_cloud.requests().size() > before, exported);
        QCOMPARE(transferred().filter("/" + typed + ".obj").size(), exported ? 1 : 0);
        QVERIFY(m_page->entries().contains(typed + ".obj"));
    }

    void refusedUploadLeavesTheLocalFile_data()
    {
        // What the server does, and whether it stores the file.
        addRows({{"disk full", "status=507", ""}, {"reply cut", "cut=0", "stored"}, {"no HTTP", "garbage", ""}});
    }
    void refusedUploadLeavesTheLocalFile()
    {
        const auto [name, action, stored] = currentRow<3>();
        QFile::remove(remote("exports/refused.obj"));
        CloudProcess cloud;
        QVERIFY(replaceCloud(cloud, "api-content.dropbox.com /1/files_put/* " + action));
        QVERIFY2(prepareExport("OBJ", "refused"), error());
        m_driver->takeHostMessages();
        QVERIFY2(m_page->exportAll(), error());

        QCOMPARE(transferred().filter("/refused.obj").size(), 1);
        QVERIFY(!m_page->entries().contains("refused.obj"));
        QCOMPARE(QFileInfo::exists(remote("exports/refused.obj")), !stored.isEmpty());
        const QStringList errors = m_driver->takeHostMessages().filter(QRegularExpression("^error: "));
        QVERIFY2(!errors.isEmpty(), "the host posted no error");
        QCOMPARE(m_driver->takeMessages().size(), 1);
        QCOMPARE(isWaitCursorShown(), false);
    }

private:
    /// Signs in, imports a model and fills in the export tab of the folder "exports".
    bool prepareExport(const QString &translator, const QString &name)
    {
        return openSignedIn() && import("plain.obj") && m_page->openFolder("exports") && m_page->showExportTab() &&
               m_page->chooseTranslator(translator) && m_page->setExportName(name);
    }
};

QTEST_MAIN(TestE2EExport)
#include "tst_e2e_export.moc"
