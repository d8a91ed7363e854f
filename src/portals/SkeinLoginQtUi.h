// portals/SkeinLoginQtUi.h
//
// Signing in to the cloud library with a form for name and password.

#pragma once

#include "portals/SkeinTrace.h"

#include <pelago/pelago.h>

#include <QDialog>
#include <QObject>
#include <QPointer>

#include <cstdint>

namespace Skein {

/// May be deleted at any time, by its own callback too; an open dialog then goes, and nobody hears of it.
class LoginQtUi : public QObject
{
    Q_OBJECT
public:
    using Callback = void (*)(void *context, bool success);

    /// \p session stays the caller's and outlives the sign-in.
    explicit LoginQtUi(int64_t session);
    ~LoginQtUi() override;

    /// \p callback hears once how each dialog ended, with \p context as its first argument; null for none. It may spin
    /// the event loop.
    void setCallback(Callback callback, void *context);

    /// Shows the form over \p parent (may be null) in place of an open dialog and returns at once: true. A mode other
    /// than a window makes it modal. A failure leaves the form open, with a line that gives its reason.
    virtual bool login(QWidget *parent, Skein_Auth_LoginViewMode mode);

protected:
    int64_t session() const { return m_session; }
    /// Takes \p dialog over and shows it in place of an open one; closing it ends the sign-in as a failure.
    void show(QDialog *dialog, Skein_Auth_LoginViewMode mode);
    /// Lets the open dialog go, without a word to anybody.
    void closeDialog();
    /// Tells the callback; this object may be gone afterwards.
    void tell(bool success);
    /// closeDialog(), then tell().
    void end(bool success);

private:
    class Form;
    void submit(const QPointer<Form> &form);

    int64_t m_session;
    HostTrace m_trace;
    Callback m_callback = nullptr;
    void *m_context = nullptr;
    QPointer<QDialog> m_dialog;
};

} // namespace Skein
