// http/JsonReply.h
//
// The one evaluator for the JSON replies of all services. A reply counts only when it is strict enough for a JSON
// parser, so that no text from a service is ever run as a program.

#pragma once

#include <openkelda/KString.h>

#include <QByteArray>
#include <QScriptEngine>
#include <QScriptValue>

#include <string>
#include <vector>

/// Values taken from a reply are dead once the reply is gone, because the reply holds their engine.
class JsonReply
{
public:
    /// Reads \p body up to its first zero byte. A reply that is nested deeper than 1024 levels, has more than 500,000
    /// values, or needs more memory than there is counts as unparsable; the last two print an error of the host. The
    /// count is an upper bound: the number of commas and opening brackets, those inside strings included.
    explicit JsonReply(const QByteArray &body);
    JsonReply(const JsonReply &) = delete;
    JsonReply &operator=(const JsonReply &) = delete;

    /// The top-level object or array; an invalid value, which has no property at all, for an unparsable reply.
    QScriptValue value() const { return m_value; }
    bool isValid() const { return m_value.isValid(); }

    /// The property \p name that \p object, any value, holds itself; an invalid value when there is none.
    static QScriptValue member(const QScriptValue &object, const char *name);
    /// The text member \p name. False, and \p out left alone, when there is none or one of another type; so for the
    /// other typed readers.
    static bool text(const QScriptValue &object, const char *name, KString &out);
    static bool text(const QScriptValue &object, const char *name, std::wstring &out);
    /// Fractions are cut off; numbers outside the 32-bit range become its nearest end.
    static bool integer(const QScriptValue &object, const char *name, int &out);
    static bool boolean(const QScriptValue &object, const char *name, bool &out);

    /// The objects and arrays in \p array, in order; other elements are left out. Empty when \p array is no array.
    static std::vector<QScriptValue> elements(const QScriptValue &array);

private:
    void evaluate(const QByteArray &json);

    QScriptEngine m_engine;
    QScriptValue m_value;
};
