#include "Trace.h"

#include <pelago/pelago.h>

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace pelago {

namespace {

struct Sink
{
    int level = 0;
    void (*callback)(void *, int, const char *) = nullptr;
    void *context = nullptr;
};

Sink g_sink;

struct Cause
{
    int result; ///< the result with this cause as its default; 0 for causes that a call must set
    const char *name;
    const char *text; ///< %1 is the detail
    const char *remedy;
};

const Cause kCauses[] = {
    {Skein_Result_NotSignedIn, "signed-out", "the server refused the user name or the password", "Sign in again"},
    {Skein_Result_Network, "broken-off", "the connection broke off", "Try again"},
    {Skein_Result_TimedOut, "timed-out", "the server did not answer in time", "Try again later"},
    {Skein_Result_NotFound, "not-found", "the server does not have it", "Check the address, or refresh the list"},
    {Skein_Result_Forbidden, "forbidden", "the server does not allow it",
     "Ask the server's administrator for the right"},
    {Skein_Result_Conflict, "conflict", "the name is taken, or another client changed the file", "Refresh the list"},
    {Skein_Result_NoSpace, "no-space", "the server has no space left for it", "Delete files there"},
    {Skein_Result_Redirected, "redirect", "the server redirects to %1", "Write that address into pelago.ini"},
    {Skein_Result_ServerError, "server-error", "the server failed", "Try again later"},
    {Skein_Result_BadReply, "not-webdav", "the reply is not one of a WebDAV server", "Check the address in pelago.ini"},
    {Skein_Result_LocalFile, "local-file", "the local file cannot be read or written", "Check its rights and the disk"},
    {Skein_Result_BadArgument, "argument", "a name or an address cannot be used", "Choose another one"},
    {Skein_Result_Internal, "internal", "out of memory, or called from another thread", "Restart the application"},
    {0, "truncated", "the server stored %1 bytes only", "Check its disk space, and try again"},
    {0, "unfinished", "it is unknown whether the file is stored; the whole file is on the server as %1",
     "Refresh the list before you try again"},
    {0, "sign-in-method", "the server offers no sign-in that can be used (it offers %1)",
     "Switch on Basic or Digest (MD5) there"},
    {0, "user-name", "a user name cannot contain a colon", "Correct the user name"},
    {0, "configuration", "pelago.ini cannot be used (%1)",
     "An address begins with https:// without user name, query and #; http needs allowPlainHttp=true"},
    {0, "certificate", "the server's certificate is not trusted (%1)",
     "Start the host with --ca-file and the certificate of the authority"},
    {0, "host-name", "the server's certificate is for another host name (%1)",
     "Write the name of the certificate into pelago.ini"},
    {0, "tls", "the server does not support TLS at this address", "Check https and the port in pelago.ini"},
    {0, "unknown-host", "the host name %1 is unknown", "Check the address in pelago.ini and the network"},
    {0, "unreachable", "the server at %1 does not respond", "Check the address in pelago.ini, and start the server"},
    {0, "proxy", "the proxy did not connect (%1)", "Check the proxy settings"},
};

const Cause &causeOf(const Outcome &outcome)
{
    static const Cause kOther = {0, "other", "the call failed", "Try again"};
    const auto found = std::find_if(std::begin(kCauses), std::end(kCauses), [&outcome](const Cause &cause) {
        return outcome.cause.isEmpty() ? cause.result == outcome.result : outcome.cause == cause.name;
    });
    return found == std::end(kCauses) ? kOther : *found;
}

} // namespace

void trace(TraceLevel level, const QString &line)
{
    const Sink sink = g_sink;
    const int number = static_cast<int>(level);
    if (number > sink.level)
        return;
    const QByteArray text = line.toUtf8();
    if (sink.callback)
        sink.callback(sink.context, number, text.constData());
    else
        std::fprintf(stderr, "pelago: %s\n", text.constData());
}

void traceFailure(const QString &what, const Outcome &outcome)
{
    if (outcome.result >= 0 || outcome.result == Skein_Result_Closed)
        return;
    const Cause &cause = causeOf(outcome);
    const QString detail = outcome.detail.simplified().replace(QLatin1String(" ["), QLatin1String(" ("));
    const QString reason = QString::fromLatin1(cause.text).replace(QLatin1String("%1"), detail);
    const QString status = outcome.status > 0 ? QStringLiteral(" (status %1)").arg(outcome.status) : QString();
    const QString name = QLatin1String(cause.name) + (detail.isEmpty() ? QString() : QStringLiteral(": ") + detail);
    trace(TraceLevel::Failures, what + QStringLiteral(" failed: ") + reason + status + QStringLiteral(". ") +
                                    QLatin1String(cause.remedy) + QStringLiteral(". [") + name + QLatin1Char(']'));
}

} // namespace pelago

void SkeinTrace_setLevel(int level)
{
    pelago::g_sink.level = level;
}

void SkeinTrace_setCallback(void (*callback)(void *, int, const char *), void *context)
{
    pelago::g_sink.callback = callback;
    pelago::g_sink.context = context;
}
