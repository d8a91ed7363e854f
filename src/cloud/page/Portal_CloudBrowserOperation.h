// cloud/page/Portal_CloudBrowserOperation.h
//
// The two guards that a page sets on its stack. Both survive the page: the host may destroy its window, and the page
// with it, while a call of the page is still running.

#pragma once

#include "cloud/page/Portal_CloudBrowserWindows.h"
#include "cloud/RunningCall.h"

/// One running operation of a page. At the end of the outermost one, what was postponed meanwhile is run.
class Portal_CloudBrowserWindows::Operation
{
public:
    explicit Operation(Portal_CloudBrowserWindows *page) : m_page(page) { ++page->m_operations; }
    ~Operation()
    {
        if (m_page)
            m_page->operationEnded();
    }
    Operation(const Operation &) = delete;
    Operation &operator=(const Operation &) = delete;

    /// True once the page has been destroyed: then nothing of it may be touched any more.
    bool pageIsGone() const { return m_page.isNull(); }

private:
    QPointer<Portal_CloudBrowserWindows> m_page;
};

/// Stands around one call that can spin the event loop. Fetches that arrive on the page meanwhile are postponed.
class Portal_CloudBrowserWindows::SpinningCall
{
public:
    explicit SpinningCall(Portal_CloudBrowserWindows *page) : m_page(page) { ++page->m_spinningCalls; }
    ~SpinningCall()
    {
        if (m_page)
            --m_page->m_spinningCalls;
    }
    SpinningCall(const SpinningCall &) = delete;
    SpinningCall &operator=(const SpinningCall &) = delete;

private:
    RunningCall m_call;
    QPointer<Portal_CloudBrowserWindows> m_page;
};

/// The result of \p call, which can spin the event loop and so may destroy the page.
template <typename Call>
auto Portal_CloudBrowserWindows::spinning(const Call &call)
{
    const SpinningCall guard(this);
    return call();
}
