#include "cloud/WebPageDialog.h"

#include "cloud/UiText.h"
#include "http/httpErrors.h"
#include "ReturnStatus.h"

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
    SignInPage(QObject *parent, const std::function<void()> &onFailure) : QWebPage(parent), m_onFailure(onFailure) {}

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
        m_onFailure();
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

    std::function<void()> m_onFailure;
};

} // namespace

long RequestAddress(const AddressWriter &write, QByteArray &address)
{
    QByteArray buffer(kAddressStep, '\0');
    long needed = write(buffer.data(), static_cast<unsigned long>(buffer.size()));
    while (needed > buffer.size() && needed <= kLongestAddress) {
        buffer.fill('\0', buffer.size() + kAddressStep);
        needed = write(buffer.data(), static_cast<unsigned long>(buffer.size()));
    }
    if (needed >= 1 && needed <= kLongestAddress)
        address = QByteArray(buffer.constData());
    else
        address.clear();
    return needed;
}

WebPageDialog::WebPageDialog(QWidget *parent)
    // A page of the dock is no window; the base turns the flags of such a parent into those of a dialog.
    : QDialog(parent, (parent ? parent->windowFlags() : Qt::WindowFlags()) & ~Qt::WindowContextHelpButtonHint),
      m_view(new QWebView(this))
{
    setObjectName(QStringLiteral("CloudPortalLoginDialog"));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    setWindowTitle(UiText(TavrinStrings::kCloudPortalLogIn));
    setModal(true);

    // Queued, because what follows spins the event loop and may even delete the view: neither may happen with the
    // page's loader on the stack.
    const auto onFailure = [this] {
        QMetaObject::invokeMethod(this, &WebPageDialog::loadFailed, Qt::QueuedConnection);
    };
    m_view->setPage(new SignInPage(m_view, onFailure));
    connect(
        m_view, &QWebView::urlChanged, this,
        [this](const QUrl &url) {
            if (!isHidden())
                emit addressChanged(url);
        },
        Qt::QueuedConnection);
    m_view->setContextMenuPolicy(Qt::NoContextMenu);
    hideScrollBars();

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);
    resize(kFirstSize);
}

WebPageDialog::~WebPageDialog()
{
    // A view that goes while it loads reports the end of that load; nobody may hear it from a dialog that is half gone.
    m_view->disconnect();
    delete m_view;
}

void WebPageDialog::load(const QByteArray &address)
{
    m_view->load(QUrl::fromEncoded(address));
}

void WebPageDialog::hideScrollBars()
{
    QWebFrame *frame = m_view->page()->mainFrame();
    frame->setScrollBarPolicy(Qt::Horizontal, Qt::ScrollBarAlwaysOff);
    frame->setScrollBarPolicy(Qt::Vertical, Qt::ScrollBarAlwaysOff);
    m_view->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void WebPageDialog::pageLoaded(bool ok)
{
    if (!ok)
        return;
    const QWebFrame *frame = m_view->page()->mainFrame();
    setWindowTitle(frame->title());
    fitTo(frame->contentsSize());
}

void WebPageDialog::fitTo(const QSize &size)
{
    if (m_view->page()->mainFrame()->toPlainText().isEmpty())
        return;
    hideScrollBars();

    const QRect available = screen()->availableGeometry();
    const QSize wanted = size.boundedTo(available.size());
    const QPoint position = pos();
    const int dx = width() - wanted.width();
    const int dy = height() - wanted.height();
    resize(wanted);
    move(position.x() + dx / 2, position.y() + dy / 2);
}

} // namespace ICloudPortalApi
