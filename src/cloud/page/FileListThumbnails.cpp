#include "cloud/page/FileListThumbnails.h"

#include "cloud/CloudItem.h"
#include "cloud/IThumbnailItem.h"

#include <QEvent>
#include <QListWidget>
#include <QScrollBar>

#include <algorithm>

using ICloudPortalApi::ICloudItem;
using ICloudPortalApi::IThumbnailItem;
using ICloudPortalApi::Portal_CloudBrowserListItem;

namespace {

constexpr int kLoadDelayMs = 50; // one load for a series of scroll events

} // namespace

FileListThumbnails::FileListThumbnails(QListWidget *list) : QObject(list), m_list(list)
{
    m_loadTimer.setSingleShot(true);
    m_loadTimer.setInterval(kLoadDelayMs);
    connect(&m_loadTimer, &QTimer::timeout, this, &FileListThumbnails::load);
    connect(m_list->verticalScrollBar(), &QScrollBar::valueChanged, this, &FileListThumbnails::scheduleLoad);
    m_list->viewport()->installEventFilter(this);
}

void FileListThumbnails::cancel()
{
    m_loadTimer.stop();
    if (m_loader)
        m_loader->load({});
}

void FileListThumbnails::listFilled()
{
    m_isEnabled = false;
    for (int row = 0; row < m_list->count() && !m_isEnabled; ++row)
        m_isEnabled = !sourceOf(row).httpsAddress().isEmpty();
    m_list->setIconSize(m_isEnabled ? QSize(kSide, kSide) : QSize());
    if (m_loader)
        m_loader->reset();
    scheduleLoad();
}

QImage FileListThumbnails::picture(int row) const
{
    if (!m_isEnabled || !m_loader)
        return QImage();
    QImage picture = m_loader->find(sourceOf(row));
    if (!picture.isNull())
        picture.setDevicePixelRatio(m_list->devicePixelRatioF());
    return picture;
}

bool FileListThumbnails::eventFilter(QObject *, QEvent *event)
{
    if (event->type() == QEvent::Show || event->type() == QEvent::Resize)
        scheduleLoad();
    else if (event->type() == QEvent::Hide)
        cancel();
    return false;
}

ThumbnailSource FileListThumbnails::sourceOf(int row) const
{
    ICloudItem *item = static_cast<Portal_CloudBrowserListItem *>(m_list->item(row))->GetItem();
    auto *thumbnailItem = dynamic_cast<IThumbnailItem *>(item);
    return thumbnailItem ? thumbnailItem->thumbnail() : ThumbnailSource();
}

void FileListThumbnails::scheduleLoad()
{
    if (m_isEnabled && m_list->isVisible())
        m_loadTimer.start();
}

void FileListThumbnails::load()
{
    const QModelIndex first = m_list->indexAt(QPoint(0, 0));
    if (!first.isValid())
        return;
    if (!m_loader) {
        m_loader = std::make_unique<ThumbnailLoader>();
        const auto repaint = [this] { m_list->viewport()->update(); };
        connect(m_loader.get(), &ThumbnailLoader::loaded, this, repaint);
    }
    m_loader->setSide(qRound(kSide * m_list->devicePixelRatioF()));
    const int rowsPerScreen = m_list->viewport()->height() / m_list->visualRect(first).height() + 1;
    const int end = std::min(first.row() + 2 * rowsPerScreen, m_list->count());
    std::vector<ThumbnailSource> sources;
    for (int row = first.row(); row < end; ++row)
        sources.push_back(sourceOf(row));
    m_loader->load(sources);
}

#include "moc_FileListThumbnails.cpp"
