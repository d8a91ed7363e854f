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
    for (const QScriptValue &entry : JsonReply::elements(reply.value().property("entries"))) {
        KString text;
        bool isFolder = false;
        JsonReply::text(entry, "name", text);
        JsonReply::boolean(entry, "folder", isFolder);
        const QString name = KQtUtil::toQString(text);
        if (TavrinHelper::safeLocalName(name) == name)
            items.push_back(new Portal_Shelf_ICloudItem(folder + name + QLatin1String(isFolder ? "/" : ""), owner));
    }
}

bool shown(const ReturnStatus &status)
{
    if (!status.IsSuccess())
        status.DisplayUserMessageBox();
    return status.IsSuccess();
}

} // namespace

Portal_Shelf_ICloudItem::Portal_Shelf_ICloudItem(const QString &path, IPortalOwnerCB *owner) : m_owner(owner)
{
    SetProperty("path", KQtUtil::toKString(path));
}

QString Portal_Shelf_ICloudItem::path()
{
    KString path;
    GetProperty("path", path);
    return KQtUtil::toQString(path);
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

Portal_Shelf_Login::Portal_Shelf_Login(const KString &host, unsigned port) : m_host(host), m_port(port)
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
    Tavrin::Settings(settingsName).setSessionID(KQtUtil::toKString(session));
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
    Tavrin::Settings(settingsName).setSessionID(KString());
    return true;
}

bool Portal_Shelf_Login::IsLogin()
{
    return !Tavrin::Settings(settingsName).getSessionID().isEmpty();
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

bool Portal_Shelf_Login::GetUsername(KString &name)
{
    HeaderMap info;
    if (!GetUserInformation(info))
        return false;
    name = KString(info[L"username"].c_str());
    return true;
}

long Portal_Shelf_Login::CreateLoginRequest(char *buffer, unsigned long size)
{
    const KString address = KString("http://") + m_host + ":" + m_port + "/sign-in";
    qstrncpy(buffer, address.utf8(), static_cast<unsigned>(size));
    return static_cast<long>(qstrlen(address.utf8())) + 1;
}

HeaderMap Portal_Shelf_Login::prepare(httpClient &client) const
{
    client.setHost(m_host.utf8(), m_port);
    return {{L"X-Session", Tavrin::Settings(settingsName).getSessionID().wide()}};
}

bool Portal_Shelf_IPortalBrowser::GetChildCloudItems(Login *login, HeaderMap &criteria, Items &results)
{
    if (!login->IsLogin())
        return false;
    const QString folder = QString::fromStdWString(criteria[L"Folder"]);
    httpClient client;
    const HeaderMap headers = static_cast<Portal_Shelf_Login *>(login)->prepare(client);
    QByteArray body;
    if (!shown(client.get(requestPath("/list", folder), headers, false, body)))
        return false;
    readListing(body, folder, m_owner, results);
    return true;
}

bool Portal_Shelf_IPortalBrowser::DownloadCloudItem(Login *login, Item *item, KString folder, KString fileName)
{
    if (!item || !login->IsLogin())
        return false;
    const QString path = requestPath("/file", static_cast<Portal_Shelf_ICloudItem *>(item)->path());
    httpClient client;
    const HeaderMap headers = static_cast<Portal_Shelf_Login *>(login)->prepare(client);
    return shown(client.getFile(KQtUtil::toQString(folder), KQtUtil::toQString(fileName), path, headers, false));
}

ICloudItem *Portal_Shelf::CreateFolderHierarchy()
{
    return new Portal_Shelf_ICloudItem(QStringLiteral("/"), m_owner);
}

void Portal_Shelf::setOwnerCB(IPortalOwnerCB *owner)
{
    m_owner = owner;
    m_browser->setOwnerCB(owner);
}

void Portal_Shelf::FillSearchCriteria(ICloudItem *folder, HeaderMap &criteria)
{
    if (folder)
        criteria[L"Folder"] = static_cast<Portal_Shelf_ICloudItem *>(folder)->path().toStdWString();
}
