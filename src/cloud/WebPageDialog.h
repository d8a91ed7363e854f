// cloud/WebPageDialog.h
//
// A modal dialog that is nothing but one web page: without menu and scroll bars, and as large as the page. It is what
// signing in on a page looks like.

#pragma once

#include <QByteArray>
#include <QDialog>

#include <functional>

class QUrl;
class QWebView;

namespace ICloudPortalApi {

/// Writes an address into a buffer the way ILogin::CreateLoginRequest does, and returns what that returns.
using AddressWriter = std::function<long(char *buffer, unsigned long size)>;

/// Lets \p write fill a buffer that grows until the address fits; \p address stays empty on failure. Returns the last
/// result of \p write.
long RequestAddress(const AddressWriter &write, QByteArray &address);

class WebPageDialog : public QDialog
{
    Q_OBJECT
public:
    /// Not shown yet. \p parent may be null, or a widget that is no window.
    explicit WebPageDialog(QWidget *parent);
    ~WebPageDialog() override;

    QWebView *view() const { return m_view; }
    /// \p address is percent-encoded. A page that cannot be loaded is replaced by one that says why.
    void load(const QByteArray &address);

public slots:
    /// When \p ok, takes the page's title for the window's and fits the dialog to the page.
    void pageLoaded(bool ok);
    /// Resizes the dialog to \p size, at most to the screen, and keeps its centre where it was. A page without text
    /// changes nothing.
    void fitTo(const QSize &size);

signals:
    /// The page has moved, and the dialog is still shown. Comes when the page's loader is off the stack, so that a
    /// slot may spin the event loop and delete the dialog.
    void addressChanged(const QUrl &url);
    /// The page could not be loaded; otherwise as addressChanged.
    void loadFailed();

private:
    void hideScrollBars();

    QWebView *m_view; ///< a child
};

} // namespace ICloudPortalApi
