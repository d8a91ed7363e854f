// cloud/page/Pager.h
//
// The pager of a portal that searches page by page: the numbers, and the row of buttons that shows them.

#pragma once

#include <QHBoxLayout>

#include <array>
#include <optional>

class Portal_CloudBrowserWindows;
class QComboBox;
class QPushButton;

/// The current page and the totals of a search. Services may send any number, so the products have 64 bits.
struct Paging
{
    qint32 page = 1;
    qint32 itemsPerPage = 64;
    qint32 itemCount = 0;
    qint32 pageCount = 1;

    /// Returns true if the pager offers the page that is \p steps (above 0) after or before the current one. The page
    /// with the last item of the total is not offered.
    bool hasPageAfter(int steps) const;
    bool hasPageBefore(int steps) const;
    bool hasPrevious() const { return page >= 2; }
    /// Returns the number of the page \p delta pages away, or an empty optional if it is outside of the totals. Page 0
    /// is inside the totals.
    std::optional<qint32> pageAt(int delta) const;
};

class Pager : public QHBoxLayout
{
    Q_OBJECT
public:
    /// The widgets are children of \p page and call its slots.
    explicit Pager(Portal_CloudBrowserWindows *page);

    void show(const Paging &paging);
    /// Shows an empty result.
    void reset();
    void enablePageSizes(bool enable);

private:
    static constexpr int kStepsBack = 5;
    static constexpr int kStepsForward = 4;

    void createButtons(Portal_CloudBrowserWindows *page, QHBoxLayout *row);
    void createPageSizes(Portal_CloudBrowserWindows *page, QHBoxLayout *row);
    void setPageButton(int step, bool isOffered, qint64 number);

    QPushButton *m_previous = nullptr;
    std::array<QPushButton *, kStepsBack + 1 + kStepsForward> m_pages{}; ///< the current page is at kStepsBack
    QPushButton *m_next = nullptr;
    QComboBox *m_pageSizes = nullptr;
};
