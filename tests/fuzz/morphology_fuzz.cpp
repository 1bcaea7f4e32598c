// Fuzz target of binary and gray-scale morphology.

#include "fuzz_host.h"
#include "fuzz_masks.h"

enum { MOST_ALLOCATED = 1 << 12 };

template <auto EXPORT, typename... NUMBERS> static HGLOBAL CallWithElement(void)
{
    FuzzMask element;
    MakeFuzzMask(&element, MOST_ALLOCATED);
    const HGLOBAL hResult = EXPORT(g_scene.hDib, element.pGiven, (NUMBERS)NextNumber()...,
                                   g_scene.mode, g_scene.hParent);
    FreeFuzzMask(&element);
    return hResult;
}

static HGLOBAL CallHitMiss(void)
{
    FuzzMask hit, miss;
    MakeFuzzMask(&hit, MOST_ALLOCATED);
    MakeFuzzMask(&miss, MOST_ALLOCATED);
    const HGLOBAL hResult = BinaryHitMiss(g_scene.hDib, hit.pGiven, miss.pGiven, NextNumber(),
                                          g_scene.mode, g_scene.hParent);
    FreeFuzzMask(&hit);
    FreeFuzzMask(&miss);
    return hResult;
}

const FuzzExport EXPORTS[] = {
    {"BinaryDilation", CallWithElement<BinaryDilation, int>, "BDilationUI", 3, 0, 1},
    {"BinaryErosion", CallWithElement<BinaryErosion, int>, "BErosionUI", 3, 0, 1},
    {"BinaryOpening", CallWithElement<BinaryOpening, int>, "BOpeningUI", 3, 0, 1},
    {"BinaryClosing", CallWithElement<BinaryClosing, int>, "BClosingUI", 3, 0, 1},
    {"BinaryHitMiss", CallHitMiss, "BHitmissUI", 4, 0, 2},
    {"BinaryOutlining", CallWithElement<BinaryOutlining, int, int>, "OutliningUI", 4, 0, 1},
    {"BinaryThinning", Call<BinaryThinning, int>, "ThinningUI", 2},
    {"BinaryThickening", Call<BinaryThickening, int>, "ThickeningUI", 2},
    {"BinarySkeleton", Call<BinarySkeleton, int, int>, "SkeletonUI", 3},
    {"GrayScaleDilation", CallWithElement<GrayScaleDilation>, "GDilationUI", 2, 0, 1},
    {"GrayScaleErosion", CallWithElement<GrayScaleErosion>, "GErosionUI", 2, 0, 1},
    {"GrayScaleOpening", CallWithElement<GrayScaleOpening>, "GOpeningUI", 2, 0, 1},
    {"GrayScaleClosing", CallWithElement<GrayScaleClosing>, "GClosingUI", 2, 0, 1},
    {"GrayScaleTopHat", CallWithElement<GrayScaleTopHat>, "GTophatUI", 2, 0, 1},
};
const size_t EXPORT_COUNT = sizeof EXPORTS / sizeof *EXPORTS;
