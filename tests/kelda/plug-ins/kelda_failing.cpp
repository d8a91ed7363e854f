// A plug-in that registers a command and then cannot be initialised.

#include <openkelda/openkelda.h>

KStatus initializePlugin(KObject plugin)
{
    KFnPlugin(plugin, "Tests", "1.0", "Any").registerCommand("FailingLeft", []() -> void * { return nullptr; });
    return KStatus::failure("no licence");
}

KStatus uninitializePlugin(KObject)
{
    KGlobal::displayError("a plug-in that was never initialised was uninitialised");
    return KStatus();
}
