#include "cloud/page/NavigationWidgets.h"

#include "cloud/CloudItem.h"
#include "cloud/page/Portal_CloudBrowserWindows.h"
#include "TavrinHelper.h"
#include "TavrinStrings.h"

#include <QAction>
#include <QApplication>
#include <QHelpEvent>
#include <QMenu>
#include <QProxyStyle>
#include <QStyleOptionMenuItem>
#include <QStylePainter>
#include <QTextDocument>
#include <QToolBar>
#include <QToolButton>
#include <QToolTip>

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

/// Ignores typed characters: Qt would choose the entry with that mnemonic, whether the style shows it or not.
class LiteralTextMenu : public QMenu
{
public:
    explicit LiteralTextMenu(QWidget *parent) : QMenu(parent)
    {
        auto *style = new LiteralTextStyle;
        style->setParent(this);
        setStyle(style);
    }

protected:
    void keyPressEvent(QKeyEvent *event) override
    {
        const QString typed = event->text();
        const bool isCharacter = !typed.isEmpty() && typed.at(0).isPrint();
        const bool activates =
            event->key() == Qt::Key_Space && style()->styleHint(QStyle::SH_Menu_SpaceActivatesItem, nullptr, this);
        if (!isCharacter || activates)
            QMenu::keyPressEvent(event);
    }
};

QMenu *createFolderMenu(QToolBar *bar, const ICloudPortalApi::ItemVector &folders)
{
    QMenu *menu = CreateLiteralTextMenu(bar);
    for (ICloudItem *folder : folders) {
        QAction *action = menu->addAction(KQtUtil::toQString(folder->GetDisplayName()));
        // From the event loop: the menu uses itself after the signal, and the host may delete it during the click.
        QObject::connect(action, &QAction::triggered, folder, &ICloudItem::FolderClick, Qt::QueuedConnection);
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
    return new LiteralTextMenu(parent);
}

LiteralTextButton::LiteralTextButton(const QString &text, QWidget *parent) : QPushButton(parent)
{
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    setText(text);
}

void LiteralTextButton::setText(const QString &text)
{
    QPushButton::setText(text);
    setShortcut(QKeySequence());
}

QSize LiteralTextButton::sizeHint() const
{
    ensurePolished();
    QStyleOptionButton option;
    initStyleOption(&option);
    const QString line = text().simplified();
    const QSize size(fontMetrics().horizontalAdvance(line), fontMetrics().height());
    return style()->sizeFromContents(QStyle::CT_PushButton, &option, size, this);
}

bool LiteralTextButton::event(QEvent *event)
{
    if (event->type() != QEvent::ToolTip)
        return QPushButton::event(event);
    const QString tip = isElided() ? Qt::convertFromPlainText(text()) : QString();
    QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(), tip, this);
    return true;
}

bool LiteralTextButton::isElided() const
{
    return width() < sizeHint().width();
}

void LiteralTextButton::paintEvent(QPaintEvent *)
{
    QStylePainter painter(this);
    QStyleOptionButton option;
    initStyleOption(&option);
    QString line = text().simplified();
    if (isElided()) {
        const int room = style()->subElementRect(QStyle::SE_PushButtonContents, &option, this).width();
        line = fontMetrics().elidedText(line, Qt::ElideMiddle, room);
    }
    option.text = LiteralText(line);
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
    button->setAccessibleName(TavrinStrings::text(TavrinStrings::kCloudPortalLookIn));
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
        button->setAccessibleName(TavrinStrings::text(TavrinStrings::kCloudPortalMore));
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
