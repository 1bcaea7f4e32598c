// The rank filters: small pictures by hand, then every filter against the plain definition, then
// what the exports refuse, fail on and show their dialogs.

#include "reference/rank.h"
#include "reference/windows.h"
#include "window_calls.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <limits.h>

static HGLOBAL Make(const WindowCall &call, HGLOBAL hDib, UINT mode)
{
    static HGLOBAL(VEXAFILTER_API *const SQUARES[])(HGLOBAL, int, UINT, HWND) = {
        FilterMinimum, FilterMaximum, FilterMedian, FilterMidpoint, FilterRange};
    switch (call.filter) {
    case TRIMMED:
        return FilterAlphaTrimmedMean(hDib, call.p[0], call.p[1], mode, NULL);
    case WEIGHTED:
        return CallWithMask(FilterWeightedMedian, call, hDib, mode);
    default:
        return SQUARES[call.filter](hDib, call.p[0], mode, NULL);
    }
}

// ---- the plain definition -----------------------------------------------------------------------

static int LevelOf(const std::vector<int> &samples, const void *p)
{
    static const std::vector<BYTE> VERTICAL_BAR = {1, 3, 1, 1, 3, 1, 1, 3, 1};
    const WindowCall *pCall = (const WindowCall *)p;
    const bool bDefault = pCall->weights.empty();
    if (pCall->filter != WEIGHTED) {
        return RankLevel((Rank)pCall->filter, samples, pCall->p[1]);
    }
    return RankLevel(WEIGHTED,
                     WeightedSamples(samples, bDefault ? VERTICAL_BAR : pCall->weights,
                                     bDefault ? 3 : pCall->columns),
                     0);
}

static Expected ExpectRank(const WindowCall &call, const Bytes &dib)
{
    WindowFilter filter = call.filter != WEIGHTED ? SquareWindow(call.p[0])
                          : call.weights.empty()
                              ? MaskWindow(3, 3, 1, 1)
                              : MaskWindow(call.rows, call.columns, call.row, call.column);
    filter.Level = LevelOf;
    filter.pParameters = &call;
    return ExpectWindows(filter, dib);
}

static const WindowFamily RANKS = {Make, ExpectRank};

// ---- by hand ------------------------------------------------------------------------------------

// clang-format off
static const Literal LITERALS[] = {
    {"a bright top left sample does not count", Call(MEDIAN, 3), 3, 3,
     {255, 0, 0, 0, 0, 0, 0, 0, 0}, {255, 0, 0, 0, 0, 0, 0, 0, 0}},
    {"nor does a dark one", Call(MEDIAN, 3), 3, 3,
     {0, 9, 9, 9, 9, 9, 9, 9, 9}, {0, 9, 9, 9, 9, 9, 9, 9, 9}},
    {"the fourth of the other eight", Call(MEDIAN, 3), 3, 3,
     {99, 8, 1, 7, 50, 2, 6, 3, 5}, {99, 8, 1, 7, 5, 2, 6, 3, 5}},
    {"of two by two the second of three", Call(MEDIAN, 2), 2, 2, {0, 3, 2, 1}, {0, 3, 2, 2}},
    {"an even window reaches up and left", Call(MAXIMUM, 2), 3, 3,
     {9, 1, 1, 1, 1, 1, 1, 1, 5}, {9, 1, 1, 1, 9, 1, 1, 1, 5}},
    {"the darkest of all", Call(MINIMUM, 3), 3, 3, {5, 6, 7, 8, 9, 8, 7, 6, 4}, {5, 6, 7, 8, 4, 8, 7, 6, 4}},
    {"halves are dropped", Call(MIDPOINT, 3), 3, 3, {2, 6, 7, 3, 3, 3, 7, 6, 4}, {2, 6, 7, 3, 4, 3, 7, 6, 4}},
    {"brightest less darkest", Call(RANGE, 3), 3, 3, {2, 6, 7, 3, 3, 3, 7, 6, 4}, {2, 6, 7, 3, 5, 3, 7, 6, 4}},
    {"one sample has no range", Call(RANGE, 1), 2, 1, {77, 255}, {0, 0}},
    {"one sample is its own median", Call(MEDIAN, 1), 2, 1, {77, 255}, {77, 255}},
    {"the middle three of nine", Call(TRIMMED, 3, 3), 3, 3,
     {0, 0, 0, 10, 11, 11, 255, 255, 255}, {0, 0, 0, 10, 11, 11, 255, 255, 255}},
    {"a half rounds up", Call(TRIMMED, 2, 1), 2, 2, {0, 4, 5, 9}, {0, 4, 5, 5}},
    {"nothing trimmed is the mean", Call(TRIMMED, 2, 0), 2, 2, {0, 1, 2, 3}, {0, 1, 2, 2}},
    {"the middle column counts three times", Call(WEIGHTED, 0), 4, 4,
     {1, 9, 1, 0, 1, 9, 1, 0, 1, 9, 1, 0, 0, 0, 0, 0}, {1, 9, 1, 0, 1, 9, 1, 0, 1, 9, 1, 0, 0, 0, 0, 0}},
    {"the last row and column that would fit are copied", Call(WEIGHTED, 0), 3, 3,
     {9, 9, 9, 9, 1, 9, 9, 9, 9}, {9, 9, 9, 9, 1, 9, 9, 9, 9}},
    {"a single weight moves the picture", Masked(WEIGHTED, 1, 2, 0, 0, {0, 1}), 4, 2,
     {1, 2, 3, 4, 5, 6, 7, 8}, {2, 3, 3, 4, 5, 6, 7, 8}},
    {"the first weighted sample is left out once", Masked(WEIGHTED, 1, 3, 0, 0, {0, 2, 1}), 4, 2,
     {5, 1, 8, 9, 0, 0, 0, 0}, {1, 1, 8, 9, 0, 0, 0, 0}},
    {"so of two samples the second counts", Masked(WEIGHTED, 1, 2, 0, 0, {1, 1}), 3, 2,
     {1, 7, 9, 0, 0, 0}, {7, 7, 9, 0, 0, 0}},
};
// clang-format on

TEST(Rank, SmallPicturesComeOutAsComputedByHand)
{
    for (const Literal &literal : LITERALS) {
        CompareLiteral(RANKS, literal);
    }
}

// ---- against the plain definitions --------------------------------------------------------------

static std::vector<WindowCall> CallsOfSize(int n)
{
    std::vector<WindowCall> calls;
    for (int rank : {MINIMUM, MAXIMUM, MEDIAN, MIDPOINT, RANGE}) {
        calls.push_back(Call(rank, n));
    }
    if (n > 1) {
        calls.push_back(Call(TRIMMED, n, 0));
        calls.push_back(Call(TRIMMED, n, n * n / 5));
        calls.push_back(Call(TRIMMED, n, n * n / 2 - 1));
    }
    return calls;
}

// Total weights around what a byte and a word hold, origins outside the mask.
static const std::vector<WindowCall> MASKS = {
    Call(WEIGHTED, 0),
    Masked(WEIGHTED, 1, 1, 0, 0, {1}),
    Masked(WEIGHTED, 1, 1, 0, 0, {255}),
    Masked(WEIGHTED, 1, 2, 0, 0, {255, 1}),
    Masked(WEIGHTED, 3, 2, 1, 0, {0, 2, 3, 4, 0, 250}),
    Masked(WEIGHTED, 2, 5, -2, 3, RandomWeights(10, 1, 256)),
    Masked(WEIGHTED, 4, 1, 9, -1, RandomWeights(4, 2, 60)),
    Masked(WEIGHTED, 3, 3, INT_MAX, 1, RandomWeights(9, 3, 9)),
    Masked(WEIGHTED, 3, 3, 1, INT_MIN, RandomWeights(9, 4, 9)),
    Masked(WEIGHTED, 5, 7, 2, 3, RandomWeights(35, 5, 4)),
    Masked(WEIGHTED, 16, 16, 8, 7, std::vector<BYTE>(256, 255)),
    Masked(WEIGHTED, 17, 16, 8, 7, RandomWeights(272, 6, 256)),
    Masked(WEIGHTED, 17, 17, 16, 0, std::vector<BYTE>(289, 255))};

TEST(Rank, EveryFilterEqualsItsDefinitionOnTinyPictures)
{
    for (int n : {1, 2, 3, 4, 5, 6}) {
        for (int width = 1; width <= 8; width++) {
            for (int height = 1; height <= 8; height++) {
                CompareSome(RANKS, CallsOfSize(n), width, height,
                            (unsigned)(n * 1000 + width * 100 + height), 4);
            }
        }
    }
}

// A width of 400 leaves a row kernel no room for its blocks to end together.
TEST(Rank, EveryFilterEqualsItsDefinitionOnLargerPictures)
{
    const int sizes[][3] = {{1, 17, 5},   {2, 33, 12},  {3, 64, 9},   {3, 400, 5},  {4, 19, 23},
                            {5, 31, 12},  {5, 333, 7},  {6, 13, 21},  {7, 40, 17},  {7, 321, 9},
                            {8, 21, 19},  {9, 70, 13},  {9, 330, 10}, {10, 37, 14}, {11, 45, 20},
                            {15, 33, 19}, {16, 19, 33}, {17, 30, 36}, {31, 60, 33}, {20, 19, 40}};
    for (const int *size : sizes) {
        CompareSome(RANKS, CallsOfSize(size[0]), size[1], size[2], (unsigned)(size[0] * 77), 2);
    }
}

TEST(Rank, EveryMaskEqualsItsDefinition)
{
    static const int SIZES[][2] = {{20, 19}, {1, 30}, {270, 4}};
    for (const int *size : SIZES) {
        CompareSome(RANKS, MASKS, size[0], size[1], (unsigned)size[0], 1);
    }
}

// Flat pictures, whose whole weight lies on one side of every level: counters that are too narrow
// come back to 0.
TEST(Rank, WeightsAtTheEndOfTheirCounters)
{
    for (int nTotal : {255, 256, 257, 258, 65535, 65536, 65537, 65538}) {
        const int rows = nTotal < 1000 ? 1 : 17, columns = nTotal < 1000 ? 3 : 16;
        std::vector<BYTE> weights;
        for (int left = nTotal; (int)weights.size() < rows * columns; left -= weights.back()) {
            weights.push_back((BYTE)(left < 255 ? left : 255));
        }
        for (int level : {0, 10, 200, 255}) {
            std::vector<int> levels(20 * 20, level);
            levels[5] = levels[190] = 99;
            EXPECT_EQ("", CheckAnswer(RANKS, Masked(WEIGHTED, rows, columns, 0, 1, weights),
                                      MakeLevels(20, 20, 8, levels)))
                << nTotal << ", level " << level;
        }
    }
}

// Counters of one byte end at 255, counts of words at 65535.
TEST(Rank, LargeWindowsEqualTheirDefinition)
{
    for (int n : {181, 182, 255, 256, 257}) {
        const TestPicture pictures[] = {{n + 5, n + 2, 8, RAMP, 0, (unsigned)n, 0},
                                        {n + 2, n + 2, 24, RAMP, 0, (unsigned)n, 0}};
        for (const TestPicture &picture : pictures) {
            Bytes dib = MakeDib(picture);
            for (const WindowCall &call : CallsOfSize(n)) {
                EXPECT_EQ("", CheckAnswer(RANKS, call, dib)) << Describe(picture);
            }
            std::fill(dib.end() - n * n, dib.end(), (BYTE)200);
            EXPECT_EQ("", CheckAnswer(RANKS, Call(MEDIAN, n), dib));
        }
    }
}

// ---- what is refused ----------------------------------------------------------------------------

static const char *const ENTRIES[] = {"MinimumFilterUI",  "MaximumFilterUI", "MedianFilterUI",
                                      "MidpointFilterUI", "RangeFilterUI",   "AlphaFilterUI",
                                      "WMedianFilterUI"};

static const std::vector<WindowCall> ONE_OF_EACH = {
    Call(MINIMUM, 3),
    Call(MAXIMUM, 9),
    Call(MEDIAN, 3),
    Call(MEDIAN, 5),
    Call(MEDIAN, 6),
    Call(MIDPOINT, 10),
    Call(RANGE, 2),
    Call(TRIMMED, 3, 2),
    Call(TRIMMED, 4, 3),
    Call(WEIGHTED, 0),
    Masked(WEIGHTED, 2, 3, 0, 1, {1, 2, 3, 4, 5, 6})};

struct RankCalls : testing::Test {
    void SetUp() override
    {
        ResetHost();
    }
};

TEST_F(RankCalls, BadSizesAndTrimsAreRefusedBeforeAnyDialog)
{
    const std::vector<WindowCall> refused = {Call(MINIMUM, 0),      Call(MAXIMUM, -1),
                                             Call(MEDIAN, INT_MIN), Call(MIDPOINT, 0),
                                             Call(RANGE, 0),        Call(TRIMMED, 0, 0),
                                             Call(TRIMMED, -3, 1),  Call(TRIMMED, 1, 0),
                                             Call(TRIMMED, 3, 4),   Call(TRIMMED, 2, 2),
                                             Call(TRIMMED, 3, -1),  Call(TRIMMED, 2, INT_MIN),
                                             Call(TRIMMED, 9, 40),  Call(TRIMMED, 65535, INT_MAX)};
    RefuseBeforeAnyDialog(RANKS, refused);
}

TEST_F(RankCalls, WindowsLargerThanThePictureCopyIt)
{
    const std::vector<WindowCall> huge = {
        Call(MINIMUM, INT_MAX),
        Call(MEDIAN, INT_MAX),
        Call(RANGE, 65536),
        Call(TRIMMED, INT_MAX, INT_MAX),
        Call(TRIMMED, 46341, 9),
        Call(MIDPOINT, INT_MAX - 1),
        Call(TRIMMED, 65536, INT_MAX),
        Call(MEDIAN, 6),
        Masked(WEIGHTED, 2000, 1, 3, 0, RandomWeights(2000, 1, 9))};
    for (const TestPicture &picture : EveryKind(6, 5, 3)) {
        const Bytes dib = MakeDib(picture);
        for (const WindowCall &call : huge) {
            EXPECT_EQ("", CheckAnswer(RANKS, call, dib)) << Describe(picture);
        }
    }
}

TEST_F(RankCalls, OtherDepthsAndNoPictureGiveNull)
{
    RefuseOtherDepths(RANKS, ONE_OF_EACH);
}

TEST_F(RankCalls, MasksWithoutAWeightAreRefused)
{
    RefuseBadMasks(FilterWeightedMedian);
}

TEST_F(RankCalls, TheBarGetsItsRangeAndItsSteps)
{
    CountSteps(RANKS, ONE_OF_EACH);
}

// ---- the parameter dialogs ----------------------------------------------------------------------

static int g_nTrimWritten;

static void RewriteTrim(void)
{
    ((int *)g_dialog.second)[1] = g_nTrimWritten;
}

TEST_F(RankCalls, TheDialogRewritesTheParametersAndIsCheckedAgain)
{
    const Bytes dib = MakeDib({11, 9, 24, COLOURED, 0, 8, 0});
    for (int rank : {MINIMUM, MAXIMUM, MEDIAN, MIDPOINT, RANGE, TRIMMED}) {
        const struct {
            int nSize, nTrim;
            bool bAccepted;
        } rows[] = {
            {4, 7, true}, {5, 0, true}, {0, 0, false}, {-2, 1, false}, {2, 2, rank != TRIMMED}};
        for (const auto &row : rows) {
            const WindowCall written = Call(rank, row.nSize, row.nTrim);
            g_nTrimWritten = row.nTrim;
            SetDialogs({true, true, false, true, row.nSize, rank == TRIMMED ? RewriteTrim : NULL, 0,
                        NULL, 0, 0});
            EXPECT_EQ("", CheckCall(RANKS, Call(rank, 3, 1), dib, MODE_DIALOG,
                                    row.bAccepted ? ExpectRank(written, dib) : ExpectNull()))
                << row.nSize;
            EXPECT_EQ(1, g_dialog.nCalls);
            EXPECT_STREQ(ENTRIES[rank], g_dialog.pEntry);
        }
        SetDialogs({true, true, true, false, 0, NULL, 0, NULL, 0, 0});
        EXPECT_EQ("", CheckCall(RANKS, Call(rank, 3, 1), dib, MODE_DIALOG, ExpectNull()));
    }
}

static void TurnIntoRow(void)
{
    FilterMask *pMask = (FilterMask *)g_dialog.second;
    EXPECT_TRUE(pMask->rows == 3 && pMask->columns == 3 && pMask->originRow == 1 &&
                pMask->originColumn == 1);
    for (int i = 0; i < 9; i++) {
        EXPECT_EQ(i / 3 == 1 ? 3 : 1, pMask->elements[i / 3][i % 3]);
        pMask->elements[i / 3][i % 3] = (BYTE)(i % 3);
    }
}

static void TearTheMask(void)
{
    ((FilterMask *)g_dialog.second)->elements[2] = NULL;
}

TEST_F(RankCalls, TheDialogEditsTheDefaultMaskAlone)
{
    EditDefaultMask(RANKS, ENTRIES[WEIGHTED],
                    Masked(WEIGHTED, 3, 3, 1, 1, {0, 0, 0, 1, 1, 1, 2, 2, 2}), TurnIntoRow,
                    TearTheMask);
}
