// Forms of the mean filters that others fall back on, compiled once per instruction set.
#ifndef STATISTICS_MEAN_FORMS_H
#define STATISTICS_MEAN_FORMS_H

#include "mean_kernels.h"

namespace KERNEL_LEVEL
{

// One pixel of a MeanRule, sample by sample: what every other form must match.
BYTE PlainLevel(const MeanRule *pRule, const BYTE *const *lines, size_t i, ptrdiff_t step);

// Whole rows, sums growing in the stated order. With bFirst the state need not be zeroed.
size_t OrderedStateBytes(const NeighbourhoodFilter *pFilter, size_t nSamples, ptrdiff_t step);
void OrderedRow(void *pState, const NeighbourhoodFilter *pFilter, const BYTE *const *lines,
                ptrdiff_t step, BYTE *out, size_t count, int bFirst);

// Whole rows of a rule with a pNear.
extern const RowKernel NEAR_ROWS;

}  // namespace KERNEL_LEVEL

#endif
