#include "Storage.h"

#include "EndPoint.h"

#include <QCollator>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace pelago {

namespace {

/// The texts are UTF-8, which needs half the memory of QString in large folders.
struct Item
{
    QByteArray name;
    QByteArray modified;
    QByteArray mediaType;
    qint64 size;
};

Item itemOf(const QString &name, const DavEntry &entry)
{
    if (entry.folder)
        return {name.toUtf8(), entry.modified.toUtf8(), QByteArray(), 0};
    const QByteArray mediaType =
        entry.mediaType.isEmpty() ? QByteArrayLiteral("application/octet-stream") : entry.mediaType.toUtf8();
    return {name.toUtf8(), entry.modified.toUtf8(), mediaType, entry.size};
}

/// Returns the user's locale, or English for the locale "C", which sorts by code points.
QLocale sortingLocale()
{
    const QLocale user = QLocale::system();
    return user.language() == QLocale::C ? QLocale(QLocale::English) : user;
}

/// Sorts folders before files, and each by name with numbers by value.
void sort(std::vector<Item> *items)
{
    QCollator collator(sortingLocale());
    collator.setNumericMode(true);
    std::vector<std::pair<QCollatorSortKey, std::size_t>> keys;
    keys.reserve(items->size());
    for (const Item &item : *items)
        keys.emplace_back(collator.sortKey(QString::fromUtf8(item.name)), keys.size());
    const auto isFile = [items](std::size_t at) { return !(*items)[at].mediaType.isEmpty(); };
    std::sort(keys.begin(), keys.end(), [&isFile](const auto &one, const auto &other) {
        if (isFile(one.second) != isFile(other.second))
            return isFile(other.second);
        return one.first < other.first;
    });
    std::vector<Item> sorted;
    sorted.reserve(items->size());
    for (const auto &key : keys)
        sorted.push_back(std::move((*items)[key.second]));
    items->swap(sorted);
}

/// A temporary file in the folder of \p target. keep() renames it to \p target; otherwise the destructor removes it.
class PartFile
{
public:
    explicit PartFile(const QString &target)
        : m_target(target), m_file(QFileInfo(target).dir().filePath(DavPath::temporaryName()))
    {}
    ~PartFile()
    {
        if (m_file.exists())
            m_file.remove();
    }

    bool open() { return !QFileInfo(m_target).isDir() && m_file.open(QIODevice::WriteOnly | QIODevice::NewOnly); }
    bool write(const QByteArray &bytes) { return m_file.write(bytes) == bytes.size(); }
    /// If the target is a link, the link is replaced.
    bool keep()
    {
        const bool written = m_file.flush() && m_file.error() == QFile::NoError;
        m_file.close();
        return written && std::rename(QFile::encodeName(m_file.fileName()).constData(),
                                      QFile::encodeName(m_target).constData()) == 0;
    }

private:
    QString m_target;
    QFile m_file;
};

/// Fails with Network if the listed size differs. Needed for a reply without a length, which ends with the connection.
Outcome checkListedSize(EndPoint &endPoint, const QString &id, qint64 received)
{
    DavEntry entry;
    const Outcome found = findEntry(endPoint, id, &entry);
    const bool differs = found.isSuccess() && entry.size >= 0 && entry.size != received;
    return differs ? failure(Skein_Result_Network) : found;
}

} // namespace

Outcome listFolder(EndPoint &endPoint, const QString &folderId, Skein_ContentCb contentCb, void *context)
{
    const QUrl url = endPoint.address(folderId, DavPath::Form::Folder);
    const DavPath::Folder folder(url);
    bool isFile = false;
    bool found = false;
    std::vector<Item> items;
    DavResult result = endPoint.propfind(url, "1", [&](const DavEntry &entry) {
        QString name;
        const DavPath::Folder::Member member = folder.find(entry.href, &name);
        if (member == DavPath::Folder::Member::Other)
            return;
        found = true;
        if (member == DavPath::Folder::Member::Child)
            items.push_back(itemOf(name, entry));
        else
            isFile = !entry.folder;
    });
    if (!result.isSuccess())
        return result;
    if (isFile || !found)
        return failure(isFile ? Skein_Result_NotFound : Skein_Result_BadReply);

    sort(&items);
    const QByteArray prefix = folderId.isEmpty() ? QByteArray() : folderId.toUtf8() + '/';
    for (const Item &item : items) {
        if (endPoint.isClosed())
            return failure(Skein_Result_Closed);
        if (contentCb) {
            contentCb(context, (prefix + item.name).constData(), item.name.constData(), item.modified.constData(),
                      item.mediaType.constData(), item.size);
        }
    }
    result.result = static_cast<int>(items.size());
    return result;
}

Outcome findEntry(EndPoint &endPoint, const QString &id, DavEntry *entry)
{
    const QUrl url = endPoint.address(id, DavPath::Form::File);
    const DavPath::Folder item(url);
    bool found = false;
    DavResult result = endPoint.propfind(url, "0", [&](const DavEntry &listed) {
        QString name;
        if (item.find(listed.href, &name) != DavPath::Folder::Member::Itself)
            return;
        *entry = listed;
        found = true;
    });
    if (result.isSuccess() && !found)
        result.result = Skein_Result_BadReply;
    return result;
}

Outcome downloadFile(EndPoint &endPoint, const QString &id, const QString &target, const Progress &progress)
{
    PartFile file(target);
    if (!file.open())
        return failure(Skein_Result_LocalFile);

    bool written = true;
    qint64 done = 0;
    DavCall call;
    call.verb = "GET";
    call.url = endPoint.address(id, DavPath::Form::File);
    call.expected = 200;
    call.sink = [&](qint64 announced, const QByteArray &bytes) {
        written = file.write(bytes);
        done += bytes.size();
        if (written)
            progress(done, announced);
        return written;
    };
    const DavResult got = endPoint.send(call);
    Outcome result = got;
    if (got.isSuccess() && got.announced < 0)
        result = checkListedSize(endPoint, id, done);
    if (!written || (result.isSuccess() && !file.keep()))
        return failure(Skein_Result_LocalFile);
    return result;
}

} // namespace pelago
