#include "http/PageBlock.h"

#include <utility>

#include <sys/mman.h>

PageBlock::PageBlock(std::size_t size) : m_size(size)
{
    void *const pages = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages != MAP_FAILED)
        m_data = static_cast<char *>(pages);
}

PageBlock::~PageBlock()
{
    if (m_data)
        munmap(m_data, m_size);
}

PageBlock::PageBlock(PageBlock &&other) noexcept
    : m_data(std::exchange(other.m_data, nullptr)), m_size(std::exchange(other.m_size, 0))
{}

PageBlock &PageBlock::operator=(PageBlock &&other) noexcept
{
    std::swap(m_data, other.m_data);
    std::swap(m_size, other.m_size);
    return *this;
}
