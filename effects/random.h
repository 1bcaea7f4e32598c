// The random numbers of noise, impressionist and puzzle: the recurrence of the C library on
// Windows, on every system, so that one seed gives one picture everywhere. It is stated here rather
// than called: the host's own sequence is left alone, and draws far ahead can be had at once.
#ifndef EFFECTS_RANDOM_H
#define EFFECTS_RANDOM_H

#include "platform/clock.h"

#include <stdint.h>

enum { RANDOM_FACTOR = 214013, RANDOM_ADDEND = 2531011, DRAWS = 32768 };

// srand(time(NULL)): calls within the same second draw the same numbers.
static inline uint32_t SeedFromClock(void)
{
    return WallClockSeconds();
}

// rand(): 0 to DRAWS - 1.
static inline unsigned DrawRandom(uint32_t *pState)
{
    *pState = *pState * RANDOM_FACTOR + RANDOM_ADDEND;
    return *pState >> 16 & 0x7fff;
}

// The state after n more draws.
static inline uint32_t SkipRandom(uint32_t state, uint64_t n)
{
    uint32_t factor = RANDOM_FACTOR, addend = RANDOM_ADDEND;
    for (; n != 0; n >>= 1) {
        if (n & 1) {
            state = state * factor + addend;
        }
        addend = addend * factor + addend;
        factor *= factor;
    }
    return state;
}

#endif
