#include "cloud/signin/LoginUi.h"

#include "cloud/CloudPortalApi.h"
#include "cloud/signin/WebPageDialog.h"

namespace ICloudPortalApi {

LoginUi::LoginUi() = default;
LoginUi::~LoginUi() = default;

void LoginUi::SetILogin(ILogin *login)
{
    m_login = login;
}

void LoginUi::setCallback(Callback callback, void *context)
{
    m_attempt.begin(callback, context);
}

bool LoginUi::login(QWidget *parent)
{
    const QPointer<QWidget> parentGuard(parent);
    const SignInAttempt::Handle attempt = m_attempt.restart();
    if (!m_login || m_login->IsLogin() || attempt.expired())
        return false;

    m_dialog.close();
    QByteArray address;
    requestAddress([this](char *buffer, unsigned long size) { return m_login->CreateLoginRequest(buffer, size); },
                   address);
    if (address.isEmpty())
        return false;

    auto *dialog = new WebPageDialog(parentGuard);
    m_dialog.open(dialog);
    connect(dialog, &QDialog::rejected, this, &LoginUi::loginCancelled);
    connect(dialog, &WebPageDialog::addressChanged, this, &LoginUi::urlChanged);
    connect(dialog, &WebPageDialog::loadFinished, this, &LoginUi::loadFinished);
    dialog->load(address);
    return true;
}

void LoginUi::urlChanged(const QUrl &url)
{
    const SignInAttempt::Handle attempt = m_attempt.current();
    if (!m_login || !m_login->LoginUIDoneCB(url) || attempt.expired())
        return;
    emit loggedIn(true);
    if (!attempt.expired())
        loginDone();
}

void LoginUi::loginDone()
{
    m_dialog.hide();
    m_attempt.end(true);
}

void LoginUi::loginCancelled()
{
    const QPointer<LoginUi> self(this);
    m_dialog.hide();
    m_attempt.end(false);
    if (self)
        emit loggedIn(false);
}

void LoginUi::CleanResources()
{
    m_attempt.cancel();
    m_dialog.hide();
}

void LoginUi::loadFinished(bool ok)
{
    if (m_dialog.get())
        m_dialog.get()->pageLoaded(ok);
}

void LoginUi::contentsSizeChanged(const QSize &size)
{
    if (m_dialog.get())
        m_dialog.get()->fitTo(size);
}

} // namespace ICloudPortalApi

#include "moc_LoginUi.cpp"
