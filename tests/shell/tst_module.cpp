// shell/tst_module.cpp
//
// The built plug-in module in the real host. The end of this process is part of the test: what a module leaves behind
// in the toolkit would crash it.

#include "host/KeldaHost.h"
#include "host/MenuModel.h"
#include "host/PluginManager.h"
#include "scene/FileOptions.h"
#include "scene/Scene.h"
#include "scene/SceneCommands.h"
#include "TavrinHelper.h"
#include "TavrinSettings.h"

#include <QDockWidget>
#include <QMainWindow>
#include <QRandomGenerator>
#include <QTabWidget>
#include <QtTest>

#include <memory>

namespace {

const char dockSettings[] = "CloudBrowser_Dock_Widget";

void writeFile(const QString &path, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}

QString randomText(QRandomGenerator &random)
{
    static const QString alphabet = QStringLiteral("\\\"\n\r\t'`$;{}()[] /%#abnrt0x\u00e4\u732b\u2028") + QChar(0x1b);
    QString text;
    for (quint32 left = random.bounded(12u); left > 0; --left)
        text += alphabet.at(static_cast<int>(random.bounded(static_cast<quint32>(alphabet.size()))));
    return text;
}

} // namespace

class TestModule : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        Tavrin::Settings(dockSettings).clear();
        m_errors.clear();
    }

    void cleanup()
    {
        m_host.reset();
        QVERIFY2(m_errors.isEmpty(), qPrintable(m_errors.join('\n')));
        QVERIFY(!dock());
        m_window.reset();
    }

    void quotedTextIsOneArgument()
    {
        Interpreter interpreter;
        std::vector<Value> received;
        interpreter.addCommand("take", [&](const CommandCall &call) {
            received = call.arguments;
            return Value();
        });
        QRandomGenerator random(20);
        QStringList texts{"a\"; print \"x", "ends with \\", "C:\\new\\table", "", "\\\"", "plain"};
        for (int i = 0; i < 500; ++i)
            texts << randomText(random);
        for (const QString &text : qAsConst(texts)) {
            const KString quoted = TavrinHelper::quoted(KQtUtil::toKString(text));
            interpreter.evaluate("take \"" + KQtUtil::toQString(quoted) + "\"");
            QCOMPARE(received.size(), std::size_t(1));
            QCOMPARE(received[0].toString(), text);
        }
        QCOMPARE(TavrinHelper::quoted("plain 'text' $HOME `x` /a/b").utf8(), "plain 'text' $HOME `x` /a/b");
    }

    void batchHostGetsNoPortals()
    {
        Tavrin::Settings(dockSettings).setWindowActive(true);
        startHost(KGlobal::kBatch);
        const QString download = m_dir->filePath("user/temp_cloud/Dropbox/cup.obj");
        writeFile(download, "a cup");
        const int widgets = QApplication::allWidgets().size();
        for (int round = 0; round < 2; ++round) {
            QVERIFY(load());
            QVERIFY(run("Tavrin -showportal;") && run("Tavrin;"));
            QCOMPARE(QApplication::allWidgets().size(), widgets);
            QVERIFY(QFileInfo::exists(download));
            QVERIFY(unload());
            QVERIFY(!m_host->interpreter().hasCommand("Tavrin"));
        }
    }

    void commandShowsTheDockOnce()
    {
        startHost(KGlobal::kInteractive);
        writeFile(m_dir->filePath("user/temp_cloud/Dropbox/.old/cup.obj"), "a cup");
        QVERIFY(load());
        QVERIFY(!dock());
        m_host->menus().rebuild();
        const auto entries = m_host->menus().entries("FileMenu");
        QCOMPARE(entries.size(), std::size_t(1));
        QCOMPARE(entries[0].label, QStringLiteral("Tavrin..."));

        QVERIFY(run("Tavrin;"));
        QVERIFY(!dock());
        QVERIFY(run(entries[0].command.toUtf8()));
        QPointer<QDockWidget> shown = dock();
        QVERIFY(shown && shown->isVisible());
        QCOMPARE(shown->windowTitle(), QStringLiteral("Tavrin"));
        auto *tabs = shown->findChild<QTabWidget *>("Portal_CloudBrowserDockWidget_tabWidget");
        QCOMPARE(tabs->count(), 1);
        QCOMPARE(tabs->tabText(0), QStringLiteral("Dropbox"));
        QVERIFY(!tabs->tabIcon(0).isNull());
        QVERIFY(!QFileInfo::exists(m_dir->filePath("user/temp_cloud")));
        writeFile(m_dir->filePath("user/temp_cloud/Dropbox/cup.obj"), "a download of this run");
        QVERIFY(run("Tavrin -spr;"));
        QVERIFY(QFileInfo::exists(m_dir->filePath("user/temp_cloud/Dropbox/cup.obj")));
        QCOMPARE(tabs->count(), 1);
        QCOMPARE(dock(), shown.data());

        QVERIFY(unload());
        QVERIFY(!shown);
        QVERIFY(!m_host->interpreter().hasCommand("Tavrin"));
        m_host->menus().rebuild();
        QVERIFY(m_host->menus().entries("FileMenu").empty());

        QVERIFY(load());
        QVERIFY(dock());
        QVERIFY(run("Tavrin -spr;"));
        QVERIFY(unload());
    }

    void dockReturnsWithTheNextLoad()
    {
        Tavrin::Settings(dockSettings).setWindowActive(true);
        startHost(KGlobal::kInteractive);
        QVERIFY(load());
        QVERIFY(dock());
        dock()->close();
        QVERIFY(unload() && load());
        QVERIFY(!dock());
    }

    void windowMayGoFirst()
    {
        startHost(KGlobal::kInteractive);
        QVERIFY(load());
        QVERIFY(run("Tavrin -spr;"));
        m_window.reset();
        QVERIFY(run("Tavrin -spr;"));
        QVERIFY(unload());

        openWindow();
        QVERIFY(load());
        QVERIFY(dock());
    }

    void textsComeFromTheHost()
    {
        writeFile(m_dir->filePath("location/scripts/strings/Tavrin_de.ksc"),
                  "setStringResource \"Tavrin\" \"kCloudPortalWindowLabel\" \"Wolkenregal\";\n"
                  "setStringResource \"Tavrin\" \"kCloudPortalMenu\" \"Wolkenregal...\";\n");
        startHost(KGlobal::kInteractive, "de_CH");
        QVERIFY(load());
        m_host->menus().rebuild();
        QCOMPARE(m_host->menus().entries("FileMenu").at(0).label, QStringLiteral("Wolkenregal..."));
        QVERIFY(run("Tavrin -spr;"));
        QCOMPARE(dock()->windowTitle(), QStringLiteral("Wolkenregal"));
    }

private:
    void startHost(KGlobal::KeldaState state, const QString &language = QString())
    {
        KeldaHost::Setup setup;
        setup.state = state;
        setup.location = m_dir->filePath("location");
        setup.userDir = m_dir->filePath("user");
        setup.uiLanguage = language;
        QDir().mkpath(setup.location);
        QVERIFY(QFile::link(SOURCE_FOLDER "/icons", setup.location + "/icons"));
        qputenv("KELDA_SCRIPT_PATH", SOURCE_FOLDER "/scripts");
        m_host = std::make_unique<KeldaHost>(setup);
        registerSceneCommands(*m_host, m_scene, m_options);
        connect(m_host.get(), &KeldaHost::messagePosted, this, [this](KHost::MessageKind kind, const QString &text) {
            if (kind == KHost::MessageKind::kError)
                m_errors << text;
        });
        if (state == KGlobal::kInteractive)
            openWindow();
    }
    void openWindow()
    {
        m_window = std::make_unique<QMainWindow>();
        m_window->show();
        m_host->setMainWindow(m_window.get());
    }
    bool run(const char *command) { return static_cast<bool>(KGlobal::executeCommand(command)); }
    bool load() { return static_cast<bool>(m_host->plugins().load(TAVRIN_MODULE)); }
    bool unload() { return static_cast<bool>(m_host->plugins().unload("Tavrin")); }
    QDockWidget *dock() const
    {
        return m_window ? m_window->findChild<QDockWidget *>("CloudPortalDockwidgetStatic") : nullptr;
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<QMainWindow> m_window;
    Scene m_scene;
    OptionStore m_options;
    std::unique_ptr<KeldaHost> m_host;
    QStringList m_errors;
};

QTEST_MAIN(TestModule)
#include "tst_module.moc"
