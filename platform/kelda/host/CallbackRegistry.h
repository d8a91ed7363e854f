// host/CallbackRegistry.h

#pragma once

#include <QString>
#include <QStringList>

#include <vector>

/// The procedures that are to run at the host's hooks, in the order in which they were added.
class CallbackRegistry
{
public:
    /// False for a procedure that \p owner has already hooked there.
    bool add(const QString &hook, const QString &procedure, const QString &owner);
    /// False when there was none.
    bool remove(const QString &hook, const QString &procedure, const QString &owner);
    QStringList procedures(const QString &hook) const;

private:
    struct Callback
    {
        QString hook;
        QString procedure;
        QString owner;
    };
    std::vector<Callback>::iterator find(const QString &hook, const QString &procedure, const QString &owner);

    std::vector<Callback> m_callbacks;
};
