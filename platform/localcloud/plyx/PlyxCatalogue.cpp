#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <localcloud/plyx/PlyxCatalogue.h>

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
    asset.thumbnail = object["thumbnail"].toString();
    asset.formats = filesOf(object["formats"], files);
    asset.textures = filesOf(object["textures"], files);
    return asset;
}

/// Whether a word of \p text begins with \p word, case aside, so that "red" does not find what is chequered.
bool hasWord(const QString &text, const QString &word)
{
    for (int at = text.indexOf(word, 0, Qt::CaseInsensitive); at >= 0;
         at = text.indexOf(word, at + 1, Qt::CaseInsensitive)) {
        if (at == 0 || !text[at - 1].isLetterOrNumber() || !word[0].isLetterOrNumber())
            return true;
    }
    return false;
}

bool hasKeywords(const PlyxAsset &asset, const PlyxQuery &query)
{
    const QStringList words = query.keywords.simplified().split(' ', Qt::SkipEmptyParts);
    const QString text = asset.name + ' ' + asset.artist;
    const auto holds = [&](const QString &word) { return hasWord(text, word); };
    return query.everyKeyword ? std::all_of(words.begin(), words.end(), holds)
                              : words.isEmpty() || std::any_of(words.begin(), words.end(), holds);
}

bool matches(const PlyxAsset &asset, const PlyxQuery &query)
{
    return (query.shelf == PlyxShelf::Own) == (asset.gallery == 0) &&
           (!query.gallery || *query.gallery == asset.gallery) &&
           (query.fileTypes.isEmpty() || query.fileTypes.intersects(asset.fileTypes)) &&
           (!query.freeOnly || asset.free) && hasKeywords(asset, query);
}

} // namespace

const PlyxFile *PlyxAsset::file(qint64 fileId) const
{
    for (const auto *list : {&formats, &textures}) {
        for (const PlyxFile &entry : *list) {
            if (entry.id == fileId)
                return &entry;
        }
    }
    return nullptr;
}

bool PlyxCatalogue::open(const QString &folder, QString *error)
{
    *this = PlyxCatalogue();
    m_folder = folder;
    QFile file(folder + "/catalogue.json");
    if (!file.exists())
        return true;
    QJsonParseError fault{};
    const QJsonDocument document =
        file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll(), &fault) : QJsonDocument();
    if (!document["assets"].isArray()) {
        if (error)
            *error = file.fileName() + QStringLiteral(": ") +
                     (fault.error ? fault.errorString() : QStringLiteral("no list of assets"));
        return false;
    }
    for (const QJsonValue &entry : document["assets"].toArray()) {
        m_assets.append(assetOf(entry.toObject(), folder + "/files"));
        m_indexOf.insert(m_assets.last().id, m_assets.size() - 1);
        m_thumbnails.insert(m_assets.last().thumbnail);
    }
    return true;
}

const PlyxAsset *PlyxCatalogue::find(qint64 id) const
{
    const auto found = m_indexOf.find(id);
    return found == m_indexOf.end() ? nullptr : &m_assets[*found];
}

QVector<const PlyxAsset *> PlyxCatalogue::search(const PlyxQuery &query) const
{
    QVector<const PlyxAsset *> found;
    for (const PlyxAsset &asset : m_assets) {
        if (matches(asset, query))
            found.append(&asset);
    }
    if (query.byDate) {
        std::stable_sort(found.begin(), found.end(), [&](const PlyxAsset *a, const PlyxAsset *b) {
            return query.descending ? a->published > b->published : a->published < b->published;
        });
    }
    return found;
}

QString PlyxCatalogue::thumbnail(const QString &name) const
{
    const bool known = m_thumbnails.contains(name) && name == QFileInfo(name).fileName();
    return known ? m_folder + "/thumbnails/" + name : QString();
}

} // namespace localcloud
