// localcloud/SignInPage.h
//
// The web pages and the account that the services share. The pages are plain enough for the web engine
// of the sign-in dialogs.

#pragma once

#include "localcloud/http/HttpTypes.h"

#include <QString>

namespace localcloud {

/// Name and colours (as in style sheets) of one service's pages.
struct PageLook
{
    QString brand;
    QString colour;      ///< of the bar and the button
    QString darkColour;  ///< of the button under the pointer
    QString paleColour;  ///< of small text on the bar
    QString focusColour; ///< of the border around the focused field
};

/// The user name and the password of the account.
const QString kDemoUser = QStringLiteral("demo");
const QString kDemoPassword = QStringLiteral("demo");

/// Fills \p response with a page: a bar with the brand above a card with \p body, which is HTML. The page is at least
/// 440 pixels wide, because a dialog that embeds it takes its size from it. Browsers do not store it.
void setPage(HttpResponse &response, int status, const PageLook &look, const QString &title, const QString &body);

void setErrorPage(HttpResponse &response, int status, const PageLook &look, const QString &reason);

/// Returns true for a POST with the user name and the password of the account. Otherwise fills \p response with the
/// sign-in page, which has an error after a POST. The ids of its elements are "user", "password", "sign-in" and
/// "error". \p heading and \p action, the address of the form, are HTML.
bool checkSignIn(const HttpRequest &request, HttpResponse &response, const PageLook &look, const QString &heading,
                 const QString &action);

/// Fills \p response with the page at the end of a sign-in.
void setSignedInPage(HttpResponse &response, const PageLook &look);

} // namespace localcloud
