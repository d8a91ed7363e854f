#include "language/InterpreterPrivate.h"
#include "language/Operators.h"

Value Evaluator::evaluate(const Expression &expression)
{
    m_state.step(at(expression.line));
    const std::vector<ExpressionPtr> &operands = expression.operands;
    try {
        switch (expression.kind) {
        case Expression::Kind::Literal:
            return expression.literal;
        case Expression::Kind::Variable:
            if (const Variable *variable = find(expression.name))
                return variable->value;
            throw CommandError(QStringLiteral("the variable $%1 has no value").arg(expression.name));
        case Expression::Kind::Element:
            return evaluateElement(expression);
        case Expression::Kind::ArrayLiteral:
            return evaluateArray(expression);
        case Expression::Kind::Negate:
            return negated(evaluate(*operands[0]));
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
        case Expression::Kind::Conditional:
            return evaluate(*operands[evaluate(*operands[0]).toBool() ? 1 : 2]);
        case Expression::Kind::Assign:
        case Expression::Kind::PostStep:
            return evaluateAssignment(expression);
        case Expression::Kind::Catch:
            return evaluateCatch(expression);
        case Expression::Kind::Call:
            return evaluateCall(expression);
        }
    } catch (const CommandError &error) {
        throw ScriptError(error.reason(), at(expression.line));
    }
    return Value();
}

Value Evaluator::evaluateElement(const Expression &expression)
{
    const int position = index(evaluate(*expression.operands[0]), expression.line);
    return elementOf(expression.name, position, expression.line);
}

Value Evaluator::evaluateArray(const Expression &expression)
{
    QStringList items;
    for (const ExpressionPtr &operand : expression.operands)
        items.append(converted(evaluate(*operand), DeclaredType::String).toString());
    return items;
}

Value Evaluator::evaluateCall(const Expression &expression)
{
    std::vector<Value> arguments;
    arguments.reserve(expression.operands.size());
    for (const ExpressionPtr &operand : expression.operands)
        arguments.push_back(evaluate(*operand));
    return m_state.call(expression.name, arguments, at(expression.line));
}

Value Evaluator::evaluateCatch(const Expression &expression)
{
    try {
        evaluate(*expression.operands[0]);
        return false;
    } catch (const ScriptError &error) {
        if (m_state.caughtHandler)
            m_state.caughtHandler(error.message());
        return true;
    }
}

Value Evaluator::evaluateAssignment(const Expression &expression)
{
    const Expression &destination = *expression.operands[0];
    const bool isElement = destination.kind == Expression::Kind::Element;
    const int position = isElement ? index(evaluate(*destination.operands[0]), destination.line) : -1;
    const Value operand = evaluate(*expression.operands[1]);

    const bool isPlain = expression.kind == Expression::Kind::Assign && expression.op == Operator::None;
    Value before;
    if (!isPlain)
        before = isElement ? elementOf(destination.name, position, destination.line) : evaluate(destination);
    const Operator op = expression.kind == Expression::Kind::PostStep ? Operator::Add : expression.op;
    const Value after = isPlain ? operand : applied(op, before, operand);
    assign(destination, position, after);
    return expression.kind == Expression::Kind::PostStep ? before : after;
}

Value Evaluator::applied(Operator op, const Value &left, const Value &right) const
{
    if (op == Operator::Add) {
        const bool arrays = left.kind() == Value::Kind::StringArray && right.kind() == Value::Kind::StringArray;
        m_state.checkLength(arrays ? 0 : left.textLength() + right.textLength(),
                            arrays ? left.arrayLength() + right.arrayLength() : 0);
    }
    return applyOperator(op, left, right);
}

Variable *Evaluator::find(const QString &name)
{
    Variables &variables = m_frame && m_frame->globals.count(name) == 0 ? m_frame->locals : m_state.globals;
    const auto found = variables.find(name);
    return found == variables.end() ? nullptr : &found->second;
}

Variable &Evaluator::target(const QString &name)
{
    Variables &variables = m_frame && m_frame->globals.count(name) == 0 ? m_frame->locals : m_state.globals;
    return variables[name];
}

int Evaluator::index(const Value &value, int line) const
{
    const qint64 number = value.toInt();
    if (number < 0 || number >= m_state.limits.arrayLength)
        throw ScriptError(QStringLiteral("%1 is no array index").arg(number), at(line));
    return static_cast<int>(number);
}

Value Evaluator::elementOf(const QString &name, int index, int line)
{
    Variable *variable = find(name);
    const QStringList *items = variable ? variable->value.array() : nullptr;
    if (!items)
        throw ScriptError(QStringLiteral("$%1 is no array").arg(name), at(line));
    if (index >= items->size())
        throw ScriptError(
            QStringLiteral("$%1 has %2 elements, there is none at %3").arg(name).arg(items->size()).arg(index),
            at(line));
    return items->at(index);
}

void Evaluator::assign(const Expression &destination, int index, const Value &value)
{
    Variable &variable = target(destination.name);
    if (destination.kind == Expression::Kind::Variable) {
        variable.value = converted(value, variable.type);
        return;
    }
    if (variable.value.isNone())
        variable.value = QStringList();
    QStringList *items = variable.value.array();
    if (!items)
        throw CommandError(QStringLiteral("$%1 is no array").arg(destination.name));
    const QString text = converted(value, DeclaredType::String).toString();
    while (items->size() <= index)
        items->append(QString());
    (*items)[index] = text;
}
