// Whole calls on small pictures, without any other library, so that the same program is built for
// Windows and natively: bench/wine-table runs both and compares.
//
//     win32_bench          a line for each filter, depth and size: NAME MEDIAN BEST
//
// in nanoseconds a pixel, of 21 samples; a sample is a run of calls of at least a millisecond. The
// best is the one to look at on a machine that does other work.
//
// Warm: the picture and the result stay in the cache, as far as the allocator gives each result the
// memory of the one before. The rows Memset show what it asks for a block of that size.

#include "filters.h"
#include "pictures.h"

#include <algorithm>
#include <chrono>
#include <stdio.h>

enum { SAMPLES = 21 };
static const double SAMPLE_NANOSECONDS = 1e6;

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

// Nanoseconds a call, sorted. 0 when a call failed.
static int SampleCalls(const BenchFilter *pFilter, HGLOBAL hSource, double *samples)
{
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
    if (time >= 0) {
        std::sort(samples, samples + SAMPLES);
    }
    return time >= 0;
}

static int TimeFilter(const BenchFilter *pFilter, const char *pKind, const char *pSize,
                      double pixels, HGLOBAL hSource)
{
    double samples[SAMPLES];
    if (!SampleCalls(pFilter, hSource, samples)) {
        fprintf(stderr, "%s failed.\n", pFilter->pName);
        return 0;
    }
    printf("%s/%s/%s %.4f %.4f\n", pFilter->pName, pKind, pSize, samples[SAMPLES / 2] / pixels,
           samples[0] / pixels);
    fflush(stdout);
    return 1;
}

static int TimeTable(const BenchFilter *pFilters, const char *pKind, const char *pSize,
                     double pixels, HGLOBAL hSource)
{
    int bDone = 1;
    for (const BenchFilter *p = pFilters; p->pName != NULL; p++) {
        bDone &= TimeFilter(p, pKind, pSize, pixels, hSource);
    }
    return bDone;
}

static int TimeFilters(PictureKind kind, int side)
{
    char size[16];
    const char *pKind = PICTURE_NAMES[kind];
    const double pixels = (double)side * side;
    const HGLOBAL hSource = MakePicture(kind, side, side);
    if (hSource == NULL) {
        return 0;
    }
    snprintf(size, sizeof size, "%d", side);
    int bDone = TimeFilter(&NEW_BLOCK, pKind, size, pixels, hSource);
    bDone &= TimeTable(CONVOLUTIONS, pKind, size, pixels, hSource);
    bDone &= TimeTable(EFFECTS, pKind, size, pixels, hSource);
    if (kind != PICTURE_SHUFFLED) {
        bDone &= TimeTable(RANK_FILTERS, pKind, size, pixels, hSource);
    }
    if (kind == PICTURE_RAMP) {
        bDone &= TimeTable(GRAY_FILTERS, pKind, size, pixels, hSource);
    }
    GlobalFree(hSource);
    return bDone;
}

static int TimePage(void)
{
    const double pixels = (double)PAGE_WIDTH * PAGE_HEIGHT;
    const HGLOBAL hPage = MakePage();
    if (hPage == NULL) {
        return 0;
    }
    const int bDone = TimeFilter(&NEW_BLOCK, "1bit", "page", pixels, hPage) &
                      TimeTable(PAGE_FILTERS, "1bit", "page", pixels, hPage);
    GlobalFree(hPage);
    return bDone;
}

int main(void)
{
    int bDone = TimePage();
    for (const int side : {256, 512}) {
        for (const PictureKind kind : {PICTURE_RAMP, PICTURE_SHUFFLED, PICTURE_COLOR}) {
            bDone &= TimeFilters(kind, side);
        }
    }
    return bDone ? 0 : 1;
}
