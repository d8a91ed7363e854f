// openkelda/KStringResource.h
//
// Texts of a plug-in, which the host may replace by translations.

#pragma once

#include "openkelda/KStatus.h"
#include "openkelda/KString.h"

/// Identifies a text by plug-in and key, and contains the default text.
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
    /// Registering an identifier again keeps its current text.
    static KStatus registerString(const KStringResourceId &id);
    /// Returns the current text. If the identifier is not registered, returns the default and sets \p status to a
    /// failure.
    static KString getString(const KStringResourceId &id, KStatus &status);
};
