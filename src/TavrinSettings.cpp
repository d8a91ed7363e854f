#include "TavrinSettings.h"

#include <openkelda/KQtUtil.h>

#include <QFile>
#include <QFileInfo>

namespace {

const QString kOrganisation = QStringLiteral("Corvane");
/// A settings name with this suffix is a path below a regular file, so it can be neither read nor written.
const QString kUnusableSuffix = QStringLiteral(".ini/unusable");

constexpr char kVersionKey[] = "version";
constexpr char kActiveKey[] = "preview_window_Active";
constexpr char kRaisedKey[] = "preview_window_Raised";
constexpr char kWidthKey[] = "preview_window_size_width";
constexpr char kHeightKey[] = "preview_window_size_height";
constexpr char kXKey[] = "preview_window_position_x";
constexpr char kYKey[] = "preview_window_position_y";
constexpr char kFloatingKey[] = "preview_window_Floating";
constexpr char kDockKey[] = "preview_window_Dock";
constexpr char kSessionKey[] = "plyx_session_id";
constexpr char kSecureSessionKey[] = "plyx_secure_session_id";

/// Returns \p name, or a name that cannot be opened if the settings path is a pipe, a socket or a device, because
/// QSettings would block on a pipe.
QString usableName(const QString &name)
{
    const QSettings below(QSettings::IniFormat, QSettings::UserScope, kOrganisation, name + kUnusableSuffix);
    const QFileInfo file(QFileInfo(below.fileName()).path());
    const bool isUsable = !file.exists() || file.isFile() || file.isDir();
    return isUsable ? name : name + kUnusableSuffix;
}

} // namespace

namespace Tavrin {

QMap<QString, QVariant> Settings::mDefaultSettings;

Settings::Settings(const char *settingsName)
    : QSettings(QSettings::IniFormat, QSettings::UserScope, kOrganisation, usableName(QString::fromUtf8(settingsName)))
{
    init();
    addDefaults();
    if (containsSession())
        restrictToUser();
}

void Settings::init()
{
    if (!mDefaultSettings.isEmpty())
        return;
    mDefaultSettings[kVersionKey] = 1;
    mDefaultSettings[kActiveKey] = false;
    mDefaultSettings[kRaisedKey] = false;
    mDefaultSettings[kWidthKey] = 450;
    mDefaultSettings[kHeightKey] = 300;
    mDefaultSettings[kXKey] = 300;
    mDefaultSettings[kYKey] = 300;
    mDefaultSettings[kFloatingKey] = true;
    mDefaultSettings[kDockKey] = static_cast<int>(Qt::NoDockWidgetArea);
    mDefaultSettings[kSessionKey] = QString();
    mDefaultSettings[kSecureSessionKey] = QString();
}

void Settings::addDefaults()
{
    const bool reset = value(kVersionKey, 0).toInt() <= 0;
    for (auto entry = mDefaultSettings.cbegin(); entry != mDefaultSettings.cend(); ++entry) {
        if (reset || !contains(entry.key()))
            setValue(entry.key(), entry.value());
    }
}

bool Settings::containsSession() const
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
    setValue(kSessionKey, KQtUtil::toQString(id));
}

void Settings::setSecureSessionID(const KString &id)
{
    restrictToUser();
    setValue(kSecureSessionKey, KQtUtil::toQString(id));
}

KString Settings::getSessionID() const
{
    return KQtUtil::toKString(getValue(kSessionKey).toString());
}

KString Settings::getSecureSessionID() const
{
    return KQtUtil::toKString(getValue(kSecureSessionKey).toString());
}

void Settings::setWindowActive(bool active)
{
    setValue(kActiveKey, active);
}

bool Settings::getWindowActive() const
{
    return getValue(kActiveKey).toBool();
}

void Settings::setWindowRaised(bool raised)
{
    setValue(kRaisedKey, raised);
}

bool Settings::getWindowRaised() const
{
    return getValue(kRaisedKey).toBool();
}

void Settings::setWindowFloating(bool floating)
{
    setValue(kFloatingKey, floating);
}

bool Settings::getWindowFloating() const
{
    return getValue(kFloatingKey).toBool();
}

void Settings::setWindowDock(Qt::DockWidgetArea area)
{
    setValue(kDockKey, static_cast<int>(area));
}

Qt::DockWidgetArea Settings::getWindowDock() const
{
    const int area = getValue(kDockKey).toInt();
    return (area & ~Qt::DockWidgetArea_Mask) == 0 ? static_cast<Qt::DockWidgetArea>(area) : Qt::NoDockWidgetArea;
}

void Settings::setWindowSize(int width, int height)
{
    setValue(kWidthKey, width);
    setValue(kHeightKey, height);
}

bool Settings::getWindowSize(int &width, int &height) const
{
    return getPair(kWidthKey, kHeightKey, width, height);
}

void Settings::setWindowPosition(int x, int y)
{
    setValue(kXKey, x);
    setValue(kYKey, y);
}

bool Settings::getWindowPosition(int &x, int &y) const
{
    return getPair(kXKey, kYKey, x, y);
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
