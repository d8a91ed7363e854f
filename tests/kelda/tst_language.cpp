#include "kelda/Steps.h"
#include "language/Interpreter.h"

namespace {

/// An interpreter with the command run, which evaluates its argument, and with commands that note their calls as
/// "name|argument|argument" and answer their first argument.
struct Language : Interpreter
{
    Language()
    {
        addCommand("run", [this](const CommandCall &call) { return evaluate(call.arguments.front().toString()); });
        for (const char *name : {"eval", "waitCursor", "file", "initCurrentFileTypeOption", "take"}) {
            addCommand(name, [this](const CommandCall &call) {
                calls.append(call.name);
                for (const Value &argument : call.arguments)
                    calls.last() += '|' + argument.toString();
                return call.arguments.empty() ? Value() : call.arguments.front();
            });
        }
    }
    /// The result of \p source as text, or the message of its failure.
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
    void programsGiveResults()
    {
        const auto run = [](const QString &source) { return Language().outcome(source); };
        playSteps(run, R"(
 // only a comment↵/* and↵another */ ;; => nothing
"" + (1 + 2 * 3 - 8 / 4 % 3) + (20 - 5 - 3 - 1) + -(1 + 2) * - -3 => 511-9
-7 / 2 + " " + -7 % 3 + " " + 7.5 % 2 + " " + (7 / 2.0 + 1e2 + .5) => -3 -1 1.5 104
9223372036854775807 + 1 + " " + 4611686018427387904 * 4 => -9223372036854775808 0
$m = -9223372036854775807 - 1; ($m / -1) + " " + ($m % -1) + " " + -$m => -9223372036854775808 0 -9223372036854775808
"" + (1 < 2) + (2 <= 2) + (3 > 4) + ("10" < "9") + ("10" < 9) + ("a" != "a") + ({"a"} == {"a"}) + ({"a"} == {}) => 11010010
"" + (0 && 1 / 0) + (1 || 1 / 0) + !0 + !"" + (1 || 0 && 0) + (true == on) + (false == off) + (1 ? 0 ? "a" : "b" : "c") => 0111111b
$a = $b = 4; $a += $b; $a -= 1; $a *= 3; $a /= 7; $i = 5; $j = $i++ + ++$i; $a + " " + $j + " " + $i-- + " " + --$i => 3 12 7 5
$a[2] = "c"; $a[0] += "x"; $b = {"p"} + $a; size($a) + ":" + $a + $b[1] + size($b) => 3:x  cx4
proc int f(string $a[]) { $a[size($a)] = "z"; return size($a); } $b = {"y"}; "" + f($b) + size($b) => 21
int $e; string $n; string[] $a; string $b[]; int $i = "12.9cm"; float $f = "2.5"; string $s = 3; $i + $f + $s + $e + $n + size($a) + size($b) => 14.53000
if (0) $x = 1; else if (1) { $x = 2; } else { $x = 3; } if (1) if (0) $x = 1; else $x += 7; $x => 9
$s = ""; for ($i = 0, $j = 9; $i < 3; ++$i, --$j) $s += $i + $j; for (int $i = 0; ; $i++) { if ($i == 2) continue; if ($i > 4) break; $s += $i; } $s => 9990134
$s = ""; for (string $x in tokenize("1,2,,3", ",")) { if ($x == 2) continue; $s += $x + "."; } $s => 1.3.
$n = 0; while ($n < 10) { while (1) break; for (;;) break; for ($x in {"p", "q"}) break; if (++$n > 6) break; } $n => 7
proc string f() { for ($x in {"a", "b"}) while (1) { return $x; } return "no"; } proc int g() { if (0) return 1; } return f() + "|" + g(); 6 => a|0
proc int f(int $n) { if ($n == 0) return 0; return 1 + f($n - 1); } f(198) => 198
proc int f(float $x) { return $x; } proc string[] g() { return {"p", "q"}; } $g = g(); f("3.9") + $g[1] => 3q
$s = ""; for ($t in {"", "infinity", " -12px", "+3.9", "2.5e3e", "2e+"}) { int $i = $t; float $f = $t; $s += $i + "," + $f + " "; } $s => 0,0 0,0 -12,-12 3,3.9 2500,2500 2,2
$s = ""; for ($t in {"9223372036854775808", "-1e30", "1e999"}) { int $i = $t; $s += $i; } $s => 9223372036854775807-92233720368547758089223372036854775807
proc string f(string $a, int $b) { return $a + ($b + 1); } f x-y 41 => x-y42
proc string f(string $a) { return $a + "!"; } `f a` + `f "`"` + `f (`f b`)` + `f("c")` => a!`!b!!c!
$größe = toupper("aü") + tolower("BÄ"); $größe + size("ü🍵") + substring("ü🍵xyz", 2, 3) => AÜbä2🍵x
stringArrayToString({substring("abc", -5, 99), substring("abc", 3, 2), startsWith("abc", "bc"), endsWith("abc", "bc"), stringArrayContains("b", {"a", "b"})}, ", ") => abc, , 0, 1, 1
)");
    }

    void mistakesNameFileAndLine();

    void catchGoesOnAfterAnError()
    {
        const auto outcome = [](const QString &source) {
            Language language;
            QStringList caught;
            language.setCaughtHandler([&caught](const QString &message) { caught.append(message); });
            const QString result = language.outcome(source);
            return (QStringList(result) + caught).join(" | ");
        };
        playSteps(outcome, R"(
$n = 1; if (catch(`nope`)) $n = 2; $n => 2 | line 1: unknown command 'nope'
catch ( `take x` ) + catch(1 + 1) => 0
catch `nope`;↵catch`nope`; => 1 | line 1: unknown command 'nope' | line 2: unknown command 'nope'
catch($x = 1 / 0); catch($x = 5); $x => 5 | line 1: division by zero
proc int f() { $a = {"p"}; catch($a[1]); return size($a); } f() => 1 | line 1: $a has 1 elements, there is none at 1
proc f() { f; } catch(`f`); 7 => 7 | line 1: calls are nested more than 200 deep
catch(catch(1 / 0)) => 0 | line 1: division by zero
catch(`run "1 +"`) => 1 | line 1: unexpected end of the text
take `catch(1 / 0)` => 1 | line 1: division by zero
$s = ""; for ($v in {"2", "0", "4"}) { if (catch($q = 8 / $v)) continue; $s += $q; } $s => 42 | line 1: division by zero
catch 1 => line 1: unexpected '1'
catch(1; 2) => line 1: unexpected ';'
catch => line 1: '(' is missing at the end of the text
)");
        Language limited;
        limited.setLimits({1000, 100, 100});
        QVERIFY(limited.outcome("for (;;) catch(`nope`);").contains("more than 1000 steps"));
        QVERIFY(limited.outcome("proc f() { catch(`f`); catch(`f`); } f").contains("more than 1000 steps"));
    }

    void commandsReceiveTheirArguments();

    void deepNestingFails()
    {
        Language language;
        QStringList sources = {"proc int f(int $n) { return 1 + f($n + 1); } f(0)",
                               "proc g() { h; } proc h() { if (1) { g; } } g", "$s = \"run $s\"; run $s",
                               "proc int k() { return " + QString("(1 + ").repeated(60) + "k()" +
                                   QString(")").repeated(60) + "; } k()"};
        for (const char *nested : {"(|1|)", "-|1|", "!|1|", "{||}", "if (1) |1;|", "if (0) 1; else |1;|", "$a = {||}",
                                   "$a[|0|]", "$a = |0|", "1 ? 1 : |0|", "f (`|f|`)", "1 + |1|"}) {
            const QStringList parts = QString(nested).split('|');
            sources.append(parts[0].repeated(100000) + parts[1] + parts[2].repeated(100000));
        }
        for (const QString &source : sources) {
            const QString failure = language.outcome(source);
            QVERIFY2(failure.contains("deep") || failure.contains("too long"),
                     qPrintable(source.left(80) + failure.left(200)));
            QCOMPARE(language.outcome("1 + 1"), QString("2")); // and the interpreter works on
        }
    }

    void limitsEndPrograms()
    {
        Language language;
        language.addCommand("limit", [&language](const CommandCall &) {
            language.setLimits({100, 20, 4});
            return Value();
        });
        playSteps([&](const QString &source) { return language.outcome(source); }, R"(
$a = "12345678"; for (;;) $a = "" + $a + $a; => line 1: a text cannot have more than 16777216 characters
$a = {"x"}; for (;;) $a += $a; => line 1: an array cannot have more than 1000000 elements
limit => nothing
for (;;); => line 1: the program takes more than 100 steps
for ($x in {"p", "q"})↵ while (1) {} => line 2: the program takes more than 100 steps
$b = {"01234", "56789", "abc"}; size($b + "") => 15
$b += "defghi" => line 1: a text cannot have more than 20 characters
stringArrayToString($b, "----") => line 1: a text cannot have more than 20 characters
$b[3] = "d"; $b[4] = "e" => line 1: 4 is no array index
tokenize("1,2,3,4,5", ",") => line 1: an array cannot have more than 4 elements
size($b) => 4
)");
    }

    void globalsLastAndScriptsReplaceWhatRuns();
};

void TestLanguage::mistakesNameFileAndLine()
{
    const auto failureOf = [](const QString &source) {
        Language language;
        language.addCommand("throws", [](const CommandCall &) -> Value { throw std::runtime_error("broken"); });
        language.addCommand("throwsNumber", [](const CommandCall &) -> Value { throw 7; });
        const QString inFile = language.outcome(source, "/tmp/a b.ksc");
        const QString typed = language.outcome(source);
        return inFile == QString(typed).replace(0, 5, "/tmp/a b.ksc:") ? typed : inFile;
    };
    playSteps(failureOf, R"(
/* a↵b */ "x↵"; => line 2: the text is not closed
$a = "x\ => line 1: the text is not closed
$a = "\q"; => line 1: a text cannot hold the escape '\q'
1;↵/* open => line 2: the comment is not closed
1 +↵ => line 2: unexpected end of the text
if (1) {↵  1;↵ => line 3: '}' is missing at the end of the text
$a = 1; $a[0] => line 1: $a is no array
99999999999999999999 => line 1: the number 99999999999999999999 is too large
1 = 2 => line 1: only a variable can be assigned to
break; => line 1: 'break' stands outside a loop
proc f() { return 1; } => line 1: f is declared without a result
proc int f()↵{ return; } => line 2: f must return a result
1;↵1 / 0 => line 2: division by zero
size(1, 2) => line 1: size takes 1 arguments, not 2
proc f() { $x; } $x = 1; f => line 1: the variable $x has no value
$a = {"x"}; $a[1] => line 1: $a has 1 elements, there is none at 1
$a[1000000000] = "x" => line 1: 1000000000 is no array index
proc f(int $a) {}↵f({"x"}); => line 2: f: an array stands where one value is wanted
proc f(int $a) {}↵f(); => line 2: f takes 1 arguments, not 0
↵throws => line 2: throws: broken
throwsNumber => line 1: throwsNumber threw something that is no error
proc f(int $n) { if ($n) f($n - 1); }↵f(199); => line 1: calls are nested more than 200 deep
)");
}

void TestLanguage::globalsLastAndScriptsReplaceWhatRuns()
{
    Language language;
    language.addCommand("exists", [&language](const CommandCall &) { return Value(language.hasProcedure("f")); });
    language.addCommand("vanish", [&language](const CommandCall &call) {
        language.removeCommand("vanish");
        return Value(call.name + " was called");
    });
    playSteps([&](const QString &source) { return language.outcome(source); }, R"(
global int $count = 3; $typed = "t"; => t
proc int next() { global int $count; $typed = 9; $local = 1; return ++$count; } => nothing
next() + next() + $typed => 9t
$local => line 1: the variable $local has no value
$count = 99;↵proc f() {}↵if ( => line 3: unexpected end of the text
"" + $count + exists("f") => 50
proc string f() { run "proc string f() { return \"new\"; }"; $x = "old"; return $x; } f() + f() => oldnew
vanish => vanish was called
vanish => line 1: unknown command 'vanish'
)");
    QCOMPARE(language.call("next", {}).toInt(), qint64(6));
}

void TestLanguage::commandsReceiveTheirArguments()
{
    const auto callsOf = [](const QString &source) {
        Language language;
        language.evaluate("$HOME_IS_NO_WORD = \"set\"; $a = {\"first\"}; " + source);
        return language.calls.join(" / ").replace('\n', "↵").replace('\r', "␍").replace('\t', "␉");
    };
    playSteps(callsOf, R"(
eval ( "source \"TavrinCreateUI.ksc\"" ); => eval|source "TavrinCreateUI.ksc"
if (`waitCursor -q -state`) { waitCursor -state off; } => waitCursor|-q|-state / waitCursor|-state|off
waitCursor -state on;↵file(); initCurrentFileTypeOption Import "" "" => waitCursor|-state|on / file / initCurrentFileTypeOption|Import||
file -force -options "" -type "T" -pr -ea "a b;c" => file|-force|-options||-type|T|-pr|-ea|a b;c
file a/b.obj ../x*.* http://h/p?q=1,2 -1.5 $HOME_IS_NO_WORD; => file|a/b.obj|../x*.*|http://h/p?q=1,2|-1.5|set
take("a\\\"\n\r\t`$;/*x*/ // 🍵"); take -f "\\" "\"" => take|a\"↵␍␉`$;/*x*/ // 🍵 / take|-f|\|"
file \↵ // comment↵ -a /* b */ -c "d""e"; => file|\|-a|-c|d|e
file (1 + 2) $a[0] $a ("x" + "y", 4) {"p", "q"} `eval z`; => eval|z / file|3|first|first|xy|4|p q|z
)");
}

QTEST_GUILESS_MAIN(TestLanguage)
#include "tst_language.moc"
