#include "localcloud/SignInPage.h"

namespace localcloud {

void setPage(HttpResponse &response, int status, const PageLook &look, const QString &title, const QString &body)
{
    static const QString frame = QStringLiteral(R"(<!DOCTYPE html>
<html lang="en"><head><meta charset="utf-8"><title>%1</title>
<style>
html { background: #eef1f4; }
body { margin: 0; min-width: 440px; color: #33404d; font: 14px "DejaVu Sans", Arial, sans-serif; }
.bar { background: %3; color: #ffffff; padding: 16px 0; text-align: center; font-size: 22px;
       letter-spacing: 2px; }
.bar small { display: block; font-size: 11px; letter-spacing: 0; color: %5; margin-top: 3px; }
.card { width: 332px; margin: 26px auto; padding: 22px 28px 24px; background: #ffffff; border: 1px solid #d5dce2;
        border-radius: 6px; }
h1 { font-size: 18px; margin: 0 0 16px; color: #1f2a33; font-weight: normal; }
p { line-height: 1.5; margin: 0 0 8px; }
.error { background: #fdecea; border: 1px solid #f3b9b3; border-radius: 4px; color: #9b2318; padding: 8px 12px; }
label { display: block; margin: 12px 0 5px; font-size: 12px; color: #5a6873; }
input.text { display: block; width: 100%; box-sizing: border-box; -webkit-box-sizing: border-box; font: inherit;
             padding: 8px 10px; border: 1px solid #b9c4cd; border-radius: 4px; color: #1f2a33; background: #f0f3f6; }
input.text:focus { border-color: %3; outline: 2px solid %6; background: #ffffff; }
button { display: block; width: 100%; margin: 22px 0 0; font: inherit; font-size: 15px; padding: 10px; border: 0; border-radius: 4px;
         background: %3; color: #ffffff; cursor: pointer; }
button:focus, button:hover { background: %4; }
.plain { margin-top: 10px; background: #7a8791; }
.hint { margin: 18px 0 0; font-size: 12px; color: #7a8791; text-align: center; }
</style></head><body><div class="bar">%2<small>local cloud</small></div><div class="card">%7</div></body></html>
)");
    const QString page = frame.arg(title.toHtmlEscaped(), look.brand.toHtmlEscaped(), look.colour, look.darkColour,
                                   look.paleColour, look.focusColour, body);
    response.set(status, "text/html; charset=utf-8", page.toUtf8());
    response.setHeader("Cache-Control", "no-store");
}

void setErrorPage(HttpResponse &response, int status, const PageLook &look, const QString &reason)
{
    setPage(response, status, look, QStringLiteral("Error"), "<h1>Error</h1><p>" + reason + "</p>");
}

bool checkSignIn(const HttpRequest &request, HttpResponse &response, const PageLook &look, const QString &heading,
                 const QString &action)
{
    static const QString form = QStringLiteral(R"(<h1>%1</h1>%2
<form method="post" action="%3"><label for="user">User name</label>
<input class="text" id="user" name="user" type="text" autocomplete="off" value="%4"%5>
<label for="password">Password</label><input class="text" id="password" name="password" type="password"%6>
<button id="sign-in" type="submit">Sign in</button></form>
<p class="hint">On this computer: user <b>%7</b>, password <b>%8</b>.</p>)");
    const QString user = formValue(request.body.bytes(), "user");
    const bool isPosted = request.method == "POST";
    if (isPosted && user == kDemoUser && formValue(request.body.bytes(), "password") == kDemoPassword)
        return true;
    const QString error("<p id=\"error\" class=\"error\">The user name or the password is wrong.</p>");
    const QString focus(" autofocus");
    setPage(response, 200, look, "Sign in to " + look.brand,
            form.arg(heading, isPosted ? error : QString(), action, user.toHtmlEscaped(),
                     user.isEmpty() ? focus : QString(), user.isEmpty() ? QString() : focus, kDemoUser, kDemoPassword));
    return false;
}

void setSignedInPage(HttpResponse &response, const PageLook &look)
{
    setPage(response, 200, look, QStringLiteral("Signed in"),
            QStringLiteral("<h1>You are signed in</h1><p>This window may be closed.</p>"));
}

} // namespace localcloud
