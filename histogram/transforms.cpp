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
// The result is allocated before the dialogs, which get one pointer per parameter, or a selector;
// the total of the bar is the number of rows. Header and depth are read more leniently than
// elsewhere.
//
// Kept: slide and stretch read bytes as signed at 8 and 24 bits: 128 to 255 are below every range.
// Kept: they clamp an unsigned 16-bit number: what falls below 0 becomes the top level.
// Kept: when a dialog is cancelled or the progress dialog does not open, the result stays allocated
// and the source locked.

#include "VexaFilter.h"

#include "counts.h"
#include "frame/intops.h"
#include "frame/rows.h"

#include <math.h>
#include <string.h>

// What a transform does to a level: one of the two.
struct HistogramTransform {
    // The new level of a stored one, of 0 to top.
    int (*MapLevel)(const void *pArguments, int level, int top);
    // The new level of one up to which that share of the picture lies, before it is limited and its
    // fraction dropped.
    double (*MapShare)(double share, int bitCount);
};

// One call's counts and tables, the frame's plan.
struct TransformPlan {
    const HistogramTransform *pTransform;
    const DibView *pSource;
    BYTE *pResultBits;
    DWORD counts[COLOR_CHANNELS][GRAY_LEVELS];
    BYTE tables[COLOR_CHANNELS][GRAY_LEVELS];  // of the channels; the first for all bytes otherwise
};

// ---- curves -------------------------------------------------------------------------------------

// The first two parameters of slide and stretch are the range, the third is the shift, or the bits
// of a float factor.
struct RangeArguments {
    int low, high;
    int amount;
};

enum { TOP_BYTE = 255, TOP_NIBBLE = 15 };

// A stored level as the ranges see it.
static int SignedLevel(int level, int top)
{
    return top == TOP_BYTE ? (signed char)level : level;
}

static int IsInRange(const RangeArguments *p, int level)
{
    return (BYTE)p->low <= level && level <= (BYTE)p->high;
}

static int LimitWord(unsigned value, int top)
{
    return (WORD)value > top ? top : (WORD)value;
}

static int SlideLevel(const void *pArguments, int level, int top)
{
    const RangeArguments *p = (const RangeArguments *)pArguments;
    const int value = SignedLevel(level, top);
    if (!IsInRange(p, value)) {
        return level;
    }
    return LimitWord((unsigned)value + (unsigned)p->amount, top);
}

static int StretchLevel(const void *pArguments, int level, int top)
{
    const RangeArguments *p = (const RangeArguments *)pArguments;
    const int value = SignedLevel(level, top);
    if (!IsInRange(p, value)) {
        return level;
    }
    const double factor = (double)FloatOfBits((uint32_t)p->amount);
    return LimitWord((unsigned)TruncateToInt(value * factor + 0.5), top);
}

static int ThresholdLevel(const void *pArguments, int level, int top)
{
    return level < (WORD) * (const int *)pArguments ? 0 : top;
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

static void MakeLevelTable(TransformPlan *pPlan, const void *pArguments)
{
    BYTE levels[GRAY_LEVELS];
    const int top = TopLevel(pPlan->pSource->shape.bitCount);
    for (int level = 0; level <= top; level++) {
        levels[level] = (BYTE)pPlan->pTransform->MapLevel(pArguments, level, top);
    }
    if (top == TOP_NIBBLE) {
        PairNibbles(levels, pPlan->tables[0]);
    } else {
        memcpy(pPlan->tables[0], levels, sizeof levels);
    }
}

static BYTE ShareLevel(const TransformPlan *pPlan, double share)
{
    const int bitCount = pPlan->pSource->shape.bitCount;
    const int top = TopLevel(bitCount);
    if (bitCount != 4 && bitCount != 8 && bitCount != 24) {
        return (BYTE)(int)share;  // Kept: there is no curve for other depths.
    }
    const double value = pPlan->pTransform->MapShare(share, bitCount);
    return (BYTE)(int)(value > top ? top : value);
}

static void MakeShareTable(const TransformPlan *pPlan, const DWORD *counts, BYTE *levels)
{
    const int top = TopLevel(pPlan->pSource->shape.bitCount);
    double total = 0.0;
    double share = 0.0;
    for (int level = 0; level <= top; level++) {
        total += counts[level];
    }
    for (int level = 0; level <= top; level++) {
        share += counts[level] / total;
        levels[level] = ShareLevel(pPlan, share);
    }
}

static void MakeShareTables(TransformPlan *pPlan)
{
    const int bitCount = pPlan->pSource->shape.bitCount;
    if (bitCount == 4) {
        DWORD counts[GRAY_LEVELS];
        BYTE levels[GRAY_LEVELS];
        SplitCounts(pPlan->counts[0], counts);
        MakeShareTable(pPlan, counts, levels);
        PairNibbles(levels, pPlan->tables[0]);
        return;
    }
    for (int channel = 0; channel < (bitCount == 24 ? COLOR_CHANNELS : 1); channel++) {
        MakeShareTable(pPlan, pPlan->counts[channel], pPlan->tables[channel]);
    }
}

// ---- rows ---------------------------------------------------------------------------------------

// Channels apart, in pPlan->counts and pPlan->tables.
static int IsByChannel(const TransformPlan *pPlan)
{
    return pPlan->pSource->shape.bitCount == 24 && pPlan->pTransform->MapShare != NULL;
}

static void CountRows(void *pContext, unsigned nFirst, unsigned nRows)
{
    TransformPlan *pPlan = (TransformPlan *)pContext;
    const size_t stride = pPlan->pSource->shape.stride;
    const BYTE *src = pPlan->pSource->pBits + nFirst * stride;
    if (IsByChannel(pPlan)) {
        CountChannels(src, nRows, stride, pPlan->counts);
    } else {
        CountBytes(src, nRows * stride, pPlan->counts[0]);
    }
}

// Without bytes behind the last whole pixel the channels go on from row to row.
static void MapRows(void *pContext, unsigned nFirst, unsigned nRows)
{
    const TransformPlan *pPlan = (const TransformPlan *)pContext;
    const size_t stride = pPlan->pSource->shape.stride;
    const BYTE *src = pPlan->pSource->pBits + nFirst * stride;
    BYTE *dst = pPlan->pResultBits + nFirst * stride;
    const size_t nBytes = nRows * stride;
    const size_t run = stride % COLOR_CHANNELS == 0 ? nBytes : stride;
    const size_t rest = run % COLOR_CHANNELS;
    if (!IsByChannel(pPlan)) {
        MapBytes(pPlan->tables[0], src, dst, nBytes);
        return;
    }
    for (size_t i = 0; i < nBytes; i += run) {
        MapPixels(pPlan->tables, src + i, dst + i, run - rest);
        memcpy(dst + i + run - rest, src + i + run - rest, rest);
    }
}

// ---- the call -----------------------------------------------------------------------------------

static int AllocResult(FilterCall *pCall)
{
    pCall->hResult = AllocRowsResult(&pCall->source);
    return pCall->hResult != NULL;
}

static int TransformRows(FilterCall *pCall, TransformPlan *pPlan)
{
    if (pPlan->pTransform->MapShare == NULL) {
        MakeLevelTable(pPlan, pCall->pArguments);
    } else {
        if (!PassOverRows(pCall, CountRows, pPlan)) {
            return 0;
        }
        MakeShareTables(pPlan);
    }
    return PassOverRows(pCall, MapRows, pPlan);
}

static HGLOBAL Transform(FilterCall *pCall, const Picture *pPicture)
{
    TransformPlan *pPlan = (TransformPlan *)pCall->pPlan;
    (void)pPicture;
    pPlan->pTransform = (const HistogramTransform *)pCall->pFrame->pRule;
    pPlan->pSource = &pCall->source;
    pPlan->pResultBits = LockRowsResult(pCall->hResult, &pCall->source);
    if (pPlan->pResultBits == NULL) {
        return NULL;
    }
    const int bDone = TransformRows(pCall, pPlan);
    GlobalUnlock(pCall->hResult);
    return bDone ? pCall->hResult : NULL;
}

static int TwoPassesOverRows(int width, int height, int bGray, const void *pArguments)
{
    return 2 * OnePassOverRows(width, height, bGray, pArguments);
}

static constexpr FilterFrame TransformFrame(const char *pDialogEntry, int nParameters,
                                            const HistogramTransform *pTransform)
{
    FilterFrame frame = {};
    frame.pDialogEntry = pDialogEntry;
    frame.nParameters = frame.nDialogPointers = nParameters;
    frame.nPlanBytes = sizeof(TransformPlan);
    frame.nAccepted = ACCEPT_4 | ACCEPT_8 | ACCEPT_24 | ACCEPT_OTHER;
    frame.StepTotal = pTransform->MapShare != NULL ? TwoPassesOverRows : OnePassOverRows;
    frame.pRule = pTransform;
    frame.Work = Transform;
    frame.nQuirks =
        AS_STORED | LOW_BYTE_OF_DEPTH | ONE_PLANE | SIXTEEN_BIT_ROWS | DIALOG_LEAVES_RESULT;
    frame.Prepare = AllocResult;
    return frame;
}

// These share a dialog, which is told by a number which of them calls.
static constexpr FilterFrame UnaskedFrame(int nDialogNumber, unsigned nMoreDepths,
                                          const HistogramTransform *pTransform)
{
    FilterFrame frame = TransformFrame("HistTransformUI", 0, pTransform);
    frame.nDialogNumber = nDialogNumber;
    frame.nAccepted |= nMoreDepths;
    return frame;
}

static constexpr HistogramTransform SLIDE = {SlideLevel, NULL};
static constexpr HistogramTransform STRETCH = {StretchLevel, NULL};
static constexpr HistogramTransform THRESHOLD = {ThresholdLevel, NULL};
static constexpr HistogramTransform COMPLEMENT = {ComplementLevel, NULL};
static constexpr HistogramTransform MODIFICATION = {NULL, ModifiedShare};
static constexpr HistogramTransform EQUALIZATION = {NULL, EqualizedShare};

// ---- exports ------------------------------------------------------------------------------------

HGLOBAL VEXAFILTER_API HistDIBSlide(HGLOBAL hDib, UINT low, UINT high, int shift, UINT mode,
                                    HWND hParent)
{
    static constexpr FilterFrame FRAME = TransformFrame("HistSlideUI", 3, &SLIDE);
    return RunFilter(&FRAME, hDib, {(int)low, (int)high, shift}, mode, hParent);
}

HGLOBAL VEXAFILTER_API HistDIBStretch(HGLOBAL hDib, UINT low, UINT high, float factor, UINT mode,
                                      HWND hParent)
{
    static constexpr FilterFrame FRAME = TransformFrame("HistStretchUI", 3, &STRETCH);
    return RunFilter(&FRAME, hDib, {(int)low, (int)high, (int)BitsOfFloat(factor)}, mode, hParent);
}

HGLOBAL VEXAFILTER_API HistDIBThreshold(HGLOBAL hDib, UINT threshold, UINT mode, HWND hParent)
{
    static constexpr FilterFrame FRAME = TransformFrame("ThresholdUI", 1, &THRESHOLD);
    return RunFilter(&FRAME, hDib, {(int)threshold}, mode, hParent);
}

HGLOBAL VEXAFILTER_API HistDIBComplement(HGLOBAL hDib, UINT mode, HWND hParent)
{
    static constexpr FilterFrame FRAME = UnaskedFrame(0, ACCEPT_1, &COMPLEMENT);
    return RunFilter(&FRAME, hDib, {}, mode, hParent);
}

HGLOBAL VEXAFILTER_API HistDIBModify(HGLOBAL hDib, UINT mode, HWND hParent)
{
    static constexpr FilterFrame FRAME = UnaskedFrame(1, 0, &MODIFICATION);
    return RunFilter(&FRAME, hDib, {}, mode, hParent);
}

HGLOBAL VEXAFILTER_API HistDIBEqualization(HGLOBAL hDib, UINT mode, HWND hParent)
{
    static constexpr FilterFrame FRAME = UnaskedFrame(2, 0, &EQUALIZATION);
    return RunFilter(&FRAME, hDib, {}, mode, hParent);
}
