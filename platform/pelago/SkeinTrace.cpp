#include "Trace.h"

#include <pelago/pelago.h>

void SkeinTrace_setLevel(int level)
{
    pelago::setTraceLevel(level);
}

void SkeinTrace_setCallback(void (*callback)(void *, int, const char *), void *context)
{
    pelago::setTraceCallback(callback, context);
}
