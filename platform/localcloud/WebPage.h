// localcloud/WebPage.h
//
// The sign-in pages that the services have in common, plain enough for the web engine of the dialogs that show them.

#pragma once

#include <QString>

#include <localcloud/http/HttpTypes.h>

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

/// The form that asks for a name and a password; texts are HTML already unless they say otherwise.
struct SignInForm
{
    QString heading;
    QString action;  ///< the address that takes the form
    QString user;    ///< plain text, typed before; then the password is asked for first
    QString error;   ///< empty for none
    QString options; ///< what stands above the button
    QString hint;    ///< what stands below it
};

/// Fields "user" and "password", the button "sign-in", and the paragraph "error" when there is one; these are their
/// ids.
QString signInForm(const SignInForm &form);

/// Answers with a page of a bar with the brand and a card below it; \p body, the card's inside, is HTML already. It
/// keeps its width of 440 pixels in a smaller window, because a dialog that embeds the page takes its size from it. No
/// browser stores it.
void setPage(HttpResponse &response, int status, const PageLook &look, const QString &title, const QString &body);

/// Answers with the page that a sign-in ends on.
void setSignedInPage(HttpResponse &response, const PageLook &look);

} // namespace localcloud
