#include <localcloud/DropboxFolder.h>
#include <localcloud/DropboxService.h>
#include <localcloud/RequestParser.h>
#include <localcloud/Rules.h>
#include <QTest>

using namespace localcloud;

class TestRequestParser : public QObject
{
    Q_OBJECT
private slots:
    void readsHeads_data();
    void readsHeads();
    void refusesHeads_data();
    void refusesHeads();
    void decodesChunksInPiecesOfAnySize();
    void refusesBadChunks_data();
    void refusesBadChunks();
    void readsRanges_data();
    void readsRanges();
    void decodesPaths_data();
    void decodesPaths();
    void readsActions_data();
    void readsActions();
};

void TestRequestParser::readsHeads_data()
{
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<QByteArray>("seen"); // authority path?query keepAlive length
    QTest::newRow("origin form") << QByteArray("GET /a%20b?x=1&y HTTP/1.1\r\nHost: H:8\r\n\r\n")
                                 << QByteArray("H:8 /a%20b?x=1&y 1 0");
    QTest::newRow("absolute form wins over Host")
        << QByteArray("GET http://api.dropbox.com/1?q=http://x/ HTTP/1.1\r\nHost: other\r\n\r\n")
        << QByteArray("api.dropbox.com /1?q=http://x/ 1 0");
    QTest::newRow("absolute form without path")
        << QByteArray("GET http://name?q HTTP/1.1\r\nHost: name\r\n\r\n") << QByteArray("name /?q 1 0");
    QTest::newRow("bare line feeds") << QByteArray("GET / HTTP/1.1\nHost: h\nContent-Length: 5\n\n")
                                     << QByteArray("h / 1 5");
    QTest::newRow("version 1.0") << QByteArray("GET / HTTP/1.0\r\n\r\n") << QByteArray(" / 0 0");
    QTest::newRow("version 1.0 kept alive")
        << QByteArray("GET / HTTP/1.0\r\nConnection: foo, Keep-Alive\r\n\r\n") << QByteArray(" / 1 0");
    QTest::newRow("closing proxy client")
        << QByteArray("GET / HTTP/1.1\r\nHOST:h\r\nProxy-Connection: close\r\n\r\n") << QByteArray("h / 0 0");
    QTest::newRow("same length twice")
        << QByteArray("PUT / HTTP/1.1\r\nHost: h\r\nContent-Length: 7\r\nContent-Length: 7\r\n\r\n")
        << QByteArray("h / 1 7");
    QTest::newRow("tunnel") << QByteArray("CONNECT api.dropbox.com:443 HTTP/1.1\r\n\r\n")
                            << QByteArray("api.dropbox.com:443  1 0");
}

void TestRequestParser::readsHeads()
{
    QFETCH(QByteArray, head);
    for (int cut = 0; cut < head.size(); ++cut)
        QCOMPARE(headLength(head.left(cut)), -1);
    QCOMPARE(headLength(head + "\r\n\r\nbody"), head.size());

    const RequestHead parsed = parseHead(head);
    QCOMPARE(parsed.status, 0);
    QTEST(parsed.authority + ' ' + parsed.path + (parsed.query.isNull() ? "" : '?' + parsed.query) + ' ' +
              QByteArray::number(parsed.keepAlive) + ' ' + QByteArray::number(parsed.contentLength),
          "seen");
}

void TestRequestParser::refusesHeads_data()
{
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<int>("status");
    const auto row = [](const char *name, const char *head, int status) {
        QTest::newRow(name) << QByteArray(head) + "\r\n\r\n" << status;
    };
    row("no version", "GET /", 400);
    row("version 2", "GET / HTTP/2.0\r\nHost: h", 505);
    row("no host", "GET / HTTP/1.1", 400);
    row("host with blanks", "GET / HTTP/1.1\r\nHost: a b", 400);
    row("host with a user", "GET / HTTP/1.1\r\nHost: u@h", 400);
    row("port out of range", "GET / HTTP/1.1\r\nHost: h:65536", 400);
    row("relative path", "GET a HTTP/1.1\r\nHost: h", 400);
    row("https through the proxy without a tunnel", "GET https://h/ HTTP/1.1\r\nHost: h", 400);
    row("tunnel to nowhere", "CONNECT / HTTP/1.1\r\nHost: h", 400);
    row("folded line", "GET / HTTP/1.1\r\nHost: h\r\n more", 400);
    row("blank before the colon", "GET / HTTP/1.1\r\nHost : h", 400);
    row("carriage return within a value", "GET / HTTP/1.1\r\nHost: h\r\nX: a\rb", 400);
    row("two lengths", "PUT / HTTP/1.1\r\nHost: h\r\nContent-Length: 1\r\nContent-Length: 2", 400);
    row("negative length", "PUT / HTTP/1.1\r\nHost: h\r\nContent-Length: -1", 400);
    row("length beyond 64 bits", "PUT / HTTP/1.1\r\nHost: h\r\nContent-Length: 99999999999999999999", 400);
    row("length and chunks", "PUT / HTTP/1.1\r\nHost: h\r\nContent-Length: 1\r\nTransfer-Encoding: chunked", 400);
    row("other coding", "PUT / HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: gzip, chunked", 501);
}

void TestRequestParser::refusesHeads()
{
    QFETCH(QByteArray, head);
    QTEST(parseHead(head).status, "status");
}

void TestRequestParser::decodesChunksInPiecesOfAnySize()
{
    const QByteArray encoded = "5;note=x\r\nhello\r\n0A\r\n, \r\nworld!\r\n0\r\nTrailer: t\r\n\r\nGET /next";
    for (int size = 1; size <= encoded.size(); ++size) {
        ChunkedDecoder decoder;
        QByteArray pending;
        QByteArray decoded;
        for (int at = 0; at < encoded.size(); at += size) {
            pending += encoded.mid(at, size);
            QVERIFY(decoder.feed(pending, decoded));
        }
        QVERIFY(decoder.isDone());
        QCOMPARE(decoded, QByteArray("hello, \r\nworld!"));
        QCOMPARE(pending, QByteArray("GET /next"));
    }
}

void TestRequestParser::refusesBadChunks_data()
{
    QTest::addColumn<QByteArray>("encoded");
    QTest::newRow("no number") << QByteArray("xyz\r\n");
    QTest::newRow("negative") << QByteArray("-5\r\n");
    QTest::newRow("prefix") << QByteArray("0x5\r\n");
    QTest::newRow("64 bits and more") << QByteArray("ffffffffffffffff\r\n");
    QTest::newRow("data runs on") << QByteArray("1\r\nab\r\n");
    QTest::newRow("endless size line") << QByteArray(5000, '0');
    QTest::newRow("endless trailer") << "0\r\n" + QByteArray("Name: value\r\n").repeated(1000);
}

void TestRequestParser::refusesBadChunks()
{
    QFETCH(QByteArray, encoded);
    ChunkedDecoder decoder;
    QByteArray decoded;
    QVERIFY(!decoder.feed(encoded, decoded));
}

void TestRequestParser::readsRanges_data()
{
    QTest::addColumn<QByteArray>("range");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("contentRange");
    QTest::addColumn<int>("length");
    QTest::newRow("none") << QByteArray() << 200 << QByteArray() << 100;
    QTest::newRow("first bytes") << QByteArray("bytes=0-9") << 206 << QByteArray("bytes 0-9/100") << 10;
    QTest::newRow("open end") << QByteArray("bytes=90-") << 206 << QByteArray("bytes 90-99/100") << 10;
    QTest::newRow("last bytes") << QByteArray("bytes=-3") << 206 << QByteArray("bytes 97-99/100") << 3;
    QTest::newRow("more than there is") << QByteArray("bytes=-500") << 206 << QByteArray("bytes 0-99/100") << 100;
    QTest::newRow("end beyond") << QByteArray("bytes=99-1000") << 206 << QByteArray("bytes 99-99/100") << 1;
    QTest::newRow("start beyond") << QByteArray("bytes=100-") << 416 << QByteArray("bytes */100") << -1;
    QTest::newRow("no last bytes") << QByteArray("bytes=-0") << 416 << QByteArray("bytes */100") << -1;
    QTest::newRow("backwards") << QByteArray("bytes=9-3") << 200 << QByteArray() << 100;
    QTest::newRow("two ranges") << QByteArray("bytes=0-1,5-6") << 200 << QByteArray() << 100;
    QTest::newRow("no numbers") << QByteArray("bytes=a-b") << 200 << QByteArray() << 100;
    QTest::newRow("other unit") << QByteArray("lines=1-2") << 200 << QByteArray() << 100;
}

void TestRequestParser::readsRanges()
{
    QFETCH(QByteArray, range);
    HttpResponse response;
    setFile(response, "/tmp/x.obj", 100, range);
    QTEST(response.status, "status");
    QTEST(headerValue(response.headers, "Content-Range"), "contentRange");
    if (response.status != 416)
        QTEST(static_cast<int>(response.length()), "length");
}

void TestRequestParser::decodesPaths_data()
{
    QTest::addColumn<QByteArray>("encoded");
    QTest::addColumn<QString>("path"); // null: refused
    QTest::newRow("root") << QByteArray("") << "/";
    QTest::newRow("double slashes") << QByteArray("//a///b/") << "/a/b";
    QTest::newRow("escapes, once") << QByteArray("/a%23%3F%2525%20b") << "/a#?%25 b";
    QTest::newRow("letters") << QByteArray("/Gr%C3%BC%C3%9Fe") << QString::fromUtf8("/Grüße");
    QTest::newRow("plus stays") << QByteArray("/a+b") << "/a+b";
    QTest::newRow("dots within names") << QByteArray("/..a/b../...") << "/..a/b../...";
    QTest::newRow("line feed") << QByteArray("/a%0Ab") << "/a\nb";
    QTest::newRow("up") << QByteArray("/a/../b") << QString();
    QTest::newRow("up, escaped") << QByteArray("/a%2f%2e%2E") << QString();
    QTest::newRow("here") << QByteArray("/./a") << QString();
    QTest::newRow("zero byte") << QByteArray("/a%00b") << QString();
    QTest::newRow("no UTF-8") << QByteArray("/%FF") << QString();
    QTest::newRow("cut UTF-8") << QByteArray("/%C3") << QString();
}

void TestRequestParser::decodesPaths()
{
    QFETCH(QByteArray, encoded);
    QFETCH(QString, path);
    QCOMPARE(DropboxFolder::decodedPath(encoded), path);
    QCOMPARE(DropboxFolder::decodedPath(encoded).isNull(), path.isNull());
}

void TestRequestParser::readsActions_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<bool>("valid");
    QTest::newRow("status") << "h /p status=503" << true;
    QTest::newRow("file with blanks") << " h  /p  body=/a file " << true;
    QTest::newRow("hang") << "* * hang" << true;
    QTest::newRow("no action") << "h /p" << false;
    QTest::newRow("unknown") << "h /p explode" << false;
    QTest::newRow("status without number") << "h /p status=" << false;
    QTest::newRow("status out of range") << "h /p status=99" << false;
    QTest::newRow("negative delay") << "h /p delay=-1" << false;
    QTest::newRow("delay beyond a timer") << "h /p delay=3000000000" << false;
    QTest::newRow("word with a number") << "h /p hang=1" << false;
    QTest::newRow("no address") << "h /p redirect=" << false;
}

void TestRequestParser::readsActions()
{
    QFETCH(QString, line);
    QTEST(Rules().add(line), "valid");
}

QTEST_GUILESS_MAIN(TestRequestParser)
#include "tst_requestparser.moc"
