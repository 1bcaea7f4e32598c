// The absolute difference between every pixel and one neighbour: a simple directional edge picture.
//
// nDirection: 0 the left neighbour, 1 the one above, 2 above left, 3 above right. The window is the
// pixel and its neighbour; where the neighbour is missing the result is level 0. Channels are
// treated alike and separately. Nothing can leave 0..255.
//
// Only the low byte of nDirection counts.

#include "VexaFilter.h"
#include "frame/call.h"
#include "tonal_kernels.h"

// The neighbour's place as steps to the left and up.
static const struct {
    int nLeft, nUp;
} NEIGHBOURS[DIFFERENCE_DIRECTIONS] = {{1, 0}, {0, 1}, {1, 1}, {-1, 1}};

static BYTE DirectionOf(const void *pArguments)
{
    return (BYTE) * (const int *)pArguments;
}

static int IsDirection(const void *pArguments)
{
    return DirectionOf(pArguments) < DIFFERENCE_DIRECTIONS;
}

static int DescribeDifference(const Picture *pPicture, const FilterCall *pCall,
                              NeighbourhoodFilter *pFilter)
{
    const BYTE nDirection = DirectionOf(pCall->pArguments);
    const int nLeft = NEIGHBOURS[nDirection].nLeft;
    const int nUp = NEIGHBOURS[nDirection].nUp;
    (void)pPicture;
    pFilter->nRows = 1 + nUp;
    pFilter->nColumns = nLeft != 0 ? 2 : 1;
    pFilter->nOriginRow = pFilter->nTop = nUp;
    pFilter->nOriginColumn = pFilter->nLeft = nLeft == 1;
    pFilter->nRight = nLeft == -1;
    pFilter->border = BORDER_BLACK;
    pFilter->order = VISIT_ROWS;
    pFilter->Kernel = g_pTonalKernels->difference[nDirection];
    return 1;
}

HGLOBAL VEXAFILTER_API FilterDifference(HGLOBAL hDib, UINT nDirection, UINT mode, HWND hParent)
{
    static const FilterFrame FRAME = {"DIFFERENCEUI", 1,          1, DescribeDifference, 0,
                                      IsDirection,    IsDirection};
    return RunFilter(&FRAME, hDib, {(int)nDirection}, mode, hParent);
}
