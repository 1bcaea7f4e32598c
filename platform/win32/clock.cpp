// The seed clock on Windows: the C library's time.

#include "platform/clock.h"

#include <time.h>

unsigned int WallClockSeconds(void)
{
    return static_cast<unsigned int>(time(nullptr));
}
