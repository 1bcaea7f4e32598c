// A ring of numbers from which one after the other is taken: what walking along a linked list and
// unlinking where one stops would give, without the walk.
#ifndef EFFECTS_RING_H
#define EFFECTS_RING_H

#include <stddef.h>
#include <stdint.h>

struct Ring {
    uint64_t *bits;     // one for each number still there
    uint32_t *counts;   // of bits: a binary indexed tree (Fenwick 1994) over the words, from 1 on
    uint32_t nTop;      // half the entries of the tree, whose number is a power of 2
    uint32_t nLeft;     // numbers still there
    uint32_t nCurrent;  // how many of them lie before the current one; all: it is the first
};

// Memory for rings of up to nMost numbers, 2^31 at the most. 0 without memory. FreeRing is needed
// in any case.
int AllocRing(Ring *pRing, size_t nMost);
void FreeRing(Ring *pRing);

// The numbers 0 to nNumbers - 1; the first is the current one.
void FillRing(Ring *pRing, uint32_t nNumbers);

// Goes nSteps forward from the current number, takes that one out and returns it; the next one
// becomes the current one. At least one must be there; nSteps is below 2^31.
uint32_t TakeFromRing(Ring *pRing, uint32_t nSteps);

#endif
