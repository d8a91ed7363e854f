// Zephal: the sign-in page in the dialog, a forbidden folder and a refused session; and the sign-in form, import and
// export on a WebDAV server of the user's own.

#include "E2ETest.h"
#include "pelago/DavServers.h"

#include <QLabel>
#include <QLineEdit>

class TestE2EZephal : public E2ETest
{
    Q_OBJECT
public:
    TestE2EZephal() : E2ETest("Zephal") {}

private slots:
    void initTestCase()
    {
        E2ETest::initTestCase();
        writeQuads(stored("plain 10.obj"), 4);
        writeQuads(stored("plain 9.obj"), 5);
        writeQuads(stored("secret/inner.obj"), 1);
    }

    void refusedFolderKeepsTheSessionUntilAllAreRefused()
    {
        CloudProcess forbidding;
        QVERIFY(replaceCloud(forbidding, "cloud.zephal.example /dav/e2e/secret/* status=401"));
        QVERIFY2(openSignedIn(), error());
        QCOMPARE(m_page->loginText(), QString("Logout (Robin Example)"));
        QVERIFY2(m_page->openFolder("e2e"), error());
        QCOMPARE(m_page->entries(), (QStringList{"secret", "plain 9.obj", "plain 10.obj"}));

        m_driver->takeMessages();
        m_driver->takeHostMessages();
        QVERIFY2(m_page->openFolder("secret"), error());
        QCOMPARE(m_page->entries(), QStringList());
        QCOMPARE(m_page->loginText(), QString("Logout (Robin Example)"));
        QVERIFY(!storedSession().isEmpty());
        QCOMPARE(warnings(), QStringList("warning: List of \"e2e/secret\" failed: the server does not allow it (status "
                                         "401). Ask the server's administrator for the right."));

        QVERIFY2(m_page->goUp(), error());
        CloudProcess refusing;
        QVERIFY(replaceCloud(refusing, "cloud.zephal.example /dav/* status=401"));
        QVERIFY2(m_page->openFolder("secret"), error());
        QCOMPARE(m_page->loginText(), QString("Login"));
        QCOMPARE(m_page->entries(), QStringList());
        QVERIFY(!m_page->list()->isEnabled());
        QCOMPARE(storedSession(), QString());
        QCOMPARE(warnings(),
                 QStringList("warning: List of \"e2e/secret\" failed: the server refused the user name or the "
                             "password (status 401). Sign in again."));
        QCOMPARE(m_driver->takeMessages(), QStringList());
    }

    void importAndExportWorkOnTheUsersServer()
    {
        DavServer own("digest");
        QVERIFY(writeQuads(own.path("plain.obj"), 3));
        const QString settings = m_userDir->filePath("pelago.ini");
        writeFile(settings, "[production]\nkind=password\nstorage=" + own.storage.toUtf8() + '\n');
        qputenv("PELAGO_CONFIG", QFile::encodeName(settings));
        QVERIFY2(m_page->open(), error());
        QVERIFY2(m_page->clickLogin(), error());
        const QString dialogName("CloudPortalLoginDialog");
        QTRY_VERIFY(m_driver->find(dialogName));
        const QPointer<QWidget> dialog = m_driver->find(dialogName);
        QTRY_VERIFY(dialog->findChild<QLineEdit *>("user"));
        QTRY_VERIFY(dialog->isActiveWindow());
        auto *password = dialog->findChild<QLineEdit *>("password");
        QVERIFY2(m_driver->replace(dialog->findChild<QLineEdit *>("user"), "demo"), error());
        QVERIFY2(m_driver->replace(password, "wrong", Qt::Key_Return), error());
        QTRY_COMPARE(dialog->findChild<QLabel *>("error")->text(), m_driver->textOf("kCloudPortalLoginRefused"));
        QVERIFY2(m_driver->replace(password, "demo", Qt::Key_Return), error());
        QTRY_COMPARE(m_page->loginText(), QString("Logout (demo)"));

        QVERIFY2(import("plain.obj"), error());
        QCOMPARE(triangles(), 6);
        for (int round = 0; round < 2; ++round) // the second one replaces
            QVERIFY2(exportAs("mine", own.path("mine.obj")), error());
        QCOMPARE(own.entries(""), QStringList({"mine.obj", "plain.obj"}));
        QCOMPARE(m_driver->takeHostMessages().filter(QRegularExpression("^(warning|error): ")),
                 QStringList("warning: Sign-in to " + own.storage +
                             " failed: the server refused the user name or the password (status 401). Sign in again."));
    }

    void cleanup()
    {
        qunsetenv("PELAGO_CONFIG");
        E2ETest::cleanup();
    }

private:
    QString stored(const QString &name) const { return m_cloud.zephalFolder() + "/e2e/" + name; }
    QStringList warnings() const { return m_driver->takeHostMessages().filter(QRegularExpression("^warning: ")); }
    /// Exports the scene, replacing an existing file, and compares the exported file with \p remote.
    bool exportAs(const QString &name, const QString &remote)
    {
        answerQuestions(QMessageBox::Yes);
        const bool exported = m_page->showExportTab() && m_page->chooseTranslator("OBJ") &&
                              m_page->setExportName(name) && m_page->exportAll();
        m_driver->setDialogHandler({});
        const QStringList local = transferred().filter('/' + name + ".obj");
        return exported && !local.isEmpty() && sha256(local.first()) == sha256(remote);
    }
};

QTEST_MAIN(TestE2EZephal)
#include "tst_e2e_zephal.moc"
