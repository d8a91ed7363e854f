#include "portals/Portal_Plyx_Browse.h"

#include "http/httpClient.h"
#include "portals/Portal_Plyx_Login.h"
#include "portals/Portal_Plyx_Replies.h"
#include "portals/Portal_Plyx_Requests.h"

#include <algorithm>
#include <iterator>

using namespace ICloudPortalApi;

namespace {

constexpr const char *kGalleryOrder[] = {"Grell", "Tarn", "Lumo", "Lumo Mobile"};

/// The requests of one download. The service selects a download server for each file.
class AssetDownload
{
public:
    AssetDownload(const Portal_Plyx_Login &session, const QString &assetId, const QString &folder)
        : m_host(session.GetHost()), m_assetId(assetId), m_folder(folder), m_assetHeaders(session.GetRequestHeaders())
    {
        m_assetHeaders[L"Cache-Control"] = L"no-cache";
        m_serverHeaders = m_assetHeaders;
        m_serverHeaders.erase(L"X-Secure-Session"); // this request uses plain HTTP
    }

    bool list(PlyxReplies::AssetFiles &files)
    {
        QByteArray body;
        m_client.setHost(m_host.utf8(), 0);
        if (!succeededOrShown(m_client.get(PlyxRequests::asset(m_assetId), m_assetHeaders, true, body)))
            return false;
        files = PlyxReplies::assetFiles(body);
        return true;
    }

    /// Returns false if a request fails. Returns true without a download if the service returns no server.
    bool fetch(const QString &fileId, const QString &localName)
    {
        QByteArray body;
        m_client.setHost(m_host.utf8(), 0);
        if (!succeededOrShown(m_client.get(PlyxRequests::downloadServer(), m_serverHeaders, false, body)))
            return false;
        const KString server = PlyxReplies::downloadHost(body);
        if (server.isEmpty())
            return true;
        m_client.setHost(server.utf8(), 0);
        return succeededOrShown(
            m_client.getFile(m_folder, localName, PlyxRequests::download(m_assetId, fileId), m_assetHeaders, true));
    }

private:
    httpClient m_client;
    KString m_host;
    QString m_assetId;
    QString m_folder;
    HeaderMap m_assetHeaders;
    HeaderMap m_serverHeaders;
};

} // namespace

bool Portal_Plyx_IPortalBrowser::SearchCloudItems(ILogin *login, HeaderMap &criteria, int pageNumber, int pageSize,
                                                  ItemVector &results, int &currentPage, int &totalPageCount,
                                                  int &totalResultCount)
{
    if (!login->IsLogin() || criteria.count(L"NoSearch") != 0)
        return false;

    const auto &session = static_cast<Portal_Plyx_Login &>(*login);
    const QString path = PlyxRequests::search(criteria, pageNumber, pageSize);
    httpClient client;
    client.setHost(session.GetHost().utf8(), 0);
    QByteArray body;
    // A path without a leading "/" would change the host of the request.
    ReturnStatus status(0);
    if (path.startsWith(QLatin1Char('/')))
        status = client.get(path, session.GetRequestHeaders(), true, body);
    if (!succeededOrShown(status))
        return false;
    PlyxReplies::searchResults(body, owner(), results, currentPage, totalPageCount, totalResultCount);
    return true;
}

bool Portal_Plyx_IPortalBrowser::DownloadCloudItem(ILogin *login, ICloudItem *item, KString folder, KString fileName)
{
    if (!item)
        return false;
    const QString assetId = KQtUtil::toQString(item->GetUniqueID());
    if (!login->IsLogin())
        return false;

    AssetDownload download(static_cast<Portal_Plyx_Login &>(*login), assetId, KQtUtil::toQString(folder));
    PlyxReplies::AssetFiles files;
    if (!download.list(files))
        return false;
    for (const PlyxReplies::Texture &texture : files.textures)
        download.fetch(texture.fileId, texture.localName);
    return !files.modelId || download.fetch(*files.modelId, KQtUtil::toQString(fileName));
}

bool Portal_Plyx_IPortalBrowser::BuildFoldersAndFileList(ItemVector &folders, ItemVector &files, ICloudItem *folder,
                                                         ICloudItem *root, ItemVector extra, ItemSet excluded)
{
    if (!folder || !root)
        return false;
    if (folder == root) {
        folders.assign(std::size(kGalleryOrder), nullptr);
        for (auto child = folder->GetChildBegin(); child != folder->GetChildEnd(); ++child) {
            if (!*child || !(*child)->IsFolder())
                continue;
            const auto *gallery = std::find_if(std::begin(kGalleryOrder), std::end(kGalleryOrder),
                                               [&](const char *name) { return (*child)->GetDisplayName() == name; });
            if (gallery == std::end(kGalleryOrder))
                continue;
            (*child)->RemoveAllChild(false);
            folders[static_cast<std::size_t>(gallery - std::begin(kGalleryOrder))] = *child;
            excluded.insert(*child);
        }
        folders.erase(std::remove(folders.begin(), folders.end(), nullptr), folders.end());
    }
    return IPortalBrowser::BuildFoldersAndFileList(folders, files, folder, root, extra, excluded);
}
