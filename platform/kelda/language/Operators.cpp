#include "language/Operators.h"

#include "language/Interpreter.h"

#include <cmath>
#include <limits>

namespace {

/// A number as it takes part in arithmetic; anything but a number or a text that reads as an integer is a double.
Value number(const Value &value)
{
    switch (value.kind()) {
    case Value::Kind::Int:
    case Value::Kind::Float:
        return value;
    case Value::Kind::None:
        return Value(0);
    case Value::Kind::String: {
        const double real = value.toDouble();
        const qint64 integer = value.toInt();
        return static_cast<double>(integer) == real ? Value(integer) : Value(real);
    }
    case Value::Kind::StringArray:
        break;
    }
    throw CommandError(QStringLiteral("an array is no number"));
}

qint64 wrapped(quint64 bits)
{
    return static_cast<qint64>(bits);
}

Value integerResult(Operator op, qint64 left, qint64 right)
{
    const auto a = static_cast<quint64>(left);
    const auto b = static_cast<quint64>(right);
    const bool overflows = left == std::numeric_limits<qint64>::min() && right == -1;
    switch (op) {
    case Operator::Add:
        return wrapped(a + b);
    case Operator::Subtract:
        return wrapped(a - b);
    case Operator::Multiply:
        return wrapped(a * b);
    default:
        break;
    }
    if (right == 0)
        throw CommandError(QStringLiteral("division by zero"));
    if (op == Operator::Divide)
        return overflows ? left : left / right;
    return overflows ? qint64(0) : left % right;
}

Value realResult(Operator op, double left, double right)
{
    switch (op) {
    case Operator::Add:
        return left + right;
    case Operator::Subtract:
        return left - right;
    case Operator::Multiply:
        return left * right;
    default:
        break;
    }
    if (right == 0)
        throw CommandError(QStringLiteral("division by zero"));
    return op == Operator::Divide ? left / right : std::fmod(left, right);
}

template <typename T>
bool holds(Operator op, const T &left, const T &right)
{
    switch (op) {
    case Operator::Equal:
        return left == right;
    case Operator::NotEqual:
        return !(left == right);
    case Operator::Less:
        return left < right;
    case Operator::Greater:
        return right < left;
    case Operator::LessEqual:
        return left < right || left == right;
    default:
        return right < left || left == right;
    }
}

bool compared(Operator op, const Value &left, const Value &right)
{
    const bool arrays = left.kind() == Value::Kind::StringArray && right.kind() == Value::Kind::StringArray;
    if (arrays && (op == Operator::Equal || op == Operator::NotEqual))
        return (left.toStringList() == right.toStringList()) == (op == Operator::Equal);
    if (left.kind() == Value::Kind::String && right.kind() == Value::Kind::String)
        return holds(op, left.toString(), right.toString());
    const Value a = number(left);
    const Value b = number(right);
    if (a.kind() == Value::Kind::Int && b.kind() == Value::Kind::Int)
        return holds(op, a.toInt(), b.toInt());
    return holds(op, a.toDouble(), b.toDouble());
}

} // namespace

Value applyOperator(Operator op, const Value &left, const Value &right)
{
    switch (op) {
    case Operator::Equal:
    case Operator::NotEqual:
    case Operator::Less:
    case Operator::Greater:
    case Operator::LessEqual:
    case Operator::GreaterEqual:
        return compared(op, left, right);
    case Operator::Add:
        if (left.kind() == Value::Kind::String || right.kind() == Value::Kind::String)
            return left.toString() + right.toString();
        if (left.kind() == Value::Kind::StringArray && right.kind() == Value::Kind::StringArray)
            return left.toStringList() + right.toStringList();
        break;
    default:
        break;
    }
    const Value a = number(left);
    const Value b = number(right);
    if (a.kind() == Value::Kind::Int && b.kind() == Value::Kind::Int)
        return integerResult(op, a.toInt(), b.toInt());
    return realResult(op, a.toDouble(), b.toDouble());
}

Value negated(const Value &operand)
{
    const Value value = number(operand);
    if (value.kind() == Value::Kind::Int)
        return wrapped(0 - static_cast<quint64>(value.toInt()));
    return -value.toDouble();
}

Value converted(const Value &value, DeclaredType type)
{
    const bool isArray = value.kind() == Value::Kind::StringArray;
    if (isArray && type != DeclaredType::StringArray && type != DeclaredType::Any)
        throw CommandError(QStringLiteral("an array stands where one value is wanted"));
    if (!isArray && !value.isNone() && type == DeclaredType::StringArray)
        throw CommandError(QStringLiteral("one value stands where an array is wanted"));
    switch (type) {
    case DeclaredType::Any:
        return value;
    case DeclaredType::Int:
        return value.toInt();
    case DeclaredType::Float:
        return value.toDouble();
    case DeclaredType::String:
        return value.toString();
    case DeclaredType::StringArray:
        return value.toStringList();
    }
    return value;
}
