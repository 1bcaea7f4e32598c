// Runs a neighbourhood filter over an image: the line pipeline, the matrix driver and the border
// rules, shared by every filter that computes a pixel from the window around it.
//
// A filter is a record: how far its window reaches, what happens at the border, in which order the
// pixels are visited, and a kernel. The kernel states the rule once, for gray and colour alike.
#ifndef FRAME_NEIGHBOURHOOD_H
#define FRAME_NEIGHBOURHOOD_H

#include "line_kernel.h"
#include "picture.h"

enum BorderRule {
    // A pixel whose window leaves the picture keeps its value.
    BORDER_COPIED,
    // It becomes level 0.
    BORDER_BLACK,
    // 3 x 3 only. A border pixel repeats the nearest computed pixel; the corners keep their value.
    BORDER_REPEATED,
    // 3 x 3 only. The picture is mirrored about its edge pixels: beyond x = 0 lies x = 1.
    BORDER_MIRRORED
};

// Which pixel comes next; it matters only where the palette lacks levels.
enum VisitOrder { VISIT_ROWS, VISIT_COLUMNS };

// Runs over whole rows in place of a LineKernel. Rows come one after the other from the bottom of
// the picture to its top. lines[nRows] is the line that the window has just left, below it; it is
// valid unless bFirst, which is set on the first row and where the palette lacks levels on every
// row.
struct NeighbourhoodFilter;
struct RowKernel {
    // Scratch memory for rows of nSamples bytes (the whole width), 0 bytes if none. The driver
    // zeroes it before each first row, and frees it.
    size_t (*StateBytes)(const NeighbourhoodFilter *pFilter, size_t nSamples, ptrdiff_t step);
    void (*Run)(void *pState, const NeighbourhoodFilter *pFilter, const BYTE *const *lines,
                ptrdiff_t step, BYTE *out, size_t count, int bFirst);
};

// The window has nRows x nColumns samples; its row nOriginRow and column nOriginColumn lie over the
// pixel. The margins are the rows and columns along each side whose pixels the border rule handles;
// inside them the window never leaves the picture.
struct NeighbourhoodFilter {
    int nRows, nColumns;
    int nOriginRow, nOriginColumn;
    int nTop, nBottom, nLeft, nRight;
    BorderRule border;
    VisitOrder order;
    LineKernel Kernel;
    // With BORDER_MIRRORED: what computes the pixels of the top and bottom row, and of the left and
    // right column, without the corners. Null: Kernel does.
    LineKernel EdgeRowKernel;
    LineKernel EdgeColumnKernel;
    const void *pParameters;
    // Each result is a level of its own window, so no palette ever needs a new one and the matrix
    // order is never taken.
    int bKeepsLevels;
    // Passes over the rows that the filter made before (to gather statistics); for the bar alone.
    int nEarlierPasses;
    // What computes whole rows in place of Kernel, with state that it carries from row to row;
    // null: Kernel does. With BORDER_COPIED and VISIT_ROWS, Kernel may be null beside it.
    const RowKernel *pRowKernel;
};

// The filtered picture as a new image; the channels of colour are filtered independently. Null
// without memory or once the user has cancelled.
HGLOBAL FilterPicture(const NeighbourhoodFilter *pFilter, const Picture *pPicture, int bProgress);

// ---- shared by the two drivers ------------------------------------------------------------------

// Straight from the source rows to the result rows. pMaps null: samples are used as stored (colour,
// or a gray ramp); else every level that can come out must have an entry.
HGLOBAL RunLinePipeline(const NeighbourhoodFilter *pFilter, const DibView *pSource,
                        const LevelMaps *pMaps, int bProgress);

// Pixel by pixel in the stated order, through the level maps. Gray only.
HGLOBAL RunMatrixOrder(const NeighbourhoodFilter *pFilter, const DibView *pSource, int bProgress);

// 1 if no pixel has a window that the border rule makes whole: the result is then a copy.
int ComputesNothing(const NeighbourhoodFilter *pFilter, int width, int height);

// The compute pass visits the units nFirst to nEnd - 1 (columns or rows).
void ComputeUnits(const NeighbourhoodFilter *pFilter, int width, int height, int *pFirst,
                  int *pEnd);

// The kernel for a pixel on none, one or two edges of a mirrored picture.
LineKernel KernelAt(const NeighbourhoodFilter *pFilter, int bEdgeColumn, int bEdgeRow);

// A coordinate at most one step outside, mirrored about the edge pixel.
static inline int Mirror(int position, int size)
{
    return position < 0 ? -position : position >= size ? 2 * (size - 1) - position : position;
}

#endif
