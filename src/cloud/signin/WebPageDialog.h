// cloud/signin/WebPageDialog.h
//
// A modal dialog that shows a sign-in page at the page's size, without a context menu.

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

/// Writes an address and returns its length plus one, like ILogin::CreateLoginRequest().
using AddressWriter = std::function<long(char *buffer, unsigned long size)>;

/// Calls \p write with a growing buffer until the address fits. Returns the last result of \p write. \p address is
/// empty if \p write fails or the address is longer than 1 MiB.
long requestAddress(const AddressWriter &write, QByteArray &address);

/// The Escape key rejects the dialog, whichever field has the focus. A script's alert opens a message box and does not
/// block the script. From the second alert on, the box offers to reject the dialog. confirm() and prompt() open the
/// same box and return "Cancel" to the script. After 100 calls they throw an error in the script. Qt cannot stop an
/// endless script: it blocks the host.
class WebPageDialog : public QDialog
{
    Q_OBJECT
public:
    /// \p parent may be null or any widget. The dialog is not shown yet.
    explicit WebPageDialog(QWidget *parent);
    ~WebPageDialog() override;

    QWebView *view() const { return m_view; }
    /// \p address must be percent-encoded. If the page cannot be loaded, the dialog shows the reason.
    void load(const QByteArray &address);

public slots:
    /// Sets the window title to the page's title and fits the dialog to the page. Ignored if \p ok is false.
    void pageLoaded(bool ok);
    /// Resizes the dialog to \p size (at least its minimum size) around its centre. If the screen is too small, moves
    /// the dialog into the available area and shows scroll bars. Ignored for a page without text and for an empty \p
    /// size, which a page has before its first layout.
    void fitTo(const QSize &size);

signals:
    /// Relayed from the view.
    void loadFinished(bool ok);
    /// The page has a new address. Emitted from the event loop while the dialog is visible, so a slot may spin the
    /// event loop and delete the dialog.
    void addressChanged(const QUrl &url);
    /// The page could not be loaded. Emitted from the event loop like addressChanged().
    void loadFailed();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void hideScrollBars();
    /// Shows \p text of a script. \p isQuestion is true for confirm() and prompt().
    void showMessage(const QString &text, bool isQuestion);

    QScrollArea *m_scrollArea; ///< scrolls a page that is larger than the screen
    QWebView *m_view;
    QPointer<QMessageBox> m_message;
    int m_messageCount = 0;
};

} // namespace ICloudPortalApi
