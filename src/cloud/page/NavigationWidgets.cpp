#include "cloud/page/NavigationWidgets.h"

#include "cloud/CloudItem.h"
#include "cloud/page/LiteralText.h"
#include "cloud/page/Portal_CloudBrowserWindows.h"
#include "TavrinHelper.h"
#include "TavrinStrings.h"

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QStyle>
#include <QTextDocument>
#include <QToolBar>
#include <QToolButton>

using ICloudPortalApi::ICloudItem;

namespace {

QMenu *createFolderMenu(QToolBar *bar, const ICloudPortalApi::ItemVector &folders)
{
    QMenu *menu = createLiteralTextMenu(bar);
    for (ICloudItem *folder : folders) {
        QAction *action = menu->addAction(KQtUtil::toQString(folder->GetDisplayName()));
        // Queued, because the menu uses its members after the signal, and the host may delete the menu during the
        // click.
        QObject::connect(action, &QAction::triggered, folder, &ICloudItem::FolderClick, Qt::QueuedConnection);
        folder->SetFolderActionArrow(action);
    }
    return menu;
}

} // namespace

QPushButton *CreateNavigationButton(KString text, KString accessibleName, Portal_CloudBrowserWindows *parent)
{
    auto *button = new QPushButton(KQtUtil::toQString(text), parent);
    button->setMinimumSize(16, 20);
    button->setMaximumSize(64, 20);
    button->setStyleSheet(QStringLiteral("QPushButton { padding: 0px 0px 0px 0px; }"));
    button->setAccessibleName(KQtUtil::toQString(accessibleName));
    button->setCheckable(false);
    return button;
}

QIcon GetIconPreviousFolder()
{
    return QApplication::style()->standardIcon(QStyle::SP_FileDialogToParent);
}

QIcon GetIconSearch()
{
    return TavrinHelper::portalIcon("search_glass.png");
}

QPushButton *GetIconFolderButton(Portal_CloudBrowserWindows *parent)
{
    auto *button = new QPushButton(QApplication::style()->standardIcon(QStyle::SP_DirIcon), QString(), parent);
    button->setFixedSize(16, 16);
    button->setStyleSheet(QStringLiteral(
        "QPushButton { background-color: #303030; border: 0px solid #C0C0C0; padding: 0px 0px 0px 0px; }"));
    button->setEnabled(false);
    button->setAccessibleName(TavrinStrings::text(TavrinStrings::kCloudPortalLookIn));
    return button;
}

void AddFolderWidget(Portal_CloudBrowserWindows *, QToolBar *bar, ICloudItem *folder)
{
    const QString name = KQtUtil::toQString(folder->GetDisplayName());
    auto *action = new QAction(name, bar);
    action->setIconText(literalText(name));
    action->setToolTip(Qt::convertFromPlainText(name));
    QObject::connect(action, &QAction::triggered, folder, &ICloudItem::FolderClick);
    bar->addAction(action);
    folder->SetFolderAction(action);
    auto *button = static_cast<QToolButton *>(bar->widgetForAction(action));
    button->setFocusPolicy(Qt::TabFocus);

    ICloudPortalApi::ItemVector folders;
    for (auto child = folder->GetChildBegin(); child != folder->GetChildEnd(); ++child) {
        if ((*child)->IsFolder())
            folders.push_back(*child);
    }
    if (folders.empty())
        return;
    action->setMenu(createFolderMenu(bar, folders));
    button->setPopupMode(QToolButton::InstantPopup);
}

QToolButton *overflowButton(QToolBar *bar)
{
    return bar->findChild<QToolButton *>(QStringLiteral("qt_toolbar_ext_button")); // the name that Qt uses
}

void adaptOverflow(QToolBar *bar)
{
    if (QToolButton *button = overflowButton(bar)) {
        button->setToolButtonStyle(Qt::ToolButtonTextOnly); // the style draws its arrow in black with every palette
        button->setText(QString(QChar(0xbb)));
        button->setAccessibleName(TavrinStrings::text(TavrinStrings::kCloudPortalMore));
        button->setFocusPolicy(Qt::TabFocus);
    }
}
