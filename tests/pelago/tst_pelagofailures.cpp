// The library against a server that does what each case needs.

#include "pelago/Cloud.h"
#include "pelago/DavServers.h"
#include "support/LocalServer.h"

#include <QtTest>

namespace {

/// A multistatus of one entry.
Reply entry(const QByteArray &href, const QByteArray &properties)
{
    return Reply(207).body("<multistatus xmlns='DAV:'><response><href>" + href + "</href><propstat><prop>" +
                           properties + "</prop><status>HTTP/1.1 200 OK</status></propstat></response></multistatus>");
}

const QByteArray isFolder = "<resourcetype><collection/></resourcetype>";
const Reply folder = entry("/dav/", isFolder);
const Reply unauthorized = Reply(401).header("WWW-Authenticate", "Basic realm=x");
QStringList traced;

/// What the server does before it answers: what the status says, all, half of it (a PUT that is cut, a MOVE that only
/// deletes its target), or nothing.
enum class Effect { AsAnswered, All, Half, None };

struct Answer
{
    Answer(int status, Effect what = Effect::AsAnswered) : reply(status), effect(what) {}
    Answer(const Reply &scripted, Effect what = Effect::AsAnswered) : reply(scripted), effect(what) {}

    Reply reply;
    Effect effect;
};
using Answers = QVector<Answer>;
using Script = QHash<QByteArray, Answers>;

} // namespace

Q_DECLARE_METATYPE(Script)

/// A folder of files at "/dav" that fails by script. Requests without credentials are refused.
class ScriptedCloud : public LocalServer
{
public:
    ScriptedCloud()
    {
        answerOthers([this](const Request &request) {
            if (!request.hasHeader("Authorization"))
                return unauthorized;
            Answers &answers = script[request.method];
            if (answers.isEmpty())
                return serve(request);
            const Answer answer = answers.size() > 1 ? answers.takeFirst() : answers.first();
            const bool answersSuccess = answer.reply.status() >= 200 && answer.reply.status() < 300;
            if (answer.effect == Effect::Half)
                serveHalf(request);
            else if (answer.effect == Effect::All || (answer.effect == Effect::AsAnswered && answersSuccess))
                serve(request);
            return answer.reply;
        });
    }

    QString storage() const { return "http://" + authority() + "/dav"; }
    void store(const QByteArray &name, const QByteArray &content)
    {
        files["/dav/" + name] = content;
        tags["/dav/" + name] = '"' + QByteArray::number(++m_changes) + '"';
    }
    /// The names and contents, with a star for a name made up.
    QString stored() const
    {
        QStringList words;
        for (auto file = files.begin(); file != files.end(); ++file)
            words << (file.key().contains("pelago-") ? "*" : file.key().mid(5)) + '=' + file.value();
        return words.join(' ');
    }
    /// The methods since the first sign-in that had credentials, with a star where the target is a name made up.
    QString story() const
    {
        QStringList words;
        for (const Request &request : requests()) {
            if (request.hasHeader("Authorization"))
                words << request.method + (request.target.contains("pelago-") ? "*" : "");
        }
        return words.mid(1).join(' ');
    }

    Script script; ///< by method: each answer once, the last one for ever; a method without any is served
    QMap<QByteArray, QByteArray> files;
    QMap<QByteArray, QByteArray> tags;
    QByteArray dav = "1, 2";

private:
    static QByteArray destinationOf(const Request &request)
    {
        const QByteArray to = request.header("Destination");
        return to.startsWith('/') ? to : to.mid(to.indexOf('/', 8));
    }
    bool refusesCondition(const Request &request, const QByteArray &target) const
    {
        const QByteArray state = request.header("If-Match") + request.header("If");
        const bool mustBeFree = request.header("If-None-Match") == "*" || request.header("Overwrite") == "F";
        return (mustBeFree && files.contains(target)) || (!state.isEmpty() && !state.contains(tags.value(target, "-")));
    }
    void forget(const QByteArray &path)
    {
        files.remove(path);
        tags.remove(path);
    }
    void serveHalf(const Request &request)
    {
        if (request.method == "PUT")
            store(request.path().mid(5), request.body.left(request.body.size() / 2));
        else
            forget(destinationOf(request));
    }
    Reply serve(const Request &request)
    {
        const QByteArray path = request.path();
        const QByteArray target = request.method == "MOVE" ? destinationOf(request) : path;
        if (request.method == "OPTIONS")
            return Reply(200).header("Allow", "OPTIONS, PUT, MOVE").header("DAV", dav);
        if (path == "/dav/" || path == "/dav")
            return folder;
        if (request.method != "PUT" && !files.contains(path))
            return Reply(404);
        if (request.method == "PROPFIND") {
            const QByteArray size = QByteArray::number(files[path].size());
            return entry(path, "<resourcetype/><getcontentlength>" + size + "</getcontentlength><getetag>" +
                                   tags[path] + "</getetag>");
        }
        if (request.method == "GET")
            return Reply(200).body(files[path]);
        if (refusesCondition(request, target))
            return Reply(412);
        const QByteArray content = request.method == "PUT" ? request.body : files[path];
        if (request.method != "PUT")
            forget(path);
        if (request.method != "DELETE")
            store(target.mid(5), content);
        return Reply(201);
    }

    int m_changes = 0;
};

class TestPelagoFailures : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        SkeinTrace_setLevel(2);
        SkeinTrace_setCallback([](void *, int, const char *line) { traced << line; }, nullptr);
    }

    void init()
    {
        m_server = std::make_unique<ScriptedCloud>();
        const QByteArray idleMs = QByteArray(QTest::currentDataTag()).contains("silent") ? "400" : "20000";
        m_cloud = std::make_unique<Cloud>(m_server->storage(), "kind=password\nidleTimeoutMs=" + idleMs + '\n');
        QCOMPARE(m_cloud->signIn(), 1);
    }

    void listingEndsAsTheServerAnswers_data()
    {
        QTest::addColumn<Reply>("reply");
        QTest::addColumn<int>("expected");
        QTest::newRow("empty folder") << folder << 0;
        QTest::newRow("401") << unauthorized << int{Skein_Result_NotSignedIn};
        QTest::newRow("404") << Reply(404) << int{Skein_Result_NotFound};
        QTest::newRow("507") << Reply(507) << int{Skein_Result_NoSpace};
        QTest::newRow("500") << Reply(500).body(QByteArray(3000000, 'x')).hangAfter(2000000)
                             << int{Skein_Result_ServerError};
        QTest::newRow("200") << Reply(200).body("<html/>") << int{Skein_Result_BadReply};
        QTest::newRow("half a document") << Reply(207).body("<multistatus xmlns='DAV:'>") << int{Skein_Result_BadReply};
        QTest::newRow("another folder") << entry("/else/where/", isFolder) << int{Skein_Result_BadReply};
        QTest::newRow("a file") << entry("/dav/", "<resourcetype/>") << int{Skein_Result_NotFound};
        QTest::newRow("cut") << Reply(folder).cutAfter(150) << int{Skein_Result_Network};
        QTest::newRow("silent") << Reply(folder).hangAfter(150) << int{Skein_Result_TimedOut};
        for (const char *target : {"http://localhost:9/dav//", "/dav/x/", "/dav//?x"})
            QTest::addRow("redirect to %s", target) << Reply(307).location(target) << int{Skein_Result_Redirected};
    }
    void listingEndsAsTheServerAnswers()
    {
        QFETCH(Reply, reply);
        m_server->script["PROPFIND"] = {reply};
        QTEST(m_cloud->list(""), "expected");
        QVERIFY(m_cloud->entries.isEmpty());
        QCOMPARE(m_server->story(), QString("PROPFIND"));
        const bool signedIn = reply.status() != 401;
        QCOMPARE(Skein_Auth_isUserLoggedIn(m_cloud->session), int(signedIn));
        QCOMPARE(QFile::exists(m_cloud->local("session.skein")), signedIn);
    }

    void uploadEndsAsTheServerAnswers_data()
    {
        QTest::addColumn<Script>("script");
        QTest::addColumn<int>("expected");
        QTest::addColumn<QString>("stored"); // afterwards; "cup.obj=old" was there before for "replace"
        QTest::addColumn<QString>("story");
        const auto row = [](const char *name, const Script &script, int expected, const char *stored,
                            const char *story) { QTest::newRow(name) << script << expected << stored << story; };
        const Reply noMove = Reply(200).header("Allow", "GET,PUT,DELETE");
        const Reply hangs = Reply(201).hangAfter(0);
        row("new", {}, 1, "cup.obj=new content", "OPTIONS PUT* PROPFIND* MOVE*");
        row("new: name taken", {{"MOVE", {412}}}, Skein_Result_Conflict, "",
            "OPTIONS PUT* PROPFIND* MOVE* PROPFIND* PROPFIND DELETE*");
        row("new: no space", {{"PUT", {507}}}, Skein_Result_NoSpace, "", "OPTIONS PUT* DELETE*");
        row("new: signed out", {{"PUT", {unauthorized}}, {"PROPFIND", {unauthorized}}}, Skein_Result_NotSignedIn, "",
            "OPTIONS PUT* PROPFIND");
        row("new: forbidden by 401", {{"PUT", {unauthorized}}}, Skein_Result_Forbidden, "",
            "OPTIONS PUT* PROPFIND DELETE*");
        row("new: no MOVE", {{"OPTIONS", {noMove}}}, 1, "cup.obj=new content", "OPTIONS PROPFIND PUT PROPFIND");
        row("new: OPTIONS refused", {{"OPTIONS", {403}}}, 1, "cup.obj=new content", "OPTIONS PROPFIND PUT PROPFIND");
        row("new: OPTIONS fails", {{"OPTIONS", {500}}}, Skein_Result_ServerError, "", "OPTIONS");
        row("new: PUT silent", {{"PUT", {{hangs, Effect::Half}}}}, Skein_Result_TimedOut, "",
            "OPTIONS PUT* PROPFIND* DELETE*");
        row("new: answer to PUT lost", {{"PUT", {{504, Effect::All}}}}, 1, "cup.obj=new content",
            "OPTIONS PUT* PROPFIND* MOVE*");
        row("new: PUT truncated", {{"PUT", {{201, Effect::Half}}}}, Skein_Result_BadReply, "",
            "OPTIONS PUT* PROPFIND* DELETE*");
        row("new: locked for a moment", {{"PUT", {507}}, {"DELETE", {423, 204}}}, Skein_Result_NoSpace, "",
            "OPTIONS PUT* DELETE* DELETE*");
        row("new: answer to PUT in place lost", {{"OPTIONS", {noMove}}, {"PUT", {{504, Effect::All}}}}, 1,
            "cup.obj=new content", "OPTIONS PROPFIND PUT PROPFIND");
        row("new: PUT in place truncated", {{"OPTIONS", {noMove}}, {"PUT", {{201, Effect::Half}}}},
            Skein_Result_BadReply, "cup.obj=new c", "OPTIONS PROPFIND PUT PROPFIND");
        row("replace", {}, 1, "cup.obj=new content", "PROPFIND OPTIONS PUT* PROPFIND* MOVE*");
        row("replace: PUT truncated", {{"PUT", {{201, Effect::Half}}}}, Skein_Result_BadReply, "cup.obj=old",
            "PROPFIND OPTIONS PUT* PROPFIND* DELETE*");
        row("replace: no MOVE after all", {{"MOVE", {405}}}, 1, "cup.obj=new content",
            "PROPFIND OPTIONS PUT* PROPFIND* MOVE* PROPFIND* PROPFIND MOVE* PROPFIND* PROPFIND PUT PROPFIND DELETE*");
        row("replace: no path MOVE", {{"MOVE", {502, {201, Effect::All}}}}, 1, "cup.obj=new content",
            "PROPFIND OPTIONS PUT* PROPFIND* MOVE* PROPFIND* PROPFIND MOVE*");
        row("replace: refused, target deleted", {{"MOVE", {{502, Effect::Half}, {201, Effect::All}}}}, 1,
            "cup.obj=new content", "PROPFIND OPTIONS PUT* PROPFIND* MOVE* PROPFIND* PROPFIND MOVE*");
        row("replace: locked", {{"MOVE", {423}}}, Skein_Result_Forbidden, "cup.obj=old",
            "PROPFIND OPTIONS PUT* PROPFIND* MOVE* PROPFIND* PROPFIND DELETE*");
        row("replace: knows no condition", {{"MOVE", {412, {204, Effect::All}}}}, 1, "cup.obj=new content",
            "PROPFIND OPTIONS PUT* PROPFIND* MOVE* PROPFIND* PROPFIND MOVE*");
        const QByteArray unknownEnd = "PROPFIND OPTIONS PUT* PROPFIND* MOVE* PROPFIND* PROPFIND";
        row("replace: answer to MOVE lost", {{"MOVE", {{504, Effect::All}}}}, 1, "cup.obj=new content", unknownEnd);
        row("replace: MOVE silent", {{"MOVE", {{hangs, Effect::All}}}}, 1, "cup.obj=new content", unknownEnd);
        row("replace: MOVE broken", {{"MOVE", {{Reply(201).cutAfter(3), Effect::All}}}}, 1, "cup.obj=new content",
            "PROPFIND OPTIONS PUT* PROPFIND* MOVE* MOVE* MOVE* PROPFIND* PROPFIND");
        row("replace: target deleted, then 504", {{"MOVE", {{504, Effect::Half}}}}, Skein_Result_ServerError,
            "*=new content", unknownEnd);
        row("replace: 504 for nothing", {{"MOVE", {504}}}, Skein_Result_ServerError, "cup.obj=old *=new content",
            unknownEnd);
        row("replace: partly moved", {{"MOVE", {{207, Effect::None}}}}, Skein_Result_BadReply,
            "cup.obj=old *=new content", unknownEnd);
    }
    void uploadEndsAsTheServerAnswers()
    {
        QFETCH(Script, script);
        QFETCH(int, expected);
        const bool replaces = QByteArray(QTest::currentDataTag()).startsWith("replace");
        m_server->script = script;
        if (replaces)
            m_server->store("cup.obj", "old");
        traced.clear();
        QCOMPARE(replaces ? m_cloud->replace("", "cup.obj", "new content")
                          : m_cloud->upload("", "cup.obj", "new content"),
                 expected);
        QCOMPARE(m_cloud->results, QVector<int>{expected});
        QTEST(m_server->stored(), "stored");
        QTEST(m_server->story(), "story");
        QCOMPARE(traced.filter(" failed: ").size(), expected < 0 ? 1 : 0);
        QCOMPARE(Skein_Auth_isUserLoggedIn(m_cloud->session), int(expected != Skein_Result_NotSignedIn));
    }

    void refusedSignInRemovesItsOwnSessionFileOnly_data()
    {
        QTest::addColumn<bool>("isShared"); // with a program that has signed in anew
        QTest::newRow("own file") << false;
        QTest::newRow("shared file") << true;
    }
    void refusedSignInRemovesItsOwnSessionFileOnly()
    {
        QFETCH(bool, isShared);
        const QByteArray kept = m_cloud->local("session.skein");
        const int64_t other = Skein_Auth_openSession("", "", kept, m_cloud->storage + '/');
        if (isShared)
            QCOMPARE(Skein_Auth_login(other, "demo", "new password"), 1);
        m_server->script["PROPFIND"] = {unauthorized};
        QCOMPARE(m_cloud->list(""), int{Skein_Result_NotSignedIn});
        QCOMPARE(Skein_Auth_isUserLoggedIn(m_cloud->session), 0);
        QCOMPARE(QFile::exists(kept), isShared);
        Skein_Auth_closeSession(other);
    }

    void unknownStateOfTheRootKeepsTheSignIn()
    {
        m_server->script["PROPFIND"] = {unauthorized, 503};
        QCOMPARE(m_cloud->list("folder"), int{Skein_Result_ServerError});
        QCOMPARE(Skein_Auth_isUserLoggedIn(m_cloud->session), 1);
        QVERIFY(QFile::exists(m_cloud->local("session.skein")));
    }

    void certificateOfAnotherNameIsRefused()
    {
        const std::unique_ptr<DavServer> server = DavServer::start("proxied");
        Cloud cloud(QString(server->storage).replace("127.0.0.1", "localhost"));
        QCOMPARE(cloud.signIn(), int{Skein_Result_Network});
        QVERIFY2(traced.last().endsWith("[host-name: 127.0.0.1]"), qPrintable(traced.last()));
    }

    void changedTargetIsKept()
    {
        m_server->store("cup.obj", "old");
        for (const int refusal : {412, 403}) {
            m_server->script["MOVE"] = {refusal};
            QTimer watcher;
            connect(&watcher, &QTimer::timeout, this, [this] {
                if (m_server->story().endsWith("PUT*"))
                    m_server->store("cup.obj", "theirs");
            });
            watcher.start(1);
            m_server->script["PUT"] = {{Reply(201).delayed(50), Effect::All}};
            QCOMPARE(m_cloud->replace("", "cup.obj", "new content"), int{Skein_Result_Conflict});
            QCOMPARE(m_server->stored(), QString("cup.obj=theirs"));
        }
    }

    void groupwareServerIsReplacedInPlace_data()
    {
        QTest::addColumn<QByteArray>("setting");
        QTest::addColumn<QByteArray>("dav");
        QTest::addColumn<bool>("inPlace");
        QTest::newRow("plain server") << QByteArray() << QByteArray("1, 2") << false;
        QTest::newRow("token") << QByteArray() << QByteArray("1, 3, nextcloud-checksum-update") << true;
        QTest::newRow("another token") << QByteArray("replace=auto\n") << QByteArray("1,OC-Etag-Propagation") << true;
        QTest::newRow("move wanted") << QByteArray("replace=move\n") << QByteArray("1, nc-calendar") << false;
        QTest::newRow("put wanted") << QByteArray("replace=put\n") << QByteArray("1, 2") << true;
    }
    void groupwareServerIsReplacedInPlace()
    {
        QFETCH(QByteArray, setting);
        QFETCH(bool, inPlace);
        QFETCH(QByteArray, dav);
        Cloud cloud(m_server->storage(), "kind=password\n" + setting);
        QCOMPARE(cloud.signIn(), 1);
        m_server->dav = dav;
        m_server->store("cup.obj", "old");
        QCOMPARE(cloud.replace("", "cup.obj", "new content"), 1);
        QCOMPARE(m_server->stored(), QString("cup.obj=new content"));
        const QString story = inPlace ? "OPTIONS PUT PROPFIND" : "OPTIONS PUT* PROPFIND* MOVE*";
        QVERIFY2(m_server->story().endsWith(story), qPrintable(m_server->story()));
        for (const Request &request : m_server->requests()) {
            if (inPlace && request.method == "PUT")
                QCOMPARE(request.header("If-Match"), QByteArray("\"1\""));
        }
        m_server->script["PUT"] = {412};
        if (inPlace)
            QCOMPARE(cloud.replace("", "cup.obj", "3"), int{Skein_Result_Conflict});
    }

    void changesNameTheStateTheyReplace()
    {
        const auto sent = [this](const char *header) { return m_server->requests().last().header(header); };
        const QByteArray target = "http://" + m_server->authority() + "/dav/cup.obj";
        QCOMPARE(m_cloud->upload("", "cup.obj", "1"), 1);
        QCOMPARE(sent("Overwrite") + ' ' + sent("Destination"), "F " + target);
        const QHash<QByteArray, QByteArray> states = {
            {"\"a\"", "<" + target + "> ([\"a\"])"}, {"W/\"a\"", ""}, {"\"a&#10;b\"", ""}, {"a", ""}, {"", ""}};
        for (auto state = states.begin(); state != states.end(); ++state) {
            m_server->tags["/dav/cup.obj"] = state.key();
            QCOMPARE(m_cloud->replace("", "cup.obj", "1"), 1);
            QCOMPARE(sent("Overwrite") + ' ' + sent("If"), "T " + state.value());
        }

        m_server->tags["/dav/cup.obj"] = "\"a\"";
        m_server->script["MOVE"] = {501};
        for (const char *story :
             {"PUT* PROPFIND* MOVE* PROPFIND* PROPFIND MOVE* PROPFIND* PROPFIND PUT PROPFIND DELETE*",
              "PROPFIND* PROPFIND PUT PROPFIND DELETE* PROPFIND PUT PROPFIND"}) {
            QCOMPARE(m_cloud->replace("", "cup.obj", "1"), 1);
            QVERIFY2(m_server->story().endsWith(story), qPrintable(m_server->story())); // MOVE is tried once only
        }
        m_server->script["PROPFIND"] = {entry("/dav/", "<resourcetype/>")};
        QCOMPARE(m_cloud->signIn(), int{Skein_Result_BadReply}); // what answers is a file
    }

    void redirectToTheSlashFormIsFollowedOnce()
    {
        // As a server behind a proxy with TLS writes it: with a scheme and a port of its own.
        m_server->answer("/dav/cup.obj", Reply(301).location("https://127.0.0.1:1/dav/cup.obj/"));
        m_server->script["OPTIONS"] = {200};
        m_server->script["PROPFIND"] = {404, entry("/dav/cup.obj/", "<resourcetype/>")};
        QCOMPARE(m_cloud->upload("", "cup.obj", "content"), 1);
        QCOMPARE(m_server->story(), QString("OPTIONS PROPFIND PROPFIND PUT PUT PROPFIND PROPFIND"));
        const QVector<Request> &requests = m_server->requests();
        const Request &put = requests[requests.size() - 3];
        QCOMPARE(put.target + ' ' + put.body, QByteArray("/dav/cup.obj/ content"));
        QCOMPARE(put.header("Authorization"), "Basic " + QByteArray("demo:demo").toBase64());
        QCOMPARE(m_cloud->download("", "cup.obj"), int{Skein_Result_Redirected});
    }

    void downloadReplacesOnlyWhenWhole_data()
    {
        QTest::addColumn<Reply>("reply");
        QTest::addColumn<int>("expected");
        const Reply good = Reply(200).body(QByteArray(3000000, 'n'));
        const Reply unsized = Reply(good).withoutLength();
        QTest::newRow("cut") << Reply(good).cutAfter(1000000) << int{Skein_Result_Network};
        QTest::newRow("silent") << Reply(good).hangAfter(1000000) << int{Skein_Result_TimedOut};
        QTest::newRow("a part") << Reply(206).body("part") << int{Skein_Result_BadReply};
        QTest::newRow("whole") << good << 1;
        QTest::newRow("without length") << unsized << 1;
        QTest::newRow("without length, cut") << Reply(unsized).cutAfter(1000000) << int{Skein_Result_Network};
    }
    void downloadReplacesOnlyWhenWhole()
    {
        QFETCH(Reply, reply);
        QFETCH(int, expected);
        QVERIFY(QFile::link(m_cloud->write("other", "old"), m_cloud->local("got")));
        const QStringList before = QDir(m_cloud->local("")).entryList(QDir::Files | QDir::Hidden);
        m_server->store("cup.obj", QByteArray(3000000, 'n'));
        m_server->script["GET"] = {reply};
        QCOMPARE(m_cloud->download("", "cup.obj"), expected);
        QVERIFY(m_cloud->got() == (expected == 1 ? QByteArray(3000000, 'n') : QByteArray("old")));
        QCOMPARE(readFile(m_cloud->local("other")), QByteArray("old")); // the link is replaced
        QCOMPARE(QDir(m_cloud->local("")).entryList(QDir::Files | QDir::Hidden), before);
    }

    void closingEndsWhatRuns()
    {
        Cloud first(m_server->storage());
        Cloud second(m_server->storage());
        QCOMPARE(first.signIn() + second.signIn(), 2);
        m_server->script["PROPFIND"] = {Reply(folder).hangAfter(10)};
        QTimer::singleShot(20, this, [&] { Skein_Storage_destroyEndPoint(first.endPoint); });
        QCOMPARE(first.list(""), int{Skein_Result_Closed});
        QCOMPARE(first.list(""), int{Skein_Result_UnknownHandle});

        // A call on the same end point from inside another one, which goes on afterwards.
        m_server->script["PROPFIND"] = {Reply(folder).delayed(80), folder};
        int inner = -1;
        QTimer::singleShot(20, this, [&] { inner = second.list(""); });
        QCOMPARE(second.list(""), 0);
        QCOMPARE(inner, 0);
        m_server->script["PROPFIND"] = {Reply(folder).hangAfter(10)};
        QTimer::singleShot(20, this, [&] { Skein_Auth_closeSession(second.session); });
        QCOMPARE(second.list(""), int{Skein_Result_Closed});
        QTimer::singleShot(20, this, [&] { Skein_Auth_closeSession(first.session); });
        QCOMPARE(Skein_Auth_login(first.session, "demo", "demo"), int{Skein_Result_Closed});
    }

    void closedUploadTakesItsFileAwayUnlessItIsRenamed_data()
    {
        QTest::addColumn<QByteArray>("method"); // during which the end point is closed
        QTest::addColumn<QString>("story");
        QTest::newRow("PUT") << QByteArray("PUT") << "OPTIONS PUT* DELETE*";
        QTest::newRow("MOVE") << QByteArray("MOVE") << "OPTIONS PUT* PROPFIND* MOVE*";
    }
    void closedUploadTakesItsFileAwayUnlessItIsRenamed()
    {
        QFETCH(QByteArray, method);
        m_server->script[method] = {Reply(201).hangAfter(0)};
        QTimer watcher;
        connect(&watcher, &QTimer::timeout, this, [&] {
            if (m_server->story().endsWith(method + '*'))
                Skein_Storage_destroyEndPoint(m_cloud->endPoint);
        });
        watcher.start(5);
        QCOMPARE(m_cloud->upload("", "cup.obj", "content"), int{Skein_Result_Closed});
        QTEST(m_server->story(), "story");
    }

    void severalFilesCountTogether()
    {
        const QByteArray path = m_cloud->write("local", "content");
        const char *const paths[] = {path.constData(), path.constData()};
        const char *const names[] = {"one", "two"};
        const auto note = [](void *told, int64_t done, int64_t total) {
            *static_cast<QPair<int64_t, int64_t> *>(told) = {done, total};
        };
        for (const int stored : {2, 1}) {
            QPair<int64_t, int64_t> told;
            m_server->files.clear();
            if (stored == 1)
                m_server->store("two", "taken");
            QCOMPARE(Skein_Storage_uploadFiles(m_cloud->endPoint, "", paths, names, 2, note, nullptr, &told), stored);
            QVERIFY(told.first == 14 && told.second == 14);
        }
    }

    void signInPageEndsOnOneAddress()
    {
        const QByteArray page = "https://cloud.example/in/signin";
        Cloud cloud("https://cloud.example/dav/", "signIn=" + page + '\n');
        char buffer[9] = "12345678";
        for (char *const to : {static_cast<char *>(nullptr), buffer})
            QCOMPARE(Skein_Auth_createLoginRequest(cloud.session, to, 6), long{page.size() + 1});
        QCOMPARE(QByteArray(buffer, 8), QByteArray("https\00078", 8));

        const QByteArray rest = "/done?user=a%26b&token=T%2B%3D+&first=R%C3%B3&last=O%27N";
        for (const QByteArray &other :
             {QByteArray(), page, page + "/done/x?user=u&token=t", "http" + page.mid(5) + rest,
              "https://cloud.example:444/in/signin" + rest, QByteArray("https://x/in/signin") + rest})
            QCOMPARE(Skein_Auth_completeLogin(cloud.session, other), 0);
        for (const char *bad : {"/done", "/done?user=u", "/done?token=t", "/done?user=a%3Ab&token=t", "/done?error=no"})
            QCOMPARE(Skein_Auth_completeLogin(cloud.session, page + bad), int{Skein_Result_NotSignedIn});
        QCOMPARE(Skein_Auth_isUserLoggedIn(cloud.session), 0);
        QCOMPARE(Skein_Auth_completeLogin(cloud.session, page + rest), 1);
        QCOMPARE(QString(Skein_Auth_getUserFirstName(cloud.session)), QString("Ró"));

        const QByteArray kept = cloud.local("session.skein");
        const int64_t again = Skein_Auth_openSession(nullptr, nullptr, kept, page);
        const int64_t elsewhere = Skein_Auth_openSession("", "", kept, "https://other.example/in/signin");
        QCOMPARE(QString(Skein_Auth_getUserLastName(again)), QString("O'N"));
        QCOMPARE(Skein_Auth_isUserLoggedIn(elsewhere), 0);
        for (int round = 0; round < 2; ++round) {
            QCOMPARE(Skein_Auth_isUserLoggedIn(again), 1 - round);
            QCOMPARE(Skein_Auth_logout(again), 1);
            QVERIFY(!QFile::exists(kept));
        }
        QVERIFY(QDir().mkpath(kept + "/x")); // what cannot be removed
        QCOMPARE(Skein_Auth_logout(cloud.session), int{Skein_Result_LocalFile});
        QCOMPARE(Skein_Auth_isUserLoggedIn(cloud.session), 1);
    }

    void badArgumentsAskNoServer()
    {
        const int64_t session = m_cloud->session;
        const int64_t at = m_cloud->endPoint;
        QVERIFY(session > int64_t{1} << 32 && at > int64_t{1} << 32);
        for (const int64_t handle : {int64_t{-1}, int64_t{0}, session & 0xffffffff, at & 0xffffffff}) {
            QCOMPARE(Skein_Auth_isUserLoggedIn(handle), int{Skein_Result_UnknownHandle});
            QCOMPARE(Skein_Auth_getUserLastName(handle), "");
            QVERIFY(Skein_Storage_createEndPoint(handle, "https://x/", 0, "my", 0, 0) < 0);
            QVERIFY(Skein_Storage_updateFile(handle, "", "x", 2, "x", nullptr, nullptr) < 0);
            Skein_Storage_destroyEndPoint(handle);
            Skein_Auth_closeSession(handle);
        }
        const char *const texts[] = {nullptr};
        QVERIFY(Skein_Auth_login(session, nullptr, nullptr) < 0);
        QCOMPARE(Skein_Auth_completeLogin(session, nullptr), 0);
        QVERIFY(Skein_Storage_downloadFile(at, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr) < 0);
        QVERIFY(Skein_Storage_uploadFiles(at, nullptr, nullptr, nullptr, 1, nullptr, nullptr) < 0);
        QVERIFY(Skein_Storage_uploadFiles(at, nullptr, texts, texts, 1, nullptr, nullptr) < 0);
        QVERIFY(Skein_Storage_updateFile(at, "", "x", 1, "/etc/passwd", nullptr, nullptr) < 0);
        QVERIFY(Skein_Storage_updateFile(at, "y", "x", 2, "/etc/passwd", nullptr, nullptr) < 0);
        QVERIFY(Skein_Storage_updateFile(at, "", "x", 2, "/no/file", nullptr, nullptr) < 0);
        const QByteArray to = m_cloud->local("");
        for (const char *bad : {"..", ".", "", "a/b", "../x", "/etc/x"}) {
            QVERIFY(Skein_Storage_downloadFile(at, "", "cup.obj", to, bad, nullptr, nullptr) < 0);
            QVERIFY(Skein_Storage_downloadFile(at, "", bad, to, "x", nullptr, nullptr) < 0);
        }
        QVERIFY(QDir().mkpath(m_cloud->local("got/x")));
        QCOMPARE(m_cloud->download("", "cup.obj"), int{Skein_Result_LocalFile});
        QCOMPARE(m_cloud->list("a/../b"), int{Skein_Result_BadArgument});
        QCOMPARE(m_server->story(), QString());

        for (const char *server : {"http://elsewhere.example/", static_cast<const char *>(nullptr)})
            QVERIFY(Skein_Auth_openSession("", "", "", server) < 0);
        for (const char *storage : {"https://elsewhere.example/dav/", "http://elsewhere.example/", "", "file:///etc/"})
            QVERIFY(Skein_Storage_createEndPoint(session, storage, 0, "my", 0, 0) < 0);
        QVERIFY(Skein_Storage_createEndPoint(session, m_cloud->storage, 0, nullptr, 0, 0) < 0);
        QCOMPARE(Skein_Auth_getServerAddress(static_cast<Skein_Service_Deployment>(3)), "");
        QCOMPARE(Skein_Storage_getServerAddress(Skein_Service_Deployment_Staging), "https://cloud.zephal.example/dav/");
        QCOMPARE(Skein_Storage_listContents(at, nullptr, nullptr, nullptr), 0);
    }

    void cleanupTestCase()
    {
        QVERIFY(traced.size() > 50);
        for (const char *secret : {"demo", "ZGVtb", "T%2B", "T+=", "content"})
            QVERIFY2(!traced.join('\n').contains(secret), secret);
    }

private:
    std::unique_ptr<ScriptedCloud> m_server;
    std::unique_ptr<Cloud> m_cloud; ///< signed in to it
};

QTEST_GUILESS_MAIN(TestPelagoFailures)
#include "tst_pelagofailures.moc"
