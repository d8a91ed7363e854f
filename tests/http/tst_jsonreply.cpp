#include "http/JsonReply.h"
#include "support/RecordingHost.h"
#include "support/Table.h"

/// The values of a reply. No script in it runs.
class TestJsonReply : public QObject
{
    Q_OBJECT
private slots:
    void onlyStrictJsonOfLimitedSizeIsAccepted_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("result");
        const QString tooMany("refused: The server's reply has more than 500,000 values and was not read.");
        const auto row = [](const char *name, const QByteArray &body, const QString &result = "refused: ") {
            QTest::newRow(name) << body << result;
        };
        row("byte order mark", "\xef\xbb\xbf{\"a\":1}", "accepted: ");
        row("text after a zero byte", QByteArray("{\"a\":1}\0);while(1){}//", 21), "accepted: ");
        row("1024 levels", QByteArray(1024, '[') + QByteArray(1024, ']'), "accepted: ");
        row("1025 levels", QByteArray(1025, '[') + QByteArray(1025, ']'));
        row("empty", "");
        row("script after the end", "{}),(function(){while(1){}}()");
        row("cut", "{\"contents\":[{\"rev\":\"1\"}");
        row("16 MiB of numbers", '[' + QByteArray("0,").repeated(8388600) + "0]", tooMany);
    }

    void onlyStrictJsonOfLimitedSizeIsAccepted()
    {
        QFETCH(QByteArray, body);
        RecordingHost host;
        const JsonReply reply(body);
        QTEST((reply.isValid() ? "accepted: " : "refused: ") + host.errors().join('|'), "result");
        QCOMPARE(reply.value().isObject(), reply.isValid());
        QVERIFY(!reply.value().isError());
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

    void readersAcceptOwnPropertiesOfTheirTypeOnly_data()
    {
        addRows({{"integer", "integer 5"},
                 {"fraction", "integer -2"},
                 {"large", "integer 2147483647"},
                 {"text", "text 5"},
                 {"boolean", "boolean 1"},
                 {"null", ""},
                 {"object", ""},
                 {"rev", ""}});
    }

    void readersAcceptOwnPropertiesOfTheirTypeOnly()
    {
        const JsonReply reply("{\"integer\":5,\"fraction\":-2.9,\"large\":4294967297,\"text\":\"5\","
                              "\"boolean\":true,\"null\":null,\"object\":{},"
                              "\"__proto__\":{\"rev\":\"evil\",\"is_dir\":true,\"bytes\":1}}");
        const auto [name, expected] = currentRow<2>();
        const QByteArray key = name.toLatin1();
        KString text;
        int number = 0;
        bool flag = false;
        QStringList found;
        if (JsonReply::text(reply.value(), key, text))
            found << "text " + KQtUtil::toQString(text);
        if (JsonReply::integer(reply.value(), key, number))
            found << "integer " + QString::number(number);
        if (JsonReply::boolean(reply.value(), key, flag))
            found << "boolean " + QString::number(flag);
        QCOMPARE(found.join(' '), expected);
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
