#include "portals/Portal_DropBox_Browse.h"

#include "http/httpClient.h"
#include "portals/Portal_DropBox_CloudItem.h"
#include "portals/Portal_DropBox_Login.h"
#include "portals/Portal_DropBox_Replies.h"
#include "portals/Portal_DropBox_Requests.h"
#include "TavrinStrings.h"

#include <openkelda/KGlobal.h>

using namespace ICloudPortalApi;

namespace {

/// Where an item lies on the service. Taken before anything that spins the event loop, which may delete the item.
struct Place
{
    explicit Place(ICloudItem &item)
    {
        KString text("dropbox");
        item.GetProperty("root", text);
        root = KQtUtil::toQString(text);
        path = KQtUtil::toQString(static_cast<Portal_DropBox_ICloudItem &>(item).GetPath());
    }

    QString root;
    QString path;
};

/// The client sends nothing and gives no reason when the local file is missing or cannot be read.
void tellUnreadable(ReturnStatus &status, const KString &localPath)
{
    status.SetErrorMessage(TavrinStrings::getString(TavrinStrings::kHttpFileReadError) + localPath);
    KGlobal::displayError(status.GetErrorMessage());
}

} // namespace

int Portal_DropBox_IPortalBrowser::GetPortalType()
{
    return kPlainListing;
}

bool Portal_DropBox_IPortalBrowser::SearchCloudItems(ILogin *, HeaderMap &, int, int, ItemVector &, int &, int &, int &)
{
    return false;
}

bool Portal_DropBox_IPortalBrowser::GetChildCloudItems(ILogin *, HeaderMap &, int, int, ItemVector &)
{
    return false;
}

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
    const ReturnStatus status = client.get(path, session.GetRequestHeaders(), true, body);
    if (!status.IsSuccess()) {
        status.DisplayUserMessageBox();
        return false;
    }
    DropBoxReplies::listing(body, m_owner, results);
    return true;
}

bool Portal_DropBox_IPortalBrowser::DownloadCloudItem(ILogin *login, ICloudItem *item, KString folder, KString fileName)
{
    if (!item)
        return false;
    const Place place(*item);
    if (!login->IsLogin())
        return false;

    auto &session = static_cast<Portal_DropBox_Login &>(*login);
    httpClient client;
    client.setHost(session.GetContentHost().utf8(), 0);
    const ReturnStatus status =
        client.getFile(KQtUtil::toQString(folder), KQtUtil::toQString(fileName),
                       DropBoxRequests::download(place.root, place.path), session.GetRequestHeaders(), true);
    if (!status.IsSuccess())
        status.DisplayUserMessageBox();
    return status.IsSuccess();
}

bool Portal_DropBox_IPortalBrowser::UploadFile(ILogin *login, ICloudItem *folder, ICloudItem *, KString localFolder,
                                               KString fileName)
{
    if (!folder)
        return false;
    const Place place(*folder);
    if (!login->IsLogin())
        return false;

    auto &session = static_cast<Portal_DropBox_Login &>(*login);
    httpClient client;
    client.setHost(session.GetContentHost().utf8(), 0);
    QByteArray body;
    const QString path = DropBoxRequests::upload(place.root, place.path, KQtUtil::toQString(fileName));
    ReturnStatus status = client.postFile(localFolder, fileName, path, session.GetRequestHeaders(), true, body);
    if (!status.IsSuccess()) {
        if (status.GetErrorMessage().isEmpty())
            tellUnreadable(status, localFolder + fileName);
        status.DisplayUserMessageBox();
        return false;
    }
    const bool isStored = DropBoxReplies::isStored(body);
    if (!isStored)
        KGlobal::displayError(TavrinStrings::getString(TavrinStrings::kCloudPortalUploadNotConfirmed));
    return isStored;
}

void Portal_DropBox_IPortalBrowser::setOwnerCB(IPortalOwnerCB *owner)
{
    m_owner = owner;
}
