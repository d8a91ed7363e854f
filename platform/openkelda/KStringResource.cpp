#include "openkelda/KStringResource.h"

#include "openkelda/host.h"

KStringResourceId::KStringResourceId(const char *plugin, const char *key, const char *defaultText)
    : m_plugin(plugin), m_key(key), m_defaultText(defaultText)
{}

KStatus KStringResource::registerString(const KStringResourceId &id)
{
    KHost *host = KHost::instance();
    return host ? host->registerString(id) : KStatus::failure("no host keeps texts in this process");
}

KString KStringResource::getString(const KStringResourceId &id, KStatus &status)
{
    KString text = id.defaultText();
    KHost *host = KHost::instance();
    if (host && host->findString(id, text))
        status = KStatus();
    else
        status = KStatus::failure("no text is registered as " + id.plugin() + "." + id.key());
    return text;
}
