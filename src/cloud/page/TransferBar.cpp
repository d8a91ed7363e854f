#include "cloud/page/TransferBar.h"

#include "cloud/page/PageCalls.h"
#include "http/Transfer.h"
#include "http/TransferProgress.h"
#include "TavrinStrings.h"

#include <QApplication>
#include <QEvent>
#include <QLocale>
#include <QPainter>

#include <algorithm>

namespace {

constexpr int kRefreshMs = 50;
constexpr qint64 kShowAfterMs = 300;
constexpr qint64 kSweepMs = 1500; ///< time for the moving part to cross the bar while the total is unknown
constexpr int kSteps = 1000;
constexpr int kMargin = 6;

QString formatBytes(qint64 count)
{
    return QLocale().formattedDataSize(count, 1, QLocale::DataSizeSIFormat);
}

} // namespace

TransferBar::TransferBar(QWidget *page) : QProgressBar(page)
{
    setObjectName(QStringLiteral("CloudPortalProgress"));
    setAccessibleName(TavrinStrings::text(TavrinStrings::kProgressName));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    hide();
    page->installEventFilter(this);
    m_refreshTimer.setInterval(kRefreshMs);
    connect(&m_refreshTimer, &QTimer::timeout, this, &TransferBar::refresh);
    connect(&TransferProgress::instance(), &TransferProgress::changed, this, &TransferBar::updateTimer);
}

QString TransferBar::text() const
{
    return m_numbers.isEmpty() ? m_name : m_name + QStringLiteral("  ") + m_numbers;
}

/// Returns the innermost transfer that the bar must show, or null.
const Transfer *TransferBar::shownTransfer() const
{
    const std::vector<const Transfer *> running = PageCalls::transfersOf(parentWidget());
    const bool isDialogOpen = QApplication::activeModalWidget() != nullptr;
    const auto isShown = [&](const Transfer *transfer) {
        return transfer->kind() != Transfer::Kind::Waiting || (transfer->ageMs() >= kShowAfterMs && !isDialogOpen);
    };
    const auto innermost = std::find_if(running.rbegin(), running.rend(), isShown);
    return innermost == running.rend() ? nullptr : *innermost;
}

void TransferBar::updateTimer()
{
    if (PageCalls::transfersOf(parentWidget()).empty()) {
        m_refreshTimer.stop();
        hideNow();
        return;
    }
    if (!m_refreshTimer.isActive())
        m_refreshTimer.start();
    refresh();
}

void TransferBar::refresh()
{
    const Transfer *transfer = shownTransfer();
    if (!transfer) {
        hideNow();
        return;
    }
    m_ageMs = transfer->ageMs();
    const QString before = text();
    showNumbers(*transfer);
    if (text() != before)
        setAccessibleDescription(text());
    if (isHidden()) {
        place();
        raise();
        show();
    }
    update();
}

void TransferBar::showNumbers(const Transfer &transfer)
{
    m_name = transfer.kind() == Transfer::Kind::Waiting ? TavrinStrings::text(TavrinStrings::kProgressWaiting)
                                                        : transfer.name();
    m_numbers.clear();
    const qint64 total = transfer.totalBytes();
    setRange(0, total > 0 ? kSteps : 0);
    if (total > 0)
        setValue(static_cast<int>(std::min<double>(kSteps, double(transfer.bytes()) * kSteps / double(total))));
    if (transfer.kind() == Transfer::Kind::Waiting)
        return;

    m_numbers = formatBytes(transfer.bytes());
    if (total > 0)
        m_numbers += TavrinStrings::text(TavrinStrings::kProgressOf) + formatBytes(total);
    const double rate = transfer.bytesPerSecond();
    if (rate >= 0)
        m_numbers +=
            QStringLiteral("  ") + formatBytes(qRound64(rate)) + TavrinStrings::text(TavrinStrings::kProgressPerSecond);
}

void TransferBar::hideNow()
{
    if (isHidden())
        return;
    hide();
    // Repaint now, because the code after a transfer may block the event loop.
    parentWidget()->repaint(geometry());
}

void TransferBar::place()
{
    const int height = fontMetrics().height() + 4;
    setGeometry(0, parentWidget()->height() - height, parentWidget()->width(), height);
}

bool TransferBar::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize && !isHidden())
        place();
    return QProgressBar::eventFilter(watched, event);
}

QRect TransferBar::filledPart() const
{
    if (maximum() > 0)
        return QRect(0, 0, width() * value() / maximum(), height());
    const int length = width() / 4;
    const auto end = static_cast<int>((width() + length) * (m_ageMs % kSweepMs) / kSweepMs);
    return QRect(end - length, 0, length, height());
}

void TransferBar::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QRect area = rect().adjusted(kMargin, 0, -kMargin, 0);
    const int numbersWidth = fontMetrics().horizontalAdvance(m_numbers);
    const int nameWidth = area.width() - numbersWidth - (numbersWidth > 0 ? 2 * kMargin : 0);
    const QString name = fontMetrics().elidedText(m_name, Qt::ElideMiddle, nameWidth);
    const auto draw = [&](const QRegion &part, QPalette::ColorRole background, QPalette::ColorRole text) {
        painter.setClipRegion(part);
        painter.fillRect(rect(), palette().color(background));
        painter.setPen(palette().color(text));
        painter.drawText(area, Qt::AlignLeft | Qt::AlignVCenter, name);
        painter.drawText(area, Qt::AlignRight | Qt::AlignVCenter, m_numbers);
    };
    draw(QRegion(rect()) - filledPart(), QPalette::Base, QPalette::Text);
    draw(filledPart(), QPalette::Highlight, QPalette::HighlightedText);
}

#include "moc_TransferBar.cpp"
