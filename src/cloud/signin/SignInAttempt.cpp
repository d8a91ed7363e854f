#include "cloud/signin/SignInAttempt.h"

#include "cloud/CloudPortalApi.h"
#include "cloud/RunningCall.h"

#include <utility>

namespace ICloudPortalApi {

SignInAttempt::Handle SignInAttempt::begin(IPortalOwnerCB *owner)
{
    return owner ? replaceWith([owner](bool success) { owner->LoginDoneCB(success); }) : replaceWith({});
}

SignInAttempt::Handle SignInAttempt::begin(Callback callback, void *context)
{
    return callback ? replaceWith([=](bool success) { callback(context, success); }) : replaceWith({});
}

SignInAttempt::Handle SignInAttempt::replaceWith(const Notify &notify)
{
    m_current = std::make_shared<const Notify>(notify);
    m_notifying.reset();
    return m_current;
}

void SignInAttempt::end(bool success)
{
    const RunningCall running;
    const std::shared_ptr<const Notify> ended = std::exchange(m_current, std::make_shared<const Notify>());
    m_notifying = ended;
    if (*ended)
        (*ended)(success);
}

} // namespace ICloudPortalApi
