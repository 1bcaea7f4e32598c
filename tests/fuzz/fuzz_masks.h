// Masks for the fuzz targets. A mask claims any number of rows and columns. What is refused by the
// numbers alone has nothing behind it; any other claim is true, in columns of exactly that many
// bytes.
#ifndef FUZZ_MASKS_H
#define FUZZ_MASKS_H

#include "VexaFilter.h"

struct FuzzMask {
    enum { COLUMNS = 5 };  // different ones; they repeat
    BYTE *columns[COLUMNS];
    FilterMask mask;
    const FilterMask *pGiven;  // perhaps null
};

// nMostAllocated: positions of a mask that is not refused by its numbers.
void MakeFuzzMask(FuzzMask *p, int nMostAllocated);
void FreeFuzzMask(FuzzMask *p);

#endif
