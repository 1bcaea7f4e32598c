// Kernels on their own, at every compiled level. See harness.h.

#include "harness.h"

#include "pictures.h"
#include "platform/cpu.h"

#include <benchmark/benchmark.h>

#include <string.h>

#include <string>

enum { SIDE = 2048, BAND_BYTES = 400 << 10 };

// Rows from the middle of the picture, copied to where the cache lines start, and one row of
// output: the same alignment for all kernels. They fill most of a second-level cache of 512 KiB;
// fewer, and the processor learns the branches of kernels that have some.
static void RunKernel(benchmark::State &state, LineKernel kernel, PictureKind kind,
                      unsigned nFeatures)
{
    alignas(64) static BYTE band[BAND_BYTES];
    alignas(64) static BYTE out[SIDE * 3];
    const size_t step = IsColorPicture(kind) ? 3 : 1;
    const size_t stride = SIDE * step;
    const size_t nRows = BAND_BYTES / stride;
    if ((DetectCpuFeatures() & nFeatures) != nFeatures) {
        state.SkipWithError("this processor lacks the level");
        return;
    }
    memcpy(band, PictureBits(SharedPicture(kind, SIDE)) + SIDE / 2 * stride, nRows * stride);
    for (auto _ : state) {
        for (size_t row = 0; row + 2 < nRows; row++) {
            const BYTE *const lines[3] = {band + row * stride, band + (row + 1) * stride,
                                          band + (row + 2) * stride};
            kernel(lines, (ptrdiff_t)step, out, stride - 2 * step, NULL);
            benchmark::ClobberMemory();
        }
    }
    state.SetItemsProcessed(state.iterations() * (int64_t)(nRows - 2) * (SIDE - 2));
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
