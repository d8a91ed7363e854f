// Export to Dropbox: the file that the host writes, the file that the cloud stores, and the import of that file.

#include "E2ETest.h"

class TestE2EExport : public E2ETest
{
    Q_OBJECT
public:
    TestE2EExport() : E2ETest(QStringLiteral("Dropbox")) {}

private slots:
    void initTestCase();
    void exportedModelsComeBack_data();
    void exportedModelsComeBack();
    void unusualNamesAreCleanedOrRefused_data();
    void unusualNamesAreCleanedOrRefused();
    void existingFileIsReplacedOnlyWhenAsked_data();
    void existingFileIsReplacedOnlyWhenAsked();
    void refusedUploadLeavesTheLocalFile_data();
    void refusedUploadLeavesTheLocalFile();

private:
    /// Signs in, imports a model and fills in the export tab of the folder "exports".
    void prepareExport(const QString &translator, const QString &name);
};

void TestE2EExport::initTestCase()
{
    E2ETest::initTestCase();
    writeQuads(remote("plain.obj"), 6);
    writeQuads(remote("exports/first.obj"), 1);
}

void TestE2EExport::prepareExport(const QString &translator, const QString &name)
{
    QVERIFY2(openSignedIn(), error());
    QVERIFY2(import("plain.obj"), error());
    QVERIFY2(m_page->openFolder("exports"), error());
    QVERIFY2(m_page->showExportTab(), error());
    QVERIFY2(m_page->chooseTranslator(translator), error());
    QVERIFY2(m_page->setExportName(name), error());
}

void TestE2EExport::exportedModelsComeBack_data()
{
    QTest::addColumn<QString>("extension");
    const std::pair<const char *, const char *> rows[] = {{"OBJ", "obj"},         {"FBX", "fbx"},     {"glTF", "gltf"},
                                                          {"glTF binary", "glb"}, {"COLLADA", "dae"}, {"STL", "stl"},
                                                          {"PLY", "ply"}};
    for (const auto &[translator, extension] : rows)
        QTest::newRow(translator) << extension;
}

void TestE2EExport::exportedModelsComeBack()
{
    QFETCH(QString, extension);
    prepareExport(QTest::currentDataTag(), " Round: Trip\"");
    if (QTest::currentTestFailed())
        return;
    const qint64 before = triangles();
    QVERIFY(before > 0);
    QVERIFY2(m_page->exportAll(), error());
    QCOMPARE(m_driver->takeMessages(), QStringList());

    const QString name = QStringLiteral("round trip.") + extension;
    QCOMPARE(m_page->part("CloudExportFileName")->property("text").toString(), name);
    QVERIFY2(m_page->entries().contains(name), qPrintable(m_page->entries().join(", ")));
    const QStringList local = transferred().filter(name);
    QCOMPARE(local.size(), 1);
    QCOMPARE(sha256(local.first()), sha256(remote("exports/" + name)));

    QVERIFY(QDir(m_userDir->filePath("temp_cloud")).removeRecursively());
    QVERIFY2(m_driver->run("file -new -force"), error());
    QVERIFY2(m_page->showImportTab(), error());
    QVERIFY2(import(name), error());
    QCOMPARE(triangles(), before);
    QCOMPARE(m_driver->takeMessages(), QStringList());
}

void TestE2EExport::unusualNamesAreCleanedOrRefused_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("stored");
    QTest::newRow("nothing left") << "???"
                                  << ".obj";
    QTest::newRow("parent folder") << ".."
                                   << "...obj";
    QTest::newRow("path") << "C:\\Work\\A/b:c"
                          << "bc.obj";
    QTest::newRow("other extension") << "Model.fbx"
                                     << "model.fbx.obj";
    QTest::newRow("command") << "x`quit`; $y"
                             << "x`quit`; $y.obj";
    QTest::newRow("non-ASCII") << QString("ÄRGER 日本") << QString("ärger 日本.obj");
    QTest::newRow("too long") << QString(300, 'x') << QString();
}

void TestE2EExport::unusualNamesAreCleanedOrRefused()
{
    QFETCH(QString, typed);
    QFETCH(QString, stored);
    prepareExport("OBJ", typed);
    if (QTest::currentTestFailed())
        return;
    const QStringList before = namesIn(remote("exports"));
    m_driver->takeHostMessages();
    QVERIFY2(m_page->exportAll(), error());

    QStringList added = QDir(remote("exports")).entryList(QDir::Files | QDir::Hidden);
    for (const QString &name : before)
        added.removeOne(name);
    QCOMPARE(added, stored.isEmpty() ? QStringList() : QStringList{stored});
    QCOMPARE(m_driver->takeMessages(), QStringList());
    const QStringList messages = m_driver->takeHostMessages();
    QCOMPARE(messages.filter(QRegularExpression("^error: .*File name too long")).isEmpty(), !stored.isEmpty());
    QCOMPARE(isWaitCursorShown(), false);
    QFile::remove(remote("exports/" + stored));
}

void TestE2EExport::existingFileIsReplacedOnlyWhenAsked_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<int>("answer");
    QTest::newRow("no") << "taken" << int(QMessageBox::No);
    QTest::newRow("yes") << "taken" << int(QMessageBox::Yes);
    QTest::newRow("another name") << "free" << int(QMessageBox::NoButton);
}

void TestE2EExport::existingFileIsReplacedOnlyWhenAsked()
{
    QFETCH(QString, typed);
    QFETCH(int, answer);
    writeQuads(remote("exports/taken.obj"), 9);
    QFile::remove(remote("exports/free.obj"));
    const QString old = sha256(remote("exports/taken.obj"));
    prepareExport("OBJ", typed);
    if (QTest::currentTestFailed())
        return;
    const std::size_t before = m_cloud.requests().size();

    answerQuestions(QMessageBox::StandardButton(answer));
    QVERIFY2(m_page->exportAll(), error());

    QCOMPARE(m_questions, typed == QLatin1String("taken") ? 1 : 0);
    const bool exported = answer != QMessageBox::No;
    QCOMPARE(sha256(remote("exports/taken.obj")) == old, answer != QMessageBox::Yes);
    QCOMPARE(m_cloud.requests().size() > before, exported);
    const QStringList written = transferred().filter("/" + typed + ".obj");
    QCOMPARE(written.size(), exported ? 1 : 0);
    QCOMPARE(m_page->entries().contains(typed + ".obj"), exported || typed == QLatin1String("taken"));
}

void TestE2EExport::refusedUploadLeavesTheLocalFile_data()
{
    QTest::addColumn<QString>("action");
    QTest::addColumn<bool>("reachesTheCloud");
    QTest::newRow("signed out elsewhere") << "status=401" << false;
    QTest::newRow("disk full") << "status=507" << false;
    QTest::newRow("reply cut") << "cut=0" << true;
    QTest::newRow("no HTTP") << "garbage" << false;
}

void TestE2EExport::refusedUploadLeavesTheLocalFile()
{
    QFETCH(QString, action);
    QFETCH(bool, reachesTheCloud);
    QFile::remove(remote("exports/refused.obj"));
    CloudProcess cloud;
    QVERIFY(replaceCloud(cloud, "api-content.dropbox.com /1/files_put/* " + action));
    prepareExport("OBJ", "refused");
    if (QTest::currentTestFailed())
        return;
    m_driver->takeHostMessages();
    QVERIFY2(m_page->exportAll(), error());

    QCOMPARE(transferred().filter("/refused.obj").size(), 1);
    QVERIFY(!m_page->entries().contains("refused.obj"));
    QCOMPARE(QFileInfo::exists(remote("exports/refused.obj")), reachesTheCloud);
    const QStringList errors = m_driver->takeHostMessages().filter(QRegularExpression("^error: "));
    QVERIFY2(!errors.isEmpty(), "the host posted no error");
    QCOMPARE(m_driver->takeMessages().size(), 1);
    QCOMPARE(isWaitCursorShown(), false);
}

QTEST_MAIN(TestE2EExport)
#include "tst_e2e_export.moc"
