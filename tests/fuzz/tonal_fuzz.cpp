// Fuzz target of the tonal adjustments and the histogram transforms.

#include "fuzz_host.h"

#include <string.h>

// Any float: infinities and NaN as well.
static HGLOBAL CallStretch(void)
{
    const int bits = NextNumber();
    const UINT low = (UINT)NextNumber();
    float factor = (float)bits / 16;
    if (low % 2 == 1) {
        memcpy(&factor, &bits, sizeof factor);
    }
    return HistDIBStretch(g_scene.hDib, low, (UINT)NextNumber(), factor, g_scene.mode,
                          g_scene.hParent);
}

// Charts of honest and of wild records, into a context and into the parent window.
static HGLOBAL CallDisplay(void)
{
    HistogramRecord record = {};
    RECT rect = {NextNumber(), NextNumber(), NextNumber(), NextNumber()};
    const int channel = NextNumber();
    if (!HistDIBCreate(g_scene.hDib, &record)) {
        for (size_t i = 0; i < sizeof record; i++) {
            ((uint8_t *)&record)[i] = InputByte(i);
        }
        record.nLevels %= 300;
    }
    const HDC hdc = CreateCompatibleDC(NULL);
    HistDispToDC(hdc, &record, &rect, channel);
    DeleteDC(hdc);
    HistDispWmPain(g_scene.hParent, &record, channel);
    return HistDIBGen(g_scene.hDib, g_scene.hParent, channel);
}

const FuzzExport EXPORTS[] = {
    {"HistDIBGen", CallDisplay},
    {"FilterAutoContrast", Call<FilterAutoContrast>, "AUTOCONTRASTUI", 1},
    {"FilterParabolaTransformation", Call<FilterParabolaTransformation, UINT>, "PARABOLAUI", 2},
    {"FilterSolarizing", Call<FilterSolarizing, int>, "SOLARIZINGUI", 2},
    {"FilterPosterizing", Call<FilterPosterizing, int>, "POSTERIZINGUI", 2},
    {"FilterLevels", Call<FilterLevels, int, int, int, int, int, int>, "LEVELSUI", 7},
    {"FilterAutoLevels", Call<FilterAutoLevels, int>, "AUTOLEVELSUI", 2},
    {"FilterDifference", Call<FilterDifference, UINT>, "DIFFERENCEUI", 2},
    {"HistDIBSlide", Call<HistDIBSlide, UINT, UINT, int>, "HistSlideUI", 4, KEPT_RESULT},
    {"HistDIBStretch", CallStretch, "HistStretchUI", 4, KEPT_RESULT},
    {"HistDIBThreshold", Call<HistDIBThreshold, UINT>, "ThresholdUI", 2, KEPT_RESULT},
    {"HistDIBComplement", Call<HistDIBComplement>, "HistTransformUI", 2, KEPT_RESULT},
    {"HistDIBModify", Call<HistDIBModify>, "HistTransformUI", 2, KEPT_RESULT},
    {"HistDIBEqualization", Call<HistDIBEqualization>, "HistTransformUI", 2, KEPT_RESULT},
};
const size_t EXPORT_COUNT = sizeof EXPORTS / sizeof *EXPORTS;
