// The mean filters: every pixel whose window lies inside the picture becomes a mean of the window -
// geometric, harmonic, contra-harmonic, of order P, or weighted by a mask; all others are copied.
//
// A mean is a rule: one or two sums of terms that are functions of a sample, and what becomes of
// them. The terms stand in tables that the C library's pow fills once per call. Rules and levels
// are made here, the sums in mean_kernels.cpp, what makes most of them faster in mean_near.cpp.
//
// Precision decides results near whole numbers and is kept: the geometric mean multiplies single
// precision factors in double precision (so flat 255 becomes 254 in a 3 x 3 window); the
// contra-harmonic and Yp means round their sums to single precision after every addition; the
// harmonic mean adds doubles. Levels are truncated, the harmonic mean's rounded. A power that
// overflows gives 255, and 0 where nothing is left but infinity over infinity.
//
// Refused: P = 0, and masks whose weights are all 0.

#include "VexaFilter.h"
#include "frame/call.h"
#include "frame/intops.h"
#include "masks.h"
#include "mean_kernels.h"
#include "mean_near.h"

#include <math.h>
#include <string.h>

struct MeanPlan {
    MeanRule rule;
    NearSum nearSum;
    LevelSteps steps;  // of Yp
};

static const double LARGEST_FLOAT_WHOLE = 16777216;  // up to here every whole number is a float

// ---- steps --------------------------------------------------------------------------------------

static int CellOf(double value)
{
    return (int)(BitsOfDouble(value) >> STEP_CELL_SHIFT);
}

// limits: where ranks 0 to 254 end, above 0 and in ascending order.
static void MakeSteps(LevelSteps *pSteps, const double *limits, int nFlip)
{
    const int nLast = GRAY_LEVELS - 1;
    int nNext = 0;
    pSteps->nFlip = nFlip;
    pSteps->dLeast = limits[0] / 2;
    pSteps->dMost = limits[nLast - 1];
    pSteps->nFirstCell = CellOf(pSteps->dLeast);
    pSteps->limits[nLast] = UINT64_MAX;
    for (int rank = 0; rank < nLast; rank++) {
        const int nEnd = CellOf(limits[rank]) - pSteps->nFirstCell + 1;
        pSteps->bSlow |= nEnd == nNext;
        memset(pSteps->cells + nNext, rank, (size_t)(nEnd - nNext));
        nNext = nEnd;
        pSteps->limits[rank] = BitsOfDouble(limits[rank]);
    }
}

// ---- rules --------------------------------------------------------------------------------------

static void MakeGeometric(MeanPlan *pPlan)
{
    MeanRule *pRule = &pPlan->rule;
    for (int s = 0; s < GRAY_LEVELS; s++) {
        pRule->sums[0].terms[s] = (float)pow(s, 1.0 / pRule->dSamples);
    }
    pRule->nSums = 1;
    pRule->sums[0].kind = MULTIPLY;
    pRule->finish = FINISH_VALUE;
    MakeGeometricNear(pRule, &pPlan->nearSum);
}

static void MakeHarmonic(MeanPlan *pPlan)
{
    MeanRule *pRule = &pPlan->rule;
    pRule->sums[0].terms[0] = HUGE_VAL;  // one zero sample: N / infinity
    for (int s = 1; s < GRAY_LEVELS; s++) {
        pRule->sums[0].terms[s] = 1.0 / s;
    }
    pRule->nSums = 1;
    pRule->sums[0].kind = SUM_DOUBLES;
    pRule->finish = FINISH_INVERSE;
    MakeHarmonicNear(pRule, &pPlan->nearSum);
}

// The sum of a power of the samples, rounded to float after every addition. If all terms and their
// sum are whole numbers that a float holds, nothing is ever rounded.
static void MakePowerSum(WindowSum *pSum, double dPower, double dSamples)
{
    int bOnes = 1, bSamples = 1, bSquares = 1, bFloats = 1;
    for (int s = 0; s < GRAY_LEVELS; s++) {
        const double term = pow(s, dPower);
        pSum->terms[s] = term;
        bOnes &= term == 1;
        bSamples &= term == s;
        bSquares &= term == s * s;
        bFloats &= (double)(float)term == term;
    }
    const double dMost = dSamples * pSum->terms[GRAY_LEVELS - 1];
    const int bWhole = dMost <= LARGEST_FLOAT_WHOLE;
    pSum->kind = bWhole && bOnes      ? SUM_ONES
                 : bWhole && bSamples ? SUM_SAMPLES
                 : bWhole && bSquares ? SUM_SQUARES
                 : bFloats            ? SUM_FLOATS
                                      : SUM_ROUNDED;
}

// Infinite terms do the rest of the zero rules: with a negative order a zero sample makes the
// denominator infinite, and the quotient 0 or not a number.
static void MakeContraHarmonic(MeanPlan *pPlan, int nOrder)
{
    MeanRule *pRule = &pPlan->rule;
    MakePowerSum(&pRule->sums[0], (double)nOrder + 1, pRule->dSamples);
    MakePowerSum(&pRule->sums[1], nOrder, pRule->dSamples);
    const int bMean = pRule->sums[0].kind == SUM_SAMPLES && pRule->sums[1].kind == SUM_ONES;
    pRule->nSums = bMean ? 1 : 2;
    pRule->finish = bMean ? FINISH_MEAN : FINISH_QUOTIENT;
    MakeContraNear(pRule, &pPlan->nearSum, nOrder);
}

// ---- the outer power of the Yp mean -------------------------------------------------------------

enum { INFINITE_BITS = 0x7f800000 };  // of a float

static int YpLevel(const MeanRule *pRule, int nOrder, uint32_t bits)
{
    const double value = pow((double)FloatOfBits(bits) / pRule->dSamples, 1.0 / nOrder);
    return value < 255 ? (int)value : 255;
}

// The level as a step function of the sum, a float: 255 limits instead of a power per pixel. The
// limits are found with pow itself. Its results for neighbouring floats are further apart than its
// error, so that they are in order.
struct YpSearch {
    const MeanRule *pRule;
    int nOrder;
    int nFlip;
    int nRank;
};

static int IsBeyond(const YpSearch *p, uint32_t bits)
{
    return (YpLevel(p->pRule, p->nOrder, bits) ^ p->nFlip) > p->nRank;
}

// The bits of the least float beyond the rank; infinity is beyond every rank.
static uint32_t FindLimit(const YpSearch *p, uint32_t guess)
{
    uint32_t low = guess, high = guess;
    uint32_t stride = 1;
    if (IsBeyond(p, guess)) {
        for (low = high - 1; low > 0 && IsBeyond(p, low); stride *= 2) {
            high = low;
            low -= low < stride ? low : stride;
        }
    } else {
        for (high = low + 1; !IsBeyond(p, high); stride *= 2) {
            low = high;
            high += INFINITE_BITS - high < stride ? INFINITE_BITS - high : stride;
        }
    }
    while (low + 1 < high) {
        const uint32_t middle = low + (high - low) / 2;
        if (IsBeyond(p, middle)) {
            high = middle;
        } else {
            low = middle;
        }
    }
    return high;
}

static void MakeYp(MeanPlan *pPlan, int nOrder)
{
    MeanRule *pRule = &pPlan->rule;
    LevelSteps *pSteps = &pPlan->steps;
    double limits[GRAY_LEVELS];
    YpSearch search = {pRule, nOrder, nOrder > 0 ? 0 : GRAY_LEVELS - 1, 0};
    MakePowerSum(&pRule->sums[0], nOrder, pRule->dSamples);
    for (int rank = 0; rank < GRAY_LEVELS - 1; rank++) {
        const int level = nOrder > 0 ? rank + 1 : GRAY_LEVELS - 1 - rank;
        const uint32_t about = BitsOfFloat((float)(pRule->dSamples * pRule->sums[0].terms[level]));
        const uint32_t guess = about < 1 ? 1 : about < INFINITE_BITS ? about : INFINITE_BITS - 1;
        search.nRank = rank;
        const uint32_t bits = FindLimit(&search, guess);
        limits[rank] = bits < INFINITE_BITS ? (double)FloatOfBits(bits) : ldexp(1, 128);
    }
    MakeSteps(pSteps, limits, search.nFlip);
    pSteps->bSlow |= nOrder < 0 && (float)pRule->sums[0].terms[GRAY_LEVELS - 1] == 0;
    pRule->nSums = 1;
    pRule->finish = FINISH_STEPS;
    pRule->pSteps = pSteps;
    MakeYpNear(pRule, &pPlan->nearSum, nOrder, limits);
}

// ---- running a rule -----------------------------------------------------------------------------

// The rows' form of a rule, or null where its state would be too large (thousands of rows of a wide
// picture): then every pixel is put together by itself.
static const RowKernel *RowsOf(const MeanRule *pRule, int width)
{
    const double dMostBytes = 1 << 28;
    double dBytesPerSample = 8 * sizeof(double);
    for (int s = 0; s < pRule->nSums && pRule->pNear == NULL; s++) {
        const SumKind kind = pRule->sums[s].kind;
        if (kind >= SUM_FLOATS) {
            dBytesPerSample += (double)pRule->nRows * sizeof(double);
        }
    }
    if (dBytesPerSample * 3 * width > dMostBytes) {
        return NULL;
    }
    return pRule->pNear != NULL ? g_pPixelMeanKernels->pNear : g_pPixelMeanKernels->pOrdered;
}

// ---- descriptions -------------------------------------------------------------------------------

struct OrderArguments {
    int nSize, nOrder;
};

// A rule with the window's facts; the rule's own are the caller's.
static MeanPlan *BeginPlan(const FilterCall *pCall)
{
    MeanPlan *pPlan = (MeanPlan *)pCall->pPlan;
    const int nSize = *(const int *)pCall->pArguments;
    pPlan->rule.nRows = pPlan->rule.nColumns = nSize;
    pPlan->rule.dSamples = (double)nSize * nSize;
    return pPlan;
}

static int DescribeMean(const Picture *pPicture, const MeanRule *pRule,
                        NeighbourhoodFilter *pFilter)
{
    DescribeSquare(pRule->nRows, pFilter);
    pFilter->Kernel = g_pPixelMeanKernels->Plain;
    pFilter->pParameters = pRule;
    pFilter->pRowKernel = RowsOf(pRule, pPicture->view.shape.width);
    return 1;
}

static int DescribeGeometric(const Picture *pPicture, const FilterCall *pCall,
                             NeighbourhoodFilter *pFilter)
{
    MeanPlan *pPlan = BeginPlan(pCall);
    MakeGeometric(pPlan);
    return DescribeMean(pPicture, &pPlan->rule, pFilter);
}

static int DescribeHarmonic(const Picture *pPicture, const FilterCall *pCall,
                            NeighbourhoodFilter *pFilter)
{
    MeanPlan *pPlan = BeginPlan(pCall);
    MakeHarmonic(pPlan);
    return DescribeMean(pPicture, &pPlan->rule, pFilter);
}

static int DescribeContraHarmonic(const Picture *pPicture, const FilterCall *pCall,
                                  NeighbourhoodFilter *pFilter)
{
    MeanPlan *pPlan = BeginPlan(pCall);
    MakeContraHarmonic(pPlan, ((const OrderArguments *)pCall->pArguments)->nOrder);
    return DescribeMean(pPicture, &pPlan->rule, pFilter);
}

static int DescribeYp(const Picture *pPicture, const FilterCall *pCall,
                      NeighbourhoodFilter *pFilter)
{
    MeanPlan *pPlan = BeginPlan(pCall);
    const int nOrder = ((const OrderArguments *)pCall->pArguments)->nOrder;
    if (nOrder == 0) {
        return 0;
    }
    MakeYp(pPlan, nOrder);
    return DescribeMean(pPicture, &pPlan->rule, pFilter);
}

// Equal weights are no weights: the plain mean of the window, rounded down.
static void MakeEqualWeights(MeanRule *pRule, const WeightMask *pMask)
{
    pRule->nRows = pMask->nRows;
    pRule->nColumns = pMask->nColumns;
    pRule->dSamples = (double)pMask->nRows * pMask->nColumns;
    for (int s = 0; s < GRAY_LEVELS; s++) {
        pRule->sums[0].terms[s] = s;
    }
    pRule->sums[0].kind = SUM_SAMPLES;
    pRule->nSums = 1;
    pRule->finish = FINISH_MEAN;
}

static int AreEqualWeights(const WeightMask *pMask)
{
    const size_t count = (size_t)pMask->nRows * (size_t)pMask->nColumns;
    for (size_t i = 1; i < count; i++) {
        if (pMask->pWeights[i] != pMask->pWeights[0]) {
            return 0;
        }
    }
    return count * GRAY_LEVELS <= INT32_MAX;  // the running sums' type
}

struct WeightedMeanPlan {
    WeightMask mask;  // first: ReleaseMask frees it
    WeightRule weights;
    MeanRule rule;  // of equal weights
};

static int DescribeWeightedMean(const Picture *pPicture, const FilterCall *pCall,
                                NeighbourhoodFilter *pFilter)
{
    WeightedMeanPlan *pPlan = (WeightedMeanPlan *)pCall->pPlan;
    const WeightMask *pMask = &pPlan->mask;
    if (!ReadWeightMask(MaskInUse(pCall->pArguments), &pPlan->mask)) {
        return 0;
    }
    DescribeMask(pMask, pFilter);
    if (AreEqualWeights(pMask)) {
        MakeEqualWeights(&pPlan->rule, pMask);
        pFilter->Kernel = g_pPixelMeanKernels->Plain;
        pFilter->pParameters = &pPlan->rule;
        pFilter->pRowKernel = RowsOf(&pPlan->rule, pPicture->view.shape.width);
        return 1;
    }
    pPlan->weights = {pMask->nRows, pMask->nColumns, pMask->nTotal, pMask->pWeights};
    pFilter->Kernel = g_pPixelMeanKernels->Weighted;
    pFilter->pParameters = &pPlan->weights;
    return 1;
}

// ---- exports ------------------------------------------------------------------------------------

HGLOBAL VEXAFILTER_API FilterGeometricMean(HGLOBAL hDib, int nSize, UINT mode, HWND hParent)
{
    static const FilterFrame FRAME = {
        "GeometricFilterUI", 1, 1, DescribeGeometric, sizeof(MeanPlan), IsSizeArgument,
        IsSizeArgument};
    return RunFilter(&FRAME, hDib, {nSize}, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterHarmonicMean(HGLOBAL hDib, int nSize, UINT mode, HWND hParent)
{
    static const FilterFrame FRAME = {
        "HarmonicFilterUI", 1, 1, DescribeHarmonic, sizeof(MeanPlan), IsSizeArgument,
        IsSizeArgument};
    return RunFilter(&FRAME, hDib, {nSize}, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterContraHarmonicMean(HGLOBAL hDib, int nSize, int nOrder, UINT mode,
                                                HWND hParent)
{
    static const FilterFrame FRAME = {
        "ContraFilterUI", 2, 2, DescribeContraHarmonic, sizeof(MeanPlan), IsSizeArgument,
        IsSizeArgument};
    return RunFilter(&FRAME, hDib, {nSize, nOrder}, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterYpMean(HGLOBAL hDib, int nSize, int nOrder, UINT mode, HWND hParent)
{
    static const FilterFrame FRAME = {
        "YpFilterUI", 2, 2, DescribeYp, sizeof(MeanPlan), IsSizeArgument, IsSizeArgument};
    return RunFilter(&FRAME, hDib, {nSize, nOrder}, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterWeightedMean(HGLOBAL hDib, const FilterMask *pMask, UINT mode,
                                          HWND hParent)
{
    static const BYTE ONES[9] = {1, 1, 1, 1, 1, 1, 1, 1, 1};
    static constexpr FilterFrame FRAME =
        MaskFrame("WMeanFilterUI", DescribeWeightedMean, sizeof(WeightedMeanPlan));
    return RunMaskFilter(&FRAME, hDib, pMask, ONES, mode, hParent);
}
