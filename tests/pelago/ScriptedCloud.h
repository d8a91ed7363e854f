// pelago/ScriptedCloud.h
//
// A small WebDAV server that does what each case needs, and the tests of a user who is signed in to it.

#pragma once

#include "pelago/Cloud.h"
#include "support/LocalServer.h"

#include <QHash>
#include <QMap>
#include <QStringList>
#include <QtTest>
#include <QVector>

#include <memory>

/// A multistatus of one entry.
inline Reply entry(const QByteArray &href, const QByteArray &properties)
{
    return Reply(207).body("<multistatus xmlns='DAV:'><response><href>" + href + "</href><propstat><prop>" +
                           properties + "</prop><status>HTTP/1.1 200 OK</status></propstat></response></multistatus>");
}

const QByteArray kFolderProperty = "<resourcetype><collection/></resourcetype>";
const Reply folder = entry("/dav/", kFolderProperty);
const Reply unauthorized = Reply(401).header("WWW-Authenticate", "Basic realm=x");

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

/// Starts each test with a scripted server and a user who is signed in to it, and keeps the lines of the trace.
class ScriptedCloudTest : public QObject
{
protected:
    static void keepTrace()
    {
        SkeinTrace_setLevel(2);
        SkeinTrace_setCallback([](void *, int, const char *line) { traced << line; }, nullptr);
    }
    /// The result of signing in. A row whose name contains "silent" has a short time-out.
    int start()
    {
        m_server = std::make_unique<ScriptedCloud>();
        const QByteArray idleMs = QByteArray(QTest::currentDataTag()).contains("silent") ? "400" : "20000";
        m_cloud = std::make_unique<Cloud>(m_server->storage(), "kind=password\nidleTimeoutMs=" + idleMs + '\n');
        return m_cloud->signIn();
    }

    inline static QStringList traced;
    std::unique_ptr<ScriptedCloud> m_server;
    std::unique_ptr<Cloud> m_cloud;
};
