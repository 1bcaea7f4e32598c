// See masks.h.

#include "masks.h"

#include "frame/filter_mask.h"
#include "platform/workmemory.h"

#include <string.h>

static int NotNegative(int64_t value)
{
    return (int)(value < 0 ? 0 : value > INT32_MAX ? INT32_MAX : value);
}

// ---- squares ------------------------------------------------------------------------------------

void DescribeSquare(int nSize, NeighbourhoodFilter *pFilter)
{
    const int nBefore = nSize / 2;
    pFilter->nRows = pFilter->nColumns = nSize;
    pFilter->nOriginRow = pFilter->nOriginColumn = nBefore;
    pFilter->nTop = pFilter->nLeft = nBefore;
    pFilter->nBottom = pFilter->nRight = nSize - nBefore - 1;
    pFilter->border = BORDER_COPIED;
    pFilter->order = VISIT_ROWS;
}

int IsSizeArgument(const void *pArguments)
{
    return *(const int *)pArguments >= 1;
}

// ---- masks of weights ---------------------------------------------------------------------------

int IsWeightMask(const FilterMask *pMask)
{
    if (!HasMaskPositions(pMask)) {
        return 0;
    }
    for (int i = 0; i < pMask->columns; i++) {
        for (int j = 0; j < pMask->rows; j++) {
            if (pMask->elements[i][j] != 0) {
                return 1;
            }
        }
    }
    return 0;
}

int ReadWeightMask(const FilterMask *pMask, WeightMask *pWeights)
{
    memset(pWeights, 0, sizeof *pWeights);
    if (!IsWeightMask(pMask)) {
        return 0;
    }
    pWeights->nRows = pMask->rows;
    pWeights->nColumns = pMask->columns;
    // Kept: the weighted filters read the two origin fields the other way round.
    pWeights->nOriginRow = pMask->originColumn;
    pWeights->nOriginColumn = pMask->originRow;
    pWeights->pWeights = (BYTE *)WorkAlloc((size_t)pMask->rows, (size_t)pMask->columns);
    if (pWeights->pWeights == NULL) {
        return 0;
    }
    BYTE *weight = pWeights->pWeights;
    for (int j = 0; j < pMask->rows; j++) {
        for (int i = 0; i < pMask->columns; i++) {
            *weight = pMask->elements[i][j];
            pWeights->nTotal += *weight++;
        }
    }
    return 1;
}

void FreeWeightMask(WeightMask *pWeights)
{
    WorkFree(pWeights->pWeights);
    pWeights->pWeights = NULL;
}

void DescribeMask(const WeightMask *pWeights, NeighbourhoodFilter *pFilter)
{
    pFilter->nRows = pWeights->nRows;
    pFilter->nColumns = pWeights->nColumns;
    pFilter->nOriginRow = pWeights->nOriginRow;
    pFilter->nOriginColumn = pWeights->nOriginColumn;
    pFilter->nTop = NotNegative(pWeights->nOriginRow);
    pFilter->nLeft = NotNegative(pWeights->nOriginColumn);
    pFilter->nBottom = NotNegative((int64_t)pWeights->nRows - pWeights->nOriginRow);
    pFilter->nRight = NotNegative((int64_t)pWeights->nColumns - pWeights->nOriginColumn);
    pFilter->border = BORDER_COPIED;
    pFilter->order = VISIT_ROWS;
}

// ---- the exports that take a mask ---------------------------------------------------------------

enum { DEFAULT_SIDE = 3 };

struct MaskArguments {
    const FilterMask *pMask;
    const FilterMask *pDefault;
};

const FilterMask *MaskInUse(const void *pArguments)
{
    const MaskArguments *p = (const MaskArguments *)pArguments;
    return p->pMask != NULL ? p->pMask : p->pDefault;
}

int IsMaskArgument(const void *pArguments)
{
    return IsWeightMask(MaskInUse(pArguments));
}

void ReleaseMask(FilterCall *pCall)
{
    if (pCall->pPlan != NULL) {
        FreeWeightMask((WeightMask *)pCall->pPlan);
    }
}

HGLOBAL RunMaskFilter(const FilterFrame *pFrame, HGLOBAL hDib, const FilterMask *pMask,
                      const BYTE *pDefaultWeights, UINT mode, HWND hParent)
{
    BYTE runs[DEFAULT_SIDE][DEFAULT_SIDE];
    BYTE *elements[DEFAULT_SIDE] = {runs[0], runs[1], runs[2]};
    FilterMask mask = {elements, DEFAULT_SIDE, DEFAULT_SIDE, 1, 1};
    MaskArguments arguments = {pMask, &mask};
    FilterCall call = {};
    memcpy(runs, pDefaultWeights, sizeof runs);
    call.hDib = hDib;
    call.pArguments = &arguments;
    call.dialogArguments[0] = (UINT_PTR)hDib;
    call.dialogArguments[1] = (UINT_PTR)&mask;
    call.nDialogArguments = 2;
    call.mode = mode;
    call.pParent = &hParent;
    return RunCall(pFrame, &call);
}
