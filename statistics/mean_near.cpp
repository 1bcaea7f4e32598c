// Near sums: whole numbers that running sums keep exactly, so close to the sum or product of
// a mean's rule that they decide almost every level. Made once per call; mean_near_kernels.cpp runs
// them.
//
// A rule's terms are multiplied by a scale and rounded. Where a sum grows and the level falls as
// samples get darker, a zero sample gives level 0 and nothing else does: its term, at which column
// sums are cut off, is more than any window without a zero comes to. So the scale need leave room
// for one zero in each of a row's columns only. Rising sums of whole numbers are exact if they fit.
//
// Errors. A scaled term is off by half a unit. Roundings of doubles, those of the rule's own sum or
// product included, come to less than 0.1 unit per sample and four more: they are below 2^-53 of
// the sum each, and the sum below 2^52 / side units. Sums that are rounded to float after every
// addition are off by no more than 2^-24 of the whole for every sample, unless they leave the
// range of normal floats; orders that come near its ends have no near sum.
//
// A window's sum is looked up as a float, whose order is that of the sums.

#include "mean_near.h"

#include "frame/intops.h"

#include <math.h>

enum {
    SHORT_BITS = 31,
    SUM_BITS = 52,
    LEAST_SAMPLES = 4,  // a lone sample's mean lies on a limit, so most levels would be in doubt
    MOST_SAMPLES = 1 << 20,
    MOST_ROUNDED_SAMPLES = 1 << 14
};

// Of what one zero is worth: a window without zeros comes to MOST_WITHOUT_ZERO at the most, errors
// included, and one with a zero to 1 or more. The limit between them must keep its place when it is
// rounded to a float, which moves it by less than 2^-24; half a percent on either side is far more
// than that, and costs a hundredth of the resolution.
static const double MOST_WITHOUT_ZERO = 0.99, ZERO_LIMIT = 0.995;

// Of what one zero is worth, a contra-harmonic mean's lower sum without zeros comes to that share
// at the most. With a zero the quotient is then no more than that share (the upper sum of falling
// terms is at most the number of samples): below 1 and level 0, whatever the errors, which are
// below 2^-13. Any share from there up to 1 less the errors would do.
static const double LOWER_SHARE = 0.4;

// A sum of terms as a step function. Rank r certainly holds below lows[r] and no more above
// highs[r]; where both are equal and the terms whole, from there on. With bZeroEnds, rank 254 ends
// at the first zero.
struct StepSource {
    const double *terms;
    double dMost;  // sum of a window; with bZeroEnds, without a zero
    int bZeroEnds;
    int nFlip;
    double lows[GRAY_LEVELS], highs[GRAY_LEVELS];
};

// ---- fitting ------------------------------------------------------------------------------------

// What a window's near sum, or a limit beside it, may be off by. Half a unit for each of n scaled
// terms. Then roundings of doubles, each at most 2^-53 of the sum:
//
// - Sums that a zero ends are below 2^52 / side units, so a rounding is 1 / (2 side) at most. The
//   rule's own sum or product has n; the terms together, the limit and their scaling have eight at
//   most. For n = side x side that is side / 2 + 4 / side, which is less than 0.1 n + 4 for every
//   side from 2 on (side 2: 3 against 4.4; from 5 on 0.1 n alone exceeds side / 2).
// - Others may come to 2^52, so a rounding is half a unit at most; of those eight that makes 4. The
//   roundings of the rule's own sum are in RoundingError.
static double UnitError(double dSamples)
{
    return 0.6 * dSamples + 4;
}

static int AreWhole(const double *terms)
{
    for (int s = 0; s < GRAY_LEVELS; s++) {
        if (!(terms[s] == floor(terms[s]) && terms[s] <= ldexp(1, SUM_BITS))) {
            return 0;
        }
    }
    return 1;
}

// Of whole numbers the sum is exact.
static int IsExact(const StepSource *pSource)
{
    return !pSource->bZeroEnds && AreWhole(pSource->terms);
}

static double LongerSide(const MeanRule *pRule)
{
    return pRule->nRows > pRule->nColumns ? pRule->nRows : pRule->nColumns;
}

static NearTerms KindOf(const double *terms)
{
    int bSamples = 1, bSquares = 1;
    for (int s = 0; s < GRAY_LEVELS; s++) {
        bSamples &= terms[s] == s;
        bSquares &= terms[s] == s * s;
    }
    return bSamples ? NEAR_SAMPLES : bSquares ? NEAR_SQUARES : NEAR_LOOKED_UP;
}

// dCut: a zero sample's term, at which column sums are cut off; 0: none, and they are not.
static void ScaleTerms(NearSum *pNear, int s, const double *terms, double dScale, double dCut)
{
    pNear->kinds[s] = dScale == 1 ? KindOf(terms) : NEAR_LOOKED_UP;
    pNear->most[s] = dCut;
    pNear->terms[s][0] = dCut;
    for (int level = 1; level < GRAY_LEVELS; level++) {
        pNear->terms[s][level] = floor(terms[level] * dScale + 0.5);
    }
    for (int level = 0; pNear->bShort && level < GRAY_LEVELS; level++) {
        pNear->shortTerms[s][level] = (int32_t)pNear->terms[s][level];
    }
    pNear->shortMost[s] = pNear->bShort ? (int32_t)dCut : 0;
}

// Floats above 0 and their bits are in the same order.
static int32_t FloatIndex(double value)
{
    return (int32_t)BitsOfFloat((float)value);
}

static double FloatAt(int32_t index)
{
    return (double)FloatOfBits((uint32_t)index);
}

// Where a rank ends, in the bits of floats: not before first, and certainly at end. Numbers keep
// their order when they are rounded to floats.
struct Zone {
    int32_t first, end;
};

static uint32_t Entry(int rank, int32_t limit, int32_t width)
{
    return (uint32_t)rank << NEAR_RANK_SHIFT | (uint32_t)((width + 3) / 4) << NEAR_LIMIT_BITS |
           (uint32_t)limit;
}

// The cells that the zone of a rank touches, after those that hold the rank alone. Returns the next
// cell; 0 if there is no room.
static int FillRank(NearSum *pNear, int nNext, int rank, const Zone *pZone)
{
    const int32_t first = pZone->first - pNear->nFirstBits, end = pZone->end - pNear->nFirstBits;
    const int nZoneCell = first >> NEAR_CELL_SHIFT;
    const int nAfter = first == end ? nZoneCell + 1 : ((end - 1) >> NEAR_CELL_SHIFT) + 1;
    if (nZoneCell < nNext || nAfter >= NEAR_CELLS) {
        return 0;
    }
    for (; nNext < nZoneCell; nNext++) {
        pNear->cells[nNext] = Entry(rank, NEAR_CELL_SIZE, 0);
    }
    for (; nNext < nAfter; nNext++) {
        const int32_t start = nNext << NEAR_CELL_SHIFT;
        const int32_t from = first > start ? first : start;
        const int32_t to = end < start + NEAR_CELL_SIZE ? end : start + NEAR_CELL_SIZE;
        if (to - from > NEAR_MOST_WIDTH) {
            return 0;
        }
        pNear->cells[nNext] = Entry(rank, from - start, to - from);
    }
    return nNext;
}

// 0 if some cell holds more than one limit, or if more than dMostOpen of a step is uncertain.
static int FillCells(NearSum *pNear, const Zone *zones, double dMostOpen)
{
    const int32_t least = ((zones[0].first >> NEAR_CELL_SHIFT) - 1) * NEAR_CELL_SIZE;
    int nNext = 1;
    pNear->nFirstBits = least;
    pNear->fLeast = (float)FloatAt(least);
    pNear->cells[0] = Entry(0, NEAR_CELL_SIZE, 0);
    for (int rank = 0; rank < GRAY_LEVELS - 1; rank++) {
        const double before = rank > 0 ? FloatAt(zones[rank - 1].first) : 0;
        const double first = FloatAt(zones[rank].first), end = FloatAt(zones[rank].end);
        nNext = FillRank(pNear, nNext, rank, &zones[rank]);
        if (nNext == 0 || end - first > dMostOpen * (first - before)) {
            return 0;
        }
    }
    pNear->cells[nNext] = Entry(GRAY_LEVELS - 1, NEAR_CELL_SIZE, 0);
    pNear->fMost = (float)FloatAt(least + nNext * NEAR_CELL_SIZE);
    return 1;
}

static int FitSteps(MeanRule *pRule, NearSum *pNear, const StepSource *pSource, int nBits,
                    double dMostOpen)
{
    const double dRoom = ldexp(1, nBits) - 1;
    Zone zones[GRAY_LEVELS - 1];
    const int bExact = IsExact(pSource);
    const double error = bExact ? 0 : UnitError(pRule->dSamples);
    const double dCut = pSource->bZeroEnds ? floor((dRoom - 1) / LongerSide(pRule)) : dRoom;
    const double dScale = bExact ? 1 : (MOST_WITHOUT_ZERO * dCut - 2 * error) / pSource->dMost;
    if (!(dScale > 0) || pSource->dMost * dScale > MOST_WITHOUT_ZERO * dCut) {
        return 0;
    }
    pNear->nSums = 1;
    pNear->bShort = nBits == SHORT_BITS;
    pNear->nFlip = pSource->nFlip;
    ScaleTerms(pNear, 0, pSource->terms, dScale, pSource->bZeroEnds ? dCut : 0);
    for (int rank = 0; rank < GRAY_LEVELS - 1; rank++) {
        const double low = pSource->lows[rank] * dScale - error;
        const double high = pSource->highs[rank] * dScale + error;
        const int bCertain = low == high;  // exact, and floats hold it
        zones[rank].first = FloatIndex(bCertain ? ceil(low) : low);
        zones[rank].end = bCertain ? zones[rank].first : FloatIndex(high) + 1;
        if (!(low >= 1)) {
            return 0;
        }
    }
    if (pSource->bZeroEnds) {
        zones[GRAY_LEVELS - 2].first = zones[GRAY_LEVELS - 2].end = FloatIndex(ZERO_LIMIT * dCut);
    }
    if (!FillCells(pNear, zones, dMostOpen)) {
        return 0;
    }
    pRule->pNear = pNear;
    return 1;
}

// 32-bit sums are faster by about what putting a pixel together by itself costs per sample. If they
// are exact, longer ones decide no more.
static void FitBestSteps(MeanRule *pRule, NearSum *pNear, const StepSource *pSource,
                         double dMostOpen)
{
    const double dMostOpenOfShort = IsExact(pSource) ? dMostOpen : 1 / pRule->dSamples;
    if (!FitSteps(pRule, pNear, pSource, SHORT_BITS, dMostOpenOfShort)) {
        (void)FitSteps(pRule, pNear, pSource, SUM_BITS, dMostOpen);
    }
}

static int IsSampleCount(double dSamples, int nMost)
{
    return dSamples >= (double)LEAST_SAMPLES && dSamples <= nMost;
}

// ---- means that double precision decides --------------------------------------------------------

void MakeHarmonicNear(MeanRule *pRule, NearSum *pNear)
{
    StepSource source = {pRule->sums[0].terms, pRule->dSamples, 1, GRAY_LEVELS - 1, {}, {}};
    if (!IsSampleCount(pRule->dSamples, MOST_SAMPLES)) {
        return;
    }
    for (int rank = 0; rank < GRAY_LEVELS - 1; rank++) {
        source.lows[rank] = source.highs[rank] = pRule->dSamples / (GRAY_LEVELS - 1 - rank - 0.5);
    }
    FitBestSteps(pRule, pNear, &source, 0.5);
}

// Logarithms of 512 / product, so that no term is negative.
static const double LOG_512 = 6.2383246250395077848;

void MakeGeometricNear(MeanRule *pRule, NearSum *pNear)
{
    double terms[GRAY_LEVELS] = {0};
    StepSource source = {terms, LOG_512, 1, GRAY_LEVELS - 1, {}, {}};
    if (!IsSampleCount(pRule->dSamples, MOST_SAMPLES)) {
        return;
    }
    for (int s = 1; s < GRAY_LEVELS; s++) {
        terms[s] = LOG_512 / pRule->dSamples - log(pRule->sums[0].terms[s]);
    }
    for (int rank = 0; rank < GRAY_LEVELS - 1; rank++) {
        source.lows[rank] = source.highs[rank] = LOG_512 - log(GRAY_LEVELS - 1 - rank);
    }
    FitBestSteps(pRule, pNear, &source, 0.5);
}

// ---- sums that are rounded to float -------------------------------------------------------------

// Each of n additions is off by 2^-24 of a sum that is no more than the whole: for n up to 2^14,
// (1 + 2^-24)^n - 1 is below 1.001 n 2^-24, and so is what a limit must be widened by. The
// hundredth and the two samples more are spare.
static double RoundingError(double dSamples)
{
    return 1.01 * (dSamples + 2) * ldexp(1, -24);
}

// Far from overflow, and from where floats lose precision. terms[0] aside.
static int IsTameSum(const double *terms, double dSamples)
{
    for (int s = 1; s < GRAY_LEVELS; s++) {
        if (!(terms[s] > ldexp(1, -100) && terms[s] * dSamples < ldexp(1, 120))) {
            return 0;
        }
    }
    return 1;
}

// Up to 2^24 sums of whole numbers are never rounded.
static void WidenLimits(StepSource *pSource, const double *limits, double dSamples)
{
    const double error = RoundingError(dSamples);
    const int bWhole = AreWhole(pSource->terms);
    for (int rank = 0; rank < GRAY_LEVELS - 1; rank++) {
        const int bExact = bWhole && limits[rank] <= 1 << 24;
        pSource->lows[rank] = bExact ? limits[rank] : limits[rank] * (1 - error);
        pSource->highs[rank] = bExact ? limits[rank] : limits[rank] * (1 + error);
    }
}

static const double MOST_OPEN_OF_ROUNDED = 1.0 / 16;

void MakeYpNear(MeanRule *pRule, NearSum *pNear, int nOrder, const double *limits)
{
    const double *terms = pRule->sums[0].terms;
    const int bFalls = nOrder < 0;
    StepSource source = {terms,  pRule->dSamples * terms[bFalls ? 1 : GRAY_LEVELS - 1],
                         bFalls, bFalls ? GRAY_LEVELS - 1 : 0,
                         {},     {}};
    if (IsSampleCount(pRule->dSamples, MOST_ROUNDED_SAMPLES) && IsTameSum(terms, pRule->dSamples)) {
        WidenLimits(&source, limits, pRule->dSamples);
        FitBestSteps(pRule, pNear, &source, MOST_OPEN_OF_ROUNDED);
    }
}

// The number of samples, by the sum of their inverses.
static void MakeInverseNear(MeanRule *pRule, NearSum *pNear)
{
    StepSource source = {pRule->sums[1].terms, pRule->dSamples, 1, GRAY_LEVELS - 1, {}, {}};
    double limits[GRAY_LEVELS];
    for (int rank = 0; rank < GRAY_LEVELS - 1; rank++) {
        limits[rank] = pRule->dSamples / (GRAY_LEVELS - 1 - rank);
    }
    WidenLimits(&source, limits, pRule->dSamples);
    FitBestSteps(pRule, pNear, &source, MOST_OPEN_OF_ROUNDED);
}

// Scales for terms that fall, each to the room that its sum has.
static double ScaleFalling(MeanRule *pRule, NearSum *pNear)
{
    const double dRoom = ldexp(1, SUM_BITS);
    const double dCut = floor(dRoom / LongerSide(pRule));
    const double scales[2] = {dRoom / pRule->dSamples, LOWER_SHARE * dCut / pRule->dSamples};
    double error = 0;
    pNear->bShort = 0;
    ScaleTerms(pNear, 0, pRule->sums[0].terms, scales[0], 0);
    ScaleTerms(pNear, 1, pRule->sums[1].terms, scales[1], dCut);
    pNear->dRatio = scales[1] / scales[0];
    for (int s = 0; s < 2; s++) {
        error += 2 / pNear->terms[s][GRAY_LEVELS - 1];
    }
    return error;
}

static void ScaleRising(MeanRule *pRule, NearSum *pNear, double dMost)
{
    pNear->bShort = dMost < ldexp(1, SHORT_BITS);
    for (int s = 0; s < 2; s++) {
        ScaleTerms(pNear, s, pRule->sums[s].terms, 1, 0);
    }
    pNear->dRatio = 1;
}

void MakeContraNear(MeanRule *pRule, NearSum *pNear, int nOrder)
{
    const double *upper = pRule->sums[0].terms, *lower = pRule->sums[1].terms;
    const double dMost = pRule->dSamples * upper[GRAY_LEVELS - 1];
    const double error = 2 * RoundingError(pRule->dSamples) + 6 * ldexp(1, -24);  // of floats
    const double dMostError = ldexp(1, -13);  // a sixteenth of level 255
    if (!IsSampleCount(pRule->dSamples, MOST_ROUNDED_SAMPLES) || nOrder == 0 ||
        !IsTameSum(upper, pRule->dSamples) || !IsTameSum(lower, pRule->dSamples)) {
        return;
    }
    if (nOrder == -1) {
        MakeInverseNear(pRule, pNear);
        return;
    }
    pNear->nSums = 2;
    if (nOrder < 0) {
        pNear->dError = ScaleFalling(pRule, pNear) + error;
    } else if (AreWhole(upper) && AreWhole(lower) && dMost <= ldexp(1, SUM_BITS)) {
        ScaleRising(pRule, pNear, dMost);
        pNear->dError = dMost + pRule->dSamples * lower[GRAY_LEVELS - 1] <= 1 << 24 ? 0 : error;
    } else {
        return;
    }
    if (pNear->dError <= dMostError) {
        pRule->pNear = pNear;
    }
}
