// cloud/signin/LoginBase.h
//
// What the login of every portal does alike.

#pragma once

#include "cloud/CloudPortalApi.h"

namespace ICloudPortalApi {

class LoginBase : public ILogin
{
public:
    /// The "username" of GetUserInformation().
    bool GetUsername(KString &name) override;

protected:
    /// Writes \p address in the way of CreateLoginRequest, and returns what that returns. \p buffer may be null.
    static long writeAddress(const KString &address, char *buffer, unsigned long size);
};

} // namespace ICloudPortalApi
