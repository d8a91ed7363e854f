// portals/tst_zephal.cpp
//
// The Zephal portal through the cloud library to the document cloud: sign-in on the page and by form, listing and
// transfers over real sockets.

#include "cloud/PortalCall.h"
#include "CloudFixture.h"
#include "portals/Portal_Zephal.h"
#include "portals/Portal_Zephal_CloudItem.h"
#include "shell/TestFiles.h"

using namespace ICloudPortalApi;

class TestZephal : public QObject, private SignInWindow
{
    Q_OBJECT

private slots:
    void init()
    {
        m_portal.reset();
        m_fixture.reset();
        m_folder = std::make_unique<QTemporaryDir>();
        LocalCloudOptions options;
        options.dataDir = m_folder->filePath("cloud");
        m_fixture = std::make_unique<CloudFixture>(options);
        connect(&m_fixture->cloud, &LocalCloud::requestServed, m_fixture.get(),
                [this] { std::exchange(m_onRequest, [] {})(); });
        for (const char *file : {"/cup.obj", u8"/ä #1/50% \"x\".obj"})
            writeFile(m_fixture->cloud.zephalDir() + file, file);
        m_fixture->host.answer("internalVar -userPrefDir", KCommandResult(KQtUtil::toKString(m_folder->path() + "/")));
        m_owner = RecordingOwner();
        m_owner.window = &m_window;
        configure("kind=password\nstorage=https://cloud.zephal.example/dav");
    }

    void pageSignsIn()
    {
        configure("");
        m_owner.onDone = [&] { QVERIFY(PortalCall::isRunning() && !dialog() && listed(root()) == everything); };
        QVERIFY(m_login->Login(&m_owner) && dialog()->isModal());
        submit("wrong");
        QTRY_VERIFY(page()->toPlainText().contains("is wrong"));
        QVERIFY(m_owner.heard.isEmpty() && !m_login->IsLogin() && dialog()->size() != QSize(343, 368));
        submit("demo");
        QTRY_VERIFY(m_owner.heard == QList<bool>{true} && !dialog());

        configure(""); // the next run of the host
        QVERIFY(QFile::exists(m_folder->filePath("session.skein")));
        KString name;
        QVERIFY(m_login->GetUsername(name) && name == "Robin Example" && listed(root()) == everything);
        m_fixture->cloud.revokeZephalTokens();
        QVERIFY(listed(root()) == "failed" && !m_login->IsLogin() && m_fixture->boxes.isEmpty());
    }

    void pageThatFails()
    {
        configure("");
        const std::pair<QString, QString> faults[] = {
            {"cut=30", "loading the login web page."},
            {"redirect=https://cloud.zephal.example/signin/done", "Unknown error."},
        };
        for (const auto &[action, text] : faults) {
            m_fixture->cloud.addRule("*", "/signin", action, 1);
            m_fixture->boxes.clear();
            QVERIFY(m_login->Login(&m_owner));
            QTRY_COMPARE(m_fixture->boxes.size(), 1);
            QVERIFY(m_fixture->boxes[0].startsWith("Http code: 401 \nLogin Failed.") && !dialog());
            QVERIFY2(m_fixture->boxes[0].endsWith(text), qPrintable(m_fixture->boxes[0]));
        }
        QVERIFY(m_login->Login(&m_owner));
        m_portal.reset(); // while the page loads
        QVERIFY(!dialog() && m_owner.heard.isEmpty());
        configure("kind=web\nsignIn=http://not.protected.example/");
        QVERIFY(!m_login->Login(&m_owner) && !dialog() && m_fixture->boxes.size() == 2);
    }

    void formSignsIn()
    {
        QVERIFY(m_login->Login(&m_owner) && dialog()->isModal());
        dialog()->close();
        QVERIFY(!dialog() && m_login->Login(&m_owner));
        const QPointer<QLineEdit> password = field("password");
        const auto *error = dialog()->findChild<QLabel *>("error");
        m_onRequest = [&] {
            dialog()->close();
            QVERIFY(PortalCall::isRunning() && dialog() && !password->isEnabled());
        };
        enter("wrong");
        QTRY_VERIFY(error->isVisible() && error->text().contains("does not know"));
        QVERIFY(password->echoMode() == QLineEdit::Password && password->text().isEmpty() && m_owner.heard.isEmpty());
        m_fixture->cloud.addRule("*", "*", "status=503", 1);
        enter("demo");
        QTRY_VERIFY(error->text().contains("not able to connect"));
        m_onRequest = [this] { m_login->Login(&m_owner); };
        enter("demo");
        QTRY_VERIFY(!password && dialog()); // the answer belonged to the first dialog
        enter("demo");
        QTRY_VERIFY(!dialog());
        KString name; // there is no first one
        QVERIFY(m_owner.heard == QList<bool>{true} && m_login->GetUsername(name) && name == "demo");
        m_login->Login(nullptr);
        QVERIFY(!dialog() && m_login->LoginUIDoneCB(QUrl()));
        m_login->Login(&m_owner);
        m_onRequest = [this] { m_portal.reset(); };
        enter("demo");
        QTRY_VERIFY(!m_portal);
        QVERIFY(!dialog() && m_owner.heard.size() == 1);
    }

    void filesComeAndGo()
    {
        m_login->Login(&m_owner);
        enter("demo");
        QTRY_VERIFY(m_login->IsLogin());
        const auto top = root();
        const auto folder = makeItem(u8"ä #1", "..", top.get());
        QString inner;
        m_onRequest = [&] { inner = listed(top); };
        QVERIFY(listed(top) == everything && inner == everything && outSearchResults.empty());
        QVERIFY(listed(folder) == "-50% \"x\".obj" && listed(nullptr) == "failed");
        folder->FolderClick();
        QCOMPARE(m_owner.clicked, folder.get());
        auto *browser = m_portal->GetBrowser();
        HeaderMap both{{L"Home", L""}, {L"SpecificFolder", L"ä #1"}};
        ItemVector items;
        QVERIFY(browser->GetChildCloudItems(m_login, both, items) && items.size() == 2);
        qDeleteAll(items);
        const QString local = m_folder->filePath("new/sub/");
        const std::tuple<ICloudItem *, const char *, const char *, KString> downloads[] = {
            {top.get(), "cup.obj", "/cup.obj", "/My cloud documents"},
            {nullptr, "cup.obj", "/cup.obj", ""},
            {folder.get(), "50% \"x\".obj", u8"/ä #1/50% \"x\".obj", "/My cloud documents/_"},
        };
        for (const auto &[parent, name, content, importFolder] : downloads) {
            auto item = makeItem("", name, parent);
            QVERIFY(item->GetImportPathFolder() == importFolder);
            m_fixture->host.handle("sysFile", [&item](const QString &, KCommandResult &) {
                item.reset();
                return KStatus();
            });
            QVERIFY(browser->DownloadCloudItem(m_login, item.get(), KQtUtil::toKString(local), "a\"b"));
            QCOMPARE(readFile(local + "a\"b"), QByteArray(content));
            QCOMPARE(m_fixture->host.commands().last(), "sysFile -delete \"" + local + "a\\\"b\"");
        }

        const auto upload = [&](const QByteArray &content, const char *replaced) {
            auto into = makeItem(u8"ä #1", "", nullptr);
            auto old = replaced ? makeItem(replaced, "", nullptr) : nullptr;
            m_onRequest = [&] { into.reset(), old.reset(); };
            writeFile(local + "a\"b", content);
            const bool done = browser->UploadFile(m_login, into.get(), old.get(), KQtUtil::toKString(local), "a\"b");
            return (done ? "stored " : "kept ") + readFile(m_fixture->cloud.zephalDir() + u8"/ä #1/a\"b");
        };
        QCOMPARE(upload("1", nullptr), QByteArray("stored 1"));
        QCOMPARE(upload("2", nullptr), QByteArray("kept 1"));
        QCOMPARE(upload("2", u8"ä #1/a\"b"), QByteArray("stored 2"));
        m_fixture->cloud.addRule("*", "/dav/*", "status=507");
        QCOMPARE(upload("3", u8"ä #1/a\"b"), QByteArray("kept 2"));
        QVERIFY(!browser->DownloadCloudItem(m_login, nullptr, "", "") && m_fixture->everythingShown().isEmpty());
        QVERIFY(!browser->UploadFile(m_login, nullptr, nullptr, "", ""));
    }

private:
    const QString everything = u8"+ä #1 -cup.obj";

    /// A new portal on a library that finds \p lines in its configuration.
    void configure(const QByteArray &lines)
    {
        m_portal.reset();
        writeFile(m_folder->filePath("pelago.ini"), "[production]\n" + lines + '\n');
        qputenv("PELAGO_CONFIG", QFile::encodeName(m_folder->filePath("pelago.ini")));
        m_login = new Portal_Zephal_Login;
        m_portal = std::make_unique<Portal_Zephal>(m_login, new Portal_Zephal_IPortalBrowser);
        m_portal->setOwnerCB(&m_owner);
    }
    QLineEdit *field(const char *name) const { return dialog()->findChild<QLineEdit *>(name); }
    void enter(const char *password)
    {
        field("user")->setText("demo");
        field("password")->setText(password);
        QTest::keyClick(dialog(), Qt::Key_Return);
    }

    std::unique_ptr<ICloudItem> root() { return std::unique_ptr<ICloudItem>(m_portal->CreateFolderHierarchy()); }
    std::unique_ptr<ICloudItem> makeItem(const char *id, const char *name, ICloudItem *parent)
    {
        auto item = std::make_unique<Portal_Zephal_ICloudItem>(&m_owner);
        item->SetProperty("uniqueID", id);
        item->SetProperty("name", name);
        item->SetParent(parent);
        return item;
    }
    /// The names in \p folder, in order: + folders, - files.
    QString listed(const std::unique_ptr<ICloudItem> &folder)
    {
        HeaderMap criteria;
        m_portal->FillSearchCriteria(folder.get(), criteria);
        ItemVector items;
        if (!m_portal->GetBrowser()->GetChildCloudItems(m_login, criteria, items))
            return "failed";
        QStringList names;
        for (ICloudItem *item : items)
            names << (item->IsFolder() ? "+" : "-") + KQtUtil::toQString(item->GetDisplayName());
        qDeleteAll(items);
        names.sort();
        return names.join(' ');
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<CloudFixture> m_fixture;
    std::unique_ptr<Portal_Zephal> m_portal;
    Portal_Zephal_Login *m_login = nullptr; // the portal's
    RecordingOwner m_owner;
    std::function<void()> m_onRequest = [] {}; // runs when the next request has been served
};

QTEST_MAIN(TestZephal)
#include "tst_zephal.moc"
