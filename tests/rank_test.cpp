// The rank filters: small pictures by hand, then every filter against the plain definition, then
// what the exports refuse, fail on and show their dialogs.

#include "host.h"
#include "reference/ranks.h"
#include "reference/windows.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <limits.h>

// ---- calls --------------------------------------------------------------------------------------

// Weighted: the mask's weights row by row, none for no mask, and the position over the pixel.
struct RankCall {
    Rank rank;
    int nSize, nTrim;
    std::vector<BYTE> weights;
    int rows, columns, row, column;
};

static RankCall Call(Rank rank, int nSize, int nTrim = 0)
{
    return {rank, nSize, nTrim, {}, 0, 0, 0, 0};
}

static RankCall Masked(int rows, int columns, int row, int column, const std::vector<BYTE> &weights)
{
    return {WEIGHTED, 0, 0, weights, rows, columns, row, column};
}

static HGLOBAL CallWeightedMedian(const RankCall &call, HGLOBAL hDib, UINT mode)
{
    std::vector<Bytes> runs((size_t)call.columns, Bytes((size_t)call.rows));
    std::vector<BYTE *> elements;
    if (call.weights.empty()) {
        return FilterWeightedMedian(hDib, NULL, mode, NULL);
    }
    for (size_t i = 0; i < call.weights.size(); i++) {
        runs[i % runs.size()][i / runs.size()] = call.weights[i];
    }
    for (Bytes &run : runs) {
        elements.push_back(run.data());
    }
    // The origin fields are crossed.
    const FilterMask mask = {elements.data(), call.rows, call.columns, call.row, call.column};
    return FilterWeightedMedian(hDib, &mask, mode, NULL);
}

static RankCall g_call;

static HGLOBAL VEXAFILTER_API MakeCall(HGLOBAL hDib, int, UINT mode, HWND hParent)
{
    static HGLOBAL(VEXAFILTER_API *const SQUARES[])(HGLOBAL, int, UINT, HWND) = {
        FilterMinimum, FilterMaximum, FilterMedian, FilterMidpoint, FilterRange};
    switch (g_call.rank) {
    case TRIMMED:
        return FilterAlphaTrimmedMean(hDib, g_call.nSize, g_call.nTrim, mode, hParent);
    case WEIGHTED:
        return CallWeightedMedian(g_call, hDib, mode);
    default:
        return SQUARES[g_call.rank](hDib, g_call.nSize, mode, hParent);
    }
}

static std::string CheckRank(const RankCall &call, const Bytes &dib, UINT mode,
                             const Expected &want)
{
    static const FilterExport CALLER = {LAPLACE, "rank", NULL, MakeCall, NULL};
    g_call = call;
    const std::string fault = Check(CALLER, dib, call.nSize, mode, NULL, want);
    return fault.empty() ? ""
                         : "filter " + std::to_string(call.rank) + ", trim " +
                               std::to_string(call.nTrim) + ", " + fault;
}

// ---- the plain definition -----------------------------------------------------------------------

static int LevelOf(const std::vector<int> &samples, const void *p)
{
    static const std::vector<BYTE> VERTICAL_BAR = {1, 3, 1, 1, 3, 1, 1, 3, 1};
    const RankCall *pCall = (const RankCall *)p;
    const bool bDefault = pCall->weights.empty();
    if (pCall->rank != WEIGHTED) {
        return RankLevel(pCall->rank, samples, pCall->nTrim);
    }
    return RankLevel(WEIGHTED,
                     WeightedSamples(samples, bDefault ? VERTICAL_BAR : pCall->weights,
                                     bDefault ? 3 : pCall->columns),
                     0);
}

static Expected ExpectRank(const RankCall &call, const Bytes &dib)
{
    WindowFilter filter = call.rank != WEIGHTED ? SquareWindow(call.nSize)
                          : call.weights.empty()
                              ? MaskWindow(3, 3, 1, 1)
                              : MaskWindow(call.rows, call.columns, call.row, call.column);
    filter.Level = LevelOf;
    filter.pParameters = &call;
    return ExpectWindows(filter, dib);
}

// ---- by hand ------------------------------------------------------------------------------------

struct Literal {
    const char *pName;
    RankCall call;
    int width, height;
    std::vector<int> source, want;
};

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
    {"a single weight moves the picture", Masked(1, 2, 0, 0, {0, 1}), 4, 2,
     {1, 2, 3, 4, 5, 6, 7, 8}, {2, 3, 3, 4, 5, 6, 7, 8}},
    {"the first weighted sample is left out once", Masked(1, 3, 0, 0, {0, 2, 1}), 4, 2,
     {5, 1, 8, 9, 0, 0, 0, 0}, {1, 1, 8, 9, 0, 0, 0, 0}},
    {"so of two samples the second counts", Masked(1, 2, 0, 0, {1, 1}), 3, 2,
     {1, 7, 9, 0, 0, 0}, {7, 7, 9, 0, 0, 0}},
};
// clang-format on

TEST(Rank, SmallPicturesComeOutAsComputedByHand)
{
    for (const Literal &t : LITERALS) {
        for (int bits : {8, 24}) {
            const Expected want = ExpectBlock(MakeLevels(t.width, t.height, bits, t.want));
            const Bytes source = MakeLevels(t.width, t.height, bits, t.source);
            EXPECT_EQ("", CheckRank(t.call, source, 0, want)) << t.pName << ", " << bits << " bits";
        }
    }
}

// ---- against the plain definitions --------------------------------------------------------------

static std::vector<RankCall> CallsOfSize(int n)
{
    std::vector<RankCall> calls;
    for (Rank rank : {MINIMUM, MAXIMUM, MEDIAN, MIDPOINT, RANGE}) {
        calls.push_back(Call(rank, n));
    }
    if (n > 1) {
        calls.push_back(Call(TRIMMED, n, 0));
        calls.push_back(Call(TRIMMED, n, n * n / 5));
        calls.push_back(Call(TRIMMED, n, n * n / 2 - 1));
    }
    return calls;
}

static std::vector<BYTE> Weights(size_t count, unsigned seed, unsigned limit)
{
    std::vector<BYTE> weights(count);
    for (BYTE &weight : weights) {
        seed = seed * 1664525 + 1013904223;
        weight = (BYTE)((seed >> 16) % limit);
    }
    weights[count - 1] = (BYTE)(limit - 1);
    return weights;
}

// Total weights around what a byte and a word hold, origins outside the mask.
static const std::vector<RankCall> MASKS = {Call(WEIGHTED, 0),
                                            Masked(1, 1, 0, 0, {1}),
                                            Masked(1, 1, 0, 0, {255}),
                                            Masked(1, 2, 0, 0, {255, 1}),
                                            Masked(3, 2, 1, 0, {0, 2, 3, 4, 0, 250}),
                                            Masked(2, 5, -2, 3, Weights(10, 1, 256)),
                                            Masked(4, 1, 9, -1, Weights(4, 2, 60)),
                                            Masked(3, 3, INT_MAX, 1, Weights(9, 3, 9)),
                                            Masked(3, 3, 1, INT_MIN, Weights(9, 4, 9)),
                                            Masked(5, 7, 2, 3, Weights(35, 5, 4)),
                                            Masked(16, 16, 8, 7, std::vector<BYTE>(256, 255)),
                                            Masked(17, 16, 8, 7, Weights(272, 6, 256)),
                                            Masked(17, 17, 16, 0, std::vector<BYTE>(289, 255))};

// Every call takes its turn on every kind of picture over the sizes.
static void CompareSome(const std::vector<RankCall> &calls, int width, int height, unsigned nSeed,
                        size_t nTurns)
{
    for (const TestPicture &picture : EveryKind(width, height, nSeed)) {
        const Bytes dib = MakeDib(picture);
        for (size_t i = picture.nSeed % nTurns; i < calls.size(); i += nTurns) {
            EXPECT_EQ("", CheckRank(calls[i], dib, 0, ExpectRank(calls[i], dib)))
                << Describe(picture) << ", rows " << calls[i].rows << ", columns "
                << calls[i].columns;
        }
    }
}

TEST(Rank, EveryFilterEqualsItsDefinitionOnTinyPictures)
{
    for (int n : {1, 2, 3, 4, 5, 6}) {
        for (int width = 1; width <= 8; width++) {
            for (int height = 1; height <= 8; height++) {
                CompareSome(CallsOfSize(n), width, height,
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
        CompareSome(CallsOfSize(size[0]), size[1], size[2], (unsigned)(size[0] * 77), 2);
    }
}

TEST(Rank, EveryMaskEqualsItsDefinition)
{
    static const int SIZES[][2] = {{20, 19}, {1, 30}, {270, 4}};
    for (const int *size : SIZES) {
        CompareSome(MASKS, size[0], size[1], (unsigned)size[0], 1);
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
            for (const RankCall &call : CallsOfSize(n)) {
                EXPECT_EQ("", CheckRank(call, dib, 0, ExpectRank(call, dib))) << Describe(picture);
            }
            std::fill(dib.end() - n * n, dib.end(), (BYTE)200);
            EXPECT_EQ("", CheckRank(Call(MEDIAN, n), dib, 0, ExpectRank(Call(MEDIAN, n), dib)));
        }
    }
}

// ---- what is refused ----------------------------------------------------------------------------

static const DialogScript GO_ON = {true, true, false, false, 0, NULL, 0, NULL, 0, 0};

static const char *const ENTRIES[] = {"MinimumFilterUI",  "MaximumFilterUI", "MedianFilterUI",
                                      "MidpointFilterUI", "RangeFilterUI",   "AlphaFilterUI",
                                      "WMedianFilterUI"};

static const std::vector<RankCall> ONE_OF_EACH = {Call(MINIMUM, 3),
                                                  Call(MAXIMUM, 9),
                                                  Call(MEDIAN, 3),
                                                  Call(MEDIAN, 5),
                                                  Call(MEDIAN, 6),
                                                  Call(MIDPOINT, 10),
                                                  Call(RANGE, 2),
                                                  Call(TRIMMED, 3, 2),
                                                  Call(TRIMMED, 4, 3),
                                                  Call(WEIGHTED, 0),
                                                  Masked(2, 3, 0, 1, {1, 2, 3, 4, 5, 6})};

struct RankCalls : testing::Test {
    void SetUp() override
    {
        ResetHost();
    }
};

TEST_F(RankCalls, BadSizesAndTrimsAreRefusedBeforeAnyDialog)
{
    const std::vector<RankCall> refused = {Call(MINIMUM, 0),      Call(MAXIMUM, -1),
                                           Call(MEDIAN, INT_MIN), Call(MIDPOINT, 0),
                                           Call(RANGE, 0),        Call(TRIMMED, 0, 0),
                                           Call(TRIMMED, -3, 1),  Call(TRIMMED, 1, 0),
                                           Call(TRIMMED, 3, 4),   Call(TRIMMED, 2, 2),
                                           Call(TRIMMED, 3, -1),  Call(TRIMMED, 2, INT_MIN),
                                           Call(TRIMMED, 9, 40),  Call(TRIMMED, 65535, INT_MAX)};
    const int nShown = DialogsOpened();
    SetDialogs(GO_ON);
    for (const TestPicture &picture : EveryKind(5, 4, 9)) {
        for (const RankCall &call : refused) {
            EXPECT_EQ("", CheckRank(call, MakeDib(picture), 3, ExpectNull())) << Describe(picture);
            EXPECT_EQ(1, GetLastFilterError());
        }
    }
    EXPECT_EQ(0, g_dialog.nCalls);
    EXPECT_EQ(nShown, DialogsOpened());
}

TEST_F(RankCalls, WindowsLargerThanThePictureCopyIt)
{
    const std::vector<RankCall> huge = {Call(MINIMUM, INT_MAX),
                                        Call(MEDIAN, INT_MAX),
                                        Call(RANGE, 65536),
                                        Call(TRIMMED, INT_MAX, INT_MAX),
                                        Call(TRIMMED, 46341, 9),
                                        Call(MIDPOINT, INT_MAX - 1),
                                        Call(TRIMMED, 65536, INT_MAX),
                                        Call(MEDIAN, 6),
                                        Masked(2000, 1, 3, 0, Weights(2000, 1, 9))};
    for (const TestPicture &picture : EveryKind(6, 5, 3)) {
        const Bytes dib = MakeDib(picture);
        for (const RankCall &call : huge) {
            EXPECT_EQ("", CheckRank(call, dib, 0, ExpectRank(call, dib))) << Describe(picture);
        }
    }
}

TEST_F(RankCalls, OtherDepthsAndNoPictureGiveNull)
{
    const Bytes dib = MakeDib({9, 9, 4, RAMP, 0, 1, 0});
    for (const RankCall &call : ONE_OF_EACH) {
        EXPECT_EQ("", CheckRank(call, dib, 0, ExpectNull()));
        EXPECT_TRUE(MakeCall(NULL, 0, 0, NULL) == NULL);
    }
}

TEST_F(RankCalls, MasksWithoutAWeightAreRefused)
{
    BYTE ones[3] = {1, 1, 1}, zeros[3] = {0, 0, 0};
    BYTE *full[] = {ones, zeros}, *torn[] = {ones, NULL}, *empty[] = {zeros, zeros};
    const FilterMask refused[] = {{empty, 3, 2, 1, 1},     {torn, 3, 2, 1, 1},
                                  {NULL, 3, 2, 1, 1},      {full, 0, 2, 1, 1},
                                  {full, 3, 0, 1, 1},      {full, -3, 2, 1, 1},
                                  {full, 3, -1, 1, 1},     {full, INT_MAX, INT_MAX, 1, 1},
                                  {full, 1 << 24, 2, 1, 1}};
    const HGLOBAL hDib = NewBlock(MakeDib({9, 9, 8, RAMP, 0, 1, 0}));
    const int nBlocks = LiveBlocks();
    for (const FilterMask &mask : refused) {
        EXPECT_TRUE(FilterWeightedMedian(hDib, &mask, 0, NULL) == NULL) << mask.rows;
        EXPECT_EQ(nBlocks, LiveBlocks());
    }
    FreeBlock(hDib);
}

// ---- progress, failure, cancel ------------------------------------------------------------------

// Both drivers, gray and colour, one bit.
static const TestPicture DRIVERS[] = {
    {19, 18, 8, RAMP, 0, 71, 0},      {19, 18, 8, SHUFFLED, 0, 72, 0}, {19, 18, 8, EVEN, 0, 73, 0},
    {19, 18, 8, COLOURED, 50, 74, 0}, {18, 19, 24, RAMP, 0, 75, 0},    {18, 19, 1, RAMP, 0, 76, 0}};

// The step before which Cancel is pressed wanders through all of them and past the last.
TEST_F(RankCalls, CancelAtAnyStepGivesNull)
{
    int nCalls = 0;
    for (const TestPicture &picture : DRIVERS) {
        const Bytes dib = MakeDib(picture);
        for (const RankCall &call : ONE_OF_EACH) {
            const Expected whole = ExpectRank(call, dib);
            const int nth = 1 + nCalls++ * 5 % (whole.nSteps + 1);
            Expected want = whole;
            want.bNull = nth <= whole.nSteps;
            CancelAtStep(nth);
            EXPECT_EQ("", CheckRank(call, dib, MODE_PROGRESS, want)) << Describe(picture);
            EXPECT_EQ(nth - 1, StepsSeen());
            EXPECT_EQ(whole.nRange, LastRange());
        }
    }
}

TEST_F(RankCalls, EachAllocationMayFail)
{
    for (const TestPicture &picture : DRIVERS) {
        const HGLOBAL hDib = NewBlock(MakeDib(picture));
        const int nBlocks = LiveBlocks(), nLocks = LocksHeld();
        for (const RankCall &call : ONE_OF_EACH) {
            g_call = call;
            for (int nth = 1, bReached = 1; bReached; nth++) {
                FailAllocation(nth);
                const HGLOBAL hResult = MakeCall(hDib, 0, 0, NULL);
                bReached = AllocationsTried() >= nth;
                FailAllocation(0);
                // The expansion to 24 bits tries a second time.
                EXPECT_TRUE(bReached == (hResult == NULL) || picture.palette == COLOURED)
                    << "filter " << call.rank << ", " << Describe(picture) << ", " << nth;
                FreeBlock(hResult);
                EXPECT_EQ(nBlocks, LiveBlocks());
                EXPECT_EQ(nLocks, LocksHeld());
            }
        }
        FreeBlock(hDib);
    }
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
    for (Rank rank : {MINIMUM, MAXIMUM, MEDIAN, MIDPOINT, RANGE, TRIMMED}) {
        const struct {
            int nSize, nTrim;
            bool bAccepted;
        } rows[] = {
            {4, 7, true}, {5, 0, true}, {0, 0, false}, {-2, 1, false}, {2, 2, rank != TRIMMED}};
        for (const auto &row : rows) {
            const RankCall written = Call(rank, row.nSize, row.nTrim);
            g_nTrimWritten = row.nTrim;
            SetDialogs({true, true, false, true, row.nSize, rank == TRIMMED ? RewriteTrim : NULL, 0,
                        NULL, 0, 0});
            EXPECT_EQ("", CheckRank(Call(rank, 3, 1), dib, MODE_DIALOG,
                                    row.bAccepted ? ExpectRank(written, dib) : ExpectNull()))
                << row.nSize;
            EXPECT_EQ(1, g_dialog.nCalls);
            EXPECT_STREQ(ENTRIES[rank], g_dialog.pEntry);
        }
        SetDialogs({true, true, true, false, 0, NULL, 0, NULL, 0, 0});
        EXPECT_EQ("", CheckRank(Call(rank, 3, 1), dib, MODE_DIALOG, ExpectNull()));
    }
}

// The dialog is handed the default mask, whether or not it is in use.
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
    const RankCall mask = Masked(1, 2, 0, 0, {3, 1});
    const RankCall edited = Masked(3, 3, 1, 1, {0, 0, 0, 1, 1, 1, 2, 2, 2});
    const Bytes dib = MakeDib({9, 8, 8, RAMP, 0, 8, 0});
    DialogScript script = GO_ON;
    script.OnCall = TurnIntoRow;
    SetDialogs(script);
    EXPECT_EQ("", CheckRank(mask, dib, MODE_DIALOG, ExpectRank(mask, dib)));
    EXPECT_EQ("", CheckRank(Call(WEIGHTED, 0), dib, MODE_DIALOG, ExpectRank(edited, dib)));
    EXPECT_EQ(2, g_dialog.nCalls);
    EXPECT_STREQ(ENTRIES[WEIGHTED], g_dialog.pEntry);
    script.OnCall = TearTheMask;
    SetDialogs(script);
    EXPECT_EQ("", CheckRank(mask, dib, MODE_DIALOG, ExpectRank(mask, dib)));
    EXPECT_EQ("", CheckRank(Call(WEIGHTED, 0), dib, MODE_DIALOG, ExpectNull()));
}
