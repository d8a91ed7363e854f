#include "openkelda/host.h"

namespace {

KHost *installedHost = nullptr;

} // namespace

KHost::~KHost()
{
    if (installedHost == this)
        installedHost = nullptr;
}

KHost *KHost::instance()
{
    return installedHost;
}

void KHost::install(KHost *host)
{
    installedHost = host;
}

KStatus KStatus::failure(const KString &reason)
{
    KStatus status;
    status.m_success = false;
    status.m_reason = reason;
    return status;
}

QString KQtUtil::toQString(const KString &text)
{
    return QString::fromUtf8(text.utf8());
}

KString KQtUtil::toKString(const QString &text)
{
    return KString(text.toUtf8().constData());
}

QWidget *KQtUtil::mainWindow()
{
    KHost *host = KHost::instance();
    return host ? host->mainWindow() : nullptr;
}

KPxCommand::~KPxCommand() = default;

KStatus KPxCommand::undoIt()
{
    return KStatus::failure("the command cannot be undone");
}

KStatus KPxCommand::redoIt()
{
    return KStatus::failure("the command cannot be redone");
}

bool KPxCommand::isUndoable() const
{
    return false;
}

bool KPxCommand::hasSyntax() const
{
    return false;
}

KFnPlugin::KFnPlugin(KObject plugin, const char *vendor, const char *version, const char *requiredApi, KStatus *status)
    : m_plugin(plugin)
{
    KHost *host = KHost::instance();
    if (!host)
        m_status = KStatus::failure("this process has no host that loads plug-ins");
    else if (plugin.isNull())
        m_status = KStatus::failure("the plug-in object is null");
    else
        m_status = host->describePlugin(plugin, vendor, version, requiredApi);
    if (status)
        *status = m_status;
}

KStatus KFnPlugin::registerUIStrings(KStatus (*registration)(), const char *procedure)
{
    return m_status ? KHost::instance()->registerUIStrings(m_plugin, registration, procedure) : m_status;
}

KStatus KFnPlugin::registerCommand(const KString &name, void *(*creator)(), KSyntax (*syntax)())
{
    return m_status ? KHost::instance()->registerCommand(m_plugin, name, creator, syntax) : m_status;
}

KStatus KFnPlugin::deregisterCommand(const KString &name)
{
    return m_status ? KHost::instance()->deregisterCommand(m_plugin, name) : m_status;
}

KStringResourceId::KStringResourceId(const char *plugin, const char *key, const char *defaultText)
    : m_plugin(plugin), m_key(key), m_defaultText(defaultText)
{}

KStatus KStringResource::registerString(const KStringResourceId &id)
{
    KHost *host = KHost::instance();
    return host ? host->registerString(id) : KStatus::failure("this process has no host that stores texts");
}

KString KStringResource::getString(const KStringResourceId &id, KStatus &status)
{
    KString text = id.defaultText();
    KHost *host = KHost::instance();
    if (host && host->findString(id, text))
        status = KStatus();
    else
        status = KStatus::failure("the text " + id.plugin() + "." + id.key() + " is not registered");
    return text;
}
