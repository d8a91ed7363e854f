#include "language/Interpreter.h"

#include "language/Evaluator.h"
#include "language/Parser.h"

#include <cstdlib>

namespace {

/// Bytes of stack that scripts may use. A main thread has 8 MiB, and commands need some of it.
constexpr std::ptrdiff_t kStackBudget = 4 * 1024 * 1024;

const char *stackPosition()
{
    return static_cast<const char *>(__builtin_frame_address(0));
}

QString withPosition(const QString &reason, const SourcePosition &where)
{
    if (where.line <= 0)
        return reason;
    const QString start = where.file.isEmpty() ? QStringLiteral("line ") : where.file + QLatin1Char(':');
    return start + QString::number(where.line) + QStringLiteral(": ") + reason;
}

void requireArguments(const QString &name, std::size_t wanted, std::size_t given)
{
    if (given != wanted)
        throw CommandError(QStringLiteral("%1 takes %2 arguments, not %3").arg(name).arg(wanted).arg(given));
}

/// Returns the number of characters of a string or of elements of an array.
Value size(const CommandCall &call)
{
    call.requireCount(1);
    const Value &value = call.arguments[0];
    return value.kind() == Value::Kind::String ? value.toString().size() : value.toStringList().size();
}

Value toLower(const CommandCall &call)
{
    call.requireCount(1);
    return call.texts()[0].toLower();
}

/// tokenize(text, separators) splits the text at each separator character and returns the parts that are not empty.
Value tokenize(const CommandCall &call)
{
    call.requireCount(2);
    const QString separators = call.texts()[1];
    QString text = call.texts()[0];
    for (QChar &character : text) {
        if (separators.contains(character))
            character = QChar::Null;
    }
    return text.split(QChar(QChar::Null), Qt::SkipEmptyParts);
}

} // namespace

ScriptError::ScriptError(const QString &reason, const SourcePosition &where)
    : std::runtime_error(withPosition(reason, where).toStdString())
{}

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

QString quotedArgument(QString text)
{
    text.replace(QLatin1Char('\\'), QStringLiteral("\\\\")).replace(QLatin1Char('"'), QStringLiteral("\\\""));
    text.replace(QLatin1Char('\n'), QStringLiteral("\\n"));
    return QLatin1Char('"') + text + QLatin1Char('"');
}

Interpreter::Interpreter() : m_stackBase(stackPosition())
{
    addCommand(QStringLiteral("size"), size);
    addCommand(QStringLiteral("tolower"), toLower);
    addCommand(QStringLiteral("tokenize"), tokenize);
}

bool Interpreter::addCommand(const QString &name, CommandFunction function)
{
    if (hasCommand(name))
        return false;
    m_commands.insert(name, std::move(function));
    return true;
}

Value Interpreter::evaluate(const QString &source, const QString &file)
{
    const StatementList program = Parser(source, file).parse();
    Evaluator evaluator(*this, m_globals, file);
    evaluator.run(program);
    return evaluator.result();
}

Value Interpreter::call(const QString &name, const std::vector<Value> &arguments, const SourcePosition &where)
{
    try {
        checkStack();
        // Both are copied, because the callee may redefine or remove itself.
        if (const std::shared_ptr<const Procedure> procedure = m_procedures.value(name))
            return callProcedure(*procedure, arguments);
        const CommandFunction command = m_commands.value(name);
        if (!command)
            throw CommandError(QStringLiteral("unknown command '%1'").arg(name));
        return command({name, arguments});
    } catch (const ScriptError &) {
        throw;
    } catch (const CommandError &error) {
        throw ScriptError(error.reason(), where);
    } catch (const std::exception &error) {
        throw ScriptError(QStringLiteral("%1: %2").arg(name, QString::fromUtf8(error.what())), where);
    } catch (...) {
        throw ScriptError(QStringLiteral("%1: unknown exception").arg(name), where);
    }
}

Value Interpreter::callProcedure(const Procedure &procedure, const std::vector<Value> &arguments)
{
    requireArguments(procedure.name, procedure.parameters.size(), arguments.size());
    try {
        Variables variables;
        for (std::size_t i = 0; i < arguments.size(); ++i) {
            const Declaration &parameter = procedure.parameters[i];
            variables[parameter.name] = {arguments[i].converted(parameter.type), parameter.type};
        }
        Evaluator evaluator(*this, variables, procedure.file);
        const bool returned = evaluator.run(procedure.body) == Evaluator::Flow::Return;
        if (procedure.result == DeclaredType::Any)
            return Value();
        return (returned ? evaluator.result() : Value()).converted(procedure.result);
    } catch (const CommandError &error) {
        throw CommandError(QStringLiteral("%1: %2").arg(procedure.name, error.reason()));
    }
}

void Interpreter::checkStack() const
{
    if (std::abs(m_stackBase - stackPosition()) > kStackBudget)
        throw CommandError(QStringLiteral("calls are nested too deeply"));
}
