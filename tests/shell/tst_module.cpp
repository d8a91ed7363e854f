// The built plug-in module in the real host. The end of this process is part of the test: a module that leaves objects
// in Qt crashes it.

#include "host/KeldaHost.h"
#include "host/MenuModel.h"
#include "host/PluginManager.h"
#include "scene/FileOptions.h"
#include "scene/Scene.h"
#include "scene/SceneCommands.h"
#include "support/TestFiles.h"
#include "TavrinHelper.h"
#include "TavrinSettings.h"
#include "TavrinStrings.h"

#include <QtTest>
#include <QtWidgets>

static const char kDockSettings[] = "CloudBrowser_Dock_Widget";

/// Records the registered strings.
class RegisteringHost : public KeldaHost
{
public:
    using KeldaHost::KeldaHost;
    KStatus registerString(const KStringResourceId &id) override
    {
        ids.push_back(id);
        return KeldaHost::registerString(id);
    }
    std::vector<KStringResourceId> ids;
};

class TestModule : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        m_download = m_dir->filePath("user/temp_cloud/Dropbox/cup.obj");
        writeFile(m_download, "a cup of the last run");
        Tavrin::Settings(kDockSettings).clear();
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
        QStringList received;
        interpreter.addCommand("take", [&](const CommandCall &call) {
            for (const Value &argument : call.arguments)
                received << argument.toString();
            return Value();
        });
        const QString alphabet = QString::fromUtf8("\\\"\n\r\t'`$;{}()[] /%#abnrt0x\u00e4\u732b\u2028\x1b");
        QStringList texts{"a\"; print \"x", "ends with \\", "C:\\new\\table", "", "plain 'text' $HOME `x`"};
        for (const QChar first : alphabet)
            for (const QChar second : alphabet)
                texts << QString(first) + second;
        for (const QString &text : qAsConst(texts)) {
            try {
                interpreter.evaluate("take \"" + KQtUtil::toQString(TavrinHelper::quoted(KQtUtil::toKString(text))) +
                                     '"');
            } catch (const ScriptError &error) {
                QFAIL(qPrintable(text + ": " + error.message()));
            }
        }
        QCOMPARE(received, texts);
    }

    void batchHostHasNoPortals()
    {
        Tavrin::Settings(kDockSettings).setWindowActive(true);
        startHost(KGlobal::kBatch);
        const int widgets = QApplication::allWidgets().size();
        QVERIFY(load());
        QVERIFY(run("Tavrin -showportal;"));
        QCOMPARE(QApplication::allWidgets().size(), widgets);
        QVERIFY(QFileInfo::exists(m_download));
        QVERIFY(unload());
    }

    void commandShowsTheDockOnce()
    {
        startHost(KGlobal::kInteractive);
        QVERIFY(load());
        QVERIFY(run("Tavrin;"));
        QVERIFY(!dock());
        QCOMPARE(menu().size(), std::size_t(1));
        QCOMPARE(menu()[0].label, QStringLiteral("Tavrin..."));
        QVERIFY(run(menu()[0].command.toUtf8()));
        const QPointer<QDockWidget> shown = dock();
        QVERIFY(shown);
        QVERIFY(shown->isVisible());
        QCOMPARE(shown->windowTitle(), QString("Tavrin"));
        const auto *tabs = shown->findChild<QTabWidget *>("Portal_CloudBrowserDockWidget_tabWidget");
        QStringList portals;
        for (int tab = 0; tab < tabs->count(); ++tab)
            portals << (tabs->tabIcon(tab).isNull() ? QString() : tabs->tabText(tab));
        QCOMPARE(portals, QStringList({"Zephal", "Plyx", "Dropbox"}));
        QVERIFY(!QFileInfo::exists(m_dir->filePath("user/temp_cloud")));

        writeFile(m_download, "a download of this run");
        QVERIFY(run("Tavrin -spr;"));
        QCOMPARE(tabs->count(), 3);
        QCOMPARE(dock(), shown.data());
        QVERIFY(QFileInfo::exists(m_download));
    }

    void dockIsOpenAfterLoadingIfItWasAtUnloading()
    {
        startHost(KGlobal::kInteractive);
        QVERIFY(load());
        QVERIFY(run("Tavrin -spr;"));
        QVERIFY(unload());
        QVERIFY(!dock());
        QVERIFY(menu().empty());
        QVERIFY(!m_host->interpreter().hasCommand("Tavrin"));
        QVERIFY(load());
        QVERIFY(dock());
        QVERIFY(run("Tavrin -spr;"));
        dock()->close();
        QVERIFY(unload());
        QVERIFY(load());
        QVERIFY(!dock());

        QVERIFY(run("Tavrin -spr;"));
        m_window.reset(); // and with it the dock
        QVERIFY(run("Tavrin -spr;"));
        QVERIFY(unload());
        openWindow();
        QVERIFY(load());
        QVERIFY(dock());
    }

    void everyTextExistsInTheUsersLanguage()
    {
        const QStringList sameInEnglish{"kCloudPortalWindowLabel", "kProgressPerSecond"};
        startHost(KGlobal::kInteractive, "de_CH");
        QVERIFY(load());
        QVERIFY(run("Tavrin -spr;"));
        QVERIFY(m_host->ids.size() > 50);
        for (const KStringResourceId &id : m_host->ids) {
            const QString text = KQtUtil::toQString(TavrinStrings::getString(id));
            const QString english = KQtUtil::toQString(id.defaultText());
            QVERIFY2((text == english) == sameInEnglish.contains(id.key().utf8()), id.key().utf8());
            QVERIFY2(!text.isEmpty(), id.key().utf8());
            QVERIFY2(text.endsWith(' ') == english.endsWith(' '), id.key().utf8());
            QVERIFY2(!text.contains('%'), id.key().utf8());
        }
        QCOMPARE(menu()[0].label, QStringLiteral("Tavrin ..."));
        QStringList labels;
        for (const QPushButton *button : dock()->findChildren<QPushButton *>())
            labels << button->text();
        QVERIFY(labels.contains("Anmelden"));
    }

private:
    void startHost(KGlobal::KeldaState state, const QString &language = QString())
    {
        KeldaHost::Setup setup;
        setup.state = state;
        setup.uiLanguage = language;
        setup.location = m_dir->filePath("location");
        setup.userDir = m_dir->filePath("user");
        QDir().mkpath(setup.location);
        for (const char *part : {"/icons", "/scripts"})
            QVERIFY(QFile::link(QString(SOURCE_FOLDER) + part, setup.location + part));
        m_host = std::make_unique<RegisteringHost>(setup);
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
    std::vector<MenuModel::Entry> menu()
    {
        m_host->menus().rebuild();
        return m_host->menus().entries("FileMenu");
    }
    bool run(const char *command) { return static_cast<bool>(KGlobal::executeCommand(command)); }
    bool load() { return static_cast<bool>(m_host->plugins().load(TAVRIN_MODULE)); }
    bool unload() { return static_cast<bool>(m_host->plugins().unload("Tavrin")); }
    QDockWidget *dock() const { return m_window ? m_window->findChild<QDockWidget *>() : nullptr; }

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_download;
    std::unique_ptr<QMainWindow> m_window;
    Scene m_scene;
    OptionStore m_options;
    std::unique_ptr<RegisteringHost> m_host;
    QStringList m_errors;
};

QTEST_MAIN(TestModule)
#include "tst_module.moc"
