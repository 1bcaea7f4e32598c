// See rows.h.

#include "rows.h"

#include "intops.h"
#include "progress.h"

enum { SPARE_BYTES = 4 };

HGLOBAL AllocRowsResult(const DibView *pSource)
{
    const DibShape *p = &pSource->shape;
    const unsigned long long nRowBytes = (unsigned long long)p->height * p->stride;
    return AllocBlock(p->nBitsOffset + nRowBytes + SPARE_BYTES);
}

BYTE *LockRowsResult(HGLOBAL hResult, const DibView *pSource)
{
    BYTE *pBlock = (BYTE *)GlobalLock(hResult);
    if (pBlock == NULL) {
        return NULL;
    }
    CopyHead(pSource, pBlock);
    return pBlock + pSource->shape.nBitsOffset;
}

int PassOverRows(FilterCall *pCall, RowsFunction function, void *pContext)
{
    const unsigned height = (unsigned)pCall->source.shape.height;
    const unsigned most = pCall->bProgress ? (unsigned)UNITS_PER_STEP : height;
    for (unsigned row = 0; row < height; row += most) {
        if (!BeginUnit(pCall->pState, pCall->bProgress, row)) {
            pCall->bStopped = 1;
            return 0;
        }
        function(pContext, row, height - row < most ? height - row : most);
    }
    return 1;
}

int OnePassOverRows(int width, int height, int bGray, const void *pArguments)
{
    (void)width;
    (void)bGray;
    (void)pArguments;
    return height;
}
