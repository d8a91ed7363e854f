#include "Portal_Shelf.h"

#include "cloud/PortalCall.h"
#include "http/JsonReply.h"

#include <QUrl>
#include <QUrlQuery>

#include <utility>

using namespace ICloudPortalApi;

namespace {

QString requestPath(const char *operation, const QString &path)
{
    return QLatin1String(operation) + QString::fromLatin1(QUrl::toPercentEncoding(path, "/"));
}

/// Appends one new item per usable entry of a listing of \p folder to \p items, which the caller owns.
void readListing(const QByteArray &body, const QString &folder, IPortalOwnerCB *owner, ItemVector &items)
{
    const JsonReply reply(body);
    for (const QScriptValue &entry : JsonReply::elements(JsonReply::member(reply.value(), "entries"))) {
        KString text;
        bool isFolder = false;
        JsonReply::text(entry, "name", text);
        JsonReply::boolean(entry, "folder", isFolder);
        const QString name = KQtUtil::toQString(text);
        if (TavrinHelper::safeLocalName(name) == name)
            items.push_back(new Portal_Shelf_ICloudItem(folder + name + QLatin1String(isFolder ? "/" : ""), owner));
    }
}

} // namespace

Portal_Shelf_ICloudItem::Portal_Shelf_ICloudItem(const QString &path, IPortalOwnerCB *owner) : CloudItemBase(owner)
{
    SetProperty("path", KQtUtil::toKString(path));
}

KString Portal_Shelf_ICloudItem::GetDisplayName()
{
    const QString name = path().section(QLatin1Char('/'), -1, -1, QString::SectionSkipEmpty);
    return name.isEmpty() ? KString("Shelf") : KQtUtil::toKString(name);
}

KString Portal_Shelf_ICloudItem::GetImportPathFolder()
{
    return KQtUtil::toKString(TavrinHelper::safeLocalPath(path().section(QLatin1Char('/'), 0, -2)));
}

const char Portal_Shelf_Login::settingsName[] = "TavrinSettings_ShelfBrowser_Kelda";

Portal_Shelf_Login::Portal_Shelf_Login(const KString &host, unsigned port)
    : SessionLogin(settingsName), m_host(host), m_port(port)
{
    m_loginUi.SetILogin(this);
}

bool Portal_Shelf_Login::Login(IPortalOwnerCB *owner)
{
    m_owner = owner;
    if (IsLogin()) {
        dialogEnded(this, true);
        return true;
    }
    m_loginUi.setCallback(dialogEnded, this);
    m_loginUi.login(owner ? owner->GetParentLoginWidget() : nullptr);
    return false;
}

bool Portal_Shelf_Login::LoginUIDoneCB(const QUrl &url)
{
    const QString session = QUrlQuery(url).queryItemValue(QStringLiteral("session"), QUrl::FullyDecoded);
    if (session.isEmpty() || url.host() != KQtUtil::toQString(m_host))
        return false;
    SetSessionID(KQtUtil::toKString(session));
    SaveSessionSettings();
    return true;
}

void Portal_Shelf_Login::dialogEnded(void *login, bool success)
{
    const PortalCall running;
    if (IPortalOwnerCB *owner = std::exchange(static_cast<Portal_Shelf_Login *>(login)->m_owner, nullptr))
        owner->LoginDoneCB(success);
}

bool Portal_Shelf_Login::Logout()
{
    m_owner = nullptr;
    m_loginUi.CleanResources();
    forgetSession();
    return true;
}

bool Portal_Shelf_Login::GetUserInformation(HeaderMap &info)
{
    httpClient client;
    QByteArray body;
    client.get(QStringLiteral("/user"), prepare(client), false, body);
    const JsonReply reply(body);
    std::wstring name;
    if (!JsonReply::text(reply.value(), "name", name))
        return false;
    info[L"username"] = name;
    return true;
}

long Portal_Shelf_Login::CreateLoginRequest(char *buffer, unsigned long size)
{
    return writeAddress(KString("http://") + m_host + ":" + m_port + "/sign-in", buffer, size);
}

HeaderMap Portal_Shelf_Login::prepare(httpClient &client) const
{
    client.setHost(m_host.utf8(), m_port);
    return {{L"X-Session", GetSessionID().wide()}};
}

bool Portal_Shelf_IPortalBrowser::GetChildCloudItems(Login *login, HeaderMap &criteria, Items &results)
{
    if (!login->IsLogin())
        return false;
    const QString folder = QString::fromStdWString(criteria[L"Folder"]);
    httpClient client;
    const HeaderMap headers = static_cast<Portal_Shelf_Login *>(login)->prepare(client);
    QByteArray body;
    if (!SucceededOrShown(client.get(requestPath("/list", folder), headers, false, body)))
        return false;
    readListing(body, folder, owner(), results);
    return true;
}

bool Portal_Shelf_IPortalBrowser::DownloadCloudItem(Login *login, Item *item, KString folder, KString fileName)
{
    if (!item || !login->IsLogin())
        return false;
    const QString path = requestPath("/file", static_cast<Portal_Shelf_ICloudItem *>(item)->path());
    httpClient client;
    const HeaderMap headers = static_cast<Portal_Shelf_Login *>(login)->prepare(client);
    return SucceededOrShown(
        client.getFile(KQtUtil::toQString(folder), KQtUtil::toQString(fileName), path, headers, false));
}

namespace {

const PortalTraits traits{"Shelf_Portal_Unique_Identity_String", "Shelf", "shelf.png", Portal_Shelf_Login::settingsName,
                          nullptr};

} // namespace

Portal_Shelf::Portal_Shelf(Portal_Shelf_Login *login, Portal_Shelf_IPortalBrowser *browser)
    : PortalBase(traits, login, browser)
{}

ICloudItem *Portal_Shelf::CreateFolderHierarchy()
{
    return new Portal_Shelf_ICloudItem(QStringLiteral("/"), owner());
}

void Portal_Shelf::FillSearchCriteria(ICloudItem *folder, HeaderMap &criteria)
{
    if (folder)
        criteria[L"Folder"] = static_cast<Portal_Shelf_ICloudItem *>(folder)->path().toStdWString();
}
