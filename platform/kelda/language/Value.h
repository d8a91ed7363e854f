// language/Value.h
//
// A value of the command language: none, an integer, a string or an array of strings.

#pragma once

#include <QString>
#include <QStringList>

#include <variant>

/// The declared type of a variable, a parameter or a result. Any accepts every value.
enum class DeclaredType { Any, String, StringArray };

class Value
{
public:
    enum class Kind { None, Int, String, StringArray };

    Value() = default;
    Value(qint64 value) : m_data(value) {}
    Value(int value) : m_data(static_cast<qint64>(value)) {}
    Value(bool value) : m_data(static_cast<qint64>(value ? 1 : 0)) {}
    Value(const QString &value) : m_data(value) {}
    Value(const char *utf8) : m_data(QString::fromUtf8(utf8)) {}
    Value(const QStringList &value) : m_data(value) {}

    Kind kind() const { return static_cast<Kind>(m_data.index()); }
    bool isNone() const { return kind() == Kind::None; }

    /// Returns false for none, 0, the empty string and the empty array.
    bool toBool() const;
    /// Parses a string as a decimal integer. Returns 0 for other strings, none and arrays.
    qint64 toInt() const;
    /// Returns integers in decimal, the elements of an array joined by blanks, and "" for none.
    QString toString() const;
    /// Returns an empty array for none, and an array of one element for an integer or a string.
    QStringList toStringList() const;
    /// Converts none to "" or an empty array. Throws CommandError if exactly one of this value and \p type is an array.
    Value converted(DeclaredType type) const;
    /// Returns the array of this value, to be changed in place; null for other kinds.
    QStringList *array() { return std::get_if<QStringList>(&m_data); }

private:
    std::variant<std::monostate, qint64, QString, QStringList> m_data;
};
