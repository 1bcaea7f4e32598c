// The workers of the rank filters. Each takes the image, its sides, the filter's parameters and the
// progress flag, and returns the new image or null.
#ifndef STATISTICS_RANK_H
#define STATISTICS_RANK_H

#include "VexaFilter.h"

HGLOBAL MinimumFilter8(HGLOBAL hDib, int width, int height, int nSize, int bProgress);
HGLOBAL MinimumFilter24(HGLOBAL hDib, int width, int height, int nSize, int bProgress);
HGLOBAL MaximumFilter8(HGLOBAL hDib, int width, int height, int nSize, int bProgress);
HGLOBAL MaximumFilter24(HGLOBAL hDib, int width, int height, int nSize, int bProgress);
HGLOBAL MedianFilter8(HGLOBAL hDib, int width, int height, int nSize, int bProgress);
HGLOBAL MedianFilter24(HGLOBAL hDib, int width, int height, int nSize, int bProgress);
HGLOBAL MidpointFilter8(HGLOBAL hDib, int width, int height, int nSize, int bProgress);
HGLOBAL MidpointFilter24(HGLOBAL hDib, int width, int height, int nSize, int bProgress);
HGLOBAL RangeFilter8(HGLOBAL hDib, int width, int height, int nSize, int bProgress);
HGLOBAL RangeFilter24(HGLOBAL hDib, int width, int height, int nSize, int bProgress);
HGLOBAL AlphaTrimmedMeanFilter8(HGLOBAL hDib, int width, int height, int nSize, int nTrim,
                                int bProgress);
HGLOBAL AlphaTrimmedMeanFilter24(HGLOBAL hDib, int width, int height, int nSize, int nTrim,
                                 int bProgress);
HGLOBAL WeightedMedianFilter8(HGLOBAL hDib, int width, int height, const FilterMask *pMask,
                              int bProgress);
HGLOBAL WeightedMedianFilter24(HGLOBAL hDib, int width, int height, const FilterMask *pMask,
                               int bProgress);

#endif
