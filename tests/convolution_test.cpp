// The 3 x 3 convolution filters: small pictures by hand, then every filter against the reference.

#include "host.h"

#include <gtest/gtest.h>

#include <limits.h>

enum { W = 255 };

struct Literal {
    const char *pName;
    size_t filter;  // in FILTERS
    int nKernel, width, height;
    std::vector<int> source, want;
};

// clang-format off
static const Literal LITERALS[] = {
    {"a flat picture has no second differences but keeps its corners", LAPLACE, 10, 4, 3,
     {7, 7, 7, 7,
      7, 7, 7, 7,
      7, 7, 7, 7},
     {7, 0, 0, 7,
      0, 0, 0, 0,
      7, 0, 0, 7}},
    {"negative responses are black, the border repeats its neighbour", LAPLACE, 0, 5, 4,
     {9, 9,  9, 9, 8,
      9, 9, 40, 9, 9,
      9, 9,  9, 9, 9,
      1, 9,  9, 9, 9},
     {9, 0, 124, 0, 8,
      0, 0, 124, 0, 0,
      0, 0,   0, 0, 0,
      1, 0,   0, 0, 9}},
    {"sums above white are white", LAPLACE, 2, 3, 3,
     {0, 0, 0,
      0, W, 0,
      0, 0, 0},
     {0, W, 0,
      W, W, W,
      0, W, 0}},
    {"the isotropic edge with the brighter side above", GRADIENT, 0, 3, 4,
     {20, 20, 20,
      20, 20, 20,
      10, 10, 10,
      10, 10, 10},
     {20, 34, 20,
      34, 34, 34,
      34, 34, 34,
      10, 34, 10}},
    {"the isotropic edge with the brighter side below is black", GRADIENT, 0, 3, 4,
     {10, 10, 10,
      10, 10, 10,
      20, 20, 20,
      20, 20, 20},
     {10, 0, 10,
       0, 0,  0,
       0, 0,  0,
      20, 0, 20}},
    {"sharpening reads the left neighbour alone along the top row", ENHANCE, 0, 5, 2,
     {20, 20, 60, 20, 20,
      20, 20, 20, 20, 20},
     {20, 20, 220,  0, 20,
      20, 20,   0, 20, 20}},
    {"sharpening reads the lower neighbour alone along the left column", ENHANCE, 0, 2, 4,
     {20, 20,
      20, 20,
      30, 20,
      20, 20},
     {20, 20,
       0, 20,
      70,  0,
       0, 20}},
    {"sharpening leaves a flat picture alone", ENHANCE, 0, 3, 3,
     {9, 9, 9, 9, 9, 9, 9, 9, 9}, {9, 9, 9, 9, 9, 9, 9, 9, 9}},
    {"the mean mirrors the picture about its edge pixels", UNIFORM, 0, 3, 3,
     {90, 0, 0,
       0, 0, 0,
       0, 0, 9},
     {10, 10, 0,
      10, 11, 1,
       0,  1, 1}},
    {"the binomial mean mirrors as well", GAUSS, 0, 3, 3,
     {16, 0, 0,
       0, 0, 0,
       0, 0, 0},
     {4, 2, 0,
      2, 1, 0,
      0, 0, 0}},
    {"a mean of two rows", UNIFORM, 0, 2, 2, {9, 18, 27, 36}, {27, 24, 21, 18}},
    {"a mean of a single column is the column", UNIFORM, 0, 1, 3, {1, 2, 3}, {1, 2, 3}},
    {"two rows have no inside to differentiate", GRADIENT, 10, 4, 2,
     {0, 9, W, 1, 2, 3, 4, 5}, {0, 9, W, 1, 2, 3, 4, 5}},
};
// clang-format on

TEST(Convolution, SmallPicturesComeOutAsComputedByHand)
{
    for (const Literal &t : LITERALS) {
        for (int bits : {8, 24}) {
            const Expected want = ExpectBlock(MakeLevels(t.width, t.height, bits, t.want));
            EXPECT_EQ("", Check(FILTERS[t.filter], MakeLevels(t.width, t.height, bits, t.source),
                                t.nKernel, 0, NULL, want))
                << t.pName << ", " << bits << " bits";
        }
    }
}

// Entries 2n and 2n + 1 both show level 2n. The mean of 100, 100, 104 and 102 is 101, which has no
// entry and takes number 101; that showed 100 and is in use, so the next mean is 102 already.
TEST(Convolution, AMissingLevelTakesOverTheEntryOfItsNumber)
{
    Bytes source = MakeLevels(2, 2, 8, {101, 101, 104, 102});
    Bytes want = MakeLevels(2, 2, 8, {101, 103, 103, 103});
    for (size_t i = 0; i < 1024; i++) {
        source[40 + i] = (BYTE)(i % 4 < 3 ? i / 4 & ~1u : 9);
        want[40 + i] = i / 4 == 101 && i % 4 < 3 ? 101 : source[40 + i];
    }
    EXPECT_EQ("", Check(FILTERS[GAUSS], source, 0, 0, NULL, ExpectBlock(want)));
}

TEST(Convolution, KeptSelectorsRepeatOthers)
{
    const int pairs[][3] = {{LAPLACE, 1, 11},   {LAPLACE, 2, 12},   {GRADIENT, 10, 14},
                            {GRADIENT, 11, 15}, {GRADIENT, 12, 16}, {GRADIENT, 13, 17}};
    const Bytes dib = MakeDib({13, 9, 24, COLOURED, 0, 5, 0});
    for (const int *p : pairs) {
        Expected other = {false, Bytes(), 0, 0};
        const HGLOBAL hDib = NewBlock(dib);
        const HGLOBAL hOther = CallFilter(FILTERS[(size_t)p[0]], hDib, p[1], 0, NULL);
        other.block = ReadBlock(hOther);
        EXPECT_NE(dib, other.block);
        EXPECT_EQ("", Check(FILTERS[(size_t)p[0]], dib, p[2], 0, NULL, other));
        FreeBlock(hOther);
        FreeBlock(hDib);
    }
}

TEST(Convolution, OtherSelectorsGiveNull)
{
    const std::vector<std::vector<int>> wrong = {
        {-1, -10, 3, 4, 5, 6, 7, 8, 9, 15, 16, 20, 100, INT_MIN, INT_MAX, 0x10000, 256},
        {-1, -7, -10, 8,  9,  18, 19, 28,  29,      38,      39,      48,
         49, 58, 59,  68, 69, 70, 77, 100, INT_MIN, INT_MAX, 0x10000, 256}};
    const Bytes dib = MakeDib({5, 5, 8, RAMP, 0, 1, 0});
    for (size_t i = 0; i < wrong.size(); i++) {
        for (int nKernel : wrong[i]) {
            EXPECT_EQ("", Check(FILTERS[i], dib, nKernel, 0, NULL, ExpectNull()));
        }
    }
}

// Every filter with every selector on every kind of picture. The gradient's many selectors take
// turns on the sizes.
static void CompareAll(int width, int height, unsigned nSeed)
{
    for (const TestPicture &picture : EveryKind(width, height, nSeed)) {
        const Bytes dib = MakeDib(picture);
        for (const FilterExport &filter : FILTERS) {
            const std::vector<int> selectors = ValidSelectors(filter.filter);
            const size_t nStep = filter.filter == GRADIENT ? 5 : 1;
            for (size_t i = picture.nSeed % nStep; i < selectors.size(); i += nStep) {
                const Expected want = ExpectFilter(filter.filter, dib, selectors[i]);
                EXPECT_EQ("", Check(filter, dib, selectors[i], 0, NULL, want)) << Describe(picture);
            }
        }
    }
}

TEST(Convolution, EveryFilterEqualsTheReferenceOnTinyPictures)
{
    for (int width = 1; width <= 9; width++) {
        for (int height = 1; height <= 9; height++) {
            CompareAll(width, height, (unsigned)(width * 100 + height));
        }
    }
}

TEST(Convolution, EveryFilterEqualsTheReferenceOnLargerPictures)
{
    const int sizes[][2] = {{17, 17}, {64, 64}, {5, 70}, {70, 5}, {33, 31}, {31, 12}, {13, 21},
                            {1, 40},  {40, 1},  {2, 66}, {66, 2}, {97, 3},  {3, 97},  {1030, 4}};
    for (const int *size : sizes) {
        CompareAll(size[0], size[1], (unsigned)(size[0] * 31 + size[1]));
    }
}

// In a run of pictures with many equal neighbours: where the two root-weighted samples are equal
// the sum may end just below a whole number.
TEST(Convolution, TheIsotropicGradientTruncatesAfterRoundingEachSum)
{
    for (unsigned nSeed = 0; nSeed < 24; nSeed++) {
        const TestPicture picture = {61, 47, nSeed % 2 ? 8 : 24, RAMP, 0, nSeed, 0};
        const Bytes dib = MakeDib(picture);
        for (int nKernel = 0; nKernel < 8; nKernel++) {
            const Expected want = ExpectFilter(GRADIENT, dib, nKernel);
            EXPECT_EQ("", Check(FILTERS[GRADIENT], dib, nKernel, 0, NULL, want))
                << Describe(picture);
        }
    }
}
