// A plug-in with a text, two commands and a script beside it.

#include <openkelda/openkelda.h>

#include <cstdlib>

namespace {

const KStringResourceId greeting("Sample", "greeting", "Hello ");

KString currentGreeting()
{
    KStatus status;
    return KStringResource::getString(greeting, status);
}

struct SampleCommand : KPxCommand
{
    SampleCommand() { ++alive; }
    ~SampleCommand() override { --alive; }

    KStatus doIt(const KArgList &arguments) override
    {
        const KString what = arguments.length() > 0 ? arguments[0] : KString();
        if (what == "fail")
            return KStatus::failure("as asked");
        if (what == "execute") // returns the failure
            return KGlobal::executeCommand(arguments[1]);
        KGlobal::displayInfo(currentGreeting() + alive + " " + what);
        return KStatus();
    }

    static inline int alive = 0;
};

} // namespace

KStatus initializePlugin(KObject plugin)
{
    KFnPlugin functions(plugin, "Tests", "1.2", "Any");
    functions.registerUIStrings([] { return KStringResource::registerString(greeting); }, "SampleInitStrings");
    for (const char *name : {"Sample", "SampleLeft"})
        functions.registerCommand(name, []() -> void * { return new SampleCommand; });
    if (std::getenv("SAMPLE_FAILS"))
        return KStatus::failure("no licence");
    KGlobal::executeCommand("eval ( \"source \\\"Sample.ksc\\\"\" );");
    KGlobal::displayInfo("initialised: " + currentGreeting());
    return KStatus();
}

KStatus uninitializePlugin(KObject plugin)
{
    if (std::getenv("SAMPLE_FAILS"))
        KGlobal::displayError("a plug-in that was never initialised was uninitialised");
    if (std::getenv("SAMPLE_STAYS"))
        return KStatus::failure("not now");
    return KFnPlugin(plugin, "Tests", "1.2", "Any").deregisterCommand("Sample");
}
