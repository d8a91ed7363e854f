#include "tour/CloudPage.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDockWidget>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QStyle>
#include <QTabBar>
#include <QTabWidget>
#include <QToolBar>
#include <QToolButton>
#include <QWebElement>
#include <QWebFrame>
#include <QWebPage>
#include <QWebView>

namespace {

const QLatin1String dockName("CloudPortalDockwidgetStatic");
const QLatin1String browserName("KeldaBrowserWindow");

} // namespace

CloudPage::CloudPage(Driver &driver, const QString &portal) : m_driver(driver), m_portal(portal) {}

QWidget *CloudPage::dock() const
{
    return m_driver.find(dockName);
}

QWidget *CloudPage::page() const
{
    return m_driver.find(QStringLiteral("Portal_CloudBrowserWindows_") + m_portal, dock());
}

QWidget *CloudPage::part(const char *name) const
{
    return m_driver.find(QString::fromLatin1(name), page());
}

QListWidget *CloudPage::list() const
{
    return qobject_cast<QListWidget *>(part("ListOfFileFromCloud"));
}

QPushButton *CloudPage::loginButton() const
{
    return qobject_cast<QPushButton *>(part("CloudPortalLoginButton"));
}

bool CloudPage::open()
{
    if (!m_driver.chooseFromMenu(QStringLiteral("File"), m_driver.textOf(QStringLiteral("kCloudPortalMenu"))))
        return false;
    if (!m_driver.waitFor([this] { return isOpen(); }, QStringLiteral("the cloud browser to open")))
        return false;
    auto *tabs = dock()->findChild<QTabWidget *>();
    for (int i = 0; tabs && i < tabs->count(); ++i) {
        if (tabs->tabText(i) == m_portal)
            return tabs->currentIndex() == i || m_driver.click(tabs->tabBar(), tabs->tabBar()->tabRect(i).center());
    }
    return m_driver.fail(QStringLiteral("there is no tab ") + m_portal);
}

bool CloudPage::widen(int pixels)
{
    m_driver.settle();
    const QRect place = dock() ? dock()->geometry() : QRect();
    const QPoint edge(place.left() - 3, place.center().y());
    return m_driver.drag(m_driver.mainWindow(), edge, edge + QPoint(place.width() - pixels, 0)) &&
           (qAbs(dock()->width() - pixels) < 10 || m_driver.fail(QStringLiteral("the dock kept its width")));
}

bool CloudPage::closeDock()
{
    if (!isOpen())
        return m_driver.fail(QStringLiteral("the dock is not open"));
    QWidget *button = m_driver.find(QStringLiteral("qt_dockwidget_closebutton"), dock());
    if (button && !m_driver.click(button))
        return false;
    if (!button)
        dock()->close(); // floating, it may have a frame of the window system, whose button this is
    return m_driver.waitFor([this] { return !isOpen(); }, QStringLiteral("the dock to close"));
}

QWebView *CloudPage::browser() const
{
    const QWidget *window = m_driver.find(browserName);
    return window ? window->findChild<QWebView *>() : nullptr;
}

bool CloudPage::clickLogin()
{
    return m_driver.click(loginButton());
}

QWebView *CloudPage::signInPage() const
{
    const QWidget *dialog = m_driver.find(QStringLiteral("CloudPortalLoginDialog"));
    return dialog ? dialog->findChild<QWebView *>() : nullptr;
}

bool CloudPage::askToSignIn()
{
    // An earlier sign-in's page may still be shown, with buttons that belong to that sign-in.
    bool loaded = !browser();
    QObject context;
    if (browser())
        QObject::connect(browser(), &QWebView::loadFinished, &context, [&](bool ok) { loaded = loaded || ok; });
    const auto pageShown = [&] {
        return loaded && browser() &&
               !browser()->page()->mainFrame()->findFirstElement(QStringLiteral("#allow")).isNull();
    };
    return clickLogin() && m_driver.waitFor(pageShown, QStringLiteral("the sign-in page"));
}

bool CloudPage::allow()
{
    const auto done = [this] {
        const QString end = m_driver.textOf(QStringLiteral("kCloudPortalLoginDone"));
        return browser() && browser()->page()->mainFrame()->toPlainText().contains(end);
    };
    const auto signedIn = [this] { return isSignedIn() && !entries().isEmpty(); };
    if (!m_driver.clickInPage(browser(), QStringLiteral("#allow")) ||
        !m_driver.waitFor(done, QStringLiteral("the page that ends the sign-in")) ||
        !m_driver.waitFor(signedIn, QStringLiteral("the user's name and files")))
        return false;
    browser()->window()->close();
    return m_driver.waitFor([this] { return !browser(); }, QStringLiteral("the browser window to close"));
}

bool CloudPage::deny()
{
    return m_driver.clickInPage(browser(), QStringLiteral("#deny"));
}

bool CloudPage::logOut()
{
    return isSignedIn() && m_driver.click(loginButton()) &&
           m_driver.waitFor([this] { return !isSignedIn(); }, QStringLiteral("the end of the session"));
}

QString CloudPage::loginText() const
{
    return loginButton() ? loginButton()->text() : QString();
}

bool CloudPage::isSignedIn() const
{
    return loginText().startsWith(m_driver.textOf(QStringLiteral("kCloudPortalLogOut")));
}

QStringList CloudPage::entries() const
{
    QStringList names;
    for (int row = 0; list() && row < list()->count(); ++row)
        names << list()->item(row)->text();
    return names;
}

bool CloudPage::isListEnabled() const
{
    return list() && list()->isEnabled();
}

QListWidgetItem *CloudPage::shownEntry(const QString &name) const
{
    const QList<QListWidgetItem *> found =
        list() ? list()->findItems(name, Qt::MatchExactly) : QList<QListWidgetItem *>();
    if (found.isEmpty())
        return nullptr;
    list()->scrollToItem(found.first());
    return found.first();
}

bool CloudPage::pointTo(const QString &name, QPoint *at) const
{
    QListWidgetItem *entry = shownEntry(name);
    if (!entry)
        return m_driver.fail(
            QStringLiteral("%1 is not in the list: %2").arg(name, entries().join(QStringLiteral(", "))));
    const QRect shown = list()->visualItemRect(entry) & list()->viewport()->rect();
    *at = QPoint(shown.left() + qMin(shown.width() / 2, 40), shown.center().y());
    return true;
}

bool CloudPage::openFolder(const QString &name)
{
    QPoint at;
    const QStringList before = entries();
    return pointTo(name, &at) && m_driver.doubleClick(list()->viewport(), at) &&
           m_driver.waitFor([&] { return entries() != before; }, QStringLiteral("the folder ") + name);
}

QList<QToolButton *> CloudPage::pathButtons() const
{
    QList<QToolButton *> buttons;
    for (auto *bar : page() ? page()->findChildren<QToolBar *>() : QList<QToolBar *>()) {
        for (QAction *action : bar->actions()) {
            auto *button = qobject_cast<QToolButton *>(bar->widgetForAction(action));
            if (button && button->isVisible() && !button->text().isEmpty())
                buttons << button;
        }
    }
    return buttons;
}

QStringList CloudPage::path() const
{
    QStringList names;
    for (const QToolButton *button : pathButtons())
        names << button->text().remove(QLatin1Char('&'));
    return names;
}

bool CloudPage::openFromPath(const QString &folder, const QString &child)
{
    const QStringList before = entries();
    return m_driver.waitFor([&] { return path().contains(folder); }, folder + QStringLiteral(" in the path")) &&
           m_driver.chooseFromButton(pathButtons()[path().indexOf(folder)], child) &&
           m_driver.waitFor([&] { return entries() != before; }, QStringLiteral("the folder ") + child);
}

bool CloudPage::goUp()
{
    const QStringList before = entries();
    const auto *bar = qobject_cast<QToolBar *>(part("ParentFolderBar"));
    if (!bar)
        return m_driver.fail(QStringLiteral("there is no parent-folder button"));
    return m_driver.click(bar->widgetForAction(bar->actions().value(0))) &&
           m_driver.waitFor([&] { return entries() != before; }, QStringLiteral("the parent folder"));
}

bool CloudPage::search(const QString &text)
{
    return m_driver.replace(part("SearchTextInput"), text, Qt::Key_Return);
}

bool CloudPage::nextPage()
{
    return m_driver.click(part("NextPageButton"));
}

bool CloudPage::select(const QString &name)
{
    QPoint at;
    return pointTo(name, &at) && m_driver.click(list()->viewport(), at);
}

QString CloudPage::chosenFile() const
{
    const QWidget *button = part("CloudImportButton");
    const auto *field = button ? button->parentWidget()->findChild<QLineEdit *>() : nullptr;
    return field ? field->text() : QString();
}

bool CloudPage::canImport() const
{
    const QWidget *button = part("CloudImportButton");
    return button && button->isEnabled();
}

bool CloudPage::import()
{
    return m_driver.click(part("CloudImportButton"));
}

bool CloudPage::importByDoubleClick(const QString &name)
{
    QPoint at;
    return pointTo(name, &at) && m_driver.doubleClick(list()->viewport(), at);
}

bool CloudPage::setShowOptions(bool on)
{
    QWidget *button = part("CloudImportButton");
    auto *box = button ? button->parentWidget()->findChild<QCheckBox *>() : nullptr;
    if (!box)
        return m_driver.fail(QStringLiteral("there is no box for the import options"));
    if (box->isChecked() != on && !m_driver.click(box))
        return false;
    return box->isChecked() == on || m_driver.fail(QStringLiteral("the box for the import options did not change"));
}

bool CloudPage::showTab(int index)
{
    auto *tabs = qobject_cast<QTabWidget *>(part("ImportExportTabs"));
    if (!tabs || index >= tabs->count())
        return m_driver.fail(QStringLiteral("there is no such tab below the list"));
    return tabs->currentIndex() == index || m_driver.click(tabs->tabBar(), tabs->tabBar()->tabRect(index).center());
}

QComboBox *CloudPage::translatorBox() const
{
    return qobject_cast<QComboBox *>(part("CloudExportFilter"));
}

QStringList CloudPage::translators() const
{
    const QComboBox *box = translatorBox();
    QStringList names;
    for (int i = 0; box && i < box->count(); ++i)
        names << box->itemText(i);
    return names;
}

bool CloudPage::chooseTranslator(const QString &name)
{
    return m_driver.choose(translatorBox(), name);
}

bool CloudPage::setExportName(const QString &name)
{
    return m_driver.replace(part("CloudExportFileName"), name);
}

QString CloudPage::exportName() const
{
    auto *field = qobject_cast<QLineEdit *>(part("CloudExportFileName"));
    return field ? field->text() : QString();
}

bool CloudPage::showExportOptions()
{
    return m_driver.click(part("CloudExportOptionsButton"));
}

bool CloudPage::exportAll()
{
    return m_driver.click(part("CloudExportAllButton"));
}
