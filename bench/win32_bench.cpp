// Whole calls on small pictures, without any other library, so that the same program is built for
// Windows and natively: bench/wine-table runs both and compares.
//
//     win32_bench          a line for each filter, depth and size: NAME NANOSECONDS-PER-PIXEL
//
// Warm: the picture and the result stay in the cache, and the allocator gives each result the
// memory of the one before. A sample is a run of calls of at least two milliseconds; the figure is
// the median of 21 samples.

#include "filters.h"
#include "pictures.h"

#include <algorithm>
#include <chrono>
#include <stdio.h>

enum { SAMPLES = 21 };
static const double SAMPLE_NANOSECONDS = 2e6;

// QueryPerformanceCounter there, clock_gettime here.
static double Nanoseconds(void)
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return (double)std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

// Nanoseconds for a number of calls; below 0 when one failed.
static double TimeCalls(const BenchFilter *pFilter, HGLOBAL hSource, int calls)
{
    const double start = Nanoseconds();
    for (int i = 0; i < calls; i++) {
        const HGLOBAL hResult = pFilter->Run(hSource, pFilter->nParameter, 0);
        if (hResult == NULL) {
            return -1;
        }
        GlobalFree(hResult);
    }
    return Nanoseconds() - start;
}

// Nanoseconds a call; below 0 when one failed.
static double MedianCall(const BenchFilter *pFilter, HGLOBAL hSource)
{
    double samples[SAMPLES];
    int calls = 1;
    double time = TimeCalls(pFilter, hSource, calls);
    while (time >= 0 && time < SAMPLE_NANOSECONDS) {
        calls *= 2;
        time = TimeCalls(pFilter, hSource, calls);
    }
    for (int i = 0; i < SAMPLES && time >= 0; i++) {
        time = TimeCalls(pFilter, hSource, calls);
        samples[i] = time / calls;
    }
    if (time < 0) {
        return -1;
    }
    std::sort(samples, samples + SAMPLES);
    return samples[SAMPLES / 2];
}

static int TimeFilters(PictureKind kind, int side)
{
    const HGLOBAL hSource = MakePicture(kind, side, side);
    if (hSource == NULL) {
        return 0;
    }
    int bDone = 1;
    for (const BenchFilter &filter : CONVOLUTIONS) {
        const double call = MedianCall(&filter, hSource);
        if (call < 0) {
            fprintf(stderr, "%s failed.\n", filter.pName);
            bDone = 0;
            continue;
        }
        printf("%s/%s/%d %.4f\n", filter.pName, PICTURE_NAMES[kind], side,
               call / ((double)side * side));
        fflush(stdout);
    }
    GlobalFree(hSource);
    return bDone;
}

int main(void)
{
    int bDone = 1;
    for (const int side : {256, 512}) {
        for (const PictureKind kind : {PICTURE_RAMP, PICTURE_SHUFFLED, PICTURE_COLOR}) {
            bDone &= TimeFilters(kind, side);
        }
    }
    return bDone ? 0 : 1;
}
