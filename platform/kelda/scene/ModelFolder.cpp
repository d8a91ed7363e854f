#include "scene/ModelFolder.h"

#include <assimp/IOStream.hpp>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <limits>
#include <memory>
#include <stdexcept>

namespace {

class FileStream : public Assimp::IOStream
{
public:
    explicit FileStream(const QString &path) : m_file(path) {}

    bool open() { return m_file.open(QIODevice::ReadOnly); }

    std::size_t Read(void *buffer, std::size_t size, std::size_t count) override
    {
        if (size == 0 || count > static_cast<std::size_t>(std::numeric_limits<qint64>::max()) / size)
            return 0;
        const qint64 got = m_file.read(static_cast<char *>(buffer), static_cast<qint64>(size * count));
        if (got <= 0 && ++m_emptyReads > kMostEmptyReads)
            throw std::runtime_error("it ends too early");
        return got < 0 ? 0 : static_cast<std::size_t>(got) / size;
    }

    std::size_t Write(const void *, std::size_t, std::size_t) override { return 0; }

    aiReturn Seek(std::size_t offset, aiOrigin origin) override
    {
        qint64 target = static_cast<qint64>(offset);
        if (origin == aiOrigin_CUR)
            target += m_file.pos();
        else if (origin == aiOrigin_END)
            target += m_file.size();
        return target >= 0 && target <= m_file.size() && m_file.seek(target) ? aiReturn_SUCCESS : aiReturn_FAILURE;
    }

    std::size_t Tell() const override { return static_cast<std::size_t>(m_file.pos()); }
    std::size_t FileSize() const override { return static_cast<std::size_t>(m_file.size()); }
    void Flush() override {}

private:
    /// Some of Assimp's readers loop endlessly if a file ends too early.
    static constexpr int kMostEmptyReads = 1000;

    QFile m_file;
    int m_emptyReads = 0;
};

bool isReadableFile(const QString &path)
{
    const QFileInfo info(path);
    return info.isFile() && info.size() <= ModelFolder::kLargestFile;
}

} // namespace

ModelFolder::ModelFolder(const QString &modelPath, const QString &alias)
    : m_modelPath(modelPath), m_alias(alias), m_folder(QFileInfo(modelPath).absolutePath())
{}

QString ModelFolder::resolve(const QString &reference) const
{
    QString path = reference;
    path.replace(QLatin1Char('\\'), QLatin1Char('/'));
    if (path.contains(QChar::Null))
        return QString();
    const QString prefix = m_folder.endsWith(QLatin1Char('/')) ? m_folder : m_folder + QLatin1Char('/');
    if (path.startsWith(prefix))
        path = path.mid(prefix.size());

    const QString inside = QDir::cleanPath(prefix + path);
    if (!QDir::isAbsolutePath(path) && inside.startsWith(prefix) && isReadableFile(inside))
        return inside;
    const QString last = path.section(QLatin1Char('/'), -1);
    if (last.isEmpty() || last == QLatin1String(".") || last == QLatin1String(".."))
        return QString();
    if (isReadableFile(prefix + last))
        return prefix + last;
    const QStringList names = QDir(m_folder).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    const auto found = std::find_if(names.begin(), names.end(), [&](const QString &name) {
        return name.compare(last, Qt::CaseInsensitive) == 0 && isReadableFile(prefix + name);
    });
    return found == names.end() ? QString() : prefix + *found;
}

bool ModelFolder::Exists(const char *file) const
{
    const QString name = QString::fromUtf8(file);
    return name == m_alias || !resolve(name).isEmpty();
}

Assimp::IOStream *ModelFolder::Open(const char *file, const char *mode)
{
    if (!mode || mode[0] != 'r')
        return nullptr;
    const QString name = QString::fromUtf8(file);
    const QString path = name == m_alias ? m_modelPath : resolve(name);
    auto stream = std::make_unique<FileStream>(path);
    const bool opened = !path.isEmpty() && stream->open();
    if (name.endsWith(QLatin1String(".mtl"), Qt::CaseInsensitive)) {
        // After a failure, Assimp also tries the model's name.
        if (opened)
            m_missingMaterials.clear();
        else if (m_missingMaterials.isEmpty())
            m_missingMaterials = name.section(QLatin1Char('/'), -1);
    }
    return opened ? stream.release() : nullptr;
}

void ModelFolder::Close(Assimp::IOStream *stream)
{
    delete stream;
}
