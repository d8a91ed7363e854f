// portals/tst_zephal.cpp
//
// The Zephal portal through the cloud library to the document cloud: sign-in on the page and by form, listing and
// transfers over real sockets.

#include "cloud/RunningCall.h"
#include "portals/Portal_Zephal.h"
#include "portals/Portal_Zephal_CloudItem.h"
#include "PortalTest.h"
#include "support/LocalServer.h"
#include "TavrinStrings.h"

#include <QWebElement>
#include <QWebFrame>
#include <QWebView>

#include <dlfcn.h>

namespace {

QStringList openedWith; // the arguments of the last call, and its result
int64_t session = 0;

} // namespace

/// Calls the library's function of that name and records its arguments and its result.
int64_t Skein_Auth_openSession(const char *key, const char *secret, const char *file, const char *address)
{
    static const auto next =
        reinterpret_cast<decltype(&Skein_Auth_openSession)>(dlsym(RTLD_NEXT, "Skein_Auth_openSession"));
    openedWith = QStringList{key, secret, file, address};
    session = next(key, secret, file, address);
    return session;
}

class TestZephal : public PortalTest
{
    Q_OBJECT

private slots:
    void init()
    {
        start();
        connect(&m_fixture->cloud, &LocalCloud::requestServed, m_fixture.get(),
                [this] { std::exchange(m_onRequest, [] {})(); });
        for (const char *file : {"/cup.obj", u8"/ä #1/50% \"x\".obj"})
            writeFile(m_fixture->cloud.zephalDir() + file, file);
        m_fixture->host.answer("internalVar -userPrefDir", KCommandResult(KQtUtil::toKString(m_folder.path() + "/")));
        configure("kind=password\nstorage=https://cloud.zephal.example/dav");
    }

    void cleanup() { finish(); }

    void pageSignsIn()
    {
        configure("");
        m_owner.onDone = [&] {
            QVERIFY(RunningCall::isAny());
            QVERIFY(!dialog());
            QCOMPARE(listed(root()), kEverything);
        };
        QVERIFY(m_login->Login(&m_owner));
        QVERIFY(dialog()->isModal());
        QCOMPARE(openedWith.last(), QString("https://cloud.zephal.example/signin"));
        QTRY_VERIFY(!page()->findFirstElement("#sign-in").isNull());
        QTRY_VERIFY(dialog()->size() != QSize(343, 368)); // fits the page
        page()->evaluateJavaScript("document.getElementById('user').value = 'demo';"
                                   "document.getElementById('password').value = 'demo';"
                                   "document.getElementById('sign-in').click();");
        QTRY_COMPARE(m_owner.results, QList<bool>{true});
        QVERIFY(!dialog());

        configure(""); // as after a new start of the host
        QCOMPARE(userName(), QString("Robin Example"));
        QCOMPARE(listed(root()), kEverything);
        m_fixture->cloud.revokeZephalTokens();
        QCOMPARE(listed(root()), QString("failed"));
        QVERIFY(!m_login->IsLogin());
        QCOMPARE(boxes(), QStringList());
        const QString refused = "the server refused the user name or the password (status 401). Sign in again.";
        QCOMPARE(m_fixture->warnings(), QStringList("List of the top folder failed: " + refused));
    }

    void failingPageIsReportedInABox()
    {
        configure("");
        m_fixture->cloud.addRule("*", "/signin", "cut=30", 1);
        QVERIFY(m_login->Login(&m_owner));
        QTRY_COMPARE(boxes().size(), 1);
        QVERIFY(!dialog());
        QVERIFY2(boxes()[0].startsWith("Http code: 401 \nLogin Failed."), qPrintable(boxes()[0]));
    }

    void deletingThePortalClosesTheLoadingPage()
    {
        configure("");
        QVERIFY(m_login->Login(&m_owner));
        m_portal.reset();
        QVERIFY(!dialog());
        QCOMPARE(m_owner.results, QList<bool>());
    }

    void formNamesTheReason_data()
    {
        // The configuration, in which TLS is a server with an unknown certificate; a rule of the local cloud; and the
        // beginning of the error, a star, its end.
        const QString direct = "kind=password\nstorage=";
        const QString usual = direct + "https://cloud.zephal.example/dav";
        addRows(
            {{"plain http", direct + "http://files.example/", "",
              "pelago.ini is invalid. An address must begin with https:// and must not contain a user name, a query or "
              "#; http requires allowPlainHttp=true. Correct this part: production/storage"},
             {"certificate", direct + "https://TLS/", "",
              "The server's certificate is not trusted.* --ca-file *: The certificate is self-signed, and untrusted"},
             {"redirect", usual, "redirect=https://new.example/dav/?secret",
              "The server redirects*in pelago.ini: https://new.example/dav/"},
             {"no WebDAV", usual, "status=405", "The server at the address in pelago.ini is not a WebDAV server.*"},
             {"no sign-in", usual, "status=401", "The server must support Basic*. It supports: none"},
             {"server down", direct + "http://127.0.0.1:1/", "", "The server does not respond.*: http://127.0.0.1:1"},
             {"failing server", usual, "status=503", "Sorry but we were not able to connect*"}});
    }

    void formNamesTheReason()
    {
        const auto [title, settings, rule, expected] = currentRow<4>();
        LocalServer tls(LocalServer::Transport::Tls);
        if (rule.isEmpty())
            QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy);
        configure(QString(settings).replace("TLS", tls.authority()).toUtf8());
        if (!rule.isEmpty())
            m_fixture->cloud.addRule("*", "/dav/*", rule);
        QVERIFY(m_login->Login(&m_owner));
        enter("demo");
        QTRY_VERIFY(!error().isEmpty());
        const QString start = expected.section('*', 0, 0);
        QCOMPARE(error().left(start.size()), start);
        QVERIFY2(error().endsWith(expected.section('*', -1)), qPrintable(error()));
        QCOMPARE(boxes(), QStringList());
        const QString warning = m_fixture->warnings().value(m_fixture->warnings().size() - 1);
        QVERIFY2(warning.contains(" failed: "), qPrintable(warning));
    }

    void correctedConfigurationCountsAtTheNextSignIn()
    {
        configure("kind=password\nstorage=http://files.example/");
        QVERIFY(m_login->Login(&m_owner));
        QVERIFY(dialog());
        write("kind=password\nstorage=https://cloud.zephal.example/dav");
        QVERIFY(m_login->Login(&m_owner));
        field("user")->setText("de:mo");
        QTest::keyClick(dialog(), Qt::Key_Return);
        QTRY_COMPARE(error(), QString("A user name cannot contain a colon."));
        QCOMPARE(m_fixture->requests(), QStringList());
        enter("demo");
        QTRY_VERIFY(!dialog());
        QCOMPARE(listed(root()), kEverything);
    }

    void formSignsInAndReportsErrors()
    {
        QVERIFY(m_login->Login(&m_owner));
        QVERIFY(dialog()->isModal());
        dialog()->close();
        QVERIFY(!dialog());
        QVERIFY(m_login->Login(&m_owner));
        const QPointer<QLineEdit> password = field("password");
        QCOMPARE(password->echoMode(), QLineEdit::Password);
        m_onRequest = [&] {
            dialog()->close();
            QVERIFY(RunningCall::isAny());
            QVERIFY(dialog());
            QVERIFY(!password->isEnabled());
        };
        enter("wrong");
        QTRY_COMPARE(error(), TavrinStrings::text(TavrinStrings::kCloudPortalLoginRefused));
        QCOMPARE(password->text(), QString());
        QCOMPARE(m_owner.results, QList<bool>());
        m_fixture->cloud.addRule("*", "*", "status=503", 1);
        enter("demo");
        QTRY_COMPARE(error(), TavrinStrings::text(TavrinStrings::KHttpServerErrorGeneric));
        m_onRequest = [this] { m_login->Login(&m_owner); };
        enter("demo");
        QTRY_VERIFY(!password); // the reply belonged to the first dialog
        QVERIFY(dialog());
        enter("demo");
        QTRY_VERIFY(!dialog());
        QCOMPARE(m_owner.results, QList<bool>{true});
        QCOMPARE(userName(), QString("demo")); // there is no first name
    }

    void deletingThePortalDuringASignInClosesTheForm()
    {
        m_login->Login(&m_owner);
        m_onRequest = [this] { m_portal.reset(); };
        enter("demo");
        QTRY_VERIFY(!m_portal);
        QVERIFY(!dialog());
        QCOMPARE(m_owner.results, QList<bool>());
    }

    void requestsAreTracedOnDemand()
    {
        m_portal.reset();
        qputenv("PELAGO_TRACE", "2");
        configure("kind=password\nstorage=https://cloud.zephal.example/dav");
        qunsetenv("PELAGO_TRACE");
        QVERIFY(signIn());
        const auto top = root();
        const auto folder = makeItem(u8"ä #1", "..", top.get());
        QVERIFY(download(makeItem("", "50% \"x\".obj", folder.get()), "x"));
        const QStringList lines = m_fixture->host.messages(KHost::MessageKind::kInfo);
        QVERIFY2(lines.last().startsWith("GET /dav/%C3%A4%20%231/50%25%20%22x%22.obj: status 200, result 1, "),
                 qPrintable(lines.last()));
        QCOMPARE(m_fixture->warnings(), QStringList());
    }

    void endPointIsOpenWhileTheUserIsSignedIn()
    {
        const QString file = m_folder.filePath("session.skein");
        const KString key = getTestConsumerKey(Skein_Service_Deployment_Production);
        const KString secret = getTestConsumerSecret(Skein_Service_Deployment_Production);
        QCOMPARE(openedWith, QStringList({key.utf8(), secret.utf8(), file, "https://cloud.zephal.example/dav/"}));
        QVERIFY(m_login->LoginUIDoneCB(QUrl()));
        QCOMPARE(m_login->GetStorageEndPoint(), int64_t(-1));
        QVERIFY(signIn());
        const int64_t first = m_login->GetStorageEndPoint();
        m_login->InitializeStorage();
        QVERIFY(isOpen(first));
        QCOMPARE(m_login->GetStorageEndPoint(), first);
        QVERIFY(QFile::remove(file));
        QVERIFY(QDir().mkpath(file + "/in the way"));
        QVERIFY(!m_login->Logout());
        QVERIFY(m_login->IsLogin());
        QCOMPARE(m_login->GetStorageEndPoint(), first);
        QVERIFY(QDir(file).removeRecursively());
        QVERIFY(m_login->Logout());
        QVERIFY(!m_login->IsLogin());
        QVERIFY(!isOpen(first));
        QCOMPARE(m_login->GetStorageEndPoint(), int64_t(-1));
        QVERIFY(signIn());
        const int64_t second = m_login->GetStorageEndPoint();
        m_portal.reset();
        QVERIFY(!isOpen(second));
        QCOMPARE(Skein_Auth_isUserLoggedIn(session), int(Skein_Result_UnknownHandle));
    }

    void foldersAreListed()
    {
        QVERIFY(signIn());
        const auto top = root();
        QString inner;
        m_onRequest = [&] { inner = listed(top); };
        QCOMPARE(listed(top), kEverything);
        QCOMPARE(inner, kEverything);
        QVERIFY(outSearchResults.empty());
        QCOMPARE(listed(makeItem(u8"ä #1", "..", top.get())), QString("-50% \"x\".obj"));
        QCOMPARE(listed(nullptr), QString("failed"));
        HeaderMap both{{L"Home", L""}, {L"SpecificFolder", L"ä #1"}};
        ICloudPortalApi::ItemVector items;
        QVERIFY(browser()->GetChildCloudItems(m_login, both, items));
        QCOMPARE(namesOf(items).size(), 2);
    }

    void downloadsKeepTheNameOfTheService()
    {
        QVERIFY(signIn());
        const auto top = root();
        const auto folder = makeItem(u8"ä #1", "..", top.get());
        const std::tuple<ICloudItem *, const char *, const char *, const char *> downloads[] = {
            {top.get(), "cup.obj", "/cup.obj", "/My cloud documents"},
            {nullptr, "cup.obj", "/cup.obj", ""},
            {folder.get(), "50% \"x\".obj", u8"/ä #1/50% \"x\".obj", "/My cloud documents/_"},
        };
        m_fixture->host.handle("sysFile", [this](const QString &, KCommandResult &) {
            m_itemsOfTheCall.clear();
            return KStatus();
        });
        for (const auto &[parent, name, content, importFolder] : downloads) {
            auto item = makeItem("", name, parent);
            QCOMPARE(item->GetImportPathFolder().utf8(), importFolder);
            QVERIFY(download(std::move(item), "a\"b"));
            QCOMPARE(readFile(local("a\"b")), QByteArray(content));
            QCOMPARE(m_fixture->host.commands().last(), "sysFile -delete \"" + local("a\\\"b\""));
        }
        QVERIFY(!download(nullptr, "a"));
    }

    void failedDownloadIsReportedAndLeavesNoFile_data()
    {
        // The rule of the cloud; without one, a folder has the name of the local file. Then the start of the reason.
        addRows({{"missing file", "status=404", "the server does not have it (status 404)."},
                 {"server error", "status=503", "the server failed"},
                 {"connection closed half-way", "cut=4", "the connection broke off"},
                 {"local file", "", "the local file cannot be read or written"}});
    }

    void failedDownloadIsReportedAndLeavesNoFile()
    {
        const auto [title, rule, reason] = currentRow<3>();
        QVERIFY(signIn());
        const auto top = root();
        if (rule.isEmpty())
            QVERIFY(QDir().mkpath(local("cup.obj")));
        else
            m_fixture->cloud.addRule("*", "/dav/cup.obj", rule);
        QVERIFY(!download(makeItem("", "cup.obj", top.get()), "cup.obj"));
        const QString start = "Download of \"cup.obj\" failed: " + reason;
        QCOMPARE(m_fixture->warnings().join('|').left(start.size()), start);
        QVERIFY(!QFileInfo(local("cup.obj")).isFile());
        QCOMPARE(boxes(), QStringList());
        m_fixture->cloud.clearRules();
        QDir().rmdir(local("cup.obj"));
        QVERIFY(download(makeItem("", "cup.obj", top.get()), "cup.obj")); // in the same session
        QCOMPARE(readFile(local("cup.obj")), QByteArray("/cup.obj"));
    }

    void uploadReplacesOnlyTheGivenItem()
    {
        QVERIFY(signIn());
        const auto stored = [&](const QByteArray &content, const char *replaced) {
            writeFile(local("a\"b"), content);
            const bool done = upload(makeItem(u8"ä #1"), "a\"b", replaced ? makeItem(replaced) : nullptr);
            return (done ? "stored " : "kept ") + readFile(m_fixture->cloud.zephalDir() + u8"/ä #1/a\"b");
        };
        QCOMPARE(stored("1", nullptr), QByteArray("stored 1"));
        QCOMPARE(stored("2", nullptr), QByteArray("kept 1"));
        QCOMPARE(stored("2", u8"ä #1/a\"b"), QByteArray("stored 2"));
        m_fixture->cloud.addRule("*", "/dav/*", "status=507");
        QCOMPARE(stored("3", u8"ä #1/a\"b"), QByteArray("kept 2"));
        QVERIFY(!upload(nullptr, "a"));
        QCOMPARE(boxes(), QStringList());
        const QRegularExpression expected(u8"^Upload of \"ä #1/a\"b\" failed: the name is taken[^|]*\\|"
                                          u8"Replacement of \"ä #1/a\"b\" failed: the server has no space left[^|]*$");
        const QString warnings = m_fixture->warnings().join('|');
        QVERIFY2(expected.match(warnings).hasMatch(), qPrintable(warnings));
    }

private:
    const QString kEverything = u8"+ä #1 -cup.obj";

    void write(const QByteArray &lines)
    {
        writeFile(m_folder.filePath("pelago.ini"), "[production]\n" + lines + '\n');
        qputenv("PELAGO_CONFIG", QFile::encodeName(m_folder.filePath("pelago.ini")));
    }
    /// Creates a new portal on a library whose configuration consists of \p lines.
    void configure(const QByteArray &lines)
    {
        write(lines);
        m_login = makePortal<Portal_Zephal, Portal_Zephal_Login, Portal_Zephal_IPortalBrowser>();
    }
    bool signIn() const
    {
        const bool signedIn = Skein_Auth_login(session, "demo", "demo") == 1;
        m_login->InitializeStorage();
        return signedIn && m_login->IsLogin();
    }
    QString userName() const
    {
        KString name;
        return m_login->GetUsername(name) ? KQtUtil::toQString(name) : "no user";
    }
    static bool isOpen(int64_t endPoint)
    {
        return Skein_Storage_listContents(endPoint, "", contentCb, nullptr) != Skein_Result_UnknownHandle;
    }
    /// The error that the form shows.
    QString error() const
    {
        const auto *label = dialog() ? dialog()->findChild<QLabel *>("error") : nullptr;
        return label && label->isVisible() ? label->text() : QString();
    }
    QWebFrame *page() const { return dialog()->findChild<QWebView *>()->page()->mainFrame(); }
    QLineEdit *field(const char *name) const { return dialog()->findChild<QLineEdit *>(name); }
    void enter(const char *password)
    {
        field("user")->setText("demo");
        field("password")->setText(password);
        QTest::keyClick(dialog(), Qt::Key_Return);
    }

    Item makeItem(const QString &id, const QString &name = {}, ICloudItem *parent = nullptr)
    {
        Item item = PortalTest::makeItem<Portal_Zephal_ICloudItem>({{"uniqueID", id}, {"name", name}});
        item->SetParent(parent);
        return item;
    }

    Portal_Zephal_Login *m_login = nullptr;    // the portal's
    std::function<void()> m_onRequest = [] {}; // runs when the next request has been served
};

QTEST_MAIN(TestZephal)
#include "tst_zephal.moc"
