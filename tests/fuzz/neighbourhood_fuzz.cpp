// Fuzz target of the frame and the convolution filters: makes a DIB, honest or hostile, and
// arguments from the input, calls every export with them, and sees that the source is as it was and
// that no block, lock or dialog is left.

#include "VexaFilter.h"
#include "platform/posix/headless.h"
#include "platform/posix/testing.h"

#include <stdint.h>
#include <stdlib.h>
#include <string.h>

enum { LARGEST_BLOCK = 1 << 14 };

struct Input {
    const uint8_t *pBytes;
    size_t nBytes;
};

static HWND g_hDialog;

// The next number of so many bytes; past the end all bytes are 0.
static uint32_t Take(Input *pInput, size_t nBytes)
{
    uint32_t value = 0;
    for (size_t i = 0; i < nBytes && pInput->nBytes > 0; i++, pInput->nBytes--) {
        value |= (uint32_t)*pInput->pBytes++ << (8 * i);
    }
    return value;
}

// Fields in the usual ranges, each replaced by any value now and then.
static BITMAPINFOHEADER TakeHeader(Input *pInput)
{
    static const WORD BITS[8] = {1, 8, 24, 8, 8, 24, 1, 4};
    const uint32_t hostile = Take(pInput, 1) & Take(pInput, 1);
    BITMAPINFOHEADER header = {};
    header.biSize = hostile & 1 ? Take(pInput, 4) : 40;
    header.biWidth = (LONG)(hostile & 2 ? Take(pInput, 4) : 1 + Take(pInput, 1) % 40);
    header.biHeight = (LONG)(hostile & 4 ? Take(pInput, 4) : 1 + Take(pInput, 1) % 40);
    header.biPlanes = (WORD)(hostile & 8 ? Take(pInput, 2) : 1);
    header.biBitCount = hostile & 16 ? (WORD)Take(pInput, 2) : BITS[Take(pInput, 1) % 8];
    header.biCompression = hostile & 32 ? Take(pInput, 4) : 0;
    header.biSizeImage = Take(pInput, 1);
    header.biClrUsed = hostile & 64 ? Take(pInput, 4) : Take(pInput, 1) % 3 * Take(pInput, 1);
    return header;
}

// What the header asks for, or a few bytes more or less. The rest of the input fills the block.
static HGLOBAL TakeDib(Input *pInput)
{
    const BITMAPINFOHEADER header = TakeHeader(pInput);
    const uint64_t nUsual = header.biBitCount <= 8 ? (uint64_t)1 << header.biBitCount : 0;
    const uint64_t nColors = header.biClrUsed != 0 ? header.biClrUsed : nUsual;
    const uint64_t stride = ((uint64_t)(uint32_t)header.biWidth * header.biBitCount + 31) / 32 * 4;
    const uint64_t nRows = stride * (uint32_t)header.biHeight;
    const uint32_t change = Take(pInput, 1);
    uint64_t nBytes = 40 + nColors * 4 + nRows + (change < 64 ? change % 8 : 0);
    nBytes -= change > 250 ? change - 250 : 0;
    if (nBytes > LARGEST_BLOCK || change == 200) {
        nBytes = pInput->nBytes;
    }
    const HGLOBAL hDib = GlobalAlloc(change & 1 ? GMEM_MOVEABLE : GMEM_FIXED, (SIZE_T)nBytes);
    BYTE *pBlock = (BYTE *)GlobalLock(hDib);
    for (uint64_t i = 0; i < nBytes; i++) {
        // A gray ramp in the table, every second time, and the input over and over in the rows.
        const bool bRamp = change & 2 && i >= 40 && i < 40 + nColors * 4;
        pBlock[i] = bRamp                 ? (BYTE)((i - 40) / 4 * (1 + (change & 4)))
                    : pInput->nBytes == 0 ? (BYTE)(i * 37)
                                          : pInput->pBytes[i % pInput->nBytes];
    }
    if (nBytes > 0) {
        memcpy(pBlock, &header, nBytes < sizeof header ? (size_t)nBytes : sizeof header);
    }
    GlobalUnlock(hDib);
    return hDib;
}

static HGLOBAL CallExport(int n, HGLOBAL hDib, int nArgument, UINT mode, HWND hParent)
{
    switch (n) {
    case 0:
        return ConvertMonoDibToGrayScale(hDib, (UINT)nArgument);
    case 1:
        return Convert8bitto24(hDib);
    case 2:
        return FilterLaplace(hDib, nArgument, mode, hParent);
    case 3:
        return FilterGradient(hDib, nArgument, mode, hParent);
    case 4:
        return FilterEnhance(hDib, mode, hParent);
    case 5:
        return FilterUniform(hDib, mode, hParent);
    default:
        return FilterGauss(hDib, mode, hParent);
    }
}

static void Require(bool bTrue)
{
    if (!bTrue) {
        abort();
    }
}

static void NoteDialog(HWND hDialog, int, int, void *)
{
    g_hDialog = hDialog;
}

// A result is an image that another call can read.
static void UseResult(HGLOBAL hResult)
{
    if (hResult != NULL) {
        GlobalFree(FilterUniform(hResult, 0, NULL));
        GlobalFree(hResult);
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *pBytes, size_t nBytes);

int LLVMFuzzerTestOneInput(const uint8_t *pBytes, size_t nBytes)
{
    Input input = {pBytes, nBytes};
    const UINT mode = Take(&input, 1) % 5;
    const int nFailing = (int)(Take(&input, 1) % 64);
    const int nCancel = (int)(Take(&input, 1) % 32);
    const uint32_t nSmall = Take(&input, 1);
    const int nArgument = (int)(nSmall < 250 ? nSmall % 80 : Take(&input, 4));
    SetProgressObserver(NoteDialog, NULL);
    const HWND hParent = CreatePlainWindow();
    const HGLOBAL hDib = TakeDib(&input);
    const size_t nSize = GlobalSize(hDib);
    BYTE *pBefore = (BYTE *)malloc(nSize + 1);
    const void *pBlock = GlobalLock(hDib);
    if (pBlock != NULL) {
        memcpy(pBefore, pBlock, nSize);
    }
    GlobalUnlock(hDib);
    GetLastFilterError();
    const int nBlocks = TestLiveGlobalBlocks() + TestLiveWorkBlocks();
    for (int n = 0; n < 7; n++) {
        TestFailAllocation(nFailing < 16 ? nFailing : 0);
        TestCancelAtStep(nCancel < 16 ? nCancel : 0);
        const HGLOBAL hResult = CallExport(n, hDib, nArgument, mode, hParent);
        TestFailAllocation(0);
        TestCancelAtStep(0);
        UseResult(hResult);
        // Left open on purpose when a 1-bit image cannot be expanded.
        SendMessageA(g_hDialog, WM_COMMAND, IDCANCEL, 0);
        Require(IsWindowEnabled(hParent));
        Require(TestLiveGlobalBlocks() + TestLiveWorkBlocks() == nBlocks && TestLocksHeld() == 0);
        Require(pBlock == NULL || memcmp(pBefore, pBlock, nSize) == 0);
    }
    free(pBefore);
    GlobalFree(hDib);
    DestroyWindow(hParent);
    return 0;
}
