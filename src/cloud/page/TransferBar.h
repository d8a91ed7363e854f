// cloud/page/TransferBar.h
//
// The thin bar over a page's lower edge that shows the page's running transfer. It lies over the layout and takes no
// room in it, never gets the focus, and lets the mouse through.

#pragma once

#include <QProgressBar>
#include <QTimer>

class Transfer;

class TransferBar : public QProgressBar
{
    Q_OBJECT
public:
    /// \p page owns the bar. Hidden while no transfer of the page runs: a download or an upload shows at once, anything
    /// else after 300 ms, and not while a dialog asks for the user.
    explicit TransferBar(QWidget *page);

    /// What the bar says: the name, and the numbers in the locale's format.
    QString text() const override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void followTransfers();
    void refresh();
    const Transfer *shownTransfer() const;
    void showNumbers(const Transfer &transfer);
    QRect filledPart() const;
    void place();
    void vanish();

    QTimer m_tick;
    QString m_name;
    QString m_numbers;
    qint64 m_ageMs = 0;
};
