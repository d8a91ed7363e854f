// portals/tst_entry.cpp
//
// Loading and unloading by the entry points: the order of their steps, their failures, and unloading during a call.

#include "cloud/Portal_CloudBrowser.h"
#include "PortalTest.h"
#include "Tavrin.h"
#include "TavrinStrings.h"

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
        host.setText("kPluginInitializeError", "a text that is not registered yet: ");
        QVERIFY(!initializePlugin(KObject()));
        QVERIFY(!uninitializePlugin(KObject()));
        QCOMPARE(host.commands(), QStringList());
        host.registerCommand(m_plugin, "Tavrin", TavrinCmd::creator, TavrinCmd::createSyntax);
        QVERIFY(!initializePlugin(m_plugin));
        QCOMPARE(host.commands(), QStringList("TavrinInitStrings"));
        host.deregisterCommand(m_plugin, "Tavrin");
        QVERIFY(!uninitializePlugin(m_plugin));

        const QRegularExpression steps("^TavrinCmd - could not initialize plugin: .*\n"
                                       "TavrinCmd - could not uninitialize plugin: .*\n"
                                       "TavrinCmd - could not register 'Tavrin' command: the name is in use.*\n"
                                       "TavrinCmd - could not deregister 'Tavrin' command: no such command.*$");
        QVERIFY2(steps.match(host.errors().join('\n')).hasMatch(), qPrintable(host.errors().join('\n')));
    }

    void unloadWaitsForTheRunningCall()
    {
        QVERIFY(initializePlugin(m_plugin));
        const std::unique_ptr<KPxCommand> command(m_fixture->host.createCommand("Tavrin"));
        KArgList arguments;
        arguments.append("-spr");
        QVERIFY(command->doIt(arguments));
        QPointer<QDockWidget> dock = m_window->findChild<QDockWidget *>();
        QVERIFY(dock);
        QVERIFY(controller());
        QVERIFY(!controller()->login());

        int refused = 0;
        connect(&m_fixture->cloud, &LocalCloud::requestServed, m_fixture.get(),
                [&] { refused += uninitializePlugin(m_plugin) ? 0 : 1; });
        QVERIFY(m_fixture->allow());
        QVERIFY(refused >= 2); // the exchange of the code, and the refresh of the page
        QCOMPARE(refused, m_fixture->requests().size());
        QVERIFY(m_fixture->host.errors().last().contains(TavrinStrings::text(TavrinStrings::kPluginBusy)));
        QVERIFY(dock);
        QVERIFY(controller()->isUserLoggedIn());
        QVERIFY(uninitializePlugin(m_plugin));
        QVERIFY(!dock);
    }

private:
    static Portal_CloudBrowser *controller()
    {
        return Portal_CloudBrowser::GetInstance("DropBox_Portal_Unique_Identity_String");
    }

    const KObject m_plugin{this};
    std::unique_ptr<CloudFixture> m_fixture;
    std::unique_ptr<QMainWindow> m_window;
};

QTEST_MAIN(TestEntry)
#include "tst_entry.moc"
