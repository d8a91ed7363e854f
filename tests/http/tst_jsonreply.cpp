#include "http/JsonReply.h"
#include "support/RecordingHost.h"

#include <QtTest>

#include <climits>

/// The values of a reply. No script in it runs.
class TestJsonReply : public QObject
{
    Q_OBJECT
private slots:
    void onlyStrictJsonIsAccepted()
    {
        const std::pair<QByteArray, bool> bodies[] = {
            {"\xef\xbb\xbf{\"a\":1}", true},
            {QByteArray("{\"a\":1}\0);while(1){}//", 21), true},
            {QByteArray(1024, '[') + QByteArray(1024, ']'), true},
            {QByteArray(1025, '[') + QByteArray(1025, ']'), false},
            {"", false},
            {"5", false},
            {"{\"a\":(function(){while(1){}}())}", false},
            {"{}),(function(){while(1){}}()", false},
            {"{\"a\":\"caf\xe9\"}", false},
        };
        for (const auto &[body, accepted] : bodies) {
            const JsonReply reply(body);
            QVERIFY2(reply.isValid() == accepted, body.left(50));
            QVERIFY2(reply.value().isObject() == accepted, body.left(50));
            QVERIFY2(!reply.value().isError(), body.left(50));
        }
    }

    void valuesAreLimited_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("accepted");
        const auto objects = [](int count) { return '[' + QByteArray("{\"a\":0},").repeated(count - 1) + "{}]"; };
        QTest::newRow("the most") << objects(249999) << true;
        QTest::newRow("too many objects") << objects(250001) << false;
        QTest::newRow("16 MiB of numbers") << '[' + QByteArray("0,").repeated(8388600) + "0]" << false;
    }

    void valuesAreLimited()
    {
        QFETCH(QByteArray, body);
        QFETCH(bool, accepted);
        RecordingHost host;
        QCOMPARE(JsonReply(body).isValid(), accepted);
        const QString message = "The server's reply has more than 500,000 values and was not read.";
        QCOMPARE(host.errors(), accepted ? QStringList() : QStringList(message));
    }

    void textsAreUnchanged()
    {
        const QByteArray text = "\xc3\x9f\xf0\x9f\x8d\xb5 \xe2\x80\xa8 \xe2\x80\xa9 ');while(1){}('";
        const JsonReply reply("{\"path\":\"" + text + "a\\\"b\\\\c\\/\\n\\u00e9\"}");
        const QString expected = QString::fromUtf8(text + "a\"b\\c/\n\xc3\xa9");
        KString narrow;
        std::wstring wide;
        QVERIFY(JsonReply::text(reply.value(), "path", narrow));
        QVERIFY(JsonReply::text(reply.value(), "path", wide));
        QCOMPARE(QString::fromUtf8(narrow.utf8()), expected);
        QCOMPARE(QString::fromStdWString(wide), expected);
    }

    void readersAcceptOwnPropertiesOfTheirTypeOnly()
    {
        const JsonReply reply("{\"integer\":5,\"cut\":-2.9,\"large\":4294967297,\"small\":-1e300,\"text\":\"5\","
                              "\"boolean\":true,\"null\":null,\"list\":[1],\"object\":{},"
                              "\"__proto__\":{\"rev\":\"evil\",\"is_dir\":true,\"bytes\":1}}");
        const QMap<QByteArray, int> integers = {{"integer", 5}, {"cut", -2}, {"large", INT_MAX}, {"small", INT_MIN}};
        for (const QByteArray name : {"integer", "cut", "large", "small", "text", "boolean", "null", "list", "object",
                                      "missing", "toString", "rev", "is_dir", "bytes"}) {
            KString text;
            int number = -1;
            bool flag = false;
            QCOMPARE(JsonReply::text(reply.value(), name, text), name == "text");
            QCOMPARE(JsonReply::integer(reply.value(), name, number), integers.contains(name));
            QCOMPARE(JsonReply::boolean(reply.value(), name, flag), name == "boolean");
            QCOMPARE(number, integers.value(name, -1));
            QCOMPARE(flag, name == "boolean");
        }
    }

    void elementsAreObjectsOnly()
    {
        const JsonReply reply(
            "[{\"rev\":\"1\"},null,7,\"length\",[1],{\"rev\":\"2\",\"length\":9},{\"__proto__\":null}]");
        const std::vector<QScriptValue> elements = JsonReply::elements(reply.value());
        QCOMPARE(elements.size(), std::size_t(4));
        QVERIFY(elements[1].isArray());
        QCOMPARE(elements[2].property("rev").toString(), QString("2"));
        const JsonReply object("{\"0\":{},\"length\":4294967295}");
        QVERIFY(JsonReply::elements(object.value()).empty());
    }
};

QTEST_GUILESS_MAIN(TestJsonReply)
#include "tst_jsonreply.moc"
