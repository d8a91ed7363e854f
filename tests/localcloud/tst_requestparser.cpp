#include <localcloud/DropboxFolder.h>
#include <localcloud/Replies.h>
#include <localcloud/RequestParser.h>
#include <localcloud/Rules.h>
#include <QTest>

using namespace localcloud;

class TestRequestParser : public QObject
{
    Q_OBJECT
private slots:
    void readsHeads()
    {
        const QMap<QByteArray, QByteArray> heads{
            // head, and then: authority path?query keepAlive length
            {"GET /a%20b?x=1&y HTTP/1.1\r\nHost: H:8\r\n\r\n", "H:8 /a%20b?x=1&y 1 0"},
            {"GET http://name/1?q=http://x/ HTTP/1.1\r\nHost: other\r\n\r\n", "name /1?q=http://x/ 1 0"},
            {"GET http://name?q HTTP/1.1\nHost: name\nContent-Length: 5\n\n", "name /?q 1 5"},
            {"GET / HTTP/1.0\r\n\r\n", " /? 0 0"},
            {"GET / HTTP/1.0\r\nConnection: foo, Keep-Alive\r\n\r\n", " /? 1 0"},
            {"GET / HTTP/1.1\r\nHOST:h\r\nProxy-Connection: close\r\n\r\n", "h /? 0 0"},
            {"CONNECT api.dropbox.com:443 HTTP/1.1\r\n\r\n", "api.dropbox.com:443 ? 1 0"},
        };
        for (const QByteArray &head : heads.keys()) {
            for (int cut = 0; cut < head.size(); ++cut)
                QCOMPARE(headLength(head.left(cut)), -1);
            QCOMPARE(headLength(head + "\r\n\r\nbody"), head.size());
            const RequestHead read = parseHead(head);
            const QByteArray rest = QByteArray::number(read.keepAlive) + ' ' + QByteArray::number(read.contentLength);
            QCOMPARE(read.authority + ' ' + read.path + '?' + read.query + ' ' + rest, heads[head]);
            QCOMPARE(read.status, 0);
        }
    }

    void refusesHeads()
    {
        const QByteArray get = "GET / HTTP/1.1\r\nHost: h";
        const QByteArray put = "PUT / HTTP/1.1\r\nHost: h\r\nContent-Length: ";
        for (const QByteArray &head :
             {QByteArray("GET /"), QByteArray("GET / HTTP/1.1"), QByteArray("GET / HTTP/1.1\r\nHost: u@h"),
              QByteArray("GET a HTTP/1.1\r\nHost: h"), QByteArray("GET https://h/ HTTP/1.1\r\nHost: h"),
              QByteArray("CONNECT / HTTP/1.1\r\nHost: h"), get + ":65536", get + "\r\n more", get + "\r\nA : b",
              get + "\r\nA: b\rc", put + "1\r\nContent-Length: 2", put + "-1", put + "99999999999999999999",
              put + "1\r\nTransfer-Encoding: chunked"})
            QVERIFY2(parseHead(head + "\r\n\r\n").status == 400, head);
        QCOMPARE(parseHead("GET / HTTP/2.0\r\nHost: h\r\n\r\n").status, 505);
        QCOMPARE(parseHead(get + "\r\nTransfer-Encoding: gzip, chunked\r\n\r\n").status, 501);
    }

    void decodesChunksInPiecesOfAnySize()
    {
        const QByteArray encoded = "5;note=x\r\nhello\r\n0A\r\n, \r\nworld!\r\n0\r\nTrailer: t\r\n\r\nGET /next";
        for (int size = 1; size <= encoded.size(); ++size) {
            ChunkedDecoder decoder;
            QByteArray pending, decoded;
            for (int at = 0; at < encoded.size(); at += size) {
                pending += encoded.mid(at, size);
                QVERIFY(decoder.feed(pending, decoded));
            }
            QVERIFY2(decoder.isDone() && decoded == "hello, \r\nworld!" && pending == "GET /next", decoded + pending);
        }
        const QByteArray endless = "0\r\n" + QByteArray("Name: value\r\n").repeated(1000);
        for (QByteArray bad : {"xyz\r\n", "-5\r\n", "0x5\r\n", "ffffffffffffffff\r\n", "1\r\nab\r\n", endless.data()}) {
            QByteArray decoded;
            QVERIFY2(!ChunkedDecoder().feed(bad, decoded), bad);
        }
    }

    void readsRanges()
    {
        const QMap<QByteArray, QByteArray> ranges{
            {"bytes=0-9", "206 bytes 0-9/100"},
            {"bytes=-3", "206 bytes 97-99/100"},
            {"bytes=99-1000", "206 bytes 99-99/100"},
            {"bytes=100-", "416 bytes */100"},
            {"bytes=-0", "416 bytes */100"},
            {"bytes=9-3", "200 "},
            {"bytes=0-1,5-6", "200 "},
        };
        for (const QByteArray &range : ranges.keys()) {
            HttpResponse response;
            setFile(response, "/tmp/x.obj", 100, range);
            const QByteArray contentRange = headerValue(response.headers, "Content-Range");
            QCOMPARE(QByteArray::number(response.status) + ' ' + contentRange, ranges[range]);
        }
    }

    void decodesPaths()
    {
        QCOMPARE(DropboxFolder::decodedPath(""), QString("/"));
        QCOMPARE(DropboxFolder::decodedPath("//..a///b../"), QString("/..a/b.."));
        QCOMPARE(DropboxFolder::decodedPath("/a%23%3F%2525%20+b/%C3%BC"), QString("/a#?%25 +b/ü"));
        for (const char *bad : {"/a/../b", "/a%2f%2e%2E", "/./a", "/a%00b", "/%FF", "/%C3"})
            QVERIFY2(DropboxFolder::decodedPath(bad).isNull(), bad);
    }

    void readsRules()
    {
        for (const char *line : {"h /p status=503", " h  /p  body=/a file ", "* * hang"})
            QVERIFY2(Rules().add(line), line);
        for (const char *action : {"", "explode", "status=", "status=99", "delay=-1", "delay=3000000000", "redirect="})
            QVERIFY2(!Rules().add(QStringLiteral("h /p ") + action), action);
    }
};

QTEST_GUILESS_MAIN(TestRequestParser)
#include "tst_requestparser.moc"
