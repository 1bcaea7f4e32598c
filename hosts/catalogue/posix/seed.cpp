// See seed.h: the library's clock is ours.
#include "hosts/catalogue/seed.h"

#include <headless.h>

void HoldSeedClock(unsigned int seconds)
{
    SetSeedClock(seconds);
}

void ReleaseSeedClock()
{
    ClearSeedClock();
}
