#include "language/Evaluator.h"

namespace {

constexpr qint64 kLargestIndex = 1'000'000;

qint64 toNumber(const Value &value)
{
    bool ok = value.kind() == Value::Kind::Int;
    const qint64 number = ok ? value.toInt() : value.toString().toLongLong(&ok);
    if (!ok)
        throw CommandError(QStringLiteral("'%1' is not a number").arg(value.toString()));
    return number;
}

Value calculated(Operator op, qint64 left, qint64 right)
{
    qint64 result = 0;
    bool failed = false;
    if (op == Operator::Add)
        failed = __builtin_add_overflow(left, right, &result);
    else if (op == Operator::Subtract)
        failed = __builtin_sub_overflow(left, right, &result);
    else if (op == Operator::Multiply)
        failed = __builtin_mul_overflow(left, right, &result);
    else if (right == 0)
        throw CommandError(QStringLiteral("division by zero"));
    else if (right == -1)
        failed = __builtin_sub_overflow(0, left, &result);
    else
        result = left / right;
    if (failed)
        throw CommandError(QStringLiteral("the result is out of range"));
    return result;
}

/// Returns a negative number, 0 or a positive number. Compares two integers as numbers, all other values as texts.
int compared(const Value &left, const Value &right)
{
    if (left.kind() != Value::Kind::Int || right.kind() != Value::Kind::Int)
        return left.toString().compare(right.toString());
    return left.toInt() < right.toInt() ? -1 : left.toInt() > right.toInt();
}

/// "+" joins texts if one of the values is a string.
Value applied(Operator op, const Value &left, const Value &right)
{
    switch (op) {
    case Operator::Equal:
        return compared(left, right) == 0;
    case Operator::NotEqual:
        return compared(left, right) != 0;
    case Operator::Less:
        return compared(left, right) < 0;
    case Operator::Greater:
        return compared(left, right) > 0;
    case Operator::LessEqual:
        return compared(left, right) <= 0;
    case Operator::GreaterEqual:
        return compared(left, right) >= 0;
    case Operator::Add:
        if (left.kind() == Value::Kind::String || right.kind() == Value::Kind::String)
            return left.toString() + right.toString();
        break;
    default:
        break;
    }
    return calculated(op, toNumber(left), toNumber(right));
}

} // namespace

Evaluator::Flow Evaluator::run(const StatementList &block)
{
    for (const StatementPtr &statement : block) {
        try {
            const Flow flow = run(*statement);
            if (flow != Flow::Next)
                return flow;
        } catch (const CommandError &error) {
            throw ScriptError(error.reason(), {m_file, statement->line});
        }
    }
    return Flow::Next;
}

Evaluator::Flow Evaluator::run(const Statement &statement)
{
    const auto value = [&] { return statement.expression ? evaluate(*statement.expression) : Value(); };
    switch (statement.kind) {
    case Statement::Kind::Expression:
        m_result = value();
        return Flow::Next;
    case Statement::Kind::Declare: {
        const Declaration &declaration = statement.declaration;
        m_variables[declaration.name] = {value().converted(declaration.type), declaration.type};
        return Flow::Next;
    }
    case Statement::Kind::If:
        return run(value().toBool() ? statement.body : statement.otherwise);
    case Statement::Kind::ForEach:
        return runLoop(statement);
    case Statement::Kind::Break:
        return Flow::Break;
    case Statement::Kind::Continue:
        return Flow::Continue;
    case Statement::Kind::Return:
        m_result = value();
        return Flow::Return;
    case Statement::Kind::Procedure:
        define(statement.procedure);
        return Flow::Next;
    }
    return Flow::Next;
}

Evaluator::Flow Evaluator::runLoop(const Statement &statement)
{
    const QStringList items = evaluate(*statement.expression).toStringList();
    for (const QString &item : items) {
        Variable &variable = m_variables[statement.declaration.name];
        variable.value = Value(item).converted(variable.type);
        const Flow flow = run(statement.body);
        if (flow == Flow::Return)
            return flow;
        if (flow == Flow::Break)
            break;
    }
    return Flow::Next;
}

void Evaluator::define(const std::shared_ptr<const Procedure> &procedure)
{
    if (m_interpreter.hasCommand(procedure->name))
        throw CommandError(QStringLiteral("a command is already named %1").arg(procedure->name));
    m_interpreter.m_procedures.insert(procedure->name, procedure);
}

Value Evaluator::evaluate(const Expression &expression)
{
    const std::vector<ExpressionPtr> &operands = expression.operands;
    switch (expression.kind) {
    case Expression::Kind::Literal:
        return expression.literal;
    case Expression::Kind::Variable: {
        const auto found = m_variables.find(expression.name);
        if (found == m_variables.end())
            throw CommandError(QStringLiteral("the variable $%1 has no value").arg(expression.name));
        return found->second.value;
    }
    case Expression::Kind::Element: {
        const int at = index(expression);
        const QStringList &items = arrayNamed(expression.name);
        if (at >= items.size())
            throw CommandError(
                QStringLiteral("$%1 has %2 elements, the index is %3").arg(expression.name).arg(items.size()).arg(at));
        return items[at];
    }
    case Expression::Kind::ArrayLiteral: {
        QStringList items;
        for (const ExpressionPtr &operand : operands)
            items.append(evaluate(*operand).converted(DeclaredType::String).toString());
        return items;
    }
    case Expression::Kind::Negate:
        return calculated(Operator::Subtract, 0, toNumber(evaluate(*operands[0])));
    case Expression::Kind::Not:
        return !evaluate(*operands[0]).toBool();
    case Expression::Kind::Binary: {
        const Value left = evaluate(*operands[0]);
        return applied(expression.op, left, evaluate(*operands[1]));
    }
    case Expression::Kind::And:
        return evaluate(*operands[0]).toBool() && evaluate(*operands[1]).toBool();
    case Expression::Kind::Or:
        return evaluate(*operands[0]).toBool() || evaluate(*operands[1]).toBool();
    case Expression::Kind::Assign:
        return evaluateAssignment(expression);
    case Expression::Kind::Call:
        return evaluateCall(expression);
    case Expression::Kind::Catch:
        return evaluateCatch(expression);
    }
    return Value();
}

Value Evaluator::evaluateCall(const Expression &expression)
{
    m_interpreter.checkStack(); // the arguments may be calls, too
    std::vector<Value> arguments;
    arguments.reserve(expression.operands.size());
    for (const ExpressionPtr &operand : expression.operands)
        arguments.push_back(evaluate(*operand));
    return m_interpreter.call(expression.name, arguments, {m_file, expression.line});
}

Value Evaluator::evaluateCatch(const Expression &expression)
{
    try {
        evaluate(*expression.operands[0]);
        return false;
    } catch (const ScriptError &error) {
        m_interpreter.m_caughtHandler(error.message());
    } catch (const CommandError &error) {
        m_interpreter.m_caughtHandler(ScriptError(error.reason(), {m_file, expression.line}).message());
    }
    return true;
}

Value Evaluator::evaluateAssignment(const Expression &expression)
{
    const Expression &target = *expression.operands[0];
    const bool isElement = target.kind == Expression::Kind::Element;
    const int at = isElement ? index(target) : 0;
    const Value value = evaluate(*expression.operands[1]);
    if (!isElement) {
        Variable &variable = m_variables[target.name];
        variable.value = value.converted(variable.type);
        return value;
    }
    if (m_variables[target.name].value.isNone())
        m_variables[target.name].value = QStringList();
    QStringList &items = arrayNamed(target.name);
    const QString text = value.converted(DeclaredType::String).toString();
    while (items.size() <= at)
        items.append(QString());
    items[at] = text;
    return value;
}

int Evaluator::index(const Expression &element)
{
    const qint64 number = toNumber(evaluate(*element.operands[0]));
    if (number < 0 || number >= kLargestIndex)
        throw CommandError(QStringLiteral("%1 is not a valid array index").arg(number));
    return static_cast<int>(number);
}

QStringList &Evaluator::arrayNamed(const QString &name)
{
    const auto variable = m_variables.find(name);
    QStringList *items = variable == m_variables.end() ? nullptr : variable->second.value.array();
    if (!items)
        throw CommandError(QStringLiteral("$%1 is not an array").arg(name));
    return *items;
}
