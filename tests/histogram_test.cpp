// The histogram transforms: small pictures by hand, every transform against the reference at every
// depth, blocks that are refused, and the frame of their own: what is left behind and when.

#include "host.h"
#include "reference/histogram.h"

#include <gtest/gtest.h>

#include <limits.h>
#include <math.h>
#include <string.h>

static const DialogScript GO_ON = {true, true, false, false, 0, NULL, 0, NULL, 0, 0};

struct Histogram : testing::Test {
    void SetUp() override
    {
        ResetHost();
    }
};

// ---- calls --------------------------------------------------------------------------------------

static TransformCall g_call;

static HGLOBAL MakeTransformCall(HGLOBAL hDib, UINT mode, HWND hParent)
{
    switch (g_call.transform) {
    case SLIDE:
        return HistDIBSlide(hDib, g_call.low, g_call.high, g_call.shift, mode, hParent);
    case STRETCH:
        return HistDIBStretch(hDib, g_call.low, g_call.high, g_call.factor, mode, hParent);
    case THRESHOLD:
        return HistDIBThreshold(hDib, g_call.threshold, mode, hParent);
    case COMPLEMENT:
        return HistDIBComplement(hDib, mode, hParent);
    case MODIFY:
        return HistDIBModify(hDib, mode, hParent);
    case EQUALIZATION:
    default:
        return HistDIBEqualization(hDib, mode, hParent);
    }
}

static std::string CheckTransform(const TransformCall &call, const Bytes &dib, UINT mode,
                                  const Expected &want)
{
    g_call = call;
    return CheckCall([&](HGLOBAL hDib) { return MakeTransformCall(hDib, mode, NULL); }, dib, NULL,
                     want);
}

static TransformCall Slide(UINT low, UINT high, int shift)
{
    return {SLIDE, low, high, shift, 0, 0};
}

static TransformCall Stretch(UINT low, UINT high, float factor)
{
    return {STRETCH, low, high, 0, factor, 0};
}

static TransformCall Threshold(UINT threshold)
{
    return {THRESHOLD, 0, 0, 0, 0, threshold};
}

static TransformCall Bare(Transform transform)
{
    return {transform, 0, 0, 0, 0, 0};
}

static const struct {
    TransformCall call;
    const char *pEntry;
    int nDialogArguments;
} ONE_OF_EACH[] = {
    {{SLIDE, 3, 200, 40, 0, 0}, "HistSlideUI", 4},
    {{STRETCH, 2, 99, 0, 1.7f, 0}, "HistStretchUI", 4},
    {{THRESHOLD, 0, 0, 0, 0, 9}, "ThresholdUI", 2},
    {{COMPLEMENT, 0, 0, 0, 0, 0}, "HistTransformUI", 2},
    {{MODIFY, 0, 0, 0, 0, 0}, "HistTransformUI", 2},
    {{EQUALIZATION, 0, 0, 0, 0, 0}, "HistTransformUI", 2},
};

static const std::vector<TransformCall> CALLS = {
    Slide(0, 255, 10),      Slide(0, 255, -20),
    Slide(5, 9, 3),         Slide(0x1205, 0xff09, 70000),
    Slide(9, 5, 50),        Slide(0, 255, INT_MAX),
    Slide(0, 255, INT_MIN), Stretch(0, 255, 1.5f),
    Stretch(0, 255, 0.3f),  Stretch(2, 100, -1.0f),
    Stretch(1, 255, 3e38f), Stretch(1, 255, -3e38f),
    Stretch(0, 255, NAN),   Stretch(0, 255, INFINITY),
    Threshold(0),           Threshold(7),
    Threshold(128),         Threshold(255),
    Threshold(300),         Threshold(0x30010),
    Bare(COMPLEMENT),       Bare(MODIFY),
    Bare(EQUALIZATION),
};

// ---- by hand ------------------------------------------------------------------------------------

struct Literal {
    const char *pName;
    TransformCall call;
    std::vector<int> source,
        want;  // a row of bytes, a multiple of twelve: no padding at 8 or 24 bits
};

static const Literal LITERALS[] = {
    {"bytes from 128 on read as negative and stay",
     Slide(0, 255, 10),
     {0, 100, 117, 118, 127, 128, 200, 246, 250, 255, 1, 2},
     {10, 110, 127, 128, 137, 128, 200, 246, 250, 255, 11, 12}},
    {"what falls below 0 is white",
     Slide(0, 255, -20),
     {10, 50, 19, 20, 0, 127, 128, 255, 10, 50, 19, 20},
     {255, 30, 255, 0, 255, 107, 128, 255, 255, 30, 255, 0}},
    {"what rises above 255 is white",
     Slide(10, 20, 240),
     {9, 10, 15, 16, 20, 21, 9, 10, 15, 16, 20, 21},
     {9, 250, 255, 255, 255, 21, 9, 250, 255, 255, 255, 21}},
    {"a stretch rounds to nearest",
     Stretch(0, 255, 1.5f),
     {0, 1, 2, 100, 120, 127, 200, 255, 3, 5, 7, 9},
     {0, 2, 3, 150, 180, 191, 200, 255, 5, 8, 11, 14}},
    {"a threshold",
     Threshold(128),
     {0, 127, 128, 255, 0, 127, 128, 255, 0, 127, 128, 255},
     {0, 0, 255, 255, 0, 0, 255, 255, 0, 0, 255, 255}},
    {"a threshold beyond white", Threshold(256), std::vector<int>(12, 255),
     std::vector<int>(12, 0)},
    {"the complement",
     Bare(COMPLEMENT),
     {0, 1, 100, 255, 0, 1, 100, 255, 0, 1, 100, 255},
     {255, 254, 155, 0, 255, 254, 155, 0, 255, 254, 155, 0}},
    {"all of one level are white", Bare(EQUALIZATION), std::vector<int>(12, 40),
     std::vector<int>(12, 255)},
    {"all of one level are white in a logarithmic spread as well", Bare(MODIFY),
     std::vector<int>(12, 40), std::vector<int>(12, 255)},
    {"half of the levels below",
     Bare(EQUALIZATION),
     {1, 1, 1, 1, 1, 1, 9, 9, 9, 9, 9, 9},
     {127, 127, 127, 127, 127, 127, 255, 255, 255, 255, 255, 255}},
    {"half of the levels below, logarithmically",
     Bare(MODIFY),
     {1, 1, 1, 1, 1, 1, 9, 9, 9, 9, 9, 9},
     {15, 15, 15, 15, 15, 15, 255, 255, 255, 255, 255, 255}},
};

static Bytes RowOfBytes(const std::vector<int> &bytes, int bits)
{
    const int width = (int)bytes.size() * 8 / bits;
    Bytes dib = MakeDib({width, 1, bits, RAMP, 0, 1, 0});
    for (size_t i = 0; i < bytes.size(); i++) {
        dib[dib.size() - bytes.size() + i] = (BYTE)bytes[i];
    }
    return dib;
}

static Expected ExpectRow(const Bytes &dib, const std::vector<int> &bytes)
{
    Bytes want = dib;
    for (size_t i = 0; i < bytes.size(); i++) {
        want[want.size() - bytes.size() + i] = (BYTE)bytes[i];
    }
    want.resize(want.size() + 4);
    return ExpectBlock(want);
}

TEST_F(Histogram, RowsComeOutAsComputedByHand)
{
    for (const Literal &t : LITERALS) {
        for (int bits : {8, 24}) {
            const Bytes dib = RowOfBytes(t.source, bits);
            EXPECT_EQ("", CheckTransform(t.call, dib, 0, ExpectRow(dib, t.want)))
                << t.pName << ", " << bits << " bits";
        }
    }
}

TEST_F(Histogram, FourBitsAreTwoLevelsOfOneByte)
{
    const std::vector<int> source = {0x00, 0x5a, 0xf1, 0x09};
    const struct {
        TransformCall call;
        std::vector<int> want;
    } rows[] = {
        {Slide(1, 10, 6), {0x00, 0xbf, 0xf7, 0x0f}},
        {Slide(1, 10, -2), {0x00, 0x38, 0xff, 0x07}},
        {Stretch(0, 15, 1.5f), {0x00, 0x8f, 0xf2, 0x0e}},
        {Threshold(9), {0x00, 0x0f, 0xf0, 0x0f}},
        {Threshold(16), {0x00, 0x00, 0x00, 0x00}},
        {Bare(COMPLEMENT), {0xff, 0xa5, 0x0e, 0xf6}},
        {Bare(EQUALIZATION), {0x55, 0x9d, 0xf7, 0x5b}},
    };
    const Bytes dib = RowOfBytes(source, 4);
    for (const auto &row : rows) {
        EXPECT_EQ("", CheckTransform(row.call, dib, 0, ExpectRow(dib, row.want)));
    }
}

// ---- against the reference ----------------------------------------------------------------------

TEST_F(Histogram, EveryTransformEqualsTheReferenceAtEveryDepth)
{
    const int sizes[][2] = {{1, 1}, {2, 3}, {3, 2},   {5, 5},   {7, 11},   {8, 6},
                            {9, 1}, {1, 9}, {33, 17}, {64, 31}, {1025, 7}, {700, 12}};
    unsigned nSeed = 1;
    for (const int *size : sizes) {
        for (int bits : {1, 4, 8, 16, 24, 32}) {
            for (DWORD nColors : {0u, 5u}) {
                const TestPicture picture = {size[0], size[1], bits, COLOURED, nColors, nSeed++, 3};
                const Bytes dib = MakeDib(picture);
                for (const TransformCall &call : CALLS) {
                    EXPECT_EQ("", CheckTransform(call, dib, 0, ExpectTransform(call, dib)))
                        << Describe(picture) << ", " << &call - CALLS.data();
                }
            }
        }
    }
}

// A run of more than a million bytes is counted by pairs; without memory for that, as the others.
TEST_F(Histogram, ALargePictureIsCountedWithAndWithoutMemory)
{
    const Bytes dib = MakeDib({1027, 1025, 8, RAMP, 0, 20, 0});
    const Expected want = ExpectTransform(Bare(EQUALIZATION), dib);
    const HGLOBAL hDib = NewBlock(dib);
    for (int nth : {0, 3}) {
        FailAllocation(nth);
        const HGLOBAL hResult = HistDIBEqualization(hDib, 0, NULL);
        EXPECT_EQ(3, AllocationsTried());
        FailAllocation(0);
        EXPECT_EQ("", Compare(hResult, want)) << nth;
    }
    FreeBlock(hDib);
}

// ---- blocks -------------------------------------------------------------------------------------

TEST_F(Histogram, OnlyTheLowByteOfTheDepthCounts)
{
    for (int bits : {4, 8, 24, 32}) {
        Bytes dib = MakeDib({9, 6, bits, RAMP, 16, 5, 0});
        BITMAPINFOHEADER header = HeaderOf(dib);
        header.biBitCount = (WORD)(header.biBitCount | 0x700);
        SetHeader(&dib, header);
        for (const auto &row : ONE_OF_EACH) {
            EXPECT_EQ("", CheckTransform(row.call, dib, 0, ExpectTransform(row.call, dib))) << bits;
        }
    }
}

TEST_F(Histogram, BlocksThatAreNotInOrderGiveNull)
{
    const TestPicture good = {9, 6, 8, RAMP, 0, 5, 0};
    typedef void (*Spoil)(BITMAPINFOHEADER *);
    const Spoil spoils[] = {
        [](BITMAPINFOHEADER *p) { p->biPlanes = 2; },
        [](BITMAPINFOHEADER *p) { p->biPlanes = 0; },
        [](BITMAPINFOHEADER *p) { p->biBitCount = 0; },
        [](BITMAPINFOHEADER *p) { p->biBitCount = 0x800; },
        [](BITMAPINFOHEADER *p) {
            p->biBitCount = 24;
            p->biClrUsed = 256;
        },
        [](BITMAPINFOHEADER *p) { p->biCompression = 1; },
        [](BITMAPINFOHEADER *p) { p->biHeight = -6; },
        [](BITMAPINFOHEADER *p) { p->biHeight = 7; },
        [](BITMAPINFOHEADER *p) { p->biWidth = 0; },
        [](BITMAPINFOHEADER *p) { p->biWidth = INT_MAX; },
        [](BITMAPINFOHEADER *p) { p->biSize = 12; },
        [](BITMAPINFOHEADER *p) { p->biClrUsed = 257; },
    };
    for (const auto &row : ONE_OF_EACH) {
        for (const Spoil &spoil : spoils) {
            Bytes dib = MakeDib(good);
            BITMAPINFOHEADER header = HeaderOf(dib);
            spoil(&header);
            SetHeader(&dib, header);
            EXPECT_EQ("", CheckTransform(row.call, dib, 0, ExpectNull())) << &spoil - spoils;
        }
        g_call = row.call;
        EXPECT_TRUE(MakeTransformCall(NULL, 0, NULL) == NULL);
    }
}

TEST_F(Histogram, RowsAndStridesAreSixteenBitNumbers)
{
    const struct {
        int width, height;
        bool bNull;
    } rows[] = {{1, 65535, false}, {1, 65536, true}, {65532, 1, false}, {65533, 1, true}};
    for (const auto &row : rows) {
        const Bytes dib = MakeDib({row.width, row.height, 8, RAMP, 0, 9, 0});
        for (const auto &one : ONE_OF_EACH) {
            Expected want = ExpectTransform(one.call, dib);
            want.bNull = row.bNull;
            EXPECT_EQ("", CheckTransform(one.call, dib, 0, want)) << row.width;
        }
    }
}

// ---- the frame ----------------------------------------------------------------------------------

TEST_F(Histogram, TheDialogGetsAPointerToEachParameterOrASelector)
{
    static TransformCall seen;
    static UINT_PTR selector;
    DialogScript script = GO_ON;
    const Bytes dib = MakeDib({8, 5, 8, RAMP, 0, 4, 0});
    script.OnCall = [] {
        const UINT_PTR *p = g_dialog.arguments;
        seen = g_call;
        selector = p[1];
        if (g_call.transform == SLIDE || g_call.transform == STRETCH) {
            seen.low = *(UINT *)p[1];
            seen.high = *(UINT *)p[2];
            seen.shift = g_call.transform == SLIDE ? *(int *)p[3] : 0;
            seen.factor = g_call.transform == STRETCH ? *(float *)p[3] : 0;
            *(UINT *)p[1] = 1;
        } else if (g_call.transform == THRESHOLD) {
            seen.threshold = *(UINT *)p[1];
            *(UINT *)p[1] = 70;
        }
    };
    for (const auto &row : ONE_OF_EACH) {
        TransformCall changed = row.call;
        changed.low = 1;
        changed.threshold = 70;
        SetDialogs(script);
        EXPECT_EQ("", CheckTransform(row.call, dib, 3, ExpectTransform(changed, dib)));
        EXPECT_EQ(1, g_dialog.nCalls);
        EXPECT_STREQ(row.pEntry, g_dialog.pEntry);
        EXPECT_EQ(row.nDialogArguments, g_dialog.nArguments);
        EXPECT_EQ(0, memcmp(&seen, &row.call, sizeof seen)) << row.pEntry;
        if (row.call.transform >= COMPLEMENT) {
            EXPECT_EQ((UINT_PTR)(row.call.transform - COMPLEMENT), selector);
        }
        EXPECT_EQ(1, GetLastFilterError());
        SetDialogs({});
        EXPECT_EQ("", CheckTransform(row.call, dib, 2, ExpectTransform(row.call, dib)));
        EXPECT_EQ(-1, GetLastFilterError());
        EXPECT_EQ("", CheckTransform(row.call, dib, 0, ExpectTransform(row.call, dib)));
        EXPECT_EQ(1, GetLastFilterError());
    }
}

// The result and the lock stay; nothing else does.
TEST_F(Histogram, KeptADialogThatIsCancelledOrFailsLeavesTheResultAndTheLock)
{
    DialogScript cancel = GO_ON;
    cancel.bCancel = true;
    const HWND hParent = NewWindow(NULL);
    for (const auto &row : ONE_OF_EACH) {
        for (UINT mode : {2u, 3u, 1u}) {
            const HGLOBAL hDib = NewBlock(MakeDib({9, 6, 8, RAMP, 0, 5, 0}));
            const int nBlocks = LiveBlocks();
            const int nLocks = LocksHeld();
            SetDialogs(cancel);
            FailDialogs(mode == 1);
            g_call = row.call;
            EXPECT_TRUE(MakeTransformCall(hDib, mode, hParent) == NULL);
            EXPECT_EQ(nBlocks + 1, LiveBlocks()) << mode;
            EXPECT_EQ(nLocks + 1, LocksHeld()) << mode;
            EXPECT_EQ(1, GetLastFilterError());
            EXPECT_TRUE(OpenDialog() == NULL && IsWindowEnabled(hParent));
            FailDialogs(false);
            GlobalUnlock(hDib);
            FreeBlock(hDib);
        }
    }
    DestroyWindow(hParent);
}

TEST_F(Histogram, TheBarGetsItsRangeAndItsSteps)
{
    for (int height : {1, 5, 16}) {
        for (int bits : {8, 24}) {
            const Bytes dib = MakeDib({7, height, bits, RAMP, 0, 5, 0});
            for (const auto &row : ONE_OF_EACH) {
                const Expected want = ExpectTransform(row.call, dib);
                CancelAtStep(0);
                EXPECT_EQ("", CheckTransform(row.call, dib, MODE_PROGRESS, want));
                EXPECT_EQ(want.nSteps, StepsSeen()) << row.pEntry << height;
                EXPECT_EQ(want.nRange, LastRange()) << row.pEntry << height;
            }
        }
    }
}
