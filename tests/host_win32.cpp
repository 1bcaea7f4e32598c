// See host.h: on Windows. The DLL's import table leads its allocations, locks and dialogs through
// functions of ours; a hook sees the messages that are sent to the progress bar; the parameter
// dialogs are in a real library, dialogs_stub.cpp, which is put beside the DLL or taken away.

#include "host.h"

#include "host_win32.h"

#include <commctrl.h>

#include <algorithm>
#include <atomic>

#include <stdlib.h>
#include <string.h>

enum { PROGRESS_BAR_ID = 1000 };

static const char COLOUR_LIBRARY[] = "VexaImage.dll";
static const char STUB[] = "VexaDlgsStub.dll";
static const char DIALOG_LIBRARY[] = "VexaDlgs.dll";

static std::atomic<int> g_nLive, g_nLocks, g_nTried, g_nFailAllocation, g_nFailLock;
static bool g_bFailDialogs, g_bHideColours;
static unsigned g_nSeconds;
static int g_nCancelAt, g_nSteps, g_nRange, g_nDialogs, g_nPostAt, g_nMoves;
static HWND g_hDialog, g_hPostTo;
static void (*g_AtOpening)(void);
static HCURSOR g_hCursor;

struct WatchedBlock {
    HGLOBAL hBlock;
    size_t nBytes;
};
static bool g_bWatching;
static std::vector<WatchedBlock> g_watched;

std::vector<std::string> g_loaded;
bool g_bOwnerDisabledAtDestroy;

// ---- what the DLL calls instead of the system ---------------------------------------------------

static bool IsDue(std::atomic<int> *pCallsLeft)
{
    return *pCallsLeft > 0 && (*pCallsLeft)-- == 1;
}

static bool AllocationFails(void)
{
    g_nTried++;
    return IsDue(&g_nFailAllocation);
}

// Fixed blocks are the records of threads, which the system starts and ends when it likes: they are
// left out.
static HGLOBAL WINAPI CountedGlobalAlloc(UINT flags, SIZE_T nBytes)
{
    if (!(flags & GMEM_MOVEABLE)) {
        return GlobalAlloc(flags, nBytes);
    }
    const HGLOBAL hBlock = AllocationFails() ? NULL : GlobalAlloc(flags, nBytes);
    g_nLive += hBlock != NULL;
    if (g_bWatching && hBlock != NULL) {
        g_watched.push_back({hBlock, nBytes});
    }
    return hBlock;
}

static HGLOBAL WINAPI CountedGlobalFree(HGLOBAL hBlock)
{
    if (g_bWatching) {
        g_watched.erase(
            std::remove_if(g_watched.begin(), g_watched.end(),
                           [=](const WatchedBlock &watched) { return watched.hBlock == hBlock; }),
            g_watched.end());
    }
    const bool bMovable = hBlock != NULL && GlobalLock(hBlock) != hBlock;
    if (bMovable) {
        GlobalUnlock(hBlock);
    }
    g_nLive -= bMovable;
    return GlobalFree(hBlock);
}

static void *CountedCalloc(size_t nCount, size_t nSize)
{
    void *pBlock = AllocationFails() ? NULL : calloc(nCount, nSize);
    g_nLive += pBlock != NULL;
    return pBlock;
}

static void CountedFree(void *pBlock)
{
    g_nLive -= pBlock != NULL;
    free(pBlock);
}

static LPVOID WINAPI CountedGlobalLock(HGLOBAL hBlock)
{
    LPVOID pBytes = IsDue(&g_nFailLock) ? NULL : GlobalLock(hBlock);
    g_nLocks += pBytes != NULL;
    return pBytes;
}

static BOOL WINAPI CountedGlobalUnlock(HGLOBAL hBlock)
{
    g_nLocks--;
    return GlobalUnlock(hBlock);
}

// Under Wine each change of the real one costs more than a whole filter call on a small picture.
static HCURSOR WINAPI WatchedSetCursor(HCURSOR hCursor)
{
    const HCURSOR hPrevious = g_hCursor;
    g_hCursor = hCursor;
    return hPrevious;
}

static HWND WINAPI WatchedCreateDialogParamA(HINSTANCE hInstance, LPCSTR pName, HWND hParent,
                                             DLGPROC proc, LPARAM lParam)
{
    return g_bFailDialogs ? NULL : CreateDialogParamA(hInstance, pName, hParent, proc, lParam);
}

static FARPROC WINAPI WatchedGetProcAddress(HMODULE hModule, LPCSTR pName)
{
    if (hModule == GetModuleHandleA(COLOUR_LIBRARY)) {
        return GetProcAddress(hModule, pName);
    }
    g_dialog.pEntry = pName;
    return g_dialog.bEntry ? GetProcAddress(hModule, pName) : NULL;
}

static HMODULE WINAPI WatchedLoadLibraryA(LPCSTR pPath)
{
    g_loaded.push_back(pPath);
    return g_bHideColours && strcmp(pPath, COLOUR_LIBRARY) == 0 ? NULL : LoadLibraryA(pPath);
}

static __time32_t PinnedTime(__time32_t *pTime)
{
    if (pTime != NULL) {
        *pTime = (__time32_t)g_nSeconds;
    }
    return (__time32_t)g_nSeconds;
}

typedef void (*AnyFunction)(void);

static const struct {
    const char *pName;
    AnyFunction function;
} REPLACED[] = {{"GlobalAlloc", (AnyFunction)CountedGlobalAlloc},
                {"GlobalFree", (AnyFunction)CountedGlobalFree},
                {"GlobalLock", (AnyFunction)CountedGlobalLock},
                {"GlobalUnlock", (AnyFunction)CountedGlobalUnlock},
                {"calloc", (AnyFunction)CountedCalloc},
                {"free", (AnyFunction)CountedFree},
                {"SetCursor", (AnyFunction)WatchedSetCursor},
                {"CreateDialogParamA", (AnyFunction)WatchedCreateDialogParamA},
                {"LoadLibraryA", (AnyFunction)WatchedLoadLibraryA},
                {"time", (AnyFunction)PinnedTime},
                {"GetProcAddress", (AnyFunction)WatchedGetProcAddress}};

// Writes our functions over the imports of these names.
static int ReplaceImports(BYTE *pModule)
{
    const IMAGE_NT_HEADERS *pHeaders =
        (IMAGE_NT_HEADERS *)(void *)(pModule + ((IMAGE_DOS_HEADER *)(void *)pModule)->e_lfanew);
    const DWORD nImports =
        pHeaders->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    int nReplaced = 0;
    for (IMAGE_IMPORT_DESCRIPTOR *pImport = (IMAGE_IMPORT_DESCRIPTOR *)(void *)(pModule + nImports);
         pImport->Name != 0; pImport++) {
        const DWORD *pNames = (DWORD *)(void *)(pModule + pImport->OriginalFirstThunk);
        AnyFunction *pFunctions = (AnyFunction *)(void *)(pModule + pImport->FirstThunk);
        for (; *pNames != 0; pNames++, pFunctions++) {
            const char *pName = (char *)pModule + *pNames + 2;
            for (const auto &replaced : REPLACED) {
                DWORD nProtection;
                if (strcmp(pName, replaced.pName) == 0) {
                    VirtualProtect(pFunctions, sizeof *pFunctions, PAGE_READWRITE, &nProtection);
                    *pFunctions = replaced.function;
                    VirtualProtect(pFunctions, sizeof *pFunctions, nProtection, &nProtection);
                    nReplaced++;
                }
            }
        }
    }
    return nReplaced;
}

// ---- the messages sent to the bar ---------------------------------------------------------------

static LRESULT CALLBACK OnSentMessage(int nCode, WPARAM wParam, LPARAM lParam)
{
    const CWPSTRUCT *pSent = (CWPSTRUCT *)lParam;
    const bool bRange = pSent->message == PBM_SETRANGE32;
    if (pSent->message == WM_DESTROY && pSent->hwnd == g_hDialog) {
        g_bOwnerDisabledAtDestroy = !IsWindowEnabled(GetWindow(g_hDialog, GW_OWNER));
    }
    if ((bRange || pSent->message == PBM_STEPIT) && GetDlgCtrlID(pSent->hwnd) == PROGRESS_BAR_ID) {
        if (bRange) {
            g_hDialog = GetParent(pSent->hwnd);
            g_nRange = (int)pSent->lParam;
            g_nDialogs++;
        } else {
            g_nSteps++;
            g_nMoves++;
        }
        if (g_nPostAt == g_nMoves + 1) {
            g_nPostAt = 0;
            PostMessageA(g_hPostTo, WM_APP, 0, 0);
        }
        if (g_nCancelAt == g_nSteps + 1) {
            g_nCancelAt = 0;
            PostMessageA(g_hDialog, WM_COMMAND, IDCANCEL, (LPARAM)GetDlgItem(g_hDialog, IDCANCEL));
        }
    }
    return CallNextHookEx(NULL, nCode, wParam, lParam);
}

// ---- blocks -------------------------------------------------------------------------------------

void NoteNewBlock(void)
{
    g_nLive++;
}

void FreeBlock(HGLOBAL hBlock)
{
    g_nLive -= hBlock != NULL;
    GlobalFree(hBlock);
}

int LiveBlocks(void)
{
    return g_nLive;
}

int LocksHeld(void)
{
    return g_nLocks;
}

void WatchBlocks(void)
{
    g_watched.clear();
    g_bWatching = true;
}

std::vector<size_t> FreeKeptBlocks(HGLOBAL hKeep)
{
    std::vector<size_t> sizes;
    g_bWatching = false;
    for (const WatchedBlock &watched : g_watched) {
        if (watched.hBlock != hKeep) {
            sizes.push_back(watched.nBytes);
            FreeBlock(watched.hBlock);
        }
    }
    return sizes;
}

void FailAllocation(int nth)
{
    g_nFailAllocation = nth;
    g_nTried = 0;
}

int AllocationsTried(void)
{
    return g_nTried;
}

void FailLock(int nth)
{
    g_nFailLock = nth;
}

// ---- dialogs ------------------------------------------------------------------------------------

extern "C" __declspec(dllexport) int AnswerStub(const UINT_PTR *pArguments, int nArguments);

// Called by the stub, which does not tell its entries apart: the name is the one asked for.
int AnswerStub(const UINT_PTR *pArguments, int nArguments)
{
    return AnswerDialog(g_dialog.pEntry, pArguments, nArguments);
}

void SetDialogs(const DialogScript &script)
{
    g_dialog = script;
    if (script.bLibrary) {
        CopyFileA(STUB, DIALOG_LIBRARY, FALSE);
    } else {
        DeleteFileA(DIALOG_LIBRARY);
    }
}

bool IsDialogLibraryLoaded(void)
{
    return GetModuleHandleA(DIALOG_LIBRARY) != NULL;
}

void HideColours(bool bHide)
{
    g_bHideColours = bHide;
}

void PinClock(unsigned nSeconds)
{
    g_nSeconds = nSeconds;
}

void CancelAtStep(int nth)
{
    g_nCancelAt = nth;
    g_nSteps = 0;
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

int StepsSeen(void)
{
    return g_nSteps;
}

int LastRange(void)
{
    return g_nRange;
}

int DialogsOpened(void)
{
    return g_nDialogs;
}

HCURSOR ShownCursor(void)
{
    return g_hCursor;
}

void SetShownCursor(HCURSOR hCursor)
{
    g_hCursor = hCursor;
}

HWND OpenDialog(void)
{
    return IsWindow(g_hDialog) ? g_hDialog : NULL;
}

void FailDialogs(bool bFail)
{
    g_bFailDialogs = bFail;
}

// ---- windows ------------------------------------------------------------------------------------

static LRESULT CALLBACK HostWindowProc(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam)
{
    void (*OnMessage)(HWND) = (void (*)(HWND))GetWindowLongPtrA(hWnd, GWLP_USERDATA);
    if (message == WM_APP && OnMessage != NULL) {
        OnMessage(hWnd);
    }
    if (message == WM_ENABLE && !wParam && g_AtOpening != NULL) {
        void (*const Run)(void) = g_AtOpening;
        g_AtOpening = NULL;
        Run();
    }
    return DefWindowProcA(hWnd, message, wParam, lParam);
}

const int DIALOG_TURNS = 1;

HWND NewWindow(void (*OnMessage)(HWND))
{
    const HWND hWnd = CreateWindowA("VexaTestHost", "host", WS_OVERLAPPEDWINDOW, 0, 0, 200, 100,
                                    NULL, NULL, GetModuleHandleA(NULL), NULL);
    SetWindowLongPtrA(hWnd, GWLP_USERDATA, (LONG_PTR)OnMessage);
    return hWnd;
}

HWND NewCanvasWindow(int width, int height)
{
    const HWND hWnd = CreateWindowA("VexaTestCanvas", "canvas", WS_POPUP | WS_VISIBLE, 0, 0, width,
                                    height, NULL, NULL, GetModuleHandleA(NULL), NULL);
    const HDC hdc = GetDC(hWnd);
    PatBlt(hdc, 0, 0, width, height, BLACKNESS);
    ReleaseDC(hWnd, hdc);
    InvalidateRect(hWnd, NULL, TRUE);
    return hWnd;
}

std::vector<bool> ReadCanvasWindow(HWND hWnd)
{
    RECT client;
    GetClientRect(hWnd, &client);
    std::vector<bool> white;
    const HDC hdc = GetDC(hWnd);
    for (int y = 0; y < client.bottom; y++) {
        for (int x = 0; x < client.right; x++) {
            white.push_back(GetPixel(hdc, x, y) == RGB(255, 255, 255));
        }
    }
    ReleaseDC(hWnd, hdc);
    return white;
}

void StartHost(void)
{
    WNDCLASSA wndClass = {};
    wndClass.lpfnWndProc = DefWindowProcA;
    wndClass.hInstance = GetModuleHandleA(NULL);
    wndClass.lpszClassName = "VexaTestCanvas";
    wndClass.hbrBackground = (HBRUSH)GetStockObject(BLACK_BRUSH);
    RegisterClassA(&wndClass);
    wndClass.hbrBackground = NULL;
    wndClass.lpfnWndProc = HostWindowProc;
    wndClass.hInstance = GetModuleHandleA(NULL);
    wndClass.lpszClassName = "VexaTestHost";
    RegisterClassA(&wndClass);
    SetWindowsHookExA(WH_CALLWNDPROC, OnSentMessage, NULL, GetCurrentThreadId());
    const int nExpected = (int)(sizeof REPLACED / sizeof *REPLACED);
    if (ReplaceImports((BYTE *)GetModuleHandleA("VexaFilter.dll")) != nExpected) {
        abort();  // counts would mean nothing
    }
}

void ResetHost(void)
{
    FailAllocation(0);
    FailLock(0);
    FailDialogs(false);
    CancelAtStep(0);
    PostAtStep(0, NULL);
    RunAtOpening(NULL);
    HideColours(false);
    PinClock(PINNED_SECONDS);
    SetDialogs(DialogScript());
    g_loaded.clear();
}
