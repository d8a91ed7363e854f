#include "portals/SkeinLoginUi.h"

#include "cloud/RunningCall.h"
#include "cloud/signin/WebPageDialog.h"
#include "ReturnStatus.h"
#include "TavrinStrings.h"

#include <QUrl>

using ICloudPortalApi::SignInAttempt;
using ICloudPortalApi::WebPageDialog;

namespace Skein {

namespace {

constexpr int kUnauthorized = 401;

void showMessage(const KStringResourceId &text)
{
    ReturnStatus(kUnauthorized, TavrinStrings::getString(text)).DisplayUserMessageBox();
}

} // namespace

LoginUi::LoginUi(int64_t session) : m_session(session), m_form(session) {}

LoginUi::~LoginUi() = default;

void LoginUi::setCallback(Callback callback, void *context)
{
    m_attempt.begin(callback, context);
    m_form.setCallback(callback, context);
}

bool LoginUi::login(QWidget *parent, Skein_Auth_LoginViewMode mode)
{
    m_attempt.restart();
    m_page.close();
    QByteArray address;
    const auto write = [this](char *buffer, unsigned long size) {
        return Skein_Auth_createLoginRequest(m_session, buffer, size);
    };
    if (m_session < 0 || ICloudPortalApi::requestAddress(write, address) == Skein_Result_PasswordSignIn)
        return m_form.login(parent, mode);
    if (address.isEmpty()) {
        showMessage(TavrinStrings::kCloudPortalLoginErrorLoadingPage);
        return false;
    }

    auto *page = new WebPageDialog(parent);
    page->setModal(mode != Skein_Auth_LoginViewMode_Window);
    connect(page, &WebPageDialog::loadFinished, page, &WebPageDialog::pageLoaded);
    connect(page, &WebPageDialog::addressChanged, this, &LoginUi::addressChanged);
    connect(page, &WebPageDialog::loadFailed, this, [this] { fail(TavrinStrings::kCloudPortalLoginErrorLoadingPage); });
    connect(page, &QDialog::rejected, this, [this] {
        m_page.close();
        m_attempt.end(false);
    });
    m_page.open(page);
    page->load(address);
    return true;
}

void LoginUi::addressChanged(const QUrl &address)
{
    const RunningCall running;
    const SignInAttempt::Handle attempt = m_attempt.current();
    const int result = Skein_Auth_completeLogin(m_session, address.toEncoded().constData());
    if (attempt.expired())
        return;
    if (result < 0) {
        fail(TavrinStrings::kCloudPortalLoginErrorInternal);
    } else if (result == 1) {
        m_page.close();
        m_attempt.end(true);
    }
}

void LoginUi::fail(const KStringResourceId &reason)
{
    const RunningCall running;
    const SignInAttempt::Handle attempt = m_attempt.current();
    m_page.close();
    showMessage(reason);
    if (!attempt.expired())
        m_attempt.end(false);
}

} // namespace Skein
