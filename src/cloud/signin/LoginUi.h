// cloud/signin/LoginUi.h
//
// A modal dialog that shows a portal's sign-in page and passes each address of the page to the portal's login object.

#pragma once

#include "cloud/signin/OpenDialog.h"
#include "cloud/signin/SignInAttempt.h"

#include <QObject>
#include <QUrl>

namespace ICloudPortalApi {

class ILogin;
class WebPageDialog;

class LoginUi : public QObject
{
    Q_OBJECT
public:
    using Callback = SignInAttempt::Callback;

    LoginUi();
    ~LoginUi() override;

    /// Sets the object that builds the sign-in address and recognises the last address of the sign-in. \p login is not
    /// owned. Required before login().
    void SetILogin(ILogin *login);
    /// The next dialog calls \p callback (may be null) once, with \p context and its result, when it ends.
    void setCallback(Callback callback, void *context);

    /// Shows the dialog over \p parent (may be null) and returns immediately; the page loads in the event loop.
    /// Returns false without a dialog if the user is already signed in or the address cannot be built.
    /// IsLogin() of the login object may spin the event loop. Another login() or CleanResources() supersedes this call
    /// then.
    bool login(QWidget *parent);
    /// Ends the dialog as a success: CleanResources(), then the callback, which may delete this object.
    void loginDone();
    /// Hides the dialog without calling the callback. The next login() or the destructor deletes the dialog.
    void CleanResources();

signals:
    void loggedIn(bool success);

public slots:
    void urlChanged(const QUrl &url);
    void loadFinished(bool ok);
    /// Fits the dialog to the page like WebPageDialog::fitTo().
    void contentsSizeChanged(const QSize &size);
    /// Ends the dialog as a failure: CleanResources(), the callback, then the signal.
    void loginCancelled();

private:
    ILogin *m_login = nullptr;
    SignInAttempt m_attempt;
    OpenDialog<WebPageDialog> m_dialog{this};
};

} // namespace ICloudPortalApi
