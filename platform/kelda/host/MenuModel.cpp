#include "host/MenuModel.h"

#include <algorithm>

std::vector<MenuModel::Entry> MenuModel::entries(const QString &menu) const
{
    std::vector<Entry> found;
    for (const Slot &slot : m_slots) {
        if (slot.entry.menu == menu)
            found.push_back(slot.entry);
    }
    return found;
}

bool MenuModel::contains(const QString &id) const
{
    return std::any_of(m_slots.begin(), m_slots.end(), [&id](const Slot &slot) { return slot.entry.id == id; });
}

std::vector<MenuModel::Slot>::iterator MenuModel::find(const QString &id)
{
    return std::find_if(m_slots.begin(), m_slots.end(), [&id](const Slot &slot) { return slot.entry.id == id; });
}

void MenuModel::put(const Entry &entry)
{
    const auto slot = find(entry.id);
    if (slot == m_slots.end())
        m_slots.push_back({entry, m_building});
    else
        *slot = {entry, m_building};
    notify();
}

bool MenuModel::remove(const QString &id)
{
    const auto slot = find(id);
    if (slot == m_slots.end())
        return false;
    m_slots.erase(slot);
    notify();
    return true;
}

void MenuModel::rebuild()
{
    if (m_building)
        return;
    m_slots.erase(std::remove_if(m_slots.begin(), m_slots.end(), [](const Slot &slot) { return slot.built; }),
                  m_slots.end());
    m_building = true;
    if (m_builder)
        m_builder();
    m_building = false;
    notify();
}

void MenuModel::notify()
{
    if (!m_building)
        emit changed();
}

#include "moc_MenuModel.cpp"
