// cloud/RunningCall.h
//
// Counts the running calls that can spin the event loop. Unloading the plug-in is refused while there is one.

#pragma once

/// Put one on the stack around a portal call, a host command, a message box or a sign-in step.
class RunningCall
{
public:
    RunningCall() { ++s_count; }
    ~RunningCall() { --s_count; }
    RunningCall(const RunningCall &) = delete;
    RunningCall &operator=(const RunningCall &) = delete;

    /// True while at least one call runs in this process.
    static bool isAny() { return s_count > 0; }

private:
    inline static int s_count = 0;
};
