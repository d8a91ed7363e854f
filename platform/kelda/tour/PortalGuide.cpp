#include "tour/PortalGuide.h"

#include "tour/DropboxGuide.h"
#include "tour/PlyxGuide.h"
#include "tour/ZephalGuide.h"

#include <QWebElement>
#include <QWebFrame>
#include <QWebPage>
#include <QWebView>

int PortalGuide::answers(const Trace &trace) const
{
    int count = 0;
    for (const CloudProcess::Request &request : m_cloud.requests(trace.target))
        count += request.status == trace.status && request.method == trace.method ? 1 : 0;
    return count;
}

int PortalGuide::filesOf(const QStringList &, const QString &) const
{
    return 1;
}

QString PortalGuide::localName(const QStringList &, const QString &name) const
{
    return name;
}

PortalGuide::Trace PortalGuide::upload() const
{
    return {};
}

PortalGuide::Trace PortalGuide::replacement() const
{
    return upload();
}

bool PortalGuide::askInDialog(CloudPage &page)
{
    const auto pageShown = [&] {
        return page.signInPage() &&
               !page.signInPage()->page()->mainFrame()->findFirstElement(QStringLiteral("#password")).isNull();
    };
    return page.clickLogin() && m_driver.waitFor(pageShown, QStringLiteral("the sign-in page"));
}

bool PortalGuide::answerInDialog(CloudPage &page, const QString &user, const QString &password)
{
    const auto signedIn = [&] { return !page.signInPage() && page.isSignedIn() && !page.entries().isEmpty(); };
    return m_driver.typeInPage(page.signInPage(), QStringLiteral("#user"), user) &&
           m_driver.typeInPage(page.signInPage(), QStringLiteral("#password"), password) &&
           m_driver.clickInPage(page.signInPage(), QStringLiteral("#sign-in")) &&
           m_driver.waitFor(signedIn, QStringLiteral("the user's name and files"));
}

std::vector<std::unique_ptr<PortalGuide>> portalGuides(Driver &driver, const CloudProcess &cloud)
{
    std::vector<std::unique_ptr<PortalGuide>> guides;
    guides.push_back(std::make_unique<ZephalGuide>(driver, cloud));
    guides.push_back(std::make_unique<PlyxGuide>(driver, cloud));
    guides.push_back(std::make_unique<DropboxGuide>(driver, cloud));
    return guides;
}
