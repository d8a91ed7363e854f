#include "portals/Portal_DropBox_Browse.h"

#include "http/httpClient.h"
#include "portals/Portal_DropBox_CloudItem.h"
#include "portals/Portal_DropBox_Login.h"
#include "portals/Portal_DropBox_Replies.h"
#include "portals/Portal_DropBox_Requests.h"
#include "TavrinStrings.h"

#include <openkelda/KGlobal.h>

#include <limits>
#include <optional>

using namespace ICloudPortalApi;

namespace {

/// The location of an item on the service.
struct Location
{
    QString root;
    QString path;
};

/// Returns an empty optional if \p item is null or the user is not signed in. Reads the item before IsLogin(), which
/// may delete it.
std::optional<Location> locationOf(ICloudItem *item, ILogin *login)
{
    if (!item)
        return {};
    KString root("dropbox"); // if the listing contains no root
    item->GetProperty("root", root);
    const KString path = static_cast<Portal_DropBox_ICloudItem *>(item)->GetPath();
    if (!login->IsLogin())
        return {};
    return Location{KQtUtil::toQString(root), KQtUtil::toQString(path)};
}

/// Sets the message for an unreadable local file, for which the client returns status 0 without a message.
void reportUnreadable(ReturnStatus &status, const KString &localPath)
{
    status.SetErrorMessage(TavrinStrings::getString(TavrinStrings::kHttpFileReadError) + localPath);
    KGlobal::displayError(status.GetErrorMessage());
}

/// Returns the size of \p item in the listing, or -1 if it is unknown. JsonReply clamps the size to 32 bits, so the
/// largest value means "unknown".
qint64 listedBytes(ICloudItem *item)
{
    KString text;
    if (!item || !item->GetProperty("bytes", text))
        return -1;
    bool isNumber = false;
    const int bytes = KQtUtil::toQString(text).toInt(&isNumber);
    return isNumber && bytes < std::numeric_limits<int>::max() ? bytes : -1;
}

} // namespace

bool Portal_DropBox_IPortalBrowser::GetChildCloudItems(ILogin *login, HeaderMap &criteria, ItemVector &results)
{
    const auto folder = criteria.find(L"SpecificFolder");
    const QString path = DropBoxRequests::listing(folder != criteria.end() ? folder->second : std::wstring());
    if (!login->IsLogin())
        return false;

    auto &session = static_cast<Portal_DropBox_Login &>(*login);
    httpClient client;
    client.setHost(session.GetApiHost().utf8(), 0);
    QByteArray body;
    if (!succeededOrShown(client.get(path, session.GetRequestHeaders(), true, body)))
        return false;
    DropBoxReplies::listing(body, owner(), results);
    return true;
}

bool Portal_DropBox_IPortalBrowser::DownloadCloudItem(ILogin *login, ICloudItem *item, KString folder, KString fileName)
{
    const qint64 bytes = listedBytes(item);
    const std::optional<Location> location = locationOf(item, login);
    if (!location)
        return false;
    auto &session = static_cast<Portal_DropBox_Login &>(*login);
    httpClient client;
    client.setHost(session.GetContentHost().utf8(), 0);
    client.expectDownloadBytes(bytes);
    const QString path = DropBoxRequests::download(location->root, location->path);
    return succeededOrShown(client.getFile(KQtUtil::toQString(folder), KQtUtil::toQString(fileName), path,
                                           session.GetRequestHeaders(), true));
}

bool Portal_DropBox_IPortalBrowser::UploadFile(ILogin *login, ICloudItem *folder, ICloudItem *, KString localFolder,
                                               KString fileName)
{
    const std::optional<Location> location = locationOf(folder, login);
    if (!location)
        return false;
    auto &session = static_cast<Portal_DropBox_Login &>(*login);
    httpClient client;
    client.setHost(session.GetContentHost().utf8(), 0);
    QByteArray body;
    const QString path = DropBoxRequests::upload(location->root, location->path, KQtUtil::toQString(fileName));
    ReturnStatus status = client.postFile(localFolder, fileName, path, session.GetRequestHeaders(), true, body);
    if (status.GetStatusCode() == 0 && status.GetErrorMessage().isEmpty())
        reportUnreadable(status, localFolder + fileName);
    if (!succeededOrShown(status))
        return false;
    const bool isStored = DropBoxReplies::isStored(body);
    if (!isStored)
        KGlobal::displayError(TavrinStrings::getString(TavrinStrings::kCloudPortalUploadNotConfirmed));
    return isStored;
}
