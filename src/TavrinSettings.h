// TavrinSettings.h
//
// The settings that the plug-in stores for the user: one INI file per settings name. All files share one table of
// defaults.

#pragma once

#include <openkelda/KString.h>

#include <QMap>
#include <QSettings>
#include <QVariant>

namespace Tavrin {

/// Create it as a local variable where a value is needed; the destructor writes the file. The constructor adds missing
/// keys with their defaults, and resets all values of a file of version 0 or less. A file that contains a session has
/// mode 0600. The getters return the default for an unreadable value; store() reports a file that cannot be written.
class Settings : public QSettings
{
public:
    /// \p settingsName is the name of the file without extension, for example "CloudBrowser_Dock_Widget".
    explicit Settings(const char *settingsName);

    /// Fills the table of defaults at the first call.
    static void init();

    /// Returns the stored value, the default, or an invalid value if \p key has neither.
    QVariant getValue(const QString &key) const;

    /// Writes the file now. Returns false if it cannot be read or written.
    bool store();
    /// Returns the absolute path of the file, which need not exist.
    QString path() const;

    /// Sets mode 0600 before the identifier is written. The same applies to setSecureSessionID().
    void setSessionID(const KString &id);
    void setSecureSessionID(const KString &id);
    KString getSessionID() const;
    KString getSecureSessionID() const;

    /// True if the dock was open.
    void setWindowActive(bool active);
    bool getWindowActive() const;
    /// True if the dock was raised.
    void setWindowRaised(bool raised);
    bool getWindowRaised() const;
    void setWindowFloating(bool floating);
    bool getWindowFloating() const;
    /// The dock area. Qt::NoDockWidgetArea if the stored number is missing or invalid.
    void setWindowDock(Qt::DockWidgetArea area);
    Qt::DockWidgetArea getWindowDock() const;

    /// In pixels. The getter returns false if a stored value is not a number; \p width is 0 or \p height unchanged
    /// then.
    void setWindowSize(int width, int height);
    bool getWindowSize(int &width, int &height) const;
    /// In screen pixels. The getter fails like getWindowSize().
    void setWindowPosition(int x, int y);
    bool getWindowPosition(int &x, int &y) const;

private:
    void addDefaults();
    bool containsSession() const;
    void restrictToUser();
    bool getPair(const QString &firstKey, const QString &secondKey, int &first, int &second) const;

    static QMap<QString, QVariant> mDefaultSettings;
};

} // namespace Tavrin
