// See host.h: on Linux, over the test bench.

#include "exports.h"
#include "host.h"

#include "platform/posix/headless.h"
#include "platform/posix/testing.h"

#include <utility>

static HWND g_hDialog, g_hPostTo;
static int g_nPostAt, g_nMoves;
static void (*g_AtOpening)(void);

// The test bench sees every block.
void NoteNewBlock(void)
{
}

void FreeBlock(HGLOBAL hBlock)
{
    GlobalFree(hBlock);
}

int LiveBlocks(void)
{
    return TestLiveGlobalBlocks() + TestLiveWorkBlocks();
}

int LocksHeld(void)
{
    return TestLocksHeld();
}

static HGLOBAL g_hMark;

void WatchBlocks(void)
{
    g_hMark = LatestGlobalBlock();
}

std::vector<size_t> FreeKeptBlocks(HGLOBAL hKeep)
{
    std::vector<size_t> sizes;
    for (HGLOBAL h = NextGlobalBlock(g_hMark); h != NULL; h = NextGlobalBlock(h)) {
        if (h != hKeep) {
            sizes.push_back(GlobalSize(h));
            GlobalFree(h);
        }
    }
    return sizes;
}

void FailAllocation(int nth)
{
    TestFailAllocation(nth);
}

int AllocationsTried(void)
{
    return TestAllocationsAttempted();
}

void FailLock(int nth)
{
    TestFailLock(nth);
}

// ---- dialogs ------------------------------------------------------------------------------------

typedef void (*AnyFunction)(void);

// A parameter dialog does not learn its own name: one function for each export.
template <size_t> using Argument = UINT_PTR;

template <size_t EXPORT, size_t... ARGUMENTS>
static int WINAPI Entry(Argument<ARGUMENTS>... arguments)
{
    const UINT_PTR all[] = {arguments...};
    return AnswerDialog(EXPORTS[EXPORT].pEntry, all, sizeof...(arguments));
}

template <size_t EXPORT, size_t... ARGUMENTS>
static TestEntry EntryOf(std::index_sequence<ARGUMENTS...>)
{
    return {EXPORTS[EXPORT].pEntry, (FARPROC)(AnyFunction)Entry<EXPORT, ARGUMENTS...>};
}

template <size_t... NUMBERS>
static std::vector<TestEntry> AllEntries(std::index_sequence<NUMBERS...>)
{
    return {
        EntryOf<NUMBERS>(std::make_index_sequence<(size_t)EXPORTS[NUMBERS].nDialogArguments>())...};
}

void SetDialogs(const DialogScript &script)
{
    static const std::vector<TestEntry> ENTRIES =
        AllEntries(std::make_index_sequence<std::size(EXPORTS)>());
    g_dialog = script;
    TestClearDialogLibrary();
    if (script.bLibrary) {
        TestSetDialogLibrary(script.bEntry ? ENTRIES.data() : NULL, (int)ENTRIES.size());
    }
}

bool IsDialogLibraryLoaded(void)
{
    return TestLoadedLibraries() != 0;
}

void HideColours(bool bHide)
{
    TestHideLibrary(bHide ? "VexaImage.dll" : NULL);
}

void PinClock(unsigned nSeconds)
{
    TestPinClock(0, nSeconds);
}

// Called for the range of a new bar, then for each step.
static void NoteDialog(HWND hDialog, int, int, void *)
{
    if (hDialog == g_hDialog) {
        g_nMoves++;
    } else if (g_AtOpening != NULL) {
        void (*const Run)(void) = g_AtOpening;
        g_AtOpening = NULL;
        Run();
    }
    g_hDialog = hDialog;
    if (g_nPostAt == g_nMoves + 1) {
        g_nPostAt = 0;
        PostMessageA(g_hPostTo, WM_APP, 0, 0);
    }
}

void PostAtStep(int nth, HWND hWnd)
{
    g_nPostAt = nth;
    g_nMoves = 0;
    g_hPostTo = hWnd;
}

void RunAtOpening(void (*Run)(void))
{
    g_AtOpening = Run;
}

void CancelAtStep(int nth)
{
    TestCancelAtStep(nth);
}

int StepsSeen(void)
{
    return TestStepsSeen();
}

int LastRange(void)
{
    return TestLastRange();
}

int DialogsOpened(void)
{
    return TestDialogsOpened();
}

HCURSOR ShownCursor(void)
{
    return GetCursor();
}

void SetShownCursor(HCURSOR hCursor)
{
    SetCursor(hCursor);
}

HWND OpenDialog(void)
{
    return IsWindow(g_hDialog) ? g_hDialog : NULL;
}

void FailDialogs(bool bFail)
{
    TestFailDialogs(bFail);
}

// ---- windows ------------------------------------------------------------------------------------

static void OnWindowMessage(HWND hWnd, UINT message, WPARAM, LPARAM, void *pContext)
{
    void (*OnMessage)(HWND) = (void (*)(HWND))pContext;
    if (message == WM_APP && OnMessage != NULL) {
        OnMessage(hWnd);
    }
}

const int DIALOG_TURNS = 30;

// The bitmap of the canvas window; the tests have one at a time.
static HBITMAP g_hCanvas;
static const BYTE *g_pCanvas;
static int g_nCanvasWidth, g_nCanvasHeight;

HWND NewCanvasWindow(int width, int height)
{
    BITMAPINFO info = {};
    void *bits = NULL;
    info.bmiHeader = {40, width, -height, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
    const HWND hWnd = CreatePlainWindow();
    DeleteObject(g_hCanvas);
    g_hCanvas = CreateDIBSection(NULL, &info, DIB_RGB_COLORS, &bits, NULL, 0);
    g_pCanvas = (const BYTE *)bits;
    g_nCanvasWidth = width;
    g_nCanvasHeight = height;
    SetPlainWindowBitmap(hWnd, g_hCanvas);
    return hWnd;
}

std::vector<bool> ReadCanvasWindow(HWND)
{
    std::vector<bool> white;
    for (int y = 0; y < g_nCanvasHeight; y++) {
        for (int x = 0; x < g_nCanvasWidth; x++) {
            white.push_back(g_pCanvas[(g_nCanvasWidth * 3 + 3) / 4 * 4 * y + x * 3] == 255);
        }
    }
    return white;
}

HWND NewWindow(void (*OnMessage)(HWND))
{
    const HWND hWnd = CreatePlainWindow();
    SetPlainWindowProc(hWnd, OnWindowMessage, (void *)OnMessage);
    return hWnd;
}

void StartHost(void)
{
    SetProgressObserver(NoteDialog, NULL);
}

void ResetHost(void)
{
    TestReset();
    PinClock(PINNED_SECONDS);
    PostAtStep(0, NULL);
    RunAtOpening(NULL);
    g_dialog = DialogScript();
}
