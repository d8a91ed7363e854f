#include "portals/SkeinLoginQtUi.h"

#include "cloud/RunningCall.h"
#include "TavrinStrings.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>

namespace Skein {

namespace {

const int minimumFormWidth = 360;

} // namespace

/// The dialog with the two fields. While the service is asked it takes no input and cannot be closed.
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
        setMinimumWidth(minimumFormWidth);

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

    void setAsking(bool asking)
    {
        m_isAsking = asking;
        for (QWidget *widget :
             {static_cast<QWidget *>(m_user), static_cast<QWidget *>(m_password), static_cast<QWidget *>(m_buttons)})
            widget->setEnabled(!asking);
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
        if (!m_isAsking)
            QDialog::reject();
    }

private:
    QLineEdit *m_user = new QLineEdit(this);
    QLineEdit *m_password = new QLineEdit(this);
    QLabel *m_error = new QLabel(this);
    QDialogButtonBox *m_buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    bool m_isAsking = false;
};

LoginQtUi::LoginQtUi(int64_t session) : m_session(session) {}

LoginQtUi::~LoginQtUi()
{
    closeDialog();
}

void LoginQtUi::setCallback(Callback callback, void *context)
{
    m_callback = callback;
    m_context = context;
}

bool LoginQtUi::login(QWidget *parent, Skein_Auth_LoginViewMode mode)
{
    auto *form = new Form(parent);
    // Asked in the event loop, since the dialog may go while the service is asked, and its button must not be on the
    // stack then.
    connect(form->buttons(), &QDialogButtonBox::accepted, form, [form] { form->setAsking(true); });
    connect(
        form->buttons(), &QDialogButtonBox::accepted, this,
        [this, asked = QPointer<Form>(form)] {
            if (asked && asked == m_dialog)
                submit(asked);
        },
        Qt::QueuedConnection);
    show(form, mode);
    // A session that could not be opened asks no server: the configuration is wrong.
    if (m_session < 0)
        form->showError(signInMessage(static_cast<int>(m_session), lastFailure()));
    return true;
}

void LoginQtUi::submit(const QPointer<Form> &form)
{
    const RunningCall running;
    const QPointer<LoginQtUi> self(this);
    if (m_session >= 0)
        forgetLastFailure();
    const int result = Skein_Auth_login(m_session, form->user().constData(), form->password().constData());
    if (!self)
        return;
    if (result == 1) {
        end(true);
    } else if (form) {
        form->setAsking(false);
        form->showError(signInMessage(result, lastFailure()));
    }
}

void LoginQtUi::show(QDialog *dialog, Skein_Auth_LoginViewMode mode)
{
    closeDialog();
    m_dialog = dialog;
    dialog->setModal(mode != Skein_Auth_LoginViewMode_Window);
    connect(dialog, &QDialog::rejected, this, [this] { end(false); });
    dialog->show();
}

void LoginQtUi::closeDialog()
{
    if (!m_dialog)
        return;
    // It may be the one whose signal is being handled, so it goes in the event loop.
    QDialog *dialog = m_dialog;
    m_dialog = nullptr;
    dialog->disconnect(this);
    dialog->hide();
    dialog->deleteLater();
}

void LoginQtUi::tell(bool success)
{
    const RunningCall running;
    if (m_callback)
        m_callback(m_context, success);
}

void LoginQtUi::end(bool success)
{
    closeDialog();
    tell(success);
}

} // namespace Skein
