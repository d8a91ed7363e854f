#include "portals/Portal_Zephal_Browse.h"

#include "http/Transfer.h"
#include "portals/Portal_Zephal_CloudItem.h"
#include "portals/Portal_Zephal_Login.h"

#include <pelago/pelago.h>

#include <QDir>
#include <QUuid>

#include <memory>
#include <optional>

using namespace ICloudPortalApi;

std::map<std::wstring, ItemVector *> outSearchResults;

namespace {

constexpr int kReplaceContent = 2;

int64_t endPointOf(ILogin *login)
{
    return static_cast<Portal_Zephal_Login *>(login)->GetStorageEndPoint();
}

/// Returns the id of \p folder for a request; empty for the root and null.
KString storageId(ICloudItem *folder)
{
    const KString id = folder ? folder->GetUniqueID() : KString();
    return id == kZephalRootFolderId ? KString() : id;
}

/// Returns the id of the folder for a request, or an empty optional if \p criteria contain no folder.
std::optional<KString> folderIdOf(const HeaderMap &criteria)
{
    const auto folder = criteria.find(L"SpecificFolder");
    if (criteria.count(L"Home") != 0)
        return KString();
    if (folder == criteria.end())
        return {};
    return KString(folder->second.c_str());
}

} // namespace

void contentCb(void *context, const char *id, const char *name, const char *modified, const char *mediaType,
               int64_t size)
{
    if (!context)
        return;
    const auto &listing = *static_cast<const ZephalListing *>(context);
    const auto results = outSearchResults.find(listing.key);
    if (results == outSearchResults.end())
        return;

    auto item = std::make_unique<Portal_Zephal_ICloudItem>(listing.owner);
    const KString type(mediaType);
    item->SetProperty("uniqueID", KString(id));
    item->SetProperty("name", KString(name));
    item->SetProperty("modified", KString(modified));
    item->SetProperty("bytes", KString(std::to_string(size)));
    item->SetProperty("mime_type", type);
    if (type.isEmpty() && size == 0)
        item->SetProperty("is_dir", "true");
    results->second->push_back(item.release()); // the caller of the listing owns it
}

void progressCb(void *context, int64_t done, int64_t total)
{
    if (context)
        static_cast<Transfer *>(context)->report(done, total);
}

void downloadCb(void *, int) {}

void uploadCb(void *, int) {}

bool Portal_Zephal_IPortalBrowser::GetChildCloudItems(ILogin *login, HeaderMap &criteria, ItemVector &results)
{
    const std::optional<KString> folderId = folderIdOf(criteria);
    if (!folderId || !login->IsLogin() || endPointOf(login) < 0)
        return false;

    ZephalListing listing{owner(), QUuid::createUuid().toString().toStdWString()};
    outSearchResults[listing.key] = &results;
    const int count = Skein_Storage_listContents(endPointOf(login), folderId->utf8(), contentCb, &listing);
    outSearchResults.erase(listing.key);
    return count >= 0;
}

bool Portal_Zephal_IPortalBrowser::DownloadCloudItem(ILogin *login, ICloudItem *item, KString folder, KString fileName)
{
    if (!item || !login->IsLogin())
        return false;
    // Read first, because the host command and the transfer may delete the item and sign out the user. The name on the
    // service may differ from the local file name.
    const int64_t endPoint = endPointOf(login);
    const KString parentId = storageId(item->GetParent());
    const KString name = item->GetDisplayName();
    const KString &remoteName = name.isEmpty() ? fileName : name;

    QDir().mkpath(KQtUtil::toQString(folder));
    KGlobal::executeCommand(KString("sysFile -delete \"") + TavrinHelper::quoted(folder + fileName) + "\"");
    Transfer transfer(Transfer::Kind::Download, KQtUtil::toQString(fileName));
    return Skein_Storage_downloadFile(endPoint, parentId.utf8(), remoteName.utf8(), folder.utf8(), fileName.utf8(),
                                      progressCb, downloadCb, &transfer, nullptr) == 1;
}

bool Portal_Zephal_IPortalBrowser::UploadFile(ILogin *login, ICloudItem *folder, ICloudItem *existing,
                                              KString localFolder, KString fileName)
{
    if (!folder || !login->IsLogin())
        return false;
    const int64_t endPoint = endPointOf(login);
    const KString folderId = storageId(folder);
    const KString localPath = localFolder + fileName;
    Transfer transfer(Transfer::Kind::Upload, KQtUtil::toQString(fileName));
    if (existing) {
        const KString itemId = existing->GetUniqueID();
        return Skein_Storage_updateFile(endPoint, folderId.utf8(), itemId.utf8(), kReplaceContent, localPath.utf8(),
                                        progressCb, uploadCb, &transfer, nullptr) >= 1;
    }
    const char *const paths[] = {localPath.utf8()};
    const char *const names[] = {fileName.utf8()};
    return Skein_Storage_uploadFiles(endPoint, folderId.utf8(), paths, names, 1, progressCb, uploadCb, &transfer,
                                     nullptr) >= 1;
}
