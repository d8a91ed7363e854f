// localcloud/plyx/PlyxCatalogue.h
//
// The models of the Plyx service. "catalogue.json" in a folder lists them, "files" contains the downloads and
// "thumbnails" the pictures. Several models may share a file.

#pragma once

#include <QJsonObject>
#include <QSet>
#include <QString>
#include <QVector>

namespace localcloud {

/// A file of a model: one of its formats, or a texture.
struct PlyxFile
{
    qint64 id = 0; ///< unique within its model
    QString name;  ///< the label of a format, or the file name of a texture
    QString path;  ///< on this machine
};

struct PlyxAsset
{
    qint64 id = 0;
    QString name;
    QString artist;
    QString published; ///< "2014-05-31 17:45:00"
    int gallery = 0;   ///< a media type id; 0 for the models of the member
    bool free = true;
    QSet<int> fileTypes;
    QString thumbnail; ///< a file name in "thumbnails"
    QVector<PlyxFile> formats;
    QVector<PlyxFile> textures;
};

struct PlyxQuery
{
    enum class Shelf { Published, Own };

    Shelf shelf = Shelf::Published;
    int gallery = 0;  ///< 0 for all
    int fileType = 0; ///< 0 for all
    bool freeOnly = false;
    QString keywords; ///< each must begin a word of the name or the artist; case-insensitive
};

class PlyxCatalogue
{
public:
    /// Reads the catalogue in \p folder, which may be missing. Returns false and sets \p error if it is damaged.
    bool open(const QString &folder, QString *error);

    /// Returns null if the id is unknown.
    const PlyxAsset *find(qint64 id) const;
    /// Returns the file with the id "ASSET_FILE"; null if the id is unknown or the file does not exist on the disk.
    const PlyxFile *file(const QString &id) const;
    /// Returns all matches, newest first. The pointers are valid until the next open().
    QVector<const PlyxAsset *> search(const PlyxQuery &query) const;
    /// Returns true if a model has the thumbnail \p name.
    bool hasThumbnail(const QString &name) const;

private:
    QVector<PlyxAsset> m_assets; ///< newest first
};

} // namespace localcloud
