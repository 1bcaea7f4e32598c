// What every export with dialogs owes to its host, in whichever call frame it runs: silence inside
// another call's progress, nothing left behind by a Cancel, a lack of memory or a window that is
// closed, and no harm from a host that draws into the picture or rewrites its header meanwhile.
// Whether the pictures are right is the business of the families' tests.

#include "exports.h"
#include "host.h"

#include <gtest/gtest.h>

#include <string.h>

#include <atomic>
#include <thread>

static const DialogScript GO_ON = {true, true, false, false, 0, NULL, 0, NULL, 0, 0};

// Every way through the drivers, gray and colour, one bit.
static const TestPicture PICTURES[] = {
    {19, 18, 8, RAMP, 0, 71, 0},      {19, 18, 8, EVEN, 0, 73, 0},  {18, 19, 8, FEW, 9, 77, 0},
    {19, 18, 8, COLOURED, 50, 74, 0}, {18, 19, 24, RAMP, 0, 75, 0}, {18, 19, 1, RAMP, 0, 76, 0}};

static const TestPicture &PictureOf(int turn)
{
    return PICTURES[(size_t)turn % std::size(PICTURES)];
}

static HWND g_hHost, g_hParent;
static void (*g_Run)(void);  // by the host's window

struct Exports : testing::Test {
    void SetUp() override
    {
        ResetHost();
        g_hHost = NewWindow([](HWND) { g_Run(); });
        g_hParent = NewWindow(NULL);
    }
    void TearDown() override
    {
        ResetHost();
        DestroyWindow(g_hHost);
        DestroyWindow(g_hParent);
    }
};

// What a silent call gives. Arithmetic would end at a Cancel that an earlier call has met.
static Expected Silent(const ExportCall &call, const Bytes &dib)
{
    const HGLOBAL hDib = NewBlock(dib);
    FilterGauss(NULL, 0, NULL);
    const HGLOBAL hResult = call.Make(hDib, 0, NULL);
    const Expected expected = hResult != NULL ? ExpectBlock(ReadBlock(hResult)) : ExpectNull();
    FreeBlock(hResult);
    FreeBlock(hDib);
    return expected;
}

static std::string CheckExport(const ExportCall &call, const Bytes &dib, UINT mode,
                               const Expected &want)
{
    const std::string fault = CheckCall(
        [&](HGLOBAL hDib) { return call.Make(hDib, mode, g_hParent); }, dib, g_hParent, want);
    return fault.empty() ? "" : std::string(call.pName) + ": " + fault;
}

static bool HasProgress(const ExportCall &call)
{
    return call.frame != FREQUENCY_FRAME;
}

// ---- Cancel and failures ------------------------------------------------------------------------

struct Traces {
    int nBlocks, nLocks;
};

static Traces Now(void)
{
    return {LiveBlocks(), LocksHeld()};
}

// "" if a call has left no more than nLocks locks.
static std::string Left(const Traces &before, int nLocks = 0)
{
    return LiveBlocks() != before.nBlocks                       ? "blocks are left, or too few"
           : LocksHeld() != before.nLocks + nLocks              ? "locks are left, or too few"
           : OpenDialog() != NULL                               ? "the progress dialog is open"
           : IsWindow(g_hParent) && !IsWindowEnabled(g_hParent) ? "the parent is disabled"
                                                                : "";
}

// Kept: when the expansion of a 1-bit image fails, the progress dialog stays open and the parent
// disabled, until the user presses Cancel.
static void CloseDialogLeftOpen(const TestPicture &picture)
{
    if (OpenDialog() != NULL && picture.bits == 1) {
        EXPECT_FALSE(IsWindowEnabled(g_hParent));
        SendMessageA(OpenDialog(), WM_COMMAND, IDCANCEL, 0);
    }
}

// Kept: a cancelled arithmetic worker leaves its inputs locked and the cursor waiting.
static int LocksKept(const ExportCall &call)
{
    return call.frame != ARITHMETIC_FRAME ? 0 : strcmp(call.pName, "ArithmeticDIB") == 0 ? 2 : 1;
}

TEST_F(Exports, CancelAtAnyStepGivesNullAndTheParentBack)
{
    for (int turn = 0; turn < DIALOG_TURNS; turn++) {
        int nCall = turn;
        for (const ExportCall &call : EXPORTS) {
            const TestPicture &picture = PictureOf(++nCall);
            const Bytes dib = WithResolutions(MakeDib(picture));
            const Expected whole = Silent(call, dib);
            if (!HasProgress(call)) {
                continue;
            }
            CancelAtStep(0);
            EXPECT_EQ("", CheckExport(call, dib, MODE_PROGRESS, whole)) << Describe(picture);
            const int nSteps = StepsSeen();
            const int nEach = DIALOG_TURNS > 1 || nSteps < 3 ? 1 : nSteps - 1;
            EXPECT_EQ(whole.bNull || call.frame == STILL_FRAME, nSteps == 0)
                << call.pName << ", " << Describe(picture);
            for (int nth = 1; nth <= nSteps; nth += nEach) {
                const HGLOBAL hDib = NewBlock(dib);
                const Traces before = Now();
                CancelAtStep(nth);
                EXPECT_TRUE(call.Make(hDib, MODE_PROGRESS, g_hParent) == NULL) << call.pName;
                EXPECT_EQ(nth - 1, StepsSeen()) << call.pName;
                EXPECT_EQ("", Left(before, LocksKept(call))) << call.pName;
                EXPECT_EQ(1, GetLastFilterError());
                FreeBlock(hDib);
            }
            CancelAtStep(0);
            EXPECT_EQ("", CheckExport(call, dib, MODE_PROGRESS, whole)) << "that is forgotten";
        }
    }
}

TEST_F(Exports, WithoutAProgressDialogNothingIsDone)
{
    FailDialogs(true);
    for (const ExportCall &call : EXPORTS) {
        const HGLOBAL hDib = NewBlock(MakeDib(PICTURES[4]));
        const Traces before = Now();
        // Kept: the histogram frame leaves its result and the source's lock.
        const int nKept = call.frame == HISTOGRAM_FRAME ? 1 : 0;
        EXPECT_TRUE(!HasProgress(call) || call.Make(hDib, MODE_PROGRESS, g_hParent) == NULL)
            << call.pName;
        EXPECT_EQ("", Left({before.nBlocks + nKept, before.nLocks}, nKept)) << call.pName;
        FreeBlock(hDib);
    }
}

TEST_F(Exports, EachAllocationAndEachLockMayFail)
{
    const UINT mode = DIALOG_TURNS > 1 ? MODE_PROGRESS : 0;
    for (const TestPicture &picture : PICTURES) {
        const Bytes dib = WithResolutions(MakeDib(picture));
        const HGLOBAL hDib = NewBlock(dib);
        for (const ExportCall &call : EXPORTS) {
            const Expected whole = Silent(call, dib);
            for (int nth = 1, bReached = 1; bReached; nth++) {
                const Traces before = Now();
                FailAllocation(nth);
                const HGLOBAL hResult = call.Make(hDib, mode, g_hParent);
                bReached = AllocationsTried() >= nth;
                FailAllocation(0);
                // The expansion to 24 bits tries a second time.
                const bool bMayFail = bReached && !(hResult != NULL && picture.palette == COLOURED);
                EXPECT_EQ("", Compare(hResult, {whole.bNull || bMayFail, whole.block, 0, 0}))
                    << call.pName << ", " << Describe(picture) << ", allocation " << nth;
                CloseDialogLeftOpen(picture);
                EXPECT_EQ("", Left(before)) << call.pName << ", " << Describe(picture);
            }
            for (int nth = 1; nth < 16; nth++) {
                const Traces before = Now();
                FailLock(nth);
                FreeBlock(call.Make(hDib, mode, g_hParent));
                FailLock(0);
                CloseDialogLeftOpen(picture);
                EXPECT_EQ("", Left(before)) << call.pName << ", " << Describe(picture);
            }
        }
        EXPECT_EQ("", FirstDifference(dib, ReadBlock(hDib)));
        FreeBlock(hDib);
    }
}

// ---- calls inside calls -------------------------------------------------------------------------

static struct {
    const ExportCall *pCall;
    const Expected *pWant;
    const Bytes *pDib;
    bool bCancelFirst;
    int nDone;
} g_inner;

static void CallInside(void)
{
    const int nShown = DialogsOpened();
    g_inner.nDone++;
    if (g_inner.bCancelFirst) {
        SendMessageA(OpenDialog(), WM_COMMAND, IDCANCEL, 0);
    }
    const HWND hOpen = OpenDialog();
    const BOOL bEnabled = IsWindowEnabled(g_hParent);
    const HGLOBAL hDib = NewBlock(*g_inner.pDib);
    const UINT both = MODE_PROGRESS | MODE_DIALOG;
    EXPECT_EQ("", Compare(g_inner.pCall->Make(hDib, both, g_hParent), *g_inner.pWant));
    EXPECT_TRUE(g_inner.pCall->Make(NULL, both, g_hParent) == NULL);
    FreeBlock(hDib);
    EXPECT_EQ(nShown, DialogsOpened()) << g_inner.pCall->pName;
    EXPECT_EQ(0, g_dialog.nCalls) << g_inner.pCall->pName;
    EXPECT_EQ(hOpen, OpenDialog()) << g_inner.pCall->pName;
    EXPECT_EQ(bEnabled, IsWindowEnabled(g_hParent)) << g_inner.pCall->pName;
}

// The outer call is one of each frame.
TEST_F(Exports, ACallInsideAnothersProgressIsSilentAndLeavesItAlone)
{
    const Bytes outerDib = WithResolutions(MakeDib(PICTURES[0]));
    size_t nTurn = 0;
    g_Run = CallInside;
    SetDialogs(GO_ON);
    for (const char *pOuter : {"FilterLaplace", "ArithmeticDIBConst", "HistDIBEqualization"}) {
        const ExportCall *pCall = EXPORTS;
        while (strcmp(pCall->pName, pOuter) != 0) {
            pCall++;
        }
        const Expected whole = Silent(*pCall, outerDib);
        for (const ExportCall &inner : EXPORTS) {
            for (bool bCancelFirst : {false, true}) {
                if (bCancelFirst &&
                    (pCall->frame == ARITHMETIC_FRAME || inner.frame == ARITHMETIC_FRAME)) {
                    continue;  // Kept: that meets the cancel flag as it is and keeps its locks.
                }
                const Bytes dib = WithResolutions(MakeDib(PICTURES[nTurn++ % std::size(PICTURES)]));
                const Expected want = Silent(inner, dib);
                g_inner = {&inner, &want, &dib, bCancelFirst, 0};
                PostAtStep(2, g_hHost);
                EXPECT_EQ("", CheckExport(*pCall, outerDib, MODE_PROGRESS,
                                          bCancelFirst ? ExpectNull() : whole))
                    << "around " << inner.pName;
                EXPECT_EQ(1, g_inner.nDone);
            }
        }
    }
}

// ---- a picture that changes meanwhile -----------------------------------------------------------

static void Draw(BYTE *pPixels, size_t nBytes, const std::atomic<bool> *pStop)
{
    for (unsigned random = 7; !*pStop;) {
        for (int i = 0; i < 1000; i++) {
            random = random * 1664525 + 1013904223;
            pPixels[(random >> 8) % nBytes] = (BYTE)(random & 1 ? 255 : random >> 24);
        }
    }
}

// Another thread draws into the picture: any result will do.
TEST_F(Exports, APictureThatChangesMeanwhileDoesNoHarm)
{
    for (const TestPicture &picture :
         {TestPicture{150, 140, 8, RAMP, 0, 81, 0}, TestPicture{150, 140, 24, RAMP, 0, 82, 0},
          TestPicture{150, 140, 8, EVEN, 0, 83, 0}}) {
        const Bytes dib = WithResolutions(MakeDib(picture));
        const HGLOBAL hDib = NewBlock(dib);
        const size_t nPixels = (size_t)140 * (picture.bits == 8 ? 152 : 452);
        std::atomic<bool> bStop(false);
        BYTE *pPixels = (BYTE *)GlobalLock(hDib) + dib.size() - nPixels;
        std::thread drawing(Draw, pPixels, nPixels, &bStop);
        for (const ExportCall &call : EXPORTS) {
            for (int i = 0; i < 6; i++) {
                const Traces before = Now();
                FreeBlock(call.Make(hDib, 0, NULL));
                EXPECT_EQ("", Left(before)) << call.pName;
            }
        }
        bStop = true;
        drawing.join();
        GlobalUnlock(hDib);
        FreeBlock(hDib);
    }
}

// ---- a host whose code runs inside the call -----------------------------------------------------

// Runs at the places where the library lets the host run, in this order: in the parameter dialog,
// while the progress dialog opens, and in a message that is let through at its first or second
// step.
enum Place { IN_DIALOG, AT_OPENING, AT_FIRST_STEP, AT_SECOND_STEP, PLACES };

static int PlacesOf(const ExportCall &call)
{
    return call.frame == STILL_FRAME ? AT_FIRST_STEP : PLACES;
}

static void RunAt(int place, void (*Run)(void))
{
    DialogScript script = GO_ON;
    g_Run = Run;
    script.OnCall = place == IN_DIALOG ? Run : NULL;
    SetDialogs(script);
    RunAtOpening(place == AT_OPENING ? Run : NULL);
    PostAtStep(place == AT_FIRST_STEP ? 1 : place == AT_SECOND_STEP ? 2 : 0, g_hHost);
}

struct Controls {
    unsigned short x87;
    unsigned mxcsr;
};

static Controls ReadControls(void)
{
    Controls c;
    __asm__ volatile("fnstcw %0\n\tstmxcsr %1" : "=m"(c.x87), "=m"(c.mxcsr));
    c.mxcsr &= ~0x3fu;  // exceptions that were met
    return c;
}

static void WriteControls(Controls c)
{
    __asm__ volatile("fnclex\n\tfldcw %0\n\tldmxcsr %1" : : "m"(c.x87), "m"(c.mxcsr));
}

// Traps on, rounding towards zero, down and up, denormals flushed.
static const Controls USUAL = {0x037f, 0x1f80};
static const Controls UNUSUAL[] = {
    {0x0f72, 0x7900}, {0x0772, 0x3900}, {0x0b72, 0x5900 | 0x8040}, {0x0272, 0x1900}};

static size_t g_nTurns;
static bool g_bOwnSeen;

// The host finds what it has left last, and leaves something else.
static void TurnControls(void)
{
    const Controls seen = ReadControls(), own = UNUSUAL[g_nTurns % std::size(UNUSUAL)];
    g_bOwnSeen &= seen.x87 == own.x87 && seen.mxcsr == own.mxcsr;
    WriteControls(UNUSUAL[++g_nTurns % std::size(UNUSUAL)]);
}

TEST_F(Exports, TheHostsFloatingPointControlsAreItsOwnAndChangeNothing)
{
    for (int turn = 0; turn < DIALOG_TURNS; turn++) {
        int nCall = 0;
        for (const ExportCall &call : EXPORTS) {
            const Bytes dib = WithResolutions(MakeDib(PictureOf(turn + nCall++)));
            const Expected whole = Silent(call, dib);
            for (int place = turn % 2; place < PlacesOf(call); place += 2) {
                const HGLOBAL hDib = NewBlock(dib);
                RunAt(place, TurnControls);
                g_nTurns = 0;
                g_bOwnSeen = true;
                WriteControls(UNUSUAL[0]);
                const HGLOBAL hResult = call.Make(hDib, MODE_PROGRESS | MODE_DIALOG, g_hParent);
                const Controls left = ReadControls();
                WriteControls(USUAL);
                EXPECT_EQ("", Compare(hResult, whole)) << call.pName << ", place " << place;
                const bool bRun = !whole.bNull && (HasProgress(call) || place == IN_DIALOG);
                EXPECT_EQ(bRun ? 1u : 0u, g_nTurns) << call.pName << ", place " << place;
                EXPECT_TRUE(g_bOwnSeen) << call.pName << ", place " << place;
                EXPECT_TRUE(left.x87 == UNUSUAL[g_nTurns].x87 &&
                            left.mxcsr == UNUSUAL[g_nTurns].mxcsr)
                    << call.pName << ", place " << place;
                FreeBlock(hDib);
            }
        }
    }
}

static HGLOBAL g_hTarget;
static BITMAPINFOHEADER g_lie;

static void RewriteHeader(void)
{
    memcpy(GlobalLock(g_hTarget), &g_lie, sizeof g_lie);
    GlobalUnlock(g_hTarget);
}

TEST_F(Exports, AHeaderRewrittenMeanwhileIsNotBelieved)
{
    void (*const LIES[])(BITMAPINFOHEADER *) = {
        [](BITMAPINFOHEADER *p) { p->biClrUsed = 16000; },
        [](BITMAPINFOHEADER *p) { p->biWidth *= 2, p->biHeight *= 2; },
        [](BITMAPINFOHEADER *p) { p->biBitCount = p->biBitCount == 24 ? 8 : 24; },
        [](BITMAPINFOHEADER *p) { p->biSize = 12, p->biWidth = -1; },
        [](BITMAPINFOHEADER *p) { p->biHeight = 0x7fffffff; }};
    for (int turn = 0; turn < DIALOG_TURNS; turn++) {
        int nCall = turn;
        for (const ExportCall &call : EXPORTS) {
            const TestPicture &picture = PictureOf(++nCall);
            const Bytes dib = WithResolutions(MakeDib(picture));
            for (int place = 0; place < PlacesOf(call); place++) {
                const size_t i = (size_t)(turn + nCall + place) % std::size(LIES);
                g_hTarget = NewBlock(dib);
                g_lie = HeaderOf(dib);
                LIES[i](&g_lie);
                RunAt(place, RewriteHeader);
                const HGLOBAL hResult =
                    call.Make(g_hTarget, MODE_PROGRESS | MODE_DIALOG, g_hParent);
                if (hResult != NULL) {
                    EXPECT_TRUE(HoldsItsImage(ReadBlock(hResult)))
                        << call.pName << ", " << Describe(picture) << ", lie " << i << ", place "
                        << place;
                    FreeBlock(hResult);
                }
                FreeBlock(g_hTarget);
            }
        }
    }
}

// Not while the dialog runs: then the image is not locked and the handle is looked at again. What
// works on a copy does not miss it.
TEST_F(Exports, AnImageFreedMeanwhileEndsTheCall)
{
    for (int turn = 0; turn < DIALOG_TURNS; turn++) {
        int nCall = turn;
        for (const ExportCall &call : EXPORTS) {
            const TestPicture &picture = PictureOf(++nCall);
            const Bytes dib = WithResolutions(MakeDib(picture));
            for (int place : {AT_OPENING, AT_SECOND_STEP}) {
                const Expected silent = Silent(call, dib);
                if (!HasProgress(call) || place >= PlacesOf(call)) {
                    continue;
                }
                g_hTarget = NewBlock(dib);
                RunAt(place, [] { FreeBlock(g_hTarget); });
                EXPECT_EQ("", Compare(call.Make(g_hTarget, MODE_PROGRESS, g_hParent),
                                      call.frame == COPY_FRAME ? silent : ExpectNull()))
                    << call.pName << ", " << Describe(picture) << ", place " << place;
                EXPECT_TRUE(OpenDialog() == NULL && IsWindowEnabled(g_hParent)) << call.pName;
                if (silent.bNull) {
                    FreeBlock(g_hTarget);
                }
            }
        }
    }
}

TEST_F(Exports, AProgressDialogDestroyedFromOutsideIsACancel)
{
    const Bytes dib = WithResolutions(MakeDib(PICTURES[4]));
    for (const ExportCall &call : EXPORTS) {
        const Expected whole = Silent(call, dib);
        if (!HasProgress(call) || PlacesOf(call) < PLACES) {
            continue;
        }
        for (int place : {AT_FIRST_STEP, AT_SECOND_STEP}) {
            const HGLOBAL hDib = NewBlock(dib);
            const Traces before = Now();
            RunAt(place, [] { DestroyWindow(OpenDialog()); });
            EXPECT_TRUE(call.Make(hDib, MODE_PROGRESS, g_hParent) == NULL) << call.pName;
            EXPECT_EQ("", Left(before, LocksKept(call))) << call.pName;
            FreeBlock(hDib);
        }
        RunAt(PLACES, NULL);
        EXPECT_EQ("", CheckExport(call, dib, MODE_PROGRESS, whole)) << "that is forgotten";
    }
}

// The progress dialog goes with the window that owns it.
TEST_F(Exports, AHostThatIsClosedMeanwhileEndsTheCall)
{
    const HGLOBAL hDib = NewBlock(MakeDib(PICTURES[4]));
    RunAt(AT_SECOND_STEP, [] { DestroyWindow(g_hParent); });
    EXPECT_TRUE(FilterGauss(hDib, MODE_PROGRESS, g_hParent) == NULL);
    EXPECT_TRUE(OpenDialog() == NULL);
    FreeBlock(hDib);
}
