// openkelda/KStringArray.h

#pragma once

#include "openkelda/KString.h"

#include <vector>

/// A growable array of texts. Indices must be below length().
class KStringArray
{
public:
    unsigned length() const { return static_cast<unsigned>(m_items.size()); }
    void append(const KString &text) { m_items.push_back(text); }
    const KString &operator[](unsigned index) const { return m_items[index]; }
    KString &operator[](unsigned index) { return m_items[index]; }
    void clear() { m_items.clear(); }

private:
    std::vector<KString> m_items;
};
