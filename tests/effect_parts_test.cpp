// The effects' parts, linked straight in: the ring, random draws ahead, and the kernels at every
// level of the processor.

#include "picture.h"
#include "reference/effects.h"

#include "effects/effect_kernels.h"
#include "effects/random.h"
#include "effects/ring.h"
#include "platform/cpu.h"

#include <gtest/gtest.h>

#include <math.h>

#include <list>
#include <random>

TEST(Ring, TakesWhatAWalkAlongAListWouldTake)
{
    std::mt19937 random(BaseSeed());
    Ring ring;
    ASSERT_TRUE(AllocRing(&ring, 9000));
    for (size_t count : {1u, 2u, 63u, 64u, 65u, 128u, 200u, 1000u, 4096u, 9000u}) {
        std::list<size_t> list;
        for (size_t i = 0; i < count; i++) {
            list.push_back(i);
        }
        FillRing(&ring, (uint32_t)count);
        auto at = list.begin();
        for (size_t taken = 0; taken < count; taken++) {
            const unsigned nSteps = (unsigned)(random() % (taken % 3 == 0 ? 3 : count));
            for (unsigned i = 0; i < nSteps; i++) {
                at = std::next(at) == list.end() ? list.begin() : std::next(at);
            }
            ASSERT_EQ(*at, TakeFromRing(&ring, nSteps)) << count << ", after " << taken;
            at = list.erase(at);
            at = at == list.end() ? list.begin() : at;
        }
    }
    FreeRing(&ring);
}

TEST(Random, DrawsAheadAreTheDrawsOneByOne)
{
    const std::vector<unsigned> draws = Draws(77, 70000);
    for (size_t ahead : {0u, 1u, 2u, 31u, 32u, 1000u, 65535u, 65536u, 69999u}) {
        uint32_t state = SkipRandom(77, ahead);
        EXPECT_EQ(draws[ahead], DrawRandom(&state)) << ahead;
    }
}

// ---- kernels ------------------------------------------------------------------------------------

struct EffectKernelTest : testing::TestWithParam<int> {
    const EffectKernels *pKernels;
    std::mt19937 random{BaseSeed()};

    void SetUp() override
    {
        if (GetParam() != 0 && (DetectCpuFeatures() & CPU_AVX2) == 0) {
            GTEST_SKIP();
        }
        pKernels = GetParam() == 0 ? &sse2::EFFECT_KERNELS : &avx2::EFFECT_KERNELS;
    }
    BYTE Sample(void)
    {
        const auto value = (unsigned)random();
        return (BYTE)(value % 4 == 0 ? 255 : value >> 8);
    }
    Bytes Line(size_t count)
    {
        Bytes line(count + LINE_SPARE);
        for (BYTE &sample : line) {
            sample = Sample();
        }
        return line;
    }
};

static const size_t LENGTHS[] = {1, 2, 15, 31, 32, 33, 63, 64, 65, 127, 200};

// As many lines as a sum holds, and divisors around them.
TEST_P(EffectKernelTest, AverageLines)
{
    for (size_t count : LENGTHS) {
        for (size_t nLines : {1u, 2u, 3u, 15u, 100u, 256u, 257u}) {
            std::vector<Bytes> lines;
            std::vector<const BYTE *> pointers;
            for (size_t i = 0; i < nLines; i++) {
                lines.push_back(Line(count));
            }
            for (const Bytes &line : lines) {
                pointers.push_back(line.data());
            }
            for (unsigned nDivisor :
                 {(unsigned)nLines, (unsigned)nLines + 1, 1000u, 65535u, 65536u, 2000000000u}) {
                Bytes out(count + 1, 77);
                std::vector<double> totals(count, 3);
                pKernels->AverageLines(pointers.data(), nLines, nDivisor, out.data(), count);
                pKernels->AddLines(pointers.data(), nLines, totals.data(), count);
                for (size_t i = 0; i < count; i++) {
                    unsigned sum = 0;
                    for (const Bytes &line : lines) {
                        sum += line[i];
                    }
                    ASSERT_EQ(sum / nDivisor, out[i]) << nLines << " / " << nDivisor;
                    ASSERT_EQ(sum + 3.0, totals[i]);
                }
                ASSERT_EQ(77, out[count]);
            }
        }
    }
}

// Windows with as many samples as each kind of sums is for, in which means are whole numbers or a
// little less.
TEST_P(EffectKernelTest, BoxMeans)
{
    const struct {
        int kind;
        size_t nColumns;
        double nRows;
    } rows[] = {{BOX_SMALL, 2, 1},       {BOX_SMALL, 8, 1024},      {BOX_SMALL, 90, 91},
                {BOX_SMALL, 2, 4097},    {BOX_SMALL, 2048, 4096},   {BOX_SMALL, 300, 77},
                {BOX_LARGE, 2048, 4097}, {BOX_LARGE, 300, 1000003}, {BOX_LARGE, 2, 2000000000}};
    for (const auto &row : rows) {
        const BoxKernels &box = pKernels->box[row.kind];
        for (size_t step : {1u, 3u}) {
            const size_t count = 201;
            const size_t nSums = count + row.nColumns * step;
            std::vector<double> truth(nSums);
            Bytes columns(nSums * box.nSumBytes + 32), inverses(count * box.nInverseBytes);
            Bytes state(box.StateBytes(count, row.nColumns, step)), out(count);
            for (size_t i = 0; i < nSums; i++) {
                const double level = (double)(random() % 256);
                truth[i] = fmin(floor(level * row.nRows) + (double)(random() % 3), 255 * row.nRows);
                if (box.nSumBytes == 4) {
                    ((int32_t *)(void *)columns.data())[i] = (int32_t)truth[i];
                } else {
                    ((double *)(void *)columns.data())[i] = truth[i];
                }
            }
            const std::vector<int> perRow(count, (int)row.nColumns);
            box.Invert(inverses.data(), perRow.data(), row.nRows, count);
            const BoxRow call = {columns.data(), inverses.data(), state.data(), row.nColumns,
                                 step,           out.data(),      count};
            box.Average(&call);
            for (size_t i = 0; i < count; i++) {
                unsigned long long sum = 0;
                for (size_t k = 0; k < row.nColumns; k++) {
                    sum += (unsigned long long)truth[i + k * step];
                }
                const auto nSamples = (unsigned long long)(row.nRows * (double)row.nColumns);
                ASSERT_EQ(sum / nSamples, out[i]) << row.kind << ", " << row.nRows;
            }
        }
    }
}

TEST_P(EffectKernelTest, NoiseAndRadii)
{
    for (size_t count : LENGTHS) {
        for (unsigned nAmount : {1u, 2u, 3u, 7u, 255u, 10923u, 16385u, 32767u, 32768u}) {
            const Bytes line = Line(count);
            const std::vector<unsigned> draws = Draws(99, count);
            Bytes out(count);
            const NoiseRow row = {99, nAmount, (int)nAmount / 2, line.data(), out.data(), count};
            pKernels->AddNoise(&row);
            for (size_t i = 0; i < count; i++) {
                const int level = line[i] + (int)(draws[i] % nAmount) - (int)nAmount / 2;
                ASSERT_EQ(level < 0 ? 0 : level > 255 ? 255 : level, out[i]) << nAmount;
            }
        }
    }
    for (int nRow : {0, 1, 7, 1000, 23170}) {
        std::vector<int> radii(23170);
        pKernels->Radii(nRow * nRow, radii.data(), radii.size());
        for (size_t i = 0; i < radii.size(); i++) {
            ASSERT_EQ((int)sqrt((double)(i * i) + (double)nRow * nRow), radii[i]);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Levels, EffectKernelTest, testing::Values(0, 1));
