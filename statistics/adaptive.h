// The workers of the adaptive filters. Each takes the image, its sides, the filter's parameters and
// the progress flag, and returns the new image or null.
#ifndef STATISTICS_ADAPTIVE_H
#define STATISTICS_ADAPTIVE_H

#include <windows.h>

HGLOBAL AdaptiveDWMTMFilter8(HGLOBAL hDib, int width, int height, int nSmallSize, int nLargeSize,
                             int nTrimLevel, int bProgress);
HGLOBAL AdaptiveDWMTMFilter24(HGLOBAL hDib, int width, int height, int nSmallSize, int nLargeSize,
                              int nTrimLevel, int bProgress);
HGLOBAL AdaptiveMMSEFilter8(HGLOBAL hDib, int width, int height, int nSize, int nNoiseVariance,
                            int bProgress);
HGLOBAL AdaptiveMMSEFilter24(HGLOBAL hDib, int width, int height, int nSize, int nNoiseVariance,
                             int bProgress);

#endif
