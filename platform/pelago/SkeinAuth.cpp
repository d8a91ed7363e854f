#include <pelago/pelago.h>

const char *Skein_Auth_getServerAddress(Skein_Service_Deployment)
{
    return "";
}

int64_t Skein_Auth_openSession(const char *, const char *, const char *, const char *)
{
    return Skein_Result_BadArgument;
}

void Skein_Auth_closeSession(int64_t) {}

int Skein_Auth_isUserLoggedIn(int64_t)
{
    return Skein_Result_UnknownHandle;
}

long Skein_Auth_createLoginRequest(int64_t, char *, unsigned long)
{
    return Skein_Result_UnknownHandle;
}

int Skein_Auth_completeLogin(int64_t, const char *)
{
    return Skein_Result_UnknownHandle;
}

int Skein_Auth_login(int64_t, const char *, const char *)
{
    return Skein_Result_UnknownHandle;
}

int Skein_Auth_logout(int64_t)
{
    return Skein_Result_UnknownHandle;
}

const char *Skein_Auth_getUserFirstName(int64_t)
{
    return "";
}

const char *Skein_Auth_getUserLastName(int64_t)
{
    return "";
}
