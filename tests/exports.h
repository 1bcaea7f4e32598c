// One call of every export that takes an image, a mode and a parent window: what the call frames
// owe to a host is asked of all of them.
#ifndef TESTS_EXPORTS_H
#define TESTS_EXPORTS_H

#include "VexaFilter.h"

#include "host.h"

#include <math.h>

// COPY_FRAME: the image is read before the dialogs and not looked at again. FREQUENCY_FRAME: there
// is no progress dialog, and what the call leaves allocated is freed here. STILL_FRAME: the bar
// does not move.
enum ExportFrame {
    ORDINARY_FRAME,
    ARITHMETIC_FRAME,
    HISTOGRAM_FRAME,
    COPY_FRAME,
    FREQUENCY_FRAME,
    STILL_FRAME
};

struct ExportCall {
    const char *pName;
    const char *pEntry;
    int nDialogArguments;
    ExportFrame frame;
    HGLOBAL (*Make)(HGLOBAL hDib, UINT mode, HWND hParent);
};

template <auto EXPORT, typename... ARGUMENTS>
HGLOBAL MakeFrequencyCall(HGLOBAL hDib, UINT mode, ARGUMENTS... arguments)
{
    WatchBlocks();
    const HGLOBAL hResult = EXPORT(hDib, arguments..., (mode & MODE_DIALOG) != 0);
    FreeKeptBlocks(hResult);
    return hResult;
}

// Arguments that are kept, and whose powers and quotients overflow where there are any.
// clang-format off
static constexpr ExportCall EXPORTS[] = {
    {"FilterLaplace", "LaplaceUI", 2, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterLaplace(h, 10, mode, hWnd); }},
    {"FilterGradient", "GradientUI", 2, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterGradient(h, 0, mode, hWnd); }},
    {"FilterEnhance", "EnhanceUI", 1, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterEnhance(h, mode, hWnd); }},
    {"FilterUniform", "UniformUI", 1, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterUniform(h, mode, hWnd); }},
    {"FilterGauss", "GaussUI", 1, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterGauss(h, mode, hWnd); }},
    {"ArithmeticDIB", "ARITHUI", 3, ARITHMETIC_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return ArithmeticDIB(ARITH_MUL, h, h, mode, hWnd); }},
    {"ArithmeticDIBConst", "ARITHCONSTUI", 3, ARITHMETIC_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return ArithmeticDIBConst(ARITH_EXP, h, 3, mode, hWnd); }},
    {"FilterMinimum", "MinimumFilterUI", 2, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterMinimum(h, 3, mode, hWnd); }},
    {"FilterMaximum", "MaximumFilterUI", 2, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterMaximum(h, 4, mode, hWnd); }},
    {"FilterMedian", "MedianFilterUI", 2, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterMedian(h, 6, mode, hWnd); }},
    {"FilterMidpoint", "MidpointFilterUI", 2, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterMidpoint(h, 2, mode, hWnd); }},
    {"FilterRange", "RangeFilterUI", 2, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterRange(h, 5, mode, hWnd); }},
    {"FilterAlphaTrimmedMean", "AlphaFilterUI", 2, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterAlphaTrimmedMean(h, 3, 2, mode, hWnd); }},
    {"FilterWeightedMedian", "WMedianFilterUI", 2, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterWeightedMedian(h, NULL, mode, hWnd); }},
    {"FilterGeometricMean", "GeometricFilterUI", 2, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterGeometricMean(h, 3, mode, hWnd); }},
    {"FilterHarmonicMean", "HarmonicFilterUI", 2, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterHarmonicMean(h, 3, mode, hWnd); }},
    {"FilterContraHarmonicMean", "ContraFilterUI", 3, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterContraHarmonicMean(h, 3, 130, mode, hWnd); }},
    {"FilterYpMean", "YpFilterUI", 3, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterYpMean(h, 3, 129, mode, hWnd); }},
    {"FilterWeightedMean", "WMeanFilterUI", 2, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterWeightedMean(h, NULL, mode, hWnd); }},
    {"FilterAdaptiveDWMTM", "ADWMTMUI", 4, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterAdaptiveDWMTM(h, 3, 17, 20, mode, hWnd); }},
    {"FilterAdaptiveMMSE", "AMMSEUI", 3, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterAdaptiveMMSE(h, 3, 200, mode, hWnd); }},
    {"FilterAutoContrast", "AUTOCONTRASTUI", 1, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterAutoContrast(h, mode, hWnd); }},
    {"FilterParabolaTransformation", "PARABOLAUI", 2, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterParabolaTransformation(h, 1, mode, hWnd); }},
    {"FilterSolarizing", "SOLARIZINGUI", 2, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterSolarizing(h, 100, mode, hWnd); }},
    {"FilterPosterizing", "POSTERIZINGUI", 2, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterPosterizing(h, 5, mode, hWnd); }},
    {"FilterLevels", "LEVELSUI", 7, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterLevels(h, 20, 220, 90, 5, 250, 0, mode, hWnd); }},
    {"FilterAutoLevels", "AUTOLEVELSUI", 2, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterAutoLevels(h, 10, mode, hWnd); }},
    {"FilterDifference", "DIFFERENCEUI", 2, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterDifference(h, 2, mode, hWnd); }},
    {"HistDIBSlide", "HistSlideUI", 4, HISTOGRAM_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return HistDIBSlide(h, 3, 200, 40, mode, hWnd); }},
    {"HistDIBStretch", "HistStretchUI", 4, HISTOGRAM_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return HistDIBStretch(h, 2, 99, NAN, mode, hWnd); }},
    {"HistDIBThreshold", "ThresholdUI", 2, HISTOGRAM_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return HistDIBThreshold(h, 99, mode, hWnd); }},
    {"HistDIBComplement", "HistTransformUI", 2, HISTOGRAM_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return HistDIBComplement(h, mode, hWnd); }},
    {"HistDIBModify", "HistTransformUI", 2, HISTOGRAM_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return HistDIBModify(h, mode, hWnd); }},
    {"HistDIBEqualization", "HistTransformUI", 2, HISTOGRAM_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return HistDIBEqualization(h, mode, hWnd); }},
    {"BinaryDilation", "BDilationUI", 3, COPY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return BinaryDilation(h, NULL, 0, mode, hWnd); }},
    {"BinaryErosion", "BErosionUI", 3, COPY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return BinaryErosion(h, NULL, 0, mode, hWnd); }},
    {"BinaryOpening", "BOpeningUI", 3, COPY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return BinaryOpening(h, NULL, 0, mode, hWnd); }},
    {"BinaryClosing", "BClosingUI", 3, COPY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return BinaryClosing(h, NULL, 0, mode, hWnd); }},
    {"BinaryHitMiss", "BHitmissUI", 4, COPY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return BinaryHitMiss(h, NULL, NULL, 0, mode, hWnd); }},
    {"BinaryOutlining", "OutliningUI", 4, COPY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return BinaryOutlining(h, NULL, 1, 0, mode, hWnd); }},
    {"BinaryThinning", "ThinningUI", 2, COPY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return BinaryThinning(h, 1, mode, hWnd); }},
    {"BinaryThickening", "ThickeningUI", 2, COPY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return BinaryThickening(h, 1, mode, hWnd); }},
    {"BinarySkeleton", "SkeletonUI", 3, COPY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return BinarySkeleton(h, 0, 1, mode, hWnd); }},
    {"GrayScaleDilation", "GDilationUI", 2, COPY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return GrayScaleDilation(h, NULL, mode, hWnd); }},
    {"GrayScaleErosion", "GErosionUI", 2, COPY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return GrayScaleErosion(h, NULL, mode, hWnd); }},
    {"GrayScaleOpening", "GOpeningUI", 2, COPY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return GrayScaleOpening(h, NULL, mode, hWnd); }},
    {"GrayScaleClosing", "GClosingUI", 2, COPY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return GrayScaleClosing(h, NULL, mode, hWnd); }},
    {"GrayScaleTopHat", "GTophatUI", 2, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return GrayScaleTopHat(h, NULL, mode, hWnd); }},
    {"FilterMotionBlur", "MOTIONBLURUI", 4, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterMotionBlur(h, 33, 6, mode, hWnd); }},
    {"FilterCenterMotionBlur", "MOTIONBLURUI", 4, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterCenterMotionBlur(h, 7, 300, mode, hWnd); }},
    {"FilterMozaic", "FILTERGROUPUI", 3, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterMozaic(h, 3, mode, hWnd); }},
    {"FilterMultiply", "FILTERGROUPUI", 3, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterMultiply(h, 13, mode, hWnd); }},
    {"FilterAddNoise", "FILTERGROUPUI", 3, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterAddNoise(h, 37, mode, hWnd); }},
    {"FilterAverage", "FILTERGROUPUI", 3, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterAverage(h, 7, mode, hWnd); }},
    {"FilterImpressionist", "FILTERGROUPUI", 3, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterImpressionist(h, 4, 2, mode, hWnd); }},
    {"FilterPolar", "POLARUI", 1, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterPolar(h, mode, hWnd); }},
    {"FilterCylinder", "CYLINDERUI", 3, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterCylinder(h, 9, 0, mode, hWnd); }},
    {"FilterPuzzle", "FILTERGROUPUI", 3, STILL_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) { return FilterPuzzle(h, 4, 5, mode, hWnd); }},
    {"RedEyeRemover", "RedEyeUI", 4, ORDINARY_FRAME,
     [](HGLOBAL h, UINT mode, HWND hWnd) {
         RECT rect = {1, 2, 16, 20};
         return RedEyeRemover(h, &rect, mode, hWnd, NULL);
     }},
    {"FreqDIBLowpass", "FFTPASSUI", 5, FREQUENCY_FRAME,
     [](HGLOBAL h, UINT mode, HWND) { return MakeFrequencyCall<FreqDIBLowpass>(h, mode, 5, 2, 0); }},
    {"FreqDIBHighpass", "FFTPASSUI", 5, FREQUENCY_FRAME,
     [](HGLOBAL h, UINT mode, HWND) { return MakeFrequencyCall<FreqDIBHighpass>(h, mode, 3, 0, 1); }},
    {"FreqDIBEnhance", "FFTENHANCEUI", 4, FREQUENCY_FRAME,
     [](HGLOBAL h, UINT mode, HWND) { return MakeFrequencyCall<FreqDIBEnhance>(h, mode, 3, 1.5f, 0); }},
    {"FreqDIBHomomorphic", "FFTHOMOMORPHICUI", 6, FREQUENCY_FRAME,
     [](HGLOBAL h, UINT mode, HWND) { return MakeFrequencyCall<FreqDIBHomomorphic>(h, mode, 4, 2, 2.0f, NAN, 0); }},
};
// clang-format on

#endif
