// The workers of the mean filters. Each takes the image, its sides, the filter's parameters and the
// progress flag, and returns the new image or null.
#ifndef STATISTICS_MEAN_H
#define STATISTICS_MEAN_H

#include "VexaFilter.h"

HGLOBAL GeometricMeanFilter8(HGLOBAL hDib, int width, int height, int nSize, int bProgress);
HGLOBAL GeometricMeanFilter24(HGLOBAL hDib, int width, int height, int nSize, int bProgress);
HGLOBAL HarmonicMeanFilter8(HGLOBAL hDib, int width, int height, int nSize, int bProgress);
HGLOBAL HarmonicMeanFilter24(HGLOBAL hDib, int width, int height, int nSize, int bProgress);
HGLOBAL ContraHarmonicMeanFilter8(HGLOBAL hDib, int width, int height, int nSize, int nOrder,
                                  int bProgress);
HGLOBAL ContraHarmonicMeanFilter24(HGLOBAL hDib, int width, int height, int nSize, int nOrder,
                                   int bProgress);
HGLOBAL YpMeanFilter8(HGLOBAL hDib, int width, int height, int nSize, int nOrder, int bProgress);
HGLOBAL YpMeanFilter24(HGLOBAL hDib, int width, int height, int nSize, int nOrder, int bProgress);
HGLOBAL WeightedMeanFilter8(HGLOBAL hDib, int width, int height, const FilterMask *pMask,
                            int bProgress);
HGLOBAL WeightedMeanFilter24(HGLOBAL hDib, int width, int height, const FilterMask *pMask,
                             int bProgress);

#endif
