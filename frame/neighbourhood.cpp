// Chooses the driver of a neighbourhood filter and holds what both drivers share.
//
// The line pipeline is right whenever no mapping can change the palette: colour images, and gray
// palettes that hold all 256 levels in any order, or all that can come out. Only a palette that may
// need a level it lacks takes the matrix order.

#include "neighbourhood.h"

#include <stdint.h>

int ComputesNothing(const NeighbourhoodFilter *pFilter, int width, int height)
{
    switch (pFilter->border) {
    case BORDER_MIRRORED:
        return width < 2 || height < 2;
    case BORDER_REPEATED:
    case BORDER_COPIED:
    case BORDER_BLACK:
    default:
        return (int64_t)pFilter->nTop + pFilter->nBottom >= height ||
               (int64_t)pFilter->nLeft + pFilter->nRight >= width;
    }
}

void ComputeUnits(const NeighbourhoodFilter *pFilter, int width, int height, int *pFirst, int *pEnd)
{
    const int units = pFilter->order == VISIT_COLUMNS ? width : height;
    const int bInnerOnly = pFilter->border == BORDER_REPEATED;
    *pFirst = bInnerOnly ? 1 : 0;
    *pEnd = bInnerOnly ? units - 1 : units;
}

LineKernel KernelAt(const NeighbourhoodFilter *pFilter, int bEdgeColumn, int bEdgeRow)
{
    LineKernel kernel = NULL;
    if (bEdgeRow && !bEdgeColumn) {
        kernel = pFilter->EdgeRowKernel;
    } else if (bEdgeColumn && !bEdgeRow) {
        kernel = pFilter->EdgeColumnKernel;
    }
    return kernel != NULL ? kernel : pFilter->Kernel;
}

HGLOBAL FilterPicture(const NeighbourhoodFilter *pFilter, const Picture *pPicture, int bProgress)
{
    const LevelMaps *pMaps = &pPicture->maps;
    if (!pPicture->bGray) {
        return RunLinePipeline(pFilter, &pPicture->view, NULL, bProgress);
    }
    if (pFilter->bKeepsLevels || HasAllLevels(pMaps)) {
        return RunLinePipeline(pFilter, &pPicture->view, IsGrayRamp(pMaps) ? NULL : pMaps,
                               bProgress);
    }
    return RunMatrixOrder(pFilter, &pPicture->view, bProgress);
}
