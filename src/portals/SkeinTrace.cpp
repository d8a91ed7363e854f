#include "portals/SkeinTrace.h"

#include "TavrinStrings.h"

#include <openkelda/KGlobal.h>
#include <openkelda/KQtUtil.h>
#include <pelago/pelago.h>

#include <algorithm>
#include <iterator>

namespace Skein {

namespace {

const int failures = 1;
const int requests = 2;

int traces = 0;
Failure last;

/// Where the cause begins in \p line, the length of the line without one.
int causeStart(const QString &line)
{
    const int start = line.lastIndexOf(QLatin1String(" ["));
    return start >= 0 && line.endsWith(QLatin1Char(']')) ? start : line.size();
}

void report(void *, int level, const char *text)
{
    const QString line = QString::fromUtf8(text);
    if (level > failures) {
        KGlobal::displayInfo(KQtUtil::toKString(line));
        return;
    }
    const int start = causeStart(line);
    const QString cause = line.mid(start + 2).chopped(start < line.size() ? 1 : 0);
    const int colon = cause.indexOf(QLatin1String(": "));
    last = {cause.left(colon), colon < 0 ? QString() : cause.mid(colon + 2)};
    KGlobal::displayWarning(KQtUtil::toKString(line.left(start)));
}

} // namespace

HostTrace::HostTrace()
{
    if (++traces > 1)
        return;
    SkeinTrace_setCallback(report, nullptr);
    SkeinTrace_setLevel(qEnvironmentVariableIntValue("PELAGO_TRACE") >= requests ? requests : failures);
}

HostTrace::~HostTrace()
{
    if (--traces > 0)
        return;
    SkeinTrace_setLevel(0);
    SkeinTrace_setCallback(nullptr, nullptr);
}

Failure lastFailure()
{
    return last;
}

void forgetLastFailure()
{
    last = Failure();
}

QString signInMessage(int result, const Failure &failure)
{
    const std::pair<const char *, const KStringResourceId *> sentences[] = {
        {"signed-out", &TavrinStrings::kCloudPortalLoginRefused},
        {"user-name", &TavrinStrings::kSignInUserName},
        {"certificate", &TavrinStrings::kSignInCertificate},
        {"host-name", &TavrinStrings::kSignInHostName},
        {"tls", &TavrinStrings::kSignInNoTls},
        {"redirect", &TavrinStrings::kSignInRedirect},
        {"not-found", &TavrinStrings::kSignInNotFound},
        {"not-webdav", &TavrinStrings::kSignInNotWebDav},
        {"unknown-host", &TavrinStrings::kSignInUnknownHost},
        {"unreachable", &TavrinStrings::kSignInUnreachable},
        {"timed-out", &TavrinStrings::kSignInTimedOut},
        {"sign-in-method", &TavrinStrings::kSignInMethod},
        {"configuration", &TavrinStrings::kSignInConfiguration},
    };
    const auto *found = std::find_if(std::begin(sentences), std::end(sentences), [&failure](const auto &each) {
        return failure.cause == QLatin1String(each.first);
    });
    if (found != std::end(sentences))
        return TavrinStrings::text(*found->second) + failure.detail; // empty but for the sentences that end in a colon
    return TavrinStrings::text(result == Skein_Result_NotSignedIn ? TavrinStrings::kCloudPortalLoginRefused
                                                                  : TavrinStrings::KHttpServerErrorGeneric);
}

} // namespace Skein
