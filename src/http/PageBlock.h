// http/PageBlock.h
//
// Memory in whole pages that the system has back at once when it is released. The heap would keep it for the thread
// that allocated it, while QtNetwork's own thread asks for more.

#pragma once

#include <cstddef>

class PageBlock
{
public:
    PageBlock() = default;
    /// \p size bytes of zeroes, or no block when there is not that much memory; see data().
    explicit PageBlock(std::size_t size);
    ~PageBlock();
    PageBlock(PageBlock &&other) noexcept;
    PageBlock &operator=(PageBlock &&other) noexcept;

    /// Null without a block.
    char *data() const { return m_data; }
    std::size_t size() const { return m_data ? m_size : 0; }

private:
    char *m_data = nullptr;
    std::size_t m_size = 0;
};
