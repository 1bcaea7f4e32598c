// The effects: small pictures by hand, then every effect against the reference, then the calls that
// fail, sizes out of proportion, and what the dialogs may do. The clock stands still.

#include "host.h"
#include "reference/effects.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <limits.h>
#include <string.h>

static const DialogScript GO_ON = {true, true, false, false, 0, NULL, 0, NULL, 0, 0};

struct Effects : testing::Test {
    void SetUp() override
    {
        ResetHost();
    }
};

// ---- calls --------------------------------------------------------------------------------------

static HGLOBAL MakeEffectCall(const EffectCall &call, HGLOBAL hDib, UINT mode)
{
    const int *p = call.p;
    switch (call.effect) {
    case MOTION_BLUR:
        return FilterMotionBlur(hDib, p[0], p[1], mode, NULL);
    case CENTER_MOTION_BLUR:
        return FilterCenterMotionBlur(hDib, p[0], p[1], mode, NULL);
    case MOSAIC:
        return FilterMozaic(hDib, p[0], mode, NULL);
    case MULTIPLY:
        return FilterMultiply(hDib, p[0], mode, NULL);
    case NOISE:
        return FilterAddNoise(hDib, p[0], mode, NULL);
    case AVERAGE:
        return FilterAverage(hDib, p[0], mode, NULL);
    case IMPRESSIONIST:
        return FilterImpressionist(hDib, p[0], p[1], mode, NULL);
    case POLAR:
        return FilterPolar(hDib, mode, NULL);
    case CYLINDER:
        return FilterCylinder(hDib, p[0], p[1], mode, NULL);
    case PUZZLE:
    default:
        return FilterPuzzle(hDib, p[0], p[1], mode, NULL);
    }
}

static std::string CheckEffect(const EffectCall &call, const Bytes &dib, UINT mode,
                               const Expected &want)
{
    const std::string fault =
        CheckCall([&](HGLOBAL hDib) { return MakeEffectCall(call, hDib, mode); }, dib, NULL, want);
    return fault.empty()
               ? ""
               : "effect " + std::to_string(call.effect) + " (" + std::to_string(call.p[0]) + ", " +
                     std::to_string(call.p[1]) + "), " + fault;
}

static Expected Want(const EffectCall &call, const Bytes &dib)
{
    return ExpectEffect(call, dib, PINNED_SECONDS);
}

static const struct {
    EffectCall call;
    const char *pEntry;
    int nPointers, nNumber;  // of the dialog's arguments; -1: none
} ONE_OF_EACH[] = {
    {{MOTION_BLUR, {30, 5}}, "MOTIONBLURUI", 2, 1},
    {{CENTER_MOTION_BLUR, {9, 4}}, "MOTIONBLURUI", 2, 0},
    {{MOSAIC, {4, 0}}, "FILTERGROUPUI", 1, 0},
    {{NOISE, {40, 0}}, "FILTERGROUPUI", 1, 1},
    {{AVERAGE, {6, 0}}, "FILTERGROUPUI", 1, 2},
    {{IMPRESSIONIST, {3, 2}}, "FILTERGROUPUI", 1, 3},
    {{MULTIPLY, {15, 0}}, "FILTERGROUPUI", 1, 4},
    {{PUZZLE, {4, 3}}, "FILTERGROUPUI", 1, 5},
    {{POLAR, {0, 0}}, "POLARUI", 0, -1},
    {{CYLINDER, {7, 0}}, "CYLINDERUI", 2, -1},
    {{CYLINDER, {7, -3}}, "CYLINDERUI", 2, -1},
};

static const std::vector<EffectCall> CALLS = {
    {MOTION_BLUR, {0, 5}},
    {MOTION_BLUR, {30, 1}},
    {MOTION_BLUR, {30, 0}},
    {MOTION_BLUR, {30, 15}},
    {MOTION_BLUR, {90, 7}},
    {MOTION_BLUR, {200, 8}},
    {MOTION_BLUR, {-45, 40}},
    {MOTION_BLUR, {360, 6}},
    {MOTION_BLUR, {INT_MIN + 400, 9}},
    {MOTION_BLUR, {3, 700}},
    {CENTER_MOTION_BLUR, {0, 5}},
    {CENTER_MOTION_BLUR, {10, 0}},
    {CENTER_MOTION_BLUR, {10, 1}},
    {CENTER_MOTION_BLUR, {12, 9}},
    {CENTER_MOTION_BLUR, {-12, 8}},
    {CENTER_MOTION_BLUR, {1, 20}},
    {CENTER_MOTION_BLUR, {100, 257}},
    {CENTER_MOTION_BLUR, {700, 600}},
    {CENTER_MOTION_BLUR, {INT_MAX, 300}},
    {MOSAIC, {1, 0}},
    {MOSAIC, {2, 0}},
    {MOSAIC, {5, 0}},
    {MOSAIC, {33, 0}},
    {MOSAIC, {INT_MAX, 0}},
    {MULTIPLY, {0, 0}},
    {MULTIPLY, {3, 0}},
    {MULTIPLY, {10, 0}},
    {MULTIPLY, {INT_MAX, 0}},
    {NOISE, {0, 0}},
    {NOISE, {1, 0}},
    {NOISE, {2, 0}},
    {NOISE, {3, 0}},
    {NOISE, {57, 0}},
    {NOISE, {32767, 0}},
    {NOISE, {33000, 0}},
    {NOISE, {INT_MAX, 0}},
    {AVERAGE, {1, 0}},
    {AVERAGE, {2, 0}},
    {AVERAGE, {3, 0}},
    {AVERAGE, {10, 0}},
    {AVERAGE, {70, 0}},
    {AVERAGE, {INT_MAX, 0}},
    {IMPRESSIONIST, {1, 1}},
    {IMPRESSIONIST, {2, 3}},
    {IMPRESSIONIST, {8, 8}},
    {IMPRESSIONIST, {30, 1}},
    {IMPRESSIONIST, {INT_MAX, INT_MAX}},
    {POLAR, {0, 0}},
    {CYLINDER, {0, 0}},
    {CYLINDER, {1, 0}},
    {CYLINDER, {1, 1}},
    {CYLINDER, {8, 0}},
    {CYLINDER, {20, 5}},
    {CYLINDER, {INT_MAX, 0}},
    {PUZZLE, {1, 1}},
    {PUZZLE, {3, 2}},
    {PUZZLE, {2, 11}},
    {PUZZLE, {40, 1}},
    {PUZZLE, {1, 600}},
};

// One picture for each way through the drivers.
static const TestPicture KINDS[] = {{9, 7, 8, RAMP, 0, 61, 0},  {9, 7, 8, SHUFFLED, 0, 62, 0},
                                    {9, 7, 8, EVEN, 0, 63, 0},  {9, 7, 8, COLOURED, 100, 64, 0},
                                    {9, 7, 24, RAMP, 0, 65, 0}, {9, 7, 1, RAMP, 0, 66, 0}};

// ---- by hand ------------------------------------------------------------------------------------

struct Literal {
    const char *pName;
    EffectCall call;
    int width, height;
    std::vector<int> source, want;
};

// clang-format off
static const Literal LITERALS[] = {
    {"a quarter of a degree short, samples outside are black", {MOTION_BLUR, {0, 5}}, 5, 2,
     {200, 200, 200, 200, 200,
      200, 200, 200, 200, 200},
     { 40,  80, 120, 120, 120,
      120, 160, 200, 200, 160}},
    {"a box of two reaches to the left and up", {AVERAGE, {3, 0}}, 3, 2,
     {10, 20, 31,
      50, 60, 70},
     {10, 15, 25,
      30, 35, 45}},
    {"squares are cut at the far sides", {MOSAIC, {2, 0}}, 3, 3,
     {1, 2, 9,
      3, 5, 8,
      7, 8, 6},
     {2, 2, 8,
      2, 2, 8,
      7, 7, 6}},
    {"tenths", {MULTIPLY, {15, 0}}, 4, 1, {0, 1, 100, 200}, {0, 1, 150, 255}},
    {"the far half is moved by one, outside the glass", {CYLINDER, {1, 0}}, 6, 1,
     {1, 2, 3, 4, 5, 6}, {1, 2, 3, 5, 6, 6}},
    {"no glass", {CYLINDER, {0, 0}}, 5, 1, {1, 2, 3, 4, 5}, {1, 2, 3, 4, 5}},
    {"columns become angles", {POLAR, {0, 0}}, 4, 4,
     {1,  2,  3,  4,
      5,  6,  7,  8,
      9, 10, 11, 12,
     13, 14, 15, 16},
     {0, 0, 0, 0,
      0, 6, 5, 5,
      0, 6, 3, 5,
      0, 6, 7, 7}},
};
// clang-format on

TEST_F(Effects, SmallPicturesComeOutAsComputedByHand)
{
    for (const Literal &t : LITERALS) {
        for (int bits : {8, 24}) {
            const Expected want = ExpectBlock(MakeLevels(t.width, t.height, bits, t.want));
            EXPECT_EQ("",
                      CheckEffect(t.call, MakeLevels(t.width, t.height, bits, t.source), 0, want))
                << t.pName << ", " << bits << " bits";
        }
    }
}

TEST_F(Effects, KeptTheMiddleOfABentPictureIsIndexZeroAtEightBits)
{
    const std::vector<int> source = {7, 6, 5};
    EXPECT_EQ("", CheckEffect({CYLINDER, {1, 0}}, MakeLevels(3, 1, 8, source), 0,
                              ExpectBlock(MakeLevels(3, 1, 8, {7, 0, 5}))));
    EXPECT_EQ("", CheckEffect({CYLINDER, {1, 1}}, MakeLevels(1, 3, 24, source), 0,
                              ExpectBlock(MakeLevels(1, 3, 24, source))));
}

// The draws are those of 1, 2, 3: 41, 18467, 6334 for the first.
TEST_F(Effects, TheClockSeedsTheDraws)
{
    EXPECT_EQ((std::vector<unsigned>{41, 18467, 6334}), Draws(1, 3));
    PinClock(1);
    EXPECT_EQ("", CheckEffect({NOISE, {100, 0}}, MakeLevels(3, 1, 8, {100, 100, 100}), 0,
                              ExpectBlock(MakeLevels(3, 1, 8, {91, 117, 84}))));
    const Bytes dib = WithResolutions(MakeDib({40, 40, 24, RAMP, 0, 5, 0}));
    for (const EffectCall &call : {EffectCall{NOISE, {50, 0}}, EffectCall{IMPRESSIONIST, {7, 9}},
                                   EffectCall{PUZZLE, {5, 5}}}) {
        PinClock(4000000000u);
        const Expected later = ExpectEffect(call, dib, 4000000000u);
        EXPECT_EQ("", CheckEffect(call, dib, 0, later));
        EXPECT_NE("", FirstDifference(later.block, Want(call, dib).block));
    }
}

// ---- against the reference ----------------------------------------------------------------------

static void CompareAll(int width, int height, unsigned nSeed, size_t nFirst, size_t nStep)
{
    for (const TestPicture &picture : EveryKind(width, height, nSeed)) {
        const Bytes dib = WithResolutions(MakeDib(picture));
        for (size_t i = (nFirst + picture.nSeed) % nStep; i < CALLS.size(); i += nStep) {
            EXPECT_EQ("", CheckEffect(CALLS[i], dib, 0, Want(CALLS[i], dib)))
                << i << ": " << Describe(picture);
        }
    }
}

TEST_F(Effects, EveryEffectEqualsTheReferenceOnTinyPictures)
{
    for (int width = 1; width <= 9; width++) {
        for (int height = 1; height <= 9; height++) {
            CompareAll(width, height, (unsigned)(width * 100 + height), (size_t)width, 7);
        }
    }
}

// Sides around the lengths at which the fast loops change: blocks of 32 and 64 bytes.
TEST_F(Effects, EveryEffectEqualsTheReferenceOnLargerPictures)
{
    const int sizes[][2] = {{31, 12}, {32, 33}, {33, 31}, {64, 64}, {65, 40}, {97, 9},
                            {5, 70},  {1, 40},  {40, 1},  {43, 66}, {128, 8}, {2, 66}};
    for (const int *size : sizes) {
        CompareAll(size[0], size[1], (unsigned)(size[0] * 31 + size[1]), 0, 5);
    }
}

// All angles, sizes and radii of some kind.
TEST_F(Effects, EveryDirectionAndEveryRadius)
{
    const Bytes gray = MakeDib({130, 61, 8, RAMP, 0, 91, 0});
    for (int angle = -20; angle < 400; angle += 7) {
        const EffectCall call = {MOTION_BLUR, {angle, 11 + angle / 50}};
        EXPECT_EQ("", CheckEffect(call, gray, 0, Want(call, gray)));
    }
    // All but straight to the left: from some column on rounding takes a sample one further.
    const EffectCall left = {MOTION_BLUR, {-14918660, 13}};
    EXPECT_EQ("", CheckEffect(left, gray, 0, Want(left, gray)));
    for (int side : {100, 101, 177, 320}) {
        const Bytes dib = MakeDib({side, 400 - side, 8, RAMP, 0, (unsigned)side, 0});
        EXPECT_EQ("", CheckEffect({POLAR, {}}, dib, 0, Want({POLAR, {}}, dib)));
    }
    const Bytes wide = MakeDib({300, 3, 8, RAMP, 0, 92, 0});
    for (int radius = 2; radius < 400; radius += 11) {
        const EffectCall call = {CYLINDER, {radius, 0}};
        EXPECT_EQ("", CheckEffect(call, wide, 0, Want(call, wide)));
    }
}

// ---- out of proportion --------------------------------------------------------------------------

// What cannot be reckoned pixel by pixel: nearly all samples of an endless line lie outside.
TEST_F(Effects, EndlessBlursAreBlackAndQuick)
{
    for (const TestPicture &kind : KINDS) {
        const Bytes dib = MakeDib(kind);
        for (int direction : {0, 45, 7, INT_MIN, INT_MAX}) {
            for (Effect effect : {MOTION_BLUR, CENTER_MOTION_BLUR}) {
                if (effect == CENTER_MOTION_BLUR && abs(direction / 2) > 1000) {
                    continue;  // all samples lie close to the pixel
                }
                const EffectCall black = {effect, {direction, 0}};
                EXPECT_TRUE(Want(black, dib).bNull || effect == CENTER_MOTION_BLUR ||
                            CheckEffect({effect, {direction, INT_MAX}}, dib, 0, Want(black, dib)) ==
                                "")
                    << direction << ", " << Describe(kind);
            }
        }
    }
    // The centre is in the middle of each of its samples.
    const Bytes flat = MakeLevels(5, 5, 24, std::vector<int>(25, 200));
    const HGLOBAL hDib = NewBlock(flat);
    const HGLOBAL hResult = FilterCenterMotionBlur(hDib, 1, INT_MAX, 0, NULL);
    const Bytes got = ReadBlock(hResult);
    std::vector<int> want(25, 0);
    want[12] = 200;
    EXPECT_EQ("", FirstDifference(MakeLevels(5, 5, 24, want), got));
    FreeBlock(hResult);
    FreeBlock(hDib);
}

TEST_F(Effects, CanvasesThatNoBlockHoldsGiveNull)
{
    const Bytes dib = MakeDib({8, 8, 8, RAMP, 0, 1, 0});
    for (const EffectCall &call :
         {EffectCall{PUZZLE, {INT_MAX, 1}}, EffectCall{PUZZLE, {1, INT_MAX}},
          EffectCall{PUZZLE, {INT_MAX, INT_MAX}}, EffectCall{PUZZLE, {65536, 65536}}}) {
        EXPECT_EQ("", CheckEffect(call, dib, 0, ExpectNull()));
    }
    Bytes negative = dib;
    BITMAPINFOHEADER header = HeaderOf(dib);
    header.biYPelsPerMeter = -40;
    SetHeader(&negative, header);
    EXPECT_EQ("", CheckEffect({PUZZLE, {2, 2}}, negative, 0, ExpectNull()));
    header.biYPelsPerMeter = -39;
    SetHeader(&negative, header);
    EXPECT_EQ("", CheckEffect({PUZZLE, {2, 2}}, negative, 0, Want({PUZZLE, {2, 2}}, negative)));
}

// ---- refusals -----------------------------------------------------------------------------------

TEST_F(Effects, ParametersOutOfRangeGiveNullBeforeAnyDialog)
{
    const EffectCall wrong[] = {
        {MOTION_BLUR, {0, -1}},  {CENTER_MOTION_BLUR, {5, -1}},
        {MOSAIC, {-1, 0}},       {MULTIPLY, {-1, 0}},
        {NOISE, {-1, 0}},        {AVERAGE, {0, 0}},
        {AVERAGE, {INT_MIN, 0}}, {IMPRESSIONIST, {0, 1}},
        {IMPRESSIONIST, {1, 0}}, {IMPRESSIONIST, {1, INT_MIN}},
        {CYLINDER, {-1, 0}},     {PUZZLE, {0, 1}},
        {PUZZLE, {1, 0}},        {PUZZLE, {-1, 1}},
    };
    const Bytes dib = MakeDib({5, 5, 8, RAMP, 0, 1, 0});
    for (const EffectCall &call : wrong) {
        SetDialogs(GO_ON);
        EXPECT_EQ("", CheckEffect(call, dib, 3, ExpectNull()));
        EXPECT_EQ(0, g_dialog.nCalls);
        EXPECT_EQ(1, GetLastFilterError());
    }
    EXPECT_EQ("", CheckEffect({MOSAIC, {0, 0}}, dib, 0, ExpectNull()));
}

TEST_F(Effects, OtherDepthsGiveNull)
{
    for (int bits : {1, 4, 16, 32}) {
        const Bytes dib = WithResolutions(MakeDib({8, 8, bits, RAMP, 2, 3, 64}));
        for (const auto &row : ONE_OF_EACH) {
            SetDialogs(GO_ON);
            const Expected want = Want(row.call, dib);
            EXPECT_EQ("", CheckEffect(row.call, dib, 2, want)) << bits;
            EXPECT_EQ(want.bNull ? 0 : 1, g_dialog.nCalls) << bits;
        }
    }
}

// ---- the frame ----------------------------------------------------------------------------------

TEST_F(Effects, TheDialogGetsTheImageTheParametersAndANumber)
{
    const Bytes dib = WithResolutions(MakeDib({8, 5, 8, RAMP, 0, 4, 0}));
    static int nPointers, nNumber, seen[2];
    DialogScript script = GO_ON;
    script.OnCall = [] {
        const int *pList = (const int *)g_dialog.second;
        seen[0] = nPointers > 0 ? pList[0] : 0;
        seen[1] = nPointers == 2 ? *(int *)g_dialog.third : 0;
        const int *pNext = nPointers == 1 && (nNumber == 3 || nNumber == 5) ? pList + 1 : NULL;
        seen[1] = pNext != NULL ? *pNext : seen[1];
    };
    for (const auto &row : ONE_OF_EACH) {
        nPointers = row.nPointers;
        nNumber = row.nNumber;
        SetDialogs(script);
        EXPECT_EQ("", CheckEffect(row.call, dib, 3, Want(row.call, dib)));
        EXPECT_STREQ(row.pEntry, g_dialog.pEntry);
        EXPECT_EQ(1 + nPointers + (nNumber >= 0), g_dialog.nArguments);
        EXPECT_TRUE(nNumber < 0 || g_dialog.arguments[1 + nPointers] == (UINT_PTR)nNumber);
        EXPECT_EQ(0, memcmp(seen, row.call.p, sizeof seen)) << row.pEntry << nNumber;
    }
}

// What a dialog leaves behind is used as it stands where that is defined, else the result is null.
TEST_F(Effects, TheDialogMayLeaveAnything)
{
    const struct {
        EffectCall call;
        int nValue;
        EffectCall same;  // as this silent call; its first parameter INT_MIN: null
    } rows[] = {
        {{MOTION_BLUR, {0, 5}}, INT_MIN, {MOTION_BLUR, {INT_MIN + 7000, 0}}},
        {{CENTER_MOTION_BLUR, {7, 5}}, 0, {CENTER_MOTION_BLUR, {0, 5}}},
        {{MOSAIC, {0, 0}}, 3, {MOSAIC, {3, 0}}},
        {{MOSAIC, {3, 0}}, 0, {MOSAIC, {INT_MIN, 0}}},
        {{MOSAIC, {3, 0}}, -5, {MOSAIC, {INT_MIN, 0}}},
        {{MULTIPLY, {3, 0}}, -5, {MULTIPLY, {0, 0}}},
        {{NOISE, {3, 0}}, 0, {NOISE, {0, 0}}},
        {{AVERAGE, {3, 0}}, -5, {AVERAGE, {1, 0}}},
        {{IMPRESSIONIST, {3, 3}}, 0, {IMPRESSIONIST, {INT_MIN, 0}}},
        {{CYLINDER, {3, 0}}, -9, {CYLINDER, {0, 0}}},
        {{PUZZLE, {3, 3}}, -1, {PUZZLE, {INT_MIN, 0}}},
    };
    for (const auto &row : rows) {
        for (const TestPicture &kind : {KINDS[0], KINDS[4]}) {
            DialogScript script = GO_ON;
            const Bytes dib = MakeDib(kind);
            script.bRewrite = true;
            script.nValue = row.nValue;
            SetDialogs(script);
            const bool bNull = row.same.p[0] == INT_MIN;
            const HGLOBAL hDib = NewBlock(dib);
            const HGLOBAL hResult = MakeEffectCall(row.call, hDib, MODE_DIALOG);
            if (row.call.effect == MOTION_BLUR) {  // any angle
                EXPECT_TRUE(hResult != NULL);
                FreeBlock(hResult);
            } else {
                EXPECT_EQ("", Compare(hResult, bNull ? ExpectNull() : Want(row.same, dib)))
                    << row.call.effect << ", " << row.nValue;
            }
            FreeBlock(hDib);
        }
    }
}

TEST_F(Effects, TheBarGetsItsRangeAndItsSteps)
{
    const int sizes[][2] = {{3, 3}, {52, 41}};
    for (const int *size : sizes) {
        for (const TestPicture &kind : KINDS) {
            TestPicture picture = kind;
            picture.width = size[0];
            picture.height = size[1];
            const Bytes dib = WithResolutions(MakeDib(picture));
            for (const auto &row : ONE_OF_EACH) {
                const Expected want = Want(row.call, dib);
                if (want.bNull) {
                    continue;
                }
                CancelAtStep(0);
                EXPECT_EQ("", CheckEffect(row.call, dib, MODE_PROGRESS, want));
                EXPECT_EQ(want.nSteps, StepsSeen()) << row.call.effect << ", " << Describe(picture);
                EXPECT_EQ(want.nRange, LastRange()) << row.call.effect << ", " << Describe(picture);
            }
        }
    }
}
