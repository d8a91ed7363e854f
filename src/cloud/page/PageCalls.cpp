#include "cloud/page/PageCalls.h"

#include "cloud/RunningCall.h"
#include "http/Transfer.h"
#include "http/TransferProgress.h"
#include "TavrinHelper.h"

#include <QPointer>
#include <QWidget>

#include <optional>
#include <utility>

/// One running call of a page, which may delete the page. Transfers with an index of at least \c firstTransfer began
/// during the call.
struct PageCalls::Running
{
    explicit Running(PageCalls *pageCalls)
        : calls(pageCalls), page(pageCalls->m_page), firstTransfer(TransferProgress::instance().running().size())
    {
        ++pageCalls->m_running;
        all.push_back(this);
    }
    ~Running()
    {
        all.pop_back();
        if (calls && --calls->m_running == 0)
            calls->queueEnd();
    }
    Running(const Running &) = delete;
    Running &operator=(const Running &) = delete;

    inline static std::vector<const Running *> all; ///< of all pages, outermost first
    const RunningCall call;
    const QPointer<PageCalls> calls;
    const QWidget *const page; ///< only compared
    const std::size_t firstTransfer;
};

bool PageCalls::run(const std::function<void()> &call)
{
    const Running running(this);
    call();
    return !running.calls.isNull();
}

bool PageCalls::runPortalCall(const std::function<void()> &call)
{
    return run([&call] {
        const Transfer transfer(Transfer::Kind::Waiting);
        call();
    });
}

bool PageCalls::runSteps(const std::function<void()> &steps)
{
    const QPointer<PageCalls> self(this);
    steps();
    return !self.isNull();
}

bool PageCalls::runUnderWaitCursor(const std::function<void()> &steps)
{
    const RunningCall running;                // counts the destructor of the cursor too
    std::optional<Tavrin::WaitCursor> cursor; // the destructor turns the cursor off if a step returns false
    return run([&cursor] { cursor.emplace(); }) && runSteps(steps) && run([&cursor] { cursor.reset(); });
}

bool PageCalls::postpone(Fetch fetch, std::function<void()> call)
{
    if (!isRunning())
        return false;
    if (fetch >= m_postponed) {
        m_postponed = fetch;
        m_postponedCall = std::move(call);
    }
    return true;
}

void PageCalls::queueEnd()
{
    if (!std::exchange(m_endQueued, true))
        QMetaObject::invokeMethod(this, &PageCalls::callsEnded, Qt::QueuedConnection);
}

void PageCalls::callsEnded()
{
    m_endQueued = false;
    if (isRunning())
        return; // the end of the running call queues this function again
    if (m_postponed == Fetch::None) {
        emit idle();
        return;
    }
    queueEnd();
    m_postponed = Fetch::None;
    const std::function<void()> call = std::exchange(m_postponedCall, nullptr);
    call();
}

std::vector<const Transfer *> PageCalls::transfersOf(const QWidget *page)
{
    std::vector<const Transfer *> shown;
    const QWidget *owner = nullptr;
    auto call = Running::all.cbegin();
    std::size_t index = 0;
    for (const Transfer *transfer : TransferProgress::instance().running()) {
        for (; call != Running::all.cend() && (*call)->firstTransfer <= index; ++call)
            owner = (*call)->page;
        if (!owner || owner == page)
            shown.push_back(transfer);
        ++index;
    }
    return shown;
}

#include "moc_PageCalls.cpp"
