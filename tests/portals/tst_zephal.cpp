// portals/tst_zephal.cpp
//
// The Zephal portal through the cloud library to the document cloud: sign-in on the page and by form, listing and
// transfers over real sockets.

#include "cloud/PortalCall.h"
#include "CloudFixture.h"
#include "portals/Portal_Zephal.h"
#include "shell/TestFiles.h"

#include <QWebFrame>
#include <QWebView>

using namespace ICloudPortalApi;

class TestZephal : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        LocalCloudOptions options;
        options.dataDir = m_folder->filePath("cloud");
        m_fixture = std::make_unique<CloudFixture>(options);
        for (const char *file : {"/cup.obj", "/\xc3\xa4 #1/50% \"x\".obj"})
            writeFile(m_fixture->cloud.zephalDir() + file, QByteArray("the ") + file);
        QVERIFY(QDir().mkpath(m_folder->filePath("prefs")));
        m_fixture->host.answer("internalVar -userPrefDir",
                               KCommandResult(KQtUtil::toKString(m_folder->filePath("prefs/"))));
        // Without the file the library takes the address of the document cloud.
        qputenv("PELAGO_CONFIG", QFile::encodeName(m_folder->filePath("pelago.ini")));
        makePortal();
        m_owner = RecordingOwner();
        m_owner.window = &m_window;
    }

    void cleanup()
    {
        m_portal.reset();
        m_fixture.reset();
    }

    void pageSignsIn()
    {
        bool wasGuarded = false;
        m_owner.onDone = [&] { wasGuarded = PortalCall::isRunning() && !dialog() && m_login->IsLogin(); };
        QVERIFY(m_login->Login(&m_owner) && dialog()->isModal());
        submit("wrong");
        QTRY_VERIFY(page()->toPlainText().contains("is wrong"));
        QVERIFY(m_owner.heard.isEmpty() && !m_login->IsLogin());
        QVERIFY(dialog()->size() != QSize(343, 368)); // fits the page
        submit("demo");
        QTRY_VERIFY(!m_owner.heard.isEmpty());
        QVERIFY(m_owner.heard == QList<bool>{true} && wasGuarded && m_login->GetStorageEndPoint() > 0xffffffff);
        KString name;
        QVERIFY(m_login->GetUsername(name) && name == "Robin Example" && m_fixture->boxes.isEmpty());
        const QFileInfo session(m_folder->filePath("prefs/session.skein"));
        QVERIFY(session.isFile() && !(session.permissions() & QFile::Permissions(0x0077)));

        makePortal(); // the next run
        QVERIFY(m_login->IsLogin() && listed({}) == "+\xc3\xa4 #1 -cup.obj ");
        m_fixture->cloud.revokeZephalTokens();
        QVERIFY(listed({}) == "failed " && !m_login->IsLogin() && m_fixture->boxes.isEmpty());
        signIn();
        QVERIFY(m_login->Logout() && !m_login->IsLogin() && m_login->GetStorageEndPoint() < 0);
        makePortal();
        QVERIFY(!m_login->IsLogin());
    }

    void pageThatFails()
    {
        const std::tuple<const char *, QString, QString> faults[] = {
            {"/signin", "cut=30", "loading the login web page"},
            {"/signin", "redirect=https://cloud.zephal.example/signin/done", "Unknown error"},
        };
        for (const auto &[path, action, text] : faults) {
            m_fixture->boxes.clear();
            m_fixture->cloud.addRule("*", path, action, 1);
            QVERIFY(m_login->Login(&m_owner));
            QTRY_COMPARE(m_fixture->boxes.size(), 1);
            QVERIFY2(m_fixture->boxes.first().startsWith("Http code: 401 \nLogin Failed.") &&
                         m_fixture->boxes.first().contains(text),
                     qPrintable(m_fixture->boxes.first()));
            QVERIFY(!dialog() && !m_login->IsLogin());
        }
        QVERIFY(m_login->Login(&m_owner) && dialog());
        dialog()->close();
        QVERIFY(!dialog() && m_owner.heard.isEmpty());
        QVERIFY(m_login->Login(&m_owner));
        m_portal.reset(); // with its page still loading
        QVERIFY(!dialog());
    }

    void formSignsIn()
    {
        writeFile(m_folder->filePath("pelago.ini"),
                  "[production]\nkind=password\nstorage=https://cloud.zephal.example/dav\n");
        makePortal();
        QVERIFY(m_login->Login(&m_owner));
        const auto enter = [this](const char *password) {
            dialog()->findChild<QLineEdit *>("user")->setText("demo");
            dialog()->findChild<QLineEdit *>("password")->setText(password);
            QTest::keyClick(dialog(), Qt::Key_Return);
        };
        enter("wrong");
        const auto *error = dialog()->findChild<QLabel *>("error");
        QTRY_VERIFY(error->text().contains("does not know"));
        enter("demo");
        QTRY_VERIFY(!dialog());
        QVERIFY(m_owner.heard == QList<bool>{true} && listed({}) == "+\xc3\xa4 #1 -cup.obj ");

        writeFile(m_folder->filePath("pelago.ini"), "[production]\nkind=web\nsignIn=http://elsewhere.example/\n");
        makePortal();
        QVERIFY(!m_login->Login(&m_owner) && m_fixture->boxes.last().contains("loading the login web page"));
    }

    void filesComeAndGo()
    {
        signIn();
        const std::unique_ptr<ICloudItem> root(m_portal->CreateFolderHierarchy());
        ItemVector items;
        QVERIFY(listed(root.get(), &items) == "+\xc3\xa4 #1 -cup.obj " && items.size() == 2);
        for (ICloudItem *item : items) {
            item->SetParent(root.get());
            root->AddChild(item);
            item->FolderClick();
            QCOMPARE(m_owner.clicked, item);
        }
        ICloudItem *folder = items.at(items.at(0)->IsFolder() ? 0 : 1);
        ItemVector inner;
        QVERIFY(listed(folder, &inner) == "-50% \"x\".obj " && inner.size() == 1);
        ICloudItem *file = inner.front();
        file->SetParent(folder);
        folder->AddChild(file);
        QCOMPARE(KQtUtil::toQString(file->GetImportPathFolder()), QString(u8"/My cloud documents/ä #1"));

        const QString local = m_folder->filePath("local/");
        auto *browser = m_portal->GetBrowser();
        QVERIFY(browser->DownloadCloudItem(m_login, file, KQtUtil::toKString(local), "50% \"x\".obj"));
        QCOMPARE(readFile(local + "50% \"x\".obj"), QByteArray("the /\xc3\xa4 #1/50% \"x\".obj"));

        const auto upload = [&](const QByteArray &content, ICloudItem *existing) {
            writeFile(local + "a\"b.fbx", content);
            return browser->UploadFile(m_login, folder, existing, KQtUtil::toKString(local), "a\"b.fbx");
        };
        const QString stored = m_fixture->cloud.zephalDir() + u8"/ä #1/a\"b.fbx";
        QVERIFY(upload("first", nullptr) && readFile(stored) == "first");
        QVERIFY(!upload("second", nullptr) && readFile(stored) == "first");
        ItemVector again;
        QVERIFY(listed(folder, &again) == "-50% \"x\".obj -a\"b.fbx ");
        ICloudItem *existing = again.at(again.at(0)->GetDisplayName() == "a\"b.fbx" ? 0 : 1);
        QVERIFY(upload("second", existing) && readFile(stored) == "second");
        m_fixture->cloud.addRule("*", "*a%22b.fbx*", "status=507");
        QVERIFY(!upload("third", existing) && readFile(stored) == "second");
        qDeleteAll(again);
        QVERIFY(m_fixture->boxes.isEmpty() && m_fixture->host.errors().isEmpty());
    }

private:
    void makePortal()
    {
        m_portal.reset();
        m_login = new Portal_Zephal_Login;
        m_portal = std::make_unique<Portal_Zephal>(m_login, new Portal_Zephal_IPortalBrowser);
        m_portal->setOwnerCB(&m_owner);
    }
    void signIn()
    {
        m_login->Login(&m_owner);
        submit("demo");
        QTRY_VERIFY(m_login->IsLogin());
    }

    QDialog *dialog() const
    {
        for (auto *dialog : m_window.findChildren<QDialog *>())
            if (dialog->isVisible())
                return dialog;
        return nullptr;
    }
    QWebFrame *page() const { return dialog()->findChild<QWebView *>()->page()->mainFrame(); }
    void submit(const QString &password)
    {
        QTRY_COMPARE(dialog()->windowTitle(), QString("Sign in to Zephal"));
        page()->evaluateJavaScript("var field = function(id) { return document.getElementById(id); };"
                                   "field('user').value = 'demo'; field('password').value = '" +
                                   password + "'; field('sign-in').click();");
    }

    /// The names in \p folder (null: the root) in order, with + for folders and - for files. Without \p kept the items
    /// go.
    QByteArray listed(ICloudItem *folder, ItemVector *kept = nullptr)
    {
        const std::unique_ptr<ICloudItem> root(m_portal->CreateFolderHierarchy());
        HeaderMap criteria;
        m_portal->FillSearchCriteria(folder ? folder : root.get(), criteria);
        ItemVector items;
        const bool done = m_portal->GetBrowser()->GetChildCloudItems(m_login, criteria, items);
        QStringList names;
        for (ICloudItem *item : items)
            names << (item->IsFolder() ? "+" : "-") + KQtUtil::toQString(item->GetDisplayName()) + ' ';
        names.sort();
        if (kept)
            *kept = items;
        else
            qDeleteAll(items);
        return (done ? QByteArray() : QByteArray("failed ")) + names.join(QString()).toUtf8();
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<CloudFixture> m_fixture;
    std::unique_ptr<Portal_Zephal> m_portal;
    Portal_Zephal_Login *m_login = nullptr; // the portal's
    QWidget m_window;
    RecordingOwner m_owner;
};

QTEST_MAIN(TestZephal)
#include "tst_zephal.moc"
