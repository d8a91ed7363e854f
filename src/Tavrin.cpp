#include "Tavrin.h"

#include "cloud/Portal_CloudBrowser.h"
#include "cloud/RunningCall.h"
#include "portals/Portal_DropBox.h"
#include "portals/Portal_Plyx.h"
#include "portals/Portal_Zephal.h"
#include "TavrinStrings.h"

#include <memory>
#include <vector>

using ICloudPortalApi::IPortal;

namespace {

constexpr char kVendor[] = "Corvane, Inc.";
constexpr char kPluginVersion[] = "1.0";
constexpr char kRequiredApi[] = "Any";

bool isPortalsInit = false;

/// The registered portals, in the order of registration.
std::vector<KString> portalIdentities;

template <typename Portal, typename Login, typename Browser>
std::unique_ptr<IPortal> makePortal()
{
    return std::make_unique<Portal>(new Login, new Browser);
}

/// All portals, in the order of the tabs.
using PortalMaker = std::unique_ptr<IPortal> (*)();
constexpr PortalMaker kPortals[] = {
    makePortal<Portal_Zephal, Portal_Zephal_Login, Portal_Zephal_IPortalBrowser>,
    makePortal<Portal_Plyx, Portal_Plyx_Login, Portal_Plyx_IPortalBrowser>,
    makePortal<Portal_DropBox, Portal_DropBox_Login, Portal_DropBox_IPortalBrowser>,
};

void addPortal(std::unique_ptr<IPortal> portal)
{
    const KString identity = portal->GetPortalUID();
    if (!Portal_CloudBrowser::RegisterPortal(portal.get()))
        return;
    (void)portal.release(); // deleted by removePortals()
    portalIdentities.push_back(identity);
    Portal_CloudBrowser::GetInstance(identity)->AddPortalTabPage();
}

void removePortals()
{
    Portal_CloudBrowser::PrepareUnload();
    for (const KString &identity : portalIdentities) {
        const std::unique_ptr<Portal_CloudBrowser> controller(Portal_CloudBrowser::GetInstance(identity));
        if (!controller)
            continue;
        const std::unique_ptr<IPortal> portal(controller->GetPortal());
        Portal_CloudBrowser::UnRegisterPortal(portal.get());
    }
    portalIdentities.clear();
    isPortalsInit = false;
}

void restoreDock()
{
    isPortalsInit = false;
    bool wasOpen = false;
    bool wasRaised = false;
    {
        // Read both flags before InitCloudPortal(), because a new dock stores its own.
        const Tavrin::Settings settings(Portal_CloudBrowserDockWidget::kSettingsName);
        wasOpen = settings.getWindowActive();
        wasRaised = settings.getWindowRaised();
    }
    if (!wasOpen)
        return;
    InitCloudPortal();
    Portal_CloudBrowser::RaiseDockingWindow(wasRaised);
}

/// Writes \p text and the reason of \p status to the host's error output.
KStatus reported(const KStatus &status, const KString &text)
{
    KGlobal::displayError(text + status.errorString());
    return status;
}

KString commandErrorText(const KStringResourceId &start)
{
    return TavrinStrings::getString(start) + TavrinCmd::commandName +
           TavrinStrings::getString(TavrinStrings::kPluginCommandErrorEnd);
}

} // namespace

const KString TavrinCmd::commandName("Tavrin");

void *TavrinCmd::creator()
{
    return new TavrinCmd;
}

KSyntax TavrinCmd::createSyntax()
{
    KSyntax syntax;
    syntax.addFlag("-spr", "-showportal");
    syntax.enableQuery(true);
    syntax.enableEdit(false);
    return syntax;
}

void TavrinCmd::cleanup()
{
    KGlobal::executeCommand(
        "callbacks -removeCallback  \"TavrinCreateUI\" -hook \"addItemToFileMenu\" -owner \"TavrinPlugin\";");
    KGlobal::executeCommand("TavrinDeleteUI;");
}

KStatus TavrinCmd::doIt(const KArgList &arguments)
{
    const RunningCall running;
    KStatus status;
    const KArgParser parser(createSyntax(), arguments, &status);
    if (parser.isFlagSet("-spr") && IsKeldaCanRunUI()) {
        InitCloudPortal();
        Portal_CloudBrowser::RaiseDockingWindow(true);
    }
    return KStatus();
}

void InitCloudPortal()
{
    if (isPortalsInit)
        return;
    isPortalsInit = true;
    const RunningCall running;
    for (const PortalMaker make : kPortals)
        addPortal(make());
    qtHelper_removeDir(KQtUtil::toQString(TavrinHelper::tempCloudDirectory()));
}

KStatus initializePlugin(KObject plugin)
{
    KStatus status;
    KFnPlugin functions(plugin, kVendor, kPluginVersion, kRequiredApi, &status);
    if (!status) // the texts are not registered yet
        return reported(status, TavrinStrings::kPluginInitializeError.defaultText());

    functions.registerUIStrings(TavrinStrings::registerKStringResources, "TavrinInitStrings");
    status = functions.registerCommand(TavrinCmd::commandName, TavrinCmd::creator, TavrinCmd::createSyntax);
    if (!status)
        return reported(status, commandErrorText(TavrinStrings::kPluginRegisterError));

    KGlobal::executeCommand("eval ( \"source \\\"TavrinCreateUI.ksc\\\"\" );");
    KGlobal::executeCommand(
        "callbacks -addCallback \"TavrinCreateUI\" -hook \"addItemToFileMenu\" -owner \"TavrinPlugin\";");
    if (IsKeldaCanRunUI())
        restoreDock();
    return status;
}

KStatus uninitializePlugin(KObject plugin)
{
    KStatus status;
    KFnPlugin functions(plugin, kVendor, kPluginVersion, kRequiredApi, &status);
    if (!status)
        return reported(status, TavrinStrings::getString(TavrinStrings::kPluginUninitializeError));
    if (Portal_CloudBrowser::IsBusy())
        return reported(KStatus::failure(TavrinStrings::getString(TavrinStrings::kPluginBusy)), KString());

    if (IsKeldaCanRunUI() && isPortalsInit)
        removePortals();
    TavrinCmd::cleanup();
    status = functions.deregisterCommand(TavrinCmd::commandName);
    if (!status)
        reported(status, commandErrorText(TavrinStrings::kPluginDeregisterError));
    return status;
}
