// cloud/page/AfterInput.h
//
// Delays the slot of a widget's signal until the widget has handled the input event that caused the signal. Qt's item
// views and tab bars use their members after the signal, and a slot that spins the event loop may delete them.

#pragma once

#include <QObject>

#include <functional>

class QWidget;

class AfterInput : public QObject
{
    Q_OBJECT
public:
    /// Watches the mouse and key events of \p widget, which owns the object.
    explicit AfterInput(QWidget *widget);

    /// Watches the events of \p part as well, for example of a view's viewport. \p part is not owned.
    void watch(QWidget *part);
    /// Calls \p slot from the event loop if a watched widget is handling an input event, otherwise at once. A call from
    /// the event loop is skipped if \p receiver has been deleted.
    void run(QObject *receiver, const std::function<void()> &slot);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool m_isHandling = false;
};
