#include "cloud/NavigationWidgets.h"

#include "cloud/CloudItem.h"
#include "cloud/Portal_CloudBrowserWindows.h"
#include "cloud/UiText.h"
#include "TavrinHelper.h"

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QProxyStyle>
#include <QStyleOptionMenuItem>
#include <QStylePainter>
#include <QTextDocument>
#include <QToolBar>
#include <QToolButton>

using ICloudPortalApi::ICloudItem;

namespace {

constexpr int kTextMargin = 3;   // pixels between a page button's text and its edge
constexpr int kSmallestText = 8; // pixels

/// Shows the "&" of a folder's name in a menu instead of taking it for a mnemonic.
class LiteralTextStyle : public QProxyStyle
{
public:
    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget) const override
    {
        const auto *item = qstyleoption_cast<const QStyleOptionMenuItem *>(option);
        if (element != CE_MenuItem || !item) {
            QProxyStyle::drawControl(element, option, painter, widget);
            return;
        }
        QStyleOptionMenuItem shown(*item);
        shown.text = LiteralText(item->text);
        QProxyStyle::drawControl(element, &shown, painter, widget);
    }

    QSize sizeFromContents(ContentsType type, const QStyleOption *option, const QSize &size,
                           const QWidget *widget) const override
    {
        QSize wanted = QProxyStyle::sizeFromContents(type, option, size, widget);
        const auto *item = qstyleoption_cast<const QStyleOptionMenuItem *>(option);
        if (type == CT_MenuItem && item) {
            const int signs = item->text.count(QLatin1Char('&'));
            wanted.rwidth() += signs * item->fontMetrics.horizontalAdvance(QLatin1Char('&'));
        }
        return wanted;
    }
};

QMenu *createFolderMenu(QToolBar *bar, const ICloudPortalApi::ItemVector &folders)
{
    QMenu *menu = CreateLiteralTextMenu(bar);
    for (ICloudItem *folder : folders) {
        QAction *action = menu->addAction(KQtUtil::toQString(folder->GetDisplayName()));
        QObject::connect(action, &QAction::triggered, folder, &ICloudItem::FolderClick);
        folder->SetFolderActionArrow(action);
    }
    return menu;
}

/// What opens the part of \p bar that does not fit. The name is the toolkit's own.
QToolButton *overflowButton(QToolBar *bar)
{
    return bar->findChild<QToolButton *>(QStringLiteral("qt_toolbar_ext_button"));
}

void release(QObject *object)
{
    object->disconnect();
    object->deleteLater();
}

} // namespace

QString LiteralText(const QString &text)
{
    return QString(text).replace(QLatin1Char('&'), QStringLiteral("&&"));
}

QMenu *CreateLiteralTextMenu(QWidget *parent)
{
    auto *menu = new QMenu(parent);
    auto *style = new LiteralTextStyle;
    style->setParent(menu);
    menu->setStyle(style);
    return menu;
}

QSize LiteralTextButton::sizeHint() const
{
    QSize size = QPushButton::sizeHint();
    size.rwidth() += text().count(QLatin1Char('&')) * fontMetrics().horizontalAdvance(QLatin1Char('&'));
    return size;
}

void LiteralTextButton::paintEvent(QPaintEvent *)
{
    QStylePainter painter(this);
    QStyleOptionButton option;
    initStyleOption(&option);
    option.text = LiteralText(option.text);
    painter.drawControl(QStyle::CE_PushButton, option);
}

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

void SetNavigationButtonText(QPushButton *button, const QString &text)
{
    QFont font = button->parentWidget()->font();
    const int room = button->maximumWidth() - 2 * kTextMargin;
    int pixels = QFontInfo(font).pixelSize();
    while (pixels > kSmallestText && QFontMetrics(font).horizontalAdvance(text) > room)
        font.setPixelSize(--pixels);
    button->setFont(font);
    button->setText(text);
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
    button->setAccessibleName(UiText(TavrinStrings::kCloudPortalLookIn));
    return button;
}

void AddFolderWidget(Portal_CloudBrowserWindows *, QToolBar *bar, ICloudItem *folder)
{
    const QString name = KQtUtil::toQString(folder->GetDisplayName());
    auto *action = new QAction(name, bar);
    action->setIconText(LiteralText(name));
    action->setToolTip(Qt::convertFromPlainText(name));
    QObject::connect(action, &QAction::triggered, folder, &ICloudItem::FolderClick);
    bar->addAction(action);
    folder->SetFolderAction(action);
    QWidget *const button = bar->widgetForAction(action);
    button->setFocusPolicy(Qt::TabFocus);

    ICloudPortalApi::ItemVector folders;
    for (auto child = folder->GetChildBegin(); child != folder->GetChildEnd(); ++child) {
        if ((*child)->IsFolder())
            folders.push_back(*child);
    }
    if (folders.empty())
        return;
    action->setMenu(createFolderMenu(bar, folders));
    if (auto *toolButton = qobject_cast<QToolButton *>(button))
        toolButton->setPopupMode(QToolButton::InstantPopup);
}

void AdaptOverflow(QToolBar *bar)
{
    if (QToolButton *button = overflowButton(bar)) {
        button->setToolButtonStyle(Qt::ToolButtonTextOnly); // its arrow is black whatever the palette
        button->setText(QString(QChar(0xbb)));
        button->setAccessibleName(UiText(TavrinStrings::kCloudPortalMore));
        button->setFocusPolicy(Qt::TabFocus);
    }
}

void OrderFolderButtons(QWidget *before, QToolBar *bar)
{
    const QList<QAction *> actions = bar->actions();
    for (QAction *action : actions) {
        if (auto *button = qobject_cast<QToolButton *>(bar->widgetForAction(action))) {
            QWidget::setTabOrder(before, button);
            before = button;
        }
    }
    if (QToolButton *button = overflowButton(bar))
        QWidget::setTabOrder(before, button);
}

void ReleaseBarAction(QToolBar *bar, QAction *action)
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

void ClearFolderBar(QToolBar *bar)
{
    const QList<QAction *> actions = bar->actions();
    for (QAction *action : actions)
        ReleaseBarAction(bar, action);
}
