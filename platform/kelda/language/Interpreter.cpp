#include "language/Interpreter.h"

#include "language/Builtins.h"
#include "language/InterpreterPrivate.h"
#include "language/Operators.h"
#include "language/Parser.h"

#include <cstdlib>

namespace {

constexpr int deepestCall = 200;
/// Bytes of stack that scripts may use; a main thread has 8 MiB, and commands need some of it.
constexpr std::ptrdiff_t stackBudget = 4 * 1024 * 1024;

const char *stackPosition()
{
    return static_cast<const char *>(__builtin_frame_address(0));
}

/// Throws CommandError unless \p given is \p wanted.
void requireArguments(const QString &name, std::size_t wanted, std::size_t given)
{
    if (given != wanted)
        throw CommandError(QStringLiteral("%1 takes %2 arguments, not %3").arg(name).arg(wanted).arg(given));
}

} // namespace

void CommandCall::requireCount(std::size_t count) const
{
    requireArguments(name, count, arguments.size());
}

QStringList CommandCall::texts() const
{
    QStringList all;
    for (const Value &argument : arguments)
        all.append(argument.toString());
    return all;
}

CallDepth::CallDepth(Interpreter::Private &state) : m_state(state)
{
    if (m_state.depth >= deepestCall)
        throw CommandError(QStringLiteral("calls are nested more than %1 deep").arg(deepestCall));
    if (m_state.depth++ == 0) {
        m_state.stackBase = stackPosition();
        m_state.steps = 0;
    }
}

CallDepth::~CallDepth()
{
    --m_state.depth;
}

void Interpreter::Private::step(const SourcePosition &where)
{
    if (limits.steps > 0 && ++steps > limits.steps)
        throw ScriptError(QStringLiteral("the program takes more than %1 steps").arg(limits.steps), where);
    if (std::abs(stackBase - stackPosition()) > stackBudget)
        throw ScriptError(QStringLiteral("calls and expressions are nested too deeply"), where);
}

void Interpreter::Private::checkLength(qint64 textLength, qint64 arrayLength) const
{
    if (textLength > limits.textLength)
        throw CommandError(QStringLiteral("a text cannot have more than %1 characters").arg(limits.textLength));
    if (arrayLength > limits.arrayLength)
        throw CommandError(QStringLiteral("an array cannot have more than %1 elements").arg(limits.arrayLength));
}

Value Interpreter::Private::call(const QString &name, const std::vector<Value> &arguments, const SourcePosition &where)
{
    try {
        const CallDepth depthGuard(*this);
        // Both are copied: what is called may redefine or remove itself.
        if (const std::shared_ptr<const Procedure> procedure = procedures.value(name))
            return callProcedure(*procedure, arguments);
        const CommandFunction command = commands.value(name);
        if (!command)
            throw CommandError(QStringLiteral("unknown command '%1'").arg(name));
        const Value result = command({name, arguments});
        checkLength(result.kind() == Value::Kind::String ? result.textLength() : 0, result.arrayLength());
        return result;
    } catch (const ScriptError &) {
        throw;
    } catch (const CommandError &error) {
        throw ScriptError(error.reason(), where);
    } catch (const std::exception &error) {
        throw ScriptError(QStringLiteral("%1: %2").arg(name, QString::fromUtf8(error.what())), where);
    } catch (...) {
        throw ScriptError(QStringLiteral("%1 threw something that is no error").arg(name), where);
    }
}

Value Interpreter::Private::callProcedure(const Procedure &procedure, const std::vector<Value> &arguments)
{
    requireArguments(procedure.name, procedure.parameters.size(), arguments.size());
    try {
        Frame frame;
        for (std::size_t i = 0; i < arguments.size(); ++i) {
            const Declaration &parameter = procedure.parameters[i];
            frame.locals[parameter.name] = {converted(arguments[i], parameter.type), parameter.type};
        }
        Evaluator evaluator(*this, procedure.file, &frame);
        const bool returned = evaluator.run(procedure.body) == Evaluator::Flow::Return;
        if (procedure.result == DeclaredType::Any)
            return Value();
        return converted(returned ? evaluator.result() : Value(), procedure.result);
    } catch (const CommandError &error) {
        throw CommandError(QStringLiteral("%1: %2").arg(procedure.name, error.reason()));
    }
}

Interpreter::Interpreter() : d(std::make_unique<Private>())
{
    addBuiltins(*this);
}

Interpreter::~Interpreter() = default;

bool Interpreter::addCommand(const QString &name, CommandFunction function)
{
    if (hasCommand(name))
        return false;
    d->commands.insert(name, std::move(function));
    return true;
}

bool Interpreter::removeCommand(const QString &name)
{
    return d->commands.remove(name) > 0;
}

bool Interpreter::hasCommand(const QString &name) const
{
    return d->commands.contains(name);
}

bool Interpreter::hasProcedure(const QString &name) const
{
    return d->procedures.contains(name);
}

void Interpreter::setLimits(const Limits &limits)
{
    d->limits = limits;
}

void Interpreter::setCaughtHandler(std::function<void(const QString &)> handler)
{
    d->caughtHandler = std::move(handler);
}

Value Interpreter::evaluate(const QString &source, const QString &file)
{
    const CallDepth depthGuard(*d);
    const StatementList program = Parser(source, file).parse();
    Evaluator evaluator(*d, file, nullptr);
    evaluator.run(program);
    return evaluator.result();
}

Value Interpreter::call(const QString &name, const std::vector<Value> &arguments)
{
    return d->call(name, arguments, SourcePosition());
}
