// Dropbox replies, and the local paths of the files that they name.

#include "Fuzz.h"
#include "portals/Portal_DropBox_CloudItem.h"
#include "portals/Portal_DropBox_Replies.h"
#include "TavrinHelper.h"

#include <QJsonDocument>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray body = Fuzz::bytes(data, size);
    ICloudPortalApi::ItemVector items;
    DropBoxReplies::listing(body, nullptr, items);
    for (ICloudPortalApi::ICloudItem *item : items) {
        const QString folder = QStringLiteral("Dropbox") + KQtUtil::toQString(item->GetImportPathFolder());
        const QString name = TavrinHelper::safeLocalName(KQtUtil::toQString(item->GetImportFilename()));
        Fuzz::require(Fuzz::staysInside(TavrinHelper::safeLocalPath(folder), name), "a file stays in its area");
        Fuzz::require(!KQtUtil::toQString(item->GetDisplayName()).contains(QLatin1Char('/')), "a name has no folder");
        item->GetTooltip();
    }
    qDeleteAll(items);

    const QByteArray json = QByteArray(body.constData());
    const bool isJson = !QJsonDocument::fromJson(json).isNull();
    Fuzz::require(isJson || items.empty(), "only JSON lists items");
    if (!isJson)
        return 0; // the other readers would only refuse it again
    DropBoxReplies::token(body);
    KString name;
    DropBoxReplies::displayName(body, name);
    DropBoxReplies::isStored(body);
    return 0;
}
