// Kernels on their own, at every compiled level. See harness.h.

#include "harness.h"

#include "pictures.h"
#include "platform/cpu.h"

#include <benchmark/benchmark.h>

#include <string.h>

#include <string>

enum { SIDE = 2048, BAND_ROWS = 34 };

// Rows from the middle of the picture, copied to where the cache lines start, and one row of output:
// the same alignment for all kernels, the data in the second-level cache.
static void RunKernel(benchmark::State &state, LineKernel kernel, PictureKind kind,
                      unsigned nFeatures)
{
    alignas(64) static BYTE band[BAND_ROWS * SIDE * 3];
    alignas(64) static BYTE out[SIDE * 3];
    const size_t step = IsColorPicture(kind) ? 3 : 1;
    const size_t stride = SIDE * step;
    if ((DetectCpuFeatures() & nFeatures) != nFeatures) {
        state.SkipWithError("this processor lacks the level");
        return;
    }
    memcpy(band, PictureBits(SharedPicture(kind, SIDE)) + SIDE / 2 * stride, BAND_ROWS * stride);
    for (auto _ : state) {
        for (size_t row = 0; row + 2 < BAND_ROWS; row++) {
            const BYTE *const lines[3] = {band + row * stride, band + (row + 1) * stride,
                                          band + (row + 2) * stride};
            kernel(lines, (ptrdiff_t)step, out, stride - 2 * step, NULL);
            benchmark::ClobberMemory();
        }
    }
    state.SetItemsProcessed(state.iterations() * (BAND_ROWS - 2) * (SIDE - 2));
}

void RegisterKernel(const char *pName, const char *pLevel, LineKernel kernel)
{
    const unsigned nFeatures = strcmp(pLevel, "avx2") == 0 ? CPU_AVX2 : 0;
    for (const PictureKind kind : {PICTURE_RAMP, PICTURE_COLOR}) {
        const std::string name =
            std::string("Kernel/") + pName + "/" + PICTURE_NAMES[kind] + "/" + pLevel;
        benchmark::RegisterBenchmark(name.c_str(), RunKernel, kernel, kind, nFeatures);
    }
}

