// support/MessageBoxes.h
//
// Closes the message boxes that a test opens, so that an unexpected box fails the test instead of blocking it.

#pragma once

#include <QtWidgets>

#include <functional>

/// The text of \p box, after a remark if the box does not show it as plain text.
inline QString shownText(const QMessageBox &box)
{
    return (box.textFormat() == Qt::PlainText ? "" : "NOT AS PLAIN TEXT: ") + box.text();
}

/// Records the text of each modal message box, then closes it. \p answer, if there is one, runs before that and may
/// delete the box.
class MessageBoxes : public QObject
{
public:
    explicit MessageBoxes(std::function<void(QMessageBox &)> answer = {}) : m_answer(std::move(answer))
    {
        startTimer(5);
    }

    QStringList texts;

protected:
    void timerEvent(QTimerEvent *) override
    {
        const QPointer<QMessageBox> box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box)
            return;
        texts << shownText(*box);
        if (m_answer)
            m_answer(*box);
        if (box)
            box->reject();
    }

private:
    std::function<void(QMessageBox &)> m_answer;
};
