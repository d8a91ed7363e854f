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

/// Where an item lies on the service.
struct Place
{
    QString root;
    QString path;
};

/// Nothing when \p item is null or nobody is signed in. The place is read first: asking the login spins the event loop,
/// which may delete the item.
std::optional<Place> placeOf(ICloudItem *item, ILogin *login)
{
    if (!item)
        return {};
    KString root("dropbox");
    item->GetProperty("root", root);
    const KString path = static_cast<Portal_DropBox_ICloudItem *>(item)->GetPath();
    if (!login->IsLogin())
        return {};
    return Place{KQtUtil::toQString(root), KQtUtil::toQString(path)};
}

/// Adds the message that the client leaves out if the local file is missing or cannot be read.
void reportUnreadable(ReturnStatus &status, const KString &localPath)
{
    status.SetErrorMessage(TavrinStrings::getString(TavrinStrings::kHttpFileReadError) + localPath);
    KGlobal::displayError(status.GetErrorMessage());
}

/// The size of \p item in the listing; -1 if the listing names none or \p item is null. The listing's size is a 32-bit
/// number whose largest value also stands for every larger one.
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
    const QString path = DropBoxRequests::listing(folder == criteria.end() ? std::wstring() : folder->second);
    if (!login->IsLogin())
        return false;

    auto &session = static_cast<Portal_DropBox_Login &>(*login);
    httpClient client;
    client.setHost(session.GetApiHost().utf8(), 0);
    QByteArray body;
    if (!SucceededOrShown(client.get(path, session.GetRequestHeaders(), true, body)))
        return false;
    DropBoxReplies::listing(body, owner(), results);
    return true;
}

bool Portal_DropBox_IPortalBrowser::DownloadCloudItem(ILogin *login, ICloudItem *item, KString folder, KString fileName)
{
    const qint64 bytes = listedBytes(item);
    const std::optional<Place> place = placeOf(item, login);
    if (!place)
        return false;
    auto &session = static_cast<Portal_DropBox_Login &>(*login);
    httpClient client;
    client.setHost(session.GetContentHost().utf8(), 0);
    client.expectDownloadBytes(bytes);
    const QString path = DropBoxRequests::download(place->root, place->path);
    return SucceededOrShown(client.getFile(KQtUtil::toQString(folder), KQtUtil::toQString(fileName), path,
                                           session.GetRequestHeaders(), true));
}

bool Portal_DropBox_IPortalBrowser::UploadFile(ILogin *login, ICloudItem *folder, ICloudItem *, KString localFolder,
                                               KString fileName)
{
    const std::optional<Place> place = placeOf(folder, login);
    if (!place)
        return false;
    auto &session = static_cast<Portal_DropBox_Login &>(*login);
    httpClient client;
    client.setHost(session.GetContentHost().utf8(), 0);
    QByteArray body;
    const QString path = DropBoxRequests::upload(place->root, place->path, KQtUtil::toQString(fileName));
    ReturnStatus status = client.postFile(localFolder, fileName, path, session.GetRequestHeaders(), true, body);
    if (status.GetStatusCode() == 0 && status.GetErrorMessage().isEmpty())
        reportUnreadable(status, localFolder + fileName);
    if (!SucceededOrShown(status))
        return false;
    const bool isStored = DropBoxReplies::isStored(body);
    if (!isStored)
        KGlobal::displayError(TavrinStrings::getString(TavrinStrings::kCloudPortalUploadNotConfirmed));
    return isStored;
}
