#include "openkelda/host.h"

namespace {

KHost *installedHost = nullptr;

} // namespace

KHost::~KHost()
{
    if (installedHost == this)
        installedHost = nullptr;
}

KHost *KHost::instance()
{
    return installedHost;
}

void KHost::install(KHost *host)
{
    installedHost = host;
}
