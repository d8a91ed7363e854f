// TavrinSettings.h
//
// What the plug-in remembers of a user between two runs of the host: one INI file per settings name, with a table of
// defaults that all of them share.

#pragma once

#include <openkelda/KString.h>

#include <QMap>
#include <QSettings>
#include <QVariant>

namespace Tavrin {

/// A short-lived local, created where a value is needed. The destructor writes the file. Keys that the file lacks are
/// added with their defaults; a file of version 0 or less is reset to the defaults. A file that holds a session is
/// readable and writable by its user only. A value that cannot be read reads as its default; store() reports a file
/// that cannot be written.
class Settings : public QSettings
{
public:
    /// \p settingsName selects the file, for example "CloudBrowser_Dock_Widget".
    explicit Settings(const char *settingsName);

    /// Fills the table of defaults, once.
    static void init();

    /// An invalid value when the file has no \p key and neither has the table.
    QVariant getValue(const QString &key) const;

    /// Writes the file now. False if it cannot be read or written.
    bool store();
    /// The absolute path of the file, whether it exists or not.
    QString path() const;

    /// Both close the file to other users before the identifier is written.
    void setSessionID(const KString &id);
    void setSecureSessionID(const KString &id);
    KString getSessionID() const;
    KString getSecureSessionID() const;

    /// Whether the dock was open.
    void setWindowActive(bool active);
    bool getWindowActive() const;
    /// Whether the dock was in front.
    void setWindowRaised(bool raised);
    bool getWindowRaised() const;
    void setWindowFloating(bool floating);
    bool getWindowFloating() const;
    /// The area that held the dock; 0 for none and for a stored number that is no area.
    void setWindowDock(Qt::DockWidgetArea area);
    Qt::DockWidgetArea getWindowDock() const;

    /// In pixels. False when a stored value is no number: the first one then reads 0, or the second is left alone.
    void setWindowSize(int width, int height);
    bool getWindowSize(int &width, int &height) const;
    /// In screen pixels; otherwise as the size.
    void setWindowPosition(int x, int y);
    bool getWindowPosition(int &x, int &y) const;

private:
    void addDefaults();
    bool holdsSession() const;
    void restrictToUser();
    bool getPair(const QString &firstKey, const QString &secondKey, int &first, int &second) const;

    static QMap<QString, QVariant> mDefaultSettings;
};

} // namespace Tavrin
