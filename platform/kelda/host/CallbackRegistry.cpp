#include "host/CallbackRegistry.h"

#include <algorithm>

std::vector<CallbackRegistry::Callback>::iterator CallbackRegistry::find(const QString &hook, const QString &procedure,
                                                                         const QString &owner)
{
    return std::find_if(m_callbacks.begin(), m_callbacks.end(), [&](const Callback &callback) {
        return callback.hook == hook && callback.procedure == procedure && callback.owner == owner;
    });
}

bool CallbackRegistry::add(const QString &hook, const QString &procedure, const QString &owner)
{
    if (find(hook, procedure, owner) != m_callbacks.end())
        return false;
    m_callbacks.push_back({hook, procedure, owner});
    return true;
}

bool CallbackRegistry::remove(const QString &hook, const QString &procedure, const QString &owner)
{
    const auto callback = find(hook, procedure, owner);
    if (callback == m_callbacks.end())
        return false;
    m_callbacks.erase(callback);
    return true;
}

QStringList CallbackRegistry::procedures(const QString &hook) const
{
    QStringList found;
    for (const Callback &callback : m_callbacks) {
        if (callback.hook == hook)
            found.append(callback.procedure);
    }
    return found;
}
