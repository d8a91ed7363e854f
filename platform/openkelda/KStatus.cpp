#include "openkelda/KStatus.h"

KStatus KStatus::failure(const KString &reason)
{
    KStatus status;
    status.m_success = false;
    status.m_reason = reason;
    return status;
}
