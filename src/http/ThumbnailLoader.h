// http/ThumbnailLoader.h
//
// Loads and caches the pictures of a list in the background. Pictures are not stored on disk, and failures are not
// reported.

#pragma once

#include "http/ThumbnailRequest.h"

#include <QCache>
#include <QImage>
#include <QNetworkAccessManager>
#include <QObject>
#include <QSet>
#include <QThreadPool>

#include <atomic>
#include <deque>
#include <map>
#include <memory>
#include <vector>

/// Loads at most four pictures at a time. The cache contains up to 16 MiB of decoded pictures and removes the least
/// recently used ones. Pictures are PNG, JPEG or GIF files (the first frame) of up to 4096 x 4096 pixels.
class ThumbnailLoader : public QObject
{
    Q_OBJECT
public:
    /// \p timeoutMs limits the request of each picture.
    explicit ThumbnailLoader(int timeoutMs = 10000);
    /// Cancels all requests without a signal. Blocks until the decoding of a picture has stopped, up to 0.1 seconds.
    ~ThumbnailLoader() override;

    /// Sets the side of the square that each picture is scaled to fit, in pixels. A new value cancels all requests and
    /// empties the cache.
    void setSide(int pixels);

    /// Requests the pictures of \p sources in their order, and cancels all requests for others. Skips those in the
    /// cache and those that failed.
    void load(const std::vector<ThumbnailSource> &sources);
    /// Cancels all requests. Later calls of load() repeat those that failed.
    void reset();

    /// Returns the picture of \p source, scaled and with its aspect ratio; a null image if it is not in the cache.
    QImage find(const ThumbnailSource &source) const;

signals:
    /// The picture at \p address, a ThumbnailSource::httpsAddress(), is in the cache.
    void loaded(const QUrl &address);

private:
    void startNext();
    void decode(const QUrl &address, const QByteArray &file);
    void finish(const QUrl &address, int side, const QImage &picture);

    const int m_timeoutMs;
    int m_side = 48;
    QNetworkAccessManager m_manager;
    std::deque<ThumbnailSource> m_waiting;
    std::map<QUrl, std::unique_ptr<ThumbnailRequest>> m_running; ///< null while the picture is decoded
    QSet<QUrl> m_failed;
    mutable QCache<QUrl, QImage> m_cache; ///< reading changes the order of use
    std::atomic<bool> m_isStopping{false};
    QThreadPool m_decoder; ///< one thread, because the largest pictures would block the host for a second
};
