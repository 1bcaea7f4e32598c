// The two format conversions, as the library itself calls them (the exports add the call frame).
#ifndef FRAME_CONVERT_H
#define FRAME_CONVERT_H

#include <windows.h>

// 1-bit to 8-bit gray; see ConvertMonoDibToGrayScale.
HGLOBAL ConvertMono(HGLOBAL hDib, UINT method);

// 8-bit palette to 24-bit; see Convert8bitto24.
HGLOBAL ConvertPalette(HGLOBAL hDib);

#endif
