// cloud/signin/OpenDialog.h
//
// The one open dialog of a sign-in. Never deletes a dialog directly, because a signal of the dialog may be on the
// stack.

#pragma once

#include <QDialog>
#include <QPointer>

namespace ICloudPortalApi {

/// Owns the dialog, which may also be deleted by its parent.
template <class Dialog>
class OpenDialog
{
public:
    /// \p receiver handles the signals of the dialogs.
    explicit OpenDialog(QObject *receiver) : m_receiver(receiver) {}
    ~OpenDialog() { close(); }

    /// Shows \p dialog and closes an older one.
    void open(Dialog *dialog)
    {
        close();
        m_dialog = dialog;
        dialog->show();
    }
    /// Disconnects and hides the dialog.
    void hide()
    {
        if (!m_dialog)
            return;
        m_dialog->disconnect(m_receiver);
        m_dialog->hide();
    }
    /// Hides the dialog like hide() and deletes it later.
    void close()
    {
        hide();
        if (m_dialog)
            m_dialog->deleteLater();
        m_dialog = nullptr;
    }

    /// Returns null if no dialog is open or hidden.
    Dialog *get() const { return m_dialog; }

private:
    QObject *m_receiver;
    QPointer<Dialog> m_dialog;
};

} // namespace ICloudPortalApi
