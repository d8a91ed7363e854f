// The host's command language, without the host.

#include "kelda/Steps.h"
#include "language/Interpreter.h"

namespace {

/// An interpreter with commands that record their calls as "name|argument|argument" and return their first argument.
struct Language : Interpreter
{
    Language()
    {
        addCommand("run", [this](const CommandCall &call) { return evaluate(call.arguments.front().toString()); });
        for (const char *name : {"eval", "waitCursor", "file", "take"}) {
            addCommand(name, [this](const CommandCall &call) {
                calls.append((QStringList(call.name) + call.texts()).join('|'));
                return call.arguments.empty() ? Value() : call.arguments.front();
            });
        }
        setCaughtHandler([this](const QString &message) { caught.append(message); });
    }
    /// The result of \p source as text, or the message of its error, and the messages of the caught errors.
    QString outcome(const QString &source)
    {
        QString result;
        try {
            result = evaluate(source, QString()).toString();
        } catch (const ScriptError &error) {
            result = error.message();
        }
        return (QStringList(result) + std::exchange(caught, {})).join(" | ");
    }
    QStringList calls, caught;
};

} // namespace

class TestLanguage : public QObject
{
    Q_OBJECT
private slots:
    void programsReturnTheirLastValueOrAnError();
    void commandsReceiveTheirArguments();
    void definitionsLastAndCanReplaceThemselves();

    void deepNestingIsAnErrorAndTheInterpreterStaysUsable()
    {
        Language language;
        for (const QString &source : {QString("proc g() { h; } proc h() { if (1) { g; } } g"),
                                      QString("{").repeated(100000), QString("1 + ").repeated(100000) + '1'}) {
            const QString error = language.outcome(source);
            QVERIFY2(error.contains(QRegularExpression("nested too deeply|too long")), qPrintable(error.left(200)));
        }
        QCOMPARE(language.outcome("1 + 1"), QString("2"));
    }
};

void TestLanguage::programsReturnTheirLastValueOrAnError()
{
    playSteps([](const QString &source) { return Language().outcome(source); }, R"(
"" + (1 + 2 * 3 - 8 / 4) + (20 - 5 - 3) + -(1 + 2) * - -3 => 512-9
"" + (1 < 2) + (10 >= 9) + ("10" < "9") + ("a" != "a") + (0 && 1 / 0) + (1 || 1 / 0) + !"" => 1110011
$a[2] = "c"; $a[0] = $a[0] + "x"; size($a) + ":" + $a + $a[1] => 3:x  c
if (0) $x = 1; else if (1) { $x = 2; } else { $x = 3; } if (1) if (0) $x = 1; else $x = $x + 7; $x => 9
$s = ""; for ($x in tokenize("1,2,,3;4", ",;")) { if ($x == 2) continue; if ($x == 4) break; $s = $s + $x + "."; } $s => 1.3.
proc string f() { for ($x in {"a", "b"}) for ($y in {"c"}) { return $x + $y; } return "no"; } f() => ac
global proc string f(string $a) { return $a + "!"; } `f a` + `f "`"` + `f (`f b`)` + `f("c")` => a!`!b!!c!
$größe = tolower("BÄ") + size("üx"); $größe => bä2
1↵; "x↵"; => line 2: unterminated string
if (1) {↵  1;↵ => line 3: '}' is missing at the end of the text
1;↵1 / 0 => line 2: division by zero
proc f() { $x; } $x = 1; f => line 1: the variable $x has no value
$n = 1; if (catch(`nope`)) $n = 2; $n => 2 | line 1: unknown command 'nope'
)");
}

void TestLanguage::commandsReceiveTheirArguments()
{
    const auto callsOf = [](const QString &source) {
        Language language;
        language.evaluate("$a = {\"first\"}; " + source);
        return language.calls.join(" / ").replace('\n', "↵").replace('\r', "␍").replace('\t', "␉");
    };
    playSteps(callsOf, R"(
eval ( "source \"TavrinCreateUI.ksc\"" ); => eval|source "TavrinCreateUI.ksc"
if (`waitCursor -q -state`) { waitCursor -state off; } => waitCursor|-q|-state / waitCursor|-state|off
file -force -options "" -type "T" -pr -ea "a b;c" => file|-force|-options||-type|T|-pr|-ea|a b;c
take("a\\\"\n\r\t`$;/*x*/ // 🍵"); take -f "\\" "\"" => take|a\"↵␍␉`$;/*x*/ // 🍵 / take|-f|\|"
file (1 + 2) $a[0] $a ("x" + "y", 4) {"p", "q"} `eval z`; => eval|z / file|3|first|first|xy|4|p q|z
)");
}

void TestLanguage::definitionsLastAndCanReplaceThemselves()
{
    Language language;
    playSteps([&](const QString &source) { return language.outcome(source); }, R"(
$typed = "t"; proc string p() { $typed = 9; return $typed; } => t
p() + $typed => 9t
proc string f() { run "proc string f() { return \"new\"; }"; $x = "old"; return $x; } f() + f() => oldnew
)");
}

QTEST_GUILESS_MAIN(TestLanguage)
#include "tst_language.moc"
