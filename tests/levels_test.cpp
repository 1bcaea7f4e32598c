// The loops behind tables, counts, extremes and differences, linked straight in, at every level of
// the processor: against a plain loop, at every length around their blocks, in place, and with a
// guard behind the output.

#include "frame/levels_kernels.h"
#include "picture.h"
#include "platform/cpu.h"
#include "tonal/tonal_kernels.h"

#include <gtest/gtest.h>

#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <random>

struct LevelKernels {
    const char *pName;
    unsigned nFeature;
    const MapKernels *pMap;
    const TonalKernels *pTonal;
};

static const LevelKernels KERNELS[] = {
    {"sse2", 0, &sse2::MAP_KERNELS, &sse2::TONAL_KERNELS},
    {"avx2", CPU_AVX2, &avx2::MAP_KERNELS, &avx2::TONAL_KERNELS}};

static const size_t LENGTHS[] = {0,       1,
                                 2,       3,
                                 7,       8,
                                 31,      32,
                                 33,      63,
                                 64,      95,
                                 96,      97,
                                 191,     192,
                                 193,     1000,
                                 1023,    1024,
                                 1025,    3071,
                                 3072,    3073,
                                 4099,    (1 << 20) - 1,
                                 1 << 20, (1 << 20) + 1};

enum { GUARD = 0xa7 };

static Bytes RandomBytes(size_t count, unsigned nSeed)
{
    std::mt19937 random(BaseSeed() + nSeed);
    Bytes bytes(count);
    for (BYTE &byte : bytes) {
        byte = (BYTE)random();
    }
    return bytes;
}

static std::vector<LevelKernels> Supported(void)
{
    std::vector<LevelKernels> supported;
    for (const LevelKernels &kernels : KERNELS) {
        if ((DetectCpuFeatures() & kernels.nFeature) == kernels.nFeature) {
            supported.push_back(kernels);
        }
    }
    return supported;
}

// Runs a map out of place and in place.
template <typename MAP>
static void ExpectMapped(const Bytes &source, const Bytes &want, MAP Map, const char *pName)
{
    Bytes out(source.size() + 1, GUARD), in(source);
    in.push_back(GUARD);
    Map(source.data(), out.data(), source.size());
    Map(in.data(), in.data(), source.size());
    EXPECT_EQ(GUARD, out.back());
    EXPECT_TRUE(std::equal(want.begin(), want.end(), out.begin())) << pName << source.size();
    EXPECT_EQ(out, in) << pName << source.size();
}

TEST(LevelLoops, MapsEqualThePlainLoopAtEveryLength)
{
    const Bytes tables = RandomBytes(3 * GRAY_LEVELS, 1);
    const BYTE(*three)[GRAY_LEVELS] = (const BYTE(*)[GRAY_LEVELS])tables.data();
    for (size_t length : LENGTHS) {
        const Bytes source = RandomBytes(length, (unsigned)length);
        Bytes one(length), each(length);
        for (size_t i = 0; i < length; i++) {
            one[i] = three[0][source[i]];
            each[i] = three[i % 3][source[i]];
        }
        for (const LevelKernels &k : Supported()) {
            ExpectMapped(
                source, one,
                [&](const BYTE *src, BYTE *dst, size_t n) {
                    k.pMap->MapBytes(three[0], src, dst, n);
                },
                k.pName);
            ExpectMapped(
                source, each,
                [&](const BYTE *src, BYTE *dst, size_t n) {
                    k.pMap->MapPixels(three, src, dst, n);
                },
                k.pName);
        }
    }
}

// Tables of two pieces, which have a way of their own, at every border; some with one entry spoilt.
TEST(LevelLoops, TablesOfTwoPiecesAreNoExceptions)
{
    std::mt19937 random(BaseSeed());
    Bytes source(1500);
    for (size_t i = 0; i < source.size(); i++) {
        source[i] = (BYTE)i;
    }
    for (unsigned border = 0; border <= 256; border++) {
        for (unsigned shape = 0; shape < 24; shape++) {
            const unsigned low = random() % 256, high = random() % 256;
            BYTE table[GRAY_LEVELS];
            for (unsigned i = 0; i < GRAY_LEVELS; i++) {
                const bool bKeep = i < border ? shape & 1 : shape & 2;
                const unsigned flip = shape & 4 ? (i < border ? low : high) : shape & 1 ? 0 : 255;
                table[i] = (BYTE)((bKeep ? i : 0) ^ flip);
            }
            table[random() % 256] ^= shape >= 16 ? (BYTE)random() : (BYTE)0;
            Bytes want(source.size());
            for (size_t i = 0; i < source.size(); i++) {
                want[i] = table[source[i]];
            }
            for (const LevelKernels &k : Supported()) {
                ExpectMapped(
                    source, want,
                    [&](const BYTE *src, BYTE *dst, size_t n) {
                        k.pMap->MapBytes(table, src, dst, n);
                    },
                    k.pName);
            }
        }
    }
}

TEST(LevelLoops, CountsAreAddedToWhatIsThere)
{
    for (size_t length : LENGTHS) {
        const Bytes source = RandomBytes(length, (unsigned)length + 7);
        DWORD want[GRAY_LEVELS] = {5}, got[GRAY_LEVELS] = {5};
        DWORD wantEach[3][GRAY_LEVELS] = {{}, {9}}, gotEach[3][GRAY_LEVELS] = {{}, {9}};
        for (size_t i = 0; i < length; i++) {
            want[source[i]]++;
            wantEach[i % 3][source[i]]++;
        }
        CountBytes(source.data(), length, got);
        CountPixels(source.data(), length, gotEach);
        EXPECT_EQ(0, memcmp(want, got, sizeof want)) << length;
        EXPECT_EQ(0, memcmp(wantEach, gotEach, sizeof wantEach)) << length;
    }
}

TEST(LevelLoops, ExtremesAndDifferencesEqualThePlainLoop)
{
    for (size_t length : LENGTHS) {
        const Bytes upper = RandomBytes(length + 3, 3), lower = RandomBytes(length + 3, 4);
        const BYTE *const lines[] = {upper.data(), lower.data()};
        for (const LevelKernels &k : Supported()) {
            Bytes least(EXTREME_LANES, 255), most(EXTREME_LANES, 0), out(length + 1, GUARD);
            k.pTonal->FindExtremes(upper.data(), length, least.data(), most.data());
            for (size_t lane = 0; lane < EXTREME_LANES; lane++) {
                BYTE lowest = 255, highest = 0;
                for (size_t i = lane; i < length; i += EXTREME_LANES) {
                    lowest = std::min(lowest, upper[i]);
                    highest = std::max(highest, upper[i]);
                }
                ASSERT_TRUE(lowest == least[lane] && highest == most[lane]) << length << k.pName;
            }
            k.pTonal->difference[2](lines, 3, out.data(), length, NULL);
            EXPECT_EQ(GUARD, out.back());
            for (size_t i = 0; i < length; i++) {
                ASSERT_EQ(abs(upper[i] - lower[i + 3]), out[i]) << length << k.pName;
            }
        }
    }
}
