// The folder view of a portal that lists: what is shown, what can be chosen, and where clicks lead.

#include "TestPortal.h"

#include "support/RecordingHost.h"

#include <QHelpEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QTabWidget>
#include <QToolBar>
#include <QToolButton>
#include <QToolTip>
#include <QtTest>

using Kind = TestItem::Kind;

class TestPage : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        m_service = TestService();
        m_service.fixedFolders = QStringList{"Fixed"};
        m_service.root() = {{"f", "a & b.obj"}, {"d", "Deep & far", Kind::Folder}, {"n", "Notes"}, {"x", "odd.xyz"}};
        m_service.folders["d"] = {{"dd", "Deeper", Kind::Folder}, {"1", "same.obj"}, {"2", "same.obj"}};
        m_host.answer("Tavrin_GetImportTranslatorFromFileExtension(\"obj\")", KCommandResult(KString("OBJ")));
        m_stage = std::make_unique<TestStage>(m_service);
    }

    void cleanup() { m_stage.reset(); }

    void foldersStandBeforeFilesAndOnlyFilesHaveToolTips()
    {
        const QStringList names = m_stage->names();
        QCOMPARE(names.size(), 5);
        QVERIFY(names.indexOf("Fixed") < 2 && names.indexOf("Deep & far") < 2);
        QCOMPARE(names.mid(2), QStringList({"a & b.obj", "Notes", "odd.xyz"}));
        QVERIFY(m_stage->row("Fixed")->toolTip().isEmpty());
        QCOMPARE(m_stage->row("Notes")->toolTip(), QString("id: n\nmark-up: <b>x</b>"));

        auto *list = m_stage->find<QListWidget>("ListOfFileFromCloud");
        const QPoint place = list->visualItemRect(m_stage->row("Notes")).center();
        QHelpEvent asked(QEvent::ToolTip, place, QPoint());
        QApplication::sendEvent(list->viewport(), &asked);
        QCOMPARE(QToolTip::text(), Qt::convertFromPlainText(m_stage->row("Notes")->toolTip()));
        QVERIFY(QToolTip::text().contains("&lt;b&gt;"));
        QToolTip::hideText();
    }

    void enteringAndLeavingAFolder()
    {
        doubleClick("Deep & far");
        QCOMPARE(m_stage->folderBar(), QStringList({"Top", "/", "Deep & far"}));
        doubleClick("Deeper");
        QCOMPARE(m_stage->folderBar(), QStringList({"Top", "/", "Deep & far", "/", "Deeper"}));
        QVERIFY(m_stage->find<QToolBar>("ParentFolderBar")->isEnabled());
        m_stage->page()->PreviousFolderClick();
        QCOMPARE(m_service.log.last(), QString("list d"));
        m_stage->page()->PreviousFolderClick();
        QCOMPARE(m_stage->folderBar(), QStringList{"Top"});
        QVERIFY(m_stage->names().contains("Fixed"));
        QVERIFY(!m_stage->find<QToolBar>("ParentFolderBar")->isEnabled());
        m_stage->page()->PreviousFolderClick();
        QCOMPARE(m_service.log.last(), QString("list root"));
    }

    void theMenuOfAFolderLeadsIntoItsSubFolders()
    {
        doubleClick("Deep & far");
        QCOMPARE(folderAction("Top")->menu()->actions().size(), 1); // what was listed there is not known any more
        m_stage->page()->PreviousFolderClick();
        QAction *top = folderAction("Top");
        QCOMPARE(top->menu()->actions().size(), 2);
        for (QAction *entry : top->menu()->actions()) {
            if (entry->text() == "Deep & far") {
                entry->trigger();
                break;
            }
        }
        QCOMPARE(m_service.log.last(), QString("list d"));
        QCOMPARE(m_stage->folderBar().last(), QString("Deep & far"));
        auto *bar = m_stage->find<QToolBar>("FolderBar");
        const auto *button = qobject_cast<QToolButton *>(bar->widgetForAction(folderAction("Deep & far")));
        QCOMPARE(button->text(), QString("Deep && far"));
    }

    void choice_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("importable");
        QTest::addColumn<QString>("field");
        QTest::newRow("a model") << "a & b.obj" << true << "a & b.obj";
        QTest::newRow("no extension") << "Notes" << false << "";
        QTest::newRow("no translator") << "odd.xyz" << false << "";
        QTest::newRow("a folder") << "Fixed" << false << "";
    }

    void choice()
    {
        QFETCH(QString, name);
        QFETCH(bool, importable);
        QFETCH(QString, field);
        m_stage->row("a & b.obj")->setSelected(true);
        QVERIFY(button("CloudImportButton")->isEnabled());
        m_stage->find<QListWidget>("ListOfFileFromCloud")->setCurrentItem(m_stage->row(name));
        QCOMPARE(button("CloudImportButton")->isEnabled(), importable);
        QCOMPARE(m_stage->find<QLineEdit>("CloudImportFileName")->text(), field);
    }

    void twoItemsOfOneNameStayTwoAndAFetchForgetsTheChoice()
    {
        doubleClick("Deep & far");
        auto *list = m_stage->find<QListWidget>("ListOfFileFromCloud");
        list->setCurrentRow(2);
        m_stage->page()->ImportClick();
        QCOMPARE(m_service.log.last(), QString("download 2"));
        m_stage->page()->RefreshFolderData();
        QVERIFY(!button("CloudImportButton")->isEnabled());
        m_stage->page()->ImportClick();
        QCOMPARE(m_service.count("download"), 1);
    }

    void emptyIdentifiersAreShown()
    {
        m_service.folders[""] = {{"", "", Kind::Folder}, {"", "inner.obj"}};
        m_service.root() = {{"", "nameless", Kind::Folder}};
        m_stage->page()->RefreshFolderData();
        doubleClick("nameless");
        QCOMPARE(m_stage->names(), QStringList({"", "inner.obj"}));
    }

    void aFetchThatFailsHalfWayShowsWhatCame()
    {
        m_service.succeeds = false;
        doubleClick("Deep & far");
        QCOMPARE(m_stage->names().size(), 3);
        QCOMPARE(m_stage->folderBar().last(), QString("Deep & far"));
    }

    void loggingOutAndIn()
    {
        auto *log = logButton();
        QCOMPARE(log->text(), QString("Logout (Ada & Co)"));
        m_stage->row("a & b.obj")->setSelected(true);
        log->click();
        QCOMPARE(log->text(), QString("Login"));
        QVERIFY(m_stage->names().isEmpty());
        QVERIFY(!m_stage->find<QListWidget>("ListOfFileFromCloud")->isEnabled());
        QVERIFY(!button("CloudImportButton")->isEnabled());
        QCOMPARE(m_stage->find<QLineEdit>("CloudImportFileName")->text(), QString());
        const int asked = m_service.count("list");
        m_stage->page()->RefreshFolderData();
        QCOMPARE(m_service.count("list"), asked);
        log->click();
        QCOMPARE(m_stage->names().size(), 5);
        QVERIFY(m_stage->find<QListWidget>("ListOfFileFromCloud")->isEnabled());
    }

    void closingTheDockForgetsTheFolderButNotTheList()
    {
        m_stage->row("a & b.obj")->setSelected(true);
        Portal_CloudBrowser::RaiseDockingWindow(true);
        m_stage->dock()->close();
        QVERIFY(m_stage->find<QListWidget>("ListOfFileFromCloud")->selectedItems().isEmpty());
        const int asked = m_service.count("list");
        m_stage->page()->PreviousFolderClick();
        m_stage->page()->SearchUpdate();
        m_stage->page()->RefreshFolderData();
        QCOMPARE(m_service.count("list"), asked);

        Portal_CloudBrowser::RaiseDockingWindow(true);
        settle();
        QCOMPARE(m_stage->names().size(), 5);
        doubleClick("Deep & far");
        QCOMPARE(m_stage->names().size(), 3);
    }

private:
    void doubleClick(const QString &name) { m_stage->page()->ListViewItemDoubleClick(m_stage->row(name)); }
    QPushButton *button(const char *name) { return m_stage->find<QPushButton>(name); }
    QPushButton *logButton()
    {
        for (auto *candidate : m_stage->page()->findChildren<QPushButton *>()) {
            if (candidate->text().startsWith("Log"))
                return candidate;
        }
        return nullptr;
    }
    QAction *folderAction(const QString &name)
    {
        for (QAction *action : m_stage->find<QToolBar>("FolderBar")->actions()) {
            if (action->text() == name)
                return action;
        }
        return nullptr;
    }

    RecordingHost m_host;
    TestService m_service;
    std::unique_ptr<TestStage> m_stage;
};

QTEST_MAIN(TestPage)
#include "tst_page.moc"
