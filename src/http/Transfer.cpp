#include "http/Transfer.h"

#include "http/TransferProgress.h"

#include <algorithm>

namespace {

constexpr qint64 kWindowMs = 1000;
constexpr qint64 kSampleMs = 50;
constexpr qint64 kShortestMs = 100; ///< the rate of a shorter time is useless

} // namespace

Transfer::Transfer(Kind kind, const QString &name) : m_kind(kind), m_name(name)
{
    m_clock.start();
    m_samples.push_back({0, 0});
    TransferProgress::instance().begin(this);
}

Transfer::~Transfer()
{
    TransferProgress::instance().end(this);
}

void Transfer::report(qint64 bytes, qint64 totalBytes)
{
    m_bytes = std::max(m_bytes, bytes);
    if (totalBytes > 0)
        m_totalBytes = totalBytes;
    const qint64 now = m_clock.elapsed();
    if (now - m_samples.back().ms < kSampleMs)
        return;
    m_samples.push_back({now, m_bytes});
    while (m_samples.size() > 1 && now - m_samples[1].ms >= kWindowMs)
        m_samples.pop_front();
}

double Transfer::bytesPerSecond() const
{
    const qint64 now = m_clock.elapsed();
    // The samples may be old, since report() is called only while bytes arrive.
    const auto isOld = [&](const Sample &sample) { return now - sample.ms >= kWindowMs; };
    const auto young = std::find_if_not(m_samples.begin(), m_samples.end(), isOld);
    const Sample &start = young == m_samples.begin() ? *young : *std::prev(young);
    const qint64 spent = now - start.ms;
    return spent < kShortestMs ? -1 : static_cast<double>(m_bytes - start.bytes) * 1000 / static_cast<double>(spent);
}

#include "moc_Transfer.cpp"
