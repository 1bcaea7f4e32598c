// The two format conversions, as the library itself calls them on a locked image (the exports check
// it and add the call frame).
#ifndef FRAME_CONVERT_H
#define FRAME_CONVERT_H

#include "dib.h"

// 1-bit to 8-bit gray; see ConvertMonoDibToGrayScale. Method 0 to 2. The result is locked into
// *pGray. Null without memory; the code goes to nLastError.
HGLOBAL ExpandMono(const DibView *pSource, UINT method, DibView *pGray);

// 8-bit palette to 24-bit; see Convert8bitto24. The same; null for more than 65535 rows or bytes in
// a row as well.
HGLOBAL ExpandPalette(const DibView *pSource, DibView *pColor);

#endif
