#include "http/JsonReply.h"

#include <openkelda/KQtUtil.h>

#include <QJsonDocument>
#include <QScriptValueIterator>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

/// \p json as a program text: the two line separators may stand in a JSON string, but not in a script's.
QString scriptText(const QByteArray &json)
{
    QString text = QString::fromUtf8(json);
    // Replacing looks at each letter by itself, which takes long in a large reply; looking for one does not.
    if (text.contains(QChar(QChar::LineSeparator)))
        text.replace(QChar(QChar::LineSeparator), QLatin1String("\\u2028"));
    if (text.contains(QChar(QChar::ParagraphSeparator)))
        text.replace(QChar(QChar::ParagraphSeparator), QLatin1String("\\u2029"));
    return QLatin1Char('(') + text + QLatin1Char(')');
}

} // namespace

JsonReply::JsonReply(const QByteArray &body)
{
    const int end = body.indexOf('\0');
    const QByteArray json = end < 0 ? body : body.left(end);
    if (QJsonDocument::fromJson(json).isNull())
        return;
    const QScriptValue value = m_engine.evaluate(scriptText(json));
    if (m_engine.hasUncaughtException())
        m_engine.clearExceptions();
    else
        m_value = value;
}

QScriptValue JsonReply::member(const QScriptValue &object, const char *name)
{
    // A member named "__proto__" makes its own members shine through; only what the object itself holds was meant.
    return object.property(QString::fromUtf8(name), QScriptValue::ResolveLocal);
}

bool JsonReply::text(const QScriptValue &object, const char *name, KString &out)
{
    const QScriptValue value = member(object, name);
    if (!value.isString())
        return false;
    out = KQtUtil::toKString(value.toString());
    return true;
}

bool JsonReply::text(const QScriptValue &object, const char *name, std::wstring &out)
{
    const QScriptValue value = member(object, name);
    if (!value.isString())
        return false;
    out = value.toString().toStdWString();
    return true;
}

bool JsonReply::integer(const QScriptValue &object, const char *name, int &out)
{
    const QScriptValue value = member(object, name);
    const double number = value.isNumber() ? value.toNumber() : std::nan("");
    if (std::isnan(number))
        return false;
    constexpr double lowest = std::numeric_limits<int>::min();
    constexpr double highest = std::numeric_limits<int>::max();
    out = static_cast<int>(std::clamp(number, lowest, highest));
    return true;
}

bool JsonReply::boolean(const QScriptValue &object, const char *name, bool &out)
{
    const QScriptValue value = member(object, name);
    if (!value.isBool())
        return false;
    out = value.toBool();
    return true;
}

std::vector<QScriptValue> JsonReply::elements(const QScriptValue &array)
{
    std::vector<QScriptValue> found;
    if (!array.isArray())
        return found;
    for (QScriptValueIterator entry(array); entry.hasNext();) {
        entry.next();
        if (entry.name() != QLatin1String("length") && entry.value().isObject())
            found.push_back(entry.value());
    }
    return found;
}
