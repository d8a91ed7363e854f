#include "ui/BrowserWindow.h"

#include <QApplication>
#include <QDesktopServices>
#include <QLineEdit>
#include <QStyle>
#include <QToolBar>
#include <QtWebKit/QWebSettings>
#include <QtWebKitWidgets/QWebView>

namespace {

bool isWebAddress(const QUrl &url)
{
    return url.isValid() && !url.host().isEmpty() &&
           (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https"));
}

/// Shows pages that open a new window in the same view.
class SingleView : public QWebView
{
public:
    using QWebView::QWebView;

protected:
    QWebView *createWindow(QWebPage::WebWindowType) override { return this; }
};

} // namespace

BrowserWindow::BrowserWindow() : m_view(new SingleView(this)), m_address(new QLineEdit(this))
{
    setObjectName(QStringLiteral("KeldaBrowserWindow"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Kelda browser"));
    resize(760, 640);
    m_view->setObjectName(QStringLiteral("KeldaBrowserView"));
    m_address->setObjectName(QStringLiteral("KeldaBrowserAddress"));
    m_address->setAccessibleName(tr("Address"));
    setCentralWidget(m_view);

    auto *bar = addToolBar(tr("Navigation"));
    bar->setMovable(false);
    bar->addAction(m_view->pageAction(QWebPage::Back));
    bar->addAction(m_view->pageAction(QWebPage::Reload));
    bar->addWidget(m_address);

    connect(m_view, &QWebView::titleChanged, this, [this](const QString &title) {
        setWindowTitle(title.isEmpty() ? tr("Kelda browser") : tr("%1 - Kelda browser").arg(title));
    });
    connect(m_view, &QWebView::urlChanged, this, [this](const QUrl &url) { showAddress(url); });
    connect(m_address, &QLineEdit::returnPressed, this, [this] { load(QUrl::fromUserInput(m_address->text())); });
}

void BrowserWindow::prepareWebPages()
{
    QApplication::setPalette(QApplication::style()->standardPalette(), "QWebView");
    // Form controls use the application's palette, not that of the view.
    QWebSettings::globalSettings()->setUserStyleSheetUrl(
        QUrl(QStringLiteral("data:text/css;charset=utf-8;base64,") +
             QString::fromLatin1(QByteArray("button,input,select,textarea{color:#000}").toBase64())));
}

void BrowserWindow::load(const QUrl &url)
{
    if (!isWebAddress(url))
        return;
    showAddress(url);
    m_view->load(url);
}

void BrowserWindow::showAddress(const QUrl &url)
{
    m_address->setText(url.toString(QUrl::RemovePassword));
    m_address->setCursorPosition(0);
}

InternalBrowser::InternalBrowser(QObject *parent) : QObject(parent)
{
    QDesktopServices::setUrlHandler(QStringLiteral("http"), this, "open");
    QDesktopServices::setUrlHandler(QStringLiteral("https"), this, "open");
}

InternalBrowser::~InternalBrowser()
{
    QDesktopServices::unsetUrlHandler(QStringLiteral("http"));
    QDesktopServices::unsetUrlHandler(QStringLiteral("https"));
    delete m_window;
}

void InternalBrowser::open(const QUrl &url)
{
    if (!m_window)
        m_window = new BrowserWindow;
    m_window->load(url);
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

#include "moc_BrowserWindow.cpp"
