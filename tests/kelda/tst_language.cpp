#include "kelda/Steps.h"
#include "language/Interpreter.h"

namespace {

/// An interpreter with the command run, which evaluates its argument, and with commands that record their calls as
/// "name|argument|argument" and return their first argument.
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
    }
    /// The result of \p source as text, or the message of its error.
    QString outcome(const QString &source, const QString &file = QString())
    {
        try {
            return evaluate(source, file).toString();
        } catch (const ScriptError &error) {
            return error.message();
        }
    }
    QStringList calls;
};

} // namespace

class TestLanguage : public QObject
{
    Q_OBJECT
private slots:
    void programsReturnTheirLastValue();

    void errorsNameFileAndLine();

    void commandsReceiveTheirArguments();

    void deepNestingIsAnErrorAndTheInterpreterStaysUsable()
    {
        Language language;
        QStringList sources = {"proc f(string $n) { f($n + 1); } f(0)", "proc g() { h; } proc h() { if (1) { g; } } g",
                               "$s = \"run $s\"; run $s",
                               "proc string k() { return " + QString("(1 + ").repeated(60) + "k()" +
                                   QString(")").repeated(60) + "; } k()"};
        for (const char *nested : {"(|1|)", "-|1|", "!|1|", "{||}", "if (1) |1;|", "if (0) 1; else |1;|", "$a = {||}",
                                   "$a[|0|]", "$a = |0|", "f (`|f|`)", "1 + |1|", "catch(|1|)"}) {
            const QStringList parts = QString(nested).split('|');
            sources.append(parts[0].repeated(100000) + parts[1] + parts[2].repeated(100000));
        }
        const QRegularExpression expected("nested too deeply|too long");
        for (const QString &source : sources) {
            const QString error = language.outcome(source);
            QVERIFY2(error.contains(expected), qPrintable(source.left(80) + error.left(200)));
            QCOMPARE(language.outcome("1 + 1"), QString("2"));
        }
    }

    void proceduresLastAndCanReplaceThemselves();

    void catchStopsAnErrorAndKeepsItsMessage();
};

void TestLanguage::programsReturnTheirLastValue()
{
    const auto run = [](const QString &source) { return Language().outcome(source); };
    playSteps(run, R"(
 // only a comment↵ ;; => nothing
"" + (1 + 2 * 3 - 8 / 4) + (20 - 5 - 3) + -(1 + 2) * - -3 => 512-9
"" + (1 < 2) + (2 <= 2) + (3 > 4) + (10 >= 9) + ("10" < "9") + ("a" != "a") + ("2" == 2) => 1101101
"" + (0 && 1 / 0) + (1 || 1 / 0) + !0 + !"" + !{} + (1 || 0 && 0) => 011111
$a = $b = 4; $a = $a + $b; $a[2] = "x" => line 1: $a is not an array
$a[2] = "c"; $a[0] = $a[0] + "x"; size($a) + ":" + $a + $a[1] => 3:x  c
string $n; string[] $a; string $s = 3; $s + $n + size($a) => 30
if (0) $x = 1; else if (1) { $x = 2; } else { $x = 3; } if (1) if (0) $x = 1; else $x = $x + 7; $x => 9
$s = ""; for ($x in tokenize("1,2,,3;4", ",;")) { if ($x == 2) continue; if ($x == 4) break; $s = $s + $x + "."; } $s => 1.3.
proc string f() { for ($x in {"a", "b"}) for ($y in {"c"}) { return $x + $y; } return "no"; } f() => ac
proc string f() { if (0) return "x"; } proc string[] g() { return {"p", "q"}; } $g = g(); f() + $g[1] => q
proc string f(string $a, string $b) { return $a + ($b + 1); } f x-y 41 => x-y411
global proc string f(string $a) { return $a + "!"; } `f a` + `f "`"` + `f (`f b`)` + `f("c")` => a!`!b!!c!
$größe = tolower("BÄ") + size("üx"); $größe => bä2
)");
}

void TestLanguage::proceduresLastAndCanReplaceThemselves()
{
    Language language;
    language.addCommand("exists", [&](const CommandCall &) { return Value(language.hasProcedure("f")); });
    language.addCommand("removeMe", [&](const CommandCall &call) {
        language.removeCommand("removeMe");
        return Value(call.name + " was called");
    });
    playSteps([&](const QString &source) { return language.outcome(source); }, R"(
$typed = "t"; proc string p() { $typed = 9; return $typed; } => t
p() + $typed => 9t
$typed = 99;↵proc f() {}↵if ( => line 3: unexpected end of the text
$typed + exists("f") => t0
proc string f() { run "proc string f() { return \"new\"; }"; $x = "old"; return $x; } f() + f() => oldnew
removeMe => removeMe was called
removeMe => line 1: unknown command 'removeMe'
)");
    QCOMPARE(language.call("p", {}).toString(), QString("9"));
}

/// The result and the messages of the stopped errors.
void TestLanguage::catchStopsAnErrorAndKeepsItsMessage()
{
    const auto outcome = [](const QString &source) {
        Language language;
        QStringList messages;
        language.setCaughtHandler([&messages](const QString &message) { messages.append(message); });
        messages.prepend(language.outcome(source));
        return messages.join(" | ");
    };
    playSteps(outcome, R"(
$n = 1; if (catch(`nope`)) $n = 2; $n => 2 | line 1: unknown command 'nope'
catch ( `take x` ) + catch(1 + 1) => 0
catch(`nope`);↵catch(`nope`); => 1 | line 1: unknown command 'nope' | line 2: unknown command 'nope'
catch($x = 1 / 0); catch($x = 5); $x => 5 | line 1: division by zero
proc f() {↵$x; } 1;↵catch(f()) => 1 | line 2: the variable $x has no value
proc f() { f; } catch(`f`); 7 => 7 | line 1: calls are nested too deeply
catch(catch(1 / 0)) => 0 | line 1: division by zero
catch(`run "1 +"`) => 1 | line 1: unexpected end of the text
take `catch(1 / 0)` => 1 | line 1: division by zero
$s = ""; for ($v in {"a", "b", "c"}) { if (catch(`$v == "b" && 1 / 0`)) continue; $s = $s + $v; } $s => ac | line 1: division by zero
catch 1 => line 1: unexpected '1'
catch => line 1: '(' is missing at the end of the text
)");
}

void TestLanguage::errorsNameFileAndLine()
{
    const auto errorOf = [](const QString &source) {
        Language language;
        language.addCommand("throws", [](const CommandCall &) -> Value { throw std::runtime_error("broken"); });
        language.addCommand("throwsNumber", [](const CommandCall &) -> Value { throw 7; });
        const QString inFile = language.outcome(source, "/tmp/a b.ksc");
        const QString typed = language.outcome(source);
        return inFile == QString(typed).replace(0, 5, "/tmp/a b.ksc:") ? typed : inFile;
    };
    playSteps(errorOf, R"(
1↵; "x↵"; => line 2: unterminated string
$a = "x\ => line 1: unterminated string
$a = "\q"; => line 1: unknown escape sequence '\q'
1 +↵ => line 2: unexpected end of the text
if (1) {↵  1;↵ => line 3: '}' is missing at the end of the text
1 # 2 => line 1: unexpected character '#'
12cm => line 1: '12cm' is not a valid integer
99999999999999999999 => line 1: '99999999999999999999' is not a valid integer
9223372036854775807 + 1 => line 1: the result is out of range
-9223372036854775807 - 2 => line 1: the result is out of range
1 + {"a"} => line 1: 'a' is not a number
1 = 2 => line 1: only a variable can be assigned to
break; => line 1: 'break' outside a loop
for (1 in {}) 2; => line 1: unexpected '1'
if (1) { proc f() {} } => line 1: a procedure inside a block
proc f() { return 1; } => line 1: f is declared without a result
proc string f()↵{ return; } => line 2: f must return a result
1;↵1 / 0 => line 2: division by zero
size(1, 2) => line 1: size takes 1 arguments, not 2
proc f() { $x; } $x = 1; f => line 1: the variable $x has no value
$a = {"x"}; $a[1] => line 1: $a has 1 elements, the index is 1
$a[1000000000] = "x" => line 1: 1000000000 is not a valid array index
proc f(string $a) {}↵f({"x"}); => line 2: f: expected a single value, got an array
proc f(string[] $a) {}↵f("x"); => line 2: f: expected an array, got a single value
proc f(string $a) {}↵f(); => line 2: f takes 1 arguments, not 0
proc size() {} => line 1: a command is already named size
↵throws => line 2: throws: broken
throwsNumber => line 1: throwsNumber: unknown exception
)");
}

void TestLanguage::commandsReceiveTheirArguments()
{
    const auto callsOf = [](const QString &source) {
        Language language;
        language.evaluate("$HOME = \"set\"; $a = {\"first\"}; " + source);
        return language.calls.join(" / ").replace('\n', "↵").replace('\r', "␍").replace('\t', "␉");
    };
    playSteps(callsOf, R"(
eval ( "source \"TavrinCreateUI.ksc\"" ); => eval|source "TavrinCreateUI.ksc"
if (`waitCursor -q -state`) { waitCursor -state off; } => waitCursor|-q|-state / waitCursor|-state|off
file -force -options "" -type "T" -pr -ea "a b;c" => file|-force|-options||-type|T|-pr|-ea|a b;c
file a/b.obj ../x*.* http://h/p?q=1,2 -1.5 $HOME; => file|a/b.obj|../x*.*|http://h/p?q=1,2|-1.5|set
take("a\\\"\n\r\t`$;/*x*/ // 🍵"); take -f "\\" "\"" => take|a\"↵␍␉`$;/*x*/ // 🍵 / take|-f|\|"
file \↵ // comment↵ -a -c "d""e"; => file|\|-a|-c|d|e
file (1 + 2) $a[0] $a ("x" + "y", 4) {"p", "q"} `eval z`; => eval|z / file|3|first|first|xy|4|p q|z
)");
}

QTEST_GUILESS_MAIN(TestLanguage)
#include "tst_language.moc"
