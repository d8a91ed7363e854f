#include "TavrinHelper.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

bool IsKeldaCanRunUI()
{
    return static_cast<unsigned>(KGlobal::keldaState()) - 1u > 1u;
}

bool qtHelper_removeDir(const QString &path)
{
    if (path.isEmpty())
        return true;
    const QString cleanPath = QDir::cleanPath(path);
    if (QFileInfo(cleanPath).isSymLink())
        return QFile::remove(cleanPath);
    const QDir directory(cleanPath);
    if (!directory.exists())
        return true;

    const QDir::Filters everything = QDir::Files | QDir::AllDirs | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    const QFileInfoList entries = directory.entryInfoList(everything, QDir::DirsFirst);
    for (const QFileInfo &entry : entries) {
        const QString entryPath = entry.absoluteFilePath();
        const bool isRemoved = entry.isDir() ? qtHelper_removeDir(entryPath) : QFile::remove(entryPath);
        if (!isRemoved)
            return false;
    }
    // Not directory.rmdir(), which resolves a relative path against the directory itself.
    return QDir().rmdir(cleanPath);
}

namespace Tavrin {

WaitCursorAuto::~WaitCursorAuto()
{
    KGlobal::executeCommand("if (`waitCursor -q -state`) { waitCursor -state off; }");
}

WaitCursor::WaitCursor()
{
    KGlobal::executeCommand("waitCursor -state on;");
}

} // namespace Tavrin

namespace {

bool hasDriveLetter(const QString &name)
{
    if (name.size() < 2 || name.at(1) != QLatin1Char(':'))
        return false;
    const ushort letter = name.at(0).toLower().unicode();
    return letter >= 'a' && letter <= 'z';
}

bool isSafeLocalName(const QString &name)
{
    // QFile removes an unpaired surrogate at the end of a path, which could result in "..".
    return !name.isEmpty() && name.isValidUtf16() && name != QLatin1String(".") && name != QLatin1String("..") &&
           !name.contains(QLatin1Char('/')) && !name.contains(QLatin1Char('\\')) &&
           !name.contains(QChar(QChar::Null)) && !hasDriveLetter(name);
}

} // namespace

namespace TavrinHelper {

KString quoted(const KString &text)
{
    std::string escaped;
    for (const char *next = text.utf8(); *next != '\0'; ++next) {
        switch (*next) {
        case '\\':
            escaped += "\\\\";
            break;
        case '"':
            escaped += "\\\"";
            break;
        case '\n':
            escaped += "\\n";
            break;
        case '\r':
            escaped += "\\r";
            break;
        case '\t':
            escaped += "\\t";
            break;
        default:
            escaped += *next;
        }
    }
    return KString(escaped);
}

QString percentEncoded(const QString &text, const char *characters)
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

KString userAppDirectory()
{
    const KString directory = KGlobal::executeCommandStringResult("internalVar -userAppDir");
    return directory.isEmpty() ? KString("./") : directory;
}

KString tempCloudDirectory()
{
    return userAppDirectory() + "temp_cloud";
}

KString hostLocation()
{
    const KString location = KGlobal::executeCommandStringResult("getenv \"KELDA_LOCATION\";");
    return location.isEmpty() ? KString(".") : location;
}

QIcon portalIcon(const KString &fileName)
{
    const QString path = KQtUtil::toQString(hostLocation() + "/icons/CloudPortal/" + fileName);
    return QFileInfo(path).isFile() ? QIcon(path) : QIcon();
}

QString safeLocalName(const QString &name)
{
    return isSafeLocalName(name) ? name : QStringLiteral("_");
}

QString safeLocalPath(const QString &path)
{
    QStringList components = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    for (QString &component : components)
        component = safeLocalName(component);
    const QString safe = components.join(QLatin1Char('/'));
    return path.startsWith(QLatin1Char('/')) && !safe.isEmpty() ? QLatin1Char('/') + safe : safe;
}

} // namespace TavrinHelper
