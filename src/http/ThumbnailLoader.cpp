#include "http/ThumbnailLoader.h"

#include <QImageReader>
#include <QIODevice>
#include <QPixelFormat>

#include <algorithm>
#include <cstring>

namespace {

constexpr int kMaxRunning = 4;
constexpr int kCacheBytes = 16 * 1024 * 1024;
constexpr int kMaxSide = 4096;
constexpr qint64 kMaxDecodedBits = qint64(kMaxSide) * kMaxSide * 32;
constexpr int kMaxJpegScans = 64;

/// A file in memory. Reading fails after \p isCancelled was set, so that the decoding of a large picture ends.
class CancellableFile : public QIODevice
{
public:
    CancellableFile(const QByteArray &bytes, const std::atomic<bool> &isCancelled)
        : m_bytes(bytes), m_isCancelled(isCancelled)
    {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }

    qint64 size() const override { return m_bytes.size(); }
    bool seek(qint64 position) override
    {
        m_position = position;
        return QIODevice::seek(position);
    }

protected:
    qint64 readData(char *data, qint64 maxSize) override
    {
        if (m_isCancelled)
            return -1;
        const qint64 count = std::max<qint64>(std::min(maxSize, size() - m_position), 0);
        std::memcpy(data, m_bytes.constData() + m_position, static_cast<std::size_t>(count));
        m_position += count;
        return count;
    }
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    const QByteArray m_bytes;
    const std::atomic<bool> &m_isCancelled;
    qint64 m_position = 0;
};

/// Returns the format that the first bytes of \p file identify; null unless it is PNG, JPEG or GIF. Services must not
/// be able to select another image plug-in of the host.
const char *formatOf(const QByteArray &file)
{
    if (file.startsWith("\x89PNG\r\n\x1a\n"))
        return "png";
    if (file.startsWith("\xff\xd8\xff"))
        return "jpeg";
    return file.startsWith("GIF87a") || file.startsWith("GIF89a") ? "gif" : nullptr;
}

/// Returns true if \p reader needs at most the memory of a picture of the largest size with 32 bits per pixel.
bool isWithinLimits(const QImageReader &reader)
{
    const QSize size = reader.size();
    if (size.isEmpty() || size.width() > kMaxSide || size.height() > kMaxSide)
        return false;
    const int depth = QImage::toPixelFormat(reader.imageFormat()).bitsPerPixel();
    return qint64(size.width()) * size.height() * depth <= kMaxDecodedBits;
}

/// Returns the picture in \p file, scaled to fit a square of \p side pixels, or a null image.
QImage scaledPicture(const QByteArray &bytes, int side, const std::atomic<bool> &isCancelled)
{
    const char *const format = formatOf(bytes);
    // The decoder processes the whole picture for each scan of a progressive JPEG. Thousands of short scans would take
    // minutes.
    if (!format || (*format == 'j' && bytes.count("\xff\xda") > kMaxJpegScans))
        return QImage();
    CancellableFile file(bytes, isCancelled);
    QImageReader reader(&file, format);
    reader.setAutoDetectImageFormat(false);
    if (!isWithinLimits(reader))
        return QImage();
    reader.setScaledSize(reader.size().scaled(side, side, Qt::KeepAspectRatio).expandedTo(QSize(1, 1)));
    return reader.read().convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

} // namespace

ThumbnailLoader::ThumbnailLoader(int timeoutMs) : m_timeoutMs(timeoutMs), m_cache(kCacheBytes)
{
    m_decoder.setMaxThreadCount(1);
}

ThumbnailLoader::~ThumbnailLoader()
{
    m_isStopping = true;
    m_running.clear();
    m_decoder.clear();
    m_decoder.waitForDone();
}

void ThumbnailLoader::setSide(int pixels)
{
    if (pixels == m_side)
        return;
    load({});
    m_cache.clear();
    m_side = pixels;
}

void ThumbnailLoader::load(const std::vector<ThumbnailSource> &sources)
{
    std::map<QUrl, std::unique_ptr<ThumbnailRequest>> running;
    std::swap(running, m_running);
    m_waiting.clear();
    QSet<QUrl> wanted;
    for (const ThumbnailSource &source : sources) {
        const QUrl address = source.httpsAddress();
        if (address.isEmpty() || wanted.contains(address) || m_failed.contains(address) || m_cache.contains(address))
            continue;
        wanted.insert(address);
        const auto found = running.find(address);
        if (found != running.end())
            m_running.insert(running.extract(found));
        else
            m_waiting.push_back(source);
    }
    running.clear();
    startNext();
}

void ThumbnailLoader::reset()
{
    load({});
    m_failed.clear();
}

QImage ThumbnailLoader::find(const ThumbnailSource &source) const
{
    const QImage *picture = m_cache.object(source.httpsAddress());
    return picture ? *picture : QImage();
}

void ThumbnailLoader::startNext()
{
    while (m_running.size() < kMaxRunning && !m_waiting.empty()) {
        const ThumbnailSource source = m_waiting.front();
        m_waiting.pop_front();
        const QUrl address = source.httpsAddress();
        auto request = std::make_unique<ThumbnailRequest>(m_manager, source, m_timeoutMs);
        connect(request.get(), &ThumbnailRequest::finished, this,
                [this, address](const QByteArray &file) { decode(address, file); });
        m_running[address] = std::move(request);
    }
}

void ThumbnailLoader::decode(const QUrl &address, const QByteArray &file)
{
    ThumbnailRequest *const request = m_running[address].release(); // the call comes from its signal
    request->setParent(this);
    request->deleteLater();
    if (file.isEmpty()) {
        finish(address, m_side, QImage());
        return;
    }
    m_decoder.start([this, address, file, side = m_side] {
        const QImage picture = scaledPicture(file, side, m_isStopping);
        QMetaObject::invokeMethod(
            this, [=] { finish(address, side, picture); }, Qt::QueuedConnection);
    });
}

/// Also called for pictures whose request was cancelled after they had arrived.
void ThumbnailLoader::finish(const QUrl &address, int side, const QImage &picture)
{
    if (side != m_side)
        return;
    if (picture.isNull())
        m_failed.insert(address);
    else
        m_cache.insert(address, new QImage(picture), static_cast<int>(picture.sizeInBytes()));
    const bool isWanted = m_running.erase(address) > 0;
    startNext();
    if (isWanted && !picture.isNull())
        emit loaded(address);
}

#include "moc_ThumbnailLoader.cpp"
