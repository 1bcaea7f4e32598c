// See filter_mask.h.

#include "filter_mask.h"

#include <stdint.h>

int HasMaskPositions(const FilterMask *pMask)
{
    if (pMask->elements == NULL || pMask->rows < 1 || pMask->columns < 1 ||
        (int64_t)pMask->rows * pMask->columns > MOST_MASK_POSITIONS) {
        return 0;
    }
    for (int i = 0; i < pMask->columns; i++) {
        if (pMask->elements[i] == NULL) {
            return 0;
        }
    }
    return 1;
}
