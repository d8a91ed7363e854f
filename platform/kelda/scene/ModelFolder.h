// scene/ModelFolder.h
//
// The files that a model may pull in: only regular files in the model's own folder and below. A model comes from
// anywhere, so a reference to "/etc/passwd", to "../x" or to a pipe must lead nowhere.

#pragma once

#include <assimp/IOSystem.hpp>
#include <QString>

class ModelFolder : public Assimp::IOSystem
{
public:
    /// A larger file is not opened: the importer counts in 32 bits in places.
    static constexpr qint64 largestFile = (qint64(1) << 31) - 1;

    /// \p alias is the name under which the importer asks for the model itself, \p modelPath the file it gets.
    ModelFolder(const QString &modelPath, const QString &alias);

    /// The file that \p reference (as written in the model) stands for: the relative path inside the folder, else its
    /// last component beside the model, in upper or lower case as it may be. Empty when there is no such regular file.
    QString resolve(const QString &reference) const;

    bool Exists(const char *file) const override;
    char getOsSeparator() const override { return '/'; }
    /// Reading only; null for anything that resolve() refuses.
    Assimp::IOStream *Open(const char *file, const char *mode) override;
    void Close(Assimp::IOStream *stream) override;

    /// The material file that the importer asked for in vain and found no other one for; empty when all is well.
    const QString &missingMaterials() const { return m_missingMaterials; }

private:
    QString m_modelPath;
    QString m_alias;
    QString m_folder;
    QString m_missingMaterials;
};
