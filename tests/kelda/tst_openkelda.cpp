#include <openkelda/host.h>

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <cmath>
#include <limits>
#include <unistd.h>

class TestOpenKelda : public QObject
{
    Q_OBJECT
private slots:
    void textsCountCharacters_data();
    void textsCountCharacters();
    void wideTextsBecomeUtf8_data();
    void wideTextsBecomeUtf8();
    void numbersAppend_data();
    void numbersAppend();
    void textsCompareAndConcatenate();
    void resultsAreReadByTheirKindOnly();
    void argumentsAreReadBySyntax_data();
    void argumentsAreReadBySyntax();
    void withoutHostEverythingFailsPolitely();
};

void TestOpenKelda::textsCountCharacters_data()
{
    QTest::addColumn<QByteArray>("utf8");
    QTest::addColumn<QString>("wide");
    const QChar bad(0xFFFD);
    QTest::newRow("empty") << QByteArray() << QString();
    QTest::newRow("ascii") << QByteArray("cup") << QStringLiteral("cup");
    QTest::newRow("two, three and four bytes")
        << QByteArray("\xC3\xBC\xE2\x82\xAC\xF0\x9F\x8D\xB5") << QStringLiteral("ü€🍵");
    QTest::newRow("stray continuation") << QByteArray("a\x80z") << QString("a") + bad + 'z';
    QTest::newRow("cut at the end") << QByteArray("a\xE2\x82") << QString("a") + bad;
    QTest::newRow("cut in the middle") << QByteArray("\xE2\x82z") << QString(bad) + 'z';
    QTest::newRow("overlong") << QByteArray("\xE0\x80\xAFz") << QString(bad) + 'z';
    QTest::newRow("surrogate") << QByteArray("\xED\xA0\x80z") << QString(bad) + 'z';
    QTest::newRow("beyond Unicode") << QByteArray("\xF4\x90\x80\x80z") << QString(bad) + 'z';
}

void TestOpenKelda::textsCountCharacters()
{
    QFETCH(QByteArray, utf8);
    QFETCH(QString, wide);
    const KString text(utf8.constData());
    QCOMPARE(QString::fromStdWString(text.wide()), wide);
    QCOMPARE(text.length(), static_cast<unsigned>(wide.toUcs4().size()));
    QCOMPARE(QByteArray(text.utf8()), utf8); // kept as it came
}

void TestOpenKelda::wideTextsBecomeUtf8_data()
{
    QTest::addColumn<uint>("point");
    QTest::addColumn<QByteArray>("utf8");
    QTest::newRow("one byte") << 0x7Fu << QByteArray("\x7F");
    QTest::newRow("two bytes") << 0x80u << QByteArray("\xC2\x80");
    QTest::newRow("three bytes") << 0xFFFFu << QByteArray("\xEF\xBF\xBF");
    QTest::newRow("four bytes") << 0x10FFFFu << QByteArray("\xF4\x8F\xBF\xBF");
    QTest::newRow("surrogate") << 0xD800u << QByteArray("\xEF\xBF\xBD");
    QTest::newRow("beyond Unicode") << 0x110000u << QByteArray("\xEF\xBF\xBD");
}

void TestOpenKelda::wideTextsBecomeUtf8()
{
    QFETCH(uint, point);
    QFETCH(QByteArray, utf8);
    const wchar_t wide[] = {L'<', static_cast<wchar_t>(point), L'>', 0};
    QCOMPARE(QByteArray(KString(wide).utf8()), '<' + utf8 + '>');
}

void TestOpenKelda::numbersAppend_data()
{
    QTest::addColumn<double>("number");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("a million") << 1000000.0 << QByteArray("1000000");
    QTest::newRow("large") << 1e21 << QByteArray("1000000000000000000000");
    QTest::newRow("negative zero") << -0.0 << QByteArray("0");
    QTest::newRow("fraction") << 0.1 << QByteArray("0.1");
    QTest::newRow("small") << -2.5e-9 << QByteArray("-2.5e-09");
    QTest::newRow("shortest") << 1.0 / 3 << QByteArray("0.3333333333333333");
}

void TestOpenKelda::numbersAppend()
{
    QFETCH(double, number);
    QFETCH(QByteArray, text);
    KString sum("n=");
    sum += number;
    QCOMPARE(QByteArray(sum.utf8()), "n=" + text);
}

void TestOpenKelda::textsCompareAndConcatenate()
{
    KString sum = "a" + KString("b") + "c" + 1 + 2u + std::numeric_limits<qint64>::min() + 3.5;
    sum += std::numeric_limits<quint64>::max();
    QCOMPARE(sum.utf8(), "abc12-92233720368547758083.518446744073709551615");
    KString largest;
    largest += std::numeric_limits<double>::max();
    QCOMPARE(largest.length(), 309u);
    QVERIFY(KString(static_cast<const char *>(nullptr)).isEmpty());
    QVERIFY(KString("Z") < "a" && "a" < KString("ä") && !(KString("a") < "a"));
    QVERIFY(KString("a") != "b" && "a" == KString(L"a") && KString(std::string("a")) == "a");
}

void TestOpenKelda::resultsAreReadByTheirKindOnly()
{
    KStringArray array;
    array.append("x");
    const KCommandResult results[] = {KCommandResult(), KCommandResult(7), KCommandResult(1.5), KCommandResult("t"),
                                      KCommandResult(array)};
    const QStringList readable = {"", "int double", "double", "string", "array"};
    for (int i = 0; i < readable.size(); ++i) {
        int integer = -1;
        double number = -1;
        KString text("untouched");
        KStringArray texts;
        QStringList read;
        read << (results[i].getResult(integer) ? "int" : "") << (results[i].getResult(number) ? "double" : "")
             << (results[i].getResult(text) ? "string" : "") << (results[i].getResult(texts) ? "array" : "");
        read.removeAll("");
        QCOMPARE(read.join(' '), readable[i]);
        QCOMPARE(integer, read.contains("int") ? 7 : -1);
        QCOMPARE(number, read.contains("int") ? 7 : read.contains("double") ? 1.5 : -1);
        QCOMPARE(text.utf8(), read.contains("string") ? "t" : "untouched");
        QCOMPARE(texts.length(), read.contains("array") ? 1u : 0u);
    }
}

void TestOpenKelda::argumentsAreReadBySyntax_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<bool>("isSet");
    QTest::addColumn<QString>("failure");
    QTest::newRow("none") << QStringList() << false << "";
    QTest::newRow("short") << QStringList("-spr") << true << "";
    QTest::newRow("long, and a query") << QStringList{"-query", "-showportal"} << true << "";
    QTest::newRow("edit is not enabled") << QStringList("-e") << false << "unknown flag -e";
    QTest::newRow("the first mistake is named") << QStringList{"-spr", "-x", "-y"} << true << "unknown flag -x";
    QTest::newRow("argument") << QStringList{"spr", "-spr"} << true << "unexpected argument spr";
}

void TestOpenKelda::argumentsAreReadBySyntax()
{
    QFETCH(QStringList, arguments);
    QFETCH(bool, isSet);
    QFETCH(QString, failure);
    KSyntax syntax;
    syntax.addFlag("-spr", "-showportal");
    syntax.enableQuery(true);
    KArgList list;
    for (const QString &argument : arguments)
        list.append(KQtUtil::toKString(argument));

    KStatus status;
    const KArgParser parser(syntax, list, &status);
    QCOMPARE(parser.isFlagSet("-spr"), isSet);
    QCOMPARE(parser.isFlagSet("-showportal"), isSet);
    QCOMPARE(KQtUtil::toQString(status.errorString()), failure);
    QCOMPARE(static_cast<bool>(status), failure.isEmpty());
}

void TestOpenKelda::withoutHostEverythingFailsPolitely()
{
    QVERIFY(!KHost::instance());
    KStatus status;
    QVERIFY(KGlobal::executeCommandStringResult("print 1", false, false, &status).isEmpty());
    QVERIFY(!status && !status.errorString().isEmpty());
    QCOMPARE(KGlobal::keldaState(), KGlobal::kBatch);
    QVERIFY(!KQtUtil::mainWindow());

    const KStringResourceId id("P", "key", "text ");
    QVERIFY(!KStringResource::registerString(id));
    QCOMPARE(KStringResource::getString(id, status).utf8(), "text ");
    QVERIFY(!status);

    int handle = 0;
    status = KStatus();
    KFnPlugin plugin(KObject(&handle), "V", "1", "Any", &status);
    QVERIFY(!status);
    QVERIFY(plugin.deregisterCommand("C") == status && plugin.registerCommand("C", nullptr) == status);
    QVERIFY(plugin.registerUIStrings(nullptr, "P") == status);

    QTemporaryDir folder;
    QFile captured(folder.filePath("stderr"));
    QVERIFY(captured.open(QIODevice::ReadWrite));
    const int screen = dup(STDERR_FILENO);
    dup2(captured.handle(), STDERR_FILENO);
    KGlobal::displayWarning("50% done");
    KGlobal::displayError("no %s");
    fflush(stderr);
    dup2(screen, STDERR_FILENO);
    close(screen);
    captured.seek(0);
    QCOMPARE(captured.readAll(), QByteArray("warning: 50% done\nerror: no %s\n"));
}

QTEST_GUILESS_MAIN(TestOpenKelda)
#include "tst_openkelda.moc"
