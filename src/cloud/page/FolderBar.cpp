#include "cloud/page/FolderBar.h"

#include "cloud/CloudItem.h"
#include "cloud/page/LiteralText.h"
#include "cloud/page/NavigationWidgets.h"
#include "cloud/page/Portal_CloudBrowserWindows.h"
#include "TavrinStrings.h"

#include <QEvent>
#include <QLabel>
#include <QLayout>
#include <QMenu>
#include <QToolButton>
#include <QWidgetAction>

#include <utility>

using ICloudPortalApi::ICloudItem;

namespace {

constexpr int kHeight = 24;

bool isSeparator(const QAction *action)
{
    return qobject_cast<const QWidgetAction *>(action) != nullptr;
}

void release(QObject *object)
{
    object->disconnect();
    object->deleteLater();
}

/// Removes \p action and its menu from \p bar. Both are disconnected at once and deleted later.
void releaseAction(QToolBar *bar, QAction *action)
{
    if (QMenu *menu = action->menu()) {
        const QList<QAction *> entries = menu->actions();
        for (QAction *entry : entries) {
            entry->disconnect();
            menu->removeAction(entry);
        }
        release(menu);
    }
    bar->removeAction(action);
    release(action);
}

} // namespace

FolderBar::FolderBar(Portal_CloudBrowserWindows *page, QWidget *previous)
    : QToolBar(page), m_page(page), m_previous(previous)
{
    setObjectName(QStringLiteral("FolderBar"));
    setFixedHeight(kHeight);
    setAutoFillBackground(true);
    setStyleSheet(
        QStringLiteral("QToolBar { background-color: #303030; border: 1px solid #444444; padding-left: 3px; }"));
    adaptOverflow(this);
    addWidget(GetIconFolderButton(page));
}

void FolderBar::setPath(const FolderPath &path)
{
    clearPath();
    for (ICloudItem *folder : path) {
        if (!folder)
            continue;
        if (folder->GetParent())
            m_path << addWidget(new QLabel(QStringLiteral("/"), this));
        AddFolderWidget(m_page, this, folder);
        m_path << folder->GetFolderAction();
    }
    orderTabs();
}

void FolderBar::clearPath()
{
    setMoreShown(false);
    const QList<QAction *> path = std::exchange(m_path, {});
    for (QAction *step : path)
        releaseAction(this, step);
}

void FolderBar::orderTabs()
{
    QWidget *before = m_previous;
    const auto append = [&before](QWidget *button) {
        setTabOrder(before, button);
        before = button;
    };
    const QList<QAction *> shown = actions();
    for (QAction *action : shown) {
        if (auto *button = qobject_cast<QToolButton *>(widgetForAction(action)))
            append(button);
    }
    if (QToolButton *button = overflowButton(this))
        append(button);
}

QSize FolderBar::sizeHint() const
{
    QSize size = QToolBar::sizeHint();
    if (isMoreShown())
        size.rwidth() -= widthOf(m_more);
    for (QAction *step : m_path) {
        if (!step->isVisible())
            size.rwidth() += widthOf(step);
    }
    if (!m_path.isEmpty()) {
        QAction *current = m_path.last();
        size.rwidth() += textWidth(current, literalText(current->text())) - textWidth(current, current->iconText());
    }
    return size;
}

bool FolderBar::event(QEvent *event)
{
    const bool isHandled = QToolBar::event(event);
    if (event->type() == QEvent::Resize || event->type() == QEvent::LayoutRequest)
        fit();
    return isHandled;
}

void FolderBar::fit()
{
    if (m_path.isEmpty())
        return;
    int excess = sizeHint().width() - width();
    setMoreShown(excess > 0 && m_path.size() > 1);
    if (isMoreShown())
        excess += widthOf(m_more);
    int first = 0;
    while (first + 1 < m_path.size() && (excess > 0 || isSeparator(m_path[first])))
        excess -= widthOf(m_path[first++]);
    for (int i = 0; i < m_path.size(); ++i)
        m_path[i]->setVisible(i >= first);

    QAction *current = m_path.last();
    QString name = current->text();
    if (excess > 0) {
        const int room = textWidth(current, literalText(name)) - excess;
        name = widgetForAction(current)->fontMetrics().elidedText(name, Qt::ElideMiddle, room);
    }
    current->setIconText(literalText(name));
}

bool FolderBar::isMoreShown() const
{
    return m_more && actions().contains(m_more);
}

void FolderBar::setMoreShown(bool shown)
{
    if (shown == isMoreShown())
        return;
    if (!shown) {
        releaseAction(this, m_more);
        return;
    }
    QAction *top = m_path.first();
    m_more = new QAction(QString(QChar(0xab)), this);
    m_more->setToolTip(TavrinStrings::text(TavrinStrings::kCloudPortalMore));
    m_more->setMenu(createLiteralTextMenu(this));
    connect(m_more->menu(), &QMenu::aboutToShow, this, &FolderBar::fillMoreMenu);
    insertAction(top, m_more);
    auto *button = static_cast<QToolButton *>(widgetForAction(m_more));
    button->setPopupMode(QToolButton::InstantPopup);
    button->setAccessibleName(TavrinStrings::text(TavrinStrings::kCloudPortalMore));
    button->setFocusPolicy(Qt::TabFocus);
    setTabOrder(widgetForAction(top)->previousInFocusChain(), button);
}

void FolderBar::fillMoreMenu()
{
    QMenu *menu = m_more->menu();
    menu->clear();
    for (QAction *step : m_path) {
        if (!step->isVisible() && !isSeparator(step))
            connect(menu->addAction(step->text()), &QAction::triggered, step, &QAction::trigger, Qt::QueuedConnection);
    }
}

int FolderBar::widthOf(QAction *action) const
{
    return widgetForAction(action)->sizeHint().width() + layout()->spacing();
}

/// Returns the width of \p text on the button of \p folder.
int FolderBar::textWidth(QAction *folder, const QString &text) const
{
    return widgetForAction(folder)->fontMetrics().size(Qt::TextShowMnemonic, text).width();
}

#include "moc_FolderBar.cpp"
