#include "portals/SkeinTrace.h"

#include "TavrinStrings.h"

#include <openkelda/KGlobal.h>
#include <openkelda/KQtUtil.h>
#include <pelago/pelago.h>

#include <algorithm>
#include <iterator>

namespace Skein {

namespace {

constexpr int kFailures = 1;
constexpr int kRequests = 2;

int traceCount = 0;
Failure last;

/// Returns the index of the reason in \p line, or the length of a line without a reason.
int causeStart(const QString &line)
{
    const int start = line.lastIndexOf(QLatin1String(" ["));
    return start >= 0 && line.endsWith(QLatin1Char(']')) ? start : line.size();
}

void report(void *, int level, const char *text)
{
    const QString line = QString::fromUtf8(text);
    if (level > kFailures) {
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
    if (++traceCount > 1)
        return;
    SkeinTrace_setCallback(report, nullptr);
    SkeinTrace_setLevel(qEnvironmentVariableIntValue("PELAGO_TRACE") >= kRequests ? kRequests : kFailures);
}

HostTrace::~HostTrace()
{
    if (--traceCount > 0)
        return;
    SkeinTrace_setLevel(0);
    SkeinTrace_setCallback(nullptr, nullptr);
}

Failure lastFailure()
{
    return last;
}

void clearLastFailure()
{
    last = Failure();
}

QString signInMessage(int result, const Failure &failure)
{
    const std::pair<const char *, const KStringResourceId *> messages[] = {
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
    const auto *found = std::find_if(std::begin(messages), std::end(messages), [&failure](const auto &each) {
        return failure.cause == QLatin1String(each.first);
    });
    if (found != std::end(messages))
        return TavrinStrings::text(*found->second) + failure.detail; // empty for messages that do not end in a colon
    return TavrinStrings::text(result == Skein_Result_NotSignedIn ? TavrinStrings::kCloudPortalLoginRefused
                                                                  : TavrinStrings::KHttpServerErrorGeneric);
}

} // namespace Skein
