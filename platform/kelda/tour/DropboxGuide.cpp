#include "tour/DropboxGuide.h"

#include "tour/Evidence.h"

#include <QWebView>

namespace {

const QPoint browserPlace(60, 70);

QString joined(const QStringList &folder)
{
    QString path;
    for (const QString &name : folder)
        path += QLatin1Char('/') + name;
    return path;
}

} // namespace

QString DropboxGuide::id() const
{
    return QStringLiteral("dropbox");
}

QString DropboxGuide::tab() const
{
    return QStringLiteral("Dropbox");
}

QStringList DropboxGuide::steps() const
{
    return {QStringLiteral("sign-in"),  QStringLiteral("list"),   QStringLiteral("open-folder"),
            QStringLiteral("download"), QStringLiteral("import"), QStringLiteral("export"),
            QStringLiteral("upload")};
}

PortalGuide::Sights DropboxGuide::sights() const
{
    return {{QStringLiteral("Models"), QStringLiteral("Textured")},
            {},
            QStringLiteral("Large terrain.obj"),
            QStringLiteral("Painted barrel.glb"),
            {}};
}

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

PortalGuide::Trace DropboxGuide::admission() const
{
    return {QStringLiteral("POST"), QStringLiteral("/1/oauth2/token")};
}

bool DropboxGuide::hasStoredSession(const QString &) const
{
    return !storedSession(settingsName()).isEmpty();
}

QString DropboxGuide::settingsName()
{
    return QStringLiteral("TavrinSettings_DropBoxAppBrowser_Kelda");
}

QStringList DropboxGuide::entries(const View &view) const
{
    return namesIn(m_cloud.dropboxFolder() + joined(view.folder));
}

PortalGuide::Trace DropboxGuide::listing(const View &view) const
{
    return {QStringLiteral("GET"), QStringLiteral("/1/metadata/dropbox/") + joined(view.folder) + QLatin1Char('?')};
}

PortalGuide::Trace DropboxGuide::download() const
{
    return {QStringLiteral("GET"), QStringLiteral("/1/files/")};
}

PortalGuide::Trace DropboxGuide::upload() const
{
    return {QStringLiteral("POST"), QStringLiteral("/1/files_put/")};
}

QString DropboxGuide::original(const QStringList &folder, const QString &name) const
{
    return m_cloud.dropboxFolder() + joined(folder) + QLatin1Char('/') + name;
}
