// Fills the page's list from the bytes of a Dropbox reply, against a script engine that only evaluates the same bytes.
// Usage: bench_listing [ROUNDS]

#include "cloud/Portal_CloudBrowser.h"
#include "Measure.h"
#include "portals/Portal_DropBox.h"
#include "portals/Portal_DropBox_Replies.h"
#include "Report.h"
#include "ui/KeldaProgram.h"

#include <QApplication>
#include <QListWidget>
#include <QScriptEngine>
#include <QTemporaryDir>

namespace {

class SignedIn : public Portal_DropBox_Login
{
public:
    bool IsLogin() override { return true; }
    bool GetUsername(KString &) override { return false; }
};

/// Lists fixed bytes, without a service.
class FixedReply : public Portal_DropBox_IPortalBrowser
{
public:
    using Portal_DropBox_IPortalBrowser::GetChildCloudItems;
    bool GetChildCloudItems(ICloudPortalApi::ILogin *, HeaderMap &, ICloudPortalApi::ItemVector &results) override
    {
        DropBoxReplies::listing(bytes, m_owner, results);
        return true;
    }
    void setOwnerCB(ICloudPortalApi::IPortalOwnerCB *owner) override { m_owner = owner; }

    QByteArray bytes;

private:
    ICloudPortalApi::IPortalOwnerCB *m_owner = nullptr;
};

QByteArray reply(int entries)
{
    QByteArray text(
        R"({"hash": "528dda36e3150ba28040052bbf1bfbd1", "thumb_exists": false, "bytes": 0, "path": "/Parts",)"
        R"( "is_dir": true, "size": "0 bytes", "root": "dropbox", "icon": "folder", "contents": [)");
    for (int i = 0; i < entries; ++i) {
        const QByteArray number = QByteArray::number(100000 + i);
        text += i == 0 ? "" : ", ";
        text += R"({"rev": "35e9702)" + number + R"(", "revision": )" + number +
                R"(, "thumb_exists": false, "bytes": 23)" + number +
                R"(, "modified": "Tue, 19 Jul 2011 21:55:38 +0000")" +
                R"(, "client_mtime": "Mon, 18 Jul 2011 18:04:35 +0000", "path": "/Parts/Bracket, left )" + number +
                R"(.obj", "is_dir": false, "icon": "page_white", "root": "dropbox",)" +
                R"( "mime_type": "application/octet-stream", "size": "22.5MB"})";
    }
    return text + "]}";
}

double bareEngine(const QByteArray &bytes, int entries)
{
    QElapsedTimer clock;
    clock.start();
    QScriptEngine engine;
    const QScriptValue value = engine.evaluate(QLatin1Char('(') + QString::fromUtf8(bytes) + QLatin1Char(')'));
    const double ms = milliseconds(clock);
    return value.property(QStringLiteral("contents")).property(QStringLiteral("length")).toInt32() == entries ? ms
                                                                                                              : kFailed;
}

class Page
{
public:
    Page() : m_browser(new FixedReply), m_portal(new SignedIn, m_browser)
    {
        Portal_CloudBrowser::RegisterPortal(&m_portal);
        m_controller.reset(Portal_CloudBrowser::GetInstance(m_portal.GetPortalUID()));
        m_controller->AddPortalTabPage();
        Portal_CloudBrowser::RaiseDockingWindow(true);
        m_page = static_cast<Portal_CloudBrowserWindows *>(m_controller->GetParentLoginWidget());
        m_list = m_page->findChild<QListWidget *>();
        m_page->Refresh();
    }
    ~Page()
    {
        Portal_CloudBrowser::PrepareUnload();
        Portal_CloudBrowser::UnRegisterPortal(&m_portal);
    }

    /// The list must be empty, and is empty afterwards.
    double fill(const QByteArray &bytes, int entries)
    {
        m_browser->bytes = bytes;
        QElapsedTimer clock;
        clock.start();
        m_page->RefreshFolderData();
        const double ms = milliseconds(clock);
        const bool isFilled = m_list->count() == entries;
        m_browser->bytes = "{}";
        m_page->RefreshFolderData();
        QApplication::processEvents();
        return isFilled ? ms : kFailed;
    }

private:
    FixedReply *m_browser;
    Portal_DropBox m_portal;
    std::unique_ptr<Portal_CloudBrowser> m_controller;
    Portal_CloudBrowserWindows *m_page = nullptr;
    QListWidget *m_list = nullptr;
};

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const int rounds = roundsFrom(argc, argv);
    const QTemporaryDir folder;
    KeldaOptions options;
    options.echo = false;
    options.userDir = folder.path();
    options.tasks.push_back({false, QStringLiteral("source \"TavrinCreateUI.ksc\"")});
    KeldaProgram host(options);
    if (!host.start())
        return 2;

    Page page;
    Report report(QStringLiteral("listing"));
    for (const int entries : {10000, 20000}) {
        const QByteArray bytes = reply(entries);
        report.addRatio(
            QLocale(QLocale::English).toString(entries) + QStringLiteral(" entries, against a bare QScriptEngine"),
            alternate(
                rounds, [&] { return page.fill(bytes, entries); }, [&] { return bareEngine(bytes, entries); }),
            QStringLiteral("ms"), {Target::Kind::AtMost, 1.5});
    }
    return report.exitStatus();
}
