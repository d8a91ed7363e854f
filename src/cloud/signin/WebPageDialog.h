// cloud/signin/WebPageDialog.h
//
// A modal dialog that shows one web page, without a context menu, at the page's size. Portals use it for a sign-in
// page.

#pragma once

#include <QByteArray>
#include <QDialog>
#include <QPointer>

#include <functional>

class QMessageBox;
class QScrollArea;
class QUrl;
class QWebView;

namespace ICloudPortalApi {

/// Writes an address into a buffer the way ILogin::CreateLoginRequest does, and returns what that returns.
using AddressWriter = std::function<long(char *buffer, unsigned long size)>;

/// Lets \p write fill a buffer that grows until the address fits; \p address stays empty on failure. Returns the last
/// result of \p write.
long RequestAddress(const AddressWriter &write, QByteArray &address);

/// Escape rejects the dialog wherever the keyboard focus is. An alert of the page opens a message box beside the
/// running script, which does not wait for it; from the second one on, the box offers to reject the dialog. A confirm
/// or prompt opens the same box and returns "Cancel" to the page. After 100 of them a call throws an error in the page.
/// The toolkit cannot stop a page's script that never ends: it blocks the host.
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
    /// Resizes the dialog to \p size, at least to its minimum size, and keeps its centre where it was. If the screen is
    /// too small for that, moves the dialog into the screen's available area and shows scroll bars.
    /// Ignored for an empty \p size, which a page has before its first layout, and for a page without text.
    void fitTo(const QSize &size);

signals:
    /// The page has moved, and the dialog is still shown. Comes when the page's loader is off the stack, so that a
    /// slot may spin the event loop and delete the dialog.
    void addressChanged(const QUrl &url);
    /// The page could not be loaded; otherwise as addressChanged.
    void loadFailed();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void hideScrollBars();
    /// Shows \p text of the page; \p isQuestion if the page wants an answer.
    void showMessage(const QString &text, bool isQuestion);

    QScrollArea *m_scrollArea; ///< scrolls a page that is larger than the screen
    QWebView *m_view;
    QPointer<QMessageBox> m_message;
    int m_messageCount = 0;
};

} // namespace ICloudPortalApi
