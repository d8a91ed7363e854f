#include "http/UploadBody.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cstring>

namespace {

constexpr qint64 blockSize = 1024 * 1024;

} // namespace

bool UploadBody::load(qint64 largest)
{
    close();
    const QFileInfo info(m_file);
    m_size = info.size();
    m_isTooLarge = info.isFile() && m_size > largest;
    return info.isFile() && !m_isTooLarge && readFile() && open(QIODevice::ReadOnly | QIODevice::Unbuffered);
}

bool UploadBody::readFile()
{
    m_blocks.clear();
    m_released = 0;
    QFile file(m_file);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered) || file.size() != m_size)
        return false;
    for (qint64 left = m_size; left > 0; left -= blockSize) {
        const qint64 wanted = std::min(left, blockSize);
        m_blocks.emplace_back(static_cast<std::size_t>(wanted));
        if (!m_blocks.back().data() || file.read(m_blocks.back().data(), wanted) != wanted)
            return false;
    }
    return file.size() == m_size; // not one that is still being written
}

bool UploadBody::seek(qint64 position)
{
    const bool isGone = position < static_cast<qint64>(m_released) * blockSize;
    if (position < 0 || position > m_size || (isGone && !readFile()))
        return false;
    return QIODevice::seek(position);
}

qint64 UploadBody::readData(char *data, qint64 size)
{
    const qint64 position = pos();
    const auto index = static_cast<std::size_t>(position / blockSize);
    for (; m_released < std::min(index, m_blocks.size()); ++m_released)
        m_blocks[m_released] = PageBlock();
    if (index >= m_blocks.size())
        return -1;
    const PageBlock &block = m_blocks[index];
    const qint64 offset = position % blockSize;
    const qint64 count = std::min(size, static_cast<qint64>(block.size()) - offset);
    std::memcpy(data, block.data() + offset, static_cast<std::size_t>(count));
    return count;
}
