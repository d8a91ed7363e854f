#include "portals/Portal_DropBox_Replies.h"

#include "http/JsonReply.h"
#include "portals/Portal_DropBox_CloudItem.h"

#include <cstring>
#include <memory>
#include <string>

namespace {

void copyText(const QScriptValue &entry, const char *name, Portal_DropBox_ICloudItem &item)
{
    KString text;
    if (JsonReply::text(entry, name, text))
        item.SetProperty(name, text);
}

/// Returns true if \p name consists of letters, digits, "_" and "-", so that it is safe as a part of request paths.
bool isPlainName(const KString &name)
{
    constexpr char kPlain[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-";
    const char *const text = name.utf8();
    return *text != '\0' && text[std::strspn(text, kPlain)] == '\0';
}

/// Returns true if a component of \p path is "..".
bool leavesFolder(const KString &path)
{
    return ('/' + std::string(path.utf8()) + '/').find("/../") != std::string::npos;
}

/// Fills \p item from one element of "contents". Returns false if the element must be ignored.
bool readEntry(const QScriptValue &entry, Portal_DropBox_ICloudItem &item)
{
    KString revision;
    if (!JsonReply::text(entry, "rev", revision))
        return false;
    KString path;
    const bool hasPath = JsonReply::text(entry, "path", path);
    if (leavesFolder(path))
        return false;

    item.SetProperty("rev", revision);
    if (hasPath)
        item.SetProperty("path", path);
    copyText(entry, "modified", item);
    int bytes = 0;
    if (JsonReply::integer(entry, "bytes", bytes))
        item.SetProperty("bytes", KString() + bytes);
    KString root;
    if (JsonReply::text(entry, "root", root) && isPlainName(root))
        item.SetProperty("root", root);
    copyText(entry, "mime_type", item);
    bool isDirectory = false;
    if (JsonReply::boolean(entry, "is_dir", isDirectory) && isDirectory)
        item.SetProperty("is_dir", "true");
    return true;
}

} // namespace

namespace DropBoxReplies {

Token token(const QByteArray &body)
{
    Token token;
    const JsonReply reply(body);
    if (JsonReply::member(reply.value(), "error").toBool()) // null and false mean success
        return token;
    JsonReply::text(reply.value(), "access_token", token.accessToken);
    JsonReply::text(reply.value(), "token_type", token.tokenType);
    JsonReply::text(reply.value(), "uid", token.userId);
    return token;
}

bool displayName(const QByteArray &body, KString &name)
{
    const JsonReply reply(body);
    return JsonReply::text(reply.value(), "display_name", name);
}

void listing(const QByteArray &body, ICloudPortalApi::IPortalOwnerCB *owner, ICloudPortalApi::ItemVector &items)
{
    const JsonReply reply(body);
    for (const QScriptValue &entry : JsonReply::elements(JsonReply::member(reply.value(), "contents"))) {
        auto item = std::make_unique<Portal_DropBox_ICloudItem>(owner);
        if (readEntry(entry, *item))
            items.push_back(item.release());
    }
}

bool isStored(const QByteArray &body)
{
    const JsonReply reply(body);
    int bytes = 0;
    return JsonReply::integer(reply.value(), "bytes", bytes) && bytes >= 1;
}

} // namespace DropBoxReplies
