// pelago/ScriptedCloud.h
//
// A small WebDAV server whose replies a test can script, and a fixture with a user who is signed in to it.

#pragma once

#include "pelago/Cloud.h"
#include "support/LocalServer.h"
#include "support/Table.h"

/// An element of a multistatus.
inline QByteArray response(const QByteArray &href, const QByteArray &properties)
{
    return "<response><href>" + href + "</href><propstat><prop>" + properties +
           "</prop><status>HTTP/1.1 200 OK</status></propstat></response>";
}

inline Reply multiStatus(const QByteArray &responses)
{
    return Reply(207).body("<multistatus xmlns='DAV:'>" + responses + "</multistatus>");
}

/// A multistatus of one entry.
inline Reply entry(const QByteArray &href, const QByteArray &properties)
{
    return multiStatus(response(href, properties));
}

const QByteArray kFolderProperty = "<resourcetype><collection/></resourcetype>";
const Reply kFolder = entry("/dav/", kFolderProperty);
const Reply kUnauthorized = Reply(401).header("WWW-Authenticate", "Basic realm=x");

/// A reply and what the server does before it: "" performs the request if the status is a success, "all" performs it,
/// "half" stores half of a PUT, "changed" performs it and then another client replaces cup.obj, "close" closes the
/// user's end point.
using Answer = QPair<Reply, QString>;

/// A folder of files at "/dav". Requests without credentials are refused. Names that contain "pelago-" are temporary
/// names of the library.
class ScriptedCloud : public LocalServer
{
public:
    ScriptedCloud()
    {
        answerOthers([this](const Request &request) {
            if (!request.hasHeader("Authorization"))
                return kUnauthorized;
            QVector<Answer> &answers = script[request.method];
            if (answers.isEmpty())
                return serve(request);
            const Answer answer = answers.size() > 1 ? answers.takeFirst() : answers.first();
            perform(request, answer.first.status(), answer.second);
            return answer.first;
        });
    }

    QString storage() const { return "http://" + authority() + "/dav"; }
    /// Sets the answers of methods, the last one of which is repeated. In "PUT=504+all MOVE=502,201" a method has its
    /// answers in order: a status or "noMove", "groupware", "cut" or "hang", and an effect.
    void play(const QString &words)
    {
        const auto options = [](const char *allow, const char *dav) {
            return Reply(200).header("Allow", allow).header("DAV", dav);
        };
        const QHash<QString, Reply> named = {{"401", kUnauthorized},
                                             {"noMove", options("GET,PUT,DELETE", "1")},
                                             {"groupware", options("MOVE", "1, 3, nextcloud-checksum-update")},
                                             {"cut", Reply(201).cutAfter(3)},
                                             {"hang", Reply(201).hangAfter(0)}};
        for (const QString &word : words.split(' ', Qt::SkipEmptyParts)) {
            QVector<Answer> &answers = script[word.section('=', 0, 0).toLatin1()];
            answers.clear();
            for (const QString &text : word.section('=', 1).split(',')) {
                const QString reply = text.section('+', 0, 0);
                answers.append({named.value(reply, Reply(reply.toInt())), text.section('+', 1)});
            }
        }
    }
    void store(const QByteArray &name, const QByteArray &content)
    {
        files["/dav/" + name] = content;
        tags["/dav/" + name] = '"' + QByteArray::number(++m_changes) + '"';
    }
    /// The files as "name=content", with "*" for a temporary name.
    QString stored() const
    {
        QStringList words;
        for (auto file = files.begin(); file != files.end(); ++file)
            words << (file.key().contains("pelago-") ? "*" : file.key().mid(5)) + '=' + file.value();
        return words.join(' ');
    }
    /// The methods of the requests with credentials after the first sign-in, with "*" behind the method if the target
    /// is a temporary name.
    QString methods() const
    {
        QStringList words;
        for (const Request &request : requests()) {
            if (request.hasHeader("Authorization"))
                words << request.method + (request.target.contains("pelago-") ? "*" : "");
        }
        return words.mid(1).join(' ');
    }

    QHash<QByteArray, QVector<Answer>> script; ///< by method
    QMap<QByteArray, QByteArray> files, tags;  ///< by path
    std::function<void()> onClose;             ///< the effect "close"

private:
    static QByteArray destinationOf(const Request &request)
    {
        const QByteArray to = request.header("Destination");
        return to.mid(to.indexOf('/', 8));
    }
    bool refusesCondition(const Request &request, const QByteArray &target)
    {
        const QByteArray state = request.header("If-Match") + request.header("If");
        const bool mustBeFree = request.header("If-None-Match") == "*" || request.header("Overwrite") == "F";
        return (mustBeFree && files.contains(target)) ||
               (!state.isEmpty() && !(files.contains(target) && state.contains(tags[target])));
    }
    void perform(const Request &request, int status, const QString &effect)
    {
        if (effect == "close")
            onClose();
        else if (effect == "half")
            store(request.path().mid(5), request.body.left(request.body.size() / 2));
        else if (effect == "all" || effect == "changed" || (effect.isEmpty() && status >= 200 && status < 300))
            serve(request);
        if (effect == "changed")
            store("cup.obj", "theirs");
    }
    Reply serve(const Request &request)
    {
        const QByteArray path = request.path();
        const QByteArray target = request.method == "MOVE" ? destinationOf(request) : path;
        if (request.method == "OPTIONS")
            return Reply(200).header("Allow", "OPTIONS, PUT, MOVE");
        if (path == "/dav/" || path == "/dav")
            return kFolder;
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
            files.remove(path);
        if (request.method != "DELETE")
            store(target.mid(5), content);
        return Reply(201);
    }

    int m_changes = 0;
};

/// Starts each test with a scripted server and a user who is signed in to it. Checks after each test that its trace
/// contains no secret.
class ScriptedCloudTest : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        traced.clear();
        SkeinTrace_setLevel(2);
        SkeinTrace_setCallback([](void *, int, const char *line) { traced << line; }, nullptr);
        m_server = std::make_unique<ScriptedCloud>();
        m_cloud = std::make_unique<Cloud>(m_server->storage());
        m_server->onClose = [this] { Skein_Storage_destroyEndPoint(m_cloud->endPoint); };
        QCOMPARE(m_cloud->signIn(), 1);
        QVERIFY(!traced.isEmpty());
    }
    void cleanup()
    {
        for (const char *secret : {"demo", "ZGVtb", "T%2B", "T+=", "content"})
            QVERIFY2(!traced.join('\n').contains(secret), secret);
    }

protected:
    inline static QStringList traced; ///< the lines of the test
    std::unique_ptr<ScriptedCloud> m_server;
    std::unique_ptr<Cloud> m_cloud;
};
