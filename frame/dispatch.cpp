// One line per family. Every table starts at its base level and is read-only after attach.

#include "dispatch.h"

#include "convolution/convolution_kernels.h"
#include "frame/levels.h"
#include "point/arithmetic_kernels.h"
#include "statistics/mean_kernels.h"
#include "statistics/rank_kernels.h"
#include "tonal/tonal_kernels.h"

void ChooseKernels(unsigned cpuFeatures)
{
    ChooseLevelKernels(cpuFeatures);
    ChooseConvolutionKernels(cpuFeatures);
    ChoosePointKernels(cpuFeatures);
    ChooseTonalKernels(cpuFeatures);
    ChooseRankKernels(cpuFeatures);
    ChoosePixelMeanKernels(cpuFeatures);
}
