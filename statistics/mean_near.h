// Near sums of the mean filters' rules (mean_kernels.h).
#ifndef STATISTICS_MEAN_NEAR_H
#define STATISTICS_MEAN_NEAR_H

#include "mean_kernels.h"

// Each fills *pNear, which is zeroed, and hangs it into the rule if it decides enough levels. The
// rule's sums are complete.
void MakeGeometricNear(MeanRule *pRule, NearSum *pNear);
void MakeHarmonicNear(MeanRule *pRule, NearSum *pNear);
void MakeContraNear(MeanRule *pRule, NearSum *pNear, int nOrder);

// limits: where the ranks 0 to 254 of the rounded sum end.
void MakeYpNear(MeanRule *pRule, NearSum *pNear, int nOrder, const double *limits);

#endif
