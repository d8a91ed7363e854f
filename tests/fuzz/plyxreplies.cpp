// Plyx replies: the local paths of the files that they name, and the host of a download.

#include "Fuzz.h"
#include "portals/Portal_Plyx_CloudItem.h"
#include "portals/Portal_Plyx_Replies.h"
#include "TavrinHelper.h"

#include <QJsonDocument>
#include <QUrl>

namespace {

void checkItems(const QByteArray &body, bool isJson)
{
    ICloudPortalApi::ItemVector items;
    int page = 0;
    int pages = 0;
    int results = 0;
    PlyxReplies::searchResults(body, nullptr, items, page, pages, results);
    for (ICloudPortalApi::ICloudItem *item : items) {
        Fuzz::require(!item->IsFolder() && item->IsDownloadable(), "every result is a model");
        const QString folder = QStringLiteral("Plyx") + KQtUtil::toQString(item->GetImportPathFolder());
        const QString name = TavrinHelper::safeLocalName(KQtUtil::toQString(item->GetImportFilename()));
        Fuzz::require(Fuzz::staysInside(TavrinHelper::safeLocalPath(folder), name), "a model stays in its area");
    }
    Fuzz::require(isJson || items.empty(), "only JSON lists items");
    qDeleteAll(items);
}

void checkHost(const QString &host)
{
    const QUrl address(QStringLiteral("https://") + host + QStringLiteral("/v1/Download?id=1"));
    if (host.isEmpty() || !address.isValid())
        return;
    Fuzz::require(address.userInfo().isEmpty() && address.fragment().isEmpty() &&
                      address.path() == QLatin1String("/v1/Download") && address.query() == QLatin1String("id=1"),
                  "a host has no other part of an address");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray body = Fuzz::bytes(data, size);
    const QByteArray json = QByteArray(body.constData());
    const bool isJson = !QJsonDocument::fromJson(json).isNull();
    checkItems(body, isJson);
    if (!isJson)
        return 0; // the other readers would only refuse it again
    for (const PlyxReplies::Texture &texture : PlyxReplies::assetFiles(body).textures)
        Fuzz::require(Fuzz::staysInside(QStringLiteral("Plyx/1"), texture.localName), "a texture stays in its area");
    checkHost(KQtUtil::toQString(PlyxReplies::downloadHost(body)));
    KString name;
    PlyxReplies::isMember(body);
    PlyxReplies::memberName(body, name);
    return 0;
}
