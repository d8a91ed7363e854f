#include "http/PageBlock.h"

#include <QtGlobal>

#include <utility>

#ifdef Q_OS_UNIX
#include <sys/mman.h>
#else
#include <new>
#endif

namespace {

char *allocate(std::size_t size)
{
#ifdef Q_OS_UNIX
    void *pages = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return pages == MAP_FAILED ? nullptr : static_cast<char *>(pages);
#else
    return new (std::nothrow) char[size]();
#endif
}

void release(char *data, std::size_t size)
{
#ifdef Q_OS_UNIX
    if (data)
        munmap(data, size);
#else
    Q_UNUSED(size)
    delete[] data;
#endif
}

} // namespace

PageBlock::PageBlock(std::size_t size) : m_data(allocate(size)), m_size(size) {}

PageBlock::~PageBlock()
{
    release(m_data, m_size);
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
