#include "cloud/PortalCall.h"

int PortalCall::s_running = 0;

PortalCall::PortalCall()
{
    ++s_running;
}

PortalCall::~PortalCall()
{
    --s_running;
}

bool PortalCall::isRunning()
{
    return s_running > 0;
}
