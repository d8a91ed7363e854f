// scene/ModelFolder.h
//
// The files that a model may refer to: only regular files in the model's own folder and below. Models are not trusted,
// so a reference to "/etc/passwd", to "../x" or to a pipe must fail.

#pragma once

#include <assimp/IOSystem.hpp>
#include <QString>

class ModelFolder : public Assimp::IOSystem
{
public:
    /// Larger files are not opened, because Assimp uses 32-bit sizes in places.
    static constexpr qint64 kLargestFile = (qint64(1) << 31) - 1;

    /// \p alias is the name with which Assimp opens the model, \p modelPath the model's file.
    ModelFolder(const QString &modelPath, const QString &alias);

    /// Returns the file for \p reference, as written in the model: the relative path inside the folder, else the last
    /// component beside the model, in upper or lower case. Empty unless the file is an existing regular file.
    QString resolve(const QString &reference) const;

    bool Exists(const char *file) const override;
    char getOsSeparator() const override { return '/'; }
    /// Returns null for writing modes and if resolve() returns an empty path.
    Assimp::IOStream *Open(const char *file, const char *mode) override;
    void Close(Assimp::IOStream *stream) override;

    /// Returns the material file that Assimp could not open, unless it then opened another one.
    const QString &missingMaterials() const { return m_missingMaterials; }

private:
    QString m_modelPath;
    QString m_alias;
    QString m_folder;
    QString m_missingMaterials;
};
