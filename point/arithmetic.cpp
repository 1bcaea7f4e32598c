// Arithmetic and logic between two images of the same shape, or an image and a constant: on the
// stored values, whatever their colours, as a new image with the first one's header and colour
// table.
//
// Every bit of a 1-bit image, every half byte of a 4-bit image and every byte of an 8-bit image is
// combined, the padding of the rows too; of a 24-bit row as many whole groups of three bytes as the
// stride holds, the bytes behind them come out zero. Two images go through the row kernels, a
// constant is a table of bytes.
//
// These two exports leave the common call frame (LEAVES_CODES, CANCEL_LEAVES_LOCKS):
// Kept: neither the current error nor the cancel flag is reset on entry, and the last error is not
// set. A cancel that an earlier call left behind ends a silent call at its first row.
// Kept: a cancelled worker leaves its inputs locked and the wait cursor showing.
// Kept: the operation is looked up only after the dialogs, which is where two images have no
// exponential and no logarithm.

#include "arithmetic_kernels.h"
#include "constant_table.h"

#include "VexaFilter.h"
#include "frame/levels.h"
#include "frame/rows.h"

#include <string.h>

// ---- rows ---------------------------------------------------------------------------------------

// Either a row kernel for two images or a table for one.
struct RowWork {
    const DibView *pFirst;
    const BYTE *pSecondBits;
    BYTE *pResultBits;
    PairKernel Combine;  // null: there is no second image
    BYTE table[256];
};

static void CombineRun(const RowWork *pWork, size_t offset, size_t count)
{
    const BYTE *src = pWork->pFirst->pBits + offset;
    BYTE *dst = pWork->pResultBits + offset;
    if (pWork->Combine != NULL) {
        pWork->Combine(src, pWork->pSecondBits + offset, dst, count);
    } else {
        MapBytes(pWork->table, src, dst, count);
    }
}

// As one run if the rows use all of their stride.
static void CombineRows(void *pContext, unsigned nFirst, unsigned nRows)
{
    const RowWork *pWork = (const RowWork *)pContext;
    const DibShape *p = &pWork->pFirst->shape;
    const size_t nUsed = p->bitCount == 24 ? p->stride / 3 * 3 : p->stride;
    const unsigned nRun = nUsed == p->stride ? nRows : 1;
    for (unsigned r = nFirst; r < nFirst + nRows; r += nRun) {
        CombineRun(pWork, r * p->stride, nUsed * nRun);
    }
}

static HGLOBAL RunWork(FilterCall *pCall, RowWork *pWork)
{
    const HGLOBAL hResult = AllocRowsResult(&pCall->source);
    if (hResult == NULL) {
        return NULL;
    }
    pWork->pFirst = &pCall->source;
    pWork->pResultBits = LockRowsResult(hResult, &pCall->source);
    int bDone = 0;
    if (pWork->pResultBits != NULL) {
        bDone = PassOverRows(pCall, CombineRows, pWork);
        GlobalUnlock(hResult);
    }
    if (!bDone) {
        GlobalFree(hResult);
        return NULL;
    }
    return hResult;
}

// ---- workers ------------------------------------------------------------------------------------

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

// Asked before the dialogs.
static int IsOperation(const void *pArguments)
{
    const int nOperation = *(const int *)pArguments;
    return nOperation >= 0 && nOperation < CONSTANT_OPERATIONS;
}

static ArithmeticDepth DepthOf(int bitCount)
{
    return bitCount == 1 ? BITS_1 : bitCount == 4 ? BITS_4 : bitCount == 8 ? BITS_8 : BITS_24;
}

// Null for an operation that two images do not have.
static HGLOBAL CombineImages(FilterCall *pCall, const Picture *pPicture)
{
    RowWork work;
    const int nOperation = ((const PairArguments *)pCall->pArguments)->nOperation;
    (void)pPicture;
    if (nOperation < 0 || nOperation >= PAIR_OPERATIONS) {
        return NULL;
    }
    work.Combine = g_pArithmeticKernels->rows[nOperation][DepthOf(pCall->source.shape.bitCount)];
    work.pSecondBits = pCall->second.pBits;
    return RunWork(pCall, &work);
}

static HGLOBAL CombineWithConstant(FilterCall *pCall, const Picture *pPicture)
{
    RowWork work;
    const ConstantArguments *p = (const ConstantArguments *)pCall->pArguments;
    (void)pPicture;
    if (!IsOperation(p)) {
        return NULL;
    }
    work.Combine = NULL;
    FillConstantTable(p->nOperation, p->nConstant, pCall->source.shape.bitCount, work.table);
    return RunWork(pCall, &work);
}

// ---- exports ------------------------------------------------------------------------------------

static constexpr FilterFrame ArithmeticFrame(const char *pDialogEntry, Worker Work,
                                             unsigned nImages)
{
    FilterFrame frame = {};
    frame.pDialogEntry = pDialogEntry;
    frame.AcceptsCall = IsOperation;
    frame.nAccepted = ACCEPT_1 | ACCEPT_4 | ACCEPT_8 | ACCEPT_24;
    frame.StepTotal = OnePassOverRows;
    frame.Work = Work;
    frame.nQuirks = AS_STORED | SIXTEEN_BIT_ROWS | LEAVES_CODES | CANCEL_LEAVES_LOCKS | nImages;
    return frame;
}

HGLOBAL VEXAFILTER_API ArithmeticDIB(int nOperation, HGLOBAL hFirst, HGLOBAL hSecond, UINT mode,
                                     HWND hParent)
{
    static constexpr FilterFrame FRAME = ArithmeticFrame("ARITHUI", CombineImages, TWO_IMAGES);
    PairArguments arguments = {nOperation, hFirst, hSecond, mode, hParent};
    FilterCall call = {};
    call.hDib = hFirst;
    call.hSecond = hSecond;
    call.pArguments = &arguments;
    call.dialogArguments[0] = (UINT_PTR)&arguments.nOperation;
    call.dialogArguments[1] = (UINT_PTR)hFirst;
    call.dialogArguments[2] = (UINT_PTR)hSecond;
    call.nDialogArguments = 3;
    call.mode = mode;
    call.pParent = &arguments.hParent;
    return RunCall(&FRAME, &call);
}

HGLOBAL VEXAFILTER_API ArithmeticDIBConst(int nOperation, HGLOBAL hImage, int nConstant, UINT mode,
                                          HWND hParent)
{
    static constexpr FilterFrame FRAME = ArithmeticFrame("ARITHCONSTUI", CombineWithConstant, 0);
    ConstantArguments arguments = {nOperation, hImage, nConstant, mode, hParent};
    FilterCall call = {};
    call.hDib = hImage;
    call.pArguments = &arguments;
    call.dialogArguments[0] = (UINT_PTR)&arguments.nOperation;
    call.dialogArguments[1] = (UINT_PTR)hImage;
    call.dialogArguments[2] = (UINT_PTR)&arguments.nConstant;
    call.nDialogArguments = 3;
    call.mode = mode;
    call.pParent = &arguments.hParent;
    return RunCall(&FRAME, &call);
}
