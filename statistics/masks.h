// The windows of the statistics filters: n x n squares and masks of weights.
#ifndef STATISTICS_MASKS_H
#define STATISTICS_MASKS_H

#include "VexaFilter.h"
#include "frame/call.h"

#include <stdint.h>

// ---- squares ------------------------------------------------------------------------------------

// A window of nSize x nSize pixels (1 or more): nSize / 2 rows above the pixel and as
// many columns left of it, so an even window reaches one further up and left. Pixels without a
// whole window are copied, rows visited top to bottom. Kernel and parameters are left to the
// caller.
void DescribeSquare(int nSize, NeighbourhoodFilter *pFilter);

// 1 if an argument record begins with a window's size of 1 or more.
int IsSizeArgument(const void *pArguments);

// ---- masks of weights ---------------------------------------------------------------------------

// A mask in a memory block of its own.
struct WeightMask {
    int nRows, nColumns;
    int nOriginRow, nOriginColumn;  // of the mask position over the pixel; may lie outside the mask
    int64_t nTotal;                 // the sum of the weights, at least 1
    BYTE *pWeights;                 // row by row from the top, each from left to right
};

// 1 if the mask has positions (frame/filter_mask.h) and a weight is not 0.
int IsWeightMask(const FilterMask *pMask);

// Copies a mask that IsWeightMask accepts. 0 without memory or for any other mask.
int ReadWeightMask(const FilterMask *pMask, WeightMask *pWeights);
void FreeWeightMask(WeightMask *pWeights);

// The mask as a window. A pixel in column x and row y is computed when
// nOriginRow <= y < height + nOriginRow - nRows, and likewise x; others are copied. Kept: the last
// row and column whose window would still fit are copied too.
void DescribeMask(const WeightMask *pWeights, NeighbourhoodFilter *pFilter);

// ---- the exports that take a mask ---------------------------------------------------------------

int IsMaskArgument(const void *pArguments);
void ReleaseMask(FilterCall *pCall);

// The record of such an export. Its plan begins with the WeightMask that the description reads.
constexpr FilterFrame MaskFrame(const char *pDialogEntry, Description Describe, size_t nPlanBytes)
{
    FilterFrame frame = {};
    frame.pDialogEntry = pDialogEntry;
    frame.Describe = Describe;
    frame.nPlanBytes = nPlanBytes;
    frame.AcceptsEdited = IsMaskArgument;
    frame.Release = ReleaseMask;
    return frame;
}

// (hDib, pMask, mode, hParent). pMask null stands for the default: 3 x 3, the pixel in the middle,
// the nine weights column by column (all masks in use are symmetric). The dialog is given the
// default mask, and what it changes there counts only if pMask is null.
HGLOBAL RunMaskFilter(const FilterFrame *pFrame, HGLOBAL hDib, const FilterMask *pMask,
                      const BYTE *pDefaultWeights, UINT mode, HWND hParent);

// The mask that an argument record of such a call stands for.
const FilterMask *MaskInUse(const void *pArguments);

#endif
