#include "kelda/Steps.h"

#include <openkelda/host.h>

#include <limits>
#include <unistd.h>

class TestOpenKelda : public QObject
{
    Q_OBJECT
private slots:
    void textsConvertBothWays_data()
    {
        QTest::addColumn<QByteArray>("utf8");
        QTest::addColumn<QString>("wide");
        QTest::newRow("empty") << QByteArray("") << QString("");
        QTest::newRow("one to four bytes")
            << QByteArray("a\x7F\xC2\x80\xEF\xBF\xBD\xF4\x8F\xBF\xBD") << QString("a\u007F\u0080\uFFFD\U0010FFFD");
        QTest::newRow("cut sequences") << QByteArray("a\x80z\xE2\x82z\xF0\x9F") << QString("a\uFFFDz\uFFFDz\uFFFD");
        QTest::newRow("overlong, surrogate, beyond Unicode")
            << QByteArray("\xE0\x80\xAFz\xED\xA0\x80z\xF4\x90\x80\x80z") << QString("\uFFFDz\uFFFDz\uFFFDz");
    }

    void textsConvertBothWays()
    {
        QFETCH(QByteArray, utf8);
        QFETCH(QString, wide);
        const KString text(utf8.constData());
        QCOMPARE(QString::fromStdWString(text.wide()), wide);
        QCOMPARE(text.length(), static_cast<unsigned>(wide.toUcs4().size()));
        QCOMPARE(QByteArray(text.utf8()), utf8);
        QCOMPARE(QByteArray(KString(wide.toStdWString().c_str()).utf8()), wide.toUtf8());
    }

    void numbersAreAppendedInDecimal()
    {
        KString sum = "a" + KString("b") + 1 + 2u + std::numeric_limits<qint64>::min() + 3.5;
        sum += std::numeric_limits<quint64>::max();
        QCOMPARE(sum.utf8(), "ab12-92233720368547758083.518446744073709551615");
        KString numbers;
        for (const double number : {1e6, 1e21, -0.0, 0.1, -2.5e-9, 1.0 / 3})
            numbers = numbers + number + " ";
        QCOMPARE(numbers.utf8(), "1000000 1000000000000000000000 0 0.1 -2.5e-09 0.3333333333333333 ");
    }

    void resultsAreReadByTheirKindOnly()
    {
        KStringArray array;
        array.append("x");
        QStringList read;
        for (const KCommandResult &result :
             {KCommandResult(), KCommandResult(7), KCommandResult(1.5), KCommandResult("t"), KCommandResult(array)}) {
            int integer = -1;
            double number = -1;
            KString text("untouched");
            KStringArray texts;
            const KStatus got[] = {result.getResult(integer), result.getResult(number), result.getResult(text),
                                   result.getResult(texts)};
            read += QString("%1%2%3%4 ").arg(!got[0]).arg(!got[1]).arg(!got[2]).arg(!got[3]) +
                    QString("%1 %2 %3 %4").arg(integer).arg(number).arg(text.utf8()).arg(texts.length());
        }
        QCOMPARE(read, QStringList({"1111 -1 -1 untouched 0", "0011 7 7 untouched 0", "1011 -1 1.5 untouched 0",
                                    "1101 -1 -1 t 0", "1110 -1 -1 untouched 1"}));
    }

    void argumentsAreReadBySyntax()
    {
        const auto parsed = [](const QString &arguments) {
            KSyntax syntax;
            syntax.addFlag("-spr", "-showportal");
            syntax.enableQuery(true);
            KArgList list;
            for (const QString &argument : arguments.split(' '))
                list.append(KQtUtil::toKString(argument));
            KStatus status;
            const KArgParser parser(syntax, list, &status);
            return QString("%1 %2 %3")
                .arg(parser.isFlagSet("-spr"))
                .arg(parser.isFlagSet("-showportal"))
                .arg(status ? "good" : status.errorString().utf8());
        };
        playSteps(parsed, R"(
-query -showportal => 1 1 good
-e => 0 0 unknown flag -e
-spr -x -y => 1 1 unknown flag -x
spr -spr => 1 1 unexpected argument spr
)");
    }

    void callsFailWithoutAHost()
    {
        KStatus status;
        QVERIFY(KGlobal::executeCommandStringResult("print 1", false, false, &status).isEmpty());
        QVERIFY(!status);
        QCOMPARE(KGlobal::keldaState(), KGlobal::kBatch);
        QCOMPARE(KQtUtil::mainWindow(), nullptr);
        const KStringResourceId id("P", "key", "text ");
        QVERIFY(!KStringResource::registerString(id));
        QCOMPARE(KStringResource::getString(id, status).utf8(), "text ");

        int handle = 0;
        status = KStatus();
        KFnPlugin plugin(KObject(&handle), "V", "1", "Any", &status);
        QVERIFY(!status);
        QVERIFY(!plugin.deregisterCommand("C"));
        QVERIFY(!plugin.registerCommand("C", nullptr));
        QVERIFY(!plugin.registerUIStrings(nullptr, "P"));
    }

    void messagesWithoutAHostAppearOnStderr()
    {
        QTemporaryFile captured;
        QVERIFY(captured.open());
        const int terminal = dup(STDERR_FILENO);
        dup2(captured.handle(), STDERR_FILENO);
        KGlobal::displayError("50% done, no %s");
        fflush(stderr);
        dup2(terminal, STDERR_FILENO);
        close(terminal);
        captured.seek(0);
        QCOMPARE(captured.readAll(), QByteArray("error: 50% done, no %s\n"));
    }
};

QTEST_GUILESS_MAIN(TestOpenKelda)
#include "tst_openkelda.moc"
