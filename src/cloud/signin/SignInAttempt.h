// cloud/signin/SignInAttempt.h
//
// The state that every sign-in needs: a handle that detects a superseded call, and one notification at the end.

#pragma once

#include <functional>
#include <memory>

namespace ICloudPortalApi {

class IPortalOwnerCB;

/// Holds the current attempt of one object to sign in.
class SignInAttempt
{
public:
    using Callback = void (*)(void *context, bool success);
    /// Take one before a call that spins the event loop. It has expired if the attempt has ended or was superseded
    /// meanwhile, or if this object was deleted.
    using Handle = std::weak_ptr<const void>;

    /// Supersedes the current attempt, which is not notified. end() will notify \p owner, which may be null.
    Handle begin(IPortalOwnerCB *owner);
    /// Like begin(owner). end() will call \p callback, which may be null, with \p context.
    Handle begin(Callback callback, void *context);
    /// Supersedes the current attempt. end() then notifies the owner or callback of that attempt.
    Handle restart() { return replaceWith(*m_current); }
    /// Supersedes the current attempt without notification.
    void cancel() { replaceWith({}); }
    Handle current() const { return m_current; }

    /// Ends the current attempt and notifies its owner or callback, which may spin the event loop and delete this
    /// object. Call it last.
    void end(bool success);
    /// Returns true while end() notifies. A new attempt that begins meanwhile resets it.
    bool isNotifying() const { return !m_notifying.expired(); }

private:
    using Notify = std::function<void(bool success)>;
    Handle replaceWith(const Notify &notify);

    std::shared_ptr<const Notify> m_current = std::make_shared<const Notify>();
    Handle m_notifying;
};

} // namespace ICloudPortalApi
