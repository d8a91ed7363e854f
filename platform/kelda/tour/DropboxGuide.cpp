// Dropbox: the sign-in page is in the host's browser window; the service serves a folder on disk.

#include "tour/PortalGuide.h"

#include <QWebElement>
#include <QWebFrame>
#include <QWebView>

namespace {

const QPoint kBrowserPosition(60, 70); ///< in the main window

PortalGuide::Facts dropboxFacts()
{
    PortalGuide::Facts facts;
    facts.id = QStringLiteral("dropbox");
    facts.tab = QStringLiteral("Dropbox");
    facts.steps = QStringLiteral("sign-in list open-folder download import export upload").split(QLatin1Char(' '));
    facts.folder = QStringList{QStringLiteral("Models"), QStringLiteral("Textured")};
    facts.texturedModel = QStringLiteral("Painted barrel.glb");
    facts.largeModel = QStringLiteral("Large terrain.obj");
    facts.settings = QStringLiteral("TavrinSettings_DropBoxAppBrowser_Kelda");
    facts.signIn = {QStringLiteral("POST"), QStringLiteral("/1/oauth2/token")};
    facts.download = {QStringLiteral("GET"), QStringLiteral("/1/files/")};
    facts.upload = {QStringLiteral("POST"), QStringLiteral("/1/files_put/")};
    facts.replacement = facts.upload;
    return facts;
}

class DropboxGuide : public PortalGuide
{
public:
    DropboxGuide(Driver &driver, const CloudProcess &cloud)
        : PortalGuide(driver, cloud, cloud.dropboxFolder(), dropboxFacts())
    {}

    bool openSignInPage(CloudPage &page) override
    {
        // The page of an earlier sign-in may still be open; wait for the new one.
        bool loaded = !page.browser();
        QObject context;
        if (page.browser())
            QObject::connect(page.browser(), &QWebView::loadFinished, &context,
                             [&](bool ok) { loaded = loaded || ok; });
        const auto pageShown = [&] {
            return loaded && page.browser() &&
                   !page.browser()->page()->mainFrame()->findFirstElement(QStringLiteral("#allow")).isNull();
        };
        if (!page.clickLogin() || !m_driver.waitFor(pageShown, QStringLiteral("the sign-in page")))
            return false;
        page.browser()->window()->move(m_driver.mainWindow()->pos() + kBrowserPosition);
        return true;
    }

    bool signIn(CloudPage &page) override
    {
        const auto done = [&] {
            const QString text = m_driver.textOf(QStringLiteral("kCloudPortalLoginDone"));
            return page.browser() && page.browser()->page()->mainFrame()->toPlainText().contains(text);
        };
        const auto signedIn = [&] { return page.isSignedIn() && !page.entries().isEmpty(); };
        if (!m_driver.clickInPage(page.browser(), QStringLiteral("#allow")) ||
            !m_driver.waitFor(done, QStringLiteral("the last page of the sign-in")) ||
            !m_driver.waitFor(signedIn, QStringLiteral("the user's name and files")))
            return false;
        page.browser()->window()->close();
        return m_driver.waitFor([&] { return !page.browser(); }, QStringLiteral("the browser window to close"));
    }

    Pattern listing(const View &view) const override
    {
        QString target = QStringLiteral("/1/metadata/dropbox/");
        for (const QString &name : view.folder)
            target += QLatin1Char('/') + name;
        return {QStringLiteral("GET"), target + QLatin1Char('?')};
    }
};

} // namespace

std::unique_ptr<PortalGuide> makeDropboxGuide(Driver &driver, const CloudProcess &cloud)
{
    return std::make_unique<DropboxGuide>(driver, cloud);
}
