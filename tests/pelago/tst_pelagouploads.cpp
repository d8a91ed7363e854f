// Uploads to a server that refuses, stores a part, or breaks off.

#include "pelago/ScriptedCloud.h"

class TestPelagoUploads : public ScriptedCloudTest
{
    Q_OBJECT
private slots:
    void uploadEndsAsTheServerReplies_data()
    {
        // The script, the result, the files afterwards ("cup.obj=old" was there before for "replace") and the requests.
        const QString done = "cup.obj=new content";
        const QString put = "PROPFIND OPTIONS PUT* PROPFIND* ";
        const QString moved = put + "MOVE* PROPFIND* PROPFIND";
        addRows({
            {"new", "", "1", done, "OPTIONS PUT* PROPFIND* MOVE*"},
            {"new: name taken", "", "Conflict", "cup.obj=old",
             "OPTIONS PUT* PROPFIND* MOVE* PROPFIND* PROPFIND DELETE*"},
            {"new: signed out", "PUT=401 PROPFIND=401", "NotSignedIn", "", "OPTIONS PUT* PROPFIND"},
            {"new: 401 for this folder", "PUT=401", "Forbidden", "", "OPTIONS PUT* PROPFIND DELETE*"},
            {"new: no MOVE", "OPTIONS=noMove", "1", done, "OPTIONS PROPFIND PUT PROPFIND"},
            {"new: 504 after PUT", "PUT=504+all", "1", done, "OPTIONS PUT* PROPFIND* MOVE*"},
            {"new: no reply to PUT", "PUT=hang+half", "TimedOut", "", "OPTIONS PUT* PROPFIND* DELETE*"},
            {"new: closed during MOVE", "MOVE=hang+close", "Closed", "*=new content", "OPTIONS PUT* PROPFIND* MOVE*"},
            {"replace", "", "1", done, put + "MOVE*"},
            {"replace: PUT truncated", "PUT=201+half", "BadReply", "cup.obj=old", put + "DELETE*"},
            {"replace: MOVE not allowed", "MOVE=405", "1", done,
             moved + " MOVE* PROPFIND* PROPFIND PUT PROPFIND DELETE*"},
            {"replace: no conditions", "MOVE=412,204+all", "1", done, moved + " MOVE*"},
            {"replace: changed, 412", "PUT=201+changed MOVE=412", "Conflict", "cup.obj=theirs", moved + " DELETE*"},
            {"replace: changed, groupware server", "OPTIONS=groupware+changed", "Conflict", "cup.obj=theirs",
             "PROPFIND OPTIONS PUT"},
            {"replace: MOVE cut", "MOVE=cut+all", "1", done, moved},
            {"replace: 504 instead of MOVE", "MOVE=504", "ServerError", "cup.obj=old *=new content", moved},
        });
    }
    void uploadEndsAsTheServerReplies()
    {
        const auto [name, script, expected, stored, methods] = currentRow<5>();
        m_server->play(script);
        if (script.contains("hang+half")) // also for the requests before and after the silence, which must succeed
            m_cloud->configure("idleTimeoutMs=1000");
        if (name.startsWith("replace") || name.endsWith("taken"))
            m_server->store("cup.obj", "old");
        const int result = name.startsWith("replace") ? m_cloud->replace("", "cup.obj", "new content")
                                                      : m_cloud->upload("", "cup.obj", "new content");
        QCOMPARE(nameOf(result), expected);
        QCOMPARE(m_cloud->results, QVector<int>{result});
        QCOMPARE(m_server->stored(), stored);
        // Qt repeats a request up to three times if the connection breaks before the reply.
        QCOMPARE(m_server->methods().replace(QRegularExpression("(MOVE\\* ){3,}"), "MOVE* "), methods);
        QCOMPARE(traced.filter(" failed: ").size(), result < 0 && expected != "Closed" ? 1 : 0);
        QCOMPARE(Skein_Auth_isUserLoggedIn(m_cloud->session), int(expected != "NotSignedIn"));
    }

    void renameIsBoundToAStrongTag_data()
    {
        // The tag of the file on the server, and the condition of the renaming.
        addRows({{"strong", "\"a\"", "<TARGET> ([\"a\"])"}, {"weak", "W/\"a\"", ""}, {"without quotes", "a", ""}});
    }
    void renameIsBoundToAStrongTag()
    {
        auto [name, tag, condition] = currentRow<3>();
        const QByteArray target = "http://" + m_server->authority() + "/dav/cup.obj";
        m_server->store("cup.obj", "old");
        m_server->tags["/dav/cup.obj"] = tag.toUtf8();
        QCOMPARE(m_cloud->replace("", "cup.obj", "1"), 1);
        const Request move = m_server->requests().last();
        QCOMPARE(move.method, QByteArray("MOVE")); // so the server has not refused the condition
        QCOMPARE(QString(move.header("If")), condition.replace("TARGET", target));
        QCOMPARE(move.header("Overwrite"), QByteArray("T"));
        QCOMPARE(move.header("Destination"), target);
    }

    void redirectToTheSlashFormIsFollowedOnce()
    {
        // As a server behind a proxy with TLS writes it: with its own scheme and port.
        m_server->answer("/dav/cup.obj", Reply(301).location("https://127.0.0.1:1/dav/cup.obj/"));
        m_server->play("OPTIONS=200 PROPFIND=404");
        m_server->script["PROPFIND"].append({entry("/dav/cup.obj/", "<resourcetype/>"), ""});
        QCOMPARE(m_cloud->upload("", "cup.obj", "content"), 1);
        QCOMPARE(m_server->methods(), QString("OPTIONS PROPFIND PROPFIND PUT PUT PROPFIND PROPFIND"));
        const Request put = m_server->requests()[m_server->requests().size() - 3];
        QCOMPARE(put.target, QByteArray("/dav/cup.obj/"));
        QCOMPARE(put.body, QByteArray("content"));
        QCOMPARE(nameOf(m_cloud->download("", "cup.obj")), QString("Redirected"));
    }
};

QTEST_GUILESS_MAIN(TestPelagoUploads)
#include "moc_ScriptedCloud.cpp"
#include "tst_pelagouploads.moc"
