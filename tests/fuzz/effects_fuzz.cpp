// Fuzz target of the effects and of red-eye removal.

#include "fuzz_host.h"

#include <headless.h>

// Both levels draw the same numbers.
template <HGLOBAL (*CALL)(void)> static HGLOBAL WithSeed(void)
{
    SetSeedClock(InputByte(7));
    const HGLOBAL hResult = CALL();
    ClearSeedClock();
    return hResult;
}

// Canvases of more than a few megabytes only take time; some are too large for any block.
static HGLOBAL CallPuzzle(void)
{
    int counts[2];
    for (int &count : counts) {
        const int number = NextNumber();
        count = number > 700 && number < 0x7fff0000 ? number % 700 : number;
    }
    return FilterPuzzle(g_scene.hDib, counts[0], counts[1], g_scene.mode, g_scene.hParent);
}

static HGLOBAL CallRedEye(void)
{
    RECT rect;
    rect.left = NextNumber();
    rect.top = NextNumber();
    rect.right = NextNumber();
    rect.bottom = NextNumber();
    const int nLimits = NextNumber();
    const BYTE limits[] = {(BYTE)nLimits, (BYTE)(nLimits >> 8)};
    return RedEyeRemover(g_scene.hDib, nLimits % 16 == 1 ? NULL : &rect, g_scene.mode,
                         g_scene.hParent, nLimits % 4 == 0 ? NULL : limits);
}

const FuzzExport EXPORTS[] = {
    {"FilterMotionBlur", Call<FilterMotionBlur, int, int>, "MOTIONBLURUI", 4},
    {"FilterCenterMotionBlur", Call<FilterCenterMotionBlur, int, int>, "MOTIONBLURUI", 4},
    {"FilterMozaic", Call<FilterMozaic, int>, "FILTERGROUPUI", 3},
    {"FilterMultiply", Call<FilterMultiply, int>, "FILTERGROUPUI", 3},
    {"FilterAddNoise", WithSeed<Call<FilterAddNoise, int>>, "FILTERGROUPUI", 3},
    {"FilterAverage", Call<FilterAverage, int>, "FILTERGROUPUI", 3},
    {"FilterImpressionist", WithSeed<Call<FilterImpressionist, int, int>>, "FILTERGROUPUI", 3},
    {"FilterPolar", Call<FilterPolar>, "POLARUI", 1},
    {"FilterCylinder", Call<FilterCylinder, int, int>, "CYLINDERUI", 3},
    {"FilterPuzzle", WithSeed<CallPuzzle>},  // no dialog: it would ask for any canvas
    {"RedEyeRemover", CallRedEye, "RedEyeUI", 4},
};
const size_t EXPORT_COUNT = sizeof EXPORTS / sizeof *EXPORTS;
