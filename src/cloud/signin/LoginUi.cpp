#include "cloud/signin/LoginUi.h"

#include "cloud/CloudPortalApi.h"
#include "cloud/signin/WebPageDialog.h"

#include <QWebView>

namespace ICloudPortalApi {

LoginUi::LoginUi() = default;

LoginUi::~LoginUi()
{
    releaseDialog();
}

void LoginUi::SetILogin(ILogin *login)
{
    m_login = login;
}

void LoginUi::setCallback(Callback callback, void *context)
{
    m_callback = callback;
    m_context = context;
}

bool LoginUi::login(QWidget *parent)
{
    const QPointer<LoginUi> self(this);
    const QPointer<QWidget> parentGuard(parent);
    const unsigned request = ++m_request;
    if (!m_login || m_login->IsLogin() || !self || request != m_request)
        return false;

    releaseDialog();
    QByteArray address;
    RequestAddress([this](char *buffer, unsigned long size) { return m_login->CreateLoginRequest(buffer, size); },
                   address);
    if (address.isEmpty())
        return false;

    createDialog(parentGuard);
    m_dialog->load(address);
    return true;
}

void LoginUi::createDialog(QWidget *parent)
{
    m_dialog = new WebPageDialog(parent);
    m_dialog->show();
    connect(m_dialog, &QDialog::rejected, this, &LoginUi::loginCancelled);
    connect(m_dialog, &WebPageDialog::addressChanged, this, &LoginUi::urlChanged);
    connect(m_dialog->view(), &QWebView::loadFinished, this, &LoginUi::loadFinished);
}

void LoginUi::releaseDialog()
{
    if (!m_dialog)
        return;
    hideDialog();
    // The view may be the one whose signal is being handled, so both go in the event loop.
    m_dialog->deleteLater();
    m_dialog = nullptr;
}

void LoginUi::urlChanged(const QUrl &url)
{
    const QPointer<LoginUi> self(this);
    const QPointer<WebPageDialog> dialog(m_dialog);
    if (!m_login || !m_login->LoginUIDoneCB(url) || !self || dialog != m_dialog)
        return;
    emit loggedIn(true);
    if (self)
        loginDone();
}

void LoginUi::loginDone()
{
    finish(true);
}

void LoginUi::loginCancelled()
{
    const QPointer<LoginUi> self(this);
    finish(false);
    if (self)
        emit loggedIn(false);
}

void LoginUi::finish(bool success)
{
    const Callback callback = m_callback;
    void *context = m_context;
    CleanResources();
    if (callback)
        callback(context, success);
}

void LoginUi::CleanResources()
{
    ++m_request;
    m_callback = nullptr;
    m_context = nullptr;
    hideDialog();
}

void LoginUi::hideDialog()
{
    if (!m_dialog)
        return;
    m_dialog->view()->disconnect(this);
    m_dialog->disconnect(this);
    m_dialog->hide();
}

void LoginUi::loadFinished(bool ok)
{
    if (m_dialog)
        m_dialog->pageLoaded(ok);
}

void LoginUi::contentsSizeChanged(const QSize &size)
{
    if (m_dialog)
        m_dialog->fitTo(size);
}

} // namespace ICloudPortalApi
