#include "cloud/page/FocusRing.h"

#include <QApplication>
#include <QEvent>
#include <QPainter>
#include <QTimer>

namespace {

constexpr int kWidth = 2;

} // namespace

FocusRing::FocusRing(QWidget *page) : QWidget(page)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    hide();
    page->installEventFilter(this);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget *, QWidget *focus) { setFocusWidget(focus); });
}

void FocusRing::setFocusWidget(QWidget *focus)
{
    if (m_target)
        m_target->removeEventFilter(this);
    const bool isSetByKey = focus && focus->window()->testAttribute(Qt::WA_KeyboardFocusChange) &&
                            QApplication::mouseButtons() == Qt::NoButton;
    m_target = isSetByKey && parentWidget()->isAncestorOf(focus) ? focus : nullptr;
    if (m_target)
        m_target->installEventFilter(this);
    place();
}

void FocusRing::place()
{
    setVisible(m_target && m_target->isVisible());
    if (isHidden())
        return;
    setGeometry(QRect(m_target->mapTo(parentWidget(), QPoint()), m_target->size()));
    raise();
}

bool FocusRing::eventFilter(QObject *watched, QEvent *event)
{
    // Queued, because the layout may move the control after this event.
    if (event->type() == QEvent::Resize || event->type() == QEvent::Move || event->type() == QEvent::LayoutRequest)
        QTimer::singleShot(0, this, &FocusRing::place);
    return QWidget::eventFilter(watched, event);
}

void FocusRing::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(palette().color(QPalette::Highlight).lighter(150), kWidth));
    const qreal inset = kWidth / 2.0;
    painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), kWidth, kWidth);
}

#include "moc_FocusRing.cpp"
