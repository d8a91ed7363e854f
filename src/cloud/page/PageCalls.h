// cloud/page/PageCalls.h
//
// The one guard around everything that a page calls and that can spin the event loop: portal calls, host commands,
// message boxes and dialogs. The host may delete its main window, and the page with it, during such a call.

#pragma once

#include <QObject>

#include <functional>
#include <vector>

class QWidget;
class Transfer;

/// Each function that runs a call returns false if the page was deleted meanwhile. The caller must then return without
/// using the page. A caller that returns in any case may discard the result.
class PageCalls : public QObject
{
    Q_OBJECT
public:
    /// A fetch that arrives during a call. A later one replaces an earlier one that is not more thorough.
    enum class Fetch { None, Folder, Rebuild };

    /// \p page is not owned and contains this object.
    explicit PageCalls(QWidget *page) : m_page(page) {}

    /// Runs \p call. Fetches that arrive meanwhile are postponed, and unloading the plug-in is refused.
    [[nodiscard]] bool run(const std::function<void()> &call);
    /// Like run(), for a call that waits for the portal's service. The page's transfer bar shows that it is running.
    [[nodiscard]] bool runPortalCall(const std::function<void()> &call);
    /// Runs \p steps, which pass each of their calls to this guard.
    [[nodiscard]] bool runSteps(const std::function<void()> &steps);
    /// Like runSteps(), with the host's wait cursor on. Skips \p steps if the page was deleted when the cursor was
    /// turned on.
    [[nodiscard]] bool runUnderWaitCursor(const std::function<void()> &steps);

    /// Returns true while one of the page's calls is running.
    bool isRunning() const { return m_running > 0; }
    /// Returns false if no call is running. Otherwise stores \p call, which runs once from the event loop after the
    /// running calls have ended, and returns true.
    bool postpone(Fetch fetch, std::function<void()> call);

    /// Returns the running transfers that \p page shows, outermost first: those that began in a call of the page, and
    /// those that began outside of all pages' calls.
    static std::vector<const Transfer *> transfersOf(const QWidget *page);

signals:
    /// Emitted from the event loop after the last call has ended and the postponed fetch has run.
    void idle();

private:
    struct Running;
    void queueEnd();
    void callsEnded();

    QWidget *m_page;
    int m_running = 0;
    bool m_endQueued = false;
    Fetch m_postponed = Fetch::None;
    std::function<void()> m_postponedCall;
};
