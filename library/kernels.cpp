// One line per table. All levels of a table give the same bytes.

#include "kernels.h"

#include "convolution/convolution_kernels.h"
#include "effects/effect_kernels.h"
#include "frame/levels_kernels.h"
#include "frequency/spectrum_kernels.h"
#include "frequency/transform_kernels.h"
#include "morphology/binary_kernels.h"
#include "morphology/gray_kernels.h"
#include "platform/cpu.h"
#include "point/arithmetic_kernels.h"
#include "statistics/adaptive_kernels.h"
#include "statistics/mean_kernels.h"
#include "statistics/rank_kernels.h"
#include "tonal/tonal_kernels.h"

#include <string.h>

// Null until attach: a table without its line below would be missed at once.
const MapKernels *g_pMapKernels;
const WeightedKernels *g_pWeightedKernels;
const SmoothingKernels *g_pSmoothingKernels;
const ArithmeticKernels *g_pArithmeticKernels;
const TonalKernels *g_pTonalKernels;
const EffectKernels *g_pEffectKernels;
const ExtremeKernels *g_pExtremeKernels;
const NetworkKernels *g_pNetworkKernels;
const HistogramKernels *g_pHistogramKernels;
const SelectionKernels *g_pSelectionKernels;
const PixelMeanKernels *g_pPixelMeanKernels;
const AdaptiveKernels *g_pAdaptiveKernels;
const BinaryKernels *g_pBinaryKernels;
const GrayKernels *g_pGrayKernels;
const TransformKernels *g_pTransformKernels;
const SpectrumKernels *g_pSpectrumKernels;

const LevelNeed LEVEL_NEEDS[KERNEL_LEVELS] = {{"sse2", 0}, {"avx2", CPU_AVX2}};

const KernelTable KERNEL_TABLE[KERNEL_TABLES] = {
    {"tables of levels", &g_pMapKernels, {&sse2::MAP_KERNELS, &avx2::MAP_KERNELS}},
    {"weighted windows", &g_pWeightedKernels, {&sse2::WEIGHTED_KERNELS, &avx2::WEIGHTED_KERNELS}},
    {"smoothing", &g_pSmoothingKernels, {&sse2::SMOOTHING_KERNELS, &avx2::SMOOTHING_KERNELS}},
    {"arithmetic", &g_pArithmeticKernels, {&sse2::ARITHMETIC_KERNELS, &avx2::ARITHMETIC_KERNELS}},
    {"tonal", &g_pTonalKernels, {&sse2::TONAL_KERNELS, &avx2::TONAL_KERNELS}},
    {"effects", &g_pEffectKernels, {&sse2::EFFECT_KERNELS, &avx2::EFFECT_KERNELS}},
    {"extremes", &g_pExtremeKernels, {&sse2::EXTREME_KERNELS, &avx2::EXTREME_KERNELS}},
    {"networks", &g_pNetworkKernels, {&sse2::NETWORK_KERNELS, &avx2::NETWORK_KERNELS}},
    {"histograms", &g_pHistogramKernels, {&sse2::HISTOGRAM_KERNELS, &avx2::HISTOGRAM_KERNELS}},
    {"selection", &g_pSelectionKernels, {&sse2::SELECTION_KERNELS, &avx2::SELECTION_KERNELS}},
    {"means", &g_pPixelMeanKernels, {&sse2::PIXEL_MEAN_KERNELS, &avx2::PIXEL_MEAN_KERNELS}},
    {"adaptive", &g_pAdaptiveKernels, {&sse2::ADAPTIVE_KERNELS, &avx2::ADAPTIVE_KERNELS}},
    {"packed pixels", &g_pBinaryKernels, {&sse2::BINARY_KERNELS, &avx2::BINARY_KERNELS}},
    {"gray-scale morphology", &g_pGrayKernels, {&sse2::GRAY_KERNELS, &avx2::GRAY_KERNELS}},
    {"Fourier transforms",
     &g_pTransformKernels,
     {&sse2::TRANSFORM_KERNELS, &avx2::TRANSFORM_KERNELS}},
    {"spectra", &g_pSpectrumKernels, {&sse2::SPECTRUM_KERNELS, &avx2::SPECTRUM_KERNELS}},
};

void ChooseKernels(unsigned cpuFeatures)
{
    for (const KernelTable &table : KERNEL_TABLE) {
        const void *pBest = table.levels[0];
        for (int level = 1; level < KERNEL_LEVELS; level++) {
            const unsigned needs = LEVEL_NEEDS[level].nFeatures;
            if ((cpuFeatures & needs) == needs && table.levels[level] != NULL) {
                pBest = table.levels[level];
            }
        }
        memcpy(table.pChosen, &pBest, sizeof pBest);
    }
}
