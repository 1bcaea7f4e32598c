// The two format conversions against the reference, and by hand.

#include "host.h"

#include <gtest/gtest.h>

#include <string.h>

// "" if the conversion gives this block and leaves nothing else behind. method below 0: to 24 bits.
// nFailing: the allocation that fails.
static std::string CheckConversion(const Bytes &dib, int method, const Expected &want,
                                   int nFailing = 0)
{
    const HGLOBAL hDib = NewBlock(dib);
    const int nBlocks = LiveBlocks();
    const int nLocks = LocksHeld();
    FailAllocation(nFailing);
    const HGLOBAL hResult =
        method < 0 ? Convert8bitto24(hDib) : ConvertMonoDibToGrayScale(hDib, (UINT)method);
    FailAllocation(0);
    std::string fault = Compare(hResult, want);
    if (LiveBlocks() != nBlocks || LocksHeld() != nLocks || ReadBlock(hDib) != dib) {
        fault += " a block or lock is left or the source has changed";
    }
    FreeBlock(hDib);
    return fault;
}

TEST(Convert, OneBitEqualsTheWeightedSumOfTheWhitePixels)
{
    unsigned nSeed = 200;
    for (int width : {1, 2, 3, 4, 7, 8, 9, 15, 16, 17, 31, 32, 33, 70}) {
        for (int height : {1, 2, 3, 4, 5, 6, 7, 12}) {
            for (const TestPicture &picture :
                 {TestPicture{width, height, 1, RAMP, 0, nSeed, 0},
                  TestPicture{width, height, 1, REVERSED, 1, nSeed + 1, 3}}) {
                for (int method = 0; method <= 2; method++) {
                    const Bytes dib = MakeDib(picture);
                    const Expected want = ExpectBlock(ExpectMonoToGray(dib, (unsigned)method));
                    EXPECT_EQ("", CheckConversion(dib, method, want))
                        << Describe(picture) << ", method " << method;
                }
            }
            nSeed += 2;
        }
    }
}

TEST(Convert, AWholeNeighbourhoodGivesWhiteAndASinglePixelTheKernel)
{
    // clang-format off
    const std::vector<int> single = {0,  3,  7,  3, 0,
                                     3, 16, 25, 16, 3,
                                     7, 25, 39, 25, 7,
                                     3, 16, 25, 16, 3,
                                     0,  3,  7,  3, 0,
                                     0,  0,  0,  0, 0};
    // clang-format on
    Bytes dib = MakeDib({5, 6, 1, RAMP, 0, 210, 0});
    std::fill(dib.begin() + 48, dib.end(), (BYTE)0);
    dib[48 + 3 * 4] = 0x20;
    const HGLOBAL hDib = NewBlock(dib);
    const HGLOBAL hGray = ConvertMonoDibToGrayScale(hDib, 2);
    const Bytes got = ReadBlock(hGray);
    for (size_t y = 0; y < 6; y++) {
        for (size_t x = 0; x < 5; x++) {
            EXPECT_EQ(single[y * 5 + x], got[1064 + (5 - y) * 8 + x])
                << "x = " << x << ", y = " << y;
        }
    }
    FreeBlock(hGray);
    FreeBlock(hDib);
    std::fill(dib.begin() + 48, dib.end(), (BYTE)0xff);
    const HGLOBAL hWhite = NewBlock(dib);
    for (UINT method = 0; method <= 2; method++) {
        const HGLOBAL hResult = ConvertMonoDibToGrayScale(hWhite, method);
        EXPECT_EQ(255, ReadBlock(hResult)[1064 + 2 * 8 + 2]) << method;
        FreeBlock(hResult);
    }
    FreeBlock(hWhite);
}

TEST(Convert, AClearBitIsWhiteWhenTheFirstColourIsLightInAllItsComponents)
{
    const struct {
        RGBQUAD first;
        BYTE want;  // for a clear bit
    } rows[] = {{{255, 255, 255, 0}, 255}, {{128, 128, 128, 0}, 255}, {{127, 255, 255, 0}, 0},
                {{255, 127, 255, 0}, 0},   {{255, 255, 127, 0}, 0},   {{0, 0, 0, 255}, 0}};
    for (const auto &row : rows) {
        Bytes dib = MakeDib({1, 1, 1, RAMP, 0, 211, 0});
        memcpy(&dib[40], &row.first, 4);
        dib[48] = 0x7f;
        const HGLOBAL hDib = NewBlock(dib);
        const HGLOBAL hResult = ConvertMonoDibToGrayScale(hDib, 0);
        EXPECT_EQ(row.want, ReadBlock(hResult)[1064]);
        FreeBlock(hResult);
        FreeBlock(hDib);
    }
}

TEST(Convert, EightBitsBecomeTheColoursOfTheTable)
{
    for (int width : {1, 2, 3, 4, 5, 17, 64}) {
        for (const TestPicture &picture : EveryKind(width, 1 + width % 7, 220)) {
            const Bytes dib = MakeDib(picture);
            const Expected want = picture.bits == 8 ? ExpectBlock(ExpectTo24(dib)) : ExpectNull();
            EXPECT_EQ("", CheckConversion(dib, -1, want)) << Describe(picture);
        }
    }
}

TEST(Convert, OtherMethodsAndDepthsGiveNull)
{
    const Expected null = ExpectNull();
    for (int height : {1, 3, 5, 9}) {
        const Bytes mono = MakeDib({9, height, 1, RAMP, 0, 230, 0});
        for (int method : {3, 4, 100, 0x7fffffff}) {
            EXPECT_EQ("", CheckConversion(mono, method, null)) << height << ", method " << method;
        }
        EXPECT_EQ("", CheckConversion(mono, -1, null));
        EXPECT_EQ("", CheckConversion(MakeDib({9, height, 8, RAMP, 0, 231, 0}), 0, null));
        EXPECT_EQ("", CheckConversion(MakeDib({9, height, 24, RAMP, 0, 232, 0}), 1, null));
    }
    EXPECT_TRUE(ConvertMonoDibToGrayScale(NULL, 0) == NULL);
    EXPECT_TRUE(Convert8bitto24(NULL) == NULL);
}

// Kept: rows are counted as a signed 16-bit number.
TEST(Convert, ManyRowsAndLongRows)
{
    const struct {
        int width, height;
        bool bNull;
    } rows[] = {{1, 32767, false}, {1, 32768, false}, {1, 65535, false}, {1, 65536, true},
                {1, 65537, true},  {21844, 1, false}, {21845, 1, true},  {30000, 2, true}};
    for (const auto &row : rows) {
        const Bytes dib = MakeDib({row.width, row.height, 8, COLOURED, 20, 240, 0});
        const Expected want = row.bNull ? ExpectNull() : ExpectBlock(ExpectTo24(dib));
        EXPECT_EQ("", CheckConversion(dib, -1, want)) << row.width << "x" << row.height;
    }
    for (const TestPicture &picture : {TestPicture{3, 70000, 1, RAMP, 0, 250, 0},
                                       TestPicture{70000, 6, 1, REVERSED, 0, 251, 0}}) {
        const Bytes dib = MakeDib(picture);
        for (int method : {0, 2}) {
            const Expected want = ExpectBlock(ExpectMonoToGray(dib, (unsigned)method));
            EXPECT_EQ("", CheckConversion(dib, method, want))
                << Describe(picture) << ", method " << method;
        }
    }
}

// The expansion to 24 bits tries a second time.
TEST(Convert, EachAllocationMayFail)
{
    for (int method = -1; method <= 2; method++) {
        const Bytes dib = MakeDib({19, 9, method < 0 ? 8 : 1, COLOURED, 2, 260, 0});
        const int nNeeded = method <= 0 ? 1 : 2;
        for (int nth = 1; nth <= nNeeded; nth++) {
            const Expected want = method < 0 ? ExpectBlock(ExpectTo24(dib)) : ExpectNull();
            EXPECT_EQ("", CheckConversion(dib, method, want, nth)) << method << ", " << nth;
        }
    }
}
