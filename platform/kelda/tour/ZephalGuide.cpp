#include "tour/ZephalGuide.h"

#include "tour/Evidence.h"

#include <QDir>
#include <QUrl>

namespace {

const QString account = QStringLiteral("demo"); ///< its password is the same

} // namespace

QString ZephalGuide::id() const
{
    return QStringLiteral("zephal");
}

QString ZephalGuide::tab() const
{
    return QStringLiteral("Zephal");
}

QStringList ZephalGuide::steps() const
{
    return {QStringLiteral("sign-in"),  QStringLiteral("list"),   QStringLiteral("open-folder"),
            QStringLiteral("download"), QStringLiteral("import"), QStringLiteral("export"),
            QStringLiteral("upload"),   QStringLiteral("replace")};
}

PortalGuide::Sights ZephalGuide::sights() const
{
    Sights sights;
    sights.folder = QStringList{QStringLiteral("Projects"), QStringLiteral("Landscape")};
    sights.archive = sights.folder;
    sights.large = QStringLiteral("Hills.obj");
    sights.model = QStringLiteral("Watchtower.glb");
    return sights;
}

bool ZephalGuide::askToSignIn(CloudPage &page)
{
    return askInDialog(page);
}

bool ZephalGuide::answerSignIn(CloudPage &page)
{
    return answerInDialog(page, account, account);
}

PortalGuide::Trace ZephalGuide::admission() const
{
    return {QStringLiteral("POST"), QStringLiteral("/signin"), 302};
}

bool ZephalGuide::hasStoredSession(const QString &userDir) const
{
    return !filesBelow(userDir).filter(QRegularExpression(QStringLiteral("/session\\.skein$"))).isEmpty();
}

QStringList ZephalGuide::entries(const View &view) const
{
    const QDir folder(original(view.folder, QString()));
    return folder.entryList(QDir::Files | QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot);
}

PortalGuide::Trace ZephalGuide::listing(const View &view) const
{
    QString target = QStringLiteral("/dav/");
    for (const QString &name : view.folder)
        target += QString::fromLatin1(QUrl::toPercentEncoding(name)) + QLatin1Char('/');
    return {QStringLiteral("PROPFIND"), target, 207};
}

PortalGuide::Trace ZephalGuide::download() const
{
    return {QStringLiteral("GET"), QStringLiteral("/dav/")};
}

QString ZephalGuide::original(const QStringList &folder, const QString &name) const
{
    return QDir::cleanPath(m_cloud.zephalFolder() + QLatin1Char('/') +
                           (folder + QStringList{name}).join(QLatin1Char('/')));
}

PortalGuide::Trace ZephalGuide::upload() const
{
    return {QStringLiteral("MOVE"), QStringLiteral("/dav/"), 201};
}

PortalGuide::Trace ZephalGuide::replacement() const
{
    return {QStringLiteral("MOVE"), QStringLiteral("/dav/"), 204};
}
