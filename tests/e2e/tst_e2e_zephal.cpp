// Whole journeys on Zephal: the sign-in page in the dialog, files both ways, a folder that the service forbids, and a
// session that it refuses in the end; and a server of the user's own with the sign-in form.

#include "Journey.h"
#include "pelago/DavServers.h"
#include "tour/Evidence.h"
#include "tour/ZephalGuide.h"

#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QtTest>

class TestE2EZephal : public Journey
{
    Q_OBJECT
public:
    TestE2EZephal() : Journey(QStringLiteral("Zephal")) {}

private slots:
    void initTestCase();
    void filesGoBothWaysUntilTheSessionIsLost();
    void ownServerTakesFilesBothWays_data();
    void ownServerTakesFilesBothWays();
    void cleanup();

private:
    QString stored(const QString &name) const { return m_cloud.zephalFolder() + QStringLiteral("/e2e/") + name; }
    QStringList warnings() const
    {
        return m_driver->takeHostMessages().filter(QRegularExpression(QStringLiteral("^warning: ")));
    }
    bool exportAs(const QString &name, const QString &remote);
};

void TestE2EZephal::initTestCase()
{
    Journey::initTestCase();
    writeQuads(stored("plain 10.obj"), 4);
    writeQuads(stored("plain 9.obj"), 5);
    writeQuads(stored("secret/inner.obj"), 1);
}

/// Exports the scene and compares what the service stored. A name that is taken is replaced.
bool TestE2EZephal::exportAs(const QString &name, const QString &remote)
{
    m_driver->setDialogHandler([this](QDialog &dialog) {
        auto *box = qobject_cast<QMessageBox *>(&dialog);
        if (!box || box->icon() != QMessageBox::Question)
            return false;
        m_driver->click(box->button(QMessageBox::Yes));
        return true; // a box that was not ready is shown again
    });
    const bool exported = m_page->showExportTab() && m_page->chooseTranslator("OBJ") && m_page->setExportName(name) &&
                          m_page->exportAll();
    m_driver->setDialogHandler({});
    const QStringList local = transferred().filter('/' + name + ".obj");
    return exported && !local.isEmpty() && sha256(local.first()) == sha256(remote);
}

void TestE2EZephal::filesGoBothWaysUntilTheSessionIsLost()
{
    CloudProcess forbidding;
    QVERIFY(replaceCloud(forbidding, "cloud.zephal.example /dav/e2e/secret/* status=401"));
    ZephalGuide guide(*m_driver, forbidding);
    QVERIFY2(m_page->open() && guide.askToSignIn(*m_page) && guide.answerSignIn(*m_page), qPrintable(error()));
    QCOMPARE(m_page->loginText(), QStringLiteral("Logout (Robin Example)"));
    QVERIFY2(m_page->openFolder("e2e"), qPrintable(error()));
    QCOMPARE(m_page->entries(), (QStringList{"secret", "plain 9.obj", "plain 10.obj"}));

    QVERIFY2(m_page->select("plain 9.obj") && m_page->import(), qPrintable(error()));
    QCOMPARE(triangles(), 10);
    QVERIFY2(exportAs("mine", stored("mine.obj")), qPrintable(error()));
    QCOMPARE(m_page->entries(), (QStringList{"secret", "mine.obj", "plain 9.obj", "plain 10.obj"}));
    QVERIFY(writeQuads(stored("mine.obj"), 9));
    QVERIFY2(exportAs("mine", stored("mine.obj")), qPrintable(error()));
    QCOMPARE(QDir(stored(".")).entryList(QDir::Files | QDir::Hidden).size(), 3);

    m_driver->takeMessages();
    m_driver->takeHostMessages();
    QVERIFY2(m_page->openFolder("secret"), qPrintable(error()));
    QCOMPARE(m_page->entries(), QStringList());
    QCOMPARE(m_page->loginText(), QStringLiteral("Logout (Robin Example)"));
    QVERIFY(guide.hasStoredSession(m_userDir->path()));
    QCOMPARE(warnings(), QStringList("warning: List of \"e2e/secret\" failed: the server does not allow it (status "
                                     "401). Ask the server's administrator for the right."));

    QVERIFY2(m_page->goUp(), qPrintable(error()));
    CloudProcess refusing;
    QVERIFY(replaceCloud(refusing, "cloud.zephal.example /dav/* status=401"));
    QVERIFY2(m_page->openFolder("secret"), qPrintable(error()));
    QCOMPARE(m_page->loginText(), QStringLiteral("Login"));
    QCOMPARE(m_page->entries(), QStringList());
    QVERIFY(!m_page->isListEnabled());
    QVERIFY(!guide.hasStoredSession(m_userDir->path()));
    QCOMPARE(warnings(), QStringList("warning: List of \"e2e/secret\" failed: the server refused the user name or the "
                                     "password (status 401). Sign in again."));
    QCOMPARE(m_driver->takeMessages(), QStringList());
}

void TestE2EZephal::ownServerTakesFilesBothWays_data()
{
    QTest::addColumn<QString>("server");
    for (const char *name : {"proxied", "proxied-host", "digest"})
        QTest::newRow(name) << name;
}

void TestE2EZephal::ownServerTakesFilesBothWays()
{
    QFETCH(QString, server);
    const std::unique_ptr<DavServer> own = DavServer::start(server);
    QVERIFY(writeQuads(own->path("plain.obj"), 3));
    const QString settings = m_userDir->filePath("pelago.ini");
    writeFile(settings, "[production]\nkind=password\nstorage=" + own->storage.toUtf8() + '\n');
    qputenv("PELAGO_CONFIG", QFile::encodeName(settings));
    QVERIFY2(m_page->open() && m_page->clickLogin(), qPrintable(error()));
    const auto field = [this](const char *name) {
        return m_driver->find(QStringLiteral("CloudPortalLoginDialog"))->findChild<QLineEdit *>(name);
    };
    QTRY_VERIFY(field("user") && field("user")->window()->isActiveWindow());
    QVERIFY2(m_driver->replace(field("user"), "demo") && m_driver->replace(field("password"), "wrong", Qt::Key_Return),
             qPrintable(error()));
    const auto *reason = field("user")->window()->findChild<QLabel *>("error");
    QTRY_COMPARE(reason->text(), QString("Incorrect user name or password."));
    QVERIFY2(m_driver->replace(field("password"), "demo", Qt::Key_Return), qPrintable(error()));
    QTRY_COMPARE(m_page->loginText(), QString("Logout (demo)"));

    QVERIFY2(m_page->select("plain.obj") && m_page->import(), qPrintable(error()));
    QCOMPARE(triangles(), 6);
    for (int round = 0; round < 2; ++round) // the second one replaces
        QVERIFY2(exportAs("mine", own->path("mine.obj")), qPrintable(error()));
    QCOMPARE(own->entries(""), QStringList({"mine.obj", "plain.obj"}));
    QCOMPARE(m_driver->takeHostMessages().filter(QRegularExpression("^(warning|error): ")),
             QStringList("warning: Sign-in to " + own->storage +
                         " failed: the server refused the user name or the password (status 401). Sign in again."));
}

void TestE2EZephal::cleanup()
{
    qunsetenv("PELAGO_CONFIG");
    Journey::cleanup();
}

QTEST_MAIN(TestE2EZephal)
#include "tst_e2e_zephal.moc"
