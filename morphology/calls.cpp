// See calls.h.

#include "calls.h"

#include "frame/filter_mask.h"
#include "platform/workmemory.h"

#include <string.h>

// ---- elements -----------------------------------------------------------------------------------

void TakeElements(MorphologyArguments *pArguments, const ElementDefault *const *pDefaults,
                  int nElements)
{
    for (int n = 0; n < nElements; n++) {
        if (pArguments->pGiven[n] != NULL) {
            pArguments->elements[n] = *pArguments->pGiven[n];
            continue;
        }
        pArguments->defaults[n] = *pDefaults[n];
        for (int i = 0; i < ELEMENT_SIDE; i++) {
            pArguments->columns[n][i] = pArguments->defaults[n].columns[i];
        }
        pArguments->elements[n] = {pArguments->columns[n], ELEMENT_SIDE, ELEMENT_SIDE, 1, 1};
    }
}

int IsElement(const FilterMask *pElement)
{
    return pElement->rows < 1 || pElement->columns < 1 || HasMaskPositions(pElement);
}

int CopyElement(const FilterMask *pElement, ElementBytes *pCopy)
{
    const int bEmpty = pElement->rows < 1 || pElement->columns < 1;
    pCopy->nRows = bEmpty ? 0 : pElement->rows;
    pCopy->nColumns = bEmpty ? 0 : pElement->columns;
    const size_t nColumns = (size_t)pCopy->nColumns;
    pCopy->pBytes = (BYTE *)WorkAlloc((size_t)pCopy->nRows + 1, nColumns + 1);
    if (pCopy->pBytes == NULL) {
        return 0;
    }
    for (size_t i = 0; i < nColumns; i++) {
        for (int j = 0; j < pCopy->nRows; j++) {
            pCopy->pBytes[(size_t)j * nColumns + i] = pElement->elements[i][j];
        }
    }
    return 1;
}

// ---- the working copy ---------------------------------------------------------------------------

int PrepareCopy(FilterCall *pCall)
{
    WorkingCopy *pCopy = (WorkingCopy *)pCall->pPlan;
    const DibView *pSource = &pCall->source;
    const int bShort = pSource->shape.bitCount == 8 && pSource->shape.nColors < GRAY_LEVELS;
    pCopy->bHoldsPixels = bShort || HasDialogs(pCall);
    pCall->hResult = bShort ? CopyWithFullTable(pSource, &pCopy->result)
                            : DuplicateFrame(pSource, &pCopy->result);
    if (pCall->hResult == NULL) {
        return 0;
    }
    if (pCopy->bHoldsPixels && !bShort) {
        memcpy(pCopy->result.pBits, pSource->pBits,
               pSource->shape.stride * (size_t)pSource->shape.height);
    }
    UnlockDib(&pCopy->result);
    return 1;
}

WorkingCopy *LockCopy(FilterCall *pCall)
{
    WorkingCopy *pCopy = (WorkingCopy *)pCall->pPlan;
    if (!RelockDib(&pCopy->result)) {
        return NULL;
    }
    pCopy->pFrom = pCopy->bHoldsPixels ? pCopy->result.pBits : pCall->source.pBits;
    return pCopy;
}

HGLOBAL FinishCopy(FilterCall *pCall, int bDone)
{
    UnlockDib(&((const WorkingCopy *)pCall->pPlan)->result);
    return bDone ? pCall->hResult : NULL;
}

// ---- calls --------------------------------------------------------------------------------------

HGLOBAL RunMorphology(const FilterFrame *pFrame, HGLOBAL hDib, void *pArguments,
                      DialogPointers pointers, UINT mode, HWND hParent)
{
    FilterCall call = {};
    call.hDib = hDib;
    call.pArguments = pArguments;
    call.dialogArguments[call.nDialogArguments++] = (UINT_PTR)hDib;
    for (const UINT_PTR pointer : pointers.words) {
        if (pointer != 0) {
            call.dialogArguments[call.nDialogArguments++] = pointer;
        }
    }
    call.mode = mode;
    call.pParent = &hParent;
    return RunCall(pFrame, &call);
}
