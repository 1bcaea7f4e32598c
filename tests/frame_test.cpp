// The call frame as a host meets it: modes, dialogs, progress and Cancel, failures, hostile blocks,
// re-entry, threads. What all exports have in common is in exports_test.cpp.

#include "host.h"

#include <gtest/gtest.h>

#include <limits.h>
#include <stddef.h>
#include <string.h>

#include <thread>

static const DialogScript NO_LIBRARY = {};
static const DialogScript GO_ON = {true, true, false, false, 0, NULL, 0, NULL, 0, 0};

struct Frame : testing::Test {
    void SetUp() override
    {
        ResetHost();
    }
};

// ---- state --------------------------------------------------------------------------------------

TEST_F(Frame, TheVersionTextHasATerminatorOnlyWhenThereIsRoomForMore)
{
    const struct {
        int length;
        size_t nWritten;
    } rows[] = {{INT_MIN, 0}, {-1, 0}, {0, 0}, {1, 1}, {5, 5}, {13, 13}, {14, 14}, {INT_MAX, 14}};
    for (const auto &row : rows) {
        char want[20], got[20];
        memset(want, '#', sizeof want);
        memset(got, '#', sizeof got);
        memcpy(want, "Version 10.75", row.nWritten);
        GetVexaFilterVersion(got, row.length);
        EXPECT_EQ(std::string(want, sizeof want), std::string(got, sizeof got)) << row.length;
    }
}

TEST_F(Frame, TheErrorCodeIsZeroOnAFreshThreadAndBelongsToTheThread)
{
    const HGLOBAL hDib = NewBlock(MakeDib({4, 4, 24, COLOURED, 0, 1, 0}));
    FreeBlock(FilterGauss(hDib, 0, NULL));
    const int nBlocks = LiveBlocks();
    int codes[3] = {7, 7, 7};
    std::thread other([&] {
        codes[0] = GetLastFilterError();
        FreeBlock(FilterGauss(hDib, MODE_DIALOG, NULL));
        codes[1] = GetLastFilterError();
        FreeBlock(Convert8bitto24(hDib));
        FreeBlock(FilterGauss(NULL, 0, NULL));
        codes[2] = GetLastFilterError();
    });
    other.join();
    EXPECT_EQ(0, codes[0]);
    EXPECT_EQ(-1, codes[1]);
    EXPECT_EQ(1, codes[2]);
    EXPECT_EQ(1, GetLastFilterError());
    EXPECT_EQ(nBlocks, LiveBlocks()) << "a thread that ends leaves no record";
    FreeBlock(hDib);
}

// ---- modes and the parameter dialog -------------------------------------------------------------

TEST_F(Frame, TheModeIsComparedByValue)
{
    const struct {
        UINT mode;
        int nAsked, nShown;
    } rows[] = {{0, 0, 0}, {1, 0, 1}, {2, 1, 0}, {3, 1, 1},           {4, 0, 0},
                {5, 0, 0}, {6, 0, 0}, {7, 0, 0}, {0xffffffffu, 0, 0}, {0x10003, 0, 0}};
    const Bytes dib = MakeDib({7, 6, 8, RAMP, 0, 2, 0});
    for (const FilterExport &filter : FILTERS) {
        const Expected want = ExpectFilter(filter.filter, dib, 10);
        for (const auto &row : rows) {
            SetDialogs(GO_ON);
            const int nShown = DialogsOpened();
            EXPECT_EQ("", Check(filter, dib, 10, row.mode, NULL, want)) << row.mode;
            EXPECT_EQ(row.nAsked, g_dialog.nCalls) << row.mode;
            EXPECT_EQ(row.nShown, DialogsOpened() - nShown) << row.mode;
            EXPECT_EQ(1, GetLastFilterError());
        }
    }
}

TEST_F(Frame, TheParameterDialogComesFirstAndGetsTheArgumentsInTheirOrder)
{
    static int nShownBefore;
    static bool bInOrder;
    static HWND hParent;
    DialogScript script = GO_ON;
    hParent = NewWindow(NULL);
    const HGLOBAL hDib = NewBlock(MakeDib({5, 5, 24, COLOURED, 0, 3, 0}));
    script.OnCall = [] {
        // The parameter, the mode and the parent follow each other as in the export's own list.
        const struct {
            int nKernel;
            UINT mode;
            HWND hWnd;
        } *pList = (decltype(pList))g_dialog.second;
        bInOrder =
            DialogsOpened() == nShownBefore && IsDialogLibraryLoaded() &&
            (pList == NULL || (pList->nKernel == 11 && pList->mode == 3 && pList->hWnd == hParent));
    };
    for (const FilterExport &filter : FILTERS) {
        nShownBefore = DialogsOpened();
        bInOrder = false;
        SetDialogs(script);
        FreeBlock(CallFilter(filter, hDib, 11, 3, hParent));
        EXPECT_TRUE(bInOrder) << filter.pName;
        EXPECT_STREQ(filter.pEntry, g_dialog.pEntry);
        EXPECT_EQ((UINT_PTR)hDib, g_dialog.first);
        EXPECT_EQ(nShownBefore + 1, DialogsOpened());
        EXPECT_FALSE(IsDialogLibraryLoaded());
    }
    DestroyWindow(hParent);
    FreeBlock(hDib);
}

TEST_F(Frame, TheParameterDialogDecides)
{
    const struct {
        const char *pName;
        DialogScript script;
        int nKernel, nUsed;  // as handed in, as the result shows; -1: null
        int nCode;
    } rows[] = {
        {"no library", NO_LIBRARY, 10, 10, -1},
        {"no entry", {true, false, false, false, 0, NULL, 0, NULL, 0, 0}, 10, 10, -1},
        {"go on", GO_ON, 10, 10, 1},
        {"cancel", {true, true, true, false, 0, NULL, 0, NULL, 0, 0}, 10, -1, 1},
        {"another kernel", {true, true, false, true, 12, NULL, 0, NULL, 0, 0}, 10, 12, 1},
        {"a kernel in place of none",
         {true, true, false, true, 11, NULL, 0, NULL, 0, 0},
         -5,
         11,
         1},
        {"a kernel that there is not",
         {true, true, false, true, 99, NULL, 0, NULL, 0, 0},
         10,
         -1,
         1},
        {"rewritten, but cancelled", {true, true, true, true, 12, NULL, 0, NULL, 0, 0}, 10, -1, 1}};
    const Bytes dib = MakeDib({8, 5, 8, RAMP, 0, 4, 0});
    for (const auto &row : rows) {
        for (const FilterExport &filter : FILTERS) {
            const bool bKernel = filter.WithKernel != NULL;
            for (UINT mode : {2u, 3u}) {
                if (!bKernel && row.script.bRewrite) {
                    continue;
                }
                SetDialogs(row.script);
                const int nShown = DialogsOpened();
                Expected want = ExpectFilter(filter.filter, dib, row.nUsed);
                want.bNull = want.bNull || row.nUsed < 0;
                EXPECT_EQ("", Check(filter, dib, row.nKernel, mode, NULL, want)) << row.pName;
                EXPECT_EQ(row.nCode, GetLastFilterError()) << row.pName;
                EXPECT_EQ(!want.bNull && mode == 3, DialogsOpened() > nShown) << row.pName;
                EXPECT_FALSE(IsDialogLibraryLoaded());
            }
        }
    }
    EXPECT_EQ("", Check(FILTERS[GAUSS], dib, 0, 0, NULL, ExpectFilter(GAUSS, dib, 0)));
    EXPECT_EQ(1, GetLastFilterError());
}

// ---- progress -----------------------------------------------------------------------------------

TEST_F(Frame, TheBarGetsItsRangeAndItsSteps)
{
    const int sizes[][2] = {{1, 6}, {2, 1}, {3, 3},   {4, 11},  {11, 4},
                            {5, 6}, {6, 5}, {21, 16}, {16, 21}, {90, 7}};
    size_t nTurn = 0;
    for (const int *size : sizes) {
        const std::vector<TestPicture> kinds = EveryKind(size[0], size[1], 50);
        for (const FilterExport &filter : FILTERS) {
            for (int i = 0; i < 4; i++) {
                const TestPicture &picture = kinds[nTurn++ % kinds.size()];
                const Bytes dib = MakeDib(picture);
                const Expected want = ExpectFilter(filter.filter, dib, 1);
                CancelAtStep(0);
                EXPECT_EQ("", Check(filter, dib, 1, MODE_PROGRESS, NULL, want));
                EXPECT_EQ(want.nSteps, StepsSeen()) << filter.pName << ", " << Describe(picture);
                EXPECT_EQ(want.nRange, LastRange()) << filter.pName << ", " << Describe(picture);
            }
        }
    }
}

// The two drivers, gray and colour, one bit.
static const TestPicture DRIVERS[] = {{7, 11, 8, RAMP, 0, 71, 0},  {7, 11, 8, SHUFFLED, 0, 72, 0},
                                      {7, 11, 8, EVEN, 0, 73, 0},  {7, 11, 8, COLOURED, 50, 74, 0},
                                      {11, 7, 24, RAMP, 0, 75, 0}, {11, 7, 1, RAMP, 0, 76, 0},
                                      {6, 7, 8, FEW, 9, 77, 0}};

// ---- windows ------------------------------------------------------------------------------------

static struct {
    int nSeen;
    BOOL bParentEnabled, bDialogOpen, bWaiting;
    HWND hParent;
} g_pump;

static void LookAround(HWND)
{
    g_pump.nSeen++;
    g_pump.bParentEnabled = IsWindowEnabled(g_pump.hParent);
    g_pump.bDialogOpen = OpenDialog() != NULL;
    g_pump.bWaiting = ShownCursor() == LoadCursorA(NULL, IDC_WAIT);
}

TEST_F(Frame, TheParentIsDisabledWhileTheDialogIsOpenUnlessItWasBefore)
{
    const Bytes dib = MakeDib(DRIVERS[2]);
    const Expected want = ExpectFilter(UNIFORM, dib, 0);
    const HWND hHost = NewWindow(LookAround);
    const HWND hParent = NewWindow(NULL);
    for (BOOL bEnabled : {TRUE, FALSE}) {
        for (UINT mode : {1u, 3u, 0u}) {
            g_pump = {0, TRUE, FALSE, FALSE, hParent};
            EnableWindow(hParent, bEnabled);
            PostMessageA(hHost, WM_APP, 0, 0);
            EXPECT_EQ("", Check(FILTERS[UNIFORM], dib, 0, mode, hParent, want));
            EXPECT_EQ(mode != 0, g_pump.nSeen == 1) << "messages go through at a step";
            MSG message;
            PeekMessageA(&message, hHost, WM_APP, WM_APP, PM_REMOVE);
            if (mode != 0) {
                EXPECT_FALSE(g_pump.bParentEnabled);
                EXPECT_TRUE(g_pump.bDialogOpen);
                EXPECT_TRUE(g_pump.bWaiting);
            }
        }
    }
    DestroyWindow(hParent);
    DestroyWindow(hHost);
}

TEST_F(Frame, CancelEnablesTheParentAtOnce)
{
    const Bytes dib = MakeDib(DRIVERS[4]);
    const HWND hParent = NewWindow(NULL);
    const HWND hLooker = NewWindow(LookAround);
    static HWND hLater;
    hLater = hLooker;
    const HWND hHost = NewWindow([](HWND) {
        PostMessageA(OpenDialog(), WM_COMMAND, IDCANCEL, 0);
        PostMessageA(hLater, WM_APP, 0, 0);
    });
    g_pump = {0, FALSE, TRUE, FALSE, hParent};
    PostMessageA(hHost, WM_APP, 0, 0);
    EXPECT_EQ("", Check(FILTERS[GAUSS], dib, 0, MODE_PROGRESS, hParent, ExpectNull()));
    EXPECT_EQ(1, g_pump.nSeen) << "in the same round of messages";
    EXPECT_TRUE(g_pump.bParentEnabled);
    EXPECT_FALSE(g_pump.bDialogOpen);
    for (HWND hWnd : {hHost, hLooker, hParent}) {
        DestroyWindow(hWnd);
    }
}

TEST_F(Frame, AQuitMessageMetDuringACallArrivesAfterIt)
{
    for (const TestPicture &picture : DRIVERS) {
        const Bytes dib = MakeDib(picture);
        const Expected want = ExpectFilter(ENHANCE, dib, 0);
        MSG message;
        PostQuitMessage(42);
        CancelAtStep(0);
        EXPECT_EQ("", Check(FILTERS[ENHANCE], dib, 0, MODE_PROGRESS, NULL, want));
        EXPECT_EQ(want.nSteps, StepsSeen());
        ASSERT_TRUE(PeekMessageA(&message, NULL, WM_QUIT, WM_QUIT, PM_REMOVE));
        EXPECT_EQ(42u, message.wParam);
        EXPECT_FALSE(PeekMessageA(&message, NULL, WM_QUIT, WM_QUIT, PM_REMOVE)) << "once only";
    }
}

// ---- calls inside calls -------------------------------------------------------------------------

TEST_F(Frame, ACallFromTheParameterDialogLeavesTheOuterCodeAlone)
{
    const Bytes dib = MakeDib(DRIVERS[1]);
    DialogScript script = GO_ON;
    script.OnCall = [] {
        if (g_dialog.nCalls == 1) {
            const HGLOBAL hDib = NewBlock(MakeDib(DRIVERS[0]));
            DialogScript none = {};
            const DialogScript saved = g_dialog;
            SetDialogs(none);
            FreeBlock(FilterGauss(hDib, MODE_DIALOG, NULL));
            FreeBlock(hDib);
            g_dialog = saved;
        }
    };
    SetDialogs(script);
    EXPECT_EQ("", Check(FILTERS[GRADIENT], dib, 50, 3, NULL, ExpectFilter(GRADIENT, dib, 50)));
    EXPECT_EQ(1, GetLastFilterError());
}

// ---- hostile blocks -----------------------------------------------------------------------------

// A good picture with one field changed, or cut off, or both.
struct Hostile {
    const char *pName;
    int bits;
    size_t nField, nBytes;  // what is overwritten
    DWORD nValue;
    int nCut;  // bytes taken off the end; -n: only n are kept
    bool bAccepted;
};

#define FIELD(name) offsetof(BITMAPINFOHEADER, name), sizeof(BITMAPINFOHEADER::name)

static const Hostile HOSTILE[] = {
    {"a width whose 24-bit stride wraps", 24, FIELD(biWidth), 0x0aaaaaab, 0, false},
    {"the largest width", 24, FIELD(biWidth), 0x7fffffff, 0, false},
    {"the largest height", 8, FIELD(biHeight), 0x7fffffff, 0, false},
    {"gigabytes in a few bytes", 8, FIELD(biWidth), 0x20000000, 0, false},
    {"a height beyond the block", 8, FIELD(biHeight), 7, 0, false},
    {"one byte of the rows missing", 24, 0, 0, 0, 1, false},
    {"one byte of the rows missing, 8 bits", 8, 0, 0, 0, 1, false},
    {"one byte of the rows missing, 1 bit", 1, 0, 0, 0, 1, false},
    {"no rows", 8, 0, 0, 0, -1064, false},
    {"half a colour table", 8, 0, 0, 0, -500, false},
    {"a header alone", 24, 0, 0, 0, -40, false},
    {"a header less one byte", 24, 0, 0, 0, -39, false},
    {"one byte", 24, 0, 0, 0, -1, false},
    {"a negative height", 24, FIELD(biHeight), (DWORD)-6, 0, false},
    {"the smallest height", 24, FIELD(biHeight), 0x80000000, 0, false},
    {"a negative width", 8, FIELD(biWidth), (DWORD)-5, 0, false},
    {"the smallest width", 8, FIELD(biWidth), 0x80000000, 0, false},
    {"no width", 8, FIELD(biWidth), 0, 0, false},
    {"no height", 1, FIELD(biHeight), 0, 0, false},
    {"a colour table past 32 bits", 8, FIELD(biClrUsed), 0x40000000, 0, false},
    {"the largest colour table", 24, FIELD(biClrUsed), 0xffffffff, 0, false},
    {"a colour table past the block", 24, FIELD(biClrUsed), 60, 0, false},
    {"a colour table that the block holds", 8, FIELD(biClrUsed), 200, 0, true},
    {"two colours, indices past them", 8, FIELD(biClrUsed), 2, 0, true},
    {"an image size of nothing", 24, FIELD(biSizeImage), 0, 0, true},
    {"an image size too large", 8, FIELD(biSizeImage), 0xffffffff, 0, true},
    {"no planes", 8, FIELD(biPlanes), 0, 0, true},
    {"three planes", 24, FIELD(biPlanes), 3, 0, true},
    {"two planes of one bit", 1, FIELD(biPlanes), 2, 0, false},
    {"0 bits", 8, FIELD(biBitCount), 0, 0, false},
    {"2 bits", 8, FIELD(biBitCount), 2, 0, false},
    {"4 bits", 8, FIELD(biBitCount), 4, 0, false},
    {"16 bits", 24, FIELD(biBitCount), 16, 0, false},
    {"32 bits", 8, FIELD(biBitCount), 32, 0, false},
    {"8 bits in the low byte", 8, FIELD(biBitCount), 0x108, 0, false},
    {"24 bits in the low byte", 24, FIELD(biBitCount), 0xff18, 0, false},
    {"65535 bits", 1, FIELD(biBitCount), 0xffff, 0, false},
    {"8-bit runs", 8, FIELD(biCompression), 1, 0, false},
    {"4-bit runs", 8, FIELD(biCompression), 2, 0, false},
    {"bit fields", 24, FIELD(biCompression), 3, 0, false},
    {"a JPEG file", 24, FIELD(biCompression), 4, 0, false},
    {"an unknown compression", 1, FIELD(biCompression), 0x80000000, 0, false},
    {"a core header", 24, FIELD(biSize), 12, 0, false},
    {"no header size", 8, FIELD(biSize), 0, 0, false},
    {"a header of 41 bytes", 8, FIELD(biSize), 41, 0, false},
    {"a long header", 8, FIELD(biSize), 108, 0, false},
    {"a longer header", 1, FIELD(biSize), 124, 0, false},
};

static Bytes MakeHostile(const Hostile &hostile)
{
    Bytes dib = MakeDib({5, 6, hostile.bits, RAMP, 0, 80, 0});
    memcpy(&dib[hostile.nField], &hostile.nValue, hostile.nBytes);
    dib.resize(hostile.nCut >= 0 ? dib.size() - (size_t)hostile.nCut : (size_t)-hostile.nCut);
    return dib;
}

TEST_F(Frame, HostileBlocksGiveNullBeforeAnyDialogOpens)
{
    const HWND hParent = NewWindow(NULL);
    for (const Hostile &hostile : HOSTILE) {
        const Bytes dib = MakeHostile(hostile);
        for (const FilterExport &filter : FILTERS) {
            SetDialogs(GO_ON);
            const int nShown = DialogsOpened();
            const Expected want =
                hostile.bAccepted ? ExpectFilter(filter.filter, dib, 10) : ExpectNull();
            EXPECT_EQ("", Check(filter, dib, 10, 3, hParent, want)) << hostile.pName;
            EXPECT_EQ(hostile.bAccepted, g_dialog.nCalls == 1) << hostile.pName;
            EXPECT_EQ(hostile.bAccepted, DialogsOpened() > nShown) << hostile.pName;
            EXPECT_EQ(1, GetLastFilterError()) << hostile.pName;
        }
        const HGLOBAL hDib = NewBlock(dib);
        const int nBlocks = LiveBlocks();
        for (int method = -1; method < 3; method++) {
            FreeBlock(method < 0 ? Convert8bitto24(hDib)
                                 : ConvertMonoDibToGrayScale(hDib, (UINT)method));
            EXPECT_EQ(nBlocks, LiveBlocks()) << hostile.pName;
        }
        EXPECT_EQ("", FirstDifference(dib, ReadBlock(hDib))) << hostile.pName;
        FreeBlock(hDib);
    }
    DestroyWindow(hParent);
}

TEST_F(Frame, HandlesOfEveryKind)
{
    const Bytes dib = MakeDib(DRIVERS[0]);
    const HGLOBAL hFreed = NewBlock(dib);
    const HGLOBAL hEmpty = NewBlock(Bytes());
    const HGLOBAL hFixed = NewBlock(dib, GMEM_FIXED);
    const HGLOBAL hLocked = NewBlock(dib);
    FreeBlock(hFreed);
    GlobalLock(hLocked);
    for (const FilterExport &filter : FILTERS) {
        const Expected want = ExpectFilter(filter.filter, dib, 0);
        for (HGLOBAL hBad : {(HGLOBAL)NULL, hFreed, hEmpty}) {
            SetDialogs(GO_ON);
            EXPECT_TRUE(CallFilter(filter, hBad, 0, 3, NULL) == NULL) << filter.pName;
            EXPECT_EQ(0, g_dialog.nCalls);
            EXPECT_EQ(1, GetLastFilterError());
        }
        EXPECT_EQ("", Compare(CallFilter(filter, hFixed, 0, 0, NULL), want)) << filter.pName;
        EXPECT_EQ("", Compare(CallFilter(filter, hLocked, 0, 0, NULL), want)) << filter.pName;
        EXPECT_EQ(1u, GlobalFlags(hLocked) & GMEM_LOCKCOUNT);
    }
    GlobalUnlock(hLocked);
    for (HGLOBAL hBlock : {hEmpty, hFixed, hLocked}) {
        FreeBlock(hBlock);
    }
}

// Sides past 16 bits are exact; only the expansion to 24 bits counts rows and strides in 16. Header
// and colour table together end at 65535 bytes.
TEST_F(Frame, SidesPastSixteenBits)
{
    const struct {
        TestPicture picture;
        bool bNull;
    } rows[] = {
        {{3, 70000, 8, RAMP, 0, 90, 0}, false},      {{70000, 3, 8, SHUFFLED, 0, 91, 0}, false},
        {{3, 66000, 8, FEW, 0, 92, 0}, false},       {{30000, 3, 24, COLOURED, 0, 93, 0}, false},
        {{3, 70000, 24, COLOURED, 0, 94, 0}, false}, {{600000, 3, 1, RAMP, 0, 95, 0}, false},
        {{3, 70000, 1, RAMP, 0, 96, 0}, false},      {{21844, 3, 8, COLOURED, 0, 97, 0}, false},
        {{21845, 3, 8, COLOURED, 0, 98, 0}, true},   {{3, 32767, 8, COLOURED, 0, 99, 0}, false},
        {{3, 32768, 8, COLOURED, 0, 100, 0}, false}, {{3, 65535, 8, COLOURED, 0, 101, 0}, false},
        {{3, 65536, 8, COLOURED, 0, 102, 0}, true},  {{3, 65539, 8, COLOURED, 0, 103, 0}, true},
        {{4, 3, 24, RAMP, 16373, 104, 0}, false},    {{4, 3, 24, RAMP, 16374, 105, 0}, true},
        {{4, 3, 8, RAMP, 16373, 106, 0}, false},     {{4, 3, 8, RAMP, 16374, 107, 0}, true}};
    for (const auto &row : rows) {
        const Bytes dib = MakeDib(row.picture);
        for (Filter filter : {GRADIENT, GAUSS}) {
            Expected want = ExpectFilter(filter, dib, 3);
            want.bNull = row.bNull;
            EXPECT_EQ("", Check(FILTERS[filter], dib, 3, 0, NULL, want)) << Describe(row.picture);
        }
    }
}

// ---- threads ------------------------------------------------------------------------------------

TEST_F(Frame, EightThreadsAtOnceGetTheResultsOfOne)
{
    enum { THREADS = 8, ROUNDS = 7 };
    static std::vector<std::string> faults;
    faults.assign(THREADS, "");
    std::vector<std::thread> threads;
    for (unsigned n = 0; n < THREADS; n++) {
        threads.emplace_back([n] {
            for (unsigned round = 0; round < ROUNDS; round++) {
                const Bytes dib = MakeDib(DRIVERS[(n + round) % 7]);
                const UINT mode = n % 4;  // half of them ask for a dialog that is not there
                const HGLOBAL hDib = NewBlock(dib);
                for (const FilterExport &filter : FILTERS) {
                    const Expected want = ExpectFilter(filter.filter, dib, 1);
                    faults[n] += Compare(CallFilter(filter, hDib, 1, mode, NULL), want);
                    faults[n] += GetLastFilterError() != (mode >= 2 ? -1 : 1) ? "wrong code" : "";
                }
                faults[n] += ReadBlock(hDib) != dib ? "the source has changed" : "";
                FreeBlock(hDib);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    for (const std::string &fault : faults) {
        EXPECT_EQ("", fault);
    }
}

// ---- the tests themselves -----------------------------------------------------------------------

TEST(Comparison, NamesThePlaceOfAPlantedDifference)
{
    const struct {
        int bits;
        size_t nAt;
        const char *pPlace;
    } rows[] = {{24, 5, "header byte 5"},
                {8, 40 + 4 * 7 + 2, "colour entry 7, red"},
                {8, 1064 + 8 + 3, "pixel x = 3, y = 0"},
                {8, 1064 + 5, "padding byte 5 of the row y = 1"},
                {24, 40 + 16 + 4, "pixel x = 1, y = 0, green"},
                {24, 40 + 32, "spare byte 0"}};
    for (const auto &row : rows) {
        const Bytes dib = MakeDib({5, 2, row.bits, RAMP, 0, 110, 1});
        Bytes other = dib;
        other[row.nAt] ^= 1;
        EXPECT_EQ(0u, FirstDifference(dib, other).find(std::string(row.pPlace) + ": want "))
            << FirstDifference(dib, other);
        other = dib;
        other.pop_back();
        EXPECT_EQ(0u, FirstDifference(dib, other).find("block size: want "));
        EXPECT_EQ("", FirstDifference(dib, dib));
    }
}
