#include "openkelda/KFnPlugin.h"

#include "openkelda/host.h"

KFnPlugin::KFnPlugin(KObject plugin, const char *vendor, const char *version, const char *requiredApi, KStatus *status)
    : m_plugin(plugin)
{
    KHost *host = KHost::instance();
    if (!host)
        m_status = KStatus::failure("no host loads plug-ins in this process");
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
