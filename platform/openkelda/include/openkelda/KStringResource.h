// openkelda/KStringResource.h
//
// Texts that a plug-in shows and that the host may replace by localised ones.

#pragma once

#include "openkelda/KStatus.h"
#include "openkelda/KString.h"

/// Names a text by plug-in and key, and holds the text that stands when nothing replaced it.
class KStringResourceId
{
public:
    KStringResourceId(const char *plugin, const char *key, const char *defaultText);
    const KString &plugin() const { return m_plugin; }
    const KString &key() const { return m_key; }
    const KString &defaultText() const { return m_defaultText; }

private:
    KString m_plugin;
    KString m_key;
    KString m_defaultText;
};

class KStringResource
{
public:
    /// Registering an identifier again keeps a replaced text.
    static KStatus registerString(const KStringResourceId &id);
    /// The current text; the default text, and a failure in \p status, when the identifier is not registered.
    static KString getString(const KStringResourceId &id, KStatus &status);
};
