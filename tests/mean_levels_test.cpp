// The mean and adaptive filters at every level of the processor, and whole rows against single
// pixels: all forms must give the same bytes. What those are is the business of mean_test.cpp.

#include "picture.h"

#include "library/kernels.h"
#include "VexaFilter.h"
#include "platform/cpu.h"
#include "statistics/adaptive_kernels.h"
#include "statistics/mean_kernels.h"
#include "statistics/rank_kernels.h"

#include <gtest/gtest.h>

#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <string>
#include <vector>

enum LevelFilter { GEOMETRIC, HARMONIC, CONTRA, YP, WEIGHTED, EQUAL, TRIMMED, MMSE };

struct LevelCase {
    LevelFilter filter;
    int nParameter;
};

static const LevelCase CASES[] = {
    {GEOMETRIC, 0}, {HARMONIC, 0}, {CONTRA, -25},  {CONTRA, -3}, {CONTRA, -2},  {CONTRA, -1},
    {CONTRA, 0},    {CONTRA, 1},   {CONTRA, 2},    {CONTRA, 5},  {YP, -25},     {YP, -3},
    {YP, -1},       {YP, 1},       {YP, 2},        {YP, 3},      {YP, 4},       {YP, 15},
    {YP, 90},       {WEIGHTED, 3}, {WEIGHTED, 37}, {EQUAL, 0},   {TRIMMED, 25}, {TRIMMED, 0},
    {MMSE, 90},     {MMSE, -4000}};

static HGLOBAL RunWeighted(HGLOBAL hDib, int n, int nStep)
{
    enum { MOST = 40 };
    BYTE runs[MOST][MOST];
    BYTE *elements[MOST];
    for (int i = 0; i < n; i++) {
        elements[i] = runs[i];
        for (int j = 0; j < n; j++) {
            runs[i][j] = (BYTE)(1 + nStep * (i + 3 * j));
        }
    }
    const FilterMask mask = {elements, n, n, n / 2, n / 2};
    return FilterWeightedMean(hDib, &mask, 0, NULL);
}

static HGLOBAL RunCase(const LevelCase &c, HGLOBAL hDib, int n)
{
    switch (c.filter) {
    case GEOMETRIC:
        return FilterGeometricMean(hDib, n, 0, NULL);
    case HARMONIC:
        return FilterHarmonicMean(hDib, n, 0, NULL);
    case CONTRA:
        return FilterContraHarmonicMean(hDib, n, c.nParameter, 0, NULL);
    case YP:
        return FilterYpMean(hDib, n, c.nParameter, 0, NULL);
    case WEIGHTED:
    case EQUAL:
        return RunWeighted(hDib, n, c.nParameter);
    case TRIMMED:
        return FilterAdaptiveDWMTM(hDib, (n + 1) / 2, n, c.nParameter, 0, NULL);
    case MMSE:
    default:
        return FilterAdaptiveMMSE(hDib, n, c.nParameter, 0, NULL);
    }
}

static HGLOBAL NewDib(const Bytes &dib)
{
    const HGLOBAL hDib = GlobalAlloc(GMEM_MOVEABLE, dib.size());
    memcpy(GlobalLock(hDib), dib.data(), dib.size());
    GlobalUnlock(hDib);
    return hDib;
}

static Bytes TakeBytes(HGLOBAL hBlock)
{
    const BYTE *pBytes = (const BYTE *)GlobalLock(hBlock);
    const Bytes bytes(pBytes, pBytes + GlobalSize(hBlock));
    GlobalUnlock(hBlock);
    GlobalFree(hBlock);
    return bytes;
}

// Every case on one picture with the kernels now in force.
static std::vector<Bytes> RunAll(const Bytes &dib, int n)
{
    std::vector<Bytes> results;
    const HGLOBAL hDib = NewDib(dib);
    for (const LevelCase &c : CASES) {
        results.push_back(TakeBytes(RunCase(c, hDib, n)));
    }
    GlobalFree(hDib);
    return results;
}

// The double window by sorting, in the words of the definition.
static BYTE SortedTrim(const BYTE *const *lines, size_t i, ptrdiff_t step, const TrimRule *pRule)
{
    std::vector<int> inner;
    int sum = 0, count = 0;
    for (int k = 0; k < pRule->nSmall; k++) {
        for (int j = 0; j < pRule->nSmall; j++) {
            inner.push_back((lines[k + pRule->nInset] + i)[(j + pRule->nInset) * step]);
        }
    }
    std::sort(inner.begin(), inner.end());
    const int median = inner[inner.size() / 2];
    for (int k = 0; k < pRule->nLarge; k++) {
        for (int j = 0; j < pRule->nLarge; j++) {
            const int sample = (lines[k] + i)[j * step];
            const int bNear = abs(sample - median) <= pRule->nTrim;
            sum += bNear * sample;
            count += bNear;
        }
    }
    return (BYTE)(sum / count);
}

static void PlainTrim(const BYTE *const *lines, ptrdiff_t step, BYTE *out, size_t count,
                      const void *pParameters)
{
    for (size_t i = 0; i < count; i++) {
        out[i] = SortedTrim(lines, i, step, (const TrimRule *)pParameters);
    }
}

static size_t NoState(const NeighbourhoodFilter *, size_t, ptrdiff_t)
{
    return 0;
}

static void PlainTrimRow(void *, const NeighbourhoodFilter *pFilter, const BYTE *const *lines,
                         ptrdiff_t step, BYTE *out, size_t count, int)
{
    PlainTrim(lines, step, out, count, pFilter->pParameters);
}

static void UsePlainForms(void)
{
    static HistogramKernels histograms = sse2::HISTOGRAM_KERNELS;
    static const PixelMeanKernels MEANS = {sse2::PIXEL_MEAN_KERNELS.Plain, NULL, NULL,
                                           sse2::PIXEL_MEAN_KERNELS.Weighted};
    static const AdaptiveKernels ADAPTIVE = {sse2::ADAPTIVE_KERNELS.Mmse, NULL, PlainTrim};
    histograms.doubleWindow = histograms.wideDoubleWindow = {NoState, PlainTrimRow};
    g_pHistogramKernels = &histograms;
    g_pPixelMeanKernels = &MEANS;
    g_pAdaptiveKernels = &ADAPTIVE;
}

static void ExpectSame(const std::vector<Bytes> &want, const std::vector<Bytes> &got, int n,
                       const std::string &what)
{
    for (size_t i = 0; i < want.size(); i++) {
        EXPECT_EQ("", FirstDifference(want[i], got[i]))
            << "filter " << CASES[i].filter << ", parameter " << CASES[i].nParameter << ", size "
            << n << ", " << what;
    }
}

static void ExpectSameAtEveryLevel(const Bytes &dib, int n, const std::string &what)
{
    UsePlainForms();
    const std::vector<Bytes> want = RunAll(dib, n);
    ChooseKernels(0);
    ExpectSame(want, RunAll(dib, n), n, "sse2, " + what);
    if (DetectCpuFeatures() & CPU_AVX2) {
        ChooseKernels(CPU_AVX2);
        ExpectSame(want, RunAll(dib, n), n, "avx2, " + what);
    }
    ChooseKernels(DetectCpuFeatures());
}

// Widths past the blocks that the kernels work in, and windows past those that count in bytes.
TEST(MeanLevels, RowsOfEveryLevelEqualSinglePixels)
{
    const int sizes[][3] = {{2, 200, 5},   {3, 260, 8},   {4, 175, 9},  {5, 333, 7},   {7, 183, 12},
                            {8, 600, 9},   {12, 100, 17}, {13, 90, 20}, {15, 110, 18}, {16, 75, 19},
                            {17, 120, 21}, {31, 50, 40},  {40, 64, 44}};
    unsigned nSeed = 0;
    for (const int *size : sizes) {
        for (int tone = 0; tone < 3; tone++) {
            const TestPicture picture = {size[1], size[2], 24, COLOURED, 0, nSeed++, 0};
            ExpectSameAtEveryLevel(MakeDib(picture), size[0], Describe(picture));
        }
    }
}

// Flat windows of every level, whose means lie on a limit or nearly; with nSpread, up to so many
// levels apart, and now and then a sample that stands out.
static Bytes MakeBands(int width, int height, int nBand, int nSpread)
{
    std::vector<int> levels;
    unsigned random = 5;
    for (int i = 0; i < width * height; i++) {
        random = random * 1664525 + 1013904223;
        const int level = i % width / nBand + (int)(random >> 16) % (nSpread + 1);
        const bool bStandsOut = nSpread > 0 && random >> 24 == 0;
        levels.push_back(bStandsOut ? (int)(random >> 10 & 255) : level < 255 ? level : 255);
    }
    return MakeLevels(width, height, 24, levels);
}

// Sizes on both sides of where 32-bit sums no longer do.
TEST(MeanLevels, MeansOnTheLimitsEqualSinglePixels)
{
    for (int n : {2, 3, 7, 8, 17}) {
        for (int nSpread : {0, 1, 9}) {
            const int nBand = n + 2, height = n + 1;
            ExpectSameAtEveryLevel(MakeBands(256 * nBand, height, nBand, nSpread), n,
                                   "bands, spread " + std::to_string(nSpread));
        }
        ExpectSameAtEveryLevel(MakeBands(1100, n + 1, 500, 0), n, "flat blocks");
    }
}

// Sums past 31 bits and column sums far past a byte.
TEST(MeanLevels, LargeWindowsEqualSinglePixels)
{
    const LevelCase large[] = {{MMSE, 500}, {HARMONIC, 0}, {GEOMETRIC, 0},
                               {CONTRA, 1}, {YP, 1},       {TRIMMED, 9}};
    const int side = 256, width = 266, height = 259;
    const TestPicture picture = {width, height, 24, COLOURED, 0, 2, 0};
    const HGLOBAL hDib = NewDib(MakeDib(picture));
    for (const LevelCase &c : large) {
        UsePlainForms();
        const Bytes want = TakeBytes(RunCase(c, hDib, side));
        for (unsigned features : {0u, DetectCpuFeatures()}) {
            ChooseKernels(features);
            EXPECT_EQ("", FirstDifference(want, TakeBytes(RunCase(c, hDib, side))))
                << "filter " << c.filter << ", features " << features;
        }
    }
    GlobalFree(hDib);
}
