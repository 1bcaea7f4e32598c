// The frequency filters: pictures by hand, every export against the reference at every depth, the
// blocks that are refused, and the frame of their own: what stays allocated and locked, and when.

#include "host.h"
#include "reference/frequency.h"

#include <gtest/gtest.h>

#include <limits.h>
#include <math.h>
#include <string.h>

#include <random>

static const DialogScript GO_ON = {true, true, false, false, 0, NULL, 0, NULL, 0, 0};

struct Frequency : testing::Test {
    void SetUp() override
    {
        ResetHost();
    }
};

// ---- calls --------------------------------------------------------------------------------------

enum Which { SPECTRUM, LOWPASS, HIGHPASS, EMPHASIS, HOMOMORPHIC_FILTER, INVERSE, WIENER };

struct FrequencyCall {
    Which which;
    int nKind;
    int nCutoff, nTypeOrWidth;
    float gainOrHigh, low;
    double noise;
    int nScale;
};

static Bytes g_psf;     // of the last two; empty: there is none
static HGLOBAL g_hPsf;  // null: of these bytes
static int g_bDialog;
static std::vector<size_t> g_kept;  // sizes of what the latest call left

static HGLOBAL MakeRestored(const FrequencyCall &c, HGLOBAL hDib)
{
    const HGLOBAL hPsf = g_hPsf != NULL ? g_hPsf : g_psf.empty() ? NULL : NewBlock(g_psf);
    const HGLOBAL hResult = c.which == INVERSE
                                ? FreqDIBInverse(hDib, hPsf, c.nKind, c.nScale)
                                : FreqDIBWiener(hDib, hPsf, c.noise, c.nKind, c.nScale);
    EXPECT_EQ(g_psf, hPsf != NULL ? ReadBlock(hPsf) : Bytes());
    FreeBlock(hPsf != g_hPsf ? hPsf : NULL);
    return hResult;
}

static HGLOBAL MakeCall(const FrequencyCall &c, HGLOBAL hDib)
{
    switch (c.which) {
    case SPECTRUM:
        return FreqDIBFFT(hDib, c.nKind);
    case LOWPASS:
        return FreqDIBLowpass(hDib, c.nCutoff, c.nTypeOrWidth, c.nKind, g_bDialog);
    case HIGHPASS:
        return FreqDIBHighpass(hDib, c.nCutoff, c.nTypeOrWidth, c.nKind, g_bDialog);
    case EMPHASIS:
        return FreqDIBEnhance(hDib, c.nCutoff, c.gainOrHigh, c.nKind, g_bDialog);
    case HOMOMORPHIC_FILTER:
        return FreqDIBHomomorphic(hDib, c.nCutoff, c.nTypeOrWidth, c.gainOrHigh, c.low, c.nKind,
                                  g_bDialog);
    default:
        return MakeRestored(c, hDib);
    }
}

static HGLOBAL MakeWatched(const FrequencyCall &c, HGLOBAL hDib)
{
    WatchBlocks();
    const HGLOBAL hResult = MakeCall(c, hDib);
    g_kept = FreeKeptBlocks(hResult);
    return hResult;
}

static Expected Want(const FrequencyCall &c, const Bytes &dib)
{
    switch (c.which) {
    case SPECTRUM:
        return ExpectSpectrum(dib, c.nKind);
    case LOWPASS:
        return ExpectLowpass(dib, c.nCutoff, c.nTypeOrWidth, c.nKind);
    case HIGHPASS:
        return ExpectHighpass(dib, c.nCutoff, c.nTypeOrWidth, c.nKind);
    case EMPHASIS:
        return ExpectEnhance(dib, c.nCutoff, c.gainOrHigh, c.nKind);
    case HOMOMORPHIC_FILTER:
        return ExpectHomomorphic(dib, c.nCutoff, c.nTypeOrWidth, c.gainOrHigh, c.low, c.nKind);
    case INVERSE:
        return ExpectRestored(dib, g_psf, NULL, c.nKind, c.nScale);
    case WIENER:
    default:
        return ExpectRestored(dib, g_psf, &c.noise, c.nKind, c.nScale);
    }
}

static std::string CheckFrequency(const FrequencyCall &c, const Bytes &dib, const Expected &want)
{
    const std::string fault =
        CheckCall([&](HGLOBAL hDib) { return MakeWatched(c, hDib); }, dib, NULL, want);
    return fault.empty() ? "" : "call " + std::to_string(c.which) + ": " + fault;
}

// Every branch of every transfer function, and arguments of which only the low 16 bits count.
static const FrequencyCall CALLS[] = {
    {SPECTRUM, 0, 0, 0, 0, 0, 0, 0},
    {SPECTRUM, 1, 0, 0, 0, 0, 0, 0},
    {LOWPASS, 0, 4, 0, 0, 0, 0, 0},
    {LOWPASS, 5, 3, 2, 0, 0, 0, 0},
    {LOWPASS, 0, 0x10005, 2, 0, 0, 0, 0},
    {LOWPASS, 1, 0, 2, 0, 0, 0, 0},
    {HIGHPASS, 0, 2, 1, 0, 0, 0, 0},
    {HIGHPASS, 1, -1, 0, 0, 0, 0, 0},
    {HIGHPASS, -1, 3, 2, 0, 0, 0, 0},
    {HIGHPASS, 0, 0, 2, 0, 0, 0, 0},
    {EMPHASIS, 0, 5, 0, 1.25f, 0, 0, 0},
    {EMPHASIS, 1, 0, 0, 1.0f, 0, 0, 0},
    {EMPHASIS, 1, 65535, 0, 3.0f, 0, 0, 0},
    {EMPHASIS, 0, 3, 0, NAN, 0, 0, 0},
    {HOMOMORPHIC_FILTER, 0, 4, 5, 2.0f, 0.5f, 0, 0},
    {HOMOMORPHIC_FILTER, 1, 3, 1, 1.1f, 0.7f, 0, 0},
    {HOMOMORPHIC_FILTER, 1, 2, 60000, -1.0f, 0.0f, 0, 0},
    {HOMOMORPHIC_FILTER, 0, 65535, 65535, 1.0f, 1.0f, 0, 0},
    {HOMOMORPHIC_FILTER, 0, 3, 2, INFINITY, 0.5f, 0, 0},
    {INVERSE, 0, 0, 0, 0, 0, 0, 1000},
    {INVERSE, 1, 0, 0, 0, 0, 0, 1},
    {WIENER, 0, 0, 0, 0, 0, 0.01, -700000},
    {WIENER, 1, 0, 0, 0, 0, 20000.0, 7},
    {WIENER, 1, 0, 0, 0, 0, 0, INT_MAX},
    {WIENER, 0, 0, 0, 0, 0, -1e300, 1},
    {WIENER, 1, 0, 0, 0, 0, NAN, 1},
};

// ---- by hand ------------------------------------------------------------------------------------

static std::vector<int> FirstLevels(HGLOBAL hResult, size_t count)
{
    const Bytes block = hResult != NULL ? ReadBlock(hResult) : Bytes(2000);
    FreeBlock(hResult);
    return std::vector<int>(block.begin() + 40 + 1024, block.begin() + 40 + 1024 + (int)count);
}

static std::vector<int> LevelsOf(const FrequencyCall &c, const Bytes &dib, size_t count)
{
    const HGLOBAL hDib = NewBlock(dib);
    const std::vector<int> levels = FirstLevels(MakeWatched(c, hDib), count);
    FreeBlock(hDib);
    return levels;
}

TEST_F(Frequency, AnEvenPictureHasOneBrightFrequency)
{
    for (int nKind : {0, 1}) {
        for (int level : {100, 200, 56, 1}) {
            const Bytes dib = MakeLevels(8, 8, 8, std::vector<int>(64, level));
            std::vector<int> got = LevelsOf({SPECTRUM, nKind, 0, 0, 0, 0, 0, 0}, dib, 64);
            // The greatest level times 255 over it may be a hair less than 255.
            EXPECT_EQ(level == 100 && nKind == 1 ? 254 : 255, got[4 * 8 + 4]) << level;
            got[4 * 8 + 4] = 0;
            EXPECT_EQ(std::vector<int>(64, 0), got);
        }
        const Bytes black = MakeLevels(8, 8, 8, std::vector<int>(64, 0));
        EXPECT_EQ(std::vector<int>(64, 0),
                  LevelsOf({SPECTRUM, nKind, 0, 0, 0, 0, 0, 0}, black, 64));
    }
}

TEST_F(Frequency, WhatPassesAndWhatDoesNot)
{
    const Bytes dib = MakeDib({32, 32, 8, RAMP, 0, 31, 0});
    const std::vector<int> source(dib.begin() + 40 + 1024, dib.begin() + 40 + 1024 + 32 * 32);
    const std::vector<int> nothing(32 * 32, 0);
    for (int nType : {0, 2}) {
        EXPECT_EQ(nothing, LevelsOf({LOWPASS, 0, 0, nType, 0, 0, 0, 0}, dib, 32 * 32));
    }
    // A value may come back a hair below its number, and is truncated.
    const std::vector<int> all = LevelsOf({HIGHPASS, 0, 0, 0, 0, 0, 0, 0}, dib, 32 * 32);
    for (size_t i = 0; i < all.size(); i++) {
        const int nLess = (source[i] - all[i]) & 255;
        const bool bNegative = source[i] > 127;
        EXPECT_TRUE(nLess == 0 || nLess == (bNegative ? 255 : 1)) << source[i] << ", " << all[i];
    }
    const Bytes even = MakeLevels(8, 8, 8, std::vector<int>(64, 77));
    EXPECT_EQ(std::vector<int>(64, 0), LevelsOf({EMPHASIS, 0, 3, 0, 2.0f, 0, 0, 0}, even, 64));
}

// A single 1 in the bottom left corner blurs nothing; nothing at all leaves the spectrum alone.
TEST_F(Frequency, ABlurOfNothingGivesTheImageBack)
{
    Bytes dib = MakeLevels(16, 16, 8, std::vector<int>(256, 90));
    dib[40 + 1024 + 5 * 16 + 3] = 20;
    const std::vector<int> source(dib.begin() + 40 + 1024, dib.begin() + 40 + 1024 + 256);
    const auto Near = [&](const FrequencyCall &c) {
        const std::vector<int> got = LevelsOf(c, dib, 256);
        for (size_t i = 0; i < got.size(); i++) {
            EXPECT_NEAR(source[i], got[i], 1) << i;
        }
    };
    g_psf = MakeLevels(16, 16, 8, std::vector<int>(256, 0));
    Near({INVERSE, 0, 0, 0, 0, 0, 0, 5});
    Near({INVERSE, 1, 0, 0, 0, 0, 0, 5});
    EXPECT_EQ(std::vector<int>(256, 0), LevelsOf({WIENER, 1, 0, 0, 0, 0, 0, 5}, dib, 256));
    g_psf[40 + 1024] = 1;
    Near({INVERSE, 1, 0, 0, 0, 0, 0, 1});
    Near({WIENER, 1, 0, 0, 0, 0, 0, 1});
}

// ---- against the reference ----------------------------------------------------------------------

TEST_F(Frequency, EveryCallEqualsTheReferenceAtEveryDepth)
{
    const int sizes[][2] = {{1, 1},   {2, 1},   {1, 2}, {2, 2}, {3, 3},  {4, 3},   {3, 1},
                            {1, 4},   {5, 5},   {7, 8}, {8, 7}, {9, 1},  {1, 9},   {11, 6},
                            {17, 30}, {31, 33}, {9, 8}, {6, 2}, {64, 5}, {13, 64}, {100, 70}};
    unsigned nSeed = BaseSeed();
    for (const int *size : sizes) {
        for (int bits : {4, 8, 16, 24, 32}) {
            for (DWORD nColors : {0u, 5u}) {
                const TestPicture picture = {size[0], size[1], bits, COLOURED, nColors, nSeed++, 3};
                const Bytes dib = MakeDib(picture);
                g_psf = MakeDib({size[1], size[0] % 7 + 1, bits, RAMP, 7, nSeed++, 1});
                for (const FrequencyCall &c : CALLS) {
                    EXPECT_EQ("", CheckFrequency(c, dib, Want(c, dib)))
                        << Describe(picture) << ", row " << &c - CALLS;
                }
            }
        }
    }
}

// Pictures that fill the plane, are long, are wide: passes that leave out lines and elements.
TEST_F(Frequency, LargePicturesEqualTheReference)
{
    const TestPicture pictures[] = {{256, 256, 8, RAMP, 0, 41, 0},
                                    {200, 129, 24, RAMP, 0, 42, 0},
                                    {129, 300, 8, RAMP, 0, 43, 0},
                                    {512, 60, 4, RAMP, 0, 44, 0},
                                    {20, 513, 8, RAMP, 0, 45, 0}};
    for (const TestPicture &picture : pictures) {
        const Bytes dib = MakeDib(picture);
        g_psf = MakeDib({9, 9, picture.bits, RAMP, 0, 46, 0});
        for (int i : {0, 1, 3, 4, 10, 14, 15, 20, 21}) {
            EXPECT_EQ("", CheckFrequency(CALLS[i], dib, Want(CALLS[i], dib)))
                << Describe(picture) << ", row " << i;
        }
    }
}

TEST_F(Frequency, RandomArgumentsEqualTheReference)
{
    std::mt19937 random(BaseSeed());
    const auto Below = [&](unsigned n) { return (int)(random() % n); };
    for (int i = 0; i < 300; i++) {
        const int bits[] = {4, 8, 24};
        const TestPicture picture = {
            1 + Below(40), 1 + Below(40), bits[i % 3], RAMP, 0, (unsigned)random(), 0};
        const Bytes dib = MakeDib(picture);
        g_psf =
            MakeDib({1 + Below(20), 1 + Below(20), bits[i % 3], RAMP, 0, (unsigned)random(), 0});
        const FrequencyCall c = {(Which)Below(WIENER + 1),
                                 Below(2),
                                 Below(30),
                                 Below(3),
                                 0.1f + (float)Below(30) / 10,
                                 (float)Below(20) / 7,
                                 Below(1000) / 9.0,
                                 Below(4000) - 2000};
        EXPECT_EQ("", CheckFrequency(c, dib, Want(c, dib))) << Describe(picture) << ", " << i;
    }
}

// ---- blocks -------------------------------------------------------------------------------------

TEST_F(Frequency, BlocksThatAreNotInOrderGiveNullAndNothingIsMade)
{
    typedef void (*Spoil)(BITMAPINFOHEADER *);
    const Spoil spoils[] = {
        [](BITMAPINFOHEADER *p) { p->biPlanes = 2; },
        [](BITMAPINFOHEADER *p) { p->biPlanes = 0; },
        [](BITMAPINFOHEADER *p) { p->biBitCount = 0; },
        [](BITMAPINFOHEADER *p) { p->biBitCount = 1; },
        [](BITMAPINFOHEADER *p) { p->biBitCount = 0x301; },
        [](BITMAPINFOHEADER *p) { p->biCompression = 1; },
        [](BITMAPINFOHEADER *p) { p->biHeight = -6; },
        [](BITMAPINFOHEADER *p) { p->biHeight = 7; },
        [](BITMAPINFOHEADER *p) { p->biWidth = INT_MAX; },
        [](BITMAPINFOHEADER *p) { p->biSize = 12; },
        [](BITMAPINFOHEADER *p) { p->biClrUsed = 257; },
    };
    const Bytes good = MakeDib({9, 6, 8, RAMP, 0, 5, 0});
    for (const FrequencyCall &c : CALLS) {
        for (const Spoil &spoil : spoils) {
            Bytes dib = good;
            BITMAPINFOHEADER header = HeaderOf(dib);
            spoil(&header);
            SetHeader(&dib, header);
            g_psf = good;
            EXPECT_EQ("", CheckFrequency(c, dib, ExpectNull())) << &spoil - spoils;
            EXPECT_TRUE(g_kept.empty());
            g_psf = dib;
            if (c.which >= INVERSE) {
                EXPECT_EQ("", CheckFrequency(c, good, ExpectNull())) << &spoil - spoils;
                EXPECT_TRUE(g_kept.empty());
            }
        }
        EXPECT_TRUE(MakeWatched(c, NULL) == NULL);
    }
}

// With sides up to 8192 the planes can be addressed; whether there is memory is another question.
TEST_F(Frequency, SidesAbove8192GiveNullBeforeAnythingIsMade)
{
    for (int bits : {4, 24}) {
        const Bytes small = MakeDib({3, 3, bits, RAMP, 0, 9, 0});
        for (const auto &size :
             {std::pair<int, int>{8193, 1}, {1, 8193}, {65537, 1}, {2, 131073}}) {
            const Bytes dib = MakeDib({size.first, size.second, bits, RAMP, 0, 9, 0});
            for (const FrequencyCall &c : CALLS) {
                g_psf = small;
                EXPECT_EQ("", CheckFrequency(c, dib, ExpectNull()));
                EXPECT_TRUE(g_kept.empty());
                g_psf = dib;
                if (c.which >= INVERSE) {
                    EXPECT_EQ("", CheckFrequency(c, small, ExpectNull()));
                    EXPECT_TRUE(g_kept.empty());
                }
            }
        }
    }
}

TEST_F(Frequency, OnlyTheLowByteOfTheDepthCounts)
{
    for (int bits : {4, 8, 24, 32}) {
        Bytes dib = MakeDib({9, 6, bits, RAMP, 16, 5, 0});
        BITMAPINFOHEADER header = HeaderOf(dib);
        header.biBitCount = (WORD)(header.biBitCount | 0x700);
        SetHeader(&dib, header);
        g_psf = MakeDib({2, 6, bits, RAMP, 16, 6, 0});
        for (const FrequencyCall &c : CALLS) {
            EXPECT_EQ("", CheckFrequency(c, dib, Want(c, dib))) << bits;
        }
    }
}

// ---- the frame ----------------------------------------------------------------------------------

// Two planes of side x side doubles and 50 bytes more, or four; also where nothing is computed.
TEST_F(Frequency, ThePlanesStayAllocated)
{
    const struct {
        int width, height, bits;
        size_t side;
    } rows[] = {{1, 1, 8, 2}, {3, 2, 24, 4}, {9, 16, 4, 16}, {17, 16, 32, 32}};
    for (const auto &row : rows) {
        const Bytes dib = MakeDib({row.width, row.height, row.bits, RAMP, 0, 8, 0});
        g_psf = dib;
        for (const FrequencyCall &c : CALLS) {
            const HGLOBAL hDib = NewBlock(dib);
            const int nBlocks = LiveBlocks();
            const HGLOBAL hResult = MakeWatched(c, hDib);
            const size_t nPlanes = c.which >= INVERSE ? 4 : 2;
            EXPECT_EQ(std::vector<size_t>(nPlanes, row.side * row.side * 8 + 50), g_kept);
            FreeBlock(hResult);
            EXPECT_EQ(nBlocks, LiveBlocks());
            FreeBlock(hDib);
        }
    }
}

// Kept: the result, and the planes that there are, stay allocated and the wait cursor stays; but
// nothing stays where it is the working lines or the result that cannot be had.
TEST_F(Frequency, WithoutMemoryTheCallEndsWithTheWaitCursor)
{
    static const HCURSOR hArrow = LoadCursorA(NULL, IDC_ARROW);
    const Bytes dib = MakeDib({9, 6, 24, RAMP, 0, 5, 0});
    g_psf = dib;
    g_hPsf = NewBlock(dib);
    for (const FrequencyCall &c : CALLS) {
        // The frame's record, lines and twiddles, the result, the planes.
        const int nAllocations = c.which >= INVERSE ? 7 : 5;
        for (int nth = 1; nth <= nAllocations; nth++) {
            const HGLOBAL hDib = NewBlock(dib);
            const int nLocks = LocksHeld(), nBlocks = LiveBlocks();
            SetShownCursor(hArrow);
            FailAllocation(nth);
            EXPECT_TRUE(MakeWatched(c, hDib) == NULL) << c.which << ", " << nth;
            EXPECT_EQ(nth, AllocationsTried()) << c.which;
            FailAllocation(0);
            EXPECT_EQ(nth <= 3 ? 0u : (size_t)nth - 3, g_kept.size()) << c.which << ", " << nth;
            EXPECT_EQ(nth > 3, ShownCursor() != hArrow) << c.which << ", " << nth;
            EXPECT_EQ(nLocks, LocksHeld());
            EXPECT_EQ(nBlocks, LiveBlocks());
            FreeBlock(hDib);
        }
    }
    SetShownCursor(hArrow);
    FreeBlock(g_hPsf);
    g_hPsf = NULL;
}

TEST_F(Frequency, WithoutASecondImageTheFirstStaysLocked)
{
    for (int bits : {1, 8}) {
        const HGLOBAL hDib = NewBlock(MakeDib({9, 6, bits, RAMP, 0, 5, 0}));
        const int nLocks = LocksHeld();
        EXPECT_TRUE(FreqDIBInverse(hDib, NULL, 0, 1) == NULL);
        EXPECT_EQ(nLocks + 1, LocksHeld());
        EXPECT_TRUE(FreqDIBWiener(hDib, NULL, 1.0, 0, 1) == NULL);
        EXPECT_EQ(nLocks + 2, LocksHeld());
        EXPECT_TRUE(FreqDIBInverse(NULL, hDib, 0, 1) == NULL);
        EXPECT_EQ(nLocks + 2, LocksHeld());
        FreeBlock(hDib);
    }
    const Bytes dib = MakeDib({9, 6, 8, RAMP, 0, 5, 0});
    g_psf = MakeDib({9, 6, 24, RAMP, 0, 5, 0});
    EXPECT_EQ("", CheckFrequency({INVERSE, 0, 0, 0, 0, 0, 0, 1}, dib, ExpectNull()));
}

TEST_F(Frequency, CodesAreSetByAllButTheSpectrum)
{
    const Bytes dib = MakeDib({9, 6, 8, RAMP, 0, 5, 0});
    const HGLOBAL hDib = NewBlock(dib);
    g_psf = dib;
    for (const FrequencyCall &c : CALLS) {
        FreeBlock(FilterGauss(hDib, MODE_DIALOG, NULL));  // without the library
        EXPECT_EQ(-1, GetLastFilterError());
        FreeBlock(MakeWatched(c, hDib));
        EXPECT_EQ(c.which == SPECTRUM ? -1 : 1, GetLastFilterError()) << c.which;
    }
    FreeBlock(hDib);
}

static Bytes g_seenWords;
static int g_nLocksInside;

static void LookAtArguments(void)
{
    g_seenWords.clear();
    for (int i = 1; i < g_dialog.nArguments; i++) {
        const UINT_PTR argument = g_dialog.arguments[i];
        const int value = argument > 1 ? *(const int *)argument : (int)argument;
        g_seenWords.insert(g_seenWords.end(), (const BYTE *)&value, (const BYTE *)(&value + 1));
    }
    g_nLocksInside = LocksHeld();
}

static Bytes WordsOf(const std::vector<int> &words)
{
    const BYTE *p = (const BYTE *)words.data();
    return Bytes(p, p + words.size() * sizeof(int));
}

static int BitsOf(float value)
{
    int bits;
    memcpy(&bits, &value, sizeof bits);
    return bits;
}

static const struct {
    FrequencyCall call, edited;  // by the dialog, which makes the cut-off 3
    const char *pEntry;
    std::vector<int> words;  // what the dialog sees
} DIALOGS[] = {
    {{LOWPASS, 9, 5, 2, 0, 0, 0, 0}, {LOWPASS, 9, 3, 2, 0, 0, 0, 0}, "FFTPASSUI", {5, 2, 9, 1}},
    {{HIGHPASS, 0, 5, 1, 0, 0, 0, 0}, {HIGHPASS, 0, 3, 1, 0, 0, 0, 0}, "FFTPASSUI", {5, 1, 0, 0}},
    {{EMPHASIS, 1, 5, 0, 1.5f, 0, 0, 0},
     {EMPHASIS, 1, 3, 0, 1.5f, 0, 0, 0},
     "FFTENHANCEUI",
     {5, BitsOf(1.5f), 1}},
    {{HOMOMORPHIC_FILTER, 4, 5, 6, 2.0f, 0.5f, 0, 0},
     {HOMOMORPHIC_FILTER, 4, 3, 6, 2.0f, 0.5f, 0, 0},
     "FFTHOMOMORPHICUI",
     {5, 6, BitsOf(2.0f), BitsOf(0.5f), 4}},
};

TEST_F(Frequency, TheDialogGetsPointersAndMayEditWhileTheImageIsLocked)
{
    const Bytes dib = MakeDib({12, 7, 8, RAMP, 0, 5, 0});
    for (const auto &row : DIALOGS) {
        for (int bDialog : {1, 2, -8}) {
            DialogScript script = GO_ON;
            script.OnCall = LookAtArguments;
            script.bRewrite = true;
            script.nValue = 3;
            SetDialogs(script);
            g_bDialog = bDialog;
            const int nLocks = LocksHeld();
            EXPECT_EQ("", CheckFrequency(row.call, dib, Want(row.edited, dib))) << row.pEntry;
            EXPECT_EQ(1, g_dialog.nCalls);
            EXPECT_STREQ(row.pEntry, g_dialog.pEntry);
            EXPECT_EQ(WordsOf(row.words), g_seenWords) << row.pEntry;
            EXPECT_EQ(nLocks + 1, g_nLocksInside);
            EXPECT_EQ(1, GetLastFilterError());
            EXPECT_FALSE(IsDialogLibraryLoaded());
        }
        // Cancelled, or without an entry; and the flag 0.
        DialogScript script = GO_ON;
        script.bCancel = true;
        SetDialogs(script);
        const HGLOBAL hDib = NewBlock(dib);
        const int nLocks = LocksHeld(), nBlocks = LiveBlocks();
        EXPECT_TRUE(MakeCall(row.call, hDib) == NULL);
        EXPECT_EQ(nLocks + 1, LocksHeld()) << "kept: the image stays locked";
        EXPECT_EQ(nBlocks, LiveBlocks());
        FreeBlock(hDib);
        ResetHost();
        EXPECT_EQ("", CheckFrequency(row.call, dib, Want(row.call, dib))) << row.pEntry;
        EXPECT_EQ(-1, GetLastFilterError());
        g_bDialog = 0;
        SetDialogs(GO_ON);
        EXPECT_EQ("", CheckFrequency(row.call, dib, Want(row.call, dib))) << row.pEntry;
        EXPECT_EQ(0, g_dialog.nCalls);
        EXPECT_EQ(1, GetLastFilterError());
    }
}

TEST_F(Frequency, AGainIsTestedBeforeTheDialogAndLimitedAfterIt)
{
    const Bytes dib = MakeDib({12, 7, 8, RAMP, 0, 5, 0});
    SetDialogs(GO_ON);
    g_bDialog = 1;
    EXPECT_EQ("", CheckFrequency({EMPHASIS, 0, 3, 0, 0.99f, 0, 0, 0}, dib, ExpectNull()));
    EXPECT_EQ(0, g_dialog.nCalls);
    DialogScript script = GO_ON;
    script.OnCall = [] { *(float *)g_dialog.arguments[2] = 9.0f; };
    SetDialogs(script);
    const FrequencyCall edited = {EMPHASIS, 0, 3, 0, 2.0f, 0, 0, 0};
    EXPECT_EQ("", CheckFrequency({EMPHASIS, 0, 3, 0, 1.0f, 0, 0, 0}, dib, Want(edited, dib)));
    g_bDialog = 0;
}
