#include "http/JsonReply.h"

#include <QtTest>

#include <limits>

/// What one reply comes to, and that nothing in it runs or outlives its reading.
class TestJsonReply : public QObject
{
    Q_OBJECT
private slots:
    void onlyStrictJsonIsAccepted_data();
    void onlyStrictJsonIsAccepted();
    void unparsableReplyHasNoProperties();
    void textsArriveUnchanged_data();
    void textsArriveUnchanged();
    void readersRefuseOtherTypes();
    void integersStayInRange_data();
    void integersStayInRange();
    void elementsSkipWhatIsNoObject();
    void inheritedMembersAreNotRead();
    void longListIsReadWhole();
};

void TestJsonReply::onlyStrictJsonIsAccepted_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("object") << QByteArray("{\"a\":1}") << true;
    QTest::newRow("array") << QByteArray("[]") << true;
    QTest::newRow("byte order mark") << QByteArray("\xef\xbb\xbf{\"a\":1}") << true;
    QTest::newRow("cut at the zero byte") << QByteArray("{\"a\":1}\0);while(1){}//", 21) << true;
    QTest::newRow("1024 deep") << QByteArray(1024, '[') + QByteArray(1024, ']') << true;
    QTest::newRow("deeper") << QByteArray(1025, '[') + QByteArray(1025, ']') << false;
    QTest::newRow("100000 open") << QByteArray(100000, '[') << false;
    QTest::newRow("empty") << QByteArray() << false;
    QTest::newRow("zero byte first") << QByteArray("\0{}", 3) << false;
    QTest::newRow("number") << QByteArray("5") << false;
    QTest::newRow("text") << QByteArray("\"x\"") << false;
    QTest::newRow("null") << QByteArray("null") << false;
    QTest::newRow("broken off") << QByteArray("{\"a\":[1,2") << false;
    QTest::newRow("not UTF-8") << QByteArray("{\"a\":\"\xff\"}") << false;
    QTest::newRow("raw line feed in a text") << QByteArray("{\"a\":\"x\ny\"}") << false;
    QTest::newRow("endless program") << QByteArray("(function(){while(1){}}())") << false;
    QTest::newRow("program in an object") << QByteArray("{\"a\":(function(){while(1){}}())}") << false;
    QTest::newRow("program behind an object") << QByteArray("{}),(function(){while(1){}}()") << false;
    QTest::newRow("getter") << QByteArray("{get a(){while(1){}}}") << false;
    QTest::newRow("comment") << QByteArray("{/**/\"a\":1}") << false;
    QTest::newRow("page") << QByteArray("<html>Service is down</html>") << false;
}

void TestJsonReply::onlyStrictJsonIsAccepted()
{
    QFETCH(QByteArray, body);
    QFETCH(bool, accepted);
    const JsonReply reply(body);
    QCOMPARE(reply.isValid(), accepted);
    QCOMPARE(reply.value().isObject(), accepted);
    QVERIFY(!reply.value().isError());
}

void TestJsonReply::unparsableReplyHasNoProperties()
{
    const JsonReply reply("{\"access_token\":\"x\"");
    KString token = "before";
    QVERIFY(!reply.value().property("access_token").isValid());
    QVERIFY(!JsonReply::text(reply.value(), "access_token", token));
    QCOMPARE(token.utf8(), "before");
    QVERIFY(JsonReply::elements(reply.value().property("contents")).empty());
}

void TestJsonReply::textsArriveUnchanged_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("text");
    QTest::newRow("UTF-8") << QByteArray("Stra\xc3\x9f"
                                         "e \xf0\x9f\x8d\xb5")
                           << QString::fromUtf8("Stra\xc3\x9f"
                                                "e \xf0\x9f\x8d\xb5");
    QTest::newRow("escapes") << QByteArray("a\\\"b\\\\c\\/d\\n\\u00e9") << QString::fromUtf8("a\"b\\c/d\n\xc3\xa9");
    QTest::newRow("line separators") << QByteArray("a\xe2\x80\xa8"
                                                   "b\xe2\x80\xa9"
                                                   "c")
                                     << QString("a") + QChar(0x2028) + "b" + QChar(0x2029) + "c";
    QTest::newRow("looks like a program") << QByteArray("');while(1){}('") << QString("');while(1){}('");
    QTest::newRow("short escape before the quote") << QByteArray("\\x4") << QString("x4");
}

void TestJsonReply::textsArriveUnchanged()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, text);
    const JsonReply reply("{\"path\":\"" + json + "\",\"last\":true}");
    KString narrow;
    std::wstring wide;
    bool last = false;
    QVERIFY(JsonReply::text(reply.value(), "path", narrow));
    QVERIFY(JsonReply::text(reply.value(), "path", wide));
    QVERIFY(JsonReply::boolean(reply.value(), "last", last));
    QCOMPARE(QString::fromUtf8(narrow.utf8()), text);
    QCOMPARE(QString::fromStdWString(wide), text);
    QVERIFY(last);
}

void TestJsonReply::readersRefuseOtherTypes()
{
    const JsonReply reply("{\"number\":5,\"text\":\"5\",\"yes\":true,\"null\":null,\"list\":[1],\"object\":{}}");
    const QScriptValue value = reply.value();
    for (const char *name : {"number", "yes", "null", "list", "object", "missing", "toString"}) {
        KString text;
        QVERIFY2(!JsonReply::text(value, name, text), name);
    }
    for (const char *name : {"text", "yes", "null", "list", "object", "missing"}) {
        int number = -1;
        QVERIFY2(!JsonReply::integer(value, name, number) && number == -1, name);
    }
    for (const char *name : {"number", "text", "null", "missing"}) {
        bool flag = true;
        QVERIFY2(!JsonReply::boolean(value, name, flag) && flag, name);
    }
    KString text;
    QVERIFY(!JsonReply::text(value.property("text"), "length", text));
}

void TestJsonReply::integersStayInRange_data()
{
    constexpr int lowest = std::numeric_limits<int>::min();
    constexpr int highest = std::numeric_limits<int>::max();
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<int>("number");
    QTest::newRow("plain") << QByteArray("1000000") << 1000000;
    QTest::newRow("fraction") << QByteArray("-2.9") << -2;
    QTest::newRow("last") << QByteArray("2147483647") << highest;
    QTest::newRow("one more") << QByteArray("2147483648") << highest;
    QTest::newRow("unsigned") << QByteArray("4294967297") << highest;
    QTest::newRow("huge") << QByteArray("1e300") << highest;
    QTest::newRow("huge negative") << QByteArray("-1e300") << lowest;
}

void TestJsonReply::integersStayInRange()
{
    QFETCH(QByteArray, json);
    QFETCH(int, number);
    const JsonReply reply("{\"bytes\":" + json + "}");
    int read = 0;
    QVERIFY(JsonReply::integer(reply.value(), "bytes", read));
    QCOMPARE(read, number);

    QScriptEngine engine;
    QScriptValue object = engine.newObject();
    object.setProperty("bytes", qQNaN());
    QVERIFY(!JsonReply::integer(object, "bytes", read));
}

void TestJsonReply::elementsSkipWhatIsNoObject()
{
    const JsonReply reply("[{\"rev\":\"1\"},null,7,\"length\",true,[1],{\"rev\":\"2\",\"length\":9}]");
    const std::vector<QScriptValue> elements = JsonReply::elements(reply.value());
    QCOMPARE(elements.size(), std::size_t(3));
    KString first;
    KString last;
    QVERIFY(JsonReply::text(elements.front(), "rev", first) && JsonReply::text(elements.back(), "rev", last));
    QCOMPARE(first.utf8(), "1");
    QCOMPARE(last.utf8(), "2");
    QVERIFY(elements[1].isArray());

    const JsonReply object("{\"0\":{},\"length\":4294967295}");
    QVERIFY(JsonReply::elements(object.value()).empty());
}

void TestJsonReply::inheritedMembersAreNotRead()
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

void TestJsonReply::longListIsReadWhole()
{
    QByteArray body = "{\"contents\":[";
    for (int entry = 0; entry < 25000; ++entry)
        body += (entry ? ",{\"rev\":\"" : "{\"rev\":\"") + QByteArray::number(entry) + "\"}";
    const JsonReply reply(body + "]}");
    const std::vector<QScriptValue> elements = JsonReply::elements(reply.value().property("contents"));
    QCOMPARE(elements.size(), std::size_t(25000));
    KString last;
    QVERIFY(JsonReply::text(elements.back(), "rev", last));
    QCOMPARE(last.utf8(), "24999");
}

QTEST_GUILESS_MAIN(TestJsonReply)
#include "tst_jsonreply.moc"
