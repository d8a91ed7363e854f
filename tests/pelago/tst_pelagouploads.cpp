// Uploads to a server that refuses, loses answers, cuts and lies.

#include "pelago/ScriptedCloud.h"

#include <QtTest>

class TestPelagoUploads : public ScriptedCloudTest
{
    Q_OBJECT
private slots:
    void initTestCase() { keepTrace(); }

    void init() { QCOMPARE(start(), 1); }

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
            unknownEnd);
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
        // The toolkit sends a request again, up to three times, when the connection breaks before the answer.
        QString story = m_server->story();
        QTEST(story.replace(QRegularExpression("(MOVE\\* ){3,}"), "MOVE* "), "story");
        QCOMPARE(traced.filter(" failed: ").size(), expected < 0 ? 1 : 0);
        QCOMPARE(Skein_Auth_isUserLoggedIn(m_cloud->session), int(expected != Skein_Result_NotSignedIn));
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

    void cleanupTestCase()
    {
        for (const char *secret : {"demo", "ZGVtb", "content"})
            QVERIFY2(!traced.join('\n').contains(secret), secret);
    }
};

QTEST_GUILESS_MAIN(TestPelagoUploads)
#include "tst_pelagouploads.moc"
