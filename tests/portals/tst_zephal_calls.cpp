// portals/tst_zephal_calls.cpp
//
// What the Zephal portal asks of the cloud library, in which order and with which arguments: a library that records
// stands in for the real one.

#include "cloud/PortalCall.h"
#include "portals/Portal_Zephal.h"
#include "portals/Portal_Zephal_CloudItem.h"
#include "portals/SkeinLoginUi.h"
#include "support/RecordingHost.h"

#include <QtTest>
#include <QtWidgets>

using namespace ICloudPortalApi;

namespace {

constexpr int64_t session = 0x700000001;
constexpr int64_t endPoint = 0x900000002;

/// The library's answers, and what it was told.
struct Library
{
    QStringList calls;
    int loggedIn = 0;
    int result = 1; ///< of whatever asks the service
    int64_t madeEndPoint = endPoint;
    const char *first = "";
    const char *last = "";
    std::function<void()> inside = [] {}; ///< runs in the next call that asks the service
    std::function<void(Skein_ContentCb, void *)> list = [](Skein_ContentCb, void *) {};

    template <typename... Arguments>
    void told(const char *call, const Arguments &...arguments)
    {
        calls << QStringList{call, text(arguments)...}.join(' ');
    }
    int ask()
    {
        std::exchange(inside, [] {})();
        return result;
    }

private:
    static QString text(const char *argument) { return argument ? '\'' + QString(argument) + '\'' : "null"; }
    static QString text(int64_t argument) { return QString::number(argument, 16); }
};

Library library;

} // namespace

const char *Skein_Auth_getServerAddress(Skein_Service_Deployment)
{
    return "https://sign.in";
}
int64_t Skein_Auth_openSession(const char *key, const char *secret, const char *file, const char *address)
{
    const auto length = [](const char *text) { return static_cast<int64_t>(strlen(text)); };
    library.told("open", length(key), length(secret), file, address);
    return session;
}
void Skein_Auth_closeSession(int64_t closed)
{
    library.told("close", closed);
}
int Skein_Auth_isUserLoggedIn(int64_t asked)
{
    return asked == session ? library.loggedIn : -1;
}
long Skein_Auth_createLoginRequest(int64_t, char *, unsigned long)
{
    return Skein_Result_PasswordSignIn;
}
int Skein_Auth_completeLogin(int64_t, const char *)
{
    return 0;
}
int Skein_Auth_login(int64_t asked, const char *user, const char *password)
{
    library.told("login", asked, user, password);
    const int result = library.ask();
    library.loggedIn = result == 1 ? 1 : library.loggedIn;
    return result;
}
int Skein_Auth_logout(int64_t asked)
{
    library.told("logout", asked);
    library.loggedIn = library.result == 1 ? 0 : library.loggedIn;
    return library.result;
}
const char *Skein_Auth_getUserFirstName(int64_t)
{
    return library.first;
}
const char *Skein_Auth_getUserLastName(int64_t)
{
    return library.last;
}
const char *Skein_Storage_getServerAddress(Skein_Service_Deployment)
{
    return "https://storage/";
}
int64_t Skein_Storage_createEndPoint(int64_t of, const char *address, int options, const char *space, int a, int b)
{
    library.told("create", of, address, options, space, a, b);
    return library.madeEndPoint;
}
void Skein_Storage_destroyEndPoint(int64_t destroyed)
{
    library.told("destroy", destroyed);
}
int Skein_Storage_listContents(int64_t at, const char *folder, Skein_ContentCb callback, void *context)
{
    library.told("list", at, folder);
    const int result = library.ask();
    library.list(callback, context);
    return result;
}
int Skein_Storage_downloadFile(int64_t at, const char *folder, const char *name, const char *localFolder,
                               const char *localName, Skein_ProgressCb progress, Skein_TransferCb done, void *, void *)
{
    progress(nullptr, 1, -1);
    done(nullptr, 1);
    const int result = library.ask();
    library.told("download", at, folder, name, localFolder, localName);
    return result;
}
int Skein_Storage_uploadFiles(int64_t at, const char *folder, const char *const *paths, const char *const *names,
                              int count, Skein_ProgressCb, Skein_TransferCb, void *, void *)
{
    const int result = library.ask();
    library.told("upload", at, folder, paths[0], names[0], count);
    return result;
}
int Skein_Storage_updateFile(int64_t at, const char *folder, const char *item, int mode, const char *path,
                             Skein_ProgressCb, Skein_TransferCb, void *, void *)
{
    const int result = library.ask();
    library.told("update", at, folder, item, mode, path);
    return result;
}

class TestZephalCalls : public QObject, private IPortalOwnerCB
{
    Q_OBJECT

private slots:
    void init()
    {
        library = Library();
        m_heard.clear();
        m_host = std::make_unique<RecordingHost>();
        m_host->answer("internalVar -userPrefDir", KCommandResult(KString("/prefs/")));
    }

    void endPointKeepsInStep()
    {
        const QStringList open = {"open ac ac '/prefs/session.skein' 'https://sign.in'"};
        const QStringList create = {"create 700000001 'https://storage/' 0 'my' 0 0"};
        {
            Portal_Zephal_Login login;
            QVERIFY(login.GetStorageEndPoint() == -1 && !login.IsLogin() && library.calls == open);
            library.loggedIn = 1;
            library.madeEndPoint = -3;
            login.InitializeStorage();
            QVERIFY(login.IsLogin() && login.GetStorageEndPoint() < 0);
            library.madeEndPoint = endPoint;
            login.InitializeStorage();
            login.InitializeStorage();
            QCOMPARE(library.calls, open + create + create);
            library.result = -5;
            QVERIFY(!login.Logout() && login.IsLogin() && login.GetStorageEndPoint() == endPoint);
            library.result = 1;
            QVERIFY(login.Logout() && !login.IsLogin() && login.GetStorageEndPoint() == -1);
        }
        library.calls.clear();
        library.loggedIn = 1;
        m_host->answer("internalVar -userPrefDir", KCommandResult(KString()));
        {
            Portal_Zephal_Login remembered;
            QVERIFY(remembered.GetStorageEndPoint() == endPoint && remembered.LoginUIDoneCB(QUrl()));
            QVERIFY(!QUuid(KQtUtil::toQString(remembered.GetClientIdentifier())).isNull());
        }
        QCOMPARE(library.calls, QStringList("open ac ac '' 'https://sign.in'") + create +
                                    QStringList({"destroy 900000002", "close 700000001"}));
    }

    void credentialsAndNames()
    {
        const auto deployment = Skein_Service_Deployment_Staging;
        QVERIFY(getTestConsumerKey(deployment) == STAGING_KEY && getTestConsumerSecret(deployment) == STAGING_SECRET);
        QVERIFY(getTestConsumerKey(static_cast<Skein_Service_Deployment>(3)).isEmpty());
        QFile module(PLUGIN_LIBRARY);
        QVERIFY2(module.open(QIODevice::ReadOnly), PLUGIN_LIBRARY);
        const QByteArray bytes = module.readAll();
        QVERIFY(bytes.contains("session.skein") && !bytes.contains(STAGING_KEY) && !bytes.contains(STAGING_SECRET));

        Portal_Zephal_Login login;
        const char *const names[][3] = {
            {"Ada", "Byron", "Ada Byron"}, {"", "Byron", "Byron"}, {"Ada", nullptr, "Ada"}, {nullptr, "", "kept"}};
        for (const auto &[first, last, shown] : names) {
            library.first = first;
            library.last = last;
            KString name("kept");
            QCOMPARE(login.GetUsername(name), qstrcmp(shown, "kept") != 0);
            QVERIFY2(name == shown, name.utf8());
        }
    }

    void formAsksUntilAccepted()
    {
        Portal_Zephal_Login login;
        library.calls.clear();
        QVERIFY(login.Login(this) && form() && form()->isModal());
        auto *password = form()->findChild<QLineEdit *>("password");
        QCOMPARE(password->echoMode(), QLineEdit::Password);
        const auto *error = form()->findChild<QLabel *>("error");
        for (const auto &[result, text] : {std::pair(-4, "does not know"), {-5, "not able to connect"}}) {
            library.result = result;
            library.inside = [&] {
                form()->close();
                QVERIFY(PortalCall::isRunning() && form() && !password->isEnabled());
            };
            enter(u8"Zoë", u8"pä\"ss");
            QVERIFY(error->isVisible() && error->text().contains(text) && password->isEnabled());
            QVERIFY(password->text().isEmpty() && m_heard.isEmpty());
        }
        form()->close();
        QVERIFY(!form() && m_heard.isEmpty() && login.GetStorageEndPoint() == -1);

        QVERIFY(login.Login(this));
        library.result = 1;
        enter("", "");
        QVERIFY(!form() && m_heard == QStringList("done in a call") && login.GetStorageEndPoint() == endPoint);
        QCOMPARE(library.calls.value(0), QString(u8"login 700000001 'Zoë' 'pä\"ss'"));
        QVERIFY(library.calls.last().startsWith("create"));
    }

    void dialogsAndPortalsThatGo()
    {
        auto login = std::make_unique<Portal_Zephal_Login>();
        QVERIFY(login->Login(nullptr));
        const QPointer<QDialog> first = form();
        QVERIFY(login->Login(nullptr) && form() != first && !first->isVisible());
        enter("", "");
        QVERIFY(!form() && login->GetStorageEndPoint() == endPoint);

        login->Login(this);
        library.inside = [&] { login->Login(this); };
        enter("", ""); // the answer belongs to a dialog that is gone
        QVERIFY(form() && m_heard.isEmpty());
        library.inside = [&] { login.reset(); };
        enter("", "");
        QVERIFY(!form() && m_heard.isEmpty());

        login = std::make_unique<Portal_Zephal_Login>();
        m_onDone = [&] { login.reset(); };
        login->Login(this);
        library.inside = [&] { m_window = std::make_unique<QWidget>(); };
        enter("", ""); // in a window that goes meanwhile
        m_onDone = [] {};
        QVERIFY(!login && m_heard.size() == 1);
    }

    void listing()
    {
        Signed on;
        using Criteria = HeaderMap;
        const std::pair<Criteria, QString> asked[] = {
            {{}, "no"},
            {{{L"Home", L"true"}}, "list 900000002 ''"},
            {{{L"SpecificFolder", L"\u00fc/b"}}, QString(u8"list 900000002 'ü/b'")},
            {{{L"SpecificFolder", L"a"}, {L"Home", L"true"}}, "list 900000002 ''"},
        };
        for (auto [criteria, call] : asked) {
            library.calls = QStringList("no");
            ItemVector items;
            QCOMPARE(on.browser->GetChildCloudItems(on.login, criteria, items), call != "no");
            QCOMPARE(library.calls.last(), call);
        }

        ItemVector inner;
        library.list = [&](Skein_ContentCb callback, void *context) {
            callback(context, "d", "D", "Mon", "", 0);
            callback(context, nullptr, nullptr, nullptr, nullptr, 0);
            callback(context, "e", "e.obj", "Tue", "model/obj", 0);
            callback(context, "l", u8"\"ß\".obj", "", nullptr, -1);
            callback(context, "h", "..", "", "", 0x180000000);
            callback(nullptr, "n", "n", "n", "n", 1);
            ZephalListing unknown{nullptr, L"?"};
            callback(&unknown, "n", "n", "n", "n", 1);
        };
        library.inside = [&] { QVERIFY(on.list(inner) && outSearchResults.size() == 1); };
        ItemVector outer;
        library.result = 0;
        QVERIFY(on.list(outer) && outSearchResults.empty());
        const QString entries = "+bytes: 0, is_dir: true, mime_type: , modified: Mon, name: D, uniqueID: d;"
                                "+bytes: 0, is_dir: true, mime_type: , modified: , name: , uniqueID: ;"
                                "-bytes: 0, mime_type: model/obj, modified: Tue, name: e.obj, uniqueID: e;"
                                "-bytes: -1, mime_type: , modified: , name: \"ß\".obj, uniqueID: l;"
                                "-bytes: 6442450944, mime_type: , modified: , name: .., uniqueID: h;";
        QCOMPARE(described(outer), entries);
        QCOMPARE(described(inner), entries);

        library.result = -5;
        QVERIFY(!on.list(outer) && described(outer) == entries && outSearchResults.empty());
        library.loggedIn = 0;
        QVERIFY(!on.list(outer) && outer.empty());
    }

    void transfers()
    {
        Signed on;
        QTemporaryDir dir;
        const QString local = dir.filePath("new/sub/");
        const auto item = [&](const char *id, const char *name, ICloudItem *parent) {
            auto made = std::make_unique<Portal_Zephal_ICloudItem>(nullptr);
            made->SetProperty("uniqueID", id);
            made->SetProperty("name", name);
            made->SetParent(parent);
            return made;
        };
        const std::unique_ptr<ICloudItem> root(on.portal.CreateFolderHierarchy());
        auto folder = item("a/..", "..", root.get());
        auto nested = item("a/../b", "b/c", folder.get());
        QVERIFY(item("", "", nullptr)->GetImportPathFolder().isEmpty());
        QVERIFY(item("", "x", nested.get())->GetImportPathFolder() == "/My cloud documents/_/_");

        const std::tuple<ICloudItem *, const char *, const char *, QString> rows[] = {
            {root.get(), "cup.obj", "cup.obj", "'' 'cup.obj' '%1' 'cup.obj'"},
            {nullptr, "a\"b", "a\"b", "'' 'a\"b' '%1' 'a\"b'"},
            {nested.get(), "..", "_", "'a/../b' '..' '%1' '_'"},
        };
        for (const auto &[parent, name, localName, call] : rows) {
            auto wanted = item("id", name, parent);
            m_host->handle("sysFile", [&](const QString &, KCommandResult &) {
                wanted.reset();
                return KStatus();
            });
            QVERIFY(on.browser->DownloadCloudItem(on.login, wanted.get(), KQtUtil::toKString(local), localName));
            QCOMPARE(library.calls.last(), "download 900000002 " + call.arg(local));
            QVERIFY(m_host->commands().last() ==
                    "sysFile -delete \"" + local + QString(localName).replace("\"", "\\\"") + "\"");
        }
        QVERIFY(QDir(local).exists());

        const std::tuple<bool, int, bool, QString> uploads[] = {
            {false, 1, true, "upload 900000002 'a/..' '/t/a\"b.fbx' 'a\"b.fbx' 1"},
            {true, 2, true, "update 900000002 'a/..' 'a/../old' 2 '/t/a\"b.fbx'"},
            {false, 0, false, "upload 900000002 'a/..' '/t/a\"b.fbx' 'a\"b.fbx' 1"},
        };
        for (const auto &[replaces, result, stored, call] : uploads) {
            auto target = item("a/..", "..", nullptr);
            auto old = replaces ? item("a/../old", "a\"b.fbx", nullptr) : nullptr;
            library.result = result;
            library.inside = [&] { target.reset(), old.reset(); };
            QCOMPARE(on.browser->UploadFile(on.login, target.get(), old.get(), "/t/", "a\"b.fbx"), stored);
            QCOMPARE(library.calls.last(), call);
        }
        library.result = 2;
        QVERIFY(!on.browser->DownloadCloudItem(on.login, root.get(), KQtUtil::toKString(local), "x"));
        QVERIFY(!on.browser->DownloadCloudItem(on.login, nullptr, "/t/", "x"));
        QVERIFY(on.browser->UploadFile(on.login, root.get(), nullptr, "/t/", "x"));
        QCOMPARE(library.calls.last(), QString("upload 900000002 '' '/t/x' 'x' 1"));
        QVERIFY(!on.browser->UploadFile(on.login, nullptr, nullptr, "/t/", "x"));
    }

private:
    void LoginDoneCB(bool success) override
    {
        m_heard << (success && PortalCall::isRunning() ? "done in a call" : "something wrong");
        m_onDone();
    }
    void CloudItemClickCB(ICloudItem *) override {}
    void CloudFolderArrowClickCB(ICloudItem *) override {}
    QWidget *GetParentLoginWidget() override { return m_window.get(); }

    static QDialog *form()
    {
        for (QWidget *widget : QApplication::topLevelWidgets())
            if (widget->isVisible() && widget->objectName() == "CloudPortalLoginDialog")
                return qobject_cast<QDialog *>(widget);
        return nullptr;
    }
    static void enter(const char *user, const char *password)
    {
        form()->findChild<QLineEdit *>("user")->setText(user);
        form()->findChild<QLineEdit *>("password")->setText(password);
        form()->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok)->click();
        QCoreApplication::processEvents();
    }
    /// Deletes the items.
    static QString described(ItemVector &items)
    {
        QString text;
        for (ICloudItem *item : items) {
            text += (item->IsFolder() ? "+" : "-") + KQtUtil::toQString(item->GetTooltip()).replace("\n", ", ") + ';';
            text += item->IsFolder() == item->IsDownloadable() ? "(both)" : "";
            delete item;
        }
        items.clear();
        return text;
    }

    /// A portal with a remembered session.
    struct Signed
    {
        bool list(ItemVector &items) const
        {
            HeaderMap criteria{{L"Home", L"true"}};
            return browser->GetChildCloudItems(login, criteria, items);
        }
        Portal_Zephal_Login *login = (library.loggedIn = 1, new Portal_Zephal_Login);
        Portal_Zephal_IPortalBrowser *browser = new Portal_Zephal_IPortalBrowser;
        Portal_Zephal portal{login, browser};
    };

    std::unique_ptr<RecordingHost> m_host;
    std::unique_ptr<QWidget> m_window = std::make_unique<QWidget>();
    QStringList m_heard;
    std::function<void()> m_onDone = [] {};
};

QTEST_MAIN(TestZephalCalls)
#include "tst_zephal_calls.moc"
