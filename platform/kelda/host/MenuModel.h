// host/MenuModel.h
//
// The menu entries that scripts add, apart from any widget. A window shows them and calls rebuild() before it does.

#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

class MenuModel : public QObject
{
    Q_OBJECT
public:
    struct Entry
    {
        QString id;
        QString menu; ///< name of the menu it stands in, such as "FileMenu"
        QString label;
        QString command; ///< command text to execute when it is chosen
    };

    explicit MenuModel(QObject *parent = nullptr);

    /// The entries of one menu in the order in which they were added.
    std::vector<Entry> entries(const QString &menu) const;
    bool contains(const QString &id) const;
    /// Adds \p entry, or replaces the one of that id where it stands.
    void put(const Entry &entry);
    /// False when there is no such entry.
    bool remove(const QString &id);

    /// \p builder adds entries when rebuild() calls it.
    void setBuilder(std::function<void()> builder) { m_builder = std::move(builder); }
    /// Drops what the builder added before and runs it again, so that nothing outdated stays. Entries added otherwise
    /// stay. Runs commands, so it may spin the event loop; a call from within itself does nothing.
    void rebuild();

signals:
    /// Entries were added, removed or replaced. A rebuild emits it once.
    void changed();

private:
    struct Slot
    {
        Entry entry;
        bool built = false;
    };
    std::vector<Slot>::iterator find(const QString &id);
    void notify();

    std::vector<Slot> m_slots;
    std::function<void()> m_builder;
    bool m_building = false;
};
