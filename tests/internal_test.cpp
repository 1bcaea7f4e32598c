// The library's own parts, linked straight in: kernels at every level of the processor, palette
// maps and matrices, the layout of DIBs, the codes that no export returns, attach and detach.

#include "picture.h"
#include "reference/reference.h"

#include "convolution/convolution_kernels.h"
#include "frame/matrix.h"
#include "frame/thread_state.h"
#include "library/kernels.h"
#include "platform/cpu.h"

#include <gtest/gtest.h>

#include <stdio.h>
#include <string.h>

#include <array>
#include <random>
#include <thread>

extern "C" BOOL WINAPI DllMain(HINSTANCE hInstance, DWORD nReason, LPVOID pReserved);

// ---- kernels ------------------------------------------------------------------------------------

struct Level {
    const char *pName;
    unsigned nFeature;
    const WeightedKernels *pWeighted;
    const SmoothingKernels *pMean;
};

static const Level LEVELS[] = {
    {"sse2", 0, &sse2::WEIGHTED_KERNELS, &sse2::SMOOTHING_KERNELS},
    {"avx2", CPU_AVX2, &avx2::WEIGHTED_KERNELS, &avx2::SMOOTHING_KERNELS}};

struct KernelCase {
    LineKernel Kernel;
    Filter filter;
    int nSelector;
    int nEdge;  // of the sharpening: 1 a row at the edge, 2 a column
};

static std::vector<KernelCase> KernelsOf(const Level &level)
{
    static const int LAPLACE_ORDER[LAPLACE_KERNELS] = {0, 10, 1, 2, 13, 14};
    std::vector<KernelCase> cases = {{level.pMean->uniform, UNIFORM, 0, 0},
                                     {level.pMean->gauss, GAUSS, 0, 0}};
    for (int i = 0; i < LAPLACE_KERNELS; i++) {
        cases.push_back({level.pWeighted->laplace[i], LAPLACE, LAPLACE_ORDER[i], 0});
    }
    for (int family = 0; family < GRADIENT_FAMILIES; family++) {
        for (int d = 0; d < GRADIENT_DIRECTIONS; d++) {
            cases.push_back({level.pWeighted->gradient[family][d], GRADIENT, family * 10 + d, 0});
        }
    }
    for (int edge = 0; edge < ENHANCE_KERNELS; edge++) {
        cases.push_back({level.pWeighted->enhance[edge], ENHANCE, 0, edge});
    }
    return cases;
}

static int Want(const KernelCase &c, const BYTE w[9])
{
    const int edges[] = {0, 5 * w[4] - 2 * w[3] - w[1] - w[7], 5 * w[4] - 2 * w[7] - w[3] - w[5]};
    if (c.nEdge == 0) {
        return ExpectLevel(c.filter, c.nSelector, w);
    }
    return edges[c.nEdge] < 0 ? 0 : edges[c.nEdge] > 255 ? 255 : edges[c.nEdge];
}

// Lines of exactly the needed length. Half of the samples of the lower lines repeat the line above
// or an earlier pixel, so that differences of zero are common.
static void RunKernelCase(const KernelCase &c, const char *pLevel, size_t count, size_t step,
                          unsigned nSeed)
{
    std::mt19937 random(BaseSeed() + nSeed);
    const size_t nSamples = count + 2 * step;
    std::vector<Bytes> lines(3, Bytes(nSamples));
    for (size_t k = 0; k < 3; k++) {
        for (size_t i = 0; i < nSamples; i++) {
            const BYTE any = (BYTE)random();
            const unsigned choice = (unsigned)random() % 4;
            lines[k][i] = choice == 0 && k > 0       ? lines[k - 1][i]
                          : choice == 1 && i >= step ? lines[k][i - step]
                          : nSeed % 3 == 0           ? any
                          : nSeed % 3 == 1           ? (BYTE)(any % 24)
                                                     : (BYTE)(255 - any % 24);
        }
    }
    const BYTE *const pLines[3] = {lines[0].data(), lines[1].data(), lines[2].data()};
    Bytes out(count + 2, 0xa5);
    c.Kernel(pLines, (ptrdiff_t)step, &out[1], count, NULL);
    ASSERT_TRUE(out[0] == 0xa5 && out[count + 1] == 0xa5) << pLevel << " writes past its run";
    for (size_t i = 0; i < count; i++) {
        BYTE window[9];
        for (size_t k = 0; k < 9; k++) {
            window[k] = lines[k / 3][i + k % 3 * step];
        }
        ASSERT_EQ(Want(c, window), out[i + 1])
            << pLevel << ", filter " << c.filter << ", selector " << c.nSelector << ", edge "
            << c.nEdge << ", count " << count << ", step " << step << ", sample " << i << ", seed "
            << BaseSeed() << " + " << nSeed;
    }
}

struct KernelTest : testing::TestWithParam<Level> {
};

TEST_P(KernelTest, EqualsThePlainDefinition)
{
    const Level &level = GetParam();
    if ((DetectCpuFeatures() & level.nFeature) != level.nFeature) {
        GTEST_SKIP() << "this processor has no " << level.pName;
    }
    for (const KernelCase &c : KernelsOf(level)) {
        unsigned nSeed = 0;
        for (size_t count :
             {1, 2, 3, 5, 15, 16, 17, 31, 32, 33, 47, 63, 64, 65, 66, 96, 99, 1500}) {
            for (size_t step : {1, 3}) {
                RunKernelCase(c, level.pName, count, step, nSeed++);
            }
        }
    }
}

// All differences of the two root-weighted samples. Where they are equal the rounded sum may end
// below the whole number, which depends on their value: all values. A step of the whole run makes
// the windows independent.
static void RunRootWindows(const Level &level, int d, int low, int difference)
{
    enum { RUN = 256 };
    static const size_t ROOTS[4][2] = {{1, 7}, {3, 8}, {3, 5}, {2, 6}};
    std::mt19937 random(BaseSeed() + (unsigned)(d + low * 8 + difference * 2048));
    std::vector<BYTE> lines[3];
    BYTE out[RUN];
    for (std::vector<BYTE> &line : lines) {
        for (int i = 0; i < 3 * RUN; i++) {
            line.push_back((BYTE)random());
        }
    }
    for (size_t i = 0; i < RUN; i++) {
        const size_t *pRoot = ROOTS[d % 4];
        lines[pRoot[0] / 3][pRoot[0] % 3 * RUN + i] = (BYTE)(low + difference);
        lines[pRoot[1] / 3][pRoot[1] % 3 * RUN + i] = (BYTE)low;
    }
    const BYTE *const pLines[3] = {lines[0].data(), lines[1].data(), lines[2].data()};
    level.pWeighted->gradient[0][d](pLines, RUN, out, RUN, NULL);
    for (size_t i = 0; i < RUN; i++) {
        BYTE window[9];
        for (size_t k = 0; k < 9; k++) {
            window[k] = lines[k / 3][i + k % 3 * RUN];
        }
        ASSERT_EQ(ExpectLevel(GRADIENT, d, window), out[i])
            << level.pName << ", direction " << d << ", " << low << " and " << difference
            << " more, window " << i << ", seed " << BaseSeed();
    }
}

TEST_P(KernelTest, TheIsotropicGradientIsExactForAllDifferences)
{
    if ((DetectCpuFeatures() & GetParam().nFeature) != GetParam().nFeature) {
        GTEST_SKIP() << "this processor has no " << GetParam().pName;
    }
    for (int d = 0; d < GRADIENT_DIRECTIONS; d++) {
        for (int n = 0; n < 256; n++) {
            RunRootWindows(GetParam(), d, n, 0);
            RunRootWindows(GetParam(), d, n * 7 % (256 - n), n);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Levels, KernelTest, testing::ValuesIn(LEVELS),
                         [](const testing::TestParamInfo<Level> &level) {
                             return std::string(level.param.pName);
                         });

TEST(Kernels, EveryTableTakesTheStrongestSupportedLevel)
{
    for (int level = 0; level < KERNEL_LEVELS; level++) {
        ChooseKernels(LEVEL_NEEDS[level].nFeatures);
        for (const KernelTable &table : KERNEL_TABLE) {
            ASSERT_TRUE(table.pName != NULL && table.pChosen != NULL);
            const void *pChosen;
            const void *pWant = NULL;
            memcpy(&pChosen, table.pChosen, sizeof pChosen);
            for (int i = level; pWant == NULL && i >= 0; i--) {
                pWant = table.levels[i];
                EXPECT_TRUE(i == 0 || pWant != table.levels[i - 1]) << table.pName;
            }
            EXPECT_TRUE(pWant != NULL && pChosen == pWant)
                << table.pName << ", " << LEVEL_NEEDS[level].pName;
        }
    }
    ChooseKernels(DetectCpuFeatures());
}

// ---- palette maps and matrices ------------------------------------------------------------------

TEST(Layout, BlankPicturesOfEveryDepth)
{
    const struct {
        BYTE bits;
        int bWhite;
        size_t nBlock, nBits, nPixels;
        BYTE fill;
    } rows[] = {
        {1, 1, 40 + 8 + 24 + 4, 48, 24, 255},      {1, 0, 40 + 8 + 24 + 4, 48, 24, 0},
        {8, 1, 40 + 1024 + 108 + 4, 1064, 108, 0}, {8, 0, 40 + 1024 + 108 + 4, 1064, 108, 2},
        {24, 1, 40 + 324 + 4, 40, 324, 255},       {24, 0, 40 + 324 + 4, 40, 324, 0}};
    for (const auto &row : rows) {
        const HGLOBAL hBlank = CreateBlankDib(35, 3, 72, 300, row.bits, row.bWhite);
        ASSERT_TRUE(hBlank != NULL);
        const BYTE *pBlock = (const BYTE *)GlobalLock(hBlank);
        const BITMAPINFOHEADER *pHeader = (const BITMAPINFOHEADER *)(const void *)pBlock;
        EXPECT_EQ(row.nBlock, GlobalSize(hBlank));
        EXPECT_EQ(row.nPixels, pHeader->biSizeImage);
        EXPECT_EQ(2835, pHeader->biXPelsPerMeter);
        EXPECT_EQ(11811, pHeader->biYPelsPerMeter);
        EXPECT_EQ(0u, pHeader->biClrUsed);
        for (size_t i = 0; i < row.nPixels; i++) {
            EXPECT_EQ(row.fill, pBlock[row.nBits + i]) << i;
        }
        if (row.bits < 24) {
            EXPECT_EQ(row.bits == 8 ? 255 : 0, pBlock[40]);
            EXPECT_EQ(row.bits == 8 ? 0 : 255, pBlock[44]);
        }
        GlobalUnlock(hBlank);
        GlobalFree(hBlank);
    }
    for (const auto &bad :
         {std::array<int, 4>{0, 1, 72, 8}, {1, -1, 72, 8}, {1, 1, -1, 8}, {1, 1, 72, 4}}) {
        EXPECT_TRUE(CreateBlankDib(bad[0], bad[1], bad[2], 72, (BYTE)bad[3], 1) == NULL);
        EXPECT_EQ((int)CONVERT_BAD_ARGUMENT, GetFilterThreadState()->nLastError);
    }
}

TEST(Matrix, LoadsAndStoresEveryPixelAndNothingElse)
{
    for (int width : {1, 2, 3, 4, 5, 9}) {
        for (int height : {1, 2, 7}) {
            const Bytes gray = MakeDib({width, height, 8, SHUFFLED, 0, 2, 3});
            const Bytes color = MakeDib({width, height, 24, COLOURED, 4, 3, 2});
            const HGLOBAL hGray = MakeBlock(gray), hColor = MakeBlock(color);
            GrayMatrix g;
            ColorMatrix c;
            DibView viewGray, viewColor;
            ASSERT_TRUE(LockDib(hGray, &viewGray) && LockDib(hColor, &viewColor));
            ASSERT_TRUE(LoadGrayMatrix(&viewGray, &g, 0) && LoadColorMatrix(&viewColor, &c, 0));
            // The bottom row comes first in memory.
            const size_t nTopGray = 1064 + (size_t)((width + 3) / 4 * 4 * (height - 1));
            const size_t nTopColor = 56 + (size_t)((width * 3 + 3) / 4 * 4 * (height - 1));
            EXPECT_EQ(gray[nTopGray], g.columns[0][0]);
            EXPECT_EQ(color[nTopColor + 2] | color[nTopColor + 1] << 8 | color[nTopColor] << 16,
                      (int)c.columns[0][0]);
            for (unsigned x = 0; x < g.width; x++) {
                for (unsigned y = 0; y < g.height; y++) {
                    g.columns[x][y] ^= 0xff;
                    c.columns[x][y] ^= 0xffffff;
                }
            }
            EXPECT_TRUE(StoreGrayMatrix(&viewGray, &g, &g, 0) &&
                        StoreColorMatrix(&viewColor, &c, 0));
            UnlockDib(&viewGray);
            UnlockDib(&viewColor);
            Bytes wantGray = gray, wantColor = color;
            for (int y = 0; y < height; y++) {
                for (int i = 0; i < width * 3; i++) {
                    wantColor[56 + (size_t)((width * 3 + 3) / 4 * 4 * y + i)] ^= 0xff;
                    if (i < width) {
                        wantGray[1064 + (size_t)((width + 3) / 4 * 4 * y + i)] ^= 0xff;
                    }
                }
            }
            EXPECT_EQ("", FirstDifference(wantGray, ReadBlock(hGray)));
            EXPECT_EQ("", FirstDifference(wantColor, ReadBlock(hColor)));
            FreeGrayMatrix(&g);
            FreeColorMatrix(&c);
            GlobalFree(hGray);
            GlobalFree(hColor);
        }
    }
}

// ---- codes --------------------------------------------------------------------------------------

TEST(Codes, TheConvertersReportTheFirstFaultInTheLastError)
{
    const struct {
        const char *pName;
        int bits;
        size_t nField;
        WORD nValue;  // both halves of what is overwritten are small
        int nMono, nPalette;
    } rows[] = {{"1 bit", 1, 0, 40, 0, 13},
                {"8 bits", 8, 0, 40, 18, 0},
                {"24 bits", 24, 0, 40, 18, 31},
                {"4 bits", 8, offsetof(BITMAPINFOHEADER, biBitCount), 4, 18, 13},
                {"header of 12 bytes", 8, 0, 12, 8, 8},
                {"1 bit, runs", 1, offsetof(BITMAPINFOHEADER, biCompression), 1, 18, 18},
                {"8 bits, runs", 8, offsetof(BITMAPINFOHEADER, biCompression), 1, 18, 18},
                {"two planes", 1, offsetof(BITMAPINFOHEADER, biPlanes), 2, 18, 13},
                {"8 bits, two planes", 8, offsetof(BITMAPINFOHEADER, biPlanes), 2, 18, 0},
                {"no width", 8, offsetof(BITMAPINFOHEADER, biWidth), 0, 18, 19},
                {"no height", 8, offsetof(BITMAPINFOHEADER, biHeight), 0, 18, 19},
                {"beyond the block", 8, offsetof(BITMAPINFOHEADER, biHeight), 999, 18, 8},
                {"1 bit beyond the block", 1, offsetof(BITMAPINFOHEADER, biHeight), 999, 8, 13}};
    FilterThreadState *pState = GetFilterThreadState();
    for (const auto &row : rows) {
        Bytes dib = MakeDib({6, 5, row.bits, RAMP, 0, 5, 0});
        memcpy(&dib[row.nField], &row.nValue, sizeof row.nValue);
        const HGLOBAL hDib = MakeBlock(dib);
        pState->nLastError = pState->nCurrentError = -77;
        const HGLOBAL hMono = ConvertMonoDibToGrayScale(hDib, 0);
        EXPECT_EQ(row.nMono, pState->nLastError) << row.pName;
        EXPECT_EQ(row.nMono == 0, hMono != NULL) << row.pName;
        const HGLOBAL hPalette = Convert8bitto24(hDib);
        EXPECT_EQ(row.nPalette, pState->nLastError) << row.pName;
        EXPECT_EQ(row.nPalette == 0, hPalette != NULL) << row.pName;
        EXPECT_EQ(-77, GetLastFilterError()) << "not the converters' field";
        ConvertMonoDibToGrayScale(hDib, 3);
        EXPECT_EQ(row.nMono == 0 ? 8 : row.nMono, pState->nLastError) << row.pName;
        GlobalFree(hMono);
        GlobalFree(hPalette);
        GlobalFree(hDib);
        // A freed handle cannot be locked.
        Convert8bitto24(hDib);
        EXPECT_EQ(17, pState->nLastError);
        Convert8bitto24(NULL);
        EXPECT_EQ(8, pState->nLastError);
    }
}

TEST(Codes, AFilterCopiesItsCodeUnlessItWasCancelledOrRefused)
{
    FilterThreadState *pState = GetFilterThreadState();
    const HGLOBAL hDib = MakeBlock(MakeDib({6, 5, 8, RAMP, 0, 6, 0}));
    (void)remove("VexaDlgs.dll");  // an interrupted run of the other tests leaves its own
    pState->nLastError = -77;
    EXPECT_TRUE(FilterGauss(NULL, 0, NULL) == NULL);
    EXPECT_EQ(-77, pState->nLastError);
    EXPECT_EQ(1, pState->nCurrentError);
    GlobalFree(FilterGauss(hDib, 0, NULL));
    EXPECT_EQ(1, pState->nLastError);
    GlobalFree(FilterGauss(hDib, MODE_DIALOG, NULL));
    EXPECT_EQ(-1, pState->nLastError);
    GlobalFree(hDib);
}

// ---- attach -------------------------------------------------------------------------------------

TEST(Attach, OtherReasonsAreRefusedAndThreadsGetARecordOfTheirOwn)
{
    for (DWORD nReason : {4u, 5u, 0xffffffffu}) {
        EXPECT_FALSE(DllMain(GetModuleHandleA(NULL), nReason, NULL));
    }
    const FilterThreadState *pMine = GetFilterThreadState();
    const FilterThreadState *pTheirs = pMine;
    FilterThreadState fresh = {};
    std::thread other([&] {
        EXPECT_TRUE(DllMain(GetModuleHandleA(NULL), DLL_THREAD_ATTACH, NULL));
        pTheirs = GetFilterThreadState();
        EXPECT_EQ(0, memcmp(&fresh, pTheirs, sizeof fresh)) << "zeroed";
        EXPECT_TRUE(DllMain(GetModuleHandleA(NULL), DLL_THREAD_DETACH, NULL));
    });
    other.join();
    EXPECT_NE(pMine, pTheirs);
    EXPECT_EQ(pMine, GetFilterThreadState());
}

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    if (!DllMain(GetModuleHandleA(NULL), DLL_PROCESS_ATTACH, NULL)) {
        return 1;
    }
    return RUN_ALL_TESTS();
}
