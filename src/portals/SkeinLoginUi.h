// portals/SkeinLoginUi.h
//
// Sign-in to the cloud library on the service's web page, or with a form if the service has no page.

#pragma once

#include "portals/SkeinLoginQtUi.h"

class KStringResourceId;
class QUrl;

namespace ICloudPortalApi {
class WebPageDialog;
}

namespace Skein {

/// May be deleted at any time, also by its callback.
class LoginUi : public QObject
{
    Q_OBJECT
public:
    using Callback = LoginQtUi::Callback;

    /// As for LoginQtUi.
    explicit LoginUi(int64_t session);
    ~LoginUi() override;

    /// As for LoginQtUi.
    void setCallback(Callback callback, void *context);
    /// Shows the page or the form and returns true immediately. If the page cannot be loaded, or the library rejects
    /// its last address, the sign-in ends as a failure after a message box. Returns false after a message box if the
    /// library returns no address. A message box spins the event loop.
    bool login(QWidget *parent, Skein_Auth_LoginViewMode mode);

private:
    void addressChanged(const QUrl &address);
    void fail(const KStringResourceId &reason);

    int64_t m_session;
    LoginQtUi m_form;
    ICloudPortalApi::SignInAttempt m_attempt; ///< of the page
    ICloudPortalApi::OpenDialog<ICloudPortalApi::WebPageDialog> m_page{this};
};

} // namespace Skein
