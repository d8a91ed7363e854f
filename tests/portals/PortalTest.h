// portals/PortalTest.h
//
// What the tests of a portal share: the portal on a local cloud of its own, its owner, and the calls that a page makes.

#pragma once

#include "CloudFixture.h"
#include "support/TestFiles.h"

/// Hears of sign-ins and clicks.
struct RecordingOwner : ICloudPortalApi::IPortalOwnerCB
{
    void LoginDoneCB(bool success) override
    {
        heard << success;
        onDone();
    }
    void CloudItemClickCB(ICloudPortalApi::ICloudItem *item) override { clicked = item; }
    void CloudFolderArrowClickCB(ICloudPortalApi::ICloudItem *) override {}
    QWidget *GetParentLoginWidget() override { return window; }

    QList<bool> heard;
    std::function<void()> onDone = [] {};
    ICloudPortalApi::ICloudItem *clicked = nullptr;
    QWidget *window = nullptr;
};

class PortalTest : public QObject
{
protected:
    using ICloudItem = ICloudPortalApi::ICloudItem;
    using Item = std::unique_ptr<ICloudItem>;

    /// A new cloud, which serves what lies in the sub-folder "cloud" of m_folder.
    void start()
    {
        LocalCloudOptions options;
        options.dataDir = m_folder.filePath("cloud");
        m_fixture = std::make_unique<CloudFixture>(options);
        connect(&m_fixture->cloud, &LocalCloud::requestServed, m_fixture.get(), [this] { m_passing.clear(); });
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
    /// Nothing that the user saw held a secret.
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

    void store(const localcloud::PlyxSession &session)
    {
        CloudFixture::store(m_portal->GetSettingsName().utf8(), session);
    }
    QString stored() const { return CloudFixture::stored(m_portal->GetSettingsName().utf8()); }

    /// The sign-in dialog that is shown.
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
    /// \p item goes with the next request that is served, as a refresh in the middle of a call would delete it.
    ICloudItem *passing(Item item)
    {
        m_passing.push_back(std::move(item));
        return m_passing.back().get();
    }

    /// The names of \p items: + folders, - files. The items are deleted.
    QStringList namesOf(const ICloudPortalApi::ItemVector &items)
    {
        QStringList names;
        for (ICloudItem *item : items) {
            item->FolderClick();
            names << (m_owner.clicked == item ? "" : "(not heard) ");
            names.last() += (item->IsFolder() ? "+" : "-") + KQtUtil::toQString(item->GetDisplayName());
            delete item;
        }
        return names;
    }
    /// The names in \p folder, in order.
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
        return browser()->DownloadCloudItem(m_portal->GetLogin(), passing(std::move(item)), KQtUtil::toKString(local()),
                                            KQtUtil::toKString(name));
    }
    bool upload(Item folder, const QString &name, Item existing = {})
    {
        ICloudItem *const into = passing(std::move(folder));
        return browser()->UploadFile(m_portal->GetLogin(), into, passing(std::move(existing)),
                                     KQtUtil::toKString(local()), KQtUtil::toKString(name));
    }
    QString local(const QString &name = {}) const { return m_folder.filePath("new/local/") + name; }

    QStringList m_secrets; // besides the session
    QTemporaryDir m_folder;
    QWidget m_window;
    std::unique_ptr<CloudFixture> m_fixture;
    std::unique_ptr<ICloudPortalApi::IPortal> m_portal;
    RecordingOwner m_owner;
    std::vector<Item> m_passing;
};
