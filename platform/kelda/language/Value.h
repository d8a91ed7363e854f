// language/Value.h
//
// What an expression of the command language can be: nothing, an integer, a floating number, a text or a text array.

#pragma once

#include <QString>
#include <QStringList>

#include <variant>

class Value
{
public:
    enum class Kind { None, Int, Float, String, StringArray };

    Value() = default;
    Value(qint64 value) : m_data(value) {}
    Value(int value) : m_data(static_cast<qint64>(value)) {}
    Value(bool value) : m_data(static_cast<qint64>(value ? 1 : 0)) {}
    Value(double value) : m_data(value) {}
    Value(const QString &value) : m_data(value) {}
    Value(const char *utf8) : m_data(QString::fromUtf8(utf8)) {}
    Value(const QStringList &value) : m_data(value) {}

    Kind kind() const { return static_cast<Kind>(m_data.index()); }
    bool isNone() const { return kind() == Kind::None; }

    /// False for nothing, 0, the empty text and the empty array.
    bool toBool() const;
    /// A text is read up to its first character that does not belong to a number; 0 when there is none.
    qint64 toInt() const;
    double toDouble() const;
    /// Numbers in decimal (an integral float as plain digits), an array's texts joined by blanks, nothing as "".
    QString toString() const;
    /// Characters of toString() for a text or an array, without making it; 0 for any other kind.
    qint64 textLength() const;
    /// Elements of an array; 0 for any other kind.
    qint64 arrayLength() const;
    /// An array as it is, nothing as an empty array, anything else as an array of its one text.
    QStringList toStringList() const;
    /// The array held, for changing it in place; null for any other kind.
    QStringList *array() { return std::get_if<QStringList>(&m_data); }

private:
    std::variant<std::monostate, qint64, double, QString, QStringList> m_data;
};
