// pelago/SkeinCall.h
//
// Shared by the functions of the flat interface: the objects behind the handles, and the conversion of exceptions.

#pragma once

#include "Deployments.h"
#include "EndPoint.h"
#include "Session.h"
#include "Trace.h"

#include <pelago/pelago.h>

#include <QCoreApplication>
#include <QThread>

#include <map>

namespace pelago {

/// Objects by the numbers that callers use instead of pointers.
template <class Object>
class HandleTable
{
public:
    /// Numbers start above \p base and are never used twice.
    explicit HandleTable(int64_t base) : m_last(base) {}

    int64_t add(std::shared_ptr<Object> object)
    {
        m_objects.emplace(++m_last, std::move(object));
        return m_last;
    }
    /// Returns null for an unknown number. The caller shares the ownership while a call runs on the object.
    std::shared_ptr<Object> find(int64_t handle) const
    {
        const auto found = m_objects.find(handle);
        return found == m_objects.end() ? nullptr : found->second;
    }
    void remove(int64_t handle) { m_objects.erase(handle); }

private:
    int64_t m_last;
    std::map<int64_t, std::shared_ptr<Object>> m_objects;
};

HandleTable<Session> &sessions();

/// Runs \p call and returns its result, or Skein_Result_Internal if it throws, if there is no application object, or in
/// a thread other than that object's.
template <class Call>
int64_t guarded(const Call &call) noexcept
{
    try {
        const QCoreApplication *application = QCoreApplication::instance();
        if (application && application->thread() == QThread::currentThread())
            return call();
    } catch (...) {
        trace(TraceLevel::Failures, QStringLiteral("a call ended with an exception"));
    }
    return Skein_Result_Internal;
}

/// Runs \p call on the object behind \p handle and returns its result.
template <class Object, class Call>
int withObject(HandleTable<Object> &(*table)(), int64_t handle, const Call &call) noexcept
{
    return static_cast<int>(guarded([&]() -> int64_t {
        const std::shared_ptr<Object> object = table().find(handle);
        return object ? call(*object) : Skein_Result_UnknownHandle;
    }));
}

/// Invalidates \p handle and ends the calls that run on its object.
template <class Object>
void closeHandle(HandleTable<Object> &(*table)(), int64_t handle) noexcept
{
    withObject(table, handle, [&](Object &object) {
        table().remove(handle);
        object.close();
        return 1;
    });
}

/// Returns one address of \p deployment and stores its text in \p texts; empty if the address is unknown or invalid.
const char *addressText(Skein_Service_Deployment deployment, QUrl Deployment::*address,
                        QByteArray (&texts)[3]) noexcept;

} // namespace pelago
