#include "support/RecordingHost.h"

RecordingHost::~RecordingHost()
{
    if (KHost::instance() == this)
        KHost::install(nullptr);
}

KStatus RecordingHost::execute(const KString &command, KCommandResult &result, bool, bool)
{
    const QString text = KQtUtil::toQString(command);
    m_commands << text;
    if (const std::function<void()> watcher = m_watcher)
        watcher();
    // In descending order the first prefix that fits is the longest one.
    for (auto entry = m_handlers.rbegin(); entry != m_handlers.rend(); ++entry) {
        if (text.startsWith(entry->first))
            return Handler(entry->second)(text, result);
    }
    return KStatus();
}

KStatus RecordingHost::registerString(const KStringResourceId &id)
{
    m_texts.emplace(id.key().utf8(), id.defaultText());
    return KStatus();
}

bool RecordingHost::findString(const KStringResourceId &id, KString &text)
{
    const auto found = m_texts.find(id.key().utf8());
    if (found == m_texts.end())
        return false;
    text = found->second;
    return true;
}

KStatus RecordingHost::registerUIStrings(KObject, KStatus (*registration)(), const KString &procedure)
{
    m_commands << KQtUtil::toQString(procedure);
    return registration ? registration() : KStatus();
}

KStatus RecordingHost::registerCommand(KObject, const KString &name, void *(*creator)(), KSyntax (*)())
{
    void *(*&known)() = m_creators[KQtUtil::toQString(name)];
    if (known)
        return KStatus::failure("the name is in use");
    known = creator;
    return KStatus();
}

KStatus RecordingHost::deregisterCommand(KObject, const KString &name)
{
    return m_creators.remove(KQtUtil::toQString(name)) ? KStatus() : KStatus::failure("no such command");
}

KPxCommand *RecordingHost::createCommand(const QString &name) const
{
    const auto creator = m_creators.value(name);
    return creator ? static_cast<KPxCommand *>(creator()) : nullptr;
}
