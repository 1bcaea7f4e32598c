// What every operation asks of a caller's FilterMask before it reads the positions.
#ifndef FRAME_FILTER_MASK_H
#define FRAME_FILTER_MASK_H

#include "VexaFilter.h"

enum { MOST_MASK_POSITIONS = 1 << 24 };

// 1 if the mask has 1 to MOST_MASK_POSITIONS positions and no column is null. Wild pointers cannot
// be told.
int HasMaskPositions(const FilterMask *pMask);

#endif
