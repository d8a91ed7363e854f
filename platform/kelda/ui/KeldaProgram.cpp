#include "ui/KeldaProgram.h"

#include "host/KeldaHost.h"
#include "host/MenuModel.h"
#include "host/PluginManager.h"
#include "scene/SceneCommands.h"
#include "ui/BrowserWindow.h"
#include "ui/CommandText.h"
#include "ui/ConfirmDialog.h"
#include "ui/MainWindow.h"
#include "ui/OptionBox.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLibraryInfo>
#include <QNetworkProxyFactory>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QStandardPaths>
#include <QTranslator>

#include <cstdio>

namespace {

KeldaHost::Setup setupFrom(const KeldaOptions &options)
{
    KeldaHost::Setup setup;
    setup.state = options.mode;
    setup.location = options.location.isEmpty() ? KeldaOptions::findLocation(QCoreApplication::applicationDirPath())
                                                : QDir(options.location).absolutePath();
    setup.userDir = options.userDir.isEmpty()
                        ? QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/kelda"
                        : QDir(options.userDir).absolutePath();
    return setup;
}

const char *prefixOf(KHost::MessageKind kind)
{
    if (kind == KHost::MessageKind::kError)
        return "error: ";
    return kind == KHost::MessageKind::kWarning ? "warning: " : "info: ";
}

/// Gives the toolkit's own words, such as those on the buttons of a message box, in \p language while \p owner lives.
/// Where no such table is installed they stay English.
void translateToolkit(const QString &language, QObject *owner)
{
    auto *words = new QTranslator(owner);
    if (words->load(QStringLiteral("qtbase_") + language, QLibraryInfo::location(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(words);
}

} // namespace

KeldaProgram::KeldaProgram(const KeldaOptions &options)
    : m_options(options), m_host(std::make_unique<KeldaHost>(setupFrom(options)))
{
    if (options.echo) {
        connect(m_host.get(), &KeldaHost::messagePosted, this,
                [this](KHost::MessageKind kind, const QString &text) { print(prefixOf(kind), text); });
    }
    connect(m_host.get(), &KeldaHost::quitRequested, this, &KeldaProgram::quit);
    registerSceneCommands(*m_host, m_scene, m_fileOptions);
    registerOptionBoxCommands(*m_host, m_fileOptions);
    registerConfirmDialog(*m_host);
    if (options.internalBrowser)
        m_browser = std::make_unique<InternalBrowser>();
    if (options.hasWindow())
        buildWindow();
}

KeldaProgram::~KeldaProgram()
{
    m_host->plugins().unloadAll();
    m_browser.reset();
    if (m_window)
        m_window->disconnect(this);
    delete m_window;
    m_host.reset();
}

MainWindow *KeldaProgram::window() const
{
    return m_window;
}

void KeldaProgram::buildWindow()
{
    translateToolkit(m_host->uiLanguage(), this);
    MainWindow::applyDarkLook();
    BrowserWindow::prepareWebPages();
    QApplication::setQuitOnLastWindowClosed(false);
    m_window = new MainWindow(*m_host, m_scene);
    m_host->setMainWindow(m_window);
    connect(m_window, &MainWindow::closed, this, [this] { quit(); });
    connect(m_window, &QObject::destroyed, this, [this] { quit(); });
    m_window->show();
}

bool KeldaProgram::prepareNetwork(const KeldaOptions &options, QString &error)
{
    QNetworkProxyFactory::setUseSystemConfiguration(true);
    if (options.caFile.isEmpty())
        return true;
    QFile file(options.caFile);
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("cannot read the authority file \"%1\": %2").arg(options.caFile, file.errorString());
        return false;
    }
    const QList<QSslCertificate> certificates = QSslCertificate::fromDevice(&file);
    if (certificates.isEmpty()) {
        error = QStringLiteral("the authority file \"%1\" holds no certificate").arg(options.caFile);
        return false;
    }
    // Spelled out: any list that is set replaces the system's.
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setCaCertificates(QSslConfiguration::systemCaCertificates() + certificates);
    QSslConfiguration::setDefaultConfiguration(configuration);
    return true;
}

bool KeldaProgram::start()
{
    bool held = true;
    for (const QString &file : qAsConst(m_options.plugIns))
        held = loadPlugIn(file) && held;
    held = loadInstalledPlugIns() && held;
    if (m_options.hasWindow())
        m_host->menus().rebuild();
    for (const KeldaOptions::Task &task : m_options.tasks) {
        if (m_quitting)
            break;
        held = (task.isScript ? runScript(task.text) : runCommand(task.text)) && held;
    }
    return held;
}

int KeldaProgram::run()
{
    const bool held = start();
    if (m_window && !m_options.quit && !m_quitting)
        QCoreApplication::exec();
    return held ? m_exitStatus : 1;
}

bool KeldaProgram::loadPlugIn(const QString &file)
{
    const KStatus status = m_host->plugins().load(file);
    if (!status)
        m_host->reportFailure(KQtUtil::toQString(status.errorString()));
    return static_cast<bool>(status);
}

bool KeldaProgram::loadInstalledPlugIns()
{
    bool held = true;
    const QDir folder(m_host->setup().location + QStringLiteral("/plug-ins"));
    for (const QFileInfo &file : folder.entryInfoList({QStringLiteral("*.so")}, QDir::Files, QDir::Name)) {
        if (!m_host->plugins().isLoaded(file.completeBaseName()))
            held = loadPlugIn(file.filePath()) && held;
    }
    return held;
}

bool KeldaProgram::runCommand(const QString &text)
{
    Value result;
    if (!m_host->run(text, result, true))
        return false;
    if (!result.isNone())
        print("result: ", result.toString());
    return true;
}

bool KeldaProgram::runScript(const QString &file)
{
    Value ignored;
    const QString path = QFileInfo(file).absoluteFilePath();
    return static_cast<bool>(m_host->run(QStringLiteral("source ") + quotedArgument(path), ignored, true));
}

void KeldaProgram::quit(int exitStatus)
{
    if (!m_quitting)
        m_exitStatus = exitStatus;
    m_quitting = true;
    QCoreApplication::exit(exitStatus);
}

void KeldaProgram::print(const char *prefix, const QString &text) const
{
    if (!m_options.echo)
        return;
    QString line = text;
    line.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    line.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    line.replace(QLatin1Char('\n'), QLatin1String("\\n"));
    std::fputs((prefix + line.toUtf8() + '\n').constData(), stdout);
    std::fflush(stdout);
}
