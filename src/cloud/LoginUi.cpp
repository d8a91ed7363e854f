#include "cloud/LoginUi.h"

#include "cloud/CloudPortalApi.h"
#include "cloud/UiText.h"
#include "http/httpErrors.h"

#include <QScreen>
#include <QVBoxLayout>
#include <QWebFrame>
#include <QWebPage>
#include <QWebView>

namespace ICloudPortalApi {

namespace {

constexpr int kAddressStep = 1000;
constexpr long kLongestAddress = 1024 * 1024;
const QSize kFirstSize(343, 368);

/// Says why a page could not be loaded, where the toolkit's own would stay blank. A service's error page is shown as
/// it is.
class SignInPage : public QWebPage
{
public:
    using QWebPage::QWebPage;

    bool supportsExtension(Extension extension) const override { return extension == ErrorPageExtension; }
    bool extension(Extension extension, const ExtensionOption *option, ExtensionReturn *output) override
    {
        if (extension != ErrorPageExtension || !option || !output)
            return false;
        const auto &failure = *static_cast<const ErrorPageExtensionOption *>(option);
        if (failure.frame != mainFrame() || isCancelled(failure))
            return false;
        const QString text = UiText(TavrinStrings::kCloudPortalLoginErrorLoadingPage) + "\n\n" + reason(failure);
        auto &page = *static_cast<ErrorPageExtensionReturn *>(output);
        page.contentType = QStringLiteral("text/html");
        page.encoding = QStringLiteral("utf-8");
        page.content = (QStringLiteral("<body style='margin:24px;font:14px sans-serif'>") +
                        text.toHtmlEscaped().replace('\n', QLatin1String("<br>")))
                           .toUtf8();
        return true;
    }

private:
    static bool isCancelled(const ErrorPageExtensionOption &failure)
    {
        return failure.domain == QtNetwork && failure.error == QNetworkReply::OperationCanceledError;
    }
    static QString reason(const ErrorPageExtensionOption &failure)
    {
        if (failure.domain == Http)
            return KQtUtil::toQString(ReturnStatus(failure.error).GetFormattedResultMessage());
        if (failure.domain == QtNetwork)
            return KQtUtil::toQString(
                httpErrors::networkErrorText(static_cast<QNetworkReply::NetworkError>(failure.error)));
        return failure.errorString;
    }
};

void hideScrollBars(QWebView *view)
{
    QWebFrame *frame = view->page()->mainFrame();
    frame->setScrollBarPolicy(Qt::Horizontal, Qt::ScrollBarAlwaysOff);
    frame->setScrollBarPolicy(Qt::Vertical, Qt::ScrollBarAlwaysOff);
    view->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

QWebView *createView(QWidget *parent)
{
    auto *view = new QWebView(parent);
    view->setPage(new SignInPage(view));
    view->setContextMenuPolicy(Qt::NoContextMenu);
    hideScrollBars(view);
    return view;
}

} // namespace

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

QByteArray LoginUi::requestAddress() const
{
    QByteArray buffer(kAddressStep, '\0');
    long needed = m_login->CreateLoginRequest(buffer.data(), static_cast<unsigned long>(buffer.size()));
    while (needed > buffer.size() && needed <= kLongestAddress) {
        buffer.fill('\0', buffer.size() + kAddressStep);
        needed = m_login->CreateLoginRequest(buffer.data(), static_cast<unsigned long>(buffer.size()));
    }
    if (needed < 1 || needed > kLongestAddress)
        return {};
    return QByteArray(buffer.constData());
}

bool LoginUi::login(QWidget *parent)
{
    const QPointer<LoginUi> self(this);
    const QPointer<QWidget> parentGuard(parent);
    const unsigned request = ++m_request;
    if (!m_login || m_login->IsLogin() || !self || request != m_request)
        return false;

    releaseDialog();
    const QByteArray address = requestAddress();
    if (address.isEmpty())
        return false;

    createDialog(parentGuard);
    m_view->load(QUrl::fromEncoded(address));
    return true;
}

void LoginUi::createDialog(QWidget *parent)
{
    // A page of the dock is no window; the constructor turns the flags of such a parent into those of a dialog.
    const Qt::WindowFlags flags = parent ? parent->windowFlags() : Qt::WindowFlags();
    m_view = createView(parent);
    m_dialog = new QDialog(parent, flags & ~Qt::WindowContextHelpButtonHint);
    m_dialog->setObjectName(QStringLiteral("CloudPortalLoginDialog"));
    m_dialog->setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    m_dialog->setWindowTitle(UiText(TavrinStrings::kCloudPortalLogIn));
    m_dialog->setModal(true);
    auto *layout = new QVBoxLayout;
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);
    m_dialog->setLayout(layout);
    m_dialog->resize(kFirstSize);
    m_dialog->show();

    connect(m_dialog, &QDialog::rejected, this, &LoginUi::loginCancelled);
    // Queued, because the end of a sign-in spins the event loop and may even delete the view: neither may happen with
    // the page's loader on the stack.
    connect(
        m_view, &QWebView::urlChanged, this,
        [this, dialog = m_dialog](const QUrl &url) {
            if (dialog && dialog == m_dialog && !dialog->isHidden())
                urlChanged(url);
        },
        Qt::QueuedConnection);
    connect(m_view, &QWebView::loadFinished, this, &LoginUi::loadFinished);
}

void LoginUi::releaseDialog()
{
    if (!m_dialog)
        return;
    hideDialog();
    // The view may be the one whose signal is being handled, so both go in the event loop.
    m_dialog->deleteLater();
    m_dialog = nullptr;
    m_view = nullptr;
}

void LoginUi::urlChanged(const QUrl &url)
{
    const QPointer<LoginUi> self(this);
    const QPointer<QDialog> dialog(m_dialog);
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
    if (m_view)
        m_view->disconnect(this);
    m_dialog->disconnect(this);
    m_dialog->hide();
}

void LoginUi::loadFinished(bool ok)
{
    if (!ok || !m_dialog || !m_view)
        return;
    QWebFrame *frame = m_view->page()->mainFrame();
    m_dialog->setWindowTitle(frame->title());
    contentsSizeChanged(frame->contentsSize());
}

void LoginUi::contentsSizeChanged(const QSize &size)
{
    if (!m_dialog || !m_view || m_view->page()->mainFrame()->toPlainText().isEmpty())
        return;
    hideScrollBars(m_view);

    const QRect screen = m_dialog->screen()->availableGeometry();
    const QSize wanted = size.boundedTo(screen.size());
    const QPoint position = m_dialog->pos();
    const int dx = m_dialog->width() - wanted.width();
    const int dy = m_dialog->height() - wanted.height();
    m_dialog->resize(wanted);
    m_dialog->move(position.x() + dx / 2, position.y() + dy / 2);
}

} // namespace ICloudPortalApi
