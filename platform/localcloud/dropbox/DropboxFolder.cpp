#include <QCryptographicHash>
#include <QDateTime>
#include <QJsonArray>
#include <QLocale>

#include <localcloud/dropbox/DropboxFolder.h>
#include <localcloud/http/HttpTypes.h>

namespace localcloud {

namespace {

QString modifiedText(const QDateTime &time)
{
    return QLocale::c().toString(time.toUTC(), QStringLiteral("ddd, dd MMM yyyy HH:mm:ss")) + " +0000";
}

QString sizeText(qint64 bytes)
{
    if (bytes < 1024)
        return QString::number(bytes) + " bytes";
    const double kilobytes = static_cast<double>(bytes) / 1024.0;
    return kilobytes < 1024.0 ? QString::number(kilobytes, 'f', 1) + " KB"
                              : QString::number(kilobytes / 1024.0, 'f', 1) + " MB";
}

/// Twelve hexadecimal digits that change with the content of a file and stay for a folder.
QByteArray revisionOf(const QString &path, const QFileInfo &info)
{
    QByteArray text = path.toUtf8();
    if (!info.isDir())
        text +=
            '\n' + QByteArray::number(info.size()) + '\n' + QByteArray::number(info.lastModified().toMSecsSinceEpoch());
    return QCryptographicHash::hash(text, QCryptographicHash::Sha1).toHex().left(12);
}

QString iconOf(const QFileInfo &info, const QByteArray &type)
{
    if (info.isDir())
        return QStringLiteral("folder");
    if (type.startsWith("image/"))
        return QStringLiteral("page_white_picture");
    return type.startsWith("text/") ? QStringLiteral("page_white_text") : QStringLiteral("page_white");
}

} // namespace

DropboxFolder::DropboxFolder(const QString &root) : m_root(QFileInfo(root).canonicalFilePath()) {}

QString DropboxFolder::decodedPath(const QByteArray &encoded)
{
    const auto text = utf8Text(QByteArray::fromPercentEncoding(encoded));
    if (!text || text->contains(QChar(0)))
        return {};
    QString path;
    for (const QString &segment : text->split('/', Qt::SkipEmptyParts)) {
        if (segment == QLatin1String(".") || segment == QLatin1String(".."))
            return {};
        path += '/' + segment;
    }
    return path.isEmpty() ? QStringLiteral("/") : path;
}

bool DropboxFolder::isInside(const QString &localPath) const
{
    const QString canonical = QFileInfo(localPath).canonicalFilePath();
    return canonical == m_root || canonical.startsWith(m_root + '/');
}

QFileInfo DropboxFolder::find(const QString &path) const
{
    const QFileInfo info(m_root + path);
    const bool usable = (info.isFile() || info.isDir()) && isInside(info.filePath());
    return usable ? info : QFileInfo();
}

QString DropboxFolder::pathForWriting(const QString &path) const
{
    QString local = m_root + path;
    const QString folder = local.left(local.lastIndexOf('/'));
    QString existing = folder;
    while (!QFileInfo(existing).exists() && existing.size() > m_root.size())
        existing.truncate(existing.lastIndexOf('/'));
    if (!isInside(existing) || !QDir().mkpath(folder) || QFileInfo(local).isDir())
        return {};
    return local;
}

QJsonObject DropboxFolder::metadata(const QString &path, const QFileInfo &info) const
{
    const QByteArray revision = revisionOf(path, info);
    QJsonObject entry{
        {"rev", QString::fromLatin1(revision)},
        {"revision", static_cast<int>(revision.left(7).toUInt(nullptr, 16))},
        {"thumb_exists", false},
        {"bytes", info.isDir() ? 0 : info.size()},
        {"size", info.isDir() ? QStringLiteral("0 bytes") : sizeText(info.size())},
        {"modified", modifiedText(info.lastModified())},
        {"path", path},
        {"is_dir", info.isDir()},
        {"root", "dropbox"},
    };
    const QByteArray type = mediaType(path);
    entry.insert("icon", iconOf(info, type));
    if (!info.isDir())
        entry.insert("mime_type", QString::fromLatin1(type));
    return entry;
}

QJsonValue DropboxFolder::contents(const QString &path, const QFileInfo &info, int limit) const
{
    const auto filter = QDir::Files | QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot;
    QJsonArray entries;
    for (const QFileInfo &child : QDir(info.filePath()).entryInfoList(filter, QDir::Name)) {
        if (child.isSymLink() && !isInside(child.filePath()))
            continue;
        if (entries.size() == limit)
            return QJsonValue::Null;
        entries.append(metadata((path == QLatin1String("/") ? QString() : path) + '/' + child.fileName(), child));
    }
    return entries;
}

} // namespace localcloud
