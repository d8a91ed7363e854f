// host/MenuModel.h
//
// The menu entries that scripts add, without widgets. A window calls rebuild() before it shows them.

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
        QString menu; ///< name of the menu, such as "FileMenu"
        QString label;
        QString command; ///< command text that choosing the entry executes
    };

    /// Returns the entries of one menu in the order in which they were added.
    std::vector<Entry> entries(const QString &menu) const;
    bool contains(const QString &id) const;
    /// Appends \p entry, or replaces the entry with its id.
    void put(const Entry &entry);
    /// Returns false if the entry does not exist.
    bool remove(const QString &id);

    /// rebuild() calls \p builder to add entries.
    void setBuilder(std::function<void()> builder) { m_builder = std::move(builder); }
    /// Removes the entries that the builder added before and runs it again. Other entries stay. The builder runs
    /// commands, which may spin the event loop. Nested calls are ignored.
    void rebuild();

signals:
    /// Entries were added, removed or replaced. Emitted once by rebuild().
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
