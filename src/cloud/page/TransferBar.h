// cloud/page/TransferBar.h
//
// The thin bar at the lower edge of a page that shows the page's running transfer. It is drawn over the layout, does
// not accept the focus, and ignores the mouse.

#pragma once

#include <QProgressBar>
#include <QTimer>

class Transfer;

class TransferBar : public QProgressBar
{
    Q_OBJECT
public:
    /// \p page owns the bar, which is visible while a transfer of the page is running. A download or an upload is shown
    /// at once, other transfers after 300 ms and only while no modal dialog is open.
    explicit TransferBar(QWidget *page);

    /// Returns the transfer's name, and its numbers in the locale's format.
    QString text() const override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void updateTimer();
    void refresh();
    const Transfer *shownTransfer() const;
    void showNumbers(const Transfer &transfer);
    QRect filledPart() const;
    void place();
    void hideNow();

    QTimer m_refreshTimer;
    QString m_name;
    QString m_numbers;
    qint64 m_ageMs = 0;
};
