#include "support/RecordingHost.h"

RecordingHost::RecordingHost(KGlobal::KeldaState state) : m_state(state)
{
    KHost::install(this);
}

RecordingHost::~RecordingHost()
{
    if (KHost::instance() == this)
        KHost::install(nullptr);
}

QStringList RecordingHost::messages(MessageKind kind) const
{
    QStringList texts;
    for (const auto &[messageKind, text] : m_messages) {
        if (messageKind == kind)
            texts << text;
    }
    return texts;
}

void RecordingHost::clear()
{
    m_commands.clear();
    m_messages.clear();
}

void RecordingHost::answer(const QString &prefix, const KCommandResult &result)
{
    handle(prefix, [result](const QString &, KCommandResult &out) {
        out = result;
        return KStatus();
    });
}

void RecordingHost::fail(const QString &prefix, const QString &reason)
{
    handle(prefix,
           [reason](const QString &, KCommandResult &) { return KStatus::failure(KQtUtil::toKString(reason)); });
}

void RecordingHost::handle(const QString &prefix, std::function<KStatus(const QString &, KCommandResult &)> handler)
{
    m_handlers[prefix] = std::move(handler);
}

void RecordingHost::setText(const char *key, const char *text)
{
    m_texts[key] = text;
}

KStatus RecordingHost::execute(const KString &command, KCommandResult &result, bool, bool)
{
    const QString text = KQtUtil::toQString(command);
    m_commands << text;
    // In descending order the first prefix that fits is the longest one.
    for (auto entry = m_handlers.rbegin(); entry != m_handlers.rend(); ++entry) {
        if (text.startsWith(entry->first)) {
            const auto handler = entry->second;
            return handler(text, result);
        }
    }
    return KStatus();
}

void RecordingHost::message(MessageKind kind, const KString &text)
{
    m_messages.append({kind, KQtUtil::toQString(text)});
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
    const KStatus status = registration ? registration() : KStatus();
    m_commands << KQtUtil::toQString(procedure);
    return status;
}

KStatus RecordingHost::registerCommand(KObject, const KString &name, void *(*creator)(), KSyntax (*)())
{
    const bool added = m_creators.emplace(name.utf8(), creator).second;
    return added ? KStatus() : KStatus::failure("the name is in use");
}

KStatus RecordingHost::deregisterCommand(KObject, const KString &name)
{
    return m_creators.erase(name.utf8()) ? KStatus() : KStatus::failure("no such command");
}

QStringList RecordingHost::registeredCommands() const
{
    QStringList names;
    for (const auto &entry : m_creators)
        names << QString::fromStdString(entry.first);
    return names;
}

KPxCommand *RecordingHost::createCommand(const QString &name) const
{
    const auto found = m_creators.find(name.toStdString());
    return found == m_creators.end() ? nullptr : static_cast<KPxCommand *>(found->second());
}
