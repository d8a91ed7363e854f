// localcloud/plyx/PlyxCatalogue.h
//
// The published models of the Plyx service, read from a folder: "catalogue.json" lists them, "files" holds what is
// downloaded and "thumbnails" their pictures. Several assets may share a file.

#pragma once

#include <QHash>
#include <QJsonObject>
#include <QSet>
#include <QString>
#include <QVector>

#include <optional>

namespace localcloud {

/// A file that belongs to an asset: one of its formats, or a texture.
struct PlyxFile
{
    qint64 id = 0; ///< unique within its asset
    QString name;  ///< a format's label, or the name that a texture is to be stored under
    QString path;  ///< on this machine
};

struct PlyxAsset
{
    qint64 id = 0;
    QString name;
    QString artist;
    QString published; ///< "2014-05-31 17:45:00"
    int gallery = 0;   ///< a media type id; 0 for the member's own
    bool free = true;
    QSet<int> fileTypes;
    QString thumbnail; ///< file name
    QVector<PlyxFile> formats;
    QVector<PlyxFile> textures;

    /// The format or texture of that id; null when there is none.
    const PlyxFile *file(qint64 fileId) const;
};

enum class PlyxShelf { Published, Own };

/// What is asked for; the defaults ask for everything.
struct PlyxQuery
{
    PlyxShelf shelf = PlyxShelf::Published;
    std::optional<int> gallery;
    QSet<int> fileTypes; ///< any of them; empty for all
    bool freeOnly = false;
    QString keywords; ///< searched in name and artist, case does not count
    bool everyKeyword = false;
    bool byDate = false;
    bool descending = false;
};

class PlyxCatalogue
{
public:
    /// Reads \p folder; no catalogue there is an empty one. False with a reason when it is not readable.
    bool open(const QString &folder, QString *error);

    const PlyxAsset *find(qint64 id) const;
    /// Every match, in the order asked for. The pointers live until the next open().
    QVector<const PlyxAsset *> search(const PlyxQuery &query) const;

    /// The path of a picture that some asset names; empty for any other name.
    QString thumbnail(const QString &name) const;

private:
    QString m_folder;
    QVector<PlyxAsset> m_assets;
    QHash<qint64, int> m_indexOf;
    QSet<QString> m_thumbnails;
};

} // namespace localcloud
