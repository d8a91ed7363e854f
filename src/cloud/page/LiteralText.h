// cloud/page/LiteralText.h
//
// Buttons and menus for texts from a service. They draw an "&" instead of using it as a mnemonic.

#pragma once

#include <QPushButton>

class QMenu;

/// Returns \p text with each "&" doubled, so that a style draws it.
QString literalText(const QString &text);

/// Returns an empty menu that draws every "&" of its entries and ignores typed characters. \p parent owns it.
QMenu *createLiteralTextMenu(QWidget *parent);

/// A button that draws its text on one line, with every "&". The text defines neither a shortcut nor the width of the
/// layout: if it does not fit, the button elides the middle and its tool tip shows the whole text.
class LiteralTextButton : public QPushButton
{
    Q_OBJECT
public:
    LiteralTextButton(const QString &text, QWidget *parent);

    /// Hides the function of the base class, which would make the letter after an "&" a shortcut.
    void setText(const QString &text);
    QSize sizeHint() const override;

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    bool isElided() const;
};
