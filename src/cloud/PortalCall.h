// cloud/PortalCall.h
//
// Counts the portal calls that are on the stack. Each can spin the event loop, so that anything may arrive meanwhile;
// the plug-in must not be unloaded until they have returned.

#pragma once

/// Stands around a call of a portal, a message box or a host command that can spin the event loop.
class PortalCall
{
public:
    PortalCall();
    ~PortalCall();
    PortalCall(const PortalCall &) = delete;
    PortalCall &operator=(const PortalCall &) = delete;

    /// True while any such call runs in this process.
    static bool isRunning();

private:
    static int s_running;
};
