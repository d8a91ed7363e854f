#include "localcloud/ServedFolder.h"

#include "localcloud/http/HttpTypes.h"

#include <QDir>

namespace localcloud {

namespace {

constexpr int kMaxNameBytes = 255;

} // namespace

std::optional<QString> ServedFolder::decodedPath(const QByteArray &encoded)
{
    QString path(QLatin1String("")); // not null
    for (const QByteArray &segment : encoded.split('/')) {
        const QByteArray name = QByteArray::fromPercentEncoding(segment);
        const auto text = utf8Text(name);
        if (!text || name.size() > kMaxNameBytes || name == "." || name == ".." || name.contains('/') ||
            name.contains('\0'))
            return {};
        if (!name.isEmpty())
            path += '/' + *text;
    }
    return path;
}

QFileInfo ServedFolder::find(const QString &path) const
{
    const QFileInfo info(m_root + path);
    const bool isLinked = info.canonicalFilePath() != m_root + path;
    return (info.isFile() || info.isDir()) && !isLinked ? info : QFileInfo();
}

QFileInfoList ServedFolder::entries(const QString &path) const
{
    const auto filter = QDir::Files | QDir::Dirs | QDir::Hidden | QDir::NoSymLinks | QDir::NoDotAndDotDot;
    return QDir(m_root + path).entryInfoList(filter, QDir::Name);
}

} // namespace localcloud
