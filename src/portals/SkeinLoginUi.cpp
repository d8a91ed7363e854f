#include "portals/SkeinLoginUi.h"

#include "cloud/RunningCall.h"
#include "cloud/signin/WebPageDialog.h"
#include "ReturnStatus.h"
#include "TavrinStrings.h"

#include <QUrl>
#include <QWebView>

using ICloudPortalApi::WebPageDialog;

namespace Skein {

namespace {

const int refused = 401;

void showMessage(const KStringResourceId &text)
{
    ReturnStatus(refused, TavrinStrings::getString(text)).DisplayUserMessageBox();
}

} // namespace

bool LoginUi::login(QWidget *parent, Skein_Auth_LoginViewMode mode)
{
    QByteArray address;
    const auto write = [this](char *buffer, unsigned long size) {
        return Skein_Auth_createLoginRequest(session(), buffer, size);
    };
    if (session() < 0 || ICloudPortalApi::RequestAddress(write, address) == Skein_Result_PasswordSignIn)
        return LoginQtUi::login(parent, mode);
    if (address.isEmpty()) {
        showMessage(TavrinStrings::kCloudPortalLoginErrorLoadingPage);
        return false;
    }

    auto *dialog = new WebPageDialog(parent);
    connect(dialog->view(), &QWebView::loadFinished, dialog, &WebPageDialog::pageLoaded);
    connect(dialog, &WebPageDialog::addressChanged, this, &LoginUi::addressChanged);
    connect(dialog, &WebPageDialog::loadFailed, this,
            [this] { fail(TavrinStrings::kCloudPortalLoginErrorLoadingPage); });
    show(dialog, mode);
    dialog->load(address);
    return true;
}

void LoginUi::addressChanged(const QUrl &address)
{
    const RunningCall running;
    const QPointer<LoginUi> self(this);
    const int result = Skein_Auth_completeLogin(session(), address.toEncoded().constData());
    if (!self)
        return;
    if (result == 1)
        end(true);
    else if (result < 0)
        fail(TavrinStrings::kCloudPortalLoginErrorInternal);
}

void LoginUi::fail(const KStringResourceId &reason)
{
    const RunningCall running;
    const QPointer<LoginUi> self(this);
    closeDialog();
    showMessage(reason);
    if (self)
        tell(false);
}

} // namespace Skein
