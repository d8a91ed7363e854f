#include "cloud/page/AfterInput.h"

#include <QEvent>
#include <QWidget>

AfterInput::AfterInput(QWidget *widget) : QObject(widget)
{
    watch(widget);
}

void AfterInput::watch(QWidget *part)
{
    part->installEventFilter(this);
}

void AfterInput::run(QObject *receiver, const std::function<void()> &slot)
{
    if (m_isHandling)
        QMetaObject::invokeMethod(receiver, slot, Qt::QueuedConnection);
    else
        slot();
}

bool AfterInput::eventFilter(QObject *watched, QEvent *event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
    case QEvent::Wheel:
    case QEvent::KeyPress:
    case QEvent::Shortcut:
        m_isHandling = true;
        QMetaObject::invokeMethod(
            this, [this] { m_isHandling = false; }, Qt::QueuedConnection);
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

#include "moc_AfterInput.cpp"
