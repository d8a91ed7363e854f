// portals/SkeinLoginUi.h
//
// The sign-in dialogs for the cloud library.

#pragma once

#include "cloud/signin/OpenDialog.h"
#include "cloud/signin/SignInAttempt.h"
#include "portals/SkeinTrace.h"

#include <pelago/pelago.h>

#include <QObject>

#include <cstdint>

class KStringResourceId;
class QUrl;

namespace ICloudPortalApi {
class WebPageDialog;
}

namespace Skein {

/// Signs in with a form for user name and password. May be deleted at any time, also by its callback.
class LoginQtUi : public QObject
{
    Q_OBJECT
public:
    using Callback = ICloudPortalApi::SignInAttempt::Callback;

    /// \p session must stay open during the lifetime of this object. A negative \p session is the result of a failed
    /// Skein_Auth_openSession().
    explicit LoginQtUi(int64_t session);
    ~LoginQtUi() override;

    /// The next sign-in calls \p callback (may be null) once, with \p context and its result. The callback may spin the
    /// event loop.
    void setCallback(Callback callback, void *context);
    /// Shows the form over \p parent (may be null), in place of an open form, and returns true immediately. The form is
    /// modal unless \p mode is a window. After a failure the form stays open and shows the reason.
    bool login(QWidget *parent, Skein_Auth_LoginViewMode mode);

private:
    class Form;
    void submit();
    void end(bool success);

    int64_t m_session;
    HostTrace m_trace;
    ICloudPortalApi::SignInAttempt m_attempt;
    ICloudPortalApi::OpenDialog<Form> m_form{this};
};

/// Signs in on the service's web page, or with the form if the service has no page. Otherwise like LoginQtUi.
class LoginUi : public QObject
{
    Q_OBJECT
public:
    using Callback = LoginQtUi::Callback;

    explicit LoginUi(int64_t session);
    ~LoginUi() override;

    void setCallback(Callback callback, void *context);
    /// Shows the page or the form and returns true immediately. If the page cannot be loaded, or the library rejects
    /// its last address, the sign-in ends as a failure after a message box. Returns false after a message box if the
    /// library returns no address. A message box spins the event loop.
    bool login(QWidget *parent, Skein_Auth_LoginViewMode mode);

private:
    void addressChanged(const QUrl &address);
    void fail(const KStringResourceId &reason);
    void end(bool success);

    int64_t m_session;
    LoginQtUi m_form;
    ICloudPortalApi::SignInAttempt m_attempt; ///< of the page
    ICloudPortalApi::OpenDialog<ICloudPortalApi::WebPageDialog> m_page{this};
};

} // namespace Skein
