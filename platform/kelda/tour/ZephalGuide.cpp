#include "tour/ZephalGuide.h"

#include "tour/Evidence.h"

#include <QUrl>

namespace {

PortalGuide::Facts zephal()
{
    PortalGuide::Facts facts;
    facts.id = QStringLiteral("zephal");
    facts.tab = QStringLiteral("Zephal");
    facts.steps =
        QStringLiteral("sign-in list open-folder download import export upload replace").split(QLatin1Char(' '));
    facts.sights.folder = QStringList{QStringLiteral("Projects"), QStringLiteral("Landscape")};
    facts.sights.archive = facts.sights.folder;
    facts.sights.large = QStringLiteral("Hills.obj");
    facts.sights.model = QStringLiteral("Watchtower.glb");
    facts.admission = {QStringLiteral("POST"), QStringLiteral("/signin"), 302};
    facts.download = {QStringLiteral("GET"), QStringLiteral("/dav/")};
    facts.upload = {QStringLiteral("MOVE"), QStringLiteral("/dav/"), 201};
    facts.replacement = {QStringLiteral("MOVE"), QStringLiteral("/dav/"), 204};
    return facts;
}

} // namespace

ZephalGuide::ZephalGuide(Driver &driver, const CloudProcess &cloud) : PortalGuide(zephal(), driver, cloud) {}

bool ZephalGuide::hasStoredSession(const QString &userDir) const
{
    return !filesBelow(userDir).filter(QRegularExpression(QStringLiteral("/session\\.skein$"))).isEmpty();
}

PortalGuide::Trace ZephalGuide::listing(const View &view) const
{
    QString target = QStringLiteral("/dav/");
    for (const QString &name : view.folder)
        target += QString::fromLatin1(QUrl::toPercentEncoding(name)) + QLatin1Char('/');
    return {QStringLiteral("PROPFIND"), target, 207};
}

QString ZephalGuide::served() const
{
    return m_cloud.zephalFolder();
}
