#include "host/KeldaHost.h"
#include "language/Flags.h"
#include "ui/DialogCommands.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QMessageBox>
#include <QPushButton>

namespace {

/// Returns \p text for a button, without a mnemonic.
QString buttonLabel(QString text)
{
    return text.replace(QLatin1Char('&'), QStringLiteral("&&"));
}

/// A message box that can be closed with any set of buttons. clickedButton() is null then.
class ClosableBox : public QMessageBox
{
public:
    using QMessageBox::QMessageBox;

protected:
    void closeEvent(QCloseEvent *event) override { QDialog::closeEvent(event); }
    void keyPressEvent(QKeyEvent *event) override
    {
        if (event->matches(QKeySequence::Cancel))
            reject();
        else
            QMessageBox::keyPressEvent(event);
    }
};

/// Shows the question and returns the pressed button's text, or \p closed. Spins the event loop.
QString ask(QWidget *parent, const Flags &flags, const QStringList &buttons, const QString &closed)
{
    // QPointer, because the parent may be deleted while the box is open, and deletes the box then.
    const QPointer<QMessageBox> box = new ClosableBox(parent);
    box->setObjectName(QStringLiteral("KeldaConfirmDialog"));
    box->setWindowTitle(flags.value("-title").toString());
    box->setTextFormat(Qt::PlainText);
    box->setText(flags.value("-message").toString());
    QHash<QAbstractButton *, QString> texts;
    for (const QString &text : buttons) {
        QPushButton *button = box->addButton(buttonLabel(text), QMessageBox::AcceptRole);
        texts.insert(button, text);
        if (text == flags.value("-defaultButton").toString())
            box->setDefaultButton(button);
    }
    box->exec();
    if (!box)
        return closed;
    const QString text = texts.value(box->clickedButton(), closed);
    box->deleteLater();
    return text;
}

} // namespace

void registerConfirmDialog(KeldaHost &host)
{
    host.interpreter().addCommand("confirmDialog", [&host](const CommandCall &call) -> Value {
        const Flags flags(call, {{"-t", "-title", 1},
                                 {"-m", "-message", 1},
                                 {"-ma", "-messageAlign", 1},
                                 {"-b", "-button", 1},
                                 {"-db", "-defaultButton", 1},
                                 {"-cb", "-cancelButton", 1}});
        QStringList buttons;
        for (int at = 0; !flags.value("-button", at).isNone(); ++at)
            buttons.append(flags.value("-button", at).toString());
        if (buttons.isEmpty())
            buttons.append(QStringLiteral("Confirm"));
        const QString closed =
            flags.has("-cancelButton") ? flags.value("-cancelButton").toString() : QStringLiteral("dismiss");
        if (!host.hasInterface()) {
            host.message(KHost::MessageKind::kInfo, KQtUtil::toKString(flags.value("-message").toString()));
            return closed;
        }
        return ask(host.mainWindow(), flags, buttons, closed);
    });
}
