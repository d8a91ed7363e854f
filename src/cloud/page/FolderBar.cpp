#include "cloud/page/FolderBar.h"

#include "cloud/page/NavigationWidgets.h"
#include "TavrinStrings.h"

#include <QEvent>
#include <QLayout>
#include <QMenu>
#include <QToolButton>
#include <QWidgetAction>

namespace {

/// The sign between two folders.
bool isSeparator(const QAction *action)
{
    return qobject_cast<const QWidgetAction *>(action) != nullptr;
}

} // namespace

FolderBar::FolderBar(QWidget *parent) : QToolBar(parent) {}

QSize FolderBar::sizeHint() const
{
    QSize size = QToolBar::sizeHint();
    if (isMoreShown())
        size.rwidth() -= widthOf(m_more);
    const QList<QAction *> steps = path();
    for (QAction *step : steps) {
        if (!step->isVisible())
            size.rwidth() += widthOf(step);
    }
    if (!steps.isEmpty()) {
        QAction *current = steps.last();
        size.rwidth() += textWidth(current, LiteralText(current->text())) - textWidth(current, current->iconText());
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
    const QList<QAction *> steps = path();
    if (steps.isEmpty())
        return;
    int excess = sizeHint().width() - width();
    setMoreShown(excess > 0 && steps.size() > 1);
    if (isMoreShown())
        excess += widthOf(m_more);
    int first = 0;
    while (first + 1 < steps.size() && (excess > 0 || isSeparator(steps[first])))
        excess -= widthOf(steps[first++]);
    for (int i = 0; i < steps.size(); ++i)
        steps[i]->setVisible(i >= first);

    QAction *current = steps.last();
    QString name = current->text();
    if (excess > 0) {
        const int room = textWidth(current, LiteralText(name)) - excess;
        name = widgetForAction(current)->fontMetrics().elidedText(name, Qt::ElideMiddle, room);
    }
    current->setIconText(LiteralText(name));
}

QList<QAction *> FolderBar::path() const
{
    QList<QAction *> steps = actions().mid(1);
    steps.removeOne(m_more);
    return steps;
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
        ReleaseBarAction(this, m_more);
        return;
    }
    QAction *top = path().first();
    m_more = new QAction(QString(QChar(0xab)), this);
    m_more->setToolTip(TavrinStrings::text(TavrinStrings::kCloudPortalMore));
    m_more->setMenu(CreateLiteralTextMenu(this));
    connect(m_more->menu(), &QMenu::aboutToShow, this, &FolderBar::fillMenu);
    insertAction(top, m_more);
    auto *button = static_cast<QToolButton *>(widgetForAction(m_more));
    button->setPopupMode(QToolButton::InstantPopup);
    button->setAccessibleName(TavrinStrings::text(TavrinStrings::kCloudPortalMore));
    button->setFocusPolicy(Qt::TabFocus);
    setTabOrder(widgetForAction(top)->previousInFocusChain(), button);
}

void FolderBar::fillMenu()
{
    QMenu *menu = m_more->menu();
    menu->clear();
    const QList<QAction *> steps = path();
    for (QAction *step : steps) {
        if (!step->isVisible() && !isSeparator(step))
            connect(menu->addAction(step->text()), &QAction::triggered, step, &QAction::trigger, Qt::QueuedConnection);
    }
}

int FolderBar::widthOf(QAction *action) const
{
    return widgetForAction(action)->sizeHint().width() + layout()->spacing();
}

/// The width of \p text on the button of \p folder.
int FolderBar::textWidth(QAction *folder, const QString &text) const
{
    return widgetForAction(folder)->fontMetrics().size(Qt::TextShowMnemonic, text).width();
}
