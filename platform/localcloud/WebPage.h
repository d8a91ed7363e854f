// localcloud/WebPage.h
//
// The look of the services' sign-in pages, plain enough for the web engine of the dialogs that show them.

#pragma once

#include <QByteArray>
#include <QString>

namespace localcloud {

/// What one service's pages differ in; colours as in style sheets.
struct PageLook
{
    QString brand;
    QString colour;      ///< of the bar and the button
    QString darkColour;  ///< of the button under the pointer
    QString paleColour;  ///< of small text on the bar
    QString focusColour; ///< around the field being typed in
};

/// A page of a bar with the brand and a card below it; \p body, the card's inside, is HTML already. It keeps its width
/// of 440 pixels in a smaller window, because a dialog that embeds the page takes its size from it.
QByteArray webPage(const PageLook &look, const QString &title, const QString &body);

} // namespace localcloud
