// http/JsonReply.h
//
// Evaluates the JSON replies of all services with a script engine. Text that is not valid JSON is rejected first, so
// that a service cannot run a script.

#pragma once

#include <openkelda/KString.h>

#include <QByteArray>
#include <QScriptEngine>
#include <QScriptValue>

#include <string>
#include <vector>

/// Owns the engine of its values: they are invalid after the reply is deleted.
class JsonReply
{
public:
    /// Parses \p body up to its first zero byte. Rejects replies with more than 1024 nested levels or 500,000 values
    /// (counted as commas and opening brackets, also in strings), and replies that need more memory than is available.
    /// The last two are reported on the host's error output.
    explicit JsonReply(const QByteArray &body);
    JsonReply(const JsonReply &) = delete;
    JsonReply &operator=(const JsonReply &) = delete;

    /// Returns the top-level object or array, or an invalid value, without properties, for a rejected reply.
    QScriptValue value() const { return m_value; }
    bool isValid() const { return m_value.isValid(); }

    /// Returns the property \p name of \p object itself (not an inherited one), or an invalid value. \p object may be
    /// any value.
    static QScriptValue member(const QScriptValue &object, const char *name);
    /// Reads the text property \p name. Returns false and leaves \p out unchanged if it does not exist or has another
    /// type. The same applies to integer() and boolean().
    static bool text(const QScriptValue &object, const char *name, KString &out);
    static bool text(const QScriptValue &object, const char *name, std::wstring &out);
    /// Truncates fractions and clamps numbers to the 32-bit range.
    static bool integer(const QScriptValue &object, const char *name, int &out);
    static bool boolean(const QScriptValue &object, const char *name, bool &out);

    /// Returns the elements of \p array that are objects or arrays, in order; empty if \p array is not an array.
    static std::vector<QScriptValue> elements(const QScriptValue &array);

private:
    void evaluate(const QByteArray &json);

    QScriptEngine m_engine;
    QScriptValue m_value;
};
