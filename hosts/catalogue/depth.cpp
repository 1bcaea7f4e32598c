// See depth.h.
#include "depth.h"

#include "hosts/imagefile/imagefile.h"

#include <string.h>

int BitsOfDib(HGLOBAL hDib)
{
    BITMAPINFOHEADER header = {};
    if (const void *block = GlobalLock(hDib)) {
        memcpy(&header, block, sizeof header);
        GlobalUnlock(hDib);
    }
    return header.biBitCount;
}

// Some filters work on stored values, which in a picture with a colour table are numbers of
// colours, and all take a 1-bit picture for black and white.
static bool IsAsSeen(const CatalogueFilter *filter, int bits, DibValues values)
{
    return filter->bStoredValues ? values == VALUES_ARE_LEVELS
                                 : bits != 1 || values <= VALUES_ARE_REVERSED;
}

int DepthForFilter(const CatalogueFilter *filter, HGLOBAL hDib)
{
    const int bits = BitsOfDib(hDib);
    const DibValues values = ValuesOfDib(hDib);
    const bool bTaken = (filter->nDepths & DepthBit(bits)) != 0;
    const bool bTakes8 = (filter->nDepths & DEPTH_8) != 0;
    const bool bTakes24 = (filter->nDepths & DEPTH_24) != 0;
    if (bits == 24 || (bTaken && IsAsSeen(filter, bits, values))) {
        return 0;
    }
    return bTakes24 && (values == VALUES_NAME_COLOURS || !bTakes8) ? 24 : bTakes8 ? 8 : 0;
}
