// cloud/signin/LoginUi.h
//
// The modal dialog that shows a portal's sign-in page and watches its address for the end of the sign-in.

#pragma once

#include <QObject>
#include <QPointer>
#include <QUrl>

namespace ICloudPortalApi {

class ILogin;
class WebPageDialog;

class LoginUi : public QObject
{
    Q_OBJECT
public:
    using Callback = void (*)(void *context, bool success);

    LoginUi();
    ~LoginUi() override;

    /// \p login builds the sign-in address and judges page addresses; not owned, must be set before login().
    void SetILogin(ILogin *login);
    /// Calls \p callback (null for none) once, with \p context and the result, when the next dialog ends.
    void setCallback(Callback callback, void *context);

    /// Shows the dialog over \p parent (which may be null) and returns at once; the page loads in the event loop, and
    /// says why if it cannot be loaded.
    /// False when nothing was opened: the user is signed in already, or no address could be built. The login object's
    /// IsLogin() may spin the event loop first; another login() or a CleanResources() that comes then prevails.
    bool login(QWidget *parent);
    /// Ends the dialog as a success: CleanResources(), then the callback, which may delete this object.
    void loginDone();
    /// Forgets the callback and hides the dialog. The next login() or the destructor deletes the dialog.
    void CleanResources();

signals:
    void loggedIn(bool success);

public slots:
    void urlChanged(const QUrl &url);
    void loadFinished(bool ok);
    /// Fits the dialog to the page, as WebPageDialog::fitTo() does.
    void contentsSizeChanged(const QSize &size);
    /// Ends the dialog as a failure: CleanResources(), the callback, then the signal.
    void loginCancelled();

private:
    void createDialog(QWidget *parent);
    void hideDialog();
    void releaseDialog();
    void finish(bool success);

    ILogin *m_login = nullptr;
    Callback m_callback = nullptr;
    void *m_context = nullptr;
    unsigned m_request = 0; ///< changes with what begins or ends a sign-in
    QPointer<WebPageDialog> m_dialog;
};

} // namespace ICloudPortalApi
