#include "http/JsonReply.h"

#include "TavrinStrings.h"

#include <openkelda/KGlobal.h>
#include <openkelda/KQtUtil.h>

#include <QJsonDocument>

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <numeric>

namespace {

constexpr int kMaxValues = 500000;

/// Returns an upper bound of the number of values in \p json: every value but the first follows one of the characters
/// ",", "[" and "{". Without branches, because a large reply has thousands of them.
int countValues(const QByteArray &json)
{
    return std::accumulate(json.begin(), json.end(), 0,
                           [](int count, char c) { return count + (c == ',') + ((c | 0x20) == '{'); });
}

/// Converts \p json to a script. Escapes U+2028 and U+2029, which are valid in a JSON string, but not in a script
/// string.
QString scriptText(const QByteArray &json)
{
    QByteArray script;
    script.reserve(json.size() + 2);
    script.append('(').append(json).append(')');
    QString text = QString::fromUtf8(script);
    // contains() is much faster than replace() on a large reply.
    if (text.contains(QChar(QChar::LineSeparator)))
        text.replace(QChar(QChar::LineSeparator), QLatin1String("\\u2028"));
    if (text.contains(QChar(QChar::ParagraphSeparator)))
        text.replace(QChar(QChar::ParagraphSeparator), QLatin1String("\\u2029"));
    return text;
}

} // namespace

JsonReply::JsonReply(const QByteArray &body)
{
    try {
        const int end = body.indexOf('\0');
        evaluate(end < 0 ? body : body.left(end));
    } catch (const std::bad_alloc &) {
        m_value = QScriptValue();
        KGlobal::displayError(TavrinStrings::getString(TavrinStrings::kHttpOutOfMemory));
    }
}

void JsonReply::evaluate(const QByteArray &json)
{
    if (countValues(json) > kMaxValues) {
        KGlobal::displayError(TavrinStrings::getString(TavrinStrings::kHttpReplyTooComplex));
        return;
    }
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
    // ResolveLocal, because a property "__proto__" in the reply would add inherited properties.
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
    const quint32 length = member(array, "length").toUInt32();
    found.reserve(length);
    for (quint32 index = 0; index < length; ++index) {
        const QScriptValue element = array.property(index, QScriptValue::ResolveLocal);
        if (element.isObject())
            found.push_back(element);
    }
    return found;
}
