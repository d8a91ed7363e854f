#include "tour/PortalGuide.h"

#include "tour/DropboxGuide.h"
#include "tour/Evidence.h"
#include "tour/PlyxGuide.h"
#include "tour/ZephalGuide.h"

#include <QDir>
#include <QWebElement>
#include <QWebFrame>
#include <QWebPage>
#include <QWebView>

namespace {

const QString account = QStringLiteral("demo"); ///< its password is the same

} // namespace

int PortalGuide::answers(const Trace &trace) const
{
    int count = 0;
    for (const CloudProcess::Request &request : m_cloud.requests(trace.target))
        count += request.status == trace.status && request.method == trace.method ? 1 : 0;
    return count;
}

bool PortalGuide::askToSignIn(CloudPage &page)
{
    const auto pageShown = [&] {
        return page.signInPage() &&
               !page.signInPage()->page()->mainFrame()->findFirstElement(QStringLiteral("#password")).isNull();
    };
    return page.clickLogin() && m_driver.waitFor(pageShown, QStringLiteral("the sign-in page"));
}

bool PortalGuide::answerSignIn(CloudPage &page)
{
    const auto signedIn = [&] { return !page.signInPage() && page.isSignedIn() && !page.entries().isEmpty(); };
    return m_driver.typeInPage(page.signInPage(), QStringLiteral("#user"), account) &&
           m_driver.typeInPage(page.signInPage(), QStringLiteral("#password"), account) &&
           m_driver.clickInPage(page.signInPage(), QStringLiteral("#sign-in")) &&
           m_driver.waitFor(signedIn, QStringLiteral("the user's name and files"));
}

bool PortalGuide::hasStoredSession(const QString &) const
{
    return !storedSession(m_facts.settings).isEmpty();
}

QStringList PortalGuide::entries(const View &view) const
{
    return namesIn(original(view.folder, QString()));
}

int PortalGuide::filesOf(const QStringList &, const QString &) const
{
    return 1;
}

QString PortalGuide::original(const QStringList &folder, const QString &name) const
{
    return QDir::cleanPath((QStringList{served()} + folder + QStringList{name}).join(QLatin1Char('/')));
}

QString PortalGuide::localName(const QStringList &, const QString &name) const
{
    return name;
}

std::vector<std::unique_ptr<PortalGuide>> portalGuides(Driver &driver, const CloudProcess &cloud)
{
    std::vector<std::unique_ptr<PortalGuide>> guides;
    guides.push_back(std::make_unique<ZephalGuide>(driver, cloud));
    guides.push_back(std::make_unique<PlyxGuide>(driver, cloud));
    guides.push_back(std::make_unique<DropboxGuide>(driver, cloud));
    return guides;
}
