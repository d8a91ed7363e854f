// portals/tst_entry.cpp
//
// Loading and unloading by the entry points: their failures, and unloading at the worst moment.

#include "cloud/Portal_CloudBrowser.h"
#include "CloudFixture.h"
#include "Tavrin.h"

#include <QDockWidget>
#include <QMainWindow>
#include <QtTest>

#include <memory>

namespace {

const char portalIdentity[] = "DropBox_Portal_Unique_Identity_String";

} // namespace

class TestEntry : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        Tavrin::Settings("CloudBrowser_Dock_Widget").clear();
        m_fixture = std::make_unique<CloudFixture>();
        m_window = std::make_unique<QMainWindow>();
        m_window->show();
        m_fixture->host.setMainWindow(m_window.get());
    }

    void cleanup()
    {
        QVERIFY(!controller());
        m_window.reset();
        m_fixture.reset();
    }

    void failuresNameTheirStep()
    {
        RecordingHost &host = m_fixture->host;
        QVERIFY(!initializePlugin(KObject()));
        QVERIFY2(host.errors().last().startsWith("TavrinCmd - could not initialize plugin: "),
                 qPrintable(host.errors().last()));
        QVERIFY(!uninitializePlugin(KObject()));
        QVERIFY2(host.errors().last().startsWith("TavrinCmd - could not uninitialize plugin: "),
                 qPrintable(host.errors().last()));
        QVERIFY(host.commands().isEmpty());

        host.registerCommand(plugin(), "Tavrin", TavrinCmd::creator, TavrinCmd::createSyntax);
        QVERIFY(!initializePlugin(plugin()));
        QCOMPARE(host.errors().last(),
                 QStringLiteral("TavrinCmd - could not register 'Tavrin' command: the name is in use"));
        QCOMPARE(host.commands(), QStringList("TavrinInitStrings"));

        host.deregisterCommand(plugin(), "Tavrin");
        QVERIFY(!uninitializePlugin(plugin()));
        QCOMPARE(host.errors().last(),
                 QStringLiteral("TavrinCmd - could not deregister 'Tavrin' command: no such command"));
    }

    void hostIsAskedInOrder()
    {
        RecordingHost &host = m_fixture->host;
        host.setState(KGlobal::kBatch);
        QVERIFY(initializePlugin(plugin()));
        QCOMPARE(host.commands(),
                 (QStringList{"TavrinInitStrings", "eval ( \"source \\\"TavrinCreateUI.ksc\\\"\" );",
                              "callbacks -addCallback \"TavrinCreateUI\" -hook \"addItemToFileMenu\" -owner "
                              "\"TavrinPlugin\";"}));
        host.clear();
        QVERIFY(uninitializePlugin(plugin()));
        QCOMPARE(host.commands(),
                 (QStringList{"callbacks -removeCallback  \"TavrinCreateUI\" -hook \"addItemToFileMenu\" "
                              "-owner \"TavrinPlugin\";",
                              "TavrinDeleteUI;"}));
        QVERIFY(host.registeredCommands().isEmpty());
    }

    void unloadWaitsForTheRunningCall()
    {
        QVERIFY(initializePlugin(plugin()));
        showPortals();
        QPointer<QDockWidget> dock = m_window->findChild<QDockWidget *>();
        QVERIFY(dock);
        QVERIFY(!controller()->login());

        int refused = 0;
        connect(&m_fixture->cloud, &LocalCloud::requestServed, m_fixture.get(),
                [&] { refused += uninitializePlugin(plugin()) ? 0 : 1; });
        QVERIFY(!m_fixture->allow().isEmpty());
        QVERIFY(dock);
        QVERIFY(refused >= 2); // the exchange of the code, and the refresh of the page
        QCOMPARE(refused, m_fixture->requests().size());
        QVERIFY(m_fixture->host.errors().last().contains("still talking"));
        QVERIFY(controller()->isUserLoggedIn());

        QVERIFY(uninitializePlugin(plugin()));
        QVERIFY(!dock);
    }

    void sessionOfTheLastRunIsConfirmed()
    {
        Tavrin::Settings("CloudBrowser_Dock_Widget").setWindowActive(true);
        CloudFixture::storeToken(m_fixture->cloud.issueDropboxToken());
        m_fixture->putFile("/Work/cup.obj", "a cup");
        for (int round = 1; round <= 2; ++round) {
            m_fixture->cloud.clearRequests();
            QVERIFY(initializePlugin(plugin()));
            QVERIFY(controller());
            QCOMPARE(m_fixture->requests().value(0), QStringLiteral("GET /1/account/info/"));
            QVERIFY(m_fixture->requests().contains("GET /1/metadata/dropbox/?file_limit=10000&list=true"));
            QVERIFY(uninitializePlugin(plugin()));
        }
        QVERIFY(m_fixture->host.errors().isEmpty());
    }

private:
    KObject plugin() { return KObject(this); }
    void showPortals()
    {
        const std::unique_ptr<KPxCommand> command(m_fixture->host.createCommand("Tavrin"));
        KArgList arguments;
        arguments.append("-spr");
        QVERIFY(command->doIt(arguments));
        QVERIFY(controller());
    }
    Portal_CloudBrowser *controller() const { return Portal_CloudBrowser::GetInstance(portalIdentity); }

    std::unique_ptr<CloudFixture> m_fixture;
    std::unique_ptr<QMainWindow> m_window;
};

QTEST_MAIN(TestEntry)
#include "tst_entry.moc"
