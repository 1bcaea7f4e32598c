// See fuzz_host.h. Linked to the library's parts, so that the level can be chosen.

#include "fuzz_host.h"

#include "frame/thread_state.h"
#include "library/kernels.h"
#include "platform/cpu.h"
#include "platform/posix/headless.h"
#include "platform/posix/testing.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <initializer_list>

enum { LARGEST_BLOCK = 1 << 15, LARGEST_TALL_BLOCK = 1 << 19, NUMBERS = 8, LEVELS = 2 };

Scene g_scene;
static const FuzzExport *g_pExport;
static const uint8_t *g_pInput;
static size_t g_nInput;
static int g_numbers[NUMBERS];
static size_t g_nNumbersTaken;
static uint32_t g_nFault, g_nCancel, g_nFlags;  // what the host does meanwhile

void Require(bool bTrue, const char *pFault)
{
    if (!bTrue) {
        fprintf(stderr, "%s: %s\n", g_pExport->pName, pFault);
        abort();
    }
}

// ---- numbers ------------------------------------------------------------------------------------

// The next number of so many bytes; past the end all bytes are 0.
static uint32_t Take(size_t nBytes)
{
    uint32_t value = 0;
    for (size_t i = 0; i < nBytes && g_nInput > 0; i++, g_nInput--) {
        value |= (uint32_t)*g_pInput++ << (8 * i);
    }
    return value;
}

// The limits break sums and products of other libraries, or are near this one's own.
static int TakeNumber(void)
{
    static const uint32_t LIMITS[32] = {
        0xffffffff, 0xfffffffe, 0x80000000, 0x80000001, 0x7fffffff, 0x7ffffffe, 0x0aaaaaab,
        0x15555556, 0x20000000, 0x40000000, 0x00010001, 65536,      65535,      46341,
        46340,      32768,      16384,      4097,       4096,       1024,       1023,
        300,        257,        256,        255,        254,        128,        127,
        100,        99,         31,         30};
    const uint32_t n = Take(1);
    return (int)(n < 112 ? n % 16 : n < 160 ? n - 96 : n < 224 ? LIMITS[n % 32] : Take(4));
}

int NextNumber(void)
{
    return g_numbers[g_nNumbersTaken++ % NUMBERS];
}

uint8_t InputByte(size_t index)
{
    return g_nInput == 0 ? (uint8_t)(index * 37) : g_pInput[index % g_nInput];
}

// ---- images -------------------------------------------------------------------------------------

// Fields in the usual ranges, each replaced by any value now and then.
static BITMAPINFOHEADER TakeHeader(void)
{
    static const WORD BITS[8] = {1, 8, 24, 8, 8, 24, 4, 4};
    const uint32_t hostile = Take(1) & Take(1);
    const uint32_t shape = Take(1) % 8;  // below 4: wide or high, or tiny
    const LONG nLong = (LONG)(1 + Take(2) % (shape < 2 ? 1000 : shape < 4 ? 9 : 64));
    const LONG nShort = (LONG)(1 + Take(1) % (shape < 4 ? 9 : 64));
    BITMAPINFOHEADER header = {};
    header.biSize = hostile & 1 ? (DWORD)TakeNumber() : 40;
    header.biWidth = hostile & 2 ? TakeNumber() : shape % 2 ? nLong : nShort;
    header.biHeight = hostile & 4 ? TakeNumber() : shape % 2 ? nShort : nLong;
    header.biPlanes = (WORD)(hostile & 8 ? TakeNumber() : 1);
    header.biBitCount = hostile & 16 ? (WORD)Take(2) : BITS[Take(1) % 8];
    header.biCompression = hostile & 32 ? (DWORD)TakeNumber() : 0;
    header.biSizeImage = (DWORD)TakeNumber();
    header.biXPelsPerMeter = header.biYPelsPerMeter = -1;
    header.biClrUsed = hostile & 64 ? (DWORD)TakeNumber() : Take(1) % 3 * Take(1);
    return header;
}

// What the header asks for, or a few bytes more or less; now and then a block that is locked, or
// no block at all. The rest of the input fills it.
static HGLOBAL TakeDib(const BITMAPINFOHEADER *pHeader)
{
    const uint32_t change = Take(1), fill = Take(1), kind = Take(1);
    // Some operations look at the low byte of the depth alone.
    const uint64_t nBits = fill & 8 ? pHeader->biBitCount & 255u : pHeader->biBitCount;
    const uint64_t nUsual = nBits <= 8 ? (uint64_t)1 << nBits : 0;
    const uint64_t nColors = pHeader->biClrUsed != 0 ? pHeader->biClrUsed : nUsual;
    const uint64_t stride = ((uint64_t)(uint32_t)pHeader->biWidth * nBits + 31) / 32 * 4;
    uint64_t nBytes = 40 + nColors * 4 + stride * (uint32_t)pHeader->biHeight;
    nBytes += change < 64 ? change % 8 : change > 250 ? 250 - (uint64_t)change : 0;
    if (nBytes > (change == 201 ? LARGEST_TALL_BLOCK : LARGEST_BLOCK) || change == 200) {
        nBytes = g_nInput;
    }
    const HGLOBAL hDib = GlobalAlloc(fill & 1 ? GMEM_FIXED : GMEM_MOVEABLE, (SIZE_T)nBytes);
    BYTE *pBlock = (BYTE *)GlobalLock(hDib);
    for (uint64_t i = 0; i < nBytes; i++) {
        // A gray ramp in the table, every second time, with steps of 1 or more.
        const bool bRamp = fill & 2 && i >= 40 && i < 40 + nColors * 4;
        pBlock[i] = (BYTE)(bRamp ? (i - 40) / 4 * (1 + (fill & 4)) : InputByte((size_t)i) + fill);
    }
    if (nBytes > 0) {
        memcpy(pBlock, pHeader, nBytes < sizeof *pHeader ? (size_t)nBytes : sizeof *pHeader);
    }
    if (kind != 255) {
        GlobalUnlock(hDib);
    }
    if (kind < 252 || kind == 255) {
        return hDib;
    }
    GlobalFree(hDib);
    return kind == 254 ? NULL : kind == 253 ? (HGLOBAL)&g_scene : hDib;
}

HGLOBAL CopyOf(HGLOBAL hBlock)
{
    const void *pBlock = GlobalLock(hBlock);
    const HGLOBAL hCopy = pBlock != NULL ? GlobalAlloc(GMEM_MOVEABLE, GlobalSize(hBlock)) : NULL;
    void *pCopy = GlobalLock(hCopy);
    if (pCopy != NULL) {
        memcpy(pCopy, pBlock, GlobalSize(hBlock));
    }
    GlobalUnlock(hCopy);
    GlobalUnlock(hBlock);
    return hCopy;
}

// The same bytes; blocks of none and nulls are the same.
static bool AreSame(HGLOBAL hFirst, HGLOBAL hSecond)
{
    const size_t nBytes = GlobalSize(hFirst);
    const void *pFirst = GlobalLock(hFirst);
    const void *pSecond = GlobalLock(hSecond);
    const bool bSame =
        nBytes == GlobalSize(hSecond) && (nBytes == 0 || memcmp(pFirst, pSecond, nBytes) == 0);
    GlobalUnlock(hFirst);
    GlobalUnlock(hSecond);
    return bSame;
}

// ---- what the host does meanwhile ---------------------------------------------------------------

// The parameter dialog: every argument that is neither an image nor a selector points to a number.
// A mask keeps its sides, or loses a row.
template <typename... ARGUMENTS> static int WINAPI AnswerDialog(ARGUMENTS... arguments)
{
    int nArgument = 0;
    for (UINT_PTR argument : {arguments...}) {
        if (argument == (UINT_PTR)g_scene.hDib || argument == (UINT_PTR)g_scene.hOther ||
            argument < 4096) {
            continue;
        }
        if (++nArgument <= g_pExport->nDialogMasks) {
            FilterMask *pMask = (FilterMask *)argument;
            pMask->rows -= pMask->rows > 1;
            pMask->originRow = NextNumber();
            pMask->originColumn = NextNumber();
        } else if (g_pExport->nTraits & EDITS_A_MASK) {
            FilterMask *pMask = (FilterMask *)argument;
            pMask->elements[0][2] = pMask->elements[1][1] = (BYTE)NextNumber();
            pMask->originRow = NextNumber();
        } else {
            *(int *)argument = NextNumber();
        }
    }
    if (g_nFlags % 8 == 3) {
        GlobalFree(FilterUniform(g_scene.hDib, 0, NULL));
    }
    return g_nFlags % 8 != 4 || g_pExport->nTraits & KEPT_RESULT;
}

static void SetDialogs(void)
{
    typedef UINT_PTR A;
    typedef void (*Any)(void);
    static const Any ANSWERS[] = {NULL,
                                  (Any)AnswerDialog<A>,
                                  (Any)AnswerDialog<A, A>,
                                  (Any)AnswerDialog<A, A, A>,
                                  (Any)AnswerDialog<A, A, A, A>,
                                  (Any)AnswerDialog<A, A, A, A, A>,
                                  (Any)AnswerDialog<A, A, A, A, A, A>,
                                  (Any)AnswerDialog<A, A, A, A, A, A, A>};
    static TestEntry entry;
    entry = {g_pExport->pDialogEntry, (FARPROC)ANSWERS[g_pExport->nDialogArguments]};
    if (g_nFlags & 24) {
        TestSetDialogLibrary(&entry, g_nFlags & 16 && entry.pName != NULL ? 1 : 0);
    }
}

static bool HasPlantedFault(void)
{
    return g_nFault > 0 && g_nFault < 32;
}

static void PlantFaults(void)
{
    TestFailAllocation(g_nFault < 16 ? (int)g_nFault : 0);
    TestFailLock(g_nFault >= 16 && g_nFault < 32 ? (int)g_nFault - 15 : 0);
    TestFailDialogs(g_nFault == 32 && !(g_pExport->nTraits & KEPT_RESULT));
    TestCancelAtStep(g_nCancel < 64 ? (int)g_nCancel : 0);
    SetCursor(LoadCursorA(NULL, IDC_ARROW));
    if (g_nFlags % 8 == 1) {
        PostQuitMessage(3);
    }
}

// ---- calls --------------------------------------------------------------------------------------

// What a call may leave is cleared away.
static void ClearKept(HGLOBAL hResult, int nLocks)
{
    const FilterThreadState *pState = GetFilterThreadState();
    if (pState->hProgressDlg != NULL) {
        Require(HasPlantedFault(), "the progress dialog is open");  // 1 bit, cannot be expanded
        SendMessageA(pState->hProgressDlg, WM_COMMAND, IDCANCEL, 0);
    }
    if (TestLocksHeld() != nLocks || GetCursor() != LoadCursorA(NULL, IDC_ARROW)) {
        const bool bCancelled = g_pExport->nTraits & KEPT_LOCKS && pState->bCancelled;
        Require(hResult == NULL && (bCancelled || g_pExport->nTraits & KEEPS_PLANES),
                "a lock or the wait cursor is left");
        for (int i = 0; i < 2 && TestLocksHeld() > nLocks; i++) {
            GlobalUnlock(i == 0 ? g_scene.hDib : g_scene.hOther);
        }
    }
}

static void FreePlanes(HGLOBAL hMark, HGLOBAL hResult)
{
    for (HGLOBAL h = NextGlobalBlock(hMark); h != NULL; h = NextGlobalBlock(h)) {
        if (h != hResult) {
            GlobalFree(h);
        }
    }
}

static HGLOBAL CallAtLevel(int level, const FilterThreadState *pBefore)
{
    MSG message;
    ChooseKernels(level > 0 ? DetectCpuFeatures() : 0);
    *GetFilterThreadState() = *pBefore;
    GetFilterThreadState()->bCancelled = g_nFlags % 8 == 2;  // by the call before
    g_nNumbersTaken = 0;
    const int nBlocks = TestLiveGlobalBlocks() + TestLiveWorkBlocks();
    const int nLocks = TestLocksHeld();
    const int nWindows = TestLiveWindows();
    SetDialogs();
    PlantFaults();
    const HGLOBAL hMark = LatestGlobalBlock();
    const HGLOBAL hResult = g_pExport->Call();
    if (g_pExport->nTraits & KEEPS_PLANES) {
        FreePlanes(hMark, hResult);
    }
    TestReset();
    while (PeekMessageA(&message, NULL, 0, 0, PM_REMOVE)) {
    }
    ClearKept(hResult, nLocks);
    Require(IsWindowEnabled(g_scene.hParent), "the parent is disabled");
    Require(TestLiveWindows() == nWindows, "a window is left");
    Require(TestLocksHeld() == nLocks, "locks are left, or too few");
    Require(TestLoadedLibraries() == 0, "the dialog library is left");
    Require(TestLiveGlobalBlocks() + TestLiveWorkBlocks() == nBlocks + (hResult != NULL),
            "blocks are left, or too few");
    return hResult;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *pBytes, size_t nBytes);

int LLVMFuzzerTestOneInput(const uint8_t *pBytes, size_t nBytes)
{
    static const FilterThreadState BEFORE = *GetFilterThreadState();
    HGLOBAL results[LEVELS];
    g_pInput = pBytes;
    g_nInput = nBytes;
    g_pExport = &EXPORTS[Take(1) % EXPORT_COUNT];
    g_nFault = Take(1);
    g_nCancel = Take(1);
    g_nFlags = Take(1);
    for (int &number : g_numbers) {
        number = TakeNumber();
    }
    const UINT mode = Take(1) % 5;
    const uint32_t other = Take(1) % 8;
    const BITMAPINFOHEADER header = TakeHeader();
    const BITMAPINFOHEADER second = other == 0 ? TakeHeader() : header;
    const HGLOBAL hDib = TakeDib(&header);
    g_scene = {hDib, other == 1 ? hDib : TakeDib(&second), mode, CreatePlainWindow()};
    const HGLOBAL before[2] = {CopyOf(hDib), CopyOf(g_scene.hOther)};
    for (int level = 0; level < LEVELS; level++) {
        results[level] = CallAtLevel(level, &BEFORE);
    }
    // Levels need not allocate and lock in the same order.
    Require(HasPlantedFault() || AreSame(results[0], results[1]), "levels differ");
    Require(AreSame(before[0], hDib) && AreSame(before[1], g_scene.hOther), "a source has changed");
    GlobalFree(FilterUniform(results[0], 0, NULL));  // can be read
    for (HGLOBAL hBlock : {results[0], results[1], before[0], before[1], g_scene.hOther}) {
        GlobalFree(hBlock);
    }
    GlobalFree(other == 1 ? NULL : hDib);
    DestroyWindow(g_scene.hParent);
    return 0;
}
