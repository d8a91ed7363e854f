// pelago/SkeinCall.h
//
// What every function of the flat interface needs: the objects behind the handles, and a wall for exceptions.

#pragma once

#include "Deployments.h"
#include "EndPoint.h"
#include "HandleTable.h"
#include "Session.h"
#include "Trace.h"

#include <pelago/pelago.h>

#include <QCoreApplication>
#include <QThread>

namespace pelago {

HandleTable<Session> &sessions();

/// Runs \p call and returns its result. Nothing it throws gets through, and without the application object of this
/// thread it does not run.
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

/// Forgets \p handle and ends what runs on its object.
template <class Object>
void giveUp(HandleTable<Object> &(*table)(), int64_t handle) noexcept
{
    guarded([&]() -> int64_t {
        if (const std::shared_ptr<Object> object = table().take(handle))
            object->close();
        return 1;
    });
}

/// One address of \p deployment, kept in the text of that number; empty for an unknown deployment.
const char *addressText(Skein_Service_Deployment deployment, QUrl Deployment::*address,
                        QByteArray (&texts)[3]) noexcept;

} // namespace pelago
