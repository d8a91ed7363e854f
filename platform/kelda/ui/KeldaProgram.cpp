#include "ui/KeldaProgram.h"

#include "host/KeldaHost.h"
#include "host/MenuModel.h"
#include "host/PluginManager.h"
#include "scene/SceneCommands.h"
#include "ui/BrowserWindow.h"
#include "ui/DialogCommands.h"
#include "ui/MainWindow.h"

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

/// Translates Qt's own texts, such as the buttons of message boxes, into \p language during the lifetime of \p owner.
/// If the translation is not installed, they stay English.
void translateQt(const QString &language, QObject *owner)
{
    auto *translator = new QTranslator(owner);
    if (translator->load(QStringLiteral("qtbase_") + language, QLibraryInfo::location(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(translator);
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
    translateQt(m_host->uiLanguage(), this);
    MainWindow::applyDarkStyle();
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
        error = QStringLiteral("cannot read the certificate file \"%1\": %2").arg(options.caFile, file.errorString());
        return false;
    }
    const QList<QSslCertificate> certificates = QSslCertificate::fromDevice(&file);
    if (certificates.isEmpty()) {
        error = QStringLiteral("the file \"%1\" has no certificate").arg(options.caFile);
        return false;
    }
    // This list replaces the system's list.
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setCaCertificates(QSslConfiguration::systemCaCertificates() + certificates);
    QSslConfiguration::setDefaultConfiguration(configuration);
    return true;
}

bool KeldaProgram::start()
{
    bool succeeded = true;
    for (const QString &file : qAsConst(m_options.plugIns))
        succeeded = loadPlugIn(file) && succeeded;
    succeeded = loadInstalledPlugIns() && succeeded;
    if (m_options.hasWindow())
        m_host->menus().rebuild();
    for (const KeldaOptions::Task &task : m_options.tasks) {
        if (m_quitting)
            break;
        succeeded = (task.isScript ? runScript(task.text) : runCommand(task.text)) && succeeded;
    }
    return succeeded;
}

int KeldaProgram::run()
{
    const bool succeeded = start();
    if (m_window && !m_options.quit && !m_quitting)
        QCoreApplication::exec();
    return succeeded ? m_exitStatus : 1;
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
    bool succeeded = true;
    const QDir folder(m_host->setup().location + QStringLiteral("/plug-ins"));
    for (const QFileInfo &file : folder.entryInfoList({QStringLiteral("*.so")}, QDir::Files, QDir::Name)) {
        if (!m_host->plugins().isLoaded(file.completeBaseName()))
            succeeded = loadPlugIn(file.filePath()) && succeeded;
    }
    return succeeded;
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
    line.remove(QLatin1Char('\r'));
    line.replace(QLatin1Char('\n'), QLatin1String("\\n"));
    std::fputs((prefix + line.toUtf8() + '\n').constData(), stdout);
    std::fflush(stdout);
}

#include "moc_KeldaProgram.cpp"
