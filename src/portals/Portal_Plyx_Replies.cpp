#include "portals/Portal_Plyx_Replies.h"

#include "http/JsonReply.h"
#include "portals/Portal_Plyx_CloudItem.h"
#include "TavrinHelper.h"

#include <openkelda/KQtUtil.h>

#include <QRegularExpression>

#include <memory>

namespace {

constexpr char kObjFormat[] = "OBJ ( .obj )";

/// Returns the text or number \p name as text; empty for other types.
QString textOf(const QScriptValue &object, const char *name)
{
    const QScriptValue value = JsonReply::member(object, name);
    return value.isString() || value.isNumber() ? value.toString() : QString();
}

/// Fills \p item from one element of "ASSET". Returns false if the element has no id.
bool readAsset(const QScriptValue &entry, Portal_Plyx_ICloudItem &item)
{
    const QString id = textOf(entry, "ASSET_ID");
    if (id.isEmpty())
        return false;
    const auto copy = [&](const char *property, const char *name) {
        item.SetProperty(property, KQtUtil::toKString(textOf(entry, name)));
    };
    copy("UniqueID", "ASSET_ID");
    copy("Name", "ASSET_NAME");
    copy("ArtistName", "ARTIST_NAME");
    copy("CreateDate", "DATE_PUBLISHED");
    copy("ThumbnailUrl", "THUMBNAIL_FILE");
    item.SetProperty("CanDownload", "true");
    return true;
}

/// Returns the local file name of a texture; empty if the texture must be ignored.
QString localTextureName(const QString &name)
{
    const int separator = qMax(name.lastIndexOf(QLatin1Char('/')), name.lastIndexOf(QLatin1Char('\\')));
    const QString base = name.mid(separator + 1);
    if (base.isEmpty() || base == QLatin1String(".") || base == QLatin1String(".."))
        return QString();
    return TavrinHelper::safeLocalName(base);
}

std::vector<PlyxReplies::Texture> texturesOf(const QScriptValue &asset)
{
    std::vector<PlyxReplies::Texture> textures;
    for (const QScriptValue &entry :
         JsonReply::elements(JsonReply::member(JsonReply::member(asset, "TEXTURESFILES"), "TEXTURESFILE"))) {
        const QString name = localTextureName(textOf(entry, "NAME"));
        const QString id = textOf(entry, "ID");
        if (!name.isEmpty() && !id.isEmpty())
            textures.push_back({name, id});
    }
    return textures;
}

} // namespace

namespace PlyxReplies {

bool isMember(const QByteArray &body)
{
    const JsonReply reply(body);
    return JsonReply::member(reply.value(), "MEMBERID").isNumber();
}

bool memberName(const QByteArray &body, KString &name)
{
    const JsonReply reply(body);
    return JsonReply::text(reply.value(), "MEMBERNAME", name);
}

void searchResults(const QByteArray &body, ICloudPortalApi::IPortalOwnerCB *owner, ICloudPortalApi::ItemVector &items,
                   int &currentPage, int &totalPageCount, int &totalResultCount)
{
    const JsonReply reply(body);
    for (const QScriptValue &entry :
         JsonReply::elements(JsonReply::member(JsonReply::member(reply.value(), "ASSETS"), "ASSET"))) {
        auto item = std::make_unique<Portal_Plyx_ICloudItem>(owner);
        if (readAsset(entry, *item))
            items.push_back(item.release());
    }
    JsonReply::integer(reply.value(), "TOTAL_PAGE_COUNT", totalPageCount);
    JsonReply::integer(reply.value(), "TOTAL_RESULT_COUNT", totalResultCount);
    JsonReply::integer(reply.value(), "CURRENT_PAGE", currentPage);
}

AssetFiles assetFiles(const QByteArray &body)
{
    AssetFiles files;
    const JsonReply reply(body);
    const QScriptValue asset = JsonReply::member(reply.value(), "ASSET");
    const QScriptValue formats = JsonReply::member(asset, "FILEFORMATS");
    if (!formats.isObject())
        return files;
    files.textures = texturesOf(asset);
    for (const QScriptValue &entry : JsonReply::elements(JsonReply::member(formats, "FILEFORMAT"))) {
        KString name;
        if (JsonReply::text(entry, "NAME", name) && name == kObjFormat) {
            files.modelId = textOf(entry, "FILEID");
            break;
        }
    }
    return files;
}

KString downloadHost(const QByteArray &body)
{
    static const QRegularExpression bareHost(
        QStringLiteral("\\A(?=.{1,260}\\z)[A-Za-z0-9](?:[A-Za-z0-9_.-]*[A-Za-z0-9])?(?::[0-9]{1,5})?\\z"));
    const JsonReply reply(body);
    const QScriptValue host = JsonReply::member(reply.value(), "DOWNLOAD");
    // Matched before the conversion to KString, which ends at a NUL.
    if (!host.isString() || !bareHost.match(host.toString()).hasMatch())
        return KString();
    return KQtUtil::toKString(host.toString());
}

} // namespace PlyxReplies
