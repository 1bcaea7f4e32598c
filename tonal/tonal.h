// The workers of the tonal filters. Each takes the image, its sides, the filter's parameters and
// the progress flag, and returns the new image or null.
#ifndef TONAL_TONAL_H
#define TONAL_TONAL_H

#include <windows.h>

HGLOBAL AutoContrast8(HGLOBAL hDib, int width, int height, int bProgress);
HGLOBAL AutoContrast24(HGLOBAL hDib, int width, int height, int bProgress);
HGLOBAL ParabolaTransform8(HGLOBAL hDib, int width, int height, int bInvert, int bProgress);
HGLOBAL ParabolaTransform24(HGLOBAL hDib, int width, int height, int bInvert, int bProgress);
HGLOBAL Solarize8(HGLOBAL hDib, int width, int height, int nThreshold, int bProgress);
HGLOBAL Solarize24(HGLOBAL hDib, int width, int height, int nThreshold, int bProgress);
HGLOBAL Posterize8(HGLOBAL hDib, int width, int height, int nLevels, int bProgress);
HGLOBAL Posterize24(HGLOBAL hDib, int width, int height, int nLevels, int bProgress);

// The 8-bit worker ignores nChannel.
HGLOBAL Levels8(HGLOBAL hDib, int width, int height, int nInLow, int nInHigh, int nInMid,
                int nOutLow, int nOutHigh, int nChannel, int bProgress);
HGLOBAL Levels24(HGLOBAL hDib, int width, int height, int nInLow, int nInHigh, int nInMid,
                 int nOutLow, int nOutHigh, int nChannel, int bProgress);
HGLOBAL AutoLevels8(HGLOBAL hDib, int width, int height, float fClip, int bProgress);
HGLOBAL AutoLevels24(HGLOBAL hDib, int width, int height, float fClip, int bProgress);

HGLOBAL Difference8(HGLOBAL hDib, int width, int height, BYTE nDirection, int bProgress);
HGLOBAL Difference24(HGLOBAL hDib, int width, int height, BYTE nDirection, int bProgress);

#endif
