#include "cloud/signin/WebPageDialog.h"

#include "http/httpErrors.h"
#include "ReturnStatus.h"
#include "TavrinStrings.h"

#include <openkelda/KQtUtil.h>

#include <QCoreApplication>
#include <QKeyEvent>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>
#include <QWebElement>
#include <QWebFrame>
#include <QWebPage>
#include <QWebView>

namespace ICloudPortalApi {

namespace {

constexpr int kAddressStepBytes = 1000;
constexpr long kMaxAddressBytes = 1024 * 1024;
const QSize kInitialSize(343, 368);
const QSize kMinimumSize(200, 150);
const QSize kMaxPageSize(32767, 32767);
constexpr int kMaxMessageLength = 500;

/// Replaces the dialog functions of a window before the scripts of the page run. The error ends a script that opens
/// dialogs in an endless loop. confirm() calls the native prompt(), so that javaScriptPrompt() handles both.
const char kDialogLimit[] = R"((function () {
    var alert = window.alert, prompt = window.prompt, left = 100;
    function limited(dialog, answer) {
        return function () {
            if (left-- <= 0)
                throw new Error('Too many dialogs');
            dialog.apply(window, arguments);
            return answer;
        };
    }
    window.alert = limited(alert);
    window.confirm = limited(prompt, false);
    window.prompt = limited(prompt, null);
})())";

/// Shows the reason if a page could not be loaded (QWebPage shows a blank page), but not in place of the error page of
/// a service. Script dialogs do not block the script, because a nested event loop could delete the page.
class SignInPage : public QWebPage
{
public:
    using OnMessage = std::function<void(const QString &text, bool isQuestion)>;

    SignInPage(QObject *parent, const std::function<void()> &onFailure, const OnMessage &onMessage)
        : QWebPage(parent), m_onFailure(onFailure), m_onMessage(onMessage)
    {
        connect(this, &QWebPage::frameCreated, this, &SignInPage::limitDialogs);
        limitDialogs(mainFrame());
    }

    bool supportsExtension(Extension extension) const override { return extension == ErrorPageExtension; }
    bool extension(Extension extension, const ExtensionOption *option, ExtensionReturn *output) override
    {
        if (extension != ErrorPageExtension || !option || !output)
            return false;
        const auto &failure = *static_cast<const ErrorPageExtensionOption *>(option);
        if (failure.frame != mainFrame() || isCancelled(failure))
            return false;
        const QString text =
            TavrinStrings::text(TavrinStrings::kCloudPortalLoginErrorLoadingPage) + "\n\n" + reason(failure);
        auto &page = *static_cast<ErrorPageExtensionReturn *>(output);
        page.contentType = QStringLiteral("text/html");
        page.encoding = QStringLiteral("utf-8");
        page.content = (QStringLiteral("<body style='margin:24px;font:14px sans-serif'>") +
                        text.toHtmlEscaped().replace('\n', QLatin1String("<br>")))
                           .toUtf8();
        m_onFailure();
        return true;
    }

protected:
    void javaScriptAlert(QWebFrame *, const QString &text) override { m_onMessage(text, false); }
    bool javaScriptPrompt(QWebFrame *, const QString &text, const QString &, QString *) override
    {
        m_onMessage(text, true);
        return false;
    }
    /// Called only by onbeforeunload, because kDialogLimit replaces window.confirm.
    bool javaScriptConfirm(QWebFrame *, const QString &) override { return true; }

private:
    void limitDialogs(QWebFrame *frame)
    {
        connect(frame, &QWebFrame::javaScriptWindowObjectCleared, this,
                [frame] { frame->evaluateJavaScript(QString::fromLatin1(kDialogLimit)); });
    }
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
    OnMessage m_onMessage;
};

} // namespace

long requestAddress(const AddressWriter &write, QByteArray &address)
{
    QByteArray buffer(kAddressStepBytes, '\0');
    long needed = write(buffer.data(), static_cast<unsigned long>(buffer.size()));
    while (needed > buffer.size() && needed <= kMaxAddressBytes) {
        buffer.fill('\0', buffer.size() + kAddressStepBytes);
        needed = write(buffer.data(), static_cast<unsigned long>(buffer.size()));
    }
    if (needed >= 1 && needed <= kMaxAddressBytes)
        address = QByteArray(buffer.constData());
    else
        address.clear();
    return needed;
}

WebPageDialog::WebPageDialog(QWidget *parent)
    // The parent may be a page of the dock. QDialog adds the window flags of a dialog.
    : QDialog(parent, (parent ? parent->windowFlags() : Qt::WindowFlags()) & ~Qt::WindowContextHelpButtonHint),
      m_scrollArea(new QScrollArea(this)), m_view(new QWebView(this))
{
    setObjectName(QStringLiteral("CloudPortalLoginDialog"));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    setWindowTitle(TavrinStrings::text(TavrinStrings::kCloudPortalLogIn));
    setModal(true);

    // Queued, because the slots may delete the view, but the loader or a script of the page is on the stack here.
    const auto onFailure = [this] {
        QMetaObject::invokeMethod(this, &WebPageDialog::loadFailed, Qt::QueuedConnection);
    };
    const auto onMessage = [this](const QString &text, bool isQuestion) {
        QMetaObject::invokeMethod(
            this, [=] { showMessage(text, isQuestion); }, Qt::QueuedConnection);
    };
    m_view->setPage(new SignInPage(m_view, onFailure, onMessage));
    connect(
        m_view, &QWebView::urlChanged, this,
        [this](const QUrl &url) {
            if (!isHidden())
                emit addressChanged(url);
        },
        Qt::QueuedConnection);
    connect(m_view, &QWebView::loadFinished, this, &WebPageDialog::loadFinished);
    m_view->setContextMenuPolicy(Qt::NoContextMenu);
    m_view->installEventFilter(this);
    hideScrollBars();
    // Scrolls to the field that the Tab key focuses.
    connect(m_view->page(), &QWebPage::microFocusChanged, this, [this] {
        const QRect field = m_view->page()->mainFrame()->findFirstElement(QStringLiteral(":focus")).geometry();
        if (!field.isEmpty())
            m_scrollArea->ensureVisible(field.center().x(), field.center().y());
    });

    m_scrollArea->setFrameShape(QFrame::NoFrame);
    m_scrollArea->setWidgetResizable(true);
    m_scrollArea->setFocusProxy(m_view);
    m_scrollArea->setWidget(m_view);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_scrollArea);
    setMinimumSize(kMinimumSize);
    resize(kInitialSize);
}

WebPageDialog::~WebPageDialog()
{
    // A loading view emits loadFinished() in its destructor, when this dialog is already partly destroyed.
    m_view->disconnect();
    delete m_view;
}

void WebPageDialog::load(const QByteArray &address)
{
    m_view->load(QUrl::fromEncoded(address));
}

bool WebPageDialog::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Wheel) {
        // The view accepts every wheel event. The page accepts it only if it scrolls a part of the page.
        event->ignore();
        m_view->page()->event(event);
        if (!event->isAccepted())
            QCoreApplication::sendEvent(m_scrollArea->viewport(), event);
        return true;
    }
    // Handled here, because the page accepts the key if a field has the focus.
    if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent *>(event)->matches(QKeySequence::Cancel)) {
        QMetaObject::invokeMethod(this, &QDialog::reject, Qt::QueuedConnection);
        return true;
    }
    return QDialog::eventFilter(watched, event);
}

void WebPageDialog::hideEvent(QHideEvent *event)
{
    if (m_message)
        m_message->close();
    QDialog::hideEvent(event);
}

/// Hides the scroll bars of the page. Qt cannot show them again for the same page.
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
    if (size.isEmpty() || m_view->page()->mainFrame()->toPlainText().isEmpty())
        return;
    hideScrollBars();

    const QRect available = screen()->availableGeometry();
    const QSize borders = frameGeometry().size() - this->size();
    const QSize room = available.size() - borders;
    const int bar = m_scrollArea->verticalScrollBar()->sizeHint().width();
    const bool isTall = size.height() > room.height();
    const bool isWide = size.width() + (isTall ? bar : 0) > room.width();
    const bool isClamped = isTall || isWide;
    m_view->setMinimumSize(isClamped ? size.boundedTo(kMaxPageSize) : QSize(0, 0));

    const QSize wanted = size + QSize(isTall ? bar : 0, isWide ? bar : 0);
    const QSize fitting = wanted.expandedTo(minimumSize()).boundedTo(room);
    QPoint position = pos() + QPoint((width() - fitting.width()) / 2, (height() - fitting.height()) / 2);
    if (isClamped) {
        const QPoint last = available.bottomRight() -
                            QPoint(fitting.width() + borders.width() - 1, fitting.height() + borders.height() - 1);
        position.setX(qBound(available.left(), position.x(), last.x()));
        position.setY(qBound(available.top(), position.y(), last.y()));
    }
    resize(fitting);
    move(position);
}

void WebPageDialog::showMessage(const QString &text, bool isQuestion)
{
    if (isHidden())
        return;
    if (!m_message || m_message->isHidden()) {
        m_message = new QMessageBox(this);
        m_message->setObjectName(QStringLiteral("CloudPortalLoginMessage"));
        m_message->setAttribute(Qt::WA_DeleteOnClose);
        m_message->setTextFormat(Qt::PlainText);
        m_message->setWindowTitle(windowTitle());
        m_message->setEscapeButton(
            m_message->addButton(TavrinStrings::text(TavrinStrings::kOk), QMessageBox::AcceptRole));
        if (++m_messageCount > 1) {
            const auto *cancel = m_message->addButton(TavrinStrings::text(TavrinStrings::kCloudPortalLoginCancel),
                                                      QMessageBox::DestructiveRole);
            connect(cancel, &QPushButton::clicked, this, &QDialog::reject, Qt::QueuedConnection);
        }
    }
    m_message->setText(text.simplified().left(kMaxMessageLength));
    m_message->setInformativeText(isQuestion ? TavrinStrings::text(TavrinStrings::kCloudPortalLoginQuestion)
                                             : QString());
    m_message->open();
}

} // namespace ICloudPortalApi

#include "moc_WebPageDialog.cpp"
