// See host.h: on Linux, over the test bench.

#include "host.h"

#include "platform/posix/headless.h"
#include "platform/posix/testing.h"

static HWND g_hDialog;

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

static const char *const ENTRY_NAMES[] = {
    "LaplaceUI",       "GradientUI",        "EnhanceUI",        "UniformUI",
    "GaussUI",         "ARITHUI",           "ARITHCONSTUI",     "AUTOCONTRASTUI",
    "PARABOLAUI",      "SOLARIZINGUI",      "POSTERIZINGUI",    "LEVELSUI",
    "AUTOLEVELSUI",    "DIFFERENCEUI",      "HistSlideUI",      "HistStretchUI",
    "ThresholdUI",     "HistTransformUI",   "MinimumFilterUI",  "MaximumFilterUI",
    "MedianFilterUI",  "MidpointFilterUI",  "RangeFilterUI",    "AlphaFilterUI",
    "WMedianFilterUI", "GeometricFilterUI", "HarmonicFilterUI", "ContraFilterUI",
    "YpFilterUI",      "WMeanFilterUI",     "ADWMTMUI",         "AMMSEUI"};

// A parameter dialog does not learn its own name: one function for each name and number of
// arguments.
template <int NAME, typename... ARGUMENTS> static int WINAPI Entry(ARGUMENTS... arguments)
{
    const UINT_PTR all[] = {arguments...};
    return AnswerDialog(ENTRY_NAMES[NAME], all, sizeof...(arguments));
}

template <int NAME, typename... ARGUMENTS> static TestEntry EntryOf(void)
{
    return {ENTRY_NAMES[NAME], (FARPROC)(AnyFunction)Entry<NAME, ARGUMENTS...>};
}

void SetDialogs(const DialogScript &script)
{
    typedef UINT_PTR A;
    static const TestEntry ENTRIES[] = {
        EntryOf<0, A, A>(),        EntryOf<1, A, A>(),     EntryOf<2, A>(),
        EntryOf<3, A>(),           EntryOf<4, A>(),        EntryOf<5, A, A, A>(),
        EntryOf<6, A, A, A>(),     EntryOf<7, A>(),        EntryOf<8, A, A>(),
        EntryOf<9, A, A>(),        EntryOf<10, A, A>(),    EntryOf<11, A, A, A, A, A, A, A>(),
        EntryOf<12, A, A>(),       EntryOf<13, A, A>(),    EntryOf<14, A, A, A, A>(),
        EntryOf<15, A, A, A, A>(), EntryOf<16, A, A>(),    EntryOf<17, A, A>(),
        EntryOf<18, A, A>(),       EntryOf<19, A, A>(),    EntryOf<20, A, A>(),
        EntryOf<21, A, A>(),       EntryOf<22, A, A>(),    EntryOf<23, A, A>(),
        EntryOf<24, A, A>(),       EntryOf<25, A, A>(),    EntryOf<26, A, A>(),
        EntryOf<27, A, A, A>(),    EntryOf<28, A, A, A>(), EntryOf<29, A, A>(),
        EntryOf<30, A, A, A, A>(), EntryOf<31, A, A, A>(),
    };
    g_dialog = script;
    TestClearDialogLibrary();
    if (script.bLibrary) {
        TestSetDialogLibrary(script.bEntry ? ENTRIES : NULL, sizeof ENTRIES / sizeof *ENTRIES);
    }
}

bool IsDialogLibraryLoaded(void)
{
    return TestLoadedLibraries() != 0;
}

static void NoteDialog(HWND hDialog, int, int, void *)
{
    g_hDialog = hDialog;
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
    TestCancelAtStep(0);
    g_dialog = DialogScript();
}
