// Paging: how a page of a paged portal is fetched, which others its bar offers, and what a click on them does.

#include "cloud/page/NavigationWidgets.h"
#include "cloud/page/Portal_CloudBrowserWindows.h"
#include "TavrinStrings.h"

#include <QPushButton>

#include <limits>

void Portal_CloudBrowserWindows::setPageButton(PageButton button, bool available, qint64 page)
{
    QPushButton *widget = m_pageButtons[button];
    SetNavigationButtonText(widget, available ? QString::number(page) : QStringLiteral("."));
    widget->setEnabled(available);
    widget->setVisible(available);
}

void Portal_CloudBrowserWindows::updatePager()
{
    const qint64 page = m_currentPage;
    const qint64 perPage = m_itemsPerPage;
    const qint64 count = m_itemCount;
    const auto isBeyondEnd = [=](qint64 steps) { return (page + steps) * perPage >= count; };
    const auto isBeforeStart = [=](qint64 steps) { return (page - steps) * perPage <= 1; };

    QPushButton *next = m_pageButtons[kNextPage];
    next->setEnabled(!isBeyondEnd(1));
    SetNavigationButtonText(next, isBeyondEnd(1)
                                      ? QStringLiteral(">")
                                      : TavrinStrings::text(TavrinStrings::kCloudPortalNext) + QStringLiteral(" >"));
    for (int step = 1; step <= 4; ++step)
        setPageButton(static_cast<PageButton>(kCurrentPage + step), !isBeyondEnd(step), page + step);

    setPageButton(kCurrentPage, true, page);
    m_pageButtons[kCurrentPage]->setEnabled(false);

    for (int step = 1; step <= 5; ++step)
        setPageButton(static_cast<PageButton>(kCurrentPage - step), !isBeforeStart(step), page - step);
    QPushButton *previous = m_pageButtons[kPreviousPage];
    previous->setEnabled(page >= 2);
    SetNavigationButtonText(previous,
                            page < 2 ? QStringLiteral("<")
                                     : QStringLiteral("< ") + TavrinStrings::text(TavrinStrings::kCloudPortalPrevious));
}

bool Portal_CloudBrowserWindows::fetchPage(HeaderMap &criteria, ItemVector &items)
{
    int page = -1;
    int pageCount = m_pageCount;
    int itemCount = m_itemCount;
    bool isFound = false;
    const auto search = [&] {
        isFound = m_portal->GetBrowser()->SearchCloudItems(m_portal->GetLogin(), criteria, m_currentPage,
                                                           m_itemsPerPage, items, page, pageCount, itemCount);
    };
    if (!m_calls.run(search))
        return false;
    if (!isFound) {
        DisablePageResultNavigationUI();
        return true;
    }
    m_currentPage = page;
    m_pageCount = pageCount;
    m_itemCount = itemCount;
    updatePager();
    return true;
}

void Portal_CloudBrowserWindows::SwitchPage(int delta)
{
    if (m_calls.postpone(PageCalls::Fetch::Folder, [this, delta] { SwitchPage(delta); }))
        return;
    const qint64 page = static_cast<qint64>(m_currentPage) + delta;
    const bool isOffered =
        page >= 0 && page <= std::numeric_limits<qint32>::max() && page * m_itemsPerPage <= m_itemCount;
    if (!m_currentFolder || !isOffered)
        return;
    clearImportChoice();
    m_currentPage = static_cast<qint32>(page);
    RefreshFolderData();
}

void Portal_CloudBrowserWindows::ItemPerPageClick(int newIndex)
{
    if (m_calls.postpone(PageCalls::Fetch::Folder, [this, newIndex] { ItemPerPageClick(newIndex); }))
        return;
    if (newIndex >= 0 && newIndex <= 2)
        m_itemsPerPage = 16 << newIndex;
    if (!m_currentFolder)
        return;
    clearImportChoice();
    RefreshFolderData();
}

void Portal_CloudBrowserWindows::PrevPageClick()
{
    SwitchPage(-1);
}

void Portal_CloudBrowserWindows::Prev5Click()
{
    SwitchPage(-5);
}

void Portal_CloudBrowserWindows::Prev4Click()
{
    SwitchPage(-4);
}

void Portal_CloudBrowserWindows::Prev3Click()
{
    SwitchPage(-3);
}

void Portal_CloudBrowserWindows::Prev2Click()
{
    SwitchPage(-2);
}

void Portal_CloudBrowserWindows::Prev1Click()
{
    SwitchPage(-1);
}

void Portal_CloudBrowserWindows::Next1Click()
{
    SwitchPage(1);
}

void Portal_CloudBrowserWindows::Next2Click()
{
    SwitchPage(2);
}

void Portal_CloudBrowserWindows::Next3Click()
{
    SwitchPage(3);
}

void Portal_CloudBrowserWindows::Next4Click()
{
    SwitchPage(4);
}

void Portal_CloudBrowserWindows::NextPageClick()
{
    SwitchPage(1);
}
