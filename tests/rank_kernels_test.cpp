// The fast forms of the rank filters at every level of the processor, against sorting.

#include "picture.h"
#include "reference/rank.h"

#include "platform/cpu.h"
#include "statistics/rank_kernels.h"

#include <gtest/gtest.h>

#include <random>

struct RankTables {
    const char *pName;
    unsigned nFeature;
    const ExtremeKernels *pExtremes;
    const NetworkKernels *pNetworks;
    const HistogramKernels *pHistograms;
    const SelectionKernels *pSelection;
};

static const RankTables LEVELS[] = {{"sse2", 0, &sse2::EXTREME_KERNELS, &sse2::NETWORK_KERNELS,
                                     &sse2::HISTOGRAM_KERNELS, &sse2::SELECTION_KERNELS},
                                    {"avx2", CPU_AVX2, &avx2::EXTREME_KERNELS,
                                     &avx2::NETWORK_KERNELS, &avx2::HISTOGRAM_KERNELS,
                                     &avx2::SELECTION_KERNELS}};

struct RowCase {
    Rank rank;
    const RowKernel *pKernel;
    int nLeast, nMost;  // sizes of window
};

static std::vector<RowCase> RowsOf(const RankTables &level)
{
    const HistogramKernels *pHistograms = level.pHistograms;
    std::vector<RowCase> cases = {{MINIMUM, &level.pExtremes->rows[EXTREME_MINIMUM], 1, 40},
                                  {MAXIMUM, &level.pExtremes->rows[EXTREME_MAXIMUM], 1, 40},
                                  {MIDPOINT, &level.pExtremes->rows[EXTREME_MIDPOINT], 1, 40},
                                  {RANGE, &level.pExtremes->rows[EXTREME_RANGE], 1, 40},
                                  {MEDIAN, &pHistograms->median, 2, 40},
                                  {MEDIAN, &pHistograms->wideMedian, 2, 40},
                                  {TRIMMED, &pHistograms->trimmedMean, 2, 40},
                                  {TRIMMED, &pHistograms->wideTrimmedMean, 2, 40}};
    for (int half = 1; half < NETWORK_SIZES; half++) {
        const int size = 2 * half + 1;
        cases.push_back({MEDIAN, &level.pNetworks->median[half], size, size});
        if (level.pNetworks->trimmedMean[half].Run != NULL) {
            cases.push_back({TRIMMED, &level.pNetworks->trimmedMean[half], size, size});
        }
    }
    return cases;
}

// Lines of exactly the needed length, by turns of all levels, of two, and of a few neighbouring
// ones.
static std::vector<Bytes> RandomLines(size_t nLines, size_t nSamples, unsigned nSeed)
{
    std::mt19937 random(BaseSeed() + nSeed);
    std::vector<Bytes> lines(nLines, Bytes(nSamples));
    for (Bytes &line : lines) {
        for (BYTE &sample : line) {
            const BYTE any = (BYTE)random();
            sample = nSeed % 3 == 0   ? any
                     : nSeed % 3 == 1 ? (BYTE)(any % 2 * 255)
                                      : (BYTE)(120 + any % 11);
        }
    }
    return lines;
}

static std::vector<int> Window(const std::vector<Bytes> &lines, size_t nTop, size_t i, size_t step,
                               size_t rows, size_t columns)
{
    std::vector<int> samples;
    for (size_t k = 0; k < rows; k++) {
        for (size_t j = 0; j < columns; j++) {
            samples.push_back(lines[nTop + k][i + j * step]);
        }
    }
    return samples;
}

// Rows from the bottom up. A sample in thirteen is looked at in large windows.
static void RunRowCase(const RowCase &c, const char *pLevel, size_t size, size_t nPixels,
                       size_t nRows, size_t step, unsigned nSeed)
{
    const DWORD nTrim = c.rank == TRIMMED ? (DWORD)(nSeed % (size * size / 2)) : 0;
    const SquareRule rule = {(DWORD)size, nTrim};
    NeighbourhoodFilter filter = {};
    filter.nRows = filter.nColumns = (int)size;
    filter.pParameters = &rule;
    const size_t count = nPixels * step;
    const size_t nSamples = count + (size - 1) * step;
    const std::vector<Bytes> lines = RandomLines(nRows + size - 1, nSamples, nSeed);
    Bytes state(c.pKernel->StateBytes(&filter, nSamples, (ptrdiff_t)step));
    for (size_t top = nRows; top-- > 0;) {
        std::vector<const BYTE *> window;
        for (size_t k = 0; k < size + (top + 1 < nRows ? 1 : 0); k++) {
            window.push_back(lines[top + k].data());
        }
        Bytes out(count + 2, 0xa5);
        c.pKernel->Run(state.data(), &filter, window.data(), (ptrdiff_t)step, &out[1], count,
                       top + 1 == nRows);
        ASSERT_TRUE(out[0] == 0xa5 && out[count + 1] == 0xa5) << pLevel << " writes past its run";
        for (size_t i = 0; i < count; i += size < 10 ? 1 : 13) {
            ASSERT_EQ(RankLevel(c.rank, Window(lines, top, i, step, size, size), (int)nTrim),
                      out[i + 1])
                << pLevel << ", filter " << c.rank << ", size " << size << ", trim " << nTrim
                << ", pixels " << nPixels << ", row " << top << ", step " << step << ", sample "
                << i << ", seed " << BaseSeed() << " + " << nSeed;
        }
    }
}

struct RankKernelTest : testing::TestWithParam<RankTables> {
    void SetUp() override
    {
        if ((DetectCpuFeatures() & GetParam().nFeature) != GetParam().nFeature) {
            GTEST_SKIP() << "this processor has no " << GetParam().pName;
        }
    }
};

TEST_P(RankKernelTest, RowsEqualTheSortedWindows)
{
    unsigned nSeed = 0;
    for (const RowCase &c : RowsOf(GetParam())) {
        for (int size : {1, 2, 3, 4, 5, 7, 8, 9, 10, 15, 16, 17, 18, 31, 33, 40}) {
            for (size_t nPixels : {1, 2, 31, 33, 70, 333}) {
                const size_t step = nSeed % 2 == 0 ? 1 : 3;
                if (size >= c.nLeast && size <= c.nMost) {
                    RunRowCase(c, GetParam().pName, (size_t)size, nPixels,
                               nPixels > 40 ? 2 : (size_t)size + 3, step, nSeed);
                }
                nSeed++;
            }
        }
    }
}

static void RunSelection(const RankTables &level, size_t rows, size_t columns, unsigned nLargest,
                         size_t nPixels, size_t step, unsigned nSeed)
{
    std::mt19937 random(BaseSeed() + nSeed);
    std::vector<BYTE> weights(rows * columns);
    DWORD nTotal = 0;
    for (BYTE &weight : weights) {
        weight = (BYTE)(nLargest - random() % (nLargest + 1) * (nSeed % 2));
        nTotal += weight;
    }
    if (nTotal < 2) {
        return;
    }
    // The rule leaves nothing out: an extra sample in front does that for the sorted list.
    const WeightedRule rule = {(int)rows, (int)columns, weights.data(), nTotal, (nTotal + 1) / 2};
    const LineKernel kernel = nTotal <= 0xff     ? level.pSelection->bytes
                              : nTotal <= 0xffff ? level.pSelection->words
                                                 : level.pSelection->dwords;
    const size_t count = nPixels * step;
    const std::vector<Bytes> lines = RandomLines(rows, count + (columns - 1) * step, nSeed);
    std::vector<const BYTE *> window;
    for (const Bytes &line : lines) {
        window.push_back(line.data());
    }
    Bytes out(count + 2, 0xa5);
    kernel(window.data(), (ptrdiff_t)step, &out[1], count, &rule);
    ASSERT_TRUE(out[0] == 0xa5 && out[count + 1] == 0xa5) << level.pName << " writes past its run";
    for (size_t i = 0; i < count; i += 1 + weights.size() / 50) {
        std::vector<int> list =
            WeightedSamples(Window(lines, 0, i, step, rows, columns), weights, (int)columns);
        list.insert(list.begin(), 0);
        ASSERT_EQ(RankLevel(WEIGHTED, list, 0), out[i + 1])
            << level.pName << ", " << rows << " x " << columns << " weights up to " << nLargest
            << ", sample " << i << ", seed " << BaseSeed() << " + " << nSeed;
    }
}

TEST_P(RankKernelTest, SelectionByWeightEqualsTheSortedList)
{
    static const size_t SHAPES[][2] = {{1, 1}, {1, 4}, {3, 3}, {5, 2}, {7, 7}, {16, 17}, {17, 16}};
    unsigned nSeed = 0;
    for (const size_t *shape : SHAPES) {
        for (unsigned nLargest : {1, 3, 28, 255}) {
            for (size_t nPixels : {1, 17, 255, 257}) {
                RunSelection(GetParam(), shape[0], shape[1], nLargest, nPixels,
                             nSeed / 2 % 2 == 0 ? 1 : 3, nSeed);
                nSeed++;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Levels, RankKernelTest, testing::ValuesIn(LEVELS),
                         [](const testing::TestParamInfo<RankTables> &level) {
                             return std::string(level.param.pName);
                         });
