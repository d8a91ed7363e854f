// Replies of Dropbox and Plyx: the local paths of the files that they name, and the host of a download.

#include "Fuzz.h"
#include "portals/Portal_DropBox_CloudItem.h"
#include "portals/Portal_DropBox_Replies.h"
#include "portals/Portal_Plyx_CloudItem.h"
#include "portals/Portal_Plyx_Replies.h"
#include "TavrinHelper.h"

#include <QJsonDocument>
#include <QUrl>

namespace {

/// Checks the items of a listing of \p portal, and deletes them.
void checkItems(const QString &portal, const ICloudPortalApi::ItemVector &items, bool isJson)
{
    Fuzz::require(isJson || items.empty(), "only JSON lists items");
    for (ICloudPortalApi::ICloudItem *item : items) {
        const QString folder = portal + KQtUtil::toQString(item->GetImportPathFolder());
        const QString name = TavrinHelper::safeLocalName(KQtUtil::toQString(item->GetImportFilename()));
        Fuzz::require(Fuzz::staysInside(TavrinHelper::safeLocalPath(folder), name), "a file stays in its area");
        item->GetTooltip();
    }
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
    ICloudPortalApi::ItemVector files;
    DropBoxReplies::listing(body, nullptr, files);
    checkItems(QStringLiteral("Dropbox"), files, isJson);
    ICloudPortalApi::ItemVector models;
    int numbers[] = {0, 0, 0};
    PlyxReplies::searchResults(body, nullptr, models, numbers[0], numbers[1], numbers[2]);
    checkItems(QStringLiteral("Plyx"), models, isJson);
    if (!isJson)
        return 0; // the other readers would only refuse it again
    KString name;
    DropBoxReplies::token(body);
    DropBoxReplies::displayName(body, name);
    DropBoxReplies::isStored(body);
    PlyxReplies::isMember(body);
    PlyxReplies::memberName(body, name);
    checkHost(KQtUtil::toQString(PlyxReplies::downloadHost(body)));
    for (const PlyxReplies::Texture &texture : PlyxReplies::assetFiles(body).textures)
        Fuzz::require(Fuzz::staysInside(QStringLiteral("Plyx/1"), texture.localName), "a texture stays in its area");
    return 0;
}
