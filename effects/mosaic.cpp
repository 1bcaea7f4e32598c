// Mosaic: every square of the picture becomes its mean, fractions dropped; the squares at the right
// and lower edge are cut.
//
// A band of squares is summed row by row into columns, the columns into squares; then one row is
// filled and copied to the others. Where a gray palette lacks levels, squares are made one after
// the other, column of squares by column of squares: a mean without an entry takes over the entry
// of its own number, which changes what squares that come later are made of.

#include "VexaFilter.h"
#include "effect_frame.h"
#include "effect_kernels.h"
#include "frame/intops.h"
#include "frame/levels.h"
#include "frame/progress.h"
#include "platform/workmemory.h"
#include "sample_rows.h"

#include <string.h>

struct MosaicRun {
    SampleRows rows;
    DibView result;
    int64_t nSide;
    int nAcross, nDown;  // squares
    uint32_t *columns;   // sums of a band, or part of it
    uint64_t *totals;    // of its squares, by channel
    BYTE *scratch;       // a row
};

// A column's sum of so many rows fits 32 bits.
enum { ROWS_MOST = 1 << 23 };

static int EndOf(const MosaicRun *p, int nSquare, int size)
{
    const int64_t nEnd = (nSquare + 1) * p->nSide;
    return nEnd < size ? (int)nEnd : size;
}

static int StartOf(const MosaicRun *p, int nSquare)
{
    return (int)(nSquare * p->nSide);
}

// ---- by bands -----------------------------------------------------------------------------------

static void AddColumns(MosaicRun *p)
{
    const size_t channels = p->rows.channels;
    for (int i = 0; i < p->nAcross; i++) {
        const size_t nEnd = (size_t)EndOf(p, i, p->rows.width) * channels;
        for (size_t channel = 0; channel < channels; channel++) {
            uint64_t sum = 0;
            for (size_t j = (size_t)StartOf(p, i) * channels + channel; j < nEnd; j += channels) {
                sum += p->columns[j];
            }
            p->totals[(size_t)i * channels + channel] += sum;
        }
    }
}

static void SumBand(MosaicRun *p, int nTop, int nBottom)
{
    memset(p->totals, 0, (size_t)p->nAcross * p->rows.channels * sizeof *p->totals);
    for (int y = nTop; y < nBottom;) {
        const int nEnd = nBottom - y < ROWS_MOST ? nBottom : y + ROWS_MOST;
        memset(p->columns, 0, p->rows.nSamples * sizeof *p->columns);
        for (; y < nEnd; y++) {
            const BYTE *samples = RowSamples(&p->rows, y, p->scratch);
            g_pEffectKernels->AddToColumns(p->columns, samples, p->rows.nSamples);
        }
        AddColumns(p);
    }
}

static void FillRow(const MosaicRun *p, int nRows, BYTE *row)
{
    const size_t channels = p->rows.channels;
    for (int i = 0; i < p->nAcross; i++) {
        const int nStart = StartOf(p, i), nEnd = EndOf(p, i, p->rows.width);
        const uint64_t nCount = (uint64_t)(nEnd - nStart) * (unsigned)nRows;
        BYTE *pixel = row + (size_t)nStart * channels;
        BYTE mean[COLOR_CHANNELS] = {};
        for (size_t channel = 0; channel < channels; channel++) {
            mean[channel] = (BYTE)(p->totals[(size_t)i * channels + channel] / nCount);
        }
        if (channels == 1) {
            memset(pixel, mean[0], (size_t)(nEnd - nStart));
            continue;
        }
        for (int x = nStart; x < nEnd; x++, pixel += COLOR_CHANNELS) {
            pixel[0] = mean[0];
            pixel[1] = mean[1];
            pixel[2] = mean[2];
        }
    }
}

static void MakeBand(MosaicRun *p, int nTop, int nBottom)
{
    BYTE *bottomRow = PictureRow(&p->result, nBottom - 1);
    SumBand(p, nTop, nBottom);
    FillRow(p, nBottom - nTop, bottomRow);
    if (!p->rows.bStored) {
        BYTE indexOf[GRAY_LEVELS];
        for (int i = 0; i < GRAY_LEVELS; i++) {
            indexOf[i] = (BYTE)p->rows.maps.indexOf[i];
        }
        MapBytes(indexOf, bottomRow, bottomRow, p->rows.nSamples);
    }
    for (int y = nBottom - 1; y >= nTop; y--) {
        if (y < nBottom - 1) {
            memcpy(PictureRow(&p->result, y), bottomRow, p->rows.nSamples);
        }
        CopyRowPadding(p->rows.pView, &p->result, y);
    }
}

// The bar counts columns of squares.
static int MakeBands(MosaicRun *p, int bProgress)
{
    ProgressPace pace = {GetFilterThreadState(), bProgress, UnitSteps(0, p->nAcross), 0};
    p->columns = (uint32_t *)WorkAlloc(p->rows.nSamples, sizeof *p->columns);
    p->totals = (uint64_t *)WorkAlloc((size_t)p->nAcross * p->rows.channels, sizeof *p->totals);
    p->scratch = (BYTE *)WorkAlloc(p->rows.nSamples, 1);
    if (p->columns == NULL || p->totals == NULL || p->scratch == NULL) {
        return 0;
    }
    for (int i = p->nDown - 1; i >= 0; i--) {
        if (!BeginPacedRow(&pace, p->nDown - 1 - i, p->nDown)) {
            return 0;
        }
        MakeBand(p, StartOf(p, i), EndOf(p, i, p->rows.height));
    }
    return 1;
}

// ---- palettes that lack levels ------------------------------------------------------------------

static void MakeSquare(MosaicRun *p, int nLeft, int nRight, int nTop, int nBottom)
{
    const size_t nColumns = (size_t)(nRight - nLeft);
    uint64_t sum = 0;
    for (int y = nTop; y < nBottom; y++) {
        const BYTE *src = PictureRow(p->rows.pView, y) + nLeft;
        for (size_t x = 0; x < nColumns; x++) {
            sum += p->rows.maps.levels[src[x]];
        }
    }
    const int mean = (int)(sum / (nColumns * (uint64_t)(nBottom - nTop)));
    const int index = GrayLevelToIndex(&p->rows.maps, mean);
    for (int y = nTop; y < nBottom; y++) {
        memset(PictureRow(&p->result, y) + nLeft, index, nColumns);
    }
}

static int MakeSquares(MosaicRun *p, int bProgress)
{
    const FilterThreadState *pState = GetFilterThreadState();
    for (int i = 0; i < p->nAcross; i++) {
        if (!BeginUnit(pState, bProgress, (unsigned)i)) {
            return 0;
        }
        for (int j = 0; j < p->nDown; j++) {
            MakeSquare(p, StartOf(p, i), EndOf(p, i, p->rows.width), StartOf(p, j),
                       EndOf(p, j, p->rows.height));
        }
    }
    for (int y = 0; y < p->rows.height; y++) {
        CopyRowPadding(p->rows.pView, &p->result, y);
    }
    StoreChangedLevels(&p->result, &p->rows.maps);
    return 1;
}

// ---- the filter ---------------------------------------------------------------------------------

static int HasNoNegativeSide(const void *pArguments)
{
    return *(const int *)pArguments >= 0;
}

static int HasSide(const void *pArguments)
{
    return *(const int *)pArguments >= 1;
}

static int StepsOverSquares(int width, int height, int bGray, const void *pArguments)
{
    const uint64_t nAcross = CeilDivide((uint64_t)width, *(const unsigned *)pArguments);
    (void)height;
    (void)bGray;
    return (int)((double)nAcross * 0.2 * 5.0);
}

static HGLOBAL Mosaic(FilterCall *pCall, const Picture *pPicture)
{
    const unsigned nSide = *(const unsigned *)pCall->pArguments;
    MosaicRun run;
    memset(&run, 0, sizeof run);
    OpenSamples(pPicture, SAMPLE_LEVELS, &run.rows);
    run.nSide = nSide;
    run.nAcross = (int)CeilDivide((uint64_t)run.rows.width, nSide);
    run.nDown = (int)CeilDivide((uint64_t)run.rows.height, nSide);
    HGLOBAL hResult = DuplicateFrame(&pPicture->view, &run.result);
    if (hResult == NULL) {
        return NULL;
    }
    const int bInOrder = !run.rows.bStored && !HasAllLevels(&run.rows.maps);
    const int bDone =
        bInOrder ? MakeSquares(&run, pCall->bProgress) : MakeBands(&run, pCall->bProgress);
    UnlockDib(&run.result);
    if (!bDone) {
        GlobalFree(hResult);
        hResult = NULL;
    }
    WorkFree(run.scratch);
    WorkFree(run.totals);
    WorkFree(run.columns);
    return hResult;
}

static constexpr FilterFrame MosaicFrame(void)
{
    FilterFrame frame = EffectFrame("FILTERGROUPUI", 1, 1, NUMBER_MOSAIC, HasNoNegativeSide, Mosaic,
                                    StepsOverSquares);
    frame.AcceptsEdited = HasSide;  // a side of 0 is one that the user has yet to choose
    return frame;
}

HGLOBAL VEXAFILTER_API FilterMozaic(HGLOBAL hDib, int nBlockSize, UINT mode, HWND hParent)
{
    static constexpr FilterFrame FRAME = MosaicFrame();
    return RunFilter(&FRAME, hDib, {nBlockSize}, mode, hParent);
}
