/*
 * The seed clock: seconds of wall time, for the effects that seed their random numbers with it.
 * On Linux a test can pin it.
 */
#ifndef VEXA_CLOCK_H
#define VEXA_CLOCK_H

#ifdef __cplusplus
extern "C" {
#endif

/* Seconds since 1970, cut to 32 bits: time(NULL) as srand takes it. */
#ifdef __linux__
__attribute__((visibility("default")))
#endif
unsigned int
WallClockSeconds(void);

#ifdef __cplusplus
}
#endif

#endif
