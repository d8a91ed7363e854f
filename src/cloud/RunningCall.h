// cloud/RunningCall.h
//
// Counts the running calls that can spin the event loop. Unloading the plug-in is refused while the count is above 0.
// A page counts its calls through PageCalls; this class is for calls outside of a page.

#pragma once

/// Counts for its lifetime. Belongs on the stack around a portal call, a host command, a dialog or a sign-in step.
class RunningCall
{
public:
    RunningCall() { ++s_count; }
    ~RunningCall() { --s_count; }
    RunningCall(const RunningCall &) = delete;
    RunningCall &operator=(const RunningCall &) = delete;

    /// Returns true while a call is running in this process.
    static bool isAny() { return s_count > 0; }

private:
    inline static int s_count = 0;
};
