// What a call allocates beyond its source and its result, for every filter and kind of picture.
//
//     peak_memory          a line for each: NAME BYTES PERCENT-OF-A-PICTURE
//
// The call shows its progress, and at each step of the bar the bytes in live blocks are
// read: a temporary that lives from one step to a later one, as an image-sized one must, is seen.
// The exit status is 1 when a call on colours or on a palette with all levels (the usual path)
// takes more than a sixteenth of a picture; for filters with windows, which keep lines and columns
// of them, when it takes more for a picture three times as high.

#include "filters.h"
#include "pictures.h"

#include "headless.h"
#include "testing.h"

#include <stdio.h>

enum { SIDE = 1024, SMALL_SHARE = 16 };

struct Peak {
    size_t nBytes;
    int nSteps;
};

static void NotePeak(HWND, int, int, void *pContext)
{
    Peak *pPeak = (Peak *)pContext;
    const size_t bytes = TestLiveBytes();
    pPeak->nBytes = bytes > pPeak->nBytes ? bytes : pPeak->nBytes;
    pPeak->nSteps++;
}

static int IsUsualPath(PictureKind kind)
{
    return kind != PICTURE_INCOMPLETE;
}

// The bytes beyond source and result; -1 when the call failed.
static long long MeasureCall(const BenchFilter *pFilter, PictureKind kind, HGLOBAL hSource)
{
    Peak peak = {0, 0};
    const size_t nBefore = TestLiveBytes();
    SetProgressObserver(NotePeak, &peak);
    const HGLOBAL hResult = pFilter->Run(hSource, pFilter->nParameter, MODE_PROGRESS);
    SetProgressObserver(NULL, NULL);
    const size_t nKnown = nBefore + GlobalSize(hResult);
    if (hResult == NULL || peak.nSteps == 0 || peak.nBytes < nKnown) {
        fprintf(stderr, "%s/%s was not measured.\n", pFilter->pName, PICTURE_NAMES[kind]);
        return -1;
    }
    GlobalFree(hResult);
    const size_t nExtra = peak.nBytes - nKnown;
    printf("%s/%s %zu %.1f%%\n", pFilter->pName, PICTURE_NAMES[kind], nExtra,
           100.0 * (double)nExtra / (double)GlobalSize(hSource));
    return (long long)nExtra;
}

static int TakesLittle(PictureKind kind)
{
    int bLittle = 1;
    const HGLOBAL hSource = MakePicture(kind, SIDE, SIDE);
    for (const BenchFilter *p = CONVOLUTIONS; p->pName != NULL; p++) {
        const BenchFilter &filter = *p;
        const long long nExtra = MeasureCall(&filter, kind, hSource);
        bLittle &= nExtra >= 0 &&
                   (!IsUsualPath(kind) || nExtra <= (long long)GlobalSize(hSource) / SMALL_SHARE);
    }
    GlobalFree(hSource);
    return bLittle;
}

// ---- filters with windows -----------------------------------------------------------------------

static HGLOBAL Minimum(HGLOBAL hDib, int nSize, UINT mode)
{
    return FilterMinimum(hDib, nSize, mode, NULL);
}

static HGLOBAL RangeOf(HGLOBAL hDib, int nSize, UINT mode)
{
    return FilterRange(hDib, nSize, mode, NULL);
}

static HGLOBAL Median(HGLOBAL hDib, int nSize, UINT mode)
{
    return FilterMedian(hDib, nSize, mode, NULL);
}

static HGLOBAL TrimmedMean(HGLOBAL hDib, int nSize, UINT mode)
{
    return FilterAlphaTrimmedMean(hDib, nSize, nSize, mode, NULL);
}

static HGLOBAL WeightedMedian(HGLOBAL hDib, int, UINT mode)
{
    return FilterWeightedMedian(hDib, NULL, mode, NULL);
}

static HGLOBAL GeometricMean(HGLOBAL hDib, int nSize, UINT mode)
{
    return FilterGeometricMean(hDib, nSize, mode, NULL);
}

static HGLOBAL ContraHarmonicMean(HGLOBAL hDib, int nSize, UINT mode)
{
    return FilterContraHarmonicMean(hDib, nSize, 2, mode, NULL);
}

static HGLOBAL Dwmtm(HGLOBAL hDib, int nSize, UINT mode)
{
    return FilterAdaptiveDWMTM(hDib, nSize / 2, nSize, 20, mode, NULL);
}

static HGLOBAL Mmse(HGLOBAL hDib, int nSize, UINT mode)
{
    return FilterAdaptiveMMSE(hDib, nSize, 100, mode, NULL);
}

// One of each way to keep lines.
static const BenchFilter WINDOWS[] = {{"Minimum-31", Minimum, 31},
                                      {"Range-31", RangeOf, 31},
                                      {"Median-7", Median, 7},
                                      {"Median-31", Median, 31},
                                      {"Median-301", Median, 301},
                                      {"TrimmedMean-31", TrimmedMean, 31},
                                      {"WeightedMedian", WeightedMedian, 0},
                                      {"GeometricMean-31", GeometricMean, 31},
                                      {"ContraHarmonicMean-31", ContraHarmonicMean, 31},
                                      {"Dwmtm-15", Dwmtm, 15},
                                      {"Mmse-31", Mmse, 31}};

static int DoesNotGrow(const BenchFilter *pFilter, PictureKind kind)
{
    const HGLOBAL hLow = MakePicture(kind, SIDE / 2, SIDE / 2);
    const HGLOBAL hHigh = MakePicture(kind, SIDE / 2, SIDE / 2 * 3);
    const long long nLow = MeasureCall(pFilter, kind, hLow);
    const long long nHigh = MeasureCall(pFilter, kind, hHigh);
    GlobalFree(hLow);
    GlobalFree(hHigh);
    return nLow >= 0 && nLow == nHigh;
}

int main(void)
{
    int bSmall = 1;
    for (int kind = 0; kind < PICTURE_KINDS; kind++) {
        bSmall &= TakesLittle((PictureKind)kind);
        for (const BenchFilter &filter : WINDOWS) {
            bSmall &= !IsUsualPath((PictureKind)kind) || DoesNotGrow(&filter, (PictureKind)kind);
        }
    }
    return bSmall ? 0 : 1;
}
