// cloud/page/FocusRing.h
//
// The frame around the control of a page that has the focus, for those who use the keyboard: a style's own mark is hard
// to see on a dark page. It lies over the layout, takes no room in it, and lets the mouse through.

#pragma once

#include <QPointer>
#include <QWidget>

class FocusRing : public QWidget
{
    Q_OBJECT
public:
    /// \p page owns the ring. Hidden until the focus comes to the page by a key.
    explicit FocusRing(QWidget *page);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void follow(QWidget *focus);
    void place();

    QPointer<QWidget> m_target;
};
