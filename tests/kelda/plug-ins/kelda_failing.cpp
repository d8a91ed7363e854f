// A plug-in that registers a command and then cannot be initialised.

#include <openkelda/openkelda.h>

namespace {

class LeftCommand : public KPxCommand
{
public:
    KStatus doIt(const KArgList &) override { return KStatus(); }
};

} // namespace

KStatus initializePlugin(KObject plugin)
{
    KFnPlugin functions(plugin, "Tests", "1.0", "Any");
    functions.registerCommand("FailingLeft", []() -> void * { return new LeftCommand; });
    return KStatus::failure("no licence");
}

KStatus uninitializePlugin(KObject)
{
    KGlobal::displayError("a plug-in that was never initialised was uninitialised");
    return KStatus();
}
