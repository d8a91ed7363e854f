#include "tour/PortalGuide.h"

#include "tour/LocalFiles.h"

#include <QDir>
#include <QSettings>
#include <QWebElement>
#include <QWebFrame>
#include <QWebPage>
#include <QWebView>

// TOUR_GUIDES is a list of GUIDE(name), which CMakeLists.txt defines.
#define GUIDE(name) std::unique_ptr<PortalGuide> make##name##Guide(Driver &, const CloudProcess &);
TOUR_GUIDES
#undef GUIDE

namespace {

const QString kUser = QStringLiteral("demo"); ///< the user name and the password

} // namespace

std::vector<std::unique_ptr<PortalGuide>> portalGuides(Driver &driver, const CloudProcess &cloud)
{
    std::vector<std::unique_ptr<PortalGuide>> guides;
#define GUIDE(name) guides.push_back(make##name##Guide(driver, cloud));
    TOUR_GUIDES
#undef GUIDE
    return guides;
}

std::unique_ptr<PortalGuide> portalGuide(const QString &tab, Driver &driver, const CloudProcess &cloud)
{
    for (std::unique_ptr<PortalGuide> &guide : portalGuides(driver, cloud)) {
        if (guide->facts().tab == tab)
            return std::move(guide);
    }
    qFatal("the portal has no guide");
}

int PortalGuide::countRequests(const Pattern &pattern) const
{
    int count = 0;
    for (const CloudProcess::Request &request : m_cloud.requests(pattern.target))
        count += request.status == pattern.status && request.method == pattern.method ? 1 : 0;
    return count;
}

bool PortalGuide::openSignInPage(CloudPage &page)
{
    const auto pageShown = [&] {
        return page.signInPage() &&
               !page.signInPage()->page()->mainFrame()->findFirstElement(QStringLiteral("#password")).isNull();
    };
    return page.clickLogin() && m_driver.waitFor(pageShown, QStringLiteral("the sign-in page"));
}

bool PortalGuide::signIn(CloudPage &page)
{
    const auto signedIn = [&] { return !page.signInPage() && page.isSignedIn() && !page.entries().isEmpty(); };
    return m_driver.typeInPage(page.signInPage(), QStringLiteral("#user"), kUser) &&
           m_driver.typeInPage(page.signInPage(), QStringLiteral("#password"), kUser) &&
           m_driver.clickInPage(page.signInPage(), QStringLiteral("#sign-in")) &&
           m_driver.waitFor(signedIn, QStringLiteral("the user's name and files"));
}

QString PortalGuide::storedSession(const QString &) const
{
    const QSettings settings(settingsFile(m_facts.settings), QSettings::IniFormat);
    return settings.value(QStringLiteral("plyx_session_id")).toString();
}

QStringList PortalGuide::entries(const View &view) const
{
    return namesIn(original(view.folder, QString()));
}

int PortalGuide::fileCount(const QStringList &, const QString &) const
{
    return 1;
}

QString PortalGuide::original(const QStringList &folder, const QString &name) const
{
    return QDir::cleanPath((QStringList{m_servedFolder} + folder + QStringList{name}).join(QLatin1Char('/')));
}

QString PortalGuide::localName(const QStringList &, const QString &name) const
{
    return name;
}
