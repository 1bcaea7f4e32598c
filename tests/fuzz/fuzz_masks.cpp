// See fuzz_masks.h.

#include "fuzz_masks.h"

#include "fuzz_host.h"

#include <stdlib.h>

enum { MOST_POSITIONS = 1 << 24 };  // that the library accepts

// Some masks have few weights other than 0, some a null column.
static void FillMask(FuzzMask *p)
{
    FilterMask *pMask = &p->mask;
    pMask->elements = (BYTE **)malloc((size_t)pMask->columns * sizeof(BYTE *));
    for (size_t i = 0; i < FuzzMask::COLUMNS; i++) {
        p->columns[i] = (BYTE *)malloc((size_t)pMask->rows);
        for (size_t j = 0; j < (size_t)pMask->rows; j++) {
            p->columns[i][j] = (BYTE)(InputByte(i * 41 + j) & InputByte(0));
        }
    }
    for (int i = 0; i < pMask->columns; i++) {
        pMask->elements[i] = p->columns[i % FuzzMask::COLUMNS];
    }
    if (InputByte(1) == 255) {
        pMask->elements[InputByte(2) % pMask->columns] = NULL;
    }
}

void MakeFuzzMask(FuzzMask *p, int nMostAllocated)
{
    *p = {};
    FilterMask *pMask = &p->mask;
    *pMask = {NULL, NextNumber(), NextNumber(), NextNumber(), NextNumber()};
    const int kind = NextNumber() % 16;  // 13: no mask, 14: no columns
    const int64_t nClaimed = (int64_t)pMask->rows * pMask->columns;
    if (kind != 14 && (pMask->rows < 1 || pMask->columns < 1 || nClaimed > MOST_POSITIONS)) {
        pMask->elements = (BYTE **)malloc(1);
    } else if (kind != 14) {
        if (nClaimed > nMostAllocated) {
            pMask->rows = 1 + pMask->rows % 256;
            pMask->columns = 1 + pMask->columns % 256;
        }
        FillMask(p);
    }
    p->pGiven = kind == 13 ? NULL : pMask;
}

void FreeFuzzMask(FuzzMask *p)
{
    for (BYTE *column : p->columns) {
        free(column);
    }
    free(p->mask.elements);
}
