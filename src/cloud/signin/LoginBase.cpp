#include "cloud/signin/LoginBase.h"

#include <algorithm>
#include <cstring>

namespace ICloudPortalApi {

bool LoginBase::GetUsername(KString &name)
{
    HeaderMap info;
    GetUserInformation(info);
    const auto username = info.find(L"username");
    if (username == info.end())
        return false;
    name = KString(username->second.c_str());
    return true;
}

long LoginBase::writeAddress(const KString &address, char *buffer, unsigned long size)
{
    const std::string text = address.utf8();
    if (buffer && size > 0) {
        std::memcpy(buffer, text.c_str(), std::min<std::size_t>(size, text.size() + 1));
        buffer[size - 1] = '\0';
    }
    return static_cast<long>(text.size()) + 1;
}

} // namespace ICloudPortalApi
