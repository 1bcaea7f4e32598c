// Fixed curves over the levels of a picture:
//
//   auto contrast  stretches the range of levels that occur to 0..255, fractions dropped; in colour
//                  each channel by its own range
//   parabola       (v / 128 - 1) squared, times 255, fractions dropped: mid-gray black, both ends
//                  bright; inverted on request
//   solarizing     inverts what is above a threshold
//   posterizing    the nearest multiple of 255 / (levels - 1), a tie upwards; above 255 becomes 255
//
// 8 and 24 bits only. Gray and colour differ where a rule does not touch a channel: a gray level
// then stays, a colour channel is black. What a dialog writes back is not checked again; a number
// of levels for which the step is undefined or zero gives null.

#include "VexaFilter.h"
#include "frame/intops.h"
#include "tone.h"

#include <string.h>

// ---- curves -------------------------------------------------------------------------------------

static void FillContrast(const ToneChannel *pChannel, const void *pArguments, BYTE *table)
{
    const int lowest = pChannel->lowest;
    const int highest = pChannel->highest;
    (void)pArguments;
    if (lowest == highest && pChannel->nChannel == CHANNEL_GRAY) {
        FillIdentity(table);
        return;
    }
    if (lowest == highest) {
        memset(table, 0, GRAY_LEVELS);  // Kept: a flat colour channel comes out black.
        return;
    }
    for (int level = 0; level < GRAY_LEVELS; level++) {
        table[level] = ClampToByte((int)((level - lowest) * 255.0 / (highest - lowest)));
    }
}

static void FillParabola(const ToneChannel *pChannel, const void *pArguments, BYTE *table)
{
    const int bInvert = *(const int *)pArguments;
    (void)pChannel;
    for (int level = 0; level < GRAY_LEVELS; level++) {
        const double t = level * 0.0078125 - 1.0;
        const BYTE value = ClampToByte((int)(t * t * 255.0));
        table[level] = (BYTE)(bInvert ? 255 - value : value);
    }
}

static void FillSolarized(const ToneChannel *pChannel, const void *pArguments, BYTE *table)
{
    const int nThreshold = *(const int *)pArguments;
    const int bGray = pChannel->nChannel == CHANNEL_GRAY;
    for (int level = 0; level < GRAY_LEVELS; level++) {
        // Kept: in colour what is not above the threshold comes out black.
        const int below = bGray ? level : 0;
        table[level] = (BYTE)(level > nThreshold ? 255 - level : below);
    }
}

// 0: there is none.
static int PosterizingStep(int nLevels)
{
    return nLevels != 1 ? (int)(255 / ((int64_t)nLevels - 1)) : 0;
}

static void FillPosterized(const ToneChannel *pChannel, const void *pArguments, BYTE *table)
{
    const int step = PosterizingStep(*(const int *)pArguments);  // not 0: HasPosterizingStep
    (void)pChannel;
    for (int level = 0; level < GRAY_LEVELS; level++) {
        // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): as above
        const int lower = level / step * step;
        const int upper = (level / step + 1) * step;
        table[level] = ClampToByte(level - lower >= upper - level ? upper : lower);
    }
}

// ---- rules --------------------------------------------------------------------------------------

// Loads, allocates, looks for the extremes, maps, stores.
static int ContrastSteps(int width, int height, int bGray, const void *pArguments)
{
    (void)bGray;
    (void)pArguments;
    return RoundToSteps(3 * (int64_t)height + 2 * (int64_t)width);
}

static int IsThreshold(const void *pArguments)
{
    const int nThreshold = *(const int *)pArguments;
    return nThreshold >= 0 && nThreshold <= 255;
}

static int IsNumberOfLevels(const void *pArguments)
{
    const int nLevels = *(const int *)pArguments;
    return nLevels >= 2 && nLevels <= 255;
}

static int HasPosterizingStep(const void *pArguments)
{
    return PosterizingStep(*(const int *)pArguments) != 0;
}

static constexpr ToneRule CONTRAST = {FACTS_EXTREMES, 1, FillContrast, NULL, NULL, ContrastSteps};
static constexpr ToneRule PARABOLA = {FACTS_NONE, 0, FillParabola, NULL, NULL, NULL};
static constexpr ToneRule SOLARIZING = {FACTS_NONE, 0, FillSolarized, IsThreshold, NULL, NULL};
static constexpr ToneRule POSTERIZING = {FACTS_NONE,         0,   FillPosterized, IsNumberOfLevels,
                                         HasPosterizingStep, NULL};

// ---- exports ------------------------------------------------------------------------------------

HGLOBAL VEXAFILTER_API FilterAutoContrast(HGLOBAL hDib, UINT mode, HWND hParent)
{
    static constexpr FilterFrame FRAME = ToneFrame("AUTOCONTRASTUI", 0, &CONTRAST);
    return RunFilter(&FRAME, hDib, {}, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterParabolaTransformation(HGLOBAL hDib, UINT bInvert, UINT mode,
                                                    HWND hParent)
{
    static constexpr FilterFrame FRAME = ToneFrame("PARABOLAUI", 1, &PARABOLA);
    return RunFilter(&FRAME, hDib, {(int)bInvert}, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterSolarizing(HGLOBAL hDib, int nThreshold, UINT mode, HWND hParent)
{
    static constexpr FilterFrame FRAME = ToneFrame("SOLARIZINGUI", 1, &SOLARIZING);
    return RunFilter(&FRAME, hDib, {nThreshold}, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterPosterizing(HGLOBAL hDib, int nLevels, UINT mode, HWND hParent)
{
    static constexpr FilterFrame FRAME = ToneFrame("POSTERIZINGUI", 1, &POSTERIZING);
    return RunFilter(&FRAME, hDib, {nLevels}, mode, hParent);
}
