// portals/SkeinLoginUi.h
//
// Signing in to the cloud library on the service's own web page, or with a form where the service has no page.

#pragma once

#include "portals/SkeinLoginQtUi.h"

class KStringResourceId;
class QUrl;

namespace Skein {

class LoginUi : public LoginQtUi
{
    Q_OBJECT
public:
    using LoginQtUi::LoginQtUi;

    /// Shows the page, or the form, and returns at once: true. A page that cannot be loaded and a final address that
    /// the library refuses end the sign-in as a failure, after a message. False, after a message, when there is no
    /// address for the page. A message spins the event loop.
    bool login(QWidget *parent, Skein_Auth_LoginViewMode mode) override;

private:
    void addressChanged(const QUrl &address);
    void fail(const KStringResourceId &reason);
};

} // namespace Skein
