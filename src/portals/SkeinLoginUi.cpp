#include "portals/SkeinLoginUi.h"

#include "cloud/RunningCall.h"
#include "cloud/signin/WebPageDialog.h"
#include "ReturnStatus.h"
#include "TavrinStrings.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QUrl>

using ICloudPortalApi::SignInAttempt;
using ICloudPortalApi::WebPageDialog;

namespace Skein {

namespace {

constexpr int kMinimumFormWidth = 360;
constexpr int kUnauthorized = 401;

void showMessage(const KStringResourceId &text)
{
    ReturnStatus(kUnauthorized, TavrinStrings::getString(text)).DisplayUserMessageBox();
}

} // namespace

/// During a request the form is disabled and cannot be closed.
class LoginQtUi::Form : public QDialog
{
public:
    explicit Form(QWidget *parent) : QDialog(parent)
    {
        setObjectName(QStringLiteral("CloudPortalLoginDialog"));
        setWindowFlag(Qt::WindowContextHelpButtonHint, false);
        setWindowTitle(TavrinStrings::text(TavrinStrings::kCloudPortalLogIn));
        m_user->setObjectName(QStringLiteral("user"));
        m_password->setObjectName(QStringLiteral("password"));
        m_password->setEchoMode(QLineEdit::Password);
        m_error->setObjectName(QStringLiteral("error"));
        m_error->setTextFormat(Qt::PlainText);
        m_error->setTextInteractionFlags(Qt::TextSelectableByMouse);
        m_error->setWordWrap(true);
        m_error->hide();
        setMinimumWidth(kMinimumFormWidth);

        auto *layout = new QFormLayout(this);
        layout->addRow(TavrinStrings::text(TavrinStrings::kCloudPortalUserName), m_user);
        layout->addRow(TavrinStrings::text(TavrinStrings::kCloudPortalPassword), m_password);
        layout->addRow(m_error);
        layout->addRow(m_buttons);
        connect(m_buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    }

    QDialogButtonBox *buttons() const { return m_buttons; }
    QByteArray user() const { return m_user->text().toUtf8(); }
    QByteArray password() const { return m_password->text().toUtf8(); }

    void setBusy(bool isBusy)
    {
        m_isBusy = isBusy;
        for (QWidget *widget : std::initializer_list<QWidget *>{m_user, m_password, m_buttons})
            widget->setEnabled(!isBusy);
    }
    void showError(const QString &text)
    {
        m_error->setText(text);
        m_error->show();
        adjustSize();
        m_password->clear();
        m_password->setFocus();
    }
    void reject() override
    {
        if (!m_isBusy)
            QDialog::reject();
    }

private:
    QLineEdit *m_user = new QLineEdit(this);
    QLineEdit *m_password = new QLineEdit(this);
    QLabel *m_error = new QLabel(this);
    QDialogButtonBox *m_buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    bool m_isBusy = false;
};

LoginQtUi::LoginQtUi(int64_t session) : m_session(session) {}

LoginQtUi::~LoginQtUi() = default;

void LoginQtUi::setCallback(Callback callback, void *context)
{
    m_attempt.begin(callback, context);
}

bool LoginQtUi::login(QWidget *parent, Skein_Auth_LoginViewMode mode)
{
    const SignInAttempt::Handle attempt = m_attempt.restart();
    auto *form = new Form(parent);
    form->setModal(mode != Skein_Auth_LoginViewMode_Window);
    connect(form, &QDialog::rejected, this, [this] { end(false); });
    connect(form->buttons(), &QDialogButtonBox::accepted, form, [form] { form->setBusy(true); });
    // Queued, because the form may be deleted during the request, but its button is on the stack here.
    connect(
        form->buttons(), &QDialogButtonBox::accepted, this,
        [this, attempt] {
            if (!attempt.expired())
                submit();
        },
        Qt::QueuedConnection);
    m_form.open(form);
    if (m_session < 0)
        form->showError(signInMessage(static_cast<int>(m_session), lastFailure()));
    return true;
}

void LoginQtUi::submit()
{
    const Form *form = m_form.get();
    if (!form)
        return;
    const RunningCall running;
    const SignInAttempt::Handle attempt = m_attempt.current();
    if (m_session >= 0)
        clearLastFailure();
    const int result = Skein_Auth_login(m_session, form->user().constData(), form->password().constData());
    if (attempt.expired())
        return;
    if (result == 1) {
        end(true);
    } else if (m_form.get()) {
        m_form.get()->setBusy(false);
        m_form.get()->showError(signInMessage(result, lastFailure()));
    }
}

void LoginQtUi::end(bool success)
{
    m_form.close();
    m_attempt.end(success);
}

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
    connect(page, &QDialog::rejected, this, [this] { end(false); });
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
    if (result == 1)
        end(true);
    else if (result < 0)
        fail(TavrinStrings::kCloudPortalLoginErrorInternal);
}

void LoginUi::fail(const KStringResourceId &reason)
{
    const RunningCall running;
    const SignInAttempt::Handle attempt = m_attempt.current();
    m_page.close();
    showMessage(reason);
    if (!attempt.expired())
        end(false);
}

void LoginUi::end(bool success)
{
    m_page.close();
    m_attempt.end(success);
}

} // namespace Skein

#include "moc_SkeinLoginUi.cpp"
