#include "language/Value.h"

#include "language/Interpreter.h"

bool Value::toBool() const
{
    if (const qint64 *integer = std::get_if<qint64>(&m_data))
        return *integer != 0;
    return kind() == Kind::StringArray ? !toStringList().isEmpty() : !toString().isEmpty();
}

qint64 Value::toInt() const
{
    if (const qint64 *integer = std::get_if<qint64>(&m_data))
        return *integer;
    return kind() == Kind::String ? toString().toLongLong() : 0;
}

QString Value::toString() const
{
    switch (kind()) {
    case Kind::None:
        break;
    case Kind::Int:
        return QString::number(std::get<qint64>(m_data));
    case Kind::String:
        return std::get<QString>(m_data);
    case Kind::StringArray:
        return std::get<QStringList>(m_data).join(QLatin1Char(' '));
    }
    return QString();
}

QStringList Value::toStringList() const
{
    if (kind() == Kind::StringArray)
        return std::get<QStringList>(m_data);
    return isNone() ? QStringList() : QStringList(toString());
}

Value Value::converted(DeclaredType type) const
{
    const bool isArray = kind() == Kind::StringArray;
    if (isArray && type == DeclaredType::String)
        throw CommandError(QStringLiteral("expected a single value, got an array"));
    if (!isArray && !isNone() && type == DeclaredType::StringArray)
        throw CommandError(QStringLiteral("expected an array, got a single value"));
    if (type == DeclaredType::Any)
        return *this;
    return type == DeclaredType::String ? Value(toString()) : Value(toStringList());
}
