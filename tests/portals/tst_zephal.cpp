// portals/tst_zephal.cpp
//
// The Zephal portal through the cloud library to the document cloud: sign-in on the page and by form, listing and
// transfers over real sockets.

#include "cloud/RunningCall.h"
#include "portals/Portal_Zephal.h"
#include "portals/Portal_Zephal_CloudItem.h"
#include "PortalTest.h"
#include "support/LocalServer.h"

#include <QWebElement>
#include <QWebFrame>
#include <QWebView>

#include <dlfcn.h>

namespace {

QStringList opened;
int64_t session = 0;

} // namespace

/// Writes down what the portal asks of the library's own function, and what that answers.
int64_t Skein_Auth_openSession(const char *key, const char *secret, const char *file, const char *address)
{
    static const auto next =
        reinterpret_cast<decltype(&Skein_Auth_openSession)>(dlsym(RTLD_NEXT, "Skein_Auth_openSession"));
    opened = QStringList{key, secret, file, address};
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
        m_owner.onDone = [&] { QVERIFY(RunningCall::isAny() && !dialog() && listed(root()) == everything); };
        QVERIFY(m_login->Login(&m_owner) && dialog()->isModal());
        QCOMPARE(opened.last(), QString("https://cloud.zephal.example/signin"));
        QTRY_VERIFY(!page()->findFirstElement("#sign-in").isNull());
        QTRY_VERIFY(dialog()->size() != QSize(343, 368)); // fits the page
        page()->evaluateJavaScript("document.getElementById('user').value = 'demo';"
                                   "document.getElementById('password').value = 'demo';"
                                   "document.getElementById('sign-in').click();");
        QTRY_VERIFY(m_owner.heard == QList<bool>{true} && !dialog());

        configure(""); // the next run of the host
        KString name;
        QVERIFY(m_login->GetUsername(name) && name == "Robin Example" && listed(root()) == everything);
        m_fixture->cloud.revokeZephalTokens();
        QVERIFY(listed(root()) == "failed" && !m_login->IsLogin() && m_fixture->boxes.isEmpty());
        QCOMPARE(warnings(), QStringList("List of the top folder failed: the server refused the user name or the "
                                         "password (status 401). Sign in again."));
    }

    void pageThatFails()
    {
        configure("");
        for (const QString fault : {"cut=30|loading the login web page.",
                                    "redirect=https://cloud.zephal.example/signin/done|Unknown error."}) {
            m_fixture->cloud.addRule("*", "/signin", fault.section('|', 0, 0), 1);
            m_fixture->boxes.clear();
            QVERIFY(m_login->Login(&m_owner));
            QTRY_COMPARE(m_fixture->boxes.size(), 1);
            const QString box = m_fixture->boxes[0];
            QVERIFY(!dialog() && box.startsWith("Http code: 401 \nLogin Failed."));
            QVERIFY2(box.endsWith(fault.section('|', 1)), qPrintable(box));
        }
        QVERIFY(m_login->Login(&m_owner));
        m_portal.reset(); // while the page loads
        QVERIFY(!dialog() && m_owner.heard.isEmpty());
    }

    void formNamesTheReason_data()
    {
        QTest::addColumn<QByteArray>("settings"); // SERVER is a server with a certificate that nobody knows
        QTest::addColumn<QString>("rule");        // of the local cloud
        QTest::addColumn<QString>("expected");    // its beginning, a star, its end
        const QByteArray usual = "kind=password\nstorage=https://cloud.zephal.example/dav";
        const auto row = [](const char *name, const QByteArray &settings, const QString &rule, const char *expected) {
            QTest::newRow(name) << settings << rule << expected;
        };
        row("plain http", "kind=password\nstorage=http://files.example/", "",
            "pelago.ini cannot be used. An address begins with https:// and holds no user name, query or #; http needs "
            "allowPlainHttp=true. Correct this part: production/storage");
        row("plain http of a page", "kind=web\nstorage=https://x/\nsignIn=http://files.example/", "",
            "pelago.ini *this part: production/signIn");
        row("no line of a file", "kind=password\nstorage", "", "pelago.ini *this part: line 3");
        row("certificate", "kind=password\nstorage=https://SERVER/", "",
            "The server's certificate is not trusted.* --ca-file *: The certificate is self-signed, and untrusted");
        row("no TLS", "kind=password\nstorage=https://PLAIN/", "", "The server does not speak TLS at this address.*");
        row("redirect", usual, "redirect=https://new.example/dav/?secret",
            "The server redirects*into pelago.ini: https://new.example/dav/");
        row("not found", usual, "status=404", "The server has no folder at the address in pelago.ini.*");
        row("no WebDAV", usual, "status=405", "The server at the address in pelago.ini is not a WebDAV server.*");
        row("no sign-in", usual, "status=401", "The server must offer Basic*. It offers: none");
        row("server down", "kind=password\nstorage=http://127.0.0.1:1/", "", "No server answers.*: http://127.0.0.1:1");
        row("unknown name", "kind=password\nstorage=https://nowhere.invalid/", "",
            "The host name is unknown.*: nowhere.invalid");
        row("failing server", usual, "status=503", "Sorry but we were not able to connect*");
    }
    void formNamesTheReason()
    {
        QFETCH(QByteArray, settings);
        QFETCH(QString, rule);
        QFETCH(QString, expected);
        LocalServer foreign(LocalServer::Transport::Tls);
        QTcpServer plain;
        QVERIFY(plain.listen(QHostAddress::LocalHost));
        connect(&plain, &QTcpServer::newConnection, &plain, [&plain] {
            QTcpSocket *socket = plain.nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, socket, [socket] {
                socket->write("HTTP/1.1 400 Bad Request\r\n\r\n");
                socket->disconnectFromHost();
            });
        });
        const bool direct = settings.contains("SERVER") || settings.contains("PLAIN") || settings.contains(".invalid");
        if (direct || settings.contains(":1/"))
            QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy);
        configure(settings.replace("SERVER", foreign.authority())
                      .replace("PLAIN", "127.0.0.1:" + QByteArray::number(plain.serverPort())));
        if (!rule.isEmpty())
            m_fixture->cloud.addRule("*", "/dav/*", rule);
        QVERIFY(m_login->Login(&m_owner));
        enter("demo");
        const auto *error = dialog()->findChild<QLabel *>("error");
        QTRY_VERIFY(error->isVisible());
        QVERIFY2(error->text().startsWith(expected.section('*', 0, 0)), qPrintable(error->text()));
        QVERIFY2(error->text().endsWith(expected.section('*', -1)), qPrintable(error->text()));
        QVERIFY(m_fixture->boxes.isEmpty());
        QVERIFY2(!warnings().isEmpty() && warnings().last().contains(" failed: "), qPrintable(warnings().join('\n')));
    }

    void correctedConfigurationCountsAtTheNextSignIn()
    {
        configure("kind=password\nstorage=http://files.example/");
        QVERIFY(m_login->Login(&m_owner) && dialog());
        write("kind=password\nstorage=https://cloud.zephal.example/dav");
        QVERIFY(m_login->Login(&m_owner));
        field("user")->setText("de:mo");
        QTest::keyClick(dialog(), Qt::Key_Return);
        const QPointer<QLabel> error = dialog()->findChild<QLabel *>("error");
        QTRY_VERIFY(error->text() == "A user name cannot contain a colon.");
        QVERIFY(m_fixture->requests().isEmpty());
        enter("demo");
        QTRY_VERIFY(!dialog());
        QVERIFY(m_login->IsLogin() && listed(root()) == everything);
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
            QVERIFY(RunningCall::isAny() && dialog() && !password->isEnabled());
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
        m_login->Login(&m_owner);
        m_onRequest = [this] { m_portal.reset(); };
        enter("demo");
        QTRY_VERIFY(!m_portal);
        QVERIFY(!dialog() && m_owner.heard.size() == 1);
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
        QVERIFY(warnings().isEmpty());
    }

    void endPointKeepsInStep()
    {
        const QString file = m_folder.filePath("session.skein");
        QCOMPARE(opened.mid(2).join(' '), file + " https://cloud.zephal.example/dav/");
        QVERIFY(opened[0] == KQtUtil::toQString(getTestConsumerKey(Skein_Service_Deployment_Production)));
        QVERIFY(opened[1] == KQtUtil::toQString(getTestConsumerSecret(Skein_Service_Deployment_Production)));
        const auto isOpen = [](int64_t endPoint) {
            return Skein_Storage_listContents(endPoint, "", contentCb, nullptr) != Skein_Result_UnknownHandle;
        };
        QVERIFY(m_login->LoginUIDoneCB(QUrl()) && m_login->GetStorageEndPoint() == -1 && signIn());
        const int64_t first = m_login->GetStorageEndPoint();
        m_login->InitializeStorage();
        QVERIFY(isOpen(first) && m_login->GetStorageEndPoint() == first);
        QVERIFY(QFile::remove(file) && QDir().mkpath(file + "/in the way"));
        QVERIFY(!m_login->Logout() && m_login->IsLogin() && m_login->GetStorageEndPoint() == first);
        QVERIFY(QDir(file).removeRecursively() && m_login->Logout() && !m_login->IsLogin());
        QVERIFY(!isOpen(first) && m_login->GetStorageEndPoint() == -1 && signIn());
        const int64_t second = m_login->GetStorageEndPoint();
        m_portal.reset();
        QVERIFY(!isOpen(second) && Skein_Auth_isUserLoggedIn(session) == Skein_Result_UnknownHandle);

        m_fixture->host.answer("internalVar -userPrefDir", KCommandResult(KString()));
        configure("kind=password\nsignIn=https://cloud.zephal.example/dav/\nstorage=http://not.protected.example/");
        QVERIFY(opened[2].isEmpty() && signIn() && m_login->GetStorageEndPoint() < 0 && listed(root()) == "failed");
    }

    void filesComeAndGo()
    {
        QVERIFY(signIn());
        const auto top = root();
        const auto folder = makeItem(u8"ä #1", "..", top.get());
        QString inner;
        m_onRequest = [&] { inner = listed(top); };
        QVERIFY(listed(top) == everything && inner == everything && outSearchResults.empty());
        QVERIFY(listed(folder) == "-50% \"x\".obj" && listed(nullptr) == "failed");
        HeaderMap both{{L"Home", L""}, {L"SpecificFolder", L"ä #1"}};
        ICloudPortalApi::ItemVector items;
        QVERIFY(browser()->GetChildCloudItems(m_login, both, items) && items.size() == 2);
        qDeleteAll(items);
        const std::tuple<ICloudItem *, const char *, const char *, KString> downloads[] = {
            {top.get(), "cup.obj", "/cup.obj", "/My cloud documents"},
            {nullptr, "cup.obj", "/cup.obj", ""},
            {folder.get(), "50% \"x\".obj", u8"/ä #1/50% \"x\".obj", "/My cloud documents/_"},
        };
        m_fixture->host.handle("sysFile", [this](const QString &, KCommandResult &) {
            m_passing.clear();
            return KStatus();
        });
        for (const auto &[parent, name, content, importFolder] : downloads) {
            auto item = makeItem("", name, parent);
            QVERIFY(item->GetImportPathFolder() == importFolder && download(std::move(item), "a\"b"));
            QCOMPARE(readFile(local("a\"b")), QByteArray(content));
            QCOMPARE(m_fixture->host.commands().last(), "sysFile -delete \"" + local("a\\\"b\""));
        }

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
        QVERIFY(!download(nullptr, "a") && !upload(nullptr, "a") && m_fixture->boxes.isEmpty());
        QCOMPARE(warnings().size(), 2);
        QVERIFY(warnings()[0].startsWith(u8"Upload of \"ä #1/a\"b\" failed: the name is taken"));
        QVERIFY(warnings()[1].startsWith(u8"Replacement of \"ä #1/a\"b\" failed: the server has no space left"));
    }

private:
    const QString everything = u8"+ä #1 -cup.obj";

    QStringList warnings() const { return m_fixture->host.messages(KHost::MessageKind::kWarning); }
    void write(const QByteArray &lines)
    {
        writeFile(m_folder.filePath("pelago.ini"), "[production]\n" + lines + '\n');
        qputenv("PELAGO_CONFIG", QFile::encodeName(m_folder.filePath("pelago.ini")));
    }
    /// A new portal on a library that finds \p lines in its configuration.
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
