// Red-eye removal and the colour library behind it: known colours, round trips, then the filter
// against the library's own numbers, its codes and what its dialog may do.

#include "host.h"

#include <gtest/gtest.h>

#include <array>

#include <stdlib.h>
#include <string.h>

static const DialogScript GO_ON = {true, true, false, false, 0, NULL, 0, NULL, 0, 0};

struct RedEye : testing::Test {
    void SetUp() override
    {
        ResetHost();
    }
};

// ---- the colour library -------------------------------------------------------------------------

typedef BYTE *(WINAPI *Convert)(BYTE *, const BYTE *);
typedef std::array<BYTE, 3> Colour;

static Convert EntryOf(const char *pName)
{
    static const HMODULE hLibrary = LoadLibraryA("VexaImage.dll");
    return (Convert)(void (*)(void))GetProcAddress(hLibrary, pName);
}

static Colour ToHsi(Colour rgb)
{
    static const Convert convert = EntryOf("RGBtoHSI");
    Colour hsi;
    return convert(hsi.data(), rgb.data()) == hsi.data() ? hsi : Colour();
}

static Colour ToRgb(Colour hsi)
{
    static const Convert convert = EntryOf("HSItoRGB");
    Colour rgb;
    return convert(rgb.data(), hsi.data()) == rgb.data() ? rgb : Colour();
}

TEST_F(RedEye, KnownColoursHaveKnownHues)
{
    const struct {
        Colour rgb, hsi;
    } rows[] = {{{255, 0, 0}, {0, 255, 85}},      {{0, 255, 0}, {85, 255, 85}},
                {{0, 0, 255}, {170, 255, 85}},    {{255, 255, 0}, {43, 255, 170}},
                {{0, 255, 255}, {128, 255, 170}}, {{255, 0, 255}, {213, 255, 170}},
                {{0, 0, 0}, {0, 0, 0}},           {{255, 255, 255}, {0, 0, 255}},
                {{200, 100, 100}, {0, 64, 133}},  {{200, 100, 110}, {251, 68, 137}},
                {{90, 90, 91}, {170, 1, 90}}};
    for (const auto &row : rows) {
        EXPECT_EQ(row.hsi, ToHsi(row.rgb));
        // Saturated and gray ones come back exactly or nearly so.
        const Colour back = ToRgb(row.hsi);
        for (size_t i = 0; i < 3; i++) {
            EXPECT_NEAR(row.rgb[i], back[i], 6) << (int)row.rgb[0] << " " << (int)row.rgb[1];
        }
    }
    // A buffer may be the record itself.
    Colour both = {255, 0, 0};
    EntryOf("RGBtoHSI")(both.data(), both.data());
    EXPECT_EQ((Colour{0, 255, 85}), both);
    EntryOf("HSItoRGB")(both.data(), both.data());
    EXPECT_EQ((Colour{255, 0, 0}), both);
}

TEST_F(RedEye, ColoursComeBackWithinTheErrorOfTheBytes)
{
    for (int r = 0; r < 256; r += 5) {
        for (int g = 0; g < 256; g += 5) {
            for (int b = 0; b < 256; b += 5) {
                const Colour rgb = {(BYTE)r, (BYTE)g, (BYTE)b};
                const Colour back = ToRgb(ToHsi(rgb));
                const int most = r == g && g == b ? 0 : 6;
                for (size_t i = 0; i < 3; i++) {
                    ASSERT_NEAR(rgb[i], back[i], most) << r << " " << g << " " << b;
                }
            }
        }
    }
    for (int h = 0; h < 256; h += 3) {
        for (int i = 0; i < 256; i += 5) {
            EXPECT_EQ((Colour{(BYTE)i, (BYTE)i, (BYTE)i}), ToRgb({(BYTE)h, 0, (BYTE)i}));
        }
    }
}

// ---- the filter ---------------------------------------------------------------------------------

struct Limits {
    int hueLow, saturation, hueHigh;
};
static const Limits DEFAULT_LIMITS = {31, 76, 223};

static Bytes Removed(const Bytes &dib, const RECT &rect, const Limits &limits)
{
    Bytes want = dib;
    const BITMAPINFOHEADER header = HeaderOf(dib);
    const size_t stride = ((size_t)header.biWidth * 3 + 3) / 4 * 4;
    for (LONG x = rect.left; x <= rect.right && x < header.biWidth; x++) {
        for (LONG y = rect.top; y <= rect.bottom && y < header.biHeight; y++) {
            BYTE *p = &want[40 + stride * (size_t)(header.biHeight - 1 - y) + (size_t)x * 3];
            const Colour hsi = ToHsi({p[2], p[1], p[0]});
            if (hsi[1] > limits.saturation && (hsi[0] < limits.hueLow || hsi[0] > limits.hueHigh)) {
                memset(p, hsi[2], 3);
            }
        }
    }
    return want;
}

static std::string CheckRedEye(const Bytes &dib, RECT rect, const BYTE *pLimits, UINT mode,
                               const Expected &want)
{
    return CheckCall([&](HGLOBAL hDib) { return RedEyeRemover(hDib, &rect, mode, NULL, pLimits); },
                     dib, NULL, want);
}

TEST_F(RedEye, RedPixelsOfTheRectangleBecomeGray)
{
    const RECT rects[] = {{0, 0, 1, 1},         {3, 2, 9, 8},   {0, 0, 999, 999},
                          {18, 15, 500, 16},    {9, 3, 5, 8},   {5, 8, 9, 3},
                          {19, 0, 25, 9},       {0, 16, 9, 20}, {0, 0, 0x7fffffff, 0x7fffffff},
                          {0x7fffffff, 0, 3, 9}};
    const BYTE sets[][2] = {{31, 76}, {40, 10}, {0, 0}, {255, 0}, {128, 254}, {31, 255}};
    int nChanged = 0;
    for (unsigned seed = 0; seed < 5; seed++) {
        const Bytes dib = MakeDib({19, 16, 24, COLOURED, 0, seed, (int)seed});
        for (const RECT &rect : rects) {
            EXPECT_EQ("", CheckRedEye(dib, rect, NULL, 0,
                                      ExpectBlock(Removed(dib, rect, DEFAULT_LIMITS))));
            for (const BYTE *set : sets) {
                const Limits limits = {set[0], set[1], 255 - set[0]};
                EXPECT_EQ("",
                          CheckRedEye(dib, rect, set, 0, ExpectBlock(Removed(dib, rect, limits))));
            }
        }
        nChanged += dib != Removed(dib, rects[2], DEFAULT_LIMITS);
    }
    EXPECT_LT(0, nChanged);
}

TEST_F(RedEye, CodesTellWhatIsWrongInTheirOrder)
{
    const Bytes color = MakeDib({9, 9, 24, RAMP, 0, 1, 0}),
                gray = MakeDib({9, 9, 8, RAMP, 0, 1, 0});
    const RECT good = {1, 1, 5, 5};
    const struct {
        const Bytes *pDib;
        RECT rect;
    } rows[] = {{&color, {1, 1, 1, 5}},
                {&color, {1, 1, 5, 1}},
                {&color, {-1, 1, 5, 5}},
                {&color, {1, -1, 5, 5}},
                {&color, {1, 1, -5, 5}},
                {&color, {1, 1, 5, -5}},
                {&gray, good}};
    for (const auto &row : rows) {
        SetDialogs(GO_ON);
        HideColours(false);
        EXPECT_EQ("", CheckRedEye(*row.pDib, row.rect, NULL, 3, ExpectNull()));
        EXPECT_EQ(87, GetLastFilterError());
        HideColours(true);
        EXPECT_EQ("", CheckRedEye(*row.pDib, row.rect, NULL, 3, ExpectNull()));
        EXPECT_EQ(-2, GetLastFilterError());
        EXPECT_EQ(0, g_dialog.nCalls);
    }
    RECT rect = good;
    EXPECT_TRUE(RedEyeRemover(NULL, &rect, 0, NULL, NULL) == NULL);
    EXPECT_EQ(-2, GetLastFilterError());
    HideColours(false);
    EXPECT_TRUE(RedEyeRemover(NULL, &rect, 0, NULL, NULL) == NULL);
    EXPECT_EQ(87, GetLastFilterError());
    const HGLOBAL hDib = NewBlock(color);
    EXPECT_TRUE(RedEyeRemover(hDib, NULL, 0, NULL, NULL) == NULL);
    EXPECT_EQ(87, GetLastFilterError());
    FailLock(1);
    EXPECT_TRUE(RedEyeRemover(hDib, &rect, 0, NULL, NULL) == NULL);
    EXPECT_EQ(1, GetLastFilterError());
    FailLock(0);
    FailAllocation(1);
    EXPECT_TRUE(RedEyeRemover(hDib, &rect, 0, NULL, NULL) == NULL);
    EXPECT_EQ(-4, GetLastFilterError());
    FailAllocation(0);
    SetDialogs({false, false, false, false, 0, NULL, 0, NULL, 0, 0});
    FreeBlock(RedEyeRemover(hDib, &rect, MODE_DIALOG, NULL, NULL));
    EXPECT_EQ(-1, GetLastFilterError());
    FreeBlock(hDib);
}

// The upper limit of the hue does not follow the lower one.
TEST_F(RedEye, TheDialogMayMoveTheRectangleAndTheLimits)
{
    static RECT moved;
    static BYTE seen[2];
    const Bytes dib = MakeDib({19, 16, 24, COLOURED, 0, 9, 0});
    DialogScript script = GO_ON;
    script.OnCall = [] {
        seen[0] = *(BYTE *)g_dialog.arguments[2];
        seen[1] = *(BYTE *)g_dialog.arguments[3];
        *(RECT *)g_dialog.arguments[1] = moved;
        *(BYTE *)g_dialog.arguments[2] = 90;
        *(BYTE *)g_dialog.arguments[3] = 20;
    };
    const BYTE limits[] = {40, 50};
    for (const RECT &rect : {RECT{2, 1, 14, 9}, RECT{5, 5, 5, 5}, RECT{-3, 0, 9, 9},
                             RECT{9, 9, 3, 3}, RECT{4, -7, 9, 9}, RECT{4, 4, -9, -9}}) {
        moved = rect;
        SetDialogs(script);
        CancelAtStep(0);
        RECT seenAs = rect;  // a negative number is a large one
        seenAs.left = rect.left < 0 ? 999 : rect.left;
        seenAs.top = rect.top < 0 ? 999 : rect.top;
        seenAs.right = rect.right < 0 ? 999 : rect.right;
        seenAs.bottom = rect.bottom < 0 ? 999 : rect.bottom;
        EXPECT_EQ("", CheckRedEye(dib, {0, 0, 5, 5}, limits, 3,
                                  ExpectBlock(Removed(dib, seenAs, {90, 20, 215}))));
        EXPECT_EQ(4, g_dialog.nArguments);
        EXPECT_TRUE(seen[0] == 40 && seen[1] == 50);
    }
    script.bCancel = true;
    SetDialogs(script);
    EXPECT_EQ("", CheckRedEye(dib, {0, 0, 5, 5}, limits, 3, ExpectNull()));
}

// The bar moves at columns that are multiples of five, and its range is that of the rectangle.
TEST_F(RedEye, TheBarGetsItsRangeAndItsSteps)
{
    const struct {
        RECT rect;
        int nRange, nSteps;
    } rows[] = {{{0, 0, 18, 3}, 4 + 1, 4},
                {{1, 0, 4, 3}, 1 + 1, 0},
                {{5, 0, 6, 3}, 1 + 1, 1},
                {{3, 0, 300, 3}, 60 + 1, 3},
                {{10, 0, 9, 3}, 0 + 1, 0}};
    const Bytes dib = MakeDib({19, 16, 24, COLOURED, 0, 9, 0});
    for (const auto &row : rows) {
        CancelAtStep(0);
        EXPECT_EQ("", CheckRedEye(dib, row.rect, NULL, MODE_PROGRESS,
                                  ExpectBlock(Removed(dib, row.rect, DEFAULT_LIMITS))));
        EXPECT_EQ(row.nRange, LastRange());
        EXPECT_EQ(row.nSteps, StepsSeen());
    }
}
