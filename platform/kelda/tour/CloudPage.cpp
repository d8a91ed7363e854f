#include "tour/CloudPage.h"

#include <QComboBox>
#include <QListWidget>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QToolBar>
#include <QWebView>

namespace {

const QLatin1String kDockName("CloudPortalDockwidgetStatic");
const QLatin1String kBrowserName("KeldaBrowserWindow");

} // namespace

QWidget *CloudPage::dock() const
{
    return m_driver.find(kDockName);
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

bool CloudPage::open()
{
    if (!m_driver.chooseFromMenu(QStringLiteral("File"), m_driver.textOf(QStringLiteral("kCloudPortalMenu"))))
        return false;
    if (!m_driver.waitFor([this] { return dock() != nullptr; }, QStringLiteral("the cloud browser to open")))
        return false;
    auto *tabs = dock()->findChild<QTabWidget *>();
    for (int i = 0; tabs && i < tabs->count(); ++i) {
        if (tabs->tabText(i) == m_portal)
            return tabs->currentIndex() == i || m_driver.click(tabs->tabBar(), tabs->tabBar()->tabRect(i).center());
    }
    return m_driver.fail(QStringLiteral("the dock has no tab ") + m_portal);
}

QWebView *CloudPage::browser() const
{
    const QWidget *window = m_driver.find(kBrowserName);
    return window ? window->findChild<QWebView *>() : nullptr;
}

bool CloudPage::clickLogin()
{
    return m_driver.click(part("CloudPortalLoginButton"));
}

QWebView *CloudPage::signInPage() const
{
    const QWidget *dialog = m_driver.find(QStringLiteral("CloudPortalLoginDialog"));
    return dialog ? dialog->findChild<QWebView *>() : nullptr;
}

QString CloudPage::loginText() const
{
    const auto *button = qobject_cast<QPushButton *>(part("CloudPortalLoginButton"));
    return button ? button->text() : QString();
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

bool CloudPage::findEntry(const QString &name, QPoint *position) const
{
    const QList<QListWidgetItem *> found =
        list() ? list()->findItems(name, Qt::MatchExactly) : QList<QListWidgetItem *>();
    if (found.isEmpty())
        return m_driver.fail(
            QStringLiteral("%1 is not in the list: %2").arg(name, entries().join(QStringLiteral(", "))));
    list()->scrollToItem(found.first());
    const QRect shown = list()->visualItemRect(found.first()) & list()->viewport()->rect();
    *position = QPoint(shown.left() + qMin(shown.width() / 2, 40), shown.center().y());
    return true;
}

bool CloudPage::openFolder(const QString &name)
{
    QPoint at;
    const QStringList before = entries();
    return findEntry(name, &at) && m_driver.doubleClick(list()->viewport(), at) &&
           m_driver.waitFor([&] { return entries() != before; }, QStringLiteral("the folder ") + name);
}

bool CloudPage::goUp()
{
    const QStringList before = entries();
    const auto *bar = qobject_cast<QToolBar *>(part("ParentFolderBar"));
    if (!bar)
        return m_driver.fail(QStringLiteral("the page has no parent-folder button"));
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
    return findEntry(name, &at) && m_driver.click(list()->viewport(), at);
}

bool CloudPage::import()
{
    return m_driver.click(part("CloudImportButton"));
}

bool CloudPage::importByDoubleClick(const QString &name)
{
    QPoint at;
    return findEntry(name, &at) && m_driver.doubleClick(list()->viewport(), at);
}

bool CloudPage::showTab(int index)
{
    auto *tabs = qobject_cast<QTabWidget *>(part("ImportExportTabs"));
    if (!tabs || index >= tabs->count())
        return m_driver.fail(QStringLiteral("the page has no tab %1 below the list").arg(index));
    return tabs->currentIndex() == index || m_driver.click(tabs->tabBar(), tabs->tabBar()->tabRect(index).center());
}

bool CloudPage::chooseTranslator(const QString &name)
{
    return m_driver.choose(qobject_cast<QComboBox *>(part("CloudExportFilter")), name);
}

bool CloudPage::setExportName(const QString &name)
{
    return m_driver.replace(part("CloudExportFileName"), name);
}

bool CloudPage::showExportOptions()
{
    return m_driver.click(part("CloudExportOptionsButton"));
}

bool CloudPage::exportAll()
{
    return m_driver.click(part("CloudExportAllButton"));
}
