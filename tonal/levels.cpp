// Levels and automatic levels: a range of levels is spread over another one.
//
// Neither is linear: the levels that the picture has are spread evenly by their rank, so a table is
// made from the picture's own counts, per channel in colour. Levels that the picture lacks take the
// value of the nearest level below, and so does every entry that came out 0.
//
//   levels            black point, mid point and white point go to the low end, the middle and the
//                     high end of the output range; in colour one channel or all three
//   automatic levels  black and white are the darkest and brightest levels left after clipping a
//                     share of the levels at both ends; they go to 0 and 255
//
// Kept: a level whose number of pixels is a multiple of 256 counts as absent (counters were bytes).
// Kept: automatic levels count the two end levels twice, so the level below white stays well below
// 255.
//
// 8 and 24 bits only. What a dialog writes back is not checked again: the rules are applied as they
// stand, in 64 bits, and their low byte is stored; a clipped share that leaves no level is reduced
// to the largest that leaves one.

#include "VexaFilter.h"
#include "frame/intops.h"
#include "tone.h"

#include <string.h>

// ---- tables -------------------------------------------------------------------------------------

static int IsPresent(const ToneChannel *pChannel, int level)
{
    return (BYTE)pChannel->counts[level] != 0;
}

// Level 255 is not looked at; before the first entry that is not 0 the gaps stay.
static void FillGaps(BYTE *table)
{
    BYTE last = table[0];
    for (int level = 0; level < GRAY_LEVELS - 1; level++) {
        if (table[level] != 0) {
            last = table[level];
        } else {
            table[level] = last;
        }
    }
}

// The parameters in their order.
struct LevelPoints {
    int nInLow, nInHigh, nInMid;
    int nOutLow, nOutHigh;
    int nChannel;  // 0: all
};

static int CountBetween(const ToneChannel *pChannel, int low, int high)
{
    int n = 0;
    for (int level = 0; level < GRAY_LEVELS; level++) {
        n += low < level && level < high && IsPresent(pChannel, level);
    }
    return n;
}

// The n-th of so many present levels between two output levels.
static BYTE Spread(int64_t from, int64_t to, int rank, int count)
{
    return (BYTE)((to - from) * rank / (count + 1) + from);
}

static void FillLevels(const ToneChannel *pChannel, const void *pArguments, BYTE *table)
{
    const LevelPoints *p = (const LevelPoints *)pArguments;
    if (pChannel->nChannel != CHANNEL_GRAY && p->nChannel != 0 &&
        p->nChannel != pChannel->nChannel + 1) {
        FillIdentity(table);
        return;
    }
    const int64_t outMid = ((int64_t)p->nOutLow + p->nOutHigh) / 2;
    const int nBelow = CountBetween(pChannel, p->nInLow, p->nInMid);
    const int nAbove = CountBetween(pChannel, p->nInMid, p->nInHigh);
    int rankBelow = 0;
    int rankAbove = 0;
    memset(table, 0, GRAY_LEVELS);
    // Later rules override earlier ones.
    for (int level = 0; level < GRAY_LEVELS; level++) {
        const int bPresent = IsPresent(pChannel, level);
        if (level <= p->nInLow) {
            table[level] = (BYTE)p->nOutLow;
        }
        if (level >= p->nInHigh) {
            table[level] = (BYTE)p->nOutHigh;
        }
        if (level == p->nInMid) {
            table[level] = (BYTE)outMid;
        }
        if (bPresent && p->nInLow < level && level < p->nInMid) {
            table[level] = Spread(p->nOutLow, outMid, ++rankBelow, nBelow);
        }
        if (bPresent && p->nInMid < level && level < p->nInHigh) {
            table[level] = Spread(outMid, p->nOutHigh, ++rankAbove, nAbove);
        }
    }
    FillGaps(table);
}

// The present level of that rank, counted from 0 upwards from level 0, or downwards from 255.
static int PresentLevel(const ToneChannel *pChannel, int rank, int bFromTop)
{
    int level = bFromTop ? GRAY_LEVELS - 1 : 0;
    while (!IsPresent(pChannel, level) || rank-- > 0) {
        level += bFromTop ? -1 : 1;
    }
    return level;
}

// How many of nPresent levels are clipped at each end.
static int ClippedLevels(int nPresent, float fClip)
{
    const double nClipped = (double)nPresent * (double)fClip * 0.5;
    return nClipped < 0 ? 0 : nClipped >= nPresent ? nPresent - 1 : (int)nClipped;
}

static void FillAutoLevels(const ToneChannel *pChannel, const void *pArguments, BYTE *table)
{
    const float fClip = (float)(*(const int *)pArguments * 0.01);  // of a percentage
    const int nPresent = CountBetween(pChannel, -1, GRAY_LEVELS);
    if (nPresent == 0) {
        FillIdentity(table);
        return;
    }
    const int nClipped = ClippedLevels(nPresent, fClip);
    const int low = PresentLevel(pChannel, nClipped, 0);
    const int high = PresentLevel(pChannel, nClipped, 1);
    const int nBetween = CountBetween(pChannel, low - 1, high + 1);
    int sum = 0;
    memset(table, 0, GRAY_LEVELS);
    for (int level = 0; level < GRAY_LEVELS; level++) {
        if (level <= low) {
            table[level] = 0;
        } else if (level >= high) {
            table[level] = 255;
        } else if (IsPresent(pChannel, level)) {
            sum += 255;
            table[level] = (BYTE)(sum / (nBetween + 1));
        }
    }
    FillGaps(table);
}

// ---- exports ------------------------------------------------------------------------------------

static int ArePointsInOrder(const void *pArguments)
{
    const LevelPoints *p = (const LevelPoints *)pArguments;
    return 0 <= p->nInLow && p->nInLow <= p->nInMid && p->nInMid <= p->nInHigh &&
           p->nInHigh <= 255 && 0 <= p->nOutLow && p->nOutLow <= p->nOutHigh &&
           p->nOutHigh <= 255 && 0 <= p->nChannel && p->nChannel <= 3;
}

static int IsClippedShare(const void *pArguments)
{
    const int nPercent = *(const int *)pArguments;
    return nPercent >= 0 && nPercent < 100;
}

static constexpr ToneRule LEVELS = {FACTS_COUNTS, 0, FillLevels, ArePointsInOrder, NULL, NULL};
static constexpr ToneRule AUTO_LEVELS = {FACTS_COUNTS,   0,    FillAutoLevels,
                                         IsClippedShare, NULL, NULL};

HGLOBAL VEXAFILTER_API FilterLevels(HGLOBAL hDib, int nInLow, int nInHigh, int nInMid, int nOutLow,
                                    int nOutHigh, int nChannel, UINT mode, HWND hParent)
{
    static constexpr FilterFrame FRAME = ToneFrame("LEVELSUI", 6, &LEVELS);
    return RunFilter(&FRAME, hDib, {nInLow, nInHigh, nInMid, nOutLow, nOutHigh, nChannel}, mode,
                     hParent);
}

HGLOBAL VEXAFILTER_API FilterAutoLevels(HGLOBAL hDib, int nClipPercent, UINT mode, HWND hParent)
{
    static constexpr FilterFrame FRAME = ToneFrame("AUTOLEVELSUI", 1, &AUTO_LEVELS);
    return RunFilter(&FRAME, hDib, {nClipPercent}, mode, hParent);
}
