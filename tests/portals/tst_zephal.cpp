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
        configure(kForm);
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
        QTRY_VERIFY(!page()->findFirstElement("#sign-in").isNull());
        QTRY_VERIFY(dialog()->size() != QSize(343, 368)); // fits the page
        page()->evaluateJavaScript("document.getElementById('user').value = 'demo';"
                                   "document.getElementById('password').value = 'demo';"
                                   "document.getElementById('sign-in').click();");
        QTRY_COMPARE(m_owner.results, QList<bool>{true});
        QVERIFY(!dialog());

        configure(""); // as after a new start of the host
        QVERIFY(m_login->IsLogin());
        QCOMPARE(listed(root()), kEverything);
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

    void formNamesTheReason_data()
    {
        // The address of the storage, in which TLS is a server with a certificate for localhost, PLAIN one without
        // TLS, and REFUSING one that answers everything with 400. Then the beginning of the error, a star, and its end.
        addRows(
            {{"certificate", "https://TLS/",
              "The server's certificate is not trusted.*: The certificate is self-signed, and untrusted"},
             {"other host name", "https://TLS/", "The server's certificate is for another host name.*: localhost"},
             {"no TLS", "https://REFUSING/", "The server does not support TLS at this address.*"},
             {"server down", "http://127.0.0.1:1/", "The server does not respond.*: http://127.0.0.1:1"},
             {"missing folder", "http://PLAIN/gone/", "The server has no folder at the address in pelago.ini.*"},
             {"web page", "http://PLAIN/page/", "The server at the address in pelago.ini is not a WebDAV server.*"},
             {"redirect", "http://PLAIN/old/", "The server redirects to another address.*: http://files.example/new/"},
             {"method", "http://PLAIN/tickets/", "The server must support Basic authentication*: Negotiate"}});
    }

    void formNamesTheReason()
    {
        const auto [title, address, expected] = currentRow<3>();
        LocalServer tls(LocalServer::Transport::Tls);
        QTcpServer refusing;
        connect(&refusing, &QTcpServer::newConnection,
                [&] { refusing.nextPendingConnection()->write("HTTP/1.1 400 Bad Request\r\n\r\n"); });
        refusing.listen(QHostAddress::LocalHost);
        const QByteArray refusingAuthority = "127.0.0.1:" + QByteArray::number(refusing.serverPort());
        LocalServer plain;
        plain.answer("/page/", Reply(200).body("<html>"));
        plain.answer("/old/", Reply(301).location("http://files.example/new/"));
        plain.answer("/tickets/", Reply(401).header("WWW-Authenticate", "Negotiate"));
        QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy);
        if (title == "other host name") {
            QSslConfiguration trust = QSslConfiguration::defaultConfiguration();
            trust.setCaCertificates({tls.certificate()});
            QSslConfiguration::setDefaultConfiguration(trust); // the next fixture sets its own
        }
        configure("kind=password\nstorage=" + address.toUtf8()
                                                  .replace("TLS", tls.authority())
                                                  .replace("PLAIN", plain.authority())
                                                  .replace("REFUSING", refusingAuthority));
        QVERIFY(m_login->Login(&m_owner));
        enter("demo");
        QTRY_VERIFY(!error().isEmpty());
        QVERIFY2(error().startsWith(expected.section('*', 0, 0)), qPrintable(error()));
        QVERIFY2(error().endsWith(expected.section('*', 1)), qPrintable(error()));
        QCOMPARE(boxes(), QStringList());
        QVERIFY2(m_fixture->warnings().last().contains(" failed: "), qPrintable(m_fixture->warnings().last()));
    }

    void correctedConfigurationCountsAtTheNextSignIn()
    {
        configure("kind=password\nstorage=http://files.example/");
        QVERIFY(m_login->Login(&m_owner));
        QVERIFY2(error().startsWith("pelago.ini is invalid."), qPrintable(error()));
        QVERIFY2(error().endsWith(": production/storage"), qPrintable(error()));
        write(kForm);
        QVERIFY(signIn());
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
        enter("demo", "files:demo");
        QTRY_COMPARE(error(), TavrinStrings::text(TavrinStrings::kSignInUserName));
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
        configure(kForm);
        qunsetenv("PELAGO_TRACE");
        QVERIFY(signIn());
        QCOMPARE(listed(root()), kEverything);
        const QStringList lines = m_fixture->host.messages(KHost::MessageKind::kInfo);
        QVERIFY2(lines.last().startsWith("PROPFIND /dav/: status 207, result 1, "), qPrintable(lines.last()));
        QCOMPARE(m_fixture->warnings(), QStringList());
    }

    void endPointIsOpenWhileTheUserIsSignedIn()
    {
        const QString file = m_folder.filePath("session.skein");
        QCOMPARE(m_login->GetStorageEndPoint(), int64_t(-1));
        QVERIFY(signIn());
        const int64_t first = m_login->GetStorageEndPoint();
        QVERIFY(QFile::remove(file));
        QVERIFY(QDir().mkpath(file + "/in the way"));
        QVERIFY(!m_login->Logout());
        QVERIFY(isOpen(first));
        QVERIFY(QDir(file).removeRecursively());
        QVERIFY(m_login->Logout());
        QVERIFY(!m_login->IsLogin());
        QVERIFY(!isOpen(first));
        QCOMPARE(m_login->GetStorageEndPoint(), int64_t(-1));
        QVERIFY(signIn());
        const int64_t second = m_login->GetStorageEndPoint();
        m_portal.reset();
        QVERIFY(!isOpen(second));
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
    }

    void downloadUsesTheNameOfTheService()
    {
        QVERIFY(signIn());
        const auto top = root();
        const auto folder = makeItem(u8"ä #1", "..", top.get());
        auto item = makeItem("", "50% \"x\".obj", folder.get());
        QCOMPARE(item->GetImportPathFolder().utf8(), "/My cloud documents/_");
        m_fixture->host.handle("sysFile", [this](const QString &, KCommandResult &) {
            m_itemsOfTheCall.clear();
            return KStatus();
        });
        QVERIFY(download(std::move(item), "a\"b"));
        QCOMPARE(readFile(local("a\"b")), QByteArray(u8"/ä #1/50% \"x\".obj"));
        QCOMPARE(m_fixture->host.commands().last(), "sysFile -delete \"" + local("a\\\"b\""));
        QVERIFY(!download(nullptr, "a"));
    }

    void failedDownloadIsReportedAndLeavesNoFile()
    {
        QVERIFY(signIn());
        const auto top = root();
        m_fixture->cloud.addRule("*", "/dav/cup.obj", "cut=4");
        QVERIFY(!download(makeItem("", "cup.obj", top.get()), "cup.obj"));
        const QString start = "Download of \"cup.obj\" failed: the connection broke off";
        QCOMPARE(m_fixture->warnings().join('|').left(start.size()), start);
        QVERIFY(!QFileInfo::exists(local("cup.obj")));
        QCOMPARE(boxes(), QStringList());
        m_fixture->cloud.clearRules();
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
    const QByteArray kForm = "kind=password\nstorage=https://cloud.zephal.example/dav";
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
    bool signIn()
    {
        m_login->Login(&m_owner);
        enter("demo");
        return QTest::qWaitFor([this] { return !dialog(); }, 20000) && m_login->IsLogin();
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
    void enter(const char *password, const char *user = "demo")
    {
        field("user")->setText(user);
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
