// A small plug-in as the host sees any other: texts, two commands, a script beside it.

#include <openkelda/openkelda.h>

#include <cstdlib>
#include <stdexcept>

namespace {

const KStringResourceId greeting("Sample", "greeting", "Hello ");

KString currentGreeting()
{
    KStatus status;
    return KStringResource::getString(greeting, status);
}

KStatus registerTexts()
{
    return KStringResource::registerString(greeting);
}

class SampleCommand : public KPxCommand
{
public:
    SampleCommand() { ++alive; }
    ~SampleCommand() override { --alive; }

    KStatus doIt(const KArgList &arguments) override
    {
        const KString what = arguments.length() > 0 ? arguments[0] : KString();
        if (what == "fail")
            return KStatus::failure("as asked");
        if (what == "throw")
            throw std::runtime_error("thrown as asked");
        if (what == "execute") // the failure is handed on, as most plug-ins do
            return KGlobal::executeCommand(arguments[1]);
        if (what == "ignore") // twice the same failure, and the plug-in does not mind
            return KGlobal::executeCommand(arguments[1]), KGlobal::executeCommand(arguments[1]), KStatus();
        KGlobal::displayInfo(currentGreeting() + alive + " " + what);
        return KStatus();
    }

    static int alive;
};

int SampleCommand::alive = 0;

void *createSample()
{
    return new SampleCommand;
}

} // namespace

KStatus initializePlugin(KObject plugin)
{
    KStatus status;
    KFnPlugin functions(plugin, "Tests", "1.2", "Any", &status);
    if (!status)
        return status;
    functions.registerUIStrings(registerTexts, "SampleInitStrings");
    status = functions.registerCommand("Sample", createSample);
    if (!status)
        return status;
    functions.registerCommand("SampleLeft", createSample);
    KGlobal::executeCommand("eval ( \"source \\\"Sample.ksc\\\"\" );");
    KGlobal::displayInfo("initialised: " + currentGreeting());
    return KStatus();
}

KStatus uninitializePlugin(KObject plugin)
{
    if (std::getenv("SAMPLE_STAYS"))
        return KStatus::failure("not now");
    KFnPlugin functions(plugin, "Tests", "1.2", "Any");
    return functions.deregisterCommand("Sample");
}
