// portals/PortalTest.h
//
// The local cloud as this process's network, a host that records, and the fixture of the portals' tests: a portal, its
// owner, and the calls that a page makes.

#pragma once

#include "cloud/Portal_CloudBrowser.h"
#include "http/httpClient.h"
#include "http/simpleHttpServer.h"
#include "localcloud/LocalCloud.h"
#include "portals/Portal_DropBox_Login.h"
#include "portals/Portal_Plyx_Login.h"
#include "support/MessageBoxes.h"
#include "support/RecordingHost.h"
#include "support/Table.h"
#include "support/TestFiles.h"

#include <QtNetwork>
#include <QtTest>
#include <QtWidgets>

/// Create one for each test, before the portal, and delete it after the portal.
class CloudFixture : public QObject
{
    Q_OBJECT
public:
    explicit CloudFixture(const LocalCloudOptions &options = {}) : cloud(options)
    {
        if (!cloud.start())
            qFatal("the local cloud cannot start");
        QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1", cloud.port()));
        QSslConfiguration trust = QSslConfiguration::defaultConfiguration();
        trust.setCaCertificates({cloud.caCertificate()});
        QSslConfiguration::setDefaultConfiguration(trust);
        httpClient::setDefaultTimeouts(60000, 60000);
        SimpleHttpServer::setDefaultTimeouts(60000);
        QDesktopServices::setUrlHandler("https", this, "open");
        for (const char *settingsName : {Portal_DropBox_Login::kSettingsName, Portal_Plyx_Login::kSettingsName})
            Tavrin::Settings(settingsName).clear();
    }
    ~CloudFixture() override { QDesktopServices::unsetUrlHandler("https"); }

    /// The requests that the cloud served, in order, as "METHOD target".
    QStringList requests() const
    {
        QStringList targets;
        for (const RequestRecord &record : cloud.requests())
            targets << QString::fromLatin1(record.method + ' ' + record.target);
        return targets;
    }
    QStringList warnings() const { return host.messages(KHost::MessageKind::kWarning); }
    /// All messages and boxes that the user could have seen.
    QString everythingShown() const
    {
        return (host.messages(KHost::MessageKind::kInfo) + warnings() + host.errors() + boxes.texts).join('\n');
    }

    /// Presses Allow on the page opened last and follows its redirect. Returns true if the redirect server answered.
    bool allow()
    {
        const QUrlQuery query(opened.value(opened.size() - 1));
        const QString redirect = query.queryItemValue("redirect_uri");
        const QString code = cloud.issueDropboxCode(query.queryItemValue("client_id"), redirect);
        QTcpSocket browser;
        browser.connectToHost(QHostAddress::LocalHost, static_cast<quint16>(QUrl(redirect).port()));
        browser.write("GET /crvn/kelda/oauth/dropbox/redirect?code=" + code.toLatin1() + " HTTP/1.1\r\n\r\n");
        if (!QTest::qWaitFor([&] { return browser.state() == QAbstractSocket::UnconnectedState; }, 20000))
            return false;
        const QByteArray page = browser.readAll();
        return page.startsWith("HTTP/1.0 200 Ok\r\n") && page.contains("Login successful");
    }

    RecordingHost host;
    LocalCloud cloud;
    QList<QUrl> opened; ///< in the browser
    MessageBoxes boxes;

private slots:
    void open(const QUrl &url) { opened << url; }
};

/// Records the results of sign-ins and the item that was clicked last.
struct RecordingOwner : ICloudPortalApi::IPortalOwnerCB
{
    void LoginDoneCB(bool success) override
    {
        results << success;
        onDone();
    }
    void CloudItemClickCB(ICloudPortalApi::ICloudItem *item) override { clicked = item; }
    void CloudFolderArrowClickCB(ICloudPortalApi::ICloudItem *) override {}
    QWidget *GetParentLoginWidget() override { return window; }

    QList<bool> results;
    std::function<void()> onDone = [] {};
    ICloudPortalApi::ICloudItem *clicked = nullptr;
    QWidget *window = nullptr;
};

class PortalTest : public QObject
{
protected:
    using ICloudItem = ICloudPortalApi::ICloudItem;
    using Item = std::unique_ptr<ICloudItem>;

    /// Creates a cloud that serves the files below "cloud" in m_folder.
    void start()
    {
        LocalCloudOptions options;
        options.dataDir = m_folder.filePath("cloud");
        m_fixture = std::make_unique<CloudFixture>(options);
        connect(&m_fixture->cloud, &LocalCloud::requestServed, m_fixture.get(), [this] { m_itemsOfTheCall.clear(); });
        m_owner = RecordingOwner();
        m_owner.window = &m_window;
    }
    template <class Portal, class Login, class Browser>
    Login *makePortal()
    {
        m_portal.reset();
        auto *login = new Login;
        m_portal = std::make_unique<Portal>(login, new Browser);
        m_portal->setOwnerCB(&m_owner);
        return login;
    }
    /// Checks that no secret was shown, and deletes the portal, the cloud and the files.
    void finish()
    {
        const QStringList session = m_portal ? stored().split('|') : QStringList();
        for (const QString &secret : m_secrets + session)
            QVERIFY2(secret.isEmpty() || !m_fixture->everythingShown().contains(secret),
                     qPrintable(m_fixture->everythingShown()));
        m_portal.reset();
        m_fixture.reset();
        QDir(m_folder.path()).removeRecursively();
    }

    /// Shows the page of the portal in a dock.
    void showPage()
    {
        QVERIFY(Portal_CloudBrowser::RegisterPortal(m_portal.get()));
        m_controller.reset(Portal_CloudBrowser::GetInstance(m_portal->GetPortalUID()));
        m_controller->AddPortalTabPage();
        Portal_CloudBrowser::RaiseDockingWindow(true);
    }
    void closePage()
    {
        Portal_CloudBrowser::PrepareUnload();
        Portal_CloudBrowser::UnRegisterPortal(m_portal.get());
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        m_controller.reset();
    }

    void store(const localcloud::PlyxSession &session) const
    {
        Tavrin::Settings settings(m_portal->GetSettingsName().utf8());
        settings.setSessionID(KQtUtil::toKString(session.id));
        settings.setSecureSessionID(KQtUtil::toKString(session.secureId));
    }
    /// Both identifiers in the settings file as "session|secure".
    QString stored() const
    {
        const Tavrin::Settings settings(m_portal->GetSettingsName().utf8());
        return KQtUtil::toQString(settings.getSessionID() + "|" + settings.getSecureSessionID());
    }
    QStringList boxes() const { return m_fixture->boxes.texts; }

    /// The visible sign-in dialog, or null.
    QDialog *dialog() const
    {
        for (auto *dialog : m_window.findChildren<QDialog *>())
            if (dialog->isVisible())
                return dialog;
        return nullptr;
    }

    ICloudPortalApi::IPortalBrowser *browser() const { return m_portal->GetBrowser(); }
    Item root() { return Item(m_portal->CreateFolderHierarchy()); }
    template <class Kind>
    Item makeItem(const std::map<const char *, QString> &properties)
    {
        auto item = std::make_unique<Kind>(&m_owner);
        for (const auto &[name, value] : properties)
            item->SetProperty(name, KQtUtil::toKString(value));
        return item;
    }
    /// Deletes \p item when the cloud serves the next request, as a refresh during a call does.
    ICloudItem *deletedDuringTheCall(Item item)
    {
        m_itemsOfTheCall.push_back(std::move(item));
        return m_itemsOfTheCall.back().get();
    }

    /// The names of \p items: + folders, - files. Deletes the items.
    QStringList namesOf(const ICloudPortalApi::ItemVector &items)
    {
        QStringList names;
        for (ICloudItem *item : items) {
            item->FolderClick();
            names << (m_owner.clicked == item ? "" : "(click not reported) ");
            names.last() += (item->IsFolder() ? "+" : "-") + KQtUtil::toQString(item->GetDisplayName());
            delete item;
        }
        return names;
    }
    /// The sorted names in \p folder, or "failed".
    QString listed(const Item &folder)
    {
        HeaderMap criteria;
        m_portal->FillSearchCriteria(folder.get(), criteria);
        ICloudPortalApi::ItemVector items;
        if (!browser()->GetChildCloudItems(m_portal->GetLogin(), criteria, items))
            return "failed";
        QStringList names = namesOf(items);
        names.sort();
        return names.join(' ');
    }
    bool download(Item item, const QString &name)
    {
        return browser()->DownloadCloudItem(m_portal->GetLogin(), deletedDuringTheCall(std::move(item)),
                                            KQtUtil::toKString(local()), KQtUtil::toKString(name));
    }
    bool upload(Item folder, const QString &name, Item existing = {})
    {
        ICloudItem *const into = deletedDuringTheCall(std::move(folder));
        return browser()->UploadFile(m_portal->GetLogin(), into, deletedDuringTheCall(std::move(existing)),
                                     KQtUtil::toKString(local()), KQtUtil::toKString(name));
    }
    QString local(const QString &name = {}) const { return m_folder.filePath("new/local/") + name; }

    QStringList m_secrets; // besides the session
    QTemporaryDir m_folder;
    QWidget m_window;
    std::unique_ptr<CloudFixture> m_fixture;
    std::unique_ptr<ICloudPortalApi::IPortal> m_portal;
    std::unique_ptr<Portal_CloudBrowser> m_controller;
    RecordingOwner m_owner;
    std::vector<Item> m_itemsOfTheCall;
};
