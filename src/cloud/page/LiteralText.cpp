#include "cloud/page/LiteralText.h"

#include <QHelpEvent>
#include <QMenu>
#include <QProxyStyle>
#include <QStyleOptionMenuItem>
#include <QStylePainter>
#include <QTextDocument>
#include <QToolTip>

namespace {

/// Draws the "&" of a menu entry instead of using it as a mnemonic.
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
        shown.text = literalText(item->text);
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

/// Ignores typed characters, since Qt chooses the entry with that mnemonic even if the style does not show it.
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

} // namespace

QString literalText(const QString &text)
{
    return QString(text).replace(QLatin1Char('&'), QStringLiteral("&&"));
}

QMenu *createLiteralTextMenu(QWidget *parent)
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
    option.text = literalText(line);
    painter.drawControl(QStyle::CE_PushButton, option);
}

#include "moc_LiteralText.cpp"
