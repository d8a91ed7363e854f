#include "cloud/page/Pager.h"

#include "cloud/page/NavigationWidgets.h"
#include "cloud/page/Portal_CloudBrowserWindows.h"
#include "TavrinStrings.h"

#include <QComboBox>
#include <QLabel>
#include <QPushButton>

#include <limits>

namespace {

constexpr int kTextMargin = 3;   ///< pixels between a button's text and its edge
constexpr int kSmallestText = 8; ///< pixels

/// Sets \p text in a font that is small enough for the whole text in any language.
void setButtonText(QPushButton *button, const QString &text)
{
    QFont font = button->parentWidget()->font();
    const int room = button->maximumWidth() - 2 * kTextMargin;
    int pixels = QFontInfo(font).pixelSize();
    while (pixels > kSmallestText && QFontMetrics(font).horizontalAdvance(text) > room)
        font.setPixelSize(--pixels);
    button->setFont(font);
    button->setText(text);
}

/// Adds one part of the pager to \p parts and returns it.
QHBoxLayout *addPart(QHBoxLayout *parts, int stretch)
{
    auto *row = new QHBoxLayout;
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    parts->addLayout(row, stretch);
    return row;
}

} // namespace

bool Paging::hasPageAfter(int steps) const
{
    return (qint64(page) + steps) * itemsPerPage < itemCount;
}

bool Paging::hasPageBefore(int steps) const
{
    return (qint64(page) - steps) * itemsPerPage > 1;
}

std::optional<qint32> Paging::pageAt(int delta) const
{
    const qint64 wanted = qint64(page) + delta;
    if (wanted < 0 || wanted > std::numeric_limits<qint32>::max() || wanted * itemsPerPage > itemCount)
        return {};
    return static_cast<qint32>(wanted);
}

Pager::Pager(Portal_CloudBrowserWindows *page)
{
    setContentsMargins(0, 3, 0, 3);
    setSpacing(0);
    addPart(this, 0)->addWidget(new QLabel(page), 0, Qt::AlignLeft);
    createButtons(page, addPart(this, 2));
    createPageSizes(page, addPart(this, 0));
}

void Pager::createButtons(Portal_CloudBrowserWindows *page, QHBoxLayout *row)
{
    using Page = Portal_CloudBrowserWindows;
    const auto create = [=](const char *text, const char *accessibleName, void (Page::*slot)()) {
        QPushButton *button = CreateNavigationButton(text, accessibleName, page);
        button->setEnabled(false);
        if (slot)
            QObject::connect(button, &QPushButton::clicked, page, slot);
        row->addWidget(button);
        return button;
    };
    m_previous = create("<", "PreviousPageButton", &Page::PrevPageClick);
    m_pages = {create(".", "Previous5", &Page::Prev5Click), create(".", "Previous4", &Page::Prev4Click),
               create(".", "Previous3", &Page::Prev3Click), create(".", "Previous2", &Page::Prev2Click),
               create(".", "Previous1", &Page::Prev1Click), create("|", "CurrentPage", nullptr),
               create(".", "Next1", &Page::Next1Click),     create(".", "Next2", &Page::Next2Click),
               create(".", "Next3", &Page::Next3Click),     create(".", "Next4", &Page::Next4Click)};
    for (QPushButton *button : m_pages)
        button->hide();
    m_next = create(">", "NextPageButton", &Page::NextPageClick);
}

void Pager::createPageSizes(Portal_CloudBrowserWindows *page, QHBoxLayout *row)
{
    m_pageSizes = new QComboBox(page);
    m_pageSizes->setObjectName(QStringLiteral("ItemsPerPage"));
    for (const char *number : {" 16 ", " 32 ", " 64 "}) {
        m_pageSizes->addItem(TavrinStrings::text(TavrinStrings::kCloudPortalShow) + QString::fromLatin1(number) +
                             TavrinStrings::text(TavrinStrings::kCloudPortalItems));
    }
    m_pageSizes->setCurrentIndex(2);
    // Queued, because the box uses its members after the signal, and the host may delete the box during the fetch.
    connect(m_pageSizes, qOverload<int>(&QComboBox::currentIndexChanged), page,
            &Portal_CloudBrowserWindows::ItemPerPageClick, Qt::QueuedConnection);
    row->addWidget(m_pageSizes, 0, Qt::AlignRight);
}

void Pager::setPageButton(int step, bool isOffered, qint64 number)
{
    const int position = kStepsBack + step;
    QPushButton *button = m_pages[static_cast<std::size_t>(position)];
    setButtonText(button, isOffered ? QString::number(number) : QStringLiteral("."));
    button->setEnabled(isOffered && step != 0);
    button->setVisible(isOffered);
}

void Pager::show(const Paging &paging)
{
    const qint64 page = paging.page;
    m_next->setEnabled(paging.hasPageAfter(1));
    setButtonText(m_next, paging.hasPageAfter(1)
                              ? TavrinStrings::text(TavrinStrings::kCloudPortalNext) + QStringLiteral(" >")
                              : QStringLiteral(">"));
    for (int step = 1; step <= kStepsForward; ++step)
        setPageButton(step, paging.hasPageAfter(step), page + step);
    setPageButton(0, true, page);
    for (int step = 1; step <= kStepsBack; ++step)
        setPageButton(-step, paging.hasPageBefore(step), page - step);
    m_previous->setEnabled(paging.hasPrevious());
    setButtonText(m_previous, paging.hasPrevious()
                                  ? QStringLiteral("< ") + TavrinStrings::text(TavrinStrings::kCloudPortalPrevious)
                                  : QStringLiteral("<"));
}

void Pager::reset()
{
    m_next->setEnabled(false);
    setButtonText(m_next, QStringLiteral(">"));
    for (QPushButton *button : m_pages)
        button->hide();
    m_previous->setEnabled(false);
    setButtonText(m_previous, QStringLiteral("<"));
    QPushButton *current = m_pages[kStepsBack];
    current->setEnabled(false);
    setButtonText(current, QStringLiteral("|"));
}

void Pager::enablePageSizes(bool enable)
{
    m_pageSizes->setEnabled(enable);
}

#include "moc_Pager.cpp"
