// Arithmetic and logic between two images of the same shape, or an image and a constant: on the
// stored values, whatever their colours, as a new image with the first one's header and colour
// table.
//
// Every bit of a 1-bit image, every half byte of a 4-bit image and every byte of an 8-bit image is
// combined, the padding of the rows too; of a 24-bit row as many whole groups of three bytes as the
// stride holds, the bytes behind them come out zero. Two images go through the row kernels, a
// constant is a table of bytes.
//
// These two exports leave the common call frame:
// Kept: neither the current error nor the cancel flag is reset on entry, and the last error is not
// set. A cancel that an earlier call left behind ends a silent call at its first row.
// Kept: a cancelled worker leaves its inputs locked and the wait cursor showing.
// Kept: the operation is looked up only after the dialogs, which is where two images have no
// exponential and no logarithm.

#include "arithmetic_kernels.h"
#include "constant_table.h"

#include "VexaFilter.h"
#include "frame/call.h"
#include "frame/dib.h"
#include "frame/levels.h"
#include "frame/progress.h"

#include <string.h>

enum { SPARE_BYTES = 4 };  // at the end of a result

static int IsOperation(int nOperation)
{
    return nOperation >= 0 && nOperation < CONSTANT_OPERATIONS;
}

// ---- images -------------------------------------------------------------------------------------

static int DepthOf(const DibShape *pShape)
{
    switch (pShape->bitCount) {
    case 1:
        return BITS_1;
    case 4:
        return BITS_4;
    case 8:
        return BITS_8;
    case 24:
        return BITS_24;
    default:
        return ARITHMETIC_DEPTHS;
    }
}

static int LockImage(HGLOBAL hImage, DibView *pView)
{
    if (!LockDib(hImage, pView)) {
        return 0;
    }
    if (DepthOf(&pView->shape) == ARITHMETIC_DEPTHS || !FitsSixteenBits(&pView->shape)) {
        UnlockDib(pView);
        return 0;
    }
    return 1;
}

// Two images of the same sides and depth.
static int LockImages(HGLOBAL hFirst, HGLOBAL hSecond, DibView *pFirst, DibView *pSecond)
{
    if (!LockImage(hFirst, pFirst)) {
        return 0;
    }
    if (LockImage(hSecond, pSecond)) {
        const DibShape *a = &pFirst->shape;
        const DibShape *b = &pSecond->shape;
        if (a->width == b->width && a->height == b->height && a->bitCount == b->bitCount) {
            return 1;
        }
        UnlockDib(pSecond);
    }
    UnlockDib(pFirst);
    return 0;
}

// ---- workers ------------------------------------------------------------------------------------

// What a worker works on: the locked images, and either a row kernel for two of them or a table.
struct RowWork {
    DibView first;
    DibView second;
    PairKernel Combine;  // null: there is no second image
    BYTE table[256];
};

static void UnlockInputs(RowWork *pWork)
{
    UnlockDib(&pWork->first);
    if (pWork->Combine != NULL) {
        UnlockDib(&pWork->second);
    }
}

static void CombineRun(const RowWork *pWork, size_t offset, BYTE *dst, size_t count)
{
    const BYTE *src = pWork->first.pBits + offset;
    if (pWork->Combine != NULL) {
        pWork->Combine(src, pWork->second.pBits + offset, dst, count);
    } else {
        MapBytes(pWork->table, src, dst, count);
    }
}

// The rows of the result. 0: the user has cancelled, which only a step of the bar can tell: the
// rows between two steps are combined at once, as one run if they use all of their stride.
static int CombineRows(const RowWork *pWork, BYTE *pBits, int bProgress)
{
    const FilterThreadState *pState = GetFilterThreadState();
    const DibShape *p = &pWork->first.shape;
    const unsigned nRows = (unsigned)p->height;
    const unsigned nBand = bProgress ? (unsigned)pState->nStepDivisor : nRows;
    const size_t nUsed = p->bitCount == 24 ? p->stride / 3 * 3 : p->stride;
    for (unsigned row = 0; row < nRows; row += nBand) {
        if (!BeginUnit(pState, bProgress, row)) {
            return 0;
        }
        const unsigned nEnd = nRows - row < nBand ? nRows : row + nBand;
        const unsigned nRun = nUsed == p->stride ? nEnd - row : 1;
        for (unsigned r = row; r < nEnd; r += nRun) {
            const size_t offset = r * p->stride;
            CombineRun(pWork, offset, pBits + offset, nUsed * nRun);
        }
    }
    return 1;
}

// The common run of all workers, which unlocks what they have locked.
static HGLOBAL RunWork(RowWork *pWork, int bProgress)
{
    const DibShape *p = &pWork->first.shape;
    const unsigned long long nRowBytes = (unsigned long long)p->height * p->stride;
    const HGLOBAL hResult = AllocBlock(p->nBitsOffset + nRowBytes + SPARE_BYTES);
    BYTE *pBlock = hResult != NULL ? (BYTE *)GlobalLock(hResult) : NULL;
    if (pBlock == NULL) {
        GlobalFree(hResult);
        UnlockInputs(pWork);
        return NULL;
    }
    memcpy(pBlock, pWork->first.pBlock, p->nBitsOffset);
    const HCURSOR hCursor = ShowWaitCursor();
    const int bDone = CombineRows(pWork, pBlock + p->nBitsOffset, bProgress);
    GlobalUnlock(hResult);
    if (!bDone) {
        // Kept: the inputs stay locked and the cursor is not put back.
        GlobalFree(hResult);
        return NULL;
    }
    SetCursor(hCursor);
    UnlockInputs(pWork);
    return hResult;
}

// Null for an operation that two images do not have.
static HGLOBAL CombineImages(int nOperation, HGLOBAL hFirst, HGLOBAL hSecond, int bProgress)
{
    RowWork work;
    if (nOperation < 0 || nOperation >= PAIR_OPERATIONS ||
        !LockImages(hFirst, hSecond, &work.first, &work.second)) {
        return NULL;
    }
    work.Combine = g_pArithmeticKernels->rows[nOperation][DepthOf(&work.first.shape)];
    return RunWork(&work, bProgress);
}

static HGLOBAL CombineWithConstant(int nOperation, HGLOBAL hImage, int nConstant, int bProgress)
{
    RowWork work;
    if (!IsOperation(nOperation) || !LockImage(hImage, &work.first)) {
        return NULL;
    }
    work.Combine = NULL;
    FillConstantTable(nOperation, nConstant, work.first.shape.bitCount, work.table);
    return RunWork(&work, bProgress);
}

// ---- exports ------------------------------------------------------------------------------------

// The argument lists as records: a dialog that walks on from the operation finds the rest.
struct PairArguments {
    int nOperation;
    HGLOBAL hFirst;
    HGLOBAL hSecond;
    UINT mode;
    HWND hParent;
};

struct ConstantArguments {
    int nOperation;
    HGLOBAL hImage;
    int nConstant;
    UINT mode;
    HWND hParent;
};

enum { DIALOG_ARGUMENTS = 3 };

// The parameter dialog, then the progress dialog. 0: the call is over.
static int OpenDialogs(const char *pEntry, const UINT_PTR dialogArguments[DIALOG_ARGUMENTS],
                       UINT mode, const HWND *pParent, int nSteps)
{
    if (WantsDialog(mode) && !RunParameterDialog(pEntry, dialogArguments, DIALOG_ARGUMENTS)) {
        return 0;
    }
    return !WantsProgress(mode) || OpenProgressDialog(*pParent, nSteps);
}

static HGLOBAL RunArithmeticDIB(PairArguments *p, UINT mode)
{
    DibView first;
    DibView second;
    const UINT_PTR dialogArguments[] = {(UINT_PTR)&p->nOperation, (UINT_PTR)p->hFirst,
                                        (UINT_PTR)p->hSecond};
    if (!IsOperation(p->nOperation) || !LockImages(p->hFirst, p->hSecond, &first, &second)) {
        return NULL;
    }
    UnlockDib(&second);
    UnlockDib(&first);
    if (!OpenDialogs("ARITHUI", dialogArguments, mode, &p->hParent, first.shape.height)) {
        return NULL;
    }
    const HGLOBAL hResult =
        CombineImages(p->nOperation, p->hFirst, p->hSecond, WantsProgress(mode));
    if (WantsProgress(mode)) {
        CloseProgressDialog();
    }
    return hResult;
}

static HGLOBAL RunArithmeticDIBConst(ConstantArguments *p, UINT mode)
{
    DibView image;
    const UINT_PTR dialogArguments[] = {(UINT_PTR)&p->nOperation, (UINT_PTR)p->hImage,
                                        (UINT_PTR)&p->nConstant};
    if (!IsOperation(p->nOperation) || !LockImage(p->hImage, &image)) {
        return NULL;
    }
    UnlockDib(&image);
    if (!OpenDialogs("ARITHCONSTUI", dialogArguments, mode, &p->hParent, image.shape.height)) {
        return NULL;
    }
    const HGLOBAL hResult =
        CombineWithConstant(p->nOperation, p->hImage, p->nConstant, WantsProgress(mode));
    if (WantsProgress(mode)) {
        CloseProgressDialog();
    }
    return hResult;
}

HGLOBAL VEXAFILTER_API ArithmeticDIB(int nOperation, HGLOBAL hFirst, HGLOBAL hSecond, UINT mode,
                                     HWND hParent)
{
    PairArguments arguments = {nOperation, hFirst, hSecond, mode, hParent};
    RunningCall running;
    BeginCall(&running);
    const HGLOBAL hResult = RunArithmeticDIB(&arguments, IsNestedInProgress(&running) ? 0 : mode);
    EndCall(&running);
    return hResult;
}

HGLOBAL VEXAFILTER_API ArithmeticDIBConst(int nOperation, HGLOBAL hImage, int nConstant, UINT mode,
                                          HWND hParent)
{
    ConstantArguments arguments = {nOperation, hImage, nConstant, mode, hParent};
    RunningCall running;
    BeginCall(&running);
    const HGLOBAL hResult =
        RunArithmeticDIBConst(&arguments, IsNestedInProgress(&running) ? 0 : mode);
    EndCall(&running);
    return hResult;
}
