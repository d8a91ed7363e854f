#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QUrl>

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <localcloud/http/HttpTypes.h>
#include <localcloud/zephal/DavFolder.h>
#include <sys/stat.h>
#include <time.h>

namespace localcloud {

namespace {

constexpr int kMaxNameBytes = 255;
constexpr qint64 kNanoseconds = 1000000000;

/// What lies at a local path, not following a link at its end.
DavEntry entryAt(const QByteArray &local)
{
    struct stat status = {};
    DavEntry entry;
    if (::lstat(local.constData(), &status) != 0)
        return entry;
    entry.kind = S_ISDIR(status.st_mode)   ? DavEntry::Kind::Folder
                 : S_ISREG(status.st_mode) ? DavEntry::Kind::File
                                           : DavEntry::Kind::Other;
    entry.modified = status.st_mtim.tv_sec;
    if (!entry.isFile())
        return entry;
    entry.size = status.st_size;
    const auto hex = [](qint64 number) { return QByteArray::number(number, 16); };
    entry.etag = '"' + hex(static_cast<qint64>(status.st_ino)) + '-' + hex(entry.size) + '-' +
                 hex(status.st_mtim.tv_sec * kNanoseconds + status.st_mtim.tv_nsec) + '"';
    return entry;
}

bool renamed(const QString &from, const QString &to)
{
    return std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0;
}

} // namespace

DavFolder::DavFolder(const QString &root, const QString &workFolder)
    : m_root(QFileInfo(root).canonicalFilePath()), m_work(workFolder)
{}

std::optional<QString> DavFolder::decodedPath(const QByteArray &encoded)
{
    QString path(QLatin1String("")); // not null
    for (const QByteArray &segment : encoded.split('/')) {
        const QByteArray name = QByteArray::fromPercentEncoding(segment);
        const auto text = utf8Text(name);
        if (!text || name.size() > kMaxNameBytes || name == "." || name == ".." || name.contains('/') ||
            name.contains('\0') || segment.contains('#'))
            return {};
        if (!name.isEmpty())
            path += '/' + *text;
    }
    return path;
}

QByteArray DavFolder::encodedPath(const QString &path)
{
    return QUrl::toPercentEncoding(path, "/");
}

DavEntry DavFolder::find(const QString &path) const
{
    const QByteArray root = QFile::encodeName(m_root);
    const QByteArray local = root + QFile::encodeName(path);
    for (int slash = local.indexOf('/', root.size() + 1); slash > 0; slash = local.indexOf('/', slash + 1)) {
        if (!entryAt(local.left(slash)).isFolder())
            return {};
    }
    return entryAt(local);
}

QStringList DavFolder::names(const QString &path) const
{
    QStringList names =
        QDir(m_root + path)
            .entryList(QDir::Files | QDir::Dirs | QDir::Hidden | QDir::NoSymLinks | QDir::NoDotAndDotDot,
                       QDir::Unsorted);
    std::sort(names.begin(), names.end());
    return names;
}

bool DavFolder::makeFolder(const QString &path) const
{
    return QDir().mkdir(m_root + path);
}

bool DavFolder::store(const QString &path, RequestBody &body)
{
    if (!body.moveTo(m_root + path))
        return false;
    stamp(m_root + path);
    return true;
}

/// Gives a new file a time of its own. The file system's clock stands still for some milliseconds and numbers of files
/// are used again, so that two contents could have one entity tag.
void DavFolder::stamp(const QString &local)
{
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    m_lastStamp = std::max(m_lastStamp + 1, now.tv_sec * kNanoseconds + now.tv_nsec);
    const timespec times[] = {{0, UTIME_OMIT}, {m_lastStamp / kNanoseconds, m_lastStamp % kNanoseconds}};
    utimensat(AT_FDCWD, QFile::encodeName(local).constData(), times, AT_SYMLINK_NOFOLLOW);
}

bool DavFolder::remove(const QString &path) const
{
    const QTemporaryDir gone(m_work + "/gone-XXXXXX");
    return renamed(m_root + path, gone.filePath("entry"));
}

bool DavFolder::place(const QString &local, const QString &target) const
{
    if (renamed(local, target))
        return true;
    const QTemporaryDir gone(m_work + "/gone-XXXXXX");
    const QString old = gone.filePath("entry");
    if (!renamed(target, old))
        return false;
    return renamed(local, target) || (renamed(old, target) && false);
}

bool DavFolder::move(const QString &from, const QString &to) const
{
    return place(m_root + from, m_root + to);
}

bool DavFolder::copy(const QString &from, const QString &to, CopyDepth depth)
{
    const QTemporaryDir made(m_work + "/copy-XXXXXX");
    const QString local = made.filePath("entry");
    return copyTree(from, local, depth) && place(local, m_root + to);
}

bool DavFolder::copyTree(const QString &from, const QString &to, CopyDepth depth)
{
    if (!find(from).isFolder()) {
        const bool copied = QFile::copy(m_root + from, to);
        stamp(to);
        return copied;
    }
    const QStringList inside = depth == CopyDepth::Everything ? names(from) : QStringList();
    return QDir().mkdir(to) && std::all_of(inside.begin(), inside.end(), [&](const QString &name) {
               return copyTree(from + '/' + name, to + '/' + name, depth);
           });
}

} // namespace localcloud
