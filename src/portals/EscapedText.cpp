#include "portals/EscapedText.h"

QString escapedText(const QString &text, const char *characters)
{
    const QString special = QString::fromLatin1(characters);
    QString result;
    for (const QChar character : text) {
        if (special.contains(character))
            result += QString::fromLatin1('%' + QByteArray(1, character.toLatin1()).toHex().toUpper());
        else
            result += character;
    }
    return result;
}
