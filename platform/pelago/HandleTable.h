// pelago/HandleTable.h
//
// Gives objects numbers that callers hold instead of pointers.

#pragma once

#include <cstdint>
#include <map>
#include <memory>

namespace pelago {

template <class Object>
class HandleTable
{
public:
    /// Numbers start above \p base and are never given twice.
    explicit HandleTable(int64_t base) : m_last(base) {}

    int64_t add(std::shared_ptr<Object> object)
    {
        m_objects.emplace(++m_last, std::move(object));
        return m_last;
    }
    /// Null for an unknown number. The caller's pointer keeps the object alive while a call on it runs.
    std::shared_ptr<Object> find(int64_t handle) const
    {
        const auto found = m_objects.find(handle);
        return found == m_objects.end() ? nullptr : found->second;
    }
    /// Like find, and forgets the number.
    std::shared_ptr<Object> take(int64_t handle)
    {
        std::shared_ptr<Object> object = find(handle);
        m_objects.erase(handle);
        return object;
    }

private:
    int64_t m_last;
    std::map<int64_t, std::shared_ptr<Object>> m_objects;
};

} // namespace pelago
