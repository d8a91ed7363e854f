// A module that is not a plug-in: it has only one of the two entry points.

#include <openkelda/openkelda.h>

KStatus initializePlugin(KObject)
{
    KGlobal::displayError("a module without both entry points was initialised");
    return KStatus();
}
