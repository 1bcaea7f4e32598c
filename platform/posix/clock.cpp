// The clocks: GetTickCount counts milliseconds from an unknown start, WallClockSeconds seconds
// since 1970. A test can stop both, a host the seconds of its thread.

#include "platform/clock.h"

#include "headless.h"
#include "internal.h"

#include <time.h>

DWORD WINAPI GetTickCount(void)
{
    if (testBench.bClockPinned) {
        return testBench.nTicks;
    }
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<DWORD>(now.tv_sec * 1000 + now.tv_nsec / 1000000);
}

static thread_local bool bSeedClock;
static thread_local unsigned int nSeedSeconds;

void SetSeedClock(unsigned int nSeconds)
{
    bSeedClock = true;
    nSeedSeconds = nSeconds;
}

void ClearSeedClock(void)
{
    bSeedClock = false;
}

unsigned int WallClockSeconds(void)
{
    if (bSeedClock) {
        return nSeedSeconds;
    }
    if (testBench.bClockPinned) {
        return testBench.nSeconds;
    }
    return static_cast<unsigned int>(time(nullptr));
}
