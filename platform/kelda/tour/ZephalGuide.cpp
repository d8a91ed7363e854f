// Zephal: the sign-in page is in the plug-in's dialog; a WebDAV server serves a folder on disk.

#include "tour/LocalFiles.h"
#include "tour/PortalGuide.h"

#include <QRegularExpression>

namespace {

PortalGuide::Facts zephalFacts()
{
    PortalGuide::Facts facts;
    facts.id = QStringLiteral("zephal");
    facts.tab = QStringLiteral("Zephal");
    facts.steps =
        QStringLiteral("sign-in list open-folder download import export upload replace").split(QLatin1Char(' '));
    facts.folder = QStringList{QStringLiteral("Projects"), QStringLiteral("Landscape")};
    facts.texturedModel = QStringLiteral("Watchtower.glb");
    facts.largeModelFolder = facts.folder;
    facts.largeModel = QStringLiteral("Hills.obj");
    facts.signIn = {QStringLiteral("POST"), QStringLiteral("/signin"), 302};
    facts.download = {QStringLiteral("GET"), QStringLiteral("/dav/")};
    facts.upload = {QStringLiteral("MOVE"), QStringLiteral("/dav/"), 201};
    facts.replacement = {QStringLiteral("MOVE"), QStringLiteral("/dav/"), 204};
    return facts;
}

class ZephalGuide : public PortalGuide
{
public:
    ZephalGuide(Driver &driver, const CloudProcess &cloud)
        : PortalGuide(driver, cloud, cloud.zephalFolder(), zephalFacts())
    {}

    QString storedSession(const QString &userDir) const override
    {
        return filesBelow(userDir).filter(QRegularExpression(QStringLiteral("/session\\.skein$"))).value(0);
    }

    Pattern listing(const View &view) const override
    {
        QString target = QStringLiteral("/dav/");
        for (const QString &name : view.folder)
            target += QString::fromLatin1(QUrl::toPercentEncoding(name)) + QLatin1Char('/');
        return {QStringLiteral("PROPFIND"), target, 207};
    }
};

} // namespace

std::unique_ptr<PortalGuide> makeZephalGuide(Driver &driver, const CloudProcess &cloud)
{
    return std::make_unique<ZephalGuide>(driver, cloud);
}
