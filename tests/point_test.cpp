// The point operations: arithmetic against its rules one unit at a time, the look-up tools against
// counting and whole-number arithmetic, and what these exports do that filters do not.

#include "host.h"

#include "point/arithmetic_kernels.h"

#include <gtest/gtest.h>

#include <limits.h>
#include <string.h>

#include <random>
#include <thread>

struct Point : testing::Test {
    void SetUp() override
    {
        ResetHost();
    }
};

// ---- the rules ----------------------------------------------------------------------------------

// Whether a byte is signed, by operation: two images at 8 and at 24 bits, a constant at 8 and
// at 24.
static const char *const READINGS[] = {"suuuuuuuuss", "sussuuuuuss", "susssssssssss",
                                       "sssssssssssss"};

static const int DEPTHS[] = {1, 4, 8, 24};

// Whole parts of e^0 to e^5; above that the exponential is white at every depth.
static const int POWERS_OF_E[] = {1, 2, 7, 20, 54, 148};

static long long Outcome(int nOperation, bool bConstant, long long a, long long b, int most)
{
    const long long limit = bConstant ? b & 0xffff : b;
    long long result = 0;
    switch (nOperation) {
    case ARITH_ADD:
        return a + b;
    case ARITH_SUB:
        return (int16_t)(a - b) < 0 ? 0 : a - b;
    case ARITH_MUL:
        return a * b;
    case ARITH_DIV:
        return b != 0 ? a / b : a > 0 ? most : 0;
    case ARITH_AND:
    case ARITH_NAND:
        return a & b;
    case ARITH_OR:
    case ARITH_NOR:
        return a | b;
    case ARITH_XOR:
        return a ^ b;
    case ARITH_MIN:
        return a < limit ? a : limit;
    case ARITH_MAX:
        return a > limit ? a : limit;
    case ARITH_EXP:
        return a < 0 ? 0 : a < 6 ? POWERS_OF_E[a] : 255;
    default:
        for (int i = 1; i < 6; i++) {
            result += a > POWERS_OF_E[i];
        }
        return result;
    }
}

// What is stored of a bit (most 1), half a byte (15) or a byte (255).
static int Stored(int nOperation, bool bConstant, long long a, long long b, int most)
{
    const bool bNegated = nOperation == ARITH_NAND || nOperation == ARITH_NOR;
    const bool bCut =
        bNegated || nOperation == ARITH_AND || nOperation == ARITH_MIN || nOperation == ARITH_MAX;
    const int result = (int)(Outcome(nOperation, bConstant, a, b, most) & 0xffff);
    if (most == 1 && nOperation >= ARITH_EXP) {
        return (int)a;
    }
    const int unit = most == 1 ? result != 0 : bCut ? result & most : std::min(result, most);
    return bNegated ? most - unit : unit;
}

static BYTE ExpectByte(int nOperation, bool bConstant, int bits, int a, int b)
{
    const int size = bits < 8 ? bits : 8;
    const int most = (1 << size) - 1;
    const char *pReading = READINGS[(bConstant ? 2 : 0) + (bits == 24)];
    const bool bSigned = size == 8 && pReading[nOperation] == 's';
    int result = 0;
    for (int shift = 0; shift < 8; shift += size) {
        int x = a >> shift & most;
        int y = bConstant ? b : b >> shift & most;
        x = bSigned ? (signed char)x : x;
        y = bSigned && !bConstant ? (signed char)y : y;
        result |= Stored(nOperation, bConstant, x, y, most) << shift;
    }
    return (BYTE)result;
}

// pSecond null: with a constant.
static Bytes ExpectArithmetic(int nOperation, const Bytes &first, const Bytes *pSecond,
                              int nConstant)
{
    const BITMAPINFOHEADER header = HeaderOf(first);
    const int bits = header.biBitCount;
    const size_t nColors = header.biClrUsed != 0 ? header.biClrUsed : bits < 24 ? 1u << bits : 0;
    const size_t nStart = sizeof header + 4 * nColors;
    const size_t stride = ((size_t)header.biWidth * (size_t)bits + 31) / 32 * 4;
    const size_t nUsed = bits == 24 ? stride / 3 * 3 : stride;
    Bytes want(nStart + stride * (size_t)header.biHeight + 4);
    std::copy(first.begin(), first.begin() + (ptrdiff_t)nStart, want.begin());
    const size_t nSecond = pSecond != NULL ? pSecond->size() - (first.size() - nStart) : 0;
    for (size_t i = 0; i + nStart < want.size() - 4; i++) {
        if (i % stride < nUsed) {
            const int b = pSecond != NULL ? (*pSecond)[nSecond + i] : nConstant;
            want[nStart + i] = ExpectByte(nOperation, pSecond == NULL, bits, first[nStart + i], b);
        }
    }
    return want;
}

// ---- arithmetic ---------------------------------------------------------------------------------

// nSecond: the constant, or the byte of the second image.
struct Example {
    int nOperation, nFirst, nSecond, want8, want24;
};

static void CheckExamples(const std::vector<Example> &examples, bool bConstant)
{
    for (const Example &row : examples) {
        for (int bits : {8, 24}) {
            const HGLOBAL hFirst = NewBlock(MakeLevels(1, 1, bits, {row.nFirst}));
            const HGLOBAL hSecond = NewBlock(MakeLevels(1, 1, bits, {row.nSecond}));
            const HGLOBAL hResult =
                bConstant ? ArithmeticDIBConst(row.nOperation, hFirst, row.nSecond, 0, NULL)
                          : ArithmeticDIB(row.nOperation, hFirst, hSecond, 0, NULL);
            const Bytes result = ReadBlock(hResult);
            EXPECT_EQ(bits == 8 ? row.want8 : row.want24, result[result.size() - 8])
                << "operation " << row.nOperation << " of " << row.nFirst << " and " << row.nSecond
                << ", " << bits << " bits";
            for (HGLOBAL hBlock : {hFirst, hSecond, hResult}) {
                FreeBlock(hBlock);
            }
        }
    }
}

TEST_F(Point, TheReadingOfAByteDecides)
{
    CheckExamples({{ARITH_ADD, 200, 100, 44, 44},
                   {ARITH_ADD, 50, 60, 110, 110},
                   {ARITH_ADD, 130, 140, 255, 255},
                   {ARITH_ADD, 200, 10, 255, 255},
                   {ARITH_SUB, 10, 200, 0, 0},
                   {ARITH_SUB, 200, 10, 190, 190},
                   {ARITH_MUL, 200, 1, 200, 255},
                   {ARITH_MUL, 255, 255, 255, 1},
                   {ARITH_DIV, 200, 2, 100, 255},
                   {ARITH_DIV, 128, 255, 0, 128},
                   {ARITH_DIV, 200, 0, 255, 0},
                   {ARITH_DIV, 0, 0, 0, 0},
                   {ARITH_MIN, 200, 100, 200, 200},
                   {ARITH_MAX, 200, 100, 100, 100}},
                  false);
    CheckExamples({{ARITH_SUB, 200, 50, 150, 0},
                   {ARITH_SUB, 250, -50, 255, 44},
                   {ARITH_OR, 130, 1, 255, 255},
                   {ARITH_XOR, 130, -1, 125, 125},
                   {ARITH_MIN, 200, 7, 200, 200},
                   {ARITH_MAX, 200, 300, 44, 44},
                   {ARITH_MIN, 99, 300, 99, 99},
                   {ARITH_EXP, 5, 0, 148, 148},
                   {ARITH_EXP, 6, 0, 255, 255},
                   {ARITH_EXP, 128, 0, 0, 0},
                   {ARITH_LOG, 127, 0, 4, 4},
                   {ARITH_LOG, 3, 0, 1, 1},
                   {ARITH_LOG, 0, 0, 0, 0},
                   {ARITH_DIV, 200, 0, 0, 0},
                   {ARITH_NOR, 200, 300, 19, 19}},
                  true);
}

// Rows of the stored bytes 0 to 255; bByRow: each row all one of them.
static Bytes RampRows(int bits, int height, bool bByRow)
{
    Bytes dib = MakeDib({bits == 24 ? 256 : 2048 / bits, height, bits, COLOURED, 0, 3, 0});
    const size_t stride = bits == 24 ? 768 : 256, nRows = (size_t)height * stride;
    for (size_t i = 0; i < nRows; i++) {
        dib[dib.size() - nRows + i] = (BYTE)(bByRow ? i / stride : i % stride);
    }
    return dib;
}

TEST_F(Point, EveryPairOfBytesFollowsTheRules)
{
    for (int bits : DEPTHS) {
        const Bytes first = RampRows(bits, 256, false), second = RampRows(bits, 256, true);
        const HGLOBAL hFirst = NewBlock(first), hSecond = NewBlock(second);
        for (int nOperation = ARITH_ADD; nOperation <= ARITH_MAX; nOperation++) {
            const Bytes want = ExpectArithmetic(nOperation, first, &second, 0);
            EXPECT_EQ(
                "", Compare(ArithmeticDIB(nOperation, hFirst, hSecond, 0, NULL), ExpectBlock(want)))
                << "operation " << nOperation << ", " << bits << " bits";
        }
        EXPECT_EQ(first, ReadBlock(hFirst));
        EXPECT_EQ(second, ReadBlock(hSecond));
        FreeBlock(hFirst);
        FreeBlock(hSecond);
    }
}

TEST_F(Point, EveryByteWithAConstantFollowsTheRules)
{
    const int constants[] = {
        0,    1,    2,    3,     7,      15,     16,     100,        127,     128,    129, 200,
        255,  256,  300,  32767, 32768,  40000,  65535,  65536,      65537,   -1,     -2,  -5,
        -128, -129, -255, -300,  -32768, -65535, -65536, 0x12345678, INT_MAX, INT_MIN};
    for (int bits : DEPTHS) {
        const Bytes dib = RampRows(bits, 1, false);
        const HGLOBAL hDib = NewBlock(dib);
        for (int nOperation = ARITH_ADD; nOperation <= ARITH_LOG; nOperation++) {
            for (int nConstant : constants) {
                const Bytes want = ExpectArithmetic(nOperation, dib, NULL, nConstant);
                EXPECT_EQ("", Compare(ArithmeticDIBConst(nOperation, hDib, nConstant, 0, NULL),
                                      ExpectBlock(want)))
                    << "operation " << nOperation << ", " << bits << " bits, " << nConstant;
            }
        }
        EXPECT_EQ(dib, ReadBlock(hDib));
        FreeBlock(hDib);
    }
}

// Padding and the bytes behind the last whole group, colour tables of any length, spare bytes. Both
// images may be one block; their colour tables need not be alike.
TEST_F(Point, RowsOfAnyLengthAreCombinedToTheirEnd)
{
    unsigned nSeed = 0;
    for (int width : {1, 2, 3, 4, 5, 7, 8, 9, 17, 31, 33, 64, 65, 97, 130}) {
        for (int bits : DEPTHS) {
            const DWORD nColors = bits == 24 ? 5 : nSeed % 3 == 0 ? 0 : 2;
            const Bytes first = MakeDib({width, 3, bits, COLOURED, nColors, nSeed++, 7});
            const Bytes second = MakeDib({width, 3, bits, RAMP, 9, nSeed++, 7});
            const HGLOBAL hFirst = NewBlock(first), hSecond = NewBlock(second, GMEM_FIXED);
            for (int nOperation = ARITH_ADD; nOperation <= ARITH_MAX; nOperation++) {
                const Bytes want = ExpectArithmetic(nOperation, first, &second, 0);
                const Bytes same = ExpectArithmetic(nOperation, first, &first, 0);
                EXPECT_EQ("", Compare(ArithmeticDIB(nOperation, hFirst, hSecond, 0, NULL),
                                      ExpectBlock(want)));
                EXPECT_EQ("", Compare(ArithmeticDIB(nOperation, hFirst, hFirst, 0, NULL),
                                      ExpectBlock(same)));
                EXPECT_EQ("", Compare(ArithmeticDIBConst(nOperation, hFirst, 77, 0, NULL),
                                      ExpectBlock(ExpectArithmetic(nOperation, first, NULL, 77))));
            }
            FreeBlock(hFirst);
            FreeBlock(hSecond);
        }
    }
    for (const TestPicture &longest :
         {TestPicture{1, 65535, 8, RAMP, 0, 1, 0}, TestPicture{65532, 2, 8, RAMP, 0, 1, 0}}) {
        const Bytes dib = MakeDib(longest);
        const HGLOBAL hDib = NewBlock(dib);
        EXPECT_EQ("", Compare(ArithmeticDIB(ARITH_SUB, hDib, hDib, 0, NULL),
                              ExpectBlock(ExpectArithmetic(ARITH_SUB, dib, &dib, 0))));
        FreeBlock(hDib);
    }
}

TEST_F(Point, EveryLevelOfTheRowKernelsFollowsTheRules)
{
    const struct {
        const ArithmeticKernels *pKernels;
        bool bRuns;
    } levels[] = {{&sse2::ARITHMETIC_KERNELS, true},
                  {&avx2::ARITHMETIC_KERNELS, __builtin_cpu_supports("avx2") != 0}};
    for (const auto &level : levels) {
        for (int depth = 0; level.bRuns && depth < ARITHMETIC_DEPTHS; depth++) {
            for (int nOperation = 0; nOperation < PAIR_OPERATIONS; nOperation++) {
                for (size_t row = 0; row < 256; row++) {
                    BYTE a[258], b[258], got[258] = {0}, want[258] = {0};
                    const size_t count = row < 200 ? 257 : row - 200;
                    for (size_t i = 0; i < count; i++) {
                        a[i] = (BYTE)i;
                        b[i] = (BYTE)row;
                        want[i] = ExpectByte(nOperation, false, DEPTHS[depth], a[i], b[i]);
                    }
                    level.pKernels->rows[nOperation][depth](a, b, got, count);
                    EXPECT_EQ(0, memcmp(want, got, sizeof got)) << nOperation << " " << depth;
                }
            }
        }
    }
}

// A picture with some fields of its header changed.
static Bytes Altered(const TestPicture &picture, int height, int bits)
{
    Bytes dib = MakeDib(picture);
    BITMAPINFOHEADER header = HeaderOf(dib);
    header.biHeight = height;
    header.biBitCount = (WORD)bits;
    SetHeader(&dib, header);
    return dib;
}

TEST_F(Point, WhatDoesNotFitTogetherGivesNull)
{
    const TestPicture base = {9, 6, 8, RAMP, 0, 1, 999};
    const struct {
        const char *pName;
        Bytes dib;
        bool bAloneToo;  // not even alone
    } others[] = {{"wider", MakeDib({10, 6, 8, RAMP, 0, 2, 0}), false},
                  {"higher", MakeDib({9, 7, 8, RAMP, 0, 2, 0}), false},
                  {"deeper", MakeDib({9, 6, 24, RAMP, 0, 2, 0}), false},
                  {"a block that ends early", Altered(base, 99, 8), true},
                  {"no header", Bytes(39), true},
                  {"16 bits", Altered(base, 6, 16), true},
                  {"32 bits", Altered(base, 6, 32), true},
                  {"top-down", Altered(base, -6, 8), true},
                  {"65536 rows", MakeDib({1, 65536, 8, RAMP, 0, 1, 0}), true},
                  {"65536 bytes a row", MakeDib({65533, 1, 8, RAMP, 0, 1, 0}), true}};
    const HGLOBAL hBase = NewBlock(MakeDib(base));
    const int nShown = DialogsOpened(), nLocks = LocksHeld();
    for (const auto &other : others) {
        const HGLOBAL hOther = NewBlock(other.dib);
        const int nBlocks = LiveBlocks();
        EXPECT_TRUE(ArithmeticDIB(0, hBase, hOther, MODE_PROGRESS, NULL) == NULL) << other.pName;
        EXPECT_TRUE(ArithmeticDIB(0, hOther, hBase, MODE_PROGRESS, NULL) == NULL) << other.pName;
        if (other.bAloneToo) {
            EXPECT_TRUE(ArithmeticDIB(0, hOther, hOther, 1, NULL) == NULL) << other.pName;
            EXPECT_TRUE(ArithmeticDIBConst(0, hOther, 1, 1, NULL) == NULL) << other.pName;
        }
        EXPECT_EQ(nBlocks, LiveBlocks()) << other.pName;
        FreeBlock(hOther);
    }
    for (int nOperation : {-1, 13, INT_MIN, INT_MAX}) {
        EXPECT_TRUE(ArithmeticDIB(nOperation, hBase, hBase, MODE_PROGRESS, NULL) == NULL);
        EXPECT_TRUE(ArithmeticDIBConst(nOperation, hBase, 1, MODE_PROGRESS, NULL) == NULL);
    }
    EXPECT_TRUE(ArithmeticDIB(0, NULL, hBase, 0, NULL) == NULL);
    EXPECT_TRUE(ArithmeticDIB(0, hBase, NULL, 0, NULL) == NULL);
    EXPECT_TRUE(ArithmeticDIBConst(0, NULL, 1, 0, NULL) == NULL);
    EXPECT_EQ(nShown, DialogsOpened()) << "before any dialog";
    EXPECT_EQ(nLocks, LocksHeld());
    FreeBlock(hBase);
}

// ---- arithmetic: the frame ----------------------------------------------------------------------

TEST_F(Point, ArithmeticNeitherResetsNorKeepsTheErrorCode)
{
    const HGLOBAL hDib = NewBlock(MakeDib({6, 4, 8, RAMP, 0, 1, 0}));
    FreeBlock(FilterGauss(hDib, 0, NULL));
    FreeBlock(ArithmeticDIB(ARITH_ADD, hDib, hDib, MODE_DIALOG, NULL));
    EXPECT_EQ(-1, GetLastFilterError()) << "no library of dialogs";
    FreeBlock(ArithmeticDIBConst(ARITH_ADD, hDib, 1, 0, NULL));
    EXPECT_EQ(-1, GetLastFilterError()) << "from the call before";
    FreeBlock(FilterGauss(hDib, 0, NULL));
    EXPECT_EQ(1, GetLastFilterError());
    FreeBlock(hDib);
}

TEST_F(Point, ACancelLeftBehindEndsASilentCallWithItsCursorWaiting)
{
    const Bytes dib = MakeDib({8, 8, 8, RAMP, 0, 1, 0});
    const HGLOBAL hDib = NewBlock(dib);
    const Bytes want = ExpectArithmetic(ARITH_MUL, dib, NULL, 2);
    const HCURSOR hArrow = LoadCursorA(NULL, IDC_ARROW);
    CancelAtStep(1);
    EXPECT_TRUE(FilterGauss(hDib, MODE_PROGRESS, NULL) == NULL);
    SetShownCursor(hArrow);
    EXPECT_TRUE(ArithmeticDIBConst(ARITH_MUL, hDib, 2, 0, NULL) == NULL);
    EXPECT_EQ(LoadCursorA(NULL, IDC_WAIT), ShownCursor());
    GlobalUnlock(hDib);
    EXPECT_EQ("", Compare(ArithmeticDIBConst(ARITH_MUL, hDib, 2, MODE_PROGRESS, NULL),
                          ExpectBlock(want)));
    SetShownCursor(hArrow);
    EXPECT_EQ("", Compare(ArithmeticDIBConst(ARITH_MUL, hDib, 2, 0, NULL), ExpectBlock(want)));
    EXPECT_EQ(hArrow, ShownCursor());
    FreeBlock(hDib);
}

TEST_F(Point, ADialogMayRewriteOperationAndConstant)
{
    static int nOperation, nConstant;
    const Bytes dib = MakeDib({7, 5, 8, RAMP, 0, 4, 0});
    const HGLOBAL hDib = NewBlock(dib);
    DialogScript script = {};
    script.bLibrary = script.bEntry = true;
    for (int nUsed : {ARITH_SUB, ARITH_MAX, ARITH_EXP, ARITH_LOG, 13, -1, INT_MIN}) {
        for (UINT mode : {2u, 3u}) {
            const int nShown = DialogsOpened();
            nOperation = nUsed;
            script.OnCall = [] { *(int *)g_dialog.first = nOperation; };
            SetDialogs(script);
            const bool bPair = nUsed >= 0 && nUsed <= ARITH_MAX;
            const Expected want =
                bPair ? ExpectBlock(ExpectArithmetic(nUsed, dib, &dib, 0)) : ExpectNull();
            EXPECT_EQ("", Compare(ArithmeticDIB(ARITH_ADD, hDib, hDib, mode, NULL), want));
            EXPECT_STREQ("ARITHUI", g_dialog.pEntry);
            EXPECT_EQ((UINT_PTR)hDib, g_dialog.second);
            EXPECT_EQ((UINT_PTR)hDib, g_dialog.arguments[2]);
            EXPECT_EQ(mode == 3, DialogsOpened() > nShown) << "even without a result";
            nConstant = 3;
            script.OnCall = [] {
                *(int *)g_dialog.first = nOperation;
                *(int *)g_dialog.arguments[2] = nConstant;
            };
            SetDialogs(script);
            const bool bAny = nUsed >= 0 && nUsed <= ARITH_LOG;
            const Expected other =
                bAny ? ExpectBlock(ExpectArithmetic(nUsed, dib, NULL, 3)) : ExpectNull();
            EXPECT_EQ("", Compare(ArithmeticDIBConst(ARITH_ADD, hDib, 9, mode, NULL), other));
            EXPECT_STREQ("ARITHCONSTUI", g_dialog.pEntry);
            EXPECT_EQ((UINT_PTR)hDib, g_dialog.second);
        }
    }
    script.bCancel = true;
    script.OnCall = NULL;
    SetDialogs(script);
    EXPECT_TRUE(ArithmeticDIB(ARITH_ADD, hDib, hDib, MODE_DIALOG, NULL) == NULL);
    EXPECT_FALSE(IsDialogLibraryLoaded());
    FreeBlock(hDib);
}

// ---- histogram ----------------------------------------------------------------------------------

typedef std::vector<WORD> Counts;

static Counts ReadCounts(HGLOBAL hHistogram)
{
    const Bytes bytes = ReadBlock(hHistogram);
    Counts counts(256);
    memcpy(counts.data(), bytes.data(), 512);
    return counts;
}

static void WriteCounts(HGLOBAL hHistogram, const Counts &counts)
{
    memcpy(GlobalLock(hHistogram), counts.data(), 512);
    GlobalUnlock(hHistogram);
}

static HGLOBAL NewHistogram(void)
{
    int error = 99;
    const HGLOBAL hHistogram = ComputeHistogram(NULL, LUT_CREATE, NULL, NULL, &error);
    EXPECT_EQ(0, error);
    return hHistogram;
}

static int Move(HGLOBAL hDib, HGLOBAL hHistogram, int x, int y)
{
    int origin[2] = {x, y}, error = 99;
    const HGLOBAL hResult = ComputeHistogram(hDib, LUT_COMPUTE, hHistogram, origin, &error);
    EXPECT_TRUE(hResult == (error == 0 ? hHistogram : NULL));
    EXPECT_TRUE(origin[0] == x && origin[1] == y) << "the caller's origin stays";
    return error;
}

// Counted afresh, rows as long as those of 8 bits, whatever the depth.
static Counts ExpectCounts(const Bytes &dib, int x, int y)
{
    const BITMAPINFOHEADER h = HeaderOf(dib);
    const int width = std::min<int>(h.biWidth, 256), height = std::min<int>(h.biHeight, 256);
    const size_t nColors = h.biClrUsed != 0    ? h.biClrUsed
                           : h.biBitCount < 24 ? 1u << h.biBitCount
                                               : 0;
    const int stride = (h.biWidth + 3) / 4 * 4;
    Counts counts(256);
    x = std::max(0, std::min<int>(x, h.biWidth - width));
    y = std::max(0, std::min<int>(y, h.biHeight - height));
    for (int row = y; row < y + height; row++) {
        for (int column = x; column < x + width; column++) {
            counts[dib[40 + 4 * nColors + (size_t)((h.biHeight - 1 - row) * stride + column)]]++;
        }
    }
    return counts;
}

TEST_F(Point, TheHistogramFollowsTheViewport)
{
    std::mt19937 random(BaseSeed());
    const TestPicture pictures[] = {
        {700, 600, 8, RAMP, 0, 1, 0},  {257, 300, 8, COLOURED, 7, 2, 0},
        {256, 256, 8, RAMP, 0, 3, 0},  {40, 900, 8, RAMP, 0, 4, 5},
        {900, 3, 8, RAMP, 300, 5, 0},  {1, 1, 8, RAMP, 0, 6, 0},
        {500, 400, 24, RAMP, 0, 7, 0}, {300, 290, 4, RAMP, 0, 8, 99999}};
    for (const TestPicture &picture : pictures) {
        const Bytes dib = MakeDib(picture);
        const HGLOBAL hDib = NewBlock(dib), hHistogram = NewHistogram();
        EXPECT_EQ(Bytes(512), ReadBlock(hHistogram));
        int x = 0, y = 0;
        for (int move = 0; move < 60; move++) {
            const int reach = move % 3 == 0 ? 900 : 130;
            x += (int)(random() % (unsigned)(2 * reach)) - reach;
            y += (int)(random() % (unsigned)(2 * reach)) - reach;
            x = x < -50 ? 0 : x > 700 ? 500 : x;
            y = y < -50 ? 0 : y > 700 ? 500 : y;
            ASSERT_EQ(0, Move(hDib, hHistogram, x, y));
            ASSERT_EQ(ExpectCounts(dib, x, y), ReadCounts(hHistogram))
                << Describe(picture) << " to " << x << ", " << y;
        }
        ASSERT_EQ(0, Move(hDib, hHistogram, INT_MAX, INT_MIN));
        ASSERT_EQ(ExpectCounts(dib, INT_MAX, INT_MIN), ReadCounts(hHistogram));
        EXPECT_EQ(dib, ReadBlock(hDib));
        EXPECT_TRUE(ComputeHistogram(NULL, LUT_FREE, hHistogram, NULL, NULL) == NULL);
        FreeBlock(hDib);
    }
}

// Counts that the viewport never had show which moves count only what has changed.
TEST_F(Point, AMoveOf128UpdatesAndOneOf129CountsAnew)
{
    const Bytes dib = MakeDib({800, 700, 8, RAMP, 0, 9, 0});
    const HGLOBAL hDib = NewBlock(dib);
    const struct {
        int x, y;
        bool bAnew;
    } moves[] = {{328, 200, false}, {200, 328, false}, {72, 72, false},  {329, 200, true},
                 {200, 329, true},  {71, 200, true},   {200, 200, false}};
    for (const auto &move : moves) {
        const HGLOBAL hHistogram = NewHistogram();
        EXPECT_EQ(0, Move(hDib, hHistogram, 200, 200));
        WriteCounts(hHistogram, Counts(256));
        EXPECT_EQ(0, Move(hDib, hHistogram, move.x, move.y));
        Counts want = ExpectCounts(dib, move.x, move.y);
        const Counts before = ExpectCounts(dib, 200, 200);
        for (size_t i = 0; i < 256; i++) {
            want[i] = (WORD)(want[i] - (move.bAnew ? 0 : before[i]));  // and wraps
        }
        EXPECT_EQ(want, ReadCounts(hHistogram)) << move.x << ", " << move.y;
        FreeBlock(hHistogram);
    }
    FreeBlock(hDib);
}

TEST_F(Point, TheViewportBelongsToTheThread)
{
    const Bytes dib = MakeDib({400, 400, 8, RAMP, 0, 9, 0});
    const HGLOBAL hDib = NewBlock(dib), hHistogram = NewHistogram();
    const Counts marked(256, 5);
    Counts counts[3];
    std::thread other([&] {
        WriteCounts(hHistogram, marked);
        EXPECT_EQ(0, Move(hDib, hHistogram, 0, 0));
        counts[0] = ReadCounts(hHistogram);
        EXPECT_EQ(0, Move(hDib, hHistogram, 144, 144));
        counts[1] = ReadCounts(hHistogram);
        FreeBlock(NewHistogram());
        EXPECT_EQ(0, Move(hDib, hHistogram, 0, 0));
        counts[2] = ReadCounts(hHistogram);
    });
    other.join();
    EXPECT_EQ(marked, counts[0]) << "a new thread stands at 0, 0 already";
    for (size_t i = 0; i < 256; i++) {
        EXPECT_EQ(ExpectCounts(dib, 144, 144)[i] + 5, counts[1][i]) << "and clears no counts";
    }
    EXPECT_EQ(ExpectCounts(dib, 0, 0), counts[2]) << "until it has made a histogram";
    FreeBlock(hHistogram);
    FreeBlock(hDib);
}

// Near the old place by its numbers, but that place is not in the new image.
TEST_F(Point, AViewportOfAnotherImageIsCountedAnew)
{
    const Bytes small = MakeDib({300, 280, 8, RAMP, 0, 2, 0});
    const HGLOBAL hLarge = NewBlock(MakeDib({500, 500, 8, RAMP, 0, 1, 0}));
    const HGLOBAL hSmall = NewBlock(small), hHistogram = NewHistogram();
    EXPECT_EQ(0, Move(hLarge, hHistogram, 100, 100));
    EXPECT_EQ(0, Move(hSmall, hHistogram, 100, 100));
    EXPECT_EQ(ExpectCounts(small, 100, 100), ReadCounts(hHistogram));
    for (HGLOBAL hBlock : {hLarge, hSmall, hHistogram}) {
        FreeBlock(hBlock);
    }
}

TEST_F(Point, AFullViewportOfOneValueCountsAsNone)
{
    const HGLOBAL hDib = NewBlock(MakeLevels(256, 256, 8, std::vector<int>(65536, 9)));
    const HGLOBAL hHistogram = NewHistogram();
    EXPECT_EQ(0, Move(hDib, hHistogram, 0, 0));
    EXPECT_EQ(Counts(256), ReadCounts(hHistogram));
    FreeBlock(hHistogram);
    FreeBlock(hDib);
}

// ---- look-up table ------------------------------------------------------------------------------

static Bytes ExpectLut(long long contrast, long long brightness, long long mean)
{
    Bytes table(256);
    for (long long i = 0; i < 256; i++) {
        const long long level = (i * (contrast + 255) - mean * contrast + brightness * 255) / 255;
        table[(size_t)i] = (BYTE)std::max(0LL, std::min(255LL, level));
    }
    return table;
}

static HGLOBAL NewLut(void)
{
    int error = 99;
    const HGLOBAL hTable = ComputeLUT(NULL, LUT_CREATE, NULL, 1, 1, &error);
    EXPECT_EQ(0, error);
    return hTable;
}

TEST_F(Point, TheLutIsALineThroughTheMean)
{
    std::mt19937 random(BaseSeed());
    const HGLOBAL hTable = NewLut(), hHistogram = NewHistogram();
    EXPECT_EQ(ExpectLut(0, 0, 0), ReadBlock(hTable));
    std::vector<std::pair<int, int>> settings = {
        {0, 0},       {255, 0},     {-255, 0},          {INT_MAX, 0},      {INT_MIN, 0},
        {0, INT_MAX}, {0, INT_MIN}, {INT_MAX, INT_MIN}, {INT_MIN, INT_MAX}};
    for (int i = 0; i < 3000; i++) {
        settings.push_back({(int)(random() % 700) - 350, (int)(random() % 600) - 300});
    }
    for (const auto &setting : settings) {
        int error = 99;
        Counts counts(256);
        const unsigned mean = random() % 256;
        counts[mean] = 65535;
        counts[255] = (WORD)(counts[255] + (mean < 200));  // rounded down
        WriteCounts(hHistogram, counts);
        EXPECT_TRUE(hTable == ComputeLUT(hHistogram, LUT_COMPUTE, hTable, setting.first,
                                         setting.second, &error));
        EXPECT_EQ(0, error);
        ASSERT_EQ(ExpectLut(setting.first, setting.second, mean), ReadBlock(hTable))
            << setting.first << ", " << setting.second << ", mean " << mean;
    }
    for (HGLOBAL hNone : {(HGLOBAL)NULL, hHistogram}) {
        WriteCounts(hHistogram, Counts(256));
        EXPECT_TRUE(hTable == ComputeLUT(hNone, LUT_COMPUTE, hTable, 255, 0, NULL));
        EXPECT_EQ(ExpectLut(255, 0, 128), ReadBlock(hTable));
    }
    Bytes ofThread;
    std::thread other([&] {
        EXPECT_TRUE(hTable == ComputeLUT(NULL, LUT_COMPUTE, hTable, 0, 0, NULL));
        ofThread = ReadBlock(hTable);
    });
    other.join();
    EXPECT_EQ(ExpectLut(255, 0, 128), ofThread) << "a thread that made no table writes none";
    EXPECT_TRUE(hTable == ComputeLUT(NULL, LUT_FREE, hTable, 0, 0, NULL));
    FreeBlock(hHistogram);
}

// ---- application --------------------------------------------------------------------------------

// Through the brightness of the colours; a short colour table becomes a full one.
static Bytes ExpectApplied(const Bytes &dib, const Bytes &table, bool bCopy)
{
    BITMAPINFOHEADER header = HeaderOf(dib);
    const size_t nColors = header.biClrUsed != 0 ? header.biClrUsed : 256;
    const size_t nStored = std::max<size_t>(nColors, 256);
    const size_t stride = ((size_t)header.biWidth + 3) / 4 * 4, nStart = 40 + 4 * nStored;
    Bytes want = dib;
    if (bCopy) {
        header.biClrUsed = nColors < 256 ? 256 : header.biClrUsed;
        want.assign(nStart + stride * (size_t)header.biHeight, 0);
        SetHeader(&want, header);
    }
    for (size_t i = 0; i < 256; i++) {
        memset(&want[40 + 4 * i], (int)i, 3);
        want[40 + 4 * i + 3] = 0;
    }
    for (size_t i = 0; i < stride * (size_t)header.biHeight; i++) {
        const size_t index = dib[40 + 4 * nColors + i];
        const BYTE *pColor = &dib[40 + 4 * index];
        const int level = index < nColors ? (pColor[0] + pColor[1] + pColor[2] + 1) / 3 : 0;
        if (i % stride < (size_t)header.biWidth) {
            want[nStart + i] = table[(size_t)level];
        }
    }
    return want;
}

TEST_F(Point, ApplyingATableMakesTheImageGray)
{
    const Bytes table = ExpectLut(100, -20, 90);
    const HGLOBAL hTable = NewBlock(table);
    for (int width : {1, 3, 8, 31, 32, 35, 70}) {
        for (const TestPicture &picture : EveryKind(width, 5, (unsigned)width)) {
            if (picture.bits != 8) {
                continue;
            }
            int error = 99;
            const Bytes dib = MakeDib(picture);
            const HGLOBAL hDib = NewBlock(dib);
            EXPECT_EQ("", Compare(ApplyLUT(hDib, hTable, 1, &error),
                                  ExpectBlock(ExpectApplied(dib, table, true))))
                << Describe(picture);
            EXPECT_EQ(0, error);
            EXPECT_EQ(dib, ReadBlock(hDib));
            const bool bShort = picture.nColors != 0 && picture.nColors < 256;
            EXPECT_TRUE(ApplyLUT(hDib, hTable, 0, &error) == (bShort ? NULL : hDib));
            EXPECT_EQ(bShort ? 8 : 0, error);
            EXPECT_EQ(bShort ? dib : ExpectApplied(dib, table, false), ReadBlock(hDib));
            FreeBlock(hDib);
        }
    }
    FreeBlock(hTable);
}

TEST_F(Point, TheLookUpToolsTellWhatIsWrong)
{
    const HGLOBAL hGood = NewBlock(MakeDib({9, 9, 8, RAMP, 0, 1, 0}));
    const HGLOBAL hColor = NewBlock(MakeDib({9, 9, 24, RAMP, 0, 1, 0}));
    const HGLOBAL hMono = NewBlock(MakeDib({90, 9, 1, RAMP, 0, 1, 0}));
    const HGLOBAL hTall = NewBlock(MakeDib({1, 65536, 8, RAMP, 0, 1, 0}));
    const HGLOBAL hCut = NewBlock(Bytes(900));
    const HGLOBAL hHistogram = NewHistogram(), hTable = NewLut();
    const HGLOBAL hShort = NewBlock(Bytes(8));
    const int nBlocks = LiveBlocks(), nLocks = LocksHeld();
    const struct {
        HGLOBAL hDib, hHistogram;
        int want;
    } histograms[] = {{NULL, hHistogram, 8},  {hGood, NULL, 8},      {hMono, hHistogram, 8},
                      {hTall, hHistogram, 8}, {hCut, hHistogram, 8}, {hGood, hShort, 8},
                      {hGood, hHistogram, 0}};
    for (const auto &row : histograms) {
        EXPECT_EQ(row.want, Move(row.hDib, row.hHistogram, 0, 0));
    }
    const struct {
        HGLOBAL hDib, hTable;
        int want;
    } images[] = {{NULL, hTable, 8},  {hGood, NULL, 8},  {hColor, hTable, 8}, {hMono, hTable, 8},
                  {hTall, hTable, 8}, {hCut, hTable, 8}, {hGood, hShort, 8}};
    for (const auto &row : images) {
        for (int bMakeCopy : {0, 1}) {
            int error = 99;
            EXPECT_TRUE(ApplyLUT(row.hDib, row.hTable, bMakeCopy, &error) == NULL);
            EXPECT_EQ(row.want, error);
            EXPECT_TRUE(ApplyLUT(row.hDib, row.hTable, bMakeCopy, NULL) == NULL);
        }
    }
    for (HGLOBAL hWrong : {(HGLOBAL)NULL, hShort}) {
        int error = 99;
        EXPECT_TRUE(ComputeLUT(hHistogram, LUT_COMPUTE, hWrong, 1, 1, &error) == NULL);
        EXPECT_EQ(8, error);
    }
    EXPECT_TRUE(ComputeLUT(hShort, LUT_COMPUTE, hTable, 255, 0, NULL) == hTable);
    EXPECT_EQ(ExpectLut(255, 0, 128), ReadBlock(hTable)) << "as without a histogram";
    for (int nOperation : {0, 29, 33, -1}) {
        int error = 99, origin[2] = {0, 0};
        EXPECT_TRUE(ComputeHistogram(hGood, nOperation, hHistogram, origin, &error) == NULL);
        EXPECT_EQ(0, error);
        error = 99;
        EXPECT_TRUE(ComputeLUT(hHistogram, nOperation, hTable, 1, 1, &error) == NULL);
        EXPECT_EQ(0, error);
    }
    EXPECT_EQ(nBlocks, LiveBlocks());
    EXPECT_EQ(nLocks, LocksHeld());
    for (HGLOBAL hBlock : {hGood, hColor, hMono, hTall, hCut, hShort, hHistogram, hTable}) {
        FreeBlock(hBlock);
    }
}

TEST_F(Point, TheLookUpToolsReportMemoryAndLocks)
{
    const HGLOBAL hDib = NewBlock(MakeDib({9, 9, 8, RAMP, 0, 1, 0}));
    const HGLOBAL hHistogram = NewHistogram(), hTable = NewLut();
    const int nBlocks = LiveBlocks(), nLocks = LocksHeld();
    int origin[2] = {0, 0}, error = 0;
    FailAllocation(1);
    EXPECT_TRUE(ComputeHistogram(NULL, LUT_CREATE, NULL, NULL, &error) == NULL && error == 1);
    FailAllocation(1);
    EXPECT_TRUE(ComputeLUT(NULL, LUT_CREATE, NULL, 0, 0, &error) == NULL && error == 1);
    FailLock(1);
    EXPECT_TRUE(ComputeHistogram(hDib, LUT_COMPUTE, hHistogram, origin, &error) == NULL);
    EXPECT_EQ(17, error);
    FailLock(2);
    EXPECT_TRUE(ComputeLUT(hHistogram, LUT_COMPUTE, hTable, 0, 0, &error) == NULL && error == 17);
    for (int nth = 1; nth < 5; nth++) {
        FailLock(nth);
        HGLOBAL hResult = ApplyLUT(hDib, hTable, 1, &error);
        EXPECT_TRUE(hResult == NULL && (error == 17 || nth == 2)) << nth;
        FailLock(0);
    }
    FailAllocation(1);
    const HGLOBAL hResult = ApplyLUT(hDib, hTable, 1, &error);
    EXPECT_TRUE(hResult != NULL && error == 0) << "asked for twice";
    FreeBlock(hResult);
    FailAllocation(0);
    EXPECT_EQ(nBlocks, LiveBlocks());
    EXPECT_EQ(nLocks, LocksHeld());
    for (HGLOBAL hBlock : {hDib, hHistogram, hTable}) {
        FreeBlock(hBlock);
    }
}
