#include <pelago/pelago.h>

void SkeinTrace_setLevel(int) {}

void SkeinTrace_setCallback(void (*)(void *, int, const char *), void *) {}
