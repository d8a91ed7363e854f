#include "language/Flags.h"
#include "language/Interpreter.h"

#include <QRandomGenerator>
#include <QtTest>

#include <limits>

namespace {

/// The message of the failure of \p source; empty when it succeeds.
QString failureOf(Interpreter &language, const QString &source, const QString &file = QString())
{
    try {
        language.evaluate(source, file);
    } catch (const ScriptError &error) {
        return error.message();
    }
    return QString();
}

/// Adds commands that note their calls in \p calls as "name|argument|argument" and answer their first argument.
void addRecorders(Interpreter &language, QStringList &calls, const QStringList &names)
{
    for (const QString &name : names) {
        language.addCommand(name, [&calls](const CommandCall &call) {
            QStringList parts(call.name);
            for (const Value &argument : call.arguments)
                parts.append(argument.toString());
            calls.append(parts.join('|'));
            return call.arguments.empty() ? Value() : call.arguments.front();
        });
    }
}

QString quoted(const QString &text)
{
    QString result = text;
    result.replace('\\', "\\\\").replace('"', "\\\"").replace('\n', "\\n").replace('\r', "\\r").replace('\t', "\\t");
    return '"' + result + '"';
}

} // namespace

class TestLanguage : public QObject
{
    Q_OBJECT
private slots:
    void programsGiveResults_data();
    void programsGiveResults();
    void mistakesNameFileAndLine_data();
    void mistakesNameFileAndLine();
    void commandsReceiveTheirArguments_data();
    void commandsReceiveTheirArguments();
    void quotedTextsComeOutUnchanged();
    void numbersConvertSafely_data();
    void numbersConvertSafely();
    void nothingRunsBeforeAllIsParsed();
    void deepNestingFails_data();
    void deepNestingFails();
    void globalsLastAndLocalsDoNot();
    void scriptsMayReplaceWhatRuns();
    void flagsTakeTheirValues_data();
    void flagsTakeTheirValues();
};

void TestLanguage::programsGiveResults_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("result");
    const auto row = [](const char *name, const char *source, const char *result) {
        QTest::newRow(name) << QString::fromUtf8(source) << QString::fromUtf8(result);
    };
    row("nothing", " // only a comment\n/* and\nanother */ ;;", "");
    row("precedence", "1 + 2 * 3 - 8 / 4 % 3", "5");
    row("left to right", "20 - 5 - 3 - 1", "11");
    row("brackets and signs", "-(1 + 2) * - -3", "-9");
    row("integer division", "-7 / 2 + \" \" + -7 % 3", "-3 -1");
    row("floats", "7 / 2.0 + 1e2 + .5", "104");
    row("float remainder", "7.5 % 2", "1.5");
    row("wrap-around", "9223372036854775807 + 1", "-9223372036854775808");
    row("smallest divided by -1", "$m = -9223372036854775807 - 1; ($m / -1) + \" \" + ($m % -1) + \" \" + -$m",
        "-9223372036854775808 0 -9223372036854775808");
    row("product wraps", "4611686018427387904 * 4", "0");
    row("texts join", "\"a\" + 1 + 2.5 + \"b\"", "a12.5b");
    row("escapes", "\"\\\\ \\\" \\n\\r\\t$x `y`\"", "\\ \" \n\r\t$x `y`");
    row("comparison", "(1 < 2) + (2 <= 2) + (3 > 4) + (\"10\" < \"9\") + (\"10\" < 9) + (\"a\" != \"a\")", "3");
    row("arrays compare", "({\"a\", \"b\"} == {\"a\", \"b\"}) + ({\"a\"} == {})", "1");
    row("logic stops early", "(0 && 1 / 0) + (1 || 1 / 0) + !0 + !\"\"", "3");
    row("and binds tighter than or", "1 || 0 && 0", "1");
    row("conditional", "1 ? 0 ? \"a\" : \"b\" : \"c\"", "b");
    row("words for truth", "(true == on) + (false == off)", "2");
    row("assignment gives its value", "$a = $b = 4; $a += $b; $a -= 1; $a *= 3; $a /= 7; $a", "3");
    row("steps", "$i = 5; $j = $i++ + ++$i; $j + \" \" + $i-- + \" \" + --$i", "12 7 5");
    row("array grows", "$a[2] = \"c\"; $a[0] += \"x\"; size($a) + \":\" + $a", "3:x  c");
    row("array parameter is a copy",
        "proc int f(string $a[]) { $a[size($a)] = \"z\"; return size($a); } $b = {\"y\"}; f($b) + size($b)", "3");
    row("arrays join", "$a = {\"a\"} + {\"b\", \"c\"}; $a[1] + size($a)", "b3");
    row("declared types convert", "int $i = \"12.9cm\"; float $f = \"2.5\"; string $s = 3; $i + $f + $s", "14.53");
    row("declared and empty", "int $i; string $s; string[] $a; string $b[]; $i + $s + size($a) + size($b)", "000");
    row("if else", "if (0) $x = 1; else if (1) { $x = 2; } else { $x = 3; } $x", "2");
    row("else belongs to the nearest if", "$x = 0; if (1) if (0) $x = 1; else $x = 2; $x", "2");
    row("for", "$s = \"\"; for ($i = 0, $j = 9; $i < 3; ++$i, --$j) $s += $i + $j; $s", "999");
    row("for declares", "$n = 0; for (int $i = 0; ; $i++) { if ($i == 2) continue; if ($i > 4) break; $n += $i; } $n",
        "8");
    row("for each", "$s = \"\"; for ($x in {\"a\", \"b\", \"c\"}) { if ($x == \"b\") continue; $s += $x; } $s", "ac");
    row("for each with a type", "$n = 0; for (string $x in tokenize(\"1,2,,3\", \",\")) $n += size($x); $n", "3");
    row("while", "$i = 0; while ($i < 10) { $i++; if ($i > 6) break; } $i", "7");
    row("inner break only",
        "$n = 0; for ($i = 0; $i < 3; $i++) { while (1) break; for (;;) break; for ($x in {\"p\", \"q\"}) break; $n++; "
        "} $n",
        "3");
    row("return ends a procedure from within loops",
        "proc string f() { for ($x in {\"a\", \"b\"}) while (1) { return $x; } return \"no\"; } f()", "a");
    row("return ends the text", "return 5; 6", "5");
    row("recursion", "global proc int fac(int $n) { if ($n < 2) return 1; return $n * fac($n - 1); } fac(20)",
        "2432902008176640000");
    row("as many calls as are allowed", "proc int f(int $n) { if ($n == 0) return 0; return 1 + f($n - 1); } f(198)",
        "198");
    row("result types",
        "proc int f(float $x) { return $x; } proc string[] g() { return {\"p\", \"q\"}; } "
        "$g = g(); f(\"3.9\") + $g[1]",
        "3q");
    row("no result", "proc f() { return; } proc int g() { if (0) return 1; } f() + \"|\" + g()", "|0");
    row("procedure as command", "proc string f(string $a, int $b) { return $a + ($b + 1); } f x-y 41", "x-y42");
    row("back-quoted", "proc string f(string $a) { return $a + \"!\"; } `f a` + `f \"`\"` + `f (`f b`)` + `f(\"c\")`",
        "a!`!b!!c!");
    row("command without semicolon before a brace", "proc f() { global int $n; $n++; } if (1) { f } global int $n; $n",
        "1");
    row("text functions", "toupper(\"aü\") + tolower(\"BÄ\") + size(\"ü🍵\") + substring(\"ü🍵xyz\", 2, 3)", "AÜbä2🍵x");
    row("substring outside", "substring(\"abc\", -5, 99) + \"|\" + substring(\"abc\", 3, 2)", "abc|");
    row("starts, ends, contains",
        "startsWith(\"abc\", \"ab\") + endsWith(\"abc\", \"bc\") + stringArrayContains(\"b\", {\"a\", \"b\"})", "3");
    row("array to text", "stringArrayToString({\"a\", \"b\"}, \", \")", "a, b");
    row("non-ASCII names", "$größe = 2; $größe * 2", "4");
}

void TestLanguage::programsGiveResults()
{
    QFETCH(QString, source);
    QFETCH(QString, result);
    Interpreter language;
    try {
        QCOMPARE(language.evaluate(source).toString(), result);
    } catch (const ScriptError &error) {
        QFAIL(error.what());
    }
}

void TestLanguage::mistakesNameFileAndLine_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("message");
    const auto row = [](const char *source, const char *message) {
        QTest::newRow(qPrintable(QString::fromUtf8(source).simplified()))
            << QString::fromUtf8(source) << QString::fromUtf8(message);
    };
    row("frob -x;", "1: unknown command 'frob'");
    row("\n\n  frob(1);", "3: unknown command 'frob'");
    row("/* a\nb */ \"x\n\";", "2: the text is not closed");
    row("$a = \"x\\", "1: the text is not closed");
    row("$a = \"\\q\";", "1: a text cannot hold the escape '\\q'");
    row("1;\n/* open", "2: the comment is not closed");
    row("1 +\n", "2: unexpected end of the text");
    row("1 + ;", "1: unexpected ';'");
    row("if (1 { }", "1: unexpected '{'");
    row("if (1) {\n  1;\n", "3: '}' is missing at the end of the text");
    row("1 2", "1: unexpected '2'");
    row("$ = 1;", "1: a variable's name must follow '$'");
    row("5abc;", "1: '5a' is not a number");
    row("99999999999999999999", "1: the number 99999999999999999999 is too large");
    row("1 = 2", "1: only a variable can be assigned to");
    row("++1", "1: only a variable can be counted");
    row("}", "1: unexpected '}'");
    row("else 1;", "1: unexpected 'else'");
    row("break;", "1: 'break' stands outside a loop");
    row("$x = `frob", "1: '`' is missing at the end of the text");
    row("f (1", "1: ')' is missing at the end of the text");
    row("f -a);", "1: unexpected ')'");
    row("1 # 2", "1: unexpected character '#'");
    row("proc f($a) {}", "1: unexpected '$a'");
    row("if (1) { proc f() {} }", "1: a procedure cannot stand inside a block");
    row("proc f() { return 1; }", "1: f is declared without a result");
    row("proc int f()\n{ return; }", "2: f must return a result");
    row("int $a[];", "1: only texts can form an array");
    row("1;\n1 / 0", "2: division by zero");
    row("1 % 0.0", "1: division by zero");
    row("$x + 1", "1: the variable $x has no value");
    row("proc f() { $x; } $x = 1; f", "1: the variable $x has no value");
    row("$a = {\"x\"}; $a[1]", "1: $a has 1 elements, there is none at 1");
    row("$a[-1] = \"x\"", "1: -1 is no array index");
    row("$a[1000000000] = \"x\"", "1: 1000000000 is no array index");
    row("$a = 1; $a[0]", "1: $a is no array");
    row("string $a = {\"x\"};", "1: an array stands where one value is wanted");
    row("string[] $a = \"x\";", "1: one value stands where an array is wanted");
    row("string[] $x;\nfor ($x in {\"a\"}) 1;", "2: one value stands where an array is wanted");
    row("({\"a\"} - 1);", "1: an array is no number");
    row("proc f(int $a) {}\nf();", "2: f takes 1 arguments, not 0");
    row("proc f(int $a) {}\n\nf({\"x\"});", "3: f: an array stands where one value is wanted");
    row("proc f()\n{\n  frob;\n}\nf;", "3: unknown command 'frob'");
    row("size(1, 2)", "1: size takes 1 arguments, not 2");
    row("proc size() {}", "1: a command is already named size");
    row("fails now", "1: as asked");
    row("\nthrows", "2: throws: broken");
    row("proc f(int $n) { if ($n) f($n - 1); }\nf(199);", "1: calls are nested more than 200 deep");
    row("throwsNumber", "1: throwsNumber threw something that is no error");
}

void TestLanguage::mistakesNameFileAndLine()
{
    QFETCH(QString, source);
    QFETCH(QString, message);
    Interpreter language;
    language.addCommand("fails", [](const CommandCall &) -> Value { throw CommandError("as asked"); });
    language.addCommand("throws", [](const CommandCall &) -> Value { throw std::runtime_error("broken"); });
    language.addCommand("throwsNumber", [](const CommandCall &) -> Value { throw 7; });
    QCOMPARE(failureOf(language, source, "/tmp/a b.ksc"), "/tmp/a b.ksc:" + message);
    QCOMPARE(failureOf(language, source), "line " + message);
}

void TestLanguage::commandsReceiveTheirArguments_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QStringList>("calls");
    const auto row = [](const char *source, const QStringList &calls) {
        QTest::newRow(qPrintable(QString::fromUtf8(source).simplified())) << QString::fromUtf8(source) << calls;
    };
    row("eval ( \"source \\\"TavrinCreateUI.ksc\\\"\" );", {"eval|source \"TavrinCreateUI.ksc\""});
    row("callbacks -removeCallback  \"TavrinCreateUI\" -hook \"addItemToFileMenu\" -owner \"TavrinPlugin\";",
        {"callbacks|-removeCallback|TavrinCreateUI|-hook|addItemToFileMenu|-owner|TavrinPlugin"});
    row("TavrinDeleteUI", {"TavrinDeleteUI"});
    row("if (`waitCursor -q -state`) { waitCursor -state off; }", {"waitCursor|-q|-state", "waitCursor|-state|off"});
    row("waitCursor -state on;", {"waitCursor|-state|on"});
    row("Tavrin_GetImportTranslatorFromFileExtension(\"obj\");", {"Tavrin_GetImportTranslatorFromFileExtension|obj"});
    row("file -force -options \"\" -type \"T\" -pr -ea \"a b;c\"", {"file|-force|-options||-type|T|-pr|-ea|a b;c"});
    row("initCurrentFileTypeOption Import \"\" \"\"", {"initCurrentFileTypeOption|Import||"});
    row("confirmDialog -title \"x\" -m \"y\"  -messageAlign \"left\" -button \"Ok\"",
        {"confirmDialog|-title|x|-m|y|-messageAlign|left|-button|Ok"});
    row("file a/b.obj ../x*.* http://h/p?q=1,2 -1.5 $HOME_IS_NO_WORD;",
        {"file|a/b.obj|../x*.*|http://h/p?q=1,2|-1.5|set"});
    row("file \\\n // comment\n -a /* b */ -c;", {"file|\\|-a|-c"});
    row("file (1 + 2) $a[0] $a (\"x\" + \"y\", 4) {\"p\", \"q\"} `eval z`;",
        {"eval|z", "file|3|first|first|xy|4|p q|z"});
    row("file (); eval", {"file", "eval"});
    row("file \"-a\" \"b\"\"c\"", {"file|-a|b|c"});
}

void TestLanguage::commandsReceiveTheirArguments()
{
    QFETCH(QString, source);
    QFETCH(QStringList, calls);
    Interpreter language;
    QStringList seen;
    addRecorders(language, seen,
                 {"eval", "callbacks", "TavrinDeleteUI", "waitCursor", "file", "initCurrentFileTypeOption",
                  "confirmDialog", "Tavrin_GetImportTranslatorFromFileExtension"});
    language.evaluate("$HOME_IS_NO_WORD = \"set\"; $a = {\"first\"};");
    QCOMPARE(failureOf(language, source), QString());
    QCOMPARE(seen, calls);
}

void TestLanguage::quotedTextsComeOutUnchanged()
{
    Interpreter language;
    QStringList seen;
    addRecorders(language, seen, {"take"});
    QRandomGenerator random(20240611);
    const QString awkward = QString::fromUtf8("\"\\\n\r\t`$;(){}[]'/* */ //%-ntrq0ä€🍵\u2028\u0001 ");
    for (int round = 0; round < 2000; ++round) {
        QString text;
        for (int left = static_cast<int>(random.bounded(24)); left > 0; --left) {
            const int at = static_cast<int>(random.bounded(awkward.size()));
            if (random.bounded(4) == 0)
                text += QChar(static_cast<ushort>(random.bounded(1, 0xD800)));
            else if (!awkward.at(at).isSurrogate())
                text += awkward.at(at);
            else
                text += QString::fromUtf8("🍵");
        }
        seen.clear();
        const QString inCommand = "take -f " + quoted(text) + ";";
        const QString inExpression = "take(\"-f\", " + quoted(text) + ")";
        QCOMPARE(failureOf(language, round % 2 ? inCommand : inExpression), QString());
        QCOMPARE(seen.size(), 1);
        QCOMPARE(seen.front().toUtf8(), ("take|-f|" + text).toUtf8());
    }
}

void TestLanguage::numbersConvertSafely_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint64>("integer");
    QTest::addColumn<double>("real");
    constexpr qint64 largest = std::numeric_limits<qint64>::max();
    QTest::newRow("none") << "" << qint64(0) << 0.0;
    QTest::newRow("word") << "infinity" << qint64(0) << 0.0;
    QTest::newRow("sign only") << "-." << qint64(0) << 0.0;
    QTest::newRow("prefix") << " -12px" << qint64(-12) << -12.0;
    QTest::newRow("fraction") << "+3.99" << qint64(3) << 3.99;
    QTest::newRow("exponent") << "2.5e3e" << qint64(2500) << 2500.0;
    QTest::newRow("no exponent") << "2e+" << qint64(2) << 2.0;
    QTest::newRow("largest") << "9223372036854775807" << largest << 9223372036854775807.0;
    QTest::newRow("too large") << "9223372036854775808" << largest << 9223372036854775808.0;
    QTest::newRow("too small") << "-1e30" << std::numeric_limits<qint64>::min() << -1e30;
    QTest::newRow("beyond doubles") << "1e999" << largest << std::numeric_limits<double>::infinity();
}

void TestLanguage::numbersConvertSafely()
{
    QFETCH(QString, text);
    QFETCH(qint64, integer);
    QFETCH(double, real);
    QCOMPARE(Value(text).toInt(), integer);
    QCOMPARE(Value(text).toDouble(), real);
}

void TestLanguage::nothingRunsBeforeAllIsParsed()
{
    Interpreter language;
    QStringList seen;
    addRecorders(language, seen, {"take"});
    QCOMPARE(failureOf(language, "take 1;\nproc f() {}\nif ("), QString("line 3: unexpected end of the text"));
    QVERIFY(seen.isEmpty());
    QVERIFY(!language.hasProcedure("f"));
}

void TestLanguage::deepNestingFails_data()
{
    QTest::addColumn<QString>("source");
    constexpr int deep = 100000;
    const auto nested = [](const char *open, const char *middle, const char *close) {
        return QString(open).repeated(deep) + middle + QString(close).repeated(deep);
    };
    QTest::newRow("brackets") << nested("(", "1", ")");
    QTest::newRow("signs") << nested("-", "1", "");
    QTest::newRow("negations") << nested("!", "1", "");
    QTest::newRow("blocks") << nested("{", "", "}");
    QTest::newRow("conditions") << nested("if (1) ", "1;", "");
    QTest::newRow("else") << nested("if (0) 1; else ", "1;", "");
    QTest::newRow("arrays") << "$a = " + nested("{", "", "}");
    QTest::newRow("indices") << nested("$a[", "0", "]");
    QTest::newRow("assignments") << nested("$a = ", "0", "");
    QTest::newRow("conditionals") << nested("1 ? 1 : ", "0", "");
    QTest::newRow("commands") << nested("f (`", "f", "`)");
    QTest::newRow("long sum") << nested("1 + ", "1", "");
    QTest::newRow("recursion") << "proc int f(int $n) { return 1 + f($n + 1); } f(0)";
    QTest::newRow("two procedures") << "proc f() { g; } proc g() { if (1) { f; } } f";
    QTest::newRow("recursion in long expressions")
        << "proc int f() { return " + QString("(1 + ").repeated(60) + "f()" + QString(")").repeated(60) + "; } f()";
    QTest::newRow("texts that run texts") << "$s = \"run $s\"; run $s";
}

void TestLanguage::deepNestingFails()
{
    QFETCH(QString, source);
    Interpreter language;
    language.addCommand(
        "run", [&language](const CommandCall &call) { return language.evaluate(call.arguments.front().toString()); });
    const QString failure = failureOf(language, source);
    QVERIFY2(failure.contains("deep") || failure.contains("too long"), qPrintable(failure.left(200)));
    QCOMPARE(language.evaluate("1 + 1").toInt(), qint64(2)); // and the interpreter works on
}

void TestLanguage::globalsLastAndLocalsDoNot()
{
    Interpreter language;
    language.evaluate("global int $count = 3; $typed = \"t\";"
                      "proc int next() { global int $count; $typed = 9; $local = 1; return ++$count; }");
    QCOMPARE(language.evaluate("next() + next()").toInt(), qint64(9));
    QCOMPARE(language.evaluate("$count + $typed").toString(), QString("5t"));
    QCOMPARE(failureOf(language, "$local"), QString("line 1: the variable $local has no value"));
    QCOMPARE(language.call("next", {}).toInt(), qint64(6));
}

void TestLanguage::scriptsMayReplaceWhatRuns()
{
    Interpreter language;
    language.addCommand(
        "run", [&language](const CommandCall &call) { return language.evaluate(call.arguments.front().toString()); });
    language.addCommand("vanish", [&language](const CommandCall &call) {
        language.removeCommand("vanish");
        return Value(call.name + " was called");
    });
    QCOMPARE(language
                 .evaluate("proc string f() { run \"proc string f() { return \\\"new\\\"; }\"; $x = \"old\"; "
                           "return $x; } f() + f()")
                 .toString(),
             QString("oldnew"));
    QCOMPARE(language.evaluate("vanish").toString(), QString("vanish was called"));
    QVERIFY(!language.hasCommand("vanish"));

    language.setFallback("ask", [](const CommandCall &) { return Value("nobody"); });
    QCOMPARE(language.evaluate("ask").toString(), QString("nobody"));
    QVERIFY(language.addCommand("ask", [](const CommandCall &) { return Value("somebody"); }));
    QCOMPARE(language.evaluate("ask").toString(), QString("somebody"));
    QVERIFY(!language.addCommand("ask", [](const CommandCall &) { return Value(); }));
}

void TestLanguage::flagsTakeTheirValues_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("read");
    QTest::newRow("short and long") << "c -f -type T x"
                                    << "force type=T plain=x";
    QTest::newRow("two values") << "c -s 1 2 y"
                                << "size=1,2 plain=y";
    QTest::newRow("repeated") << "c -t A -type B"
                              << "type=A,B";
    QTest::newRow("a value may look like a flag") << "c -t -f -force"
                                                  << "force type=-f";
    QTest::newRow("negative number") << "c -1 -f -.5 (-2)"
                                     << "force plain=-1,-.5,-2";
    QTest::newRow("unknown") << "c -f -x"
                             << "line 1: c: unknown flag -x";
    QTest::newRow("lacking") << "c -s 1"
                             << "line 1: c: flag -s lacks a value";
}

void TestLanguage::flagsTakeTheirValues()
{
    QFETCH(QString, source);
    QFETCH(QString, read);
    Interpreter language;
    language.addCommand("c", [](const CommandCall &call) {
        const Flags flags(call, {{"-f", "-force"}, {"-t", "-type", 1}, {"-s", "-size", 2}});
        QStringList parts;
        if (flags.has("-force"))
            parts.append("force");
        for (const char *name : {"-type", "-size"}) {
            QStringList values;
            for (int i = 0; !flags.value(name, i).isNone(); ++i)
                values.append(flags.value(name, i).toString());
            if (flags.has(name))
                parts.append(name + 1 + ("=" + values.join(',')));
        }
        QStringList plain;
        for (const Value &value : flags.plain())
            plain.append(value.toString());
        if (!plain.isEmpty())
            parts.append("plain=" + plain.join(','));
        return Value(parts.join(' '));
    });
    QString result;
    try {
        result = language.evaluate(source).toString();
    } catch (const ScriptError &error) {
        result = error.message();
    }
    QCOMPARE(result, read);
}

QTEST_GUILESS_MAIN(TestLanguage)
#include "tst_language.moc"
