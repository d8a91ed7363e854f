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

/// Both live as long as the process: end points hold network objects, which must not go after the application object.
HandleTable<Session> &sessions();
HandleTable<EndPoint> &endPoints();

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

/// One address of \p deployment, kept in the text of that number; empty for an unknown deployment.
const char *addressText(Skein_Service_Deployment deployment, QUrl Deployment::*address,
                        QByteArray (&texts)[3]) noexcept;

} // namespace pelago
