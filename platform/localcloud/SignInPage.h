// localcloud/SignInPage.h
//
// The web pages that the services share. They are plain enough for the web engine of the sign-in dialogs.

#pragma once

#include "localcloud/http/HttpTypes.h"

#include <QString>

namespace localcloud {

/// The user of the demo, at Plyx and Zephal.
inline const QString kDemoUser = QStringLiteral("demo");
inline const QString kDemoPassword = QStringLiteral("demo");

/// Name and colours (as in style sheets) of one service's pages.
struct PageLook
{
    QString brand;
    QString colour;      ///< of the bar and the button
    QString darkColour;  ///< of the button under the pointer
    QString paleColour;  ///< of small text on the bar
    QString focusColour; ///< of the border around the focused field
};

/// The form for a user name and a password. All texts but \a user are HTML.
struct SignInForm
{
    QString heading;
    QString action; ///< the address that the form is sent to
    QString user;   ///< plain text; if it is not empty, the password field has the focus
    QString error;  ///< empty for none
};

/// Returns a form with the fields "user" and "password", the button "sign-in" and, for an error, the paragraph "error".
/// These are their ids. Below the button are the name and the password of the demo.
QString signInForm(const SignInForm &form);

/// Fills \p response with a page: a bar with the brand above a card with \p body, which is HTML. The page is at least
/// 440 pixels wide, because a dialog that embeds it takes its size from it. Browsers do not store it.
void setPage(HttpResponse &response, int status, const PageLook &look, const QString &title, const QString &body);

/// Fills \p response with the page at the end of a sign-in.
void setSignedInPage(HttpResponse &response, const PageLook &look);

} // namespace localcloud
