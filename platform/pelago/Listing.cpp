#include "Listing.h"

#include "EndPoint.h"

#include <vector>

namespace pelago {

namespace {

struct Item
{
    QString name;
    QString modified;
    QByteArray mediaType;
    qint64 size;
};

Item itemOf(const QString &name, const DavEntry &entry)
{
    if (entry.folder)
        return {name, entry.modified, QByteArray(), 0};
    const QByteArray mediaType =
        entry.mediaType.isEmpty() ? QByteArrayLiteral("application/octet-stream") : entry.mediaType.toUtf8();
    return {name, entry.modified, mediaType, entry.size};
}

} // namespace

int listFolder(EndPoint &endPoint, const QString &folderId, Skein_ContentCb contentCb, void *context)
{
    const QUrl url = endPoint.address(folderId, DavPath::Form::Folder);
    const DavPath::Folder folder(url);
    bool isFile = false;
    bool found = false;
    std::vector<Item> items;
    const DavResult result = endPoint.ask(url, "1", [&](const DavEntry &entry) {
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
        return result.result;
    if (isFile || !found)
        return isFile ? Skein_Result_NotFound : Skein_Result_BadReply;

    for (const Item &item : items) {
        if (endPoint.isClosed())
            return Skein_Result_Closed;
        if (contentCb) {
            contentCb(context, DavPath::child(folderId, item.name).toUtf8().constData(), item.name.toUtf8().constData(),
                      item.modified.toUtf8().constData(), item.mediaType.constData(), item.size);
        }
    }
    return static_cast<int>(items.size());
}

int findEntry(EndPoint &endPoint, const QString &id, DavEntry *entry)
{
    const QUrl url = endPoint.address(id, DavPath::Form::File);
    const DavPath::Folder place(url);
    bool found = false;
    const DavResult result = endPoint.ask(url, "0", [&](const DavEntry &each) {
        QString name;
        if (place.find(each.href, &name) != DavPath::Folder::Member::Itself)
            return;
        *entry = each;
        found = true;
    });
    if (!result.isSuccess())
        return result.result;
    return found ? 1 : Skein_Result_BadReply;
}

} // namespace pelago
