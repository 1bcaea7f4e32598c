// Histogram transforms: every stored byte becomes a function of itself.
//
//   slide         adds to the levels of a range
//   stretch       multiplies the levels of a range, rounding to nearest
//   threshold     0 below, the top level from there on
//   complement    every bit inverted
//   modification  a logarithmic spread: ten to the power of the share of the picture up to a level
//   equalisation  that share itself, as a level
//
// Levels are the stored values: palette indices at 4 and 8 bits, whatever their colours; the three
// channels at 24 bits; padding included. Results keep the header and the colour table and end in
// four spare bytes. Any other depth is worked on byte by byte, as 8 bits; only modification and
// equalisation have no curve for it: their bytes come out 0, or 1 from where the shares add up
// to 1.
//
// The last two count first and map then, each a pass over the rows with steps of its own, and treat
// the channels separately. The few bytes behind the last whole pixel of a 24-bit row, which belong
// to no channel, are copied by them.
//
// These exports have a call frame of their own: the result is allocated before the dialogs, which
// get one pointer per parameter, or a selector; the total of the bar is the number of rows.
//
// Kept: slide and stretch read bytes as signed at 8 and 24 bits: 128 to 255 are below every range.
// Kept: they clamp an unsigned 16-bit number: what falls below 0 becomes the top level.
// Kept: when a dialog is cancelled or the progress dialog does not open, the result stays allocated
// and the source locked.

#include "VexaFilter.h"
#include "frame/call.h"
#include "frame/dib.h"
#include "frame/intops.h"
#include "frame/levels.h"
#include "frame/progress.h"

#include <math.h>
#include <string.h>

enum {
    SPARE_BYTES = 4,
    LARGEST_SIDE = 65535,  // rows, and bytes in a row: both are 16-bit numbers
    ROWS_PER_STEP = 5
};

// The facts of one transform: either MapLevel or MapShare.
struct HistogramTransform {
    const char *pDialogEntry;
    int bAcceptMono;
    // The new level of a stored one, of 0 to top.
    int (*MapLevel)(const void *pArguments, int level, int top);
    // The new level of one up to which that share of the picture lies, before it is limited and its
    // fraction dropped.
    double (*MapShare)(double share, int bitCount);
};

// One call of it. pArguments: what MapLevel reads and the dialog writes.
struct HistogramCall {
    HGLOBAL hDib;
    const void *pArguments;
    UINT_PTR dialogArguments[MAX_DIALOG_ARGUMENTS];
    int nDialogArguments;
    UINT mode;
    const HWND *pParent;
};

struct HistogramJob {
    const HistogramTransform *pTransform;
    DibView source;
    HGLOBAL hResult;
    BYTE *pResultBits;
    FilterThreadState *pState;
    int bProgress;
    DWORD counts[COLOR_CHANNELS][GRAY_LEVELS];
    BYTE tables[COLOR_CHANNELS][GRAY_LEVELS];  // of the channels; the first for all bytes otherwise
};

// ---- curves -------------------------------------------------------------------------------------

// The order of the exports' arguments.
struct SlideArguments {
    UINT low, high;
    int shift;
    UINT mode;
    HWND hParent;
};

struct StretchArguments {
    UINT low, high;
    float factor;
    UINT mode;
    HWND hParent;
};

struct ThresholdArguments {
    UINT threshold;
    UINT mode;
    HWND hParent;
};

enum { TOP_BYTE = 255, TOP_NIBBLE = 15 };

// A stored level as the ranges see it.
static int SignedLevel(int level, int top)
{
    return top == TOP_BYTE ? (signed char)level : level;
}

static int IsInRange(int level, UINT low, UINT high)
{
    return (BYTE)low <= level && level <= (BYTE)high;
}

static int LimitWord(unsigned value, int top)
{
    return (WORD)value > top ? top : (WORD)value;
}

static int SlideLevel(const void *pArguments, int level, int top)
{
    const SlideArguments *p = (const SlideArguments *)pArguments;
    const int value = SignedLevel(level, top);
    if (!IsInRange(value, p->low, p->high)) {
        return level;
    }
    return LimitWord((unsigned)value + (unsigned)p->shift, top);
}

static int StretchLevel(const void *pArguments, int level, int top)
{
    const StretchArguments *p = (const StretchArguments *)pArguments;
    const int value = SignedLevel(level, top);
    if (!IsInRange(value, p->low, p->high)) {
        return level;
    }
    return LimitWord((unsigned)TruncateToInt(value * (double)p->factor + 0.5), top);
}

static int ThresholdLevel(const void *pArguments, int level, int top)
{
    return level < (WORD)((const ThresholdArguments *)pArguments)->threshold ? 0 : top;
}

static int ComplementLevel(const void *pArguments, int level, int top)
{
    (void)pArguments;
    return top - level;
}

// Kept: the exponents are the decimal logarithms of 16 and 256 to five decimals.
static double ModifiedShare(double share, int bitCount)
{
    const double exponent = bitCount == 4 ? 1.20412 : 2.40824;
    return pow(10.0, share * exponent) - 1.0;
}

static double EqualizedShare(double share, int bitCount)
{
    return share * (bitCount == 4 ? 15.0 : 255.0);
}

// ---- tables -------------------------------------------------------------------------------------

static int TopLevel(int bitCount)
{
    return bitCount == 4 ? TOP_NIBBLE : TOP_BYTE;
}

// A table of nibbles as one of bytes.
static void PairNibbles(const BYTE *nibbles, BYTE *table)
{
    for (int i = 0; i < GRAY_LEVELS; i++) {
        table[i] = (BYTE)(nibbles[i >> 4] << 4 | nibbles[i & 15]);
    }
}

static void MakeLevelTable(HistogramJob *pJob, const void *pArguments)
{
    BYTE levels[GRAY_LEVELS];
    const int top = TopLevel(pJob->source.shape.bitCount);
    for (int level = 0; level <= top; level++) {
        levels[level] = (BYTE)pJob->pTransform->MapLevel(pArguments, level, top);
    }
    if (top == TOP_NIBBLE) {
        PairNibbles(levels, pJob->tables[0]);
    } else {
        memcpy(pJob->tables[0], levels, sizeof levels);
    }
}

// Counts of bytes as counts of their two nibbles.
static void SplitCounts(const DWORD *bytes, DWORD *nibbles)
{
    memset(nibbles, 0, GRAY_LEVELS * sizeof *nibbles);
    for (int i = 0; i < GRAY_LEVELS; i++) {
        nibbles[i >> 4] += bytes[i];
        nibbles[i & 15] += bytes[i];
    }
}

static BYTE ShareLevel(const HistogramJob *pJob, double share)
{
    const int bitCount = pJob->source.shape.bitCount;
    const int top = TopLevel(bitCount);
    if (bitCount != 4 && bitCount != 8 && bitCount != 24) {
        return (BYTE)(int)share;  // Kept: there is no curve for other depths.
    }
    const double value = pJob->pTransform->MapShare(share, bitCount);
    return (BYTE)(int)(value > top ? top : value);
}

static void MakeShareTable(const HistogramJob *pJob, const DWORD *counts, BYTE *levels)
{
    const int top = TopLevel(pJob->source.shape.bitCount);
    double total = 0.0;
    double share = 0.0;
    for (int level = 0; level <= top; level++) {
        total += counts[level];
    }
    for (int level = 0; level <= top; level++) {
        share += counts[level] / total;
        levels[level] = ShareLevel(pJob, share);
    }
}

static void MakeShareTables(HistogramJob *pJob)
{
    const int bitCount = pJob->source.shape.bitCount;
    if (bitCount == 4) {
        DWORD counts[GRAY_LEVELS];
        BYTE levels[GRAY_LEVELS];
        SplitCounts(pJob->counts[0], counts);
        MakeShareTable(pJob, counts, levels);
        PairNibbles(levels, pJob->tables[0]);
        return;
    }
    for (int channel = 0; channel < (bitCount == 24 ? COLOR_CHANNELS : 1); channel++) {
        MakeShareTable(pJob, pJob->counts[channel], pJob->tables[channel]);
    }
}

// ---- rows ---------------------------------------------------------------------------------------

// Channels apart, in pJob->counts and pJob->tables.
static int IsByChannel(const HistogramJob *pJob)
{
    return pJob->source.shape.bitCount == 24 && pJob->pTransform->MapShare != NULL;
}

// A run of rows. Without bytes behind the last whole pixel the channels go on from row to row.
typedef void (*RowsFunction)(HistogramJob *pJob, size_t nOffset, size_t nBytes);

static void CountRows(HistogramJob *pJob, size_t nOffset, size_t nBytes)
{
    const BYTE *src = pJob->source.pBits + nOffset;
    const size_t stride = pJob->source.shape.stride;
    const size_t run = stride % COLOR_CHANNELS == 0 ? nBytes : stride;
    if (!IsByChannel(pJob)) {
        CountBytes(src, nBytes, pJob->counts[0]);
        return;
    }
    for (size_t i = 0; i < nBytes; i += run) {
        CountPixels(src + i, run - run % COLOR_CHANNELS, pJob->counts);
    }
}

static void MapRows(HistogramJob *pJob, size_t nOffset, size_t nBytes)
{
    const BYTE *src = pJob->source.pBits + nOffset;
    BYTE *dst = pJob->pResultBits + nOffset;
    const size_t stride = pJob->source.shape.stride;
    const size_t run = stride % COLOR_CHANNELS == 0 ? nBytes : stride;
    const size_t rest = run % COLOR_CHANNELS;
    if (!IsByChannel(pJob)) {
        MapBytes(pJob->tables[0], src, dst, nBytes);
        return;
    }
    for (size_t i = 0; i < nBytes; i += run) {
        MapPixels(pJob->tables, src + i, dst + i, run - rest);
        memcpy(dst + i + run - rest, src + i + run - rest, rest);
    }
}

// A pass over all rows. The user can only cancel at a step, so the rows up to the next one, or all
// of them where there are no steps, are a single run. 0 once he has.
static int PassOverRows(HistogramJob *pJob, RowsFunction function)
{
    const unsigned height = (unsigned)pJob->source.shape.height;
    const size_t stride = pJob->source.shape.stride;
    const unsigned most = pJob->bProgress ? (unsigned)ROWS_PER_STEP : height;
    for (unsigned row = 0; row < height; row += most) {
        const unsigned rows = height - row < most ? height - row : most;
        if (!BeginUnit(pJob->pState, pJob->bProgress, row)) {
            return 0;
        }
        function(pJob, row * stride, rows * stride);
    }
    return 1;
}

static int TransformRows(HistogramJob *pJob, const void *pArguments)
{
    if (pJob->pTransform->MapShare == NULL) {
        MakeLevelTable(pJob, pArguments);
    } else {
        if (!PassOverRows(pJob, CountRows)) {
            return 0;
        }
        MakeShareTables(pJob);
    }
    return PassOverRows(pJob, MapRows);
}

// ---- the frame ----------------------------------------------------------------------------------

static int LockSource(HistogramJob *pJob, HGLOBAL hDib)
{
    const DibShape *p = &pJob->source.shape;
    if (!LockDibByLowDepth(hDib, &pJob->source)) {
        return 0;
    }
    if (p->nPlanes != 1 || p->height > LARGEST_SIDE || p->stride > LARGEST_SIDE ||
        (p->bitCount == 1 && !pJob->pTransform->bAcceptMono)) {
        UnlockDib(&pJob->source);
        return 0;
    }
    return 1;
}

static int LockResult(HistogramJob *pJob)
{
    BYTE *pBlock = (BYTE *)GlobalLock(pJob->hResult);
    if (pBlock == NULL) {
        return 0;
    }
    memcpy(pBlock, pJob->source.pBlock, pJob->source.shape.nBitsOffset);
    pJob->pResultBits = pBlock + pJob->source.shape.nBitsOffset;
    return 1;
}

// Everything between the progress dialog and the end of the call.
static HGLOBAL FinishJob(HistogramJob *pJob, const void *pArguments)
{
    const HCURSOR hCursor = ShowWaitCursor();
    int bDone = 0;
    if (LockResult(pJob)) {
        bDone = TransformRows(pJob, pArguments);
        GlobalUnlock(pJob->hResult);
    }
    UnlockDib(&pJob->source);
    SetCursor(hCursor);
    if (pJob->bProgress) {
        CloseProgressDialog();
    }
    if (!bDone || pJob->pState->bCancelled) {
        GlobalFree(pJob->hResult);
        return NULL;
    }
    pJob->pState->nLastError = pJob->pState->nCurrentError;
    return pJob->hResult;
}

static HGLOBAL RunJob(HistogramJob *pJob, const HistogramCall *pCall)
{
    const DibShape *p = &pJob->source.shape;
    const int nPasses = pJob->pTransform->MapShare != NULL ? 2 : 1;
    if (!LockSource(pJob, pCall->hDib)) {
        return NULL;
    }
    pJob->hResult = AllocBlock((unsigned long long)p->nBitsOffset +
                               (unsigned long long)p->stride * (unsigned)p->height + SPARE_BYTES);
    if (pJob->hResult == NULL) {
        UnlockDib(&pJob->source);
        return NULL;
    }
    // Kept: both ways out here leave the result allocated and the source locked.
    if (WantsDialog(pCall->mode) &&
        !RunParameterDialog(pJob->pTransform->pDialogEntry, pCall->dialogArguments,
                            pCall->nDialogArguments)) {
        return NULL;
    }
    if (pJob->bProgress && !OpenProgressDialog(*pCall->pParent, nPasses * p->height)) {
        return NULL;
    }
    return FinishJob(pJob, pCall->pArguments);
}

static HGLOBAL RunTransform(const HistogramTransform *pTransform, HistogramCall *pCall)
{
    RunningCall running;
    HistogramJob job;
    memset(&job, 0, sizeof job);
    job.pTransform = pTransform;
    job.pState = BeginCall(&running);
    job.pState->nCurrentError = ERROR_NONE;
    job.pState->bCancelled = 0;
    if (IsNestedInProgress(&running)) {
        pCall->mode = 0;
    }
    job.bProgress = WantsProgress(pCall->mode);
    const HGLOBAL hResult = RunJob(&job, pCall);
    EndCall(&running);
    return hResult;
}

// ---- exports ------------------------------------------------------------------------------------

// The parameters are 32-bit numbers at the front of the record.
static HGLOBAL RunWithParameters(const HistogramTransform *pTransform, HGLOBAL hDib,
                                 void *pArguments, int nParameters, UINT mode, const HWND *pParent)
{
    HistogramCall call = {hDib, pArguments, {(UINT_PTR)hDib}, 1, mode, pParent};
    for (int i = 0; i < nParameters; i++) {
        call.dialogArguments[call.nDialogArguments++] = (UINT_PTR)((UINT *)pArguments + i);
    }
    return RunTransform(pTransform, &call);
}

HGLOBAL VEXAFILTER_API HistDIBSlide(HGLOBAL hDib, UINT low, UINT high, int shift, UINT mode,
                                    HWND hParent)
{
    static const HistogramTransform SLIDE = {"HistSlideUI", 0, SlideLevel, NULL};
    SlideArguments arguments = {low, high, shift, mode, hParent};
    return RunWithParameters(&SLIDE, hDib, &arguments, 3, mode, &arguments.hParent);
}

HGLOBAL VEXAFILTER_API HistDIBStretch(HGLOBAL hDib, UINT low, UINT high, float factor, UINT mode,
                                      HWND hParent)
{
    static const HistogramTransform STRETCH = {"HistStretchUI", 0, StretchLevel, NULL};
    StretchArguments arguments = {low, high, factor, mode, hParent};
    return RunWithParameters(&STRETCH, hDib, &arguments, 3, mode, &arguments.hParent);
}

HGLOBAL VEXAFILTER_API HistDIBThreshold(HGLOBAL hDib, UINT threshold, UINT mode, HWND hParent)
{
    static const HistogramTransform THRESHOLD = {"ThresholdUI", 0, ThresholdLevel, NULL};
    ThresholdArguments arguments = {threshold, mode, hParent};
    return RunWithParameters(&THRESHOLD, hDib, &arguments, 1, mode, &arguments.hParent);
}

// The other three share a dialog, which is told by a number which of them calls.
static HGLOBAL RunUnasked(const HistogramTransform *pTransform, HGLOBAL hDib, UINT_PTR selector,
                          UINT mode, HWND hParent)
{
    HistogramCall call = {hDib, NULL, {(UINT_PTR)hDib, selector}, 2, mode, &hParent};
    return RunTransform(pTransform, &call);
}

HGLOBAL VEXAFILTER_API HistDIBComplement(HGLOBAL hDib, UINT mode, HWND hParent)
{
    static const HistogramTransform COMPLEMENT = {"HistTransformUI", 1, ComplementLevel, NULL};
    return RunUnasked(&COMPLEMENT, hDib, 0, mode, hParent);
}

HGLOBAL VEXAFILTER_API HistDIBModify(HGLOBAL hDib, UINT mode, HWND hParent)
{
    static const HistogramTransform MODIFY = {"HistTransformUI", 0, NULL, ModifiedShare};
    return RunUnasked(&MODIFY, hDib, 1, mode, hParent);
}

HGLOBAL VEXAFILTER_API HistDIBEqualization(HGLOBAL hDib, UINT mode, HWND hParent)
{
    static const HistogramTransform EQUALIZATION = {"HistTransformUI", 0, NULL, EqualizedShare};
    return RunUnasked(&EQUALIZATION, hDib, 2, mode, hParent);
}
