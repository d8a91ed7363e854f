// Plyx: the sign-in page is in the plug-in's dialog; the galleries are in a catalogue on disk.

#include "tour/PortalGuide.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

namespace {

constexpr int kPageSize = 64;
constexpr int kModelType = 119;
const QString kObjFormat = QStringLiteral("OBJ ( .obj )");

int mediaType(const QString &gallery)
{
    static const QMap<QString, int> types{{QStringLiteral("Lumo"), 27},
                                          {QStringLiteral("Lumo Mobile"), 28},
                                          {QStringLiteral("Tarn"), 31},
                                          {QStringLiteral("Grell"), 35}};
    return types.value(gallery);
}

QString text(const QJsonObject &object, const char *key)
{
    return object[QLatin1String(key)].toString();
}

bool matches(const QJsonObject &asset, int gallery, const QString &keyword)
{
    return asset[QLatin1String("gallery")].toInt() == gallery && asset[QLatin1String("free")].toBool(true) &&
           asset[QLatin1String("fileTypes")].toArray().contains(kModelType) &&
           (text(asset, "name") + QLatin1Char(' ') + text(asset, "artist")).contains(keyword, Qt::CaseInsensitive);
}

PortalGuide::Facts plyxFacts()
{
    PortalGuide::Facts facts;
    facts.id = QStringLiteral("plyx");
    facts.tab = QStringLiteral("Plyx");
    facts.steps = QStringLiteral("sign-in list open-folder search page download import").split(QLatin1Char(' '));
    facts.folder = QStringList{QStringLiteral("Lumo")};
    facts.texturedModel = QStringLiteral("Wooden barrel");
    facts.keyword = QStringLiteral("brick");
    facts.largeModelFolder = QStringList{QStringLiteral("Tarn")};
    facts.largeModel = QStringLiteral("Brick tower");
    facts.settings = QStringLiteral("TavrinSettings_PlyxAppBrowser_Kelda");
    facts.signIn = {QStringLiteral("POST"), QStringLiteral("/TokenAPI/login.cfm"), 302};
    facts.download = {QStringLiteral("GET"), QStringLiteral("/v1/File/")};
    return facts;
}

class PlyxGuide : public PortalGuide
{
public:
    PlyxGuide(Driver &driver, const CloudProcess &cloud) : PortalGuide(driver, cloud, cloud.plyxFolder(), plyxFacts())
    {}

    QStringList entries(const View &view) const override;
    Pattern listing(const View &view) const override;
    int fileCount(const QStringList &folder, const QString &name) const override;
    QString original(const QStringList &folder, const QString &name) const override;
    QString localName(const QStringList &folder, const QString &name) const override;

private:
    /// The published models of that gallery that match, newest first.
    QVector<QJsonObject> assets(const QString &gallery, const QString &keyword = QString()) const;
    /// The newest model with that name; empty if it does not exist.
    QJsonObject asset(const QStringList &folder, const QString &name) const;
};

QVector<QJsonObject> PlyxGuide::assets(const QString &gallery, const QString &keyword) const
{
    QVector<QJsonObject> found;
    QFile catalogue(m_servedFolder + QStringLiteral("/catalogue.json"));
    if (!catalogue.open(QIODevice::ReadOnly))
        return found;
    const QJsonArray all = QJsonDocument::fromJson(catalogue.readAll()).object()[QLatin1String("assets")].toArray();
    for (const QJsonValue &entry : all) {
        if (matches(entry.toObject(), mediaType(gallery), keyword))
            found << entry.toObject();
    }
    std::stable_sort(found.begin(), found.end(), [](const QJsonObject &one, const QJsonObject &other) {
        return text(one, "published") > text(other, "published");
    });
    return found;
}

QJsonObject PlyxGuide::asset(const QStringList &folder, const QString &name) const
{
    for (const QJsonObject &entry : assets(folder.value(0))) {
        if (text(entry, "name") == name)
            return entry;
    }
    return {};
}

QStringList PlyxGuide::entries(const View &view) const
{
    if (view.folder.isEmpty())
        return {QStringLiteral("Grell"), QStringLiteral("Tarn"), QStringLiteral("Lumo"), QStringLiteral("Lumo Mobile"),
                m_driver.textOf(QStringLiteral("kCloudPortalHomeFolderName"))};
    QStringList names;
    for (const QJsonObject &entry :
         assets(view.folder.first(), view.keyword).mid((view.page - 1) * kPageSize, kPageSize))
        names << text(entry, "name");
    return names;
}

PortalGuide::Pattern PlyxGuide::listing(const View &view) const
{
    if (view.folder.isEmpty())
        return {QStringLiteral("GET"), QStringLiteral("/API/v1/Member")};
    QString target = QStringLiteral("/API/v1/Search?file_type_ids=119&media_type_id=%1&content=free&page_num=%2"
                                    "&page_size=64&sort_by=date&sort_order=desc")
                         .arg(mediaType(view.folder.first()))
                         .arg(view.page);
    if (!view.keyword.isEmpty())
        target += QStringLiteral("&keyword=") + view.keyword;
    return {QStringLiteral("GET"), target};
}

int PlyxGuide::fileCount(const QStringList &folder, const QString &name) const
{
    return asset(folder, name)[QLatin1String("textures")].toArray().size() + 1;
}

QString PlyxGuide::original(const QStringList &folder, const QString &name) const
{
    for (const QJsonValue &format : asset(folder, name)[QLatin1String("formats")].toArray()) {
        if (text(format.toObject(), "name") == kObjFormat)
            return m_servedFolder + QStringLiteral("/files/") + text(format.toObject(), "file");
    }
    return QString();
}

QString PlyxGuide::localName(const QStringList &folder, const QString &name) const
{
    return QString::number(asset(folder, name)[QLatin1String("id")].toInt()) + QStringLiteral(".obj");
}

} // namespace

std::unique_ptr<PortalGuide> makePlyxGuide(Driver &driver, const CloudProcess &cloud)
{
    return std::make_unique<PlyxGuide>(driver, cloud);
}
