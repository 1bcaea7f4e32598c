// The tonal filters: small pictures by hand, then every filter against the reference, then the
// calls that fail or are cancelled, and what the dialogs may do.

#include "host.h"
#include "reference/tonal.h"

#include <gtest/gtest.h>

#include <limits.h>
#include <string.h>

static const DialogScript GO_ON = {true, true, false, false, 0, NULL, 0, NULL, 0, 0};

struct Tonal : testing::Test {
    void SetUp() override
    {
        ResetHost();
    }
};

// ---- calls --------------------------------------------------------------------------------------

static HGLOBAL MakeToneCall(const ToneCall &call, HGLOBAL hDib, UINT mode, HWND hParent)
{
    const int *p = call.p;
    switch (call.tone) {
    case AUTO_CONTRAST:
        return FilterAutoContrast(hDib, mode, hParent);
    case PARABOLA:
        return FilterParabolaTransformation(hDib, (UINT)p[0], mode, hParent);
    case SOLARIZING:
        return FilterSolarizing(hDib, p[0], mode, hParent);
    case POSTERIZING:
        return FilterPosterizing(hDib, p[0], mode, hParent);
    case LEVELS:
        return FilterLevels(hDib, p[0], p[1], p[2], p[3], p[4], p[5], mode, hParent);
    case AUTO_LEVELS:
        return FilterAutoLevels(hDib, p[0], mode, hParent);
    case TO_NEIGHBOUR:
    default:
        return FilterDifference(hDib, (UINT)p[0], mode, hParent);
    }
}

static std::string CheckTone(const ToneCall &call, const Bytes &dib, UINT mode,
                             const Expected &want)
{
    const std::string fault = CheckCall(
        [&](HGLOBAL hDib) { return MakeToneCall(call, hDib, mode, NULL); }, dib, NULL, want);
    return fault.empty() ? "" : "filter " + std::to_string(call.tone) + ", " + fault;
}

static const struct {
    ToneCall call;
    const char *pEntry;
    int nDialogArguments;
} ONE_OF_EACH[] = {
    {{AUTO_CONTRAST, {}}, "AUTOCONTRASTUI", 1},
    {{PARABOLA, {1}}, "PARABOLAUI", 2},
    {{SOLARIZING, {100}}, "SOLARIZINGUI", 2},
    {{POSTERIZING, {5}}, "POSTERIZINGUI", 2},
    {{LEVELS, {20, 220, 90, 5, 250, 0}}, "LEVELSUI", 7},
    {{AUTO_LEVELS, {10}}, "AUTOLEVELSUI", 2},
    {{TO_NEIGHBOUR, {2}}, "DIFFERENCEUI", 2},
};

static const std::vector<ToneCall> CALLS = {
    {AUTO_CONTRAST, {}},
    {PARABOLA, {0}},
    {PARABOLA, {-7}},
    {SOLARIZING, {0}},
    {SOLARIZING, {100}},
    {SOLARIZING, {255}},
    {POSTERIZING, {2}},
    {POSTERIZING, {3}},
    {POSTERIZING, {17}},
    {POSTERIZING, {128}},
    {POSTERIZING, {129}},
    {POSTERIZING, {255}},
    {LEVELS, {0, 255, 128, 0, 255, 0}},
    {LEVELS, {30, 200, 180, 40, 90, 0}},
    {LEVELS, {0, 255, 0, 255, 255, 1}},
    {LEVELS, {100, 100, 100, 7, 9, 2}},
    {LEVELS, {10, 250, 250, 0, 3, 3}},
    {AUTO_LEVELS, {0}},
    {AUTO_LEVELS, {1}},
    {AUTO_LEVELS, {29}},
    {AUTO_LEVELS, {99}},
    {TO_NEIGHBOUR, {0}},
    {TO_NEIGHBOUR, {1}},
    {TO_NEIGHBOUR, {2}},
    {TO_NEIGHBOUR, {3}},
    {TO_NEIGHBOUR, {256}},
    {TO_NEIGHBOUR, {-253}},
};

// One picture for each way through the drivers.
static const TestPicture KINDS[] = {{9, 7, 8, RAMP, 0, 61, 0},  {9, 7, 8, SHUFFLED, 0, 62, 0},
                                    {9, 7, 8, EVEN, 0, 63, 0},  {9, 7, 8, COLOURED, 100, 64, 0},
                                    {9, 7, 24, RAMP, 0, 65, 0}, {9, 7, 1, RAMP, 0, 66, 0}};

// ---- by hand ------------------------------------------------------------------------------------

// One row of levels; what a gray picture and a colour picture of them become.
struct Literal {
    const char *pName;
    ToneCall call;
    std::vector<int> source, gray, color;
};

static const Literal LITERALS[] = {
    {"the range is stretched, fractions dropped",
     {AUTO_CONTRAST, {}},
     {50, 100, 150},
     {0, 127, 255},
     {0, 127, 255}},
    {"a flat channel is black, a flat gray picture stays",
     {AUTO_CONTRAST, {}},
     {50, 50, 50},
     {50, 50, 50},
     {0, 0, 0}},
    {"the parabola is not symmetric",
     {PARABOLA, {0}},
     {0, 64, 128, 192, 255},
     {255, 63, 0, 63, 251},
     {255, 63, 0, 63, 251}},
    {"any number inverts it",
     {PARABOLA, {2}},
     {0, 64, 128, 192, 255},
     {0, 192, 255, 192, 4},
     {0, 192, 255, 192, 4}},
    {"below the threshold gray stays and colour is black",
     {SOLARIZING, {100}},
     {99, 100, 101, 255},
     {99, 100, 154, 0},
     {0, 0, 154, 0}},
    {"the highest threshold leaves nothing to invert",
     {SOLARIZING, {255}},
     {0, 200, 255},
     {0, 200, 255},
     {0, 0, 0}},
    {"two levels", {POSTERIZING, {2}}, {0, 127, 128, 255}, {0, 0, 255, 255}, {0, 0, 255, 255}},
    {"three levels end at 254",
     {POSTERIZING, {3}},
     {63, 64, 190, 191, 255},
     {0, 127, 127, 254, 254},
     {0, 127, 127, 254, 254}},
    {"a tie goes up, past white is white",
     {POSTERIZING, {128}},
     {1, 2, 255},
     {2, 2, 255},
     {2, 2, 255}},
    {"levels are spread by rank",
     {LEVELS, {0, 255, 128, 0, 255, 0}},
     {10, 20, 200},
     {42, 84, 191},
     {42, 84, 191}},
    {"outside the input range lie the ends of the output range",
     {LEVELS, {50, 60, 55, 30, 40, 0}},
     {49, 50, 55, 60, 61},
     {30, 30, 35, 40, 40},
     {30, 30, 35, 40, 40}},
    {"automatic levels leave the middle dark",
     {AUTO_LEVELS, {0}},
     {50, 100, 150},
     {0, 63, 255},
     {0, 63, 255}},
    {"clipping takes levels, not pixels",
     {AUTO_LEVELS, {50}},
     {1, 1, 2, 3, 3, 3, 4},
     {0, 0, 0, 255, 255, 255, 255},
     {0, 0, 0, 255, 255, 255, 255}},
    {"a single level is black", {AUTO_LEVELS, {0}}, {9, 9}, {0, 0}, {0, 0}},
};

TEST_F(Tonal, SmallPicturesComeOutAsComputedByHand)
{
    for (const Literal &t : LITERALS) {
        const int width = (int)t.source.size();
        for (int bits : {8, 24}) {
            const Expected want =
                ExpectBlock(MakeLevels(width, 1, bits, bits == 8 ? t.gray : t.color));
            EXPECT_EQ("", CheckTone(t.call, MakeLevels(width, 1, bits, t.source), 0, want))
                << t.pName << ", " << bits << " bits";
        }
    }
}

// clang-format off
TEST_F(Tonal, DifferenceIsBlackWhereTheNeighbourIsMissing)
{
    const std::vector<int> source = { 10,  20,  40,
                                      80,  70, 200,
                                       0, 255,   5};
    const std::vector<int> want[] = {{  0,  10,  20,
                                        0,  10, 130,
                                        0, 255, 250},
                                     {  0,   0,   0,
                                       70,  50, 160,
                                       80, 185, 195},
                                     {  0,   0,   0,
                                        0,  60, 180,
                                        0, 175,  65},
                                     {  0,   0,   0,
                                       60,  30,   0,
                                       70,  55,   0}};
    for (int direction = 0; direction < 4; direction++) {
        for (int bits : {8, 24}) {
            const Expected expected =
                ExpectBlock(MakeLevels(3, 3, bits, want[direction]));
            EXPECT_EQ("", CheckTone({TO_NEIGHBOUR, {direction}}, MakeLevels(3, 3, bits, source), 0,
                                    expected));
        }
    }
}
// clang-format on

// 256 pixels of level 100: it counts as absent and takes the value of the next level below. Where
// all levels wrap, nothing is known and nothing changes.
TEST_F(Tonal, KeptALevelThatFillsAMultipleOf256PixelsCountsAsAbsent)
{
    std::vector<int> source(256, 100), want(256, 63);
    source.insert(source.end(), {50, 90, 150});
    want.insert(want.end(), {0, 63, 255});
    for (int bits : {8, 24}) {
        const int width = (int)source.size();
        EXPECT_EQ("", CheckTone({AUTO_LEVELS, {0}}, MakeLevels(width, 1, bits, source), 0,
                                ExpectBlock(MakeLevels(width, 1, bits, want))));
        const Bytes flat = MakeLevels(32, 24, bits, std::vector<int>(768, 7));
        EXPECT_EQ("", CheckTone({AUTO_LEVELS, {0}}, flat, 0, ExpectBlock(flat)));
    }
}

TEST_F(Tonal, OneChannelOfAColourPicture)
{
    const Bytes dib = MakeDib({40, 30, 24, COLOURED, 0, 77, 0});
    for (int nChannel = 1; nChannel <= 3; nChannel++) {
        const HGLOBAL hDib = NewBlock(dib);
        const HGLOBAL hResult = FilterLevels(hDib, 20, 200, 50, 0, 255, nChannel, 0, NULL);
        const Bytes got = ReadBlock(hResult);
        bool changed[3] = {};
        for (size_t i = 40; i < got.size(); i++) {
            changed[(i - 40) % 3] |= got[i] != dib[i];  // rows have no padding
        }
        for (int channel = 0; channel < 3; channel++) {
            EXPECT_EQ(channel == nChannel - 1, changed[channel]);
        }
        FreeBlock(hResult);
        FreeBlock(hDib);
    }
}

// ---- against the reference ----------------------------------------------------------------------

static void CompareAll(int width, int height, unsigned nSeed, size_t nFirst, size_t nStep)
{
    for (const TestPicture &picture : EveryKind(width, height, nSeed)) {
        const Bytes dib = MakeDib(picture);
        for (size_t i = (nFirst + picture.nSeed) % nStep; i < CALLS.size(); i += nStep) {
            EXPECT_EQ("", CheckTone(CALLS[i], dib, 0, ExpectTone(CALLS[i], dib)))
                << i << ": " << Describe(picture);
        }
    }
}

TEST_F(Tonal, EveryFilterEqualsTheReferenceOnTinyPictures)
{
    for (int width = 1; width <= 9; width++) {
        for (int height = 1; height <= 9; height++) {
            CompareAll(width, height, (unsigned)(width * 100 + height), (size_t)width, 4);
        }
    }
}

// Sides around the lengths at which the fast loops change: blocks of 32 and 96 bytes, runs of 1024.
TEST_F(Tonal, EveryFilterEqualsTheReferenceOnLargerPictures)
{
    const int sizes[][2] = {{31, 12}, {32, 33}, {33, 31}, {64, 64},   {65, 40},  {97, 9},
                            {5, 70},  {1, 40},  {40, 1},  {1030, 4},  {3075, 2}, {256, 16},
                            {3, 400}, {128, 8}, {340, 3}, {1025, 16}, {2, 66},   {66, 2}};
    for (const int *size : sizes) {
        CompareAll(size[0], size[1], (unsigned)(size[0] * 31 + size[1]), 0, 3);
    }
}

// ---- refusals -----------------------------------------------------------------------------------

TEST_F(Tonal, ParametersOutOfRangeGiveNullBeforeAnyDialog)
{
    const ToneCall wrong[] = {
        {SOLARIZING, {-1}},
        {SOLARIZING, {256}},
        {SOLARIZING, {INT_MIN}},
        {POSTERIZING, {1}},
        {POSTERIZING, {0}},
        {POSTERIZING, {256}},
        {POSTERIZING, {INT_MIN}},
        {AUTO_LEVELS, {-1}},
        {AUTO_LEVELS, {100}},
        {AUTO_LEVELS, {INT_MAX}},
        {TO_NEIGHBOUR, {4}},
        {TO_NEIGHBOUR, {255}},
        {TO_NEIGHBOUR, {-1}},
        {LEVELS, {-1, 255, 128, 0, 255, 0}},
        {LEVELS, {0, 256, 128, 0, 255, 0}},
        {LEVELS, {129, 255, 128, 0, 255, 0}},
        {LEVELS, {0, 127, 128, 0, 255, 0}},
        {LEVELS, {0, 255, 128, -1, 255, 0}},
        {LEVELS, {0, 255, 128, 0, 256, 0}},
        {LEVELS, {0, 255, 128, 9, 8, 0}},
        {LEVELS, {0, 255, 128, 0, 255, -1}},
        {LEVELS, {0, 255, 128, 0, 255, 4}},
    };
    const Bytes dib = MakeDib({5, 5, 8, RAMP, 0, 1, 0});
    for (const ToneCall &call : wrong) {
        SetDialogs(GO_ON);
        EXPECT_EQ("", CheckTone(call, dib, 3, ExpectNull()));
        EXPECT_EQ(0, g_dialog.nCalls);
        EXPECT_EQ(1, GetLastFilterError());
    }
}

TEST_F(Tonal, OtherDepthsGiveNull)
{
    for (int bits : {1, 4, 16, 32}) {
        TestPicture picture = {8, 8, bits, RAMP, 2, 3, 64};
        const Bytes dib = MakeDib(picture);
        for (const auto &row : ONE_OF_EACH) {
            SetDialogs(GO_ON);
            const Expected want = ExpectTone(row.call, dib);
            EXPECT_EQ("", CheckTone(row.call, dib, 2, want)) << bits;
            EXPECT_EQ(want.bNull ? 0 : 1, g_dialog.nCalls) << bits;
        }
    }
}

// ---- the frame ----------------------------------------------------------------------------------

TEST_F(Tonal, TheDialogGetsTheImageAndTheParameters)
{
    const Bytes dib = MakeDib({8, 5, 8, RAMP, 0, 4, 0});
    static ToneCall seen;
    DialogScript script = GO_ON;
    script.OnCall = [] {
        // One pointer to the list of parameters, or a pointer to each.
        for (int i = 0; i < 6 && g_dialog.nArguments > 1; i++) {
            const int *pList = (const int *)g_dialog.second;
            seen.p[i] = g_dialog.nArguments == 7 ? *(int *)g_dialog.arguments[1 + i]
                        : i == 0                 ? *pList
                                                 : 0;
        }
    };
    for (const auto &row : ONE_OF_EACH) {
        SetDialogs(script);
        seen = {row.call.tone, {}};
        EXPECT_EQ("", CheckTone(row.call, dib, 3, ExpectTone(row.call, dib)));
        EXPECT_STREQ(row.pEntry, g_dialog.pEntry);
        EXPECT_EQ(row.nDialogArguments, g_dialog.nArguments);
        EXPECT_EQ(0, memcmp(seen.p, row.call.p, sizeof seen.p)) << row.pEntry;
    }
}

// What a dialog leaves behind is used as it stands where the rule is defined, else the result is
// null.
TEST_F(Tonal, TheDialogMayLeaveAnything)
{
    const std::vector<int> ramp = {0, 1, 50, 100, 200, 254, 255};
    const std::vector<int> inverted = {255, 254, 205, 155, 55, 1, 0};
    const struct {
        ToneCall call;
        int nValue;
        std::vector<int> want;  // empty: null
    } rows[] = {
        {{SOLARIZING, {9}}, 400, ramp},
        {{SOLARIZING, {9}}, -5, inverted},
        {{SOLARIZING, {9}}, INT_MIN, inverted},
        {{POSTERIZING, {2}}, 256, ramp},
        {{POSTERIZING, {2}}, 0, {0, 0, 0, 0, 0, 0, 0}},
        {{POSTERIZING, {2}}, 1, {}},
        {{POSTERIZING, {2}}, 257, {}},
        {{POSTERIZING, {2}}, INT_MIN, {}},
        {{POSTERIZING, {2}}, INT_MAX, {}},
        {{PARABOLA, {0}}, INT_MIN, {0, 4, 161, 243, 175, 8, 4}},
        {{AUTO_LEVELS, {0}}, INT_MAX, {0, 0, 0, 0, 0, 0, 0}},
        {{AUTO_LEVELS, {0}}, -300, {0, 31, 63, 95, 127, 159, 255}},
        {{TO_NEIGHBOUR, {0}}, 4, {}},
        {{TO_NEIGHBOUR, {1}}, 512, {0, 1, 49, 50, 100, 54, 1}},
    };
    for (const auto &row : rows) {
        DialogScript script = GO_ON;
        script.bRewrite = true;
        script.nValue = row.nValue;
        for (int bits : {8, 24}) {
            if (bits == 24 && row.call.tone == SOLARIZING) {
                continue;
            }
            SetDialogs(script);
            const Bytes dib = MakeLevels(7, 1, bits, ramp);
            const Expected want =
                row.want.empty() ? ExpectNull() : ExpectBlock(MakeLevels(7, 1, bits, row.want));
            EXPECT_EQ("", CheckTone(row.call, dib, 2, want)) << row.nValue;
        }
    }
}

TEST_F(Tonal, LevelsSurviveAnyPointsThatTheDialogLeaves)
{
    static const int WILD[] = {INT_MIN, -1, 0, 300, INT_MAX};
    static int nFirst, nSecond;
    const Bytes gray = MakeDib({20, 20, 8, EVEN, 0, 5, 0});
    const Bytes color = MakeDib({20, 20, 24, COLOURED, 0, 6, 0});
    DialogScript script = GO_ON;
    script.OnCall = [] {
        for (int i = 0; i < 6; i++) {
            *(int *)g_dialog.arguments[1 + i] = i % 2 ? nFirst : nSecond;
        }
    };
    for (int first : WILD) {
        for (int second : WILD) {
            nFirst = first;
            nSecond = second;
            SetDialogs(script);
            for (const Bytes &dib : {gray, color}) {
                const HGLOBAL hDib = NewBlock(dib);
                const HGLOBAL hResult = FilterLevels(hDib, 0, 255, 128, 0, 255, 0, 2, NULL);
                EXPECT_NE((HGLOBAL)NULL, hResult);
                FreeBlock(hResult);
                FreeBlock(hDib);
            }
        }
    }
}

TEST_F(Tonal, TheBarGetsItsRangeAndItsSteps)
{
    const int sizes[][2] = {{3, 3}, {21, 16}};
    for (const int *size : sizes) {
        for (const TestPicture &kind : KINDS) {
            TestPicture picture = kind;
            picture.width = size[0];
            picture.height = size[1];
            const Bytes dib = MakeDib(picture);
            for (const auto &row : ONE_OF_EACH) {
                const Expected want = ExpectTone(row.call, dib);
                if (want.bNull) {
                    continue;
                }
                CancelAtStep(0);
                EXPECT_EQ("", CheckTone(row.call, dib, MODE_PROGRESS, want));
                EXPECT_EQ(want.nSteps, StepsSeen()) << row.pEntry << ", " << Describe(picture);
                EXPECT_EQ(want.nRange, LastRange()) << row.pEntry << ", " << Describe(picture);
            }
        }
    }
}
