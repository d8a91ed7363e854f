#include "TavrinSettings.h"

#include <openkelda/KQtUtil.h>

#include <QFile>
#include <QFileInfo>

namespace {

const QString organisation = QStringLiteral("Corvane");
/// Appended to a settings name, it gives a file that cannot exist beside a pipe or a device at the settings path.
const QString belowFile = QStringLiteral(".ini/unusable");

const char versionKey[] = "version";
const char activeKey[] = "preview_window_Active";
const char raisedKey[] = "preview_window_Raised";
const char widthKey[] = "preview_window_size_width";
const char heightKey[] = "preview_window_size_height";
const char xKey[] = "preview_window_position_x";
const char yKey[] = "preview_window_position_y";
const char floatingKey[] = "preview_window_Floating";
const char dockKey[] = "preview_window_Dock";
const char sessionKey[] = "plyx_session_id";
const char secureSessionKey[] = "plyx_secure_session_id";

/// \p name, or a name whose file cannot exist if the settings path leads to a pipe, a socket or a device: QSettings
/// would wait for a pipe without end.
QString usableName(const QString &name)
{
    const QSettings below(QSettings::IniFormat, QSettings::UserScope, organisation, name + belowFile);
    const QFileInfo file(QFileInfo(below.fileName()).path());
    const bool isUsable = !file.exists() || file.isFile() || file.isDir();
    return isUsable ? name : name + belowFile;
}

} // namespace

namespace Tavrin {

QMap<QString, QVariant> Settings::mDefaultSettings;

Settings::Settings(const char *settingsName)
    : QSettings(QSettings::IniFormat, QSettings::UserScope, organisation, usableName(QString::fromUtf8(settingsName)))
{
    init();
    addDefaults();
    if (holdsSession())
        restrictToUser();
}

void Settings::init()
{
    if (!mDefaultSettings.isEmpty())
        return;
    mDefaultSettings[versionKey] = 1;
    mDefaultSettings[activeKey] = false;
    mDefaultSettings[raisedKey] = false;
    mDefaultSettings[widthKey] = 450;
    mDefaultSettings[heightKey] = 300;
    mDefaultSettings[xKey] = 300;
    mDefaultSettings[yKey] = 300;
    mDefaultSettings[floatingKey] = true;
    mDefaultSettings[dockKey] = static_cast<int>(Qt::NoDockWidgetArea);
    mDefaultSettings[sessionKey] = QString();
    mDefaultSettings[secureSessionKey] = QString();
}

void Settings::addDefaults()
{
    const bool reset = value(versionKey, 0).toInt() <= 0;
    for (auto entry = mDefaultSettings.cbegin(); entry != mDefaultSettings.cend(); ++entry) {
        if (reset || !contains(entry.key()))
            setValue(entry.key(), entry.value());
    }
}

bool Settings::holdsSession() const
{
    return !getSessionID().isEmpty() || !getSecureSessionID().isEmpty();
}

void Settings::restrictToUser()
{
    const QFile::Permissions userOnly = QFile::ReadOwner | QFile::WriteOwner;
    const QFile::Permissions others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
    QFile file(fileName());
    if (!file.exists())
        sync();
    if (QFileInfo(file).isFile() && file.permissions() & others)
        file.setPermissions(userOnly);
}

bool Settings::store()
{
    sync();
    return status() != AccessError;
}

QString Settings::path() const
{
    const QFileInfo file(fileName());
    return file.path().endsWith(QLatin1String(".ini")) ? file.path() : file.filePath();
}

QVariant Settings::getValue(const QString &key) const
{
    return value(key, mDefaultSettings.value(key));
}

void Settings::setSessionID(const KString &id)
{
    restrictToUser();
    setValue(sessionKey, KQtUtil::toQString(id));
}

void Settings::setSecureSessionID(const KString &id)
{
    restrictToUser();
    setValue(secureSessionKey, KQtUtil::toQString(id));
}

KString Settings::getSessionID() const
{
    return KQtUtil::toKString(getValue(sessionKey).toString());
}

KString Settings::getSecureSessionID() const
{
    return KQtUtil::toKString(getValue(secureSessionKey).toString());
}

void Settings::setWindowActive(bool active)
{
    setValue(activeKey, active);
}

bool Settings::getWindowActive() const
{
    return getValue(activeKey).toBool();
}

void Settings::setWindowRaised(bool raised)
{
    setValue(raisedKey, raised);
}

bool Settings::getWindowRaised() const
{
    return getValue(raisedKey).toBool();
}

void Settings::setWindowFloating(bool floating)
{
    setValue(floatingKey, floating);
}

bool Settings::getWindowFloating() const
{
    return getValue(floatingKey).toBool();
}

void Settings::setWindowDock(Qt::DockWidgetArea area)
{
    setValue(dockKey, static_cast<int>(area));
}

Qt::DockWidgetArea Settings::getWindowDock() const
{
    const int area = getValue(dockKey).toInt();
    return (area & ~Qt::DockWidgetArea_Mask) == 0 ? static_cast<Qt::DockWidgetArea>(area) : Qt::NoDockWidgetArea;
}

void Settings::setWindowSize(int width, int height)
{
    setValue(widthKey, width);
    setValue(heightKey, height);
}

bool Settings::getWindowSize(int &width, int &height) const
{
    return getPair(widthKey, heightKey, width, height);
}

void Settings::setWindowPosition(int x, int y)
{
    setValue(xKey, x);
    setValue(yKey, y);
}

bool Settings::getWindowPosition(int &x, int &y) const
{
    return getPair(xKey, yKey, x, y);
}

bool Settings::getPair(const QString &firstKey, const QString &secondKey, int &first, int &second) const
{
    bool isNumber = false;
    first = getValue(firstKey).toInt(&isNumber);
    if (!isNumber)
        return false;
    second = getValue(secondKey).toInt(&isNumber);
    return isNumber;
}

} // namespace Tavrin
