// Search, page buttons and page sizes of a paged portal.

#include "TestPortal.h"

#include "support/RecordingHost.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest>

namespace {

const char *const kNumbered[] = {"Previous5",   "Previous4", "Previous3", "Previous2", "Previous1",
                                 "CurrentPage", "Next1",     "Next2",     "Next3",     "Next4"};

} // namespace

class TestPager : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        m_service = TestService();
        m_service.type = ICloudPortalApi::kPagedSearch;
        m_service.search = true;
        m_service.itemCount = 1000;
        m_stage = std::make_unique<TestStage>(m_service);
        m_service.log.clear();
    }

    void cleanup() { m_stage.reset(); }

    void buttons_data()
    {
        QTest::addColumn<int>("page");
        QTest::addColumn<int>("sizeIndex");
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("numbered");
        QTest::addColumn<QString>("previous");
        QTest::addColumn<QString>("next");
        QTest::newRow("first of three") << 1 << 2 << 130 << "[1] 2"
                                        << "<"
                                        << "Next >";
        QTest::newRow("third with 16") << 3 << 0 << 1000 << "1 2 [3] 4 5 6 7"
                                       << "< Previous"
                                       << "Next >";
        QTest::newRow("ninth with 16") << 9 << 0 << 1000 << "4 5 6 7 8 [9] 10 11 12 13"
                                       << "< Previous"
                                       << "Next >";
        QTest::newRow("the last counted item hides a page") << 1 << 0 << 32 << "[1]"
                                                            << "<"
                                                            << ">";
        QTest::newRow("nothing found") << 1 << 2 << 0 << "[1]"
                                       << "<"
                                       << ">";
        QTest::newRow("largest numbers") << 2147483647 << 2 << 2147483647
                                         << "2147483642 2147483643 2147483644 2147483645 2147483646 [2147483647]"
                                         << "< Previous"
                                         << ">";
        QTest::newRow("smallest numbers") << -2147483647 - 1 << 2 << -1
                                          << "[-2147483648] -2147483647 -2147483646 "
                                             "-2147483645 -2147483644"
                                          << "<"
                                          << "Next >";
    }

    void buttons()
    {
        QFETCH(int, page);
        QFETCH(int, sizeIndex);
        QFETCH(int, count);
        QFETCH(QString, numbered);
        m_service.page = page;
        m_service.itemCount = count;
        m_stage->find<QComboBox>("ItemsPerPage")->setCurrentIndex(sizeIndex);
        m_stage->page()->RefreshFolderData();

        QStringList shown;
        for (const char *name : kNumbered) {
            const auto *button = m_stage->find<QPushButton>(name);
            if (button->isHidden())
                QCOMPARE(button->text(), QString("."));
            else
                shown << (button->isEnabled() ? button->text() : '[' + button->text() + ']');
        }
        QCOMPARE(shown.join(' '), numbered);
        for (const char *name : {"PreviousPageButton", "NextPageButton"}) {
            const auto *button = m_stage->find<QPushButton>(name);
            QTEST(button->text(), QByteArray(name).startsWith('P') ? "previous" : "next");
            QCOMPARE(button->isEnabled(), button->text().size() > 1);
        }
    }

    void aPageOutsideTheCountIsRefused()
    {
        m_service.page = 0;
        m_stage->page()->SwitchPage(15);
        QCOMPARE(m_service.log, QStringList{});
        m_stage->page()->SwitchPage(14);
        m_stage->page()->SwitchPage(-15);
        m_stage->page()->SwitchPage(-1);
        m_stage->page()->SwitchPage(2147483647);
        QCOMPARE(m_service.log, QStringList({"search 15 64", "search 0 64"}));

        m_service.page = m_service.itemCount = 2147483647;
        m_stage->page()->RefreshFolderData();
        m_service.log.clear();
        m_stage->page()->SwitchPage(1);
        QCOMPARE(m_service.log, QStringList());
    }

    void everyButtonGoesItsWayAndAnotherPageSizeKeepsThePage()
    {
        m_service.page = 0;
        m_stage->page()->SwitchPage(6);
        auto *box = m_stage->find<QComboBox>("ItemsPerPage");
        QCOMPARE(box->currentText(), QString("show 64 items"));
        box->setCurrentIndex(2);
        box->setCurrentIndex(0);
        m_stage->page()->ItemPerPageClick(-1);
        QCOMPARE(m_service.log, QStringList({"search 7 64", "search 7 16", "search 7 16"}));
        const QList<QPair<const char *, int>> clicks = {
            {"Previous5", 2}, {"Next4", 6},          {"Previous4", 2},         {"Next3", 5},
            {"Previous3", 2}, {"Next2", 4},          {"Previous2", 2},         {"Next1", 3},
            {"Previous1", 2}, {"NextPageButton", 3}, {"PreviousPageButton", 2}};
        for (const auto &[name, page] : clicks) {
            m_stage->find<QPushButton>(name)->click();
            QCOMPARE(m_service.log.takeLast(), QStringLiteral("search %1 16").arg(page));
        }
    }

    void theSearchTextIsACriterionOfEveryFetch()
    {
        m_service.page = 0;
        m_stage->page()->SwitchPage(2);
        auto *field = m_stage->find<QLineEdit>("SearchTextInput");
        field->setText("R&B #1 100% <b>");
        QTest::keyClick(field, Qt::Key_Return);
        QCOMPARE(m_service.log.last(), QString("search 1 64"));
        QCOMPARE(m_service.lastCriteria[L"SearchString"], std::wstring(L"R&B #1 100% <b>"));
        field->clear();
        m_stage->page()->SearchUpdate();
        QCOMPARE(m_service.lastCriteria.count(L"SearchString"), std::size_t(0));
    }

    void aFailedSearchAndALogoutSwitchThePagerOff()
    {
        m_service.page = 9;
        m_stage->page()->RefreshFolderData();
        m_service.succeeds = false;
        m_stage->page()->SearchUpdate();
        checkPagerIsOff();
        m_service.log.clear();
        m_stage->page()->SwitchPage(1);
        QCOMPARE(m_service.log, QStringList());
        m_service.succeeds = true;
        m_stage->page()->RefreshFolderData();
        m_stage->page()->LogActionClick();
        checkPagerIsOff();
        QVERIFY(!m_stage->find<QLineEdit>("SearchTextInput")->isEnabled());
    }

private:
    void checkPagerIsOff()
    {
        for (const char *name : kNumbered)
            QVERIFY(m_stage->find<QPushButton>(name)->isHidden());
        QCOMPARE(m_stage->find<QPushButton>("NextPageButton")->text(), QString(">"));
        QCOMPARE(m_stage->find<QPushButton>("PreviousPageButton")->text(), QString("<"));
        QCOMPARE(m_stage->find<QPushButton>("CurrentPage")->text(), QString("|"));
    }

    RecordingHost m_host;
    TestService m_service;
    std::unique_ptr<TestStage> m_stage;
};

QTEST_MAIN(TestPager)
#include "tst_pager.moc"
