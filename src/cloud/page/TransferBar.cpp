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

constexpr int kTickMs = 50;
constexpr qint64 kPatienceMs = 300;
constexpr qint64 kSweepMs = 1500; ///< once along the bar, where no end is known
constexpr int kSteps = 1000;
constexpr int kMargin = 6;

QString inBytes(qint64 count)
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
    m_tick.setInterval(kTickMs);
    connect(&m_tick, &QTimer::timeout, this, &TransferBar::refresh);
    connect(&TransferProgress::instance(), &TransferProgress::changed, this, &TransferBar::followTransfers);
}

QString TransferBar::text() const
{
    return m_numbers.isEmpty() ? m_name : m_name + QStringLiteral("  ") + m_numbers;
}

/// The innermost transfer that is worth showing; null when there is none.
const Transfer *TransferBar::shownTransfer() const
{
    const std::vector<const Transfer *> running = PageCalls::transfersOf(parentWidget());
    const bool isAsked = QApplication::activeModalWidget() != nullptr;
    const auto isShown = [&](const Transfer *transfer) {
        return transfer->kind() != Transfer::Kind::Waiting || (transfer->ageMs() >= kPatienceMs && !isAsked);
    };
    const auto innermost = std::find_if(running.rbegin(), running.rend(), isShown);
    return innermost == running.rend() ? nullptr : *innermost;
}

void TransferBar::followTransfers()
{
    if (PageCalls::transfersOf(parentWidget()).empty()) {
        m_tick.stop();
        vanish();
        return;
    }
    if (!m_tick.isActive())
        m_tick.start();
    refresh();
}

void TransferBar::refresh()
{
    const Transfer *transfer = shownTransfer();
    if (!transfer) {
        vanish();
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

    m_numbers = inBytes(transfer.bytes());
    if (total > 0)
        m_numbers += TavrinStrings::text(TavrinStrings::kProgressOf) + inBytes(total);
    const double rate = transfer.bytesPerSecond();
    if (rate >= 0)
        m_numbers +=
            QStringLiteral("  ") + inBytes(qRound64(rate)) + TavrinStrings::text(TavrinStrings::kProgressPerSecond);
}

void TransferBar::vanish()
{
    if (isHidden())
        return;
    hide();
    // Now: what follows a transfer may keep the event loop waiting.
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
    const auto travelled = static_cast<int>((width() + length) * (m_ageMs % kSweepMs) / kSweepMs);
    return QRect(travelled - length, 0, length, height());
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
