// The classes that plug-ins use: texts, results and the arguments of commands.

#include "kelda/Steps.h"

#include <openkelda/host.h>

#include <limits>

class TestOpenKelda : public QObject
{
    Q_OBJECT
private slots:
    void textsConvertBothWays_data()
    {
        QTest::addColumn<QByteArray>("utf8");
        QTest::addColumn<QString>("wide");
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
        QCOMPARE(QString::fromStdWString(KString(utf8.constData()).wide()), wide);
        QCOMPARE(QByteArray(KString(wide.toStdWString().c_str()).utf8()), wide.toUtf8());
    }

    void numbersAreAppendedInDecimal()
    {
        KString sum = "a" + KString("b") + 1 + 2u + std::numeric_limits<qint64>::min() + " ";
        sum += std::numeric_limits<quint64>::max();
        for (const double number : {1e6, 1e21, -0.0, 0.1, -2.5e-9, 1.0 / 3})
            sum = sum + " " + number;
        QCOMPARE(sum.utf8(), "ab12-9223372036854775808 18446744073709551615 "
                             "1000000 1000000000000000000000 0 0.1 -2.5e-09 0.3333333333333333");
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
            return QString::number(parser.isFlagSet("-showportal")) + ' ' + (status ? "" : status.errorString().utf8());
        };
        playSteps(parsed, R"(
-query -showportal => 1
-e => 0 unknown flag -e
-spr -x -y => 1 unknown flag -x
spr -spr => 1 unexpected argument spr
)");
    }

    void callsFailWithoutAHost()
    {
        KStatus status;
        KGlobal::executeCommandStringResult("print 1", false, false, &status);
        QVERIFY(!status);
        QCOMPARE(KGlobal::keldaState(), KGlobal::kBatch);
        QCOMPARE(KQtUtil::mainWindow(), nullptr);
        QCOMPARE(KStringResource::getString(KStringResourceId("P", "key", "text "), status).utf8(), "text ");
        int handle = 0;
        KFnPlugin plugin(KObject(&handle), "V", "1", "Any", &status);
        QVERIFY(!status);
    }
};

QTEST_GUILESS_MAIN(TestOpenKelda)
#include "tst_openkelda.moc"
