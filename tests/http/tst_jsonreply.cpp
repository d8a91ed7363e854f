#include "http/JsonReply.h"

#include <QtTest>

#include <climits>

/// What one reply comes to, and that nothing in it runs or outlives its reading.
class TestJsonReply : public QObject
{
    Q_OBJECT
private slots:
    void onlyStrictJsonIsAccepted_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("accepted");
        QTest::newRow("object") << QByteArray("{\"a\":1}") << true;
        QTest::newRow("byte order mark") << QByteArray("\xef\xbb\xbf{\"a\":1}") << true;
        QTest::newRow("cut at the zero byte") << QByteArray("{\"a\":1}\0);while(1){}//", 21) << true;
        QTest::newRow("1024 deep") << QByteArray(1024, '[') + QByteArray(1024, ']') << true;
        QTest::newRow("deeper") << QByteArray(1025, '[') + QByteArray(1025, ']') << false;
        QTest::newRow("empty") << QByteArray() << false;
        QTest::newRow("number") << QByteArray("5") << false;
        QTest::newRow("broken off") << QByteArray("{\"a\":[1,2") << false;
        QTest::newRow("program in an object") << QByteArray("{\"a\":(function(){while(1){}}())}") << false;
        QTest::newRow("program behind an object") << QByteArray("{}),(function(){while(1){}}()") << false;
        QTest::newRow("not UTF-8") << QByteArray("{\"a\":\"caf\xe9\"}") << false;
    }
    void onlyStrictJsonIsAccepted()
    {
        QFETCH(QByteArray, body);
        QFETCH(bool, accepted);
        const JsonReply reply(body);
        QCOMPARE(reply.isValid(), accepted);
        QCOMPARE(reply.value().isObject(), accepted);
        QVERIFY(!reply.value().isError());
    }

    void textsArriveUnchanged()
    {
        const JsonReply reply("{\"path\":\"\xc3\x9f\xf0\x9f\x8d\xb5 a\\\"b\\\\c\\/\\n\\u00e9 \xe2\x80\xa8 \xe2\x80\xa9 "
                              "');while(1){}('\",\"last\":true}");
        const QString text = QString::fromUtf8("\xc3\x9f\xf0\x9f\x8d\xb5 a\"b\\c/\n\xc3\xa9 \xe2\x80\xa8 \xe2\x80\xa9 "
                                               "');while(1){}('");
        KString narrow;
        std::wstring wide;
        bool last = false;
        QVERIFY(JsonReply::text(reply.value(), "path", narrow) && JsonReply::text(reply.value(), "path", wide));
        QCOMPARE(QString::fromUtf8(narrow.utf8()), text);
        QCOMPARE(QString::fromStdWString(wide), text);
        QVERIFY(JsonReply::boolean(reply.value(), "last", last) && last);
    }

    void readersRefuseOtherTypes()
    {
        const JsonReply reply("{\"number\":5,\"text\":\"5\",\"yes\":true,\"null\":null,\"list\":[1],\"object\":{}}");
        const QScriptValue value = reply.value();
        KString text;
        for (const char *name : {"number", "yes", "null", "list", "object", "missing", "toString"})
            QVERIFY2(!JsonReply::text(value, name, text), name);
        for (const char *name : {"text", "yes", "null", "list", "object", "missing"}) {
            int number = -1;
            QVERIFY2(!JsonReply::integer(value, name, number) && number == -1, name);
        }
        for (const char *name : {"number", "text", "null", "missing"}) {
            bool flag = true;
            QVERIFY2(!JsonReply::boolean(value, name, flag) && flag, name);
        }
        QVERIFY(!JsonReply::text(value.property("text"), "length", text));
    }

    void integersStayInRange()
    {
        const std::map<QByteArray, int> numbers = {
            {"-2.9", -2}, {"2147483647", INT_MAX}, {"4294967297", INT_MAX}, {"1e300", INT_MAX}, {"-1e300", INT_MIN}};
        for (const auto &[json, number] : numbers) {
            const JsonReply reply("{\"bytes\":" + json + "}");
            int read = 0;
            QVERIFY2(JsonReply::integer(reply.value(), "bytes", read) && read == number, json);
        }
    }

    void elementsSkipWhatIsNoObject()
    {
        const JsonReply reply("[{\"rev\":\"1\"},null,7,\"length\",true,[1],{\"rev\":\"2\",\"length\":9}]");
        const std::vector<QScriptValue> elements = JsonReply::elements(reply.value());
        QCOMPARE(elements.size(), std::size_t(3));
        QCOMPARE(elements.front().property("rev").toString(), QString("1"));
        QCOMPARE(elements.back().property("rev").toString(), QString("2"));
        QVERIFY(elements[1].isArray());

        const JsonReply object("{\"0\":{},\"length\":4294967295}");
        QVERIFY(JsonReply::elements(object.value()).empty());
    }

    void inheritedMembersAreNotRead()
    {
        const JsonReply reply("{\"__proto__\":{\"rev\":\"evil\",\"is_dir\":true,\"bytes\":1},\"path\":\"/a\"}");
        KString text;
        int number = 0;
        bool flag = false;
        QVERIFY(!JsonReply::text(reply.value(), "rev", text));
        QVERIFY(!JsonReply::integer(reply.value(), "bytes", number));
        QVERIFY(!JsonReply::boolean(reply.value(), "is_dir", flag));
        QVERIFY(JsonReply::text(reply.value(), "path", text));

        const JsonReply list("[{\"__proto__\":null},{\"toString\":5,\"valueOf\":5,\"__defineGetter__\":1}]");
        QCOMPARE(JsonReply::elements(list.value()).size(), std::size_t(2));
    }
};

QTEST_GUILESS_MAIN(TestJsonReply)
#include "tst_jsonreply.moc"
