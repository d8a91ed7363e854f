#include "tour/DropboxGuide.h"

#include <QWebView>

namespace {

const QPoint browserPlace(60, 70);

PortalGuide::Facts dropbox()
{
    PortalGuide::Facts facts;
    facts.id = QStringLiteral("dropbox");
    facts.tab = QStringLiteral("Dropbox");
    facts.steps = QStringLiteral("sign-in list open-folder download import export upload").split(QLatin1Char(' '));
    facts.sights.folder = QStringList{QStringLiteral("Models"), QStringLiteral("Textured")};
    facts.sights.large = QStringLiteral("Large terrain.obj");
    facts.sights.model = QStringLiteral("Painted barrel.glb");
    facts.settings = QStringLiteral("TavrinSettings_DropBoxAppBrowser_Kelda");
    facts.admission = {QStringLiteral("POST"), QStringLiteral("/1/oauth2/token")};
    facts.download = {QStringLiteral("GET"), QStringLiteral("/1/files/")};
    facts.upload = {QStringLiteral("POST"), QStringLiteral("/1/files_put/")};
    facts.replacement = facts.upload;
    return facts;
}

} // namespace

DropboxGuide::DropboxGuide(Driver &driver, const CloudProcess &cloud) : PortalGuide(dropbox(), driver, cloud) {}

bool DropboxGuide::askToSignIn(CloudPage &page)
{
    if (!page.askToSignIn())
        return false;
    m_driver.placeInFront(page.browser()->window(), browserPlace);
    return true;
}

bool DropboxGuide::answerSignIn(CloudPage &page)
{
    return page.allow();
}

PortalGuide::Trace DropboxGuide::listing(const View &view) const
{
    QString target = QStringLiteral("/1/metadata/dropbox/");
    for (const QString &name : view.folder)
        target += QLatin1Char('/') + name;
    return {QStringLiteral("GET"), target + QLatin1Char('?')};
}

QString DropboxGuide::served() const
{
    return m_cloud.dropboxFolder();
}
