#include "openkelda/KGlobal.h"

#include "openkelda/host.h"

#include <cstdio>

namespace {

KString textOf(const KCommandResult &result)
{
    KString text;
    int integer = 0;
    double number = 0;
    KStringArray array;
    if (result.getResult(integer)) {
        text += integer;
    } else if (result.getResult(number)) {
        text += number;
    } else if (result.getResult(array)) {
        for (unsigned i = 0; i < array.length(); ++i) {
            text += i == 0 ? "" : " ";
            text += array[i];
        }
    } else {
        result.getResult(text);
    }
    return text;
}

void post(KHost::MessageKind kind, const char *label, const KString &text)
{
    if (KHost *host = KHost::instance())
        host->message(kind, text);
    else
        std::fprintf(stderr, "%s: %s\n", label, text.utf8());
}

} // namespace

KStatus KGlobal::executeCommand(const KString &command, bool display, bool undo)
{
    KCommandResult ignored;
    return executeCommand(command, ignored, display, undo);
}

KStatus KGlobal::executeCommand(const KString &command, KCommandResult &result, bool display, bool undo)
{
    result = KCommandResult();
    if (KHost *host = KHost::instance())
        return host->execute(command, result, display, undo);
    return KStatus::failure("this process has no host that runs commands");
}

KString KGlobal::executeCommandStringResult(const KString &command, bool display, bool undo, KStatus *status)
{
    KCommandResult result;
    const KStatus outcome = executeCommand(command, result, display, undo);
    if (status)
        *status = outcome;
    return outcome ? textOf(result) : KString();
}

void KGlobal::displayInfo(const KString &text)
{
    post(KHost::MessageKind::kInfo, "info", text);
}

void KGlobal::displayWarning(const KString &text)
{
    post(KHost::MessageKind::kWarning, "warning", text);
}

void KGlobal::displayError(const KString &text)
{
    post(KHost::MessageKind::kError, "error", text);
}

KGlobal::KeldaState KGlobal::keldaState()
{
    KHost *host = KHost::instance();
    return host ? host->state() : kBatch;
}
