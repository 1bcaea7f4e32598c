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

#include "tonal.h"

#include "VexaFilter.h"
#include "frame/intops.h"
#include "frame/workers.h"
#include "tone.h"

#include <string.h>

// ---- curves -------------------------------------------------------------------------------------

static void FillContrast(const ToneChannel *pChannel, const void *pParameters, BYTE *table)
{
    const int lowest = pChannel->lowest;
    const int highest = pChannel->highest;
    (void)pParameters;
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

static void FillParabola(const ToneChannel *pChannel, const void *pParameters, BYTE *table)
{
    const int bInvert = *(const int *)pParameters;
    (void)pChannel;
    for (int level = 0; level < GRAY_LEVELS; level++) {
        const double t = level * 0.0078125 - 1.0;
        const BYTE value = ClampToByte((int)(t * t * 255.0));
        table[level] = (BYTE)(bInvert ? 255 - value : value);
    }
}

static void FillSolarized(const ToneChannel *pChannel, const void *pParameters, BYTE *table)
{
    const int nThreshold = *(const int *)pParameters;
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

static void FillPosterized(const ToneChannel *pChannel, const void *pParameters, BYTE *table)
{
    const int step = PosterizingStep(*(const int *)pParameters);
    (void)pChannel;
    for (int level = 0; level < GRAY_LEVELS; level++) {
        const int lower = level / step * step;
        const int upper = (level / step + 1) * step;
        table[level] = ClampToByte(level - lower >= upper - level ? upper : lower);
    }
}

static const ToneRule CONTRAST = {FACTS_EXTREMES, 1, FillContrast};
static const ToneRule PARABOLA = {FACTS_NONE, 0, FillParabola};
static const ToneRule SOLARIZING = {FACTS_NONE, 0, FillSolarized};
static const ToneRule POSTERIZING = {FACTS_NONE, 0, FillPosterized};

// ---- workers ------------------------------------------------------------------------------------

HGLOBAL AutoContrast8(HGLOBAL hDib, int width, int height, int bProgress)
{
    return ToneGray(&CONTRAST, NULL, hDib, width, height, bProgress);
}

HGLOBAL AutoContrast24(HGLOBAL hDib, int width, int height, int bProgress)
{
    return ToneColor(&CONTRAST, NULL, hDib, width, height, bProgress);
}

HGLOBAL ParabolaTransform8(HGLOBAL hDib, int width, int height, int bInvert, int bProgress)
{
    return ToneGray(&PARABOLA, &bInvert, hDib, width, height, bProgress);
}

HGLOBAL ParabolaTransform24(HGLOBAL hDib, int width, int height, int bInvert, int bProgress)
{
    return ToneColor(&PARABOLA, &bInvert, hDib, width, height, bProgress);
}

HGLOBAL Solarize8(HGLOBAL hDib, int width, int height, int nThreshold, int bProgress)
{
    return ToneGray(&SOLARIZING, &nThreshold, hDib, width, height, bProgress);
}

HGLOBAL Solarize24(HGLOBAL hDib, int width, int height, int nThreshold, int bProgress)
{
    return ToneColor(&SOLARIZING, &nThreshold, hDib, width, height, bProgress);
}

HGLOBAL Posterize8(HGLOBAL hDib, int width, int height, int nLevels, int bProgress)
{
    return ToneGray(&POSTERIZING, &nLevels, hDib, width, height, bProgress);
}

HGLOBAL Posterize24(HGLOBAL hDib, int width, int height, int nLevels, int bProgress)
{
    return ToneColor(&POSTERIZING, &nLevels, hDib, width, height, bProgress);
}

// ---- exports ------------------------------------------------------------------------------------

enum { ACCEPT_8_24 = ACCEPT_8 | ACCEPT_24 };

// Loads, allocates, looks for the extremes, maps, stores.
static int ContrastSteps(HGLOBAL hDib, int bitCount, int width, int height)
{
    (void)hDib;
    (void)bitCount;
    return RoundToSteps(3 * (int64_t)height + 2 * (int64_t)width);
}

// Asked after the dialog.
static int HasPosterizingStep(const void *pArguments)
{
    return PosterizingStep(((const IntArguments *)pArguments)->nValue) != 0;
}

HGLOBAL VEXAFILTER_API FilterAutoContrast(HGLOBAL hDib, UINT mode, HWND hParent)
{
    static const FilterFrame FRAME = {"AUTOCONTRASTUI",
                                      ACCEPT_8_24,
                                      ContrastSteps,
                                      NULL,
                                      CallPlainWorker,
                                      (AnyWorker)AutoContrast8,
                                      (AnyWorker)AutoContrast24};
    return RunPlainFilter(&FRAME, hDib, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterParabolaTransformation(HGLOBAL hDib, UINT bInvert, UINT mode,
                                                    HWND hParent)
{
    static const FilterFrame FRAME = {"PARABOLAUI",
                                      ACCEPT_8_24,
                                      TwoPassesOverSides,
                                      NULL,
                                      CallSidesIntWorker,
                                      (AnyWorker)ParabolaTransform8,
                                      (AnyWorker)ParabolaTransform24};
    return RunIntFilter(&FRAME, hDib, (int)bInvert, mode, hParent);
}

// A parameter out of range before the dialog ends the call as a missing image does.

HGLOBAL VEXAFILTER_API FilterSolarizing(HGLOBAL hDib, int nThreshold, UINT mode, HWND hParent)
{
    static const FilterFrame FRAME = {
        "SOLARIZINGUI",     ACCEPT_8_24,          TwoPassesOverSides,   NULL,
        CallSidesIntWorker, (AnyWorker)Solarize8, (AnyWorker)Solarize24};
    const int bInRange = nThreshold >= 0 && nThreshold <= 255;
    return RunIntFilter(&FRAME, bInRange ? hDib : NULL, nThreshold, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterPosterizing(HGLOBAL hDib, int nLevels, UINT mode, HWND hParent)
{
    static const FilterFrame FRAME = {
        "POSTERIZINGUI",    ACCEPT_8_24,           TwoPassesOverSides,    HasPosterizingStep,
        CallSidesIntWorker, (AnyWorker)Posterize8, (AnyWorker)Posterize24};
    const int bInRange = nLevels >= 2 && nLevels <= 255;
    return RunIntFilter(&FRAME, bInRange ? hDib : NULL, nLevels, mode, hParent);
}
