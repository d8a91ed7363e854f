// Uploads to a server that refuses, stores a part, or breaks off.

#include "pelago/ScriptedCloud.h"

#include <QtTest>

class TestPelagoUploads : public ScriptedCloudTest
{
    Q_OBJECT
private slots:
    void uploadEndsAsTheServerReplies_data()
    {
        QTest::addColumn<Script>("script");
        QTest::addColumn<int>("expected");
        QTest::addColumn<QString>("stored"); // afterwards; "cup.obj=old" was there before for "replace"
        QTest::addColumn<QString>("methods");
        const auto row = [](const char *name, const Script &script, int expected, const char *stored,
                            const QByteArray &methods) {
            QTest::newRow(name) << script << expected << stored << QString(methods);
        };
        const Reply noMove = Reply(200).header("Allow", "GET,PUT,DELETE");
        const char *const done = "cup.obj=new content";
        row("new", {}, 1, done, "OPTIONS PUT* PROPFIND* MOVE*");
        row("new: name taken", {{"MOVE", {412}}}, Skein_Result_Conflict, "",
            "OPTIONS PUT* PROPFIND* MOVE* PROPFIND* PROPFIND DELETE*");
        row("new: no space", {{"PUT", {507}}}, Skein_Result_NoSpace, "", "OPTIONS PUT* DELETE*");
        row("new: signed out", {{"PUT", {kUnauthorized}}, {"PROPFIND", {kUnauthorized}}}, Skein_Result_NotSignedIn, "",
            "OPTIONS PUT* PROPFIND");
        row("new: 401 for this folder", {{"PUT", {kUnauthorized}}}, Skein_Result_Forbidden, "",
            "OPTIONS PUT* PROPFIND DELETE*");
        row("new: no MOVE", {{"OPTIONS", {noMove}}}, 1, done, "OPTIONS PROPFIND PUT PROPFIND");
        row("new: OPTIONS refused", {{"OPTIONS", {403}}}, 1, done, "OPTIONS PROPFIND PUT PROPFIND");
        row("new: OPTIONS fails", {{"OPTIONS", {500}}}, Skein_Result_ServerError, "", "OPTIONS");
        row("new: 504 after PUT", {{"PUT", {{504, Effect::All}}}}, 1, done, "OPTIONS PUT* PROPFIND* MOVE*");
        row("new: PUT truncated", {{"PUT", {{201, Effect::Half}}}}, Skein_Result_BadReply, "",
            "OPTIONS PUT* PROPFIND* DELETE*");
        row("new: locked for a moment", {{"PUT", {507}}, {"DELETE", {423, 204}}}, Skein_Result_NoSpace, "",
            "OPTIONS PUT* DELETE* DELETE*");
        row("new: 504 after PUT in place", {{"OPTIONS", {noMove}}, {"PUT", {{504, Effect::All}}}}, 1, done,
            "OPTIONS PROPFIND PUT PROPFIND");
        row("new: PUT in place truncated", {{"OPTIONS", {noMove}}, {"PUT", {{201, Effect::Half}}}},
            Skein_Result_BadReply, "cup.obj=new c", "OPTIONS PROPFIND PUT PROPFIND");
        const QByteArray put = "PROPFIND OPTIONS PUT* PROPFIND* ";
        row("replace", {}, 1, done, put + "MOVE*");
        row("replace: PUT truncated", {{"PUT", {{201, Effect::Half}}}}, Skein_Result_BadReply, "cup.obj=old",
            put + "DELETE*");
        const QByteArray checked = put + "MOVE* PROPFIND* PROPFIND";
        row("replace: MOVE not allowed", {{"MOVE", {405}}}, 1, done,
            checked + " MOVE* PROPFIND* PROPFIND PUT PROPFIND DELETE*");
        row("replace: full address refused", {{"MOVE", {502, {201, Effect::All}}}}, 1, done, checked + " MOVE*");
        row("replace: refused, target deleted", {{"MOVE", {{502, Effect::Half}, {201, Effect::All}}}}, 1, done,
            checked + " MOVE*");
        row("replace: locked", {{"MOVE", {423}}}, Skein_Result_Forbidden, "cup.obj=old", checked + " DELETE*");
        row("replace: no conditions", {{"MOVE", {412, {204, Effect::All}}}}, 1, done, checked + " MOVE*");
        row("replace: 504 after MOVE", {{"MOVE", {{504, Effect::All}}}}, 1, done, checked);
        row("replace: MOVE cut", {{"MOVE", {{Reply(201).cutAfter(3), Effect::All}}}}, 1, done, checked);
        row("replace: target deleted, then 504", {{"MOVE", {{504, Effect::Half}}}}, Skein_Result_ServerError,
            "*=new content", checked);
        row("replace: 504 instead of MOVE", {{"MOVE", {504}}}, Skein_Result_ServerError, "cup.obj=old *=new content",
            checked);
        row("replace: partly moved", {{"MOVE", {{207, Effect::None}}}}, Skein_Result_BadReply,
            "cup.obj=old *=new content", checked);
    }
    void uploadEndsAsTheServerReplies()
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
        // Qt repeats a request up to three times if the connection breaks before the reply.
        QString methods = m_server->methods();
        QTEST(methods.replace(QRegularExpression("(MOVE\\* ){3,}"), "MOVE* "), "methods");
        QCOMPARE(traced.filter(" failed: ").size(), expected < 0 ? 1 : 0);
        QCOMPARE(Skein_Auth_isUserLoggedIn(m_cloud->session), int(expected != Skein_Result_NotSignedIn));
    }

    void silentServerTimesOutAndThePartIsRemoved()
    {
        m_cloud->setIdleTimeout("1000"); // also of the requests before and after the silence, which must succeed
        m_server->script = {{"PUT", {{Reply(201).hangAfter(0), Effect::Half}}}};
        QCOMPARE(m_cloud->upload("", "cup.obj", "new content"), int{Skein_Result_TimedOut});
        QCOMPARE(m_server->methods(), QString("OPTIONS PUT* PROPFIND* DELETE*"));
        QCOMPARE(m_server->stored(), QString());
    }

    void targetChangedByAnotherClientIsKept_data()
    {
        QTest::addColumn<int>("refusal"); // of MOVE
        QTest::newRow("condition failed") << 412;
        QTest::newRow("forbidden") << 403;
    }
    void targetChangedByAnotherClientIsKept()
    {
        QFETCH(int, refusal);
        m_server->store("cup.obj", "old");
        m_server->script["MOVE"] = {refusal};
        m_server->onRequest = [this](const Request &request) {
            if (request.method == "PUT")
                m_server->store("cup.obj", "theirs");
        };
        QCOMPARE(m_cloud->replace("", "cup.obj", "new content"), int{Skein_Result_Conflict});
        QCOMPARE(m_server->stored(), QString("cup.obj=theirs"));
    }

    void groupwareServerIsReplacedInPlace_data()
    {
        QTest::addColumn<QByteArray>("setting");
        QTest::addColumn<QByteArray>("dav");
        QTest::addColumn<bool>("inPlace");
        const auto row = [](const char *name, const QByteArray &setting, const QByteArray &dav, bool inPlace) {
            QTest::newRow(name) << setting << dav << inPlace;
        };
        row("plain server", "", "1, 2", false);
        row("groupware server", "", "1, 3, nextcloud-checksum-update", true);
        row("another groupware server", "replace=auto\n", "1,OC-Etag-Propagation", true);
        row("configured move", "replace=move\n", "1, nc-calendar", false);
        row("configured put", "replace=put\n", "1, 2", true);
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
        QByteArray condition;
        m_server->onRequest = [&](const Request &request) {
            if (request.method == "PUT")
                condition = request.header("If-Match");
        };
        QCOMPARE(cloud.replace("", "cup.obj", "new content"), 1);
        QCOMPARE(m_server->stored(), QString("cup.obj=new content"));
        const QString expected = inPlace ? "OPTIONS PUT PROPFIND" : "OPTIONS PUT* PROPFIND* MOVE*";
        QCOMPARE(m_server->methods().right(expected.size()), expected);
        QCOMPARE(condition, QByteArray(inPlace ? "\"1\"" : ""));
        m_server->script["PUT"] = {412};
        if (inPlace)
            QCOMPARE(cloud.replace("", "cup.obj", "3"), int{Skein_Result_Conflict});
    }

    void newFileIsMovedWithoutOverwriting()
    {
        QCOMPARE(m_cloud->upload("", "cup.obj", "1"), 1);
        const Request move = m_server->requests().last();
        QCOMPARE(move.header("Overwrite"), QByteArray("F"));
        QCOMPARE(move.header("Destination"), "http://" + m_server->authority() + "/dav/cup.obj");
    }

    void replacementIsBoundToAStrongTag_data()
    {
        QTest::addColumn<QByteArray>("tag");
        QTest::addColumn<bool>("isStrong");
        QTest::newRow("strong") << QByteArray("\"a\"") << true;
        QTest::newRow("weak") << QByteArray("W/\"a\"") << false;
        QTest::newRow("line feed") << QByteArray("\"a&#10;b\"") << false;
        QTest::newRow("without quotes") << QByteArray("a") << false;
        QTest::newRow("empty") << QByteArray() << false;
    }
    void replacementIsBoundToAStrongTag()
    {
        QFETCH(QByteArray, tag);
        QFETCH(bool, isStrong);
        m_server->store("cup.obj", "old");
        m_server->tags["/dav/cup.obj"] = tag;
        QCOMPARE(m_cloud->replace("", "cup.obj", "1"), 1);
        const Request move = m_server->requests().last();
        const QByteArray state = "<http://" + m_server->authority() + "/dav/cup.obj> ([\"a\"])";
        QCOMPARE(move.header("Overwrite"), QByteArray("T"));
        QCOMPARE(move.header("If"), isStrong ? state : QByteArray());
    }

    void refusedRenamingIsNotTriedAgain()
    {
        m_server->store("cup.obj", "old");
        m_server->script["MOVE"] = {501};
        for (const char *value : {"1", "2"})
            QCOMPARE(m_cloud->replace("", "cup.obj", value), 1);
        QCOMPARE(m_server->stored(), QString("cup.obj=2"));
        QVERIFY2(m_server->methods().endsWith("PUT PROPFIND DELETE* PROPFIND PUT PROPFIND"),
                 qPrintable(m_server->methods()));
    }

    void redirectToTheSlashFormIsFollowedOnce()
    {
        // As a server behind a proxy with TLS writes it: with its own scheme and port.
        m_server->answer("/dav/cup.obj", Reply(301).location("https://127.0.0.1:1/dav/cup.obj/"));
        m_server->script["OPTIONS"] = {200};
        m_server->script["PROPFIND"] = {404, entry("/dav/cup.obj/", "<resourcetype/>")};
        QCOMPARE(m_cloud->upload("", "cup.obj", "content"), 1);
        QCOMPARE(m_server->methods(), QString("OPTIONS PROPFIND PROPFIND PUT PUT PROPFIND PROPFIND"));
        const Request put = m_server->requests()[m_server->requests().size() - 3];
        QCOMPARE(put.target, QByteArray("/dav/cup.obj/"));
        QCOMPARE(put.body, QByteArray("content"));
        QCOMPARE(put.header("Authorization"), "Basic " + QByteArray("demo:demo").toBase64());
        QCOMPARE(m_cloud->download("", "cup.obj"), int{Skein_Result_Redirected});
    }

    void closedUploadRemovesThePartUnlessItIsBeingRenamed_data()
    {
        QTest::addColumn<QByteArray>("method"); // during which the end point is closed
        QTest::addColumn<QString>("methods");
        QTest::newRow("PUT") << QByteArray("PUT") << "OPTIONS PUT* DELETE*";
        QTest::newRow("MOVE") << QByteArray("MOVE") << "OPTIONS PUT* PROPFIND* MOVE*";
    }
    void closedUploadRemovesThePartUnlessItIsBeingRenamed()
    {
        QFETCH(QByteArray, method);
        m_server->script[method] = {Reply(201).hangAfter(0)};
        m_server->onRequest = [&](const Request &request) {
            if (request.method == method)
                Skein_Storage_destroyEndPoint(m_cloud->endPoint);
        };
        QCOMPARE(m_cloud->upload("", "cup.obj", "content"), int{Skein_Result_Closed});
        QTEST(m_server->methods(), "methods");
    }

    void progressCountsAllFilesOfACall_data()
    {
        QTest::addColumn<QByteArray>("existing");
        QTest::addColumn<int>("stored");
        QTest::newRow("both stored") << QByteArray() << 2;
        QTest::newRow("second name exists") << QByteArray("two") << 1;
    }
    void progressCountsAllFilesOfACall()
    {
        QFETCH(QByteArray, existing);
        if (!existing.isEmpty())
            m_server->store(existing, "old");
        const QByteArray path = m_cloud->write("local", "content");
        const char *const paths[] = {path.constData(), path.constData()};
        const char *const names[] = {"one", "two"};
        using Values = QPair<int64_t, int64_t>;
        Values last;
        const auto record = [](void *to, int64_t done, int64_t total) { *static_cast<Values *>(to) = {done, total}; };
        const int result =
            Skein_Storage_uploadFiles(m_cloud->endPoint, "", paths, names, 2, record, nullptr, &last, nullptr);
        QTEST(result, "stored");
        QCOMPARE(last, Values(14, 14));
    }
};

QTEST_GUILESS_MAIN(TestPelagoUploads)
#include "tst_pelagouploads.moc"
