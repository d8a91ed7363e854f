#include "localcloud/plyx/PlyxCatalogue.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

namespace localcloud {

namespace {

QVector<PlyxFile> filesOf(const QJsonValue &list, const QString &folder)
{
    QVector<PlyxFile> files;
    for (const QJsonValue &entry : list.toArray()) {
        const QString local = QFileInfo(entry["file"].toString()).fileName();
        files.append({static_cast<qint64>(entry["id"].toDouble()), entry["name"].toString(), folder + '/' + local});
    }
    return files;
}

PlyxAsset assetOf(const QJsonObject &object, const QString &files)
{
    PlyxAsset asset;
    asset.id = static_cast<qint64>(object["id"].toDouble());
    asset.name = object["name"].toString();
    asset.artist = object["artist"].toString();
    asset.published = object["published"].toString();
    asset.gallery = object["gallery"].toInt();
    asset.free = object["free"].toBool(true);
    for (const QJsonValue &type : object["fileTypes"].toArray())
        asset.fileTypes.insert(type.toInt());
    asset.thumbnail = QFileInfo(object["thumbnail"].toString()).fileName();
    asset.formats = filesOf(object["formats"], files);
    asset.textures = filesOf(object["textures"], files);
    return asset;
}

/// Returns true if a word of \p text begins with \p word (case-insensitive), so "red" does not match "chequered".
bool hasWord(const QString &text, const QString &word)
{
    for (int at = text.indexOf(word, 0, Qt::CaseInsensitive); at >= 0;
         at = text.indexOf(word, at + 1, Qt::CaseInsensitive)) {
        if (at == 0 || !text[at - 1].isLetterOrNumber() || !word[0].isLetterOrNumber())
            return true;
    }
    return false;
}

bool matches(const PlyxAsset &asset, const PlyxQuery &query)
{
    const QStringList words = query.keywords.simplified().split(' ', Qt::SkipEmptyParts);
    const QString text = asset.name + ' ' + asset.artist;
    return (query.shelf == PlyxQuery::Shelf::Own) == (asset.gallery == 0) &&
           (query.gallery == 0 || query.gallery == asset.gallery) &&
           (query.fileType == 0 || asset.fileTypes.contains(query.fileType)) && (!query.freeOnly || asset.free) &&
           std::all_of(words.begin(), words.end(), [&](const QString &word) { return hasWord(text, word); });
}

} // namespace

bool PlyxCatalogue::open(const QString &folder, QString *error)
{
    QFile file(folder + "/catalogue.json");
    if (!file.exists())
        return true;
    QJsonParseError fault{};
    const QJsonDocument document =
        file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll(), &fault) : QJsonDocument();
    if (!document["assets"].isArray()) {
        *error = file.fileName() + QStringLiteral(": ") +
                 (fault.error ? fault.errorString() : QStringLiteral("the array \"assets\" is missing"));
        return false;
    }
    m_assets.clear();
    for (const QJsonValue &entry : document["assets"].toArray())
        m_assets.append(assetOf(entry.toObject(), folder + "/files"));
    std::stable_sort(m_assets.begin(), m_assets.end(),
                     [](const PlyxAsset &a, const PlyxAsset &b) { return a.published > b.published; });
    return true;
}

const PlyxAsset *PlyxCatalogue::find(qint64 id) const
{
    for (const PlyxAsset &asset : m_assets) {
        if (asset.id == id)
            return &asset;
    }
    return nullptr;
}

const PlyxFile *PlyxCatalogue::file(const QString &id) const
{
    const PlyxAsset *asset = find(id.section('_', 0, 0).toLongLong());
    if (!asset)
        return nullptr;
    for (const auto *list : {&asset->formats, &asset->textures}) {
        for (const PlyxFile &file : *list) {
            if (file.id == id.section('_', 1).toLongLong() && QFileInfo(file.path).isFile())
                return &file;
        }
    }
    return nullptr;
}

QVector<const PlyxAsset *> PlyxCatalogue::search(const PlyxQuery &query) const
{
    QVector<const PlyxAsset *> found;
    for (const PlyxAsset &asset : m_assets) {
        if (matches(asset, query))
            found.append(&asset);
    }
    return found;
}

bool PlyxCatalogue::hasThumbnail(const QString &name) const
{
    return std::any_of(m_assets.begin(), m_assets.end(),
                       [&](const PlyxAsset &asset) { return asset.thumbnail == name; });
}

} // namespace localcloud
