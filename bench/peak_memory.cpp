// What a call allocates beyond its source and its result, for every filter and kind of picture.
//
//     peak_memory          a line for each: NAME BYTES PERCENT-OF-A-PICTURE
//
// The call shows its progress, and at each step of the bar the bytes in live blocks are
// read: a temporary that lives from one step to a later one, as an image-sized one must, is seen.
// The exit status is 1 when a call on colours or on a palette with all levels (the usual path)
// takes more than a sixteenth of a picture.

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

// 0 when the call failed or took too much.
static int MeasureCall(const BenchFilter *pFilter, PictureKind kind, HGLOBAL hSource)
{
    Peak peak = {0, 0};
    const size_t nBefore = TestLiveBytes();
    const size_t nPicture = GlobalSize(hSource);
    SetProgressObserver(NotePeak, &peak);
    const HGLOBAL hResult = pFilter->Run(hSource, pFilter->nParameter, MODE_PROGRESS);
    SetProgressObserver(NULL, NULL);
    const size_t nKnown = nBefore + GlobalSize(hResult);
    if (hResult == NULL || peak.nSteps == 0 || peak.nBytes < nKnown) {
        fprintf(stderr, "%s/%s was not measured.\n", pFilter->pName, PICTURE_NAMES[kind]);
        return 0;
    }
    GlobalFree(hResult);
    const size_t nExtra = peak.nBytes - nKnown;
    printf("%s/%s %zu %.1f%%\n", pFilter->pName, PICTURE_NAMES[kind], nExtra,
           100.0 * (double)nExtra / (double)nPicture);
    return !IsUsualPath(kind) || nExtra <= nPicture / SMALL_SHARE;
}

int main(void)
{
    int bSmall = 1;
    for (int kind = 0; kind < PICTURE_KINDS; kind++) {
        const HGLOBAL hSource = MakePicture((PictureKind)kind, SIDE, SIDE);
        if (hSource == NULL) {
            return 1;
        }
        for (const BenchFilter &filter : CONVOLUTIONS) {
            bSmall &= MeasureCall(&filter, (PictureKind)kind, hSource);
        }
        GlobalFree(hSource);
    }
    return bSmall ? 0 : 1;
}
