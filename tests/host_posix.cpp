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

// A parameter dialog does not learn its own name: one function for each.
template <int INDEX> static int WINAPI PlainEntry(UINT_PTR first)
{
    return AnswerDialog(FILTERS[INDEX].pEntry, first, 0);
}

template <int INDEX> static int WINAPI KernelEntry(UINT_PTR first, UINT_PTR second)
{
    return AnswerDialog(FILTERS[INDEX].pEntry, first, second);
}

void SetDialogs(const DialogScript &script)
{
    static const TestEntry ENTRIES[] = {{"LaplaceUI", (FARPROC)(AnyFunction)KernelEntry<0>},
                                        {"GradientUI", (FARPROC)(AnyFunction)KernelEntry<1>},
                                        {"EnhanceUI", (FARPROC)(AnyFunction)PlainEntry<2>},
                                        {"UniformUI", (FARPROC)(AnyFunction)PlainEntry<3>},
                                        {"GaussUI", (FARPROC)(AnyFunction)PlainEntry<4>}};
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
