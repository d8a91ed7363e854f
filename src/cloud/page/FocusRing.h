// cloud/page/FocusRing.h
//
// A frame around the control of a page that has the keyboard focus, because the style's focus frame is hard to see on a
// dark page. The frame is drawn over the layout and ignores the mouse.

#pragma once

#include <QPointer>
#include <QWidget>

class FocusRing : public QWidget
{
    Q_OBJECT
public:
    /// \p page owns the ring, which is hidden until a key moves the focus into the page.
    explicit FocusRing(QWidget *page);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void setFocusWidget(QWidget *focus);
    void place();

    QPointer<QWidget> m_target;
};
