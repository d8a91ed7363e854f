#include "ui/CommandText.h"

#include <openkelda/KQtUtil.h>

#include <QStringList>

QString quotedArgument(QString text)
{
    text.replace(QLatin1Char('\\'), QStringLiteral("\\\\"));
    text.replace(QLatin1Char('"'), QStringLiteral("\\\""));
    text.replace(QLatin1Char('\n'), QStringLiteral("\\n"));
    text.replace(QLatin1Char('\r'), QStringLiteral("\\r"));
    text.replace(QLatin1Char('\t'), QStringLiteral("\\t"));
    return QLatin1Char('"') + text + QLatin1Char('"');
}

QString resultText(const KCommandResult &result)
{
    int integer = 0;
    double number = 0;
    KString text;
    KStringArray array;
    if (result.getResult(integer))
        return QString::number(integer);
    if (result.getResult(number)) {
        KString digits;
        digits += number;
        return KQtUtil::toQString(digits);
    }
    if (result.getResult(text))
        return KQtUtil::toQString(text);
    QStringList parts;
    if (result.getResult(array)) {
        for (unsigned at = 0; at < array.length(); ++at)
            parts.append(KQtUtil::toQString(array[at]));
    }
    return parts.join(QLatin1Char(' '));
}
