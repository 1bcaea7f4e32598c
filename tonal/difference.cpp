// The absolute difference between every pixel and one neighbour: a simple directional edge picture.
//
// nDirection: 0 the left neighbour, 1 the one above, 2 above left, 3 above right. The window is the
// pixel and its neighbour; where the neighbour is missing the result is level 0. Channels are
// treated alike and separately. Nothing can leave 0..255.
//
// Only the low byte of nDirection counts.

#include "tonal.h"

#include "VexaFilter.h"
#include "frame/neighbourhood.h"
#include "frame/workers.h"
#include "tonal_kernels.h"

// The neighbour's place as steps to the left and up.
static const struct {
    int nLeft, nUp;
} NEIGHBOURS[DIFFERENCE_DIRECTIONS] = {{1, 0}, {0, 1}, {1, 1}, {-1, 1}};

static int IsDirection(int nDirection)
{
    return (BYTE)nDirection < DIFFERENCE_DIRECTIONS;
}

static NeighbourhoodFilter DifferenceRule(BYTE nDirection)
{
    const int nLeft = NEIGHBOURS[nDirection].nLeft;
    const int nUp = NEIGHBOURS[nDirection].nUp;
    NeighbourhoodFilter filter = {};
    filter.nRows = 1 + nUp;
    filter.nColumns = nLeft != 0 ? 2 : 1;
    filter.nOriginRow = filter.nTop = nUp;
    filter.nOriginColumn = filter.nLeft = nLeft == 1;
    filter.nRight = nLeft == -1;
    filter.border = BORDER_BLACK;
    filter.order = VISIT_ROWS;
    filter.Kernel = g_pTonalKernels->difference[nDirection];
    return filter;
}

HGLOBAL Difference8(HGLOBAL hDib, int width, int height, BYTE nDirection, int bProgress)
{
    const NeighbourhoodFilter filter = DifferenceRule(nDirection);
    return FilterGrayNeighbourhood(&filter, hDib, width, height, bProgress);
}

HGLOBAL Difference24(HGLOBAL hDib, int width, int height, BYTE nDirection, int bProgress)
{
    const NeighbourhoodFilter filter = DifferenceRule(nDirection);
    return FilterColorNeighbourhood(&filter, hDib, width, height, bProgress);
}

typedef HGLOBAL (*DifferenceWorker)(HGLOBAL hDib, int width, int height, BYTE nDirection,
                                    int bProgress);

static HGLOBAL CallDifferenceWorker(AnyWorker worker, HGLOBAL hDib, int width, int height,
                                    const void *pArguments, int bProgress)
{
    const BYTE nDirection = (BYTE)((const IntArguments *)pArguments)->nValue;
    return ((DifferenceWorker)worker)(hDib, width, height, nDirection, bProgress);
}

// Asked after the dialog: a direction that it may have left has no neighbour.
static int HasDirection(const void *pArguments)
{
    return IsDirection(((const IntArguments *)pArguments)->nValue);
}

HGLOBAL VEXAFILTER_API FilterDifference(HGLOBAL hDib, UINT nDirection, UINT mode, HWND hParent)
{
    static const FilterFrame FRAME = {
        "DIFFERENCEUI",       ACCEPT_1_8_24,          TwoPassesOverSides,     HasDirection,
        CallDifferenceWorker, (AnyWorker)Difference8, (AnyWorker)Difference24};
    const int nValue = (int)nDirection;
    return RunIntFilter(&FRAME, IsDirection(nValue) ? hDib : NULL, nValue, mode, hParent);
}
