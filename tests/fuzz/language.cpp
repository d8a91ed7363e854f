// Programs of the host's command language, parsed and run for a limited number of steps.

#include "Fuzz.h"
#include "language/Interpreter.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Interpreter interpreter;
    interpreter.setLimits({2000, 10000, 1000});
    int calls = 0;
    interpreter.addCommand(QStringLiteral("take"), [&calls](const CommandCall &call) {
        ++calls;
        return call.arguments.empty() ? Value(calls) : call.arguments.back();
    });
    interpreter.addCommand(QStringLiteral("eval"), [&interpreter](const CommandCall &call) {
        return call.arguments.empty() ? Value() : interpreter.evaluate(call.arguments.front().toString());
    });
    try {
        const Value result = interpreter.evaluate(QString::fromUtf8(Fuzz::bytes(data, size)), QStringLiteral("f.ksc"));
        result.toString();
        result.toInt();
    } catch (const ScriptError &error) {
        const QString message = error.message(); // of the text itself, or of one that it evaluates
        Fuzz::require(message.startsWith(QLatin1String("f.ksc:")) || message.startsWith(QLatin1String("line ")),
                      "an error names its place");
    }
    Fuzz::require(interpreter.evaluate(QStringLiteral("1 + 1")).toInt() == 2, "the interpreter works on");
    return 0;
}
