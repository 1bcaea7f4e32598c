// Fuzz target of the rank filters, the means and the adaptive filters.

#include "fuzz_host.h"
#include "fuzz_masks.h"

enum { MOST_ALLOCATED = 1 << 16 };

template <auto EXPORT> static HGLOBAL CallWithMask(void)
{
    FuzzMask mask;
    MakeFuzzMask(&mask, MOST_ALLOCATED);
    const HGLOBAL hResult = EXPORT(g_scene.hDib, mask.pGiven, g_scene.mode, g_scene.hParent);
    FreeFuzzMask(&mask);
    return hResult;
}

const FuzzExport EXPORTS[] = {
    {"FilterMinimum", Call<FilterMinimum, int>, "MinimumFilterUI", 2},
    {"FilterMaximum", Call<FilterMaximum, int>, "MaximumFilterUI", 2},
    {"FilterMedian", Call<FilterMedian, int>, "MedianFilterUI", 2},
    {"FilterMidpoint", Call<FilterMidpoint, int>, "MidpointFilterUI", 2},
    {"FilterRange", Call<FilterRange, int>, "RangeFilterUI", 2},
    {"FilterAlphaTrimmedMean", Call<FilterAlphaTrimmedMean, int, int>, "AlphaFilterUI", 2},
    {"FilterWeightedMedian", CallWithMask<FilterWeightedMedian>, "WMedianFilterUI", 2,
     EDITS_A_MASK},
    {"FilterGeometricMean", Call<FilterGeometricMean, int>, "GeometricFilterUI", 2},
    {"FilterHarmonicMean", Call<FilterHarmonicMean, int>, "HarmonicFilterUI", 2},
    {"FilterContraHarmonicMean", Call<FilterContraHarmonicMean, int, int>, "ContraFilterUI", 3},
    {"FilterYpMean", Call<FilterYpMean, int, int>, "YpFilterUI", 3},
    {"FilterWeightedMean", CallWithMask<FilterWeightedMean>, "WMeanFilterUI", 2, EDITS_A_MASK},
    {"FilterAdaptiveDWMTM", Call<FilterAdaptiveDWMTM, int, int, int>, "ADWMTMUI", 4},
    {"FilterAdaptiveMMSE", Call<FilterAdaptiveMMSE, int, int>, "AMMSEUI", 3},
};
const size_t EXPORT_COUNT = sizeof EXPORTS / sizeof *EXPORTS;
