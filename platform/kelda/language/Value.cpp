#include "language/Value.h"

#include <openkelda/KQtUtil.h>

#include <cmath>
#include <limits>

namespace {

/// The leading part of \p text that reads as a number, such as "-1.5e3" of "-1.5e3cm". Empty when there is none.
QByteArray numberIn(const QString &text)
{
    const QByteArray bytes = text.trimmed().toLatin1();
    int at = 0;
    const auto skipDigits = [&] {
        const int begin = at;
        while (at < bytes.size() && bytes[at] >= '0' && bytes[at] <= '9')
            ++at;
        return at > begin;
    };
    if (at < bytes.size() && (bytes[at] == '-' || bytes[at] == '+'))
        ++at;
    bool digits = skipDigits();
    if (at < bytes.size() && bytes[at] == '.') {
        ++at;
        digits = skipDigits() || digits;
    }
    if (!digits)
        return QByteArray();
    const int mantissa = at;
    if (at < bytes.size() && (bytes[at] == 'e' || bytes[at] == 'E')) {
        ++at;
        if (at < bytes.size() && (bytes[at] == '-' || bytes[at] == '+'))
            ++at;
        if (!skipDigits())
            at = mantissa;
    }
    return bytes.left(at);
}

/// Cuts the fraction off; the nearest integer there is for what is out of range, 0 for no number.
qint64 truncated(double value)
{
    constexpr double limit = 9223372036854775808.0;
    if (std::isnan(value))
        return 0;
    if (value >= limit)
        return std::numeric_limits<qint64>::max();
    return value < -limit ? std::numeric_limits<qint64>::min() : static_cast<qint64>(value);
}

} // namespace

bool Value::toBool() const
{
    switch (kind()) {
    case Kind::None:
        return false;
    case Kind::Int:
        return std::get<qint64>(m_data) != 0;
    case Kind::Float:
        return std::get<double>(m_data) != 0;
    case Kind::String:
        return !std::get<QString>(m_data).isEmpty();
    case Kind::StringArray:
        return !std::get<QStringList>(m_data).isEmpty();
    }
    return false;
}

qint64 Value::toInt() const
{
    if (kind() == Kind::Int)
        return std::get<qint64>(m_data);
    if (kind() == Kind::String) {
        bool ok = false;
        const qint64 integer = numberIn(std::get<QString>(m_data)).toLongLong(&ok);
        if (ok)
            return integer;
    }
    return truncated(toDouble());
}

double Value::toDouble() const
{
    switch (kind()) {
    case Kind::Int:
        return static_cast<double>(std::get<qint64>(m_data));
    case Kind::Float:
        return std::get<double>(m_data);
    case Kind::String:
        return numberIn(std::get<QString>(m_data)).toDouble();
    case Kind::None:
    case Kind::StringArray:
        break;
    }
    return 0;
}

QString Value::toString() const
{
    switch (kind()) {
    case Kind::None:
        break;
    case Kind::Int:
        return QString::number(std::get<qint64>(m_data));
    case Kind::Float:
        return KQtUtil::toQString(KString() + std::get<double>(m_data));
    case Kind::String:
        return std::get<QString>(m_data);
    case Kind::StringArray:
        return std::get<QStringList>(m_data).join(QLatin1Char(' '));
    }
    return QString();
}

qint64 Value::textLength() const
{
    if (const QString *text = std::get_if<QString>(&m_data))
        return text->size();
    const QStringList *items = std::get_if<QStringList>(&m_data);
    qint64 length = items && !items->isEmpty() ? items->size() - 1 : 0;
    if (items) {
        for (const QString &item : *items)
            length += item.size();
    }
    return length;
}

qint64 Value::arrayLength() const
{
    const QStringList *items = std::get_if<QStringList>(&m_data);
    return items ? items->size() : 0;
}

QStringList Value::toStringList() const
{
    if (kind() == Kind::StringArray)
        return std::get<QStringList>(m_data);
    return isNone() ? QStringList() : QStringList(toString());
}
