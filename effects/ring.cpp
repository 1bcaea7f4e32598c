// See ring.h. A number's place in the ring is how many come before it; the one at a place is found
// down the tree, then in its word of 64.

#include "ring.h"

#include "platform/workmemory.h"

#include <string.h>

enum { WORD_BITS = 64 };

int AllocRing(Ring *pRing, size_t nMost)
{
    const size_t nWords = nMost / WORD_BITS + 1;
    memset(pRing, 0, sizeof *pRing);
    pRing->bits = (uint64_t *)WorkAlloc(nWords, sizeof *pRing->bits);
    pRing->counts = (size_t *)WorkAlloc(nWords + 1, sizeof *pRing->counts);
    return pRing->bits != NULL && pRing->counts != NULL;
}

void FreeRing(Ring *pRing)
{
    WorkFree(pRing->bits);
    WorkFree(pRing->counts);
}

static size_t LowestBit(size_t number)
{
    return number & (~number + 1);
}

void FillRing(Ring *pRing, size_t nNumbers)
{
    pRing->nWords = (nNumbers + WORD_BITS - 1) / WORD_BITS;
    pRing->nLeft = nNumbers;
    pRing->nCurrent = 0;
    pRing->nTop = 1;
    while (pRing->nTop * 2 <= pRing->nWords) {
        pRing->nTop *= 2;
    }
    for (size_t i = 0; i < pRing->nWords; i++) {
        const size_t nRest = nNumbers - i * WORD_BITS;
        pRing->bits[i] = nRest < WORD_BITS ? ((uint64_t)1 << nRest) - 1 : ~(uint64_t)0;
    }
    // Entry i counts the words from i - LowestBit(i) to i - 1.
    for (size_t i = 1; i <= pRing->nWords; i++) {
        const size_t nNumbersTo = i * WORD_BITS < nNumbers ? i * WORD_BITS : nNumbers;
        pRing->counts[i] = nNumbersTo - (i - LowestBit(i)) * WORD_BITS;
    }
}

static uint64_t EachByte(unsigned value)
{
    return value * (uint64_t)0x0101010101010101;
}

// The position of the set bit that nBefore others come before.
static unsigned FindBit(uint64_t word, unsigned nBefore)
{
    uint64_t sums = word - (word >> 1 & EachByte(0x55));
    sums = (sums & EachByte(0x33)) + (sums >> 2 & EachByte(0x33));
    sums = ((sums + (sums >> 4)) & EachByte(0x0f)) * EachByte(1);  // of each byte and those below
    // Bytes up to which no more than nBefore are set: the bit lies above them.
    const uint64_t below = ((EachByte(nBefore) | EachByte(0x80)) - sums) >> 7 & EachByte(1);
    const unsigned nShift = (unsigned)((below * EachByte(1)) >> 56) * 8;
    unsigned rest = nBefore - (unsigned)((sums << 8 >> nShift) & 0xff);
    unsigned byte = (unsigned)(word >> nShift) & 0xff;
    for (; rest != 0; rest--) {
        byte &= byte - 1;
    }
    return nShift + (unsigned)__builtin_ctz(byte);
}

size_t TakeFromRing(Ring *pRing, size_t nSteps)
{
    size_t nBefore = pRing->nCurrent + nSteps;
    nBefore = nBefore < pRing->nLeft ? nBefore : nBefore % pRing->nLeft;
    pRing->nLeft--;
    pRing->nCurrent = nBefore < pRing->nLeft ? nBefore : 0;
    size_t nWord = 0;
    for (size_t nJump = pRing->nTop; nJump != 0; nJump /= 2) {
        size_t *pCount = &pRing->counts[nWord + nJump];
        if (nWord + nJump <= pRing->nWords && *pCount <= nBefore) {
            nBefore -= *pCount;
            nWord += nJump;
        } else if (nWord + nJump <= pRing->nWords) {
            (*pCount)--;  // the number lies in what this entry counts
        }
    }
    const unsigned nBit = FindBit(pRing->bits[nWord], (unsigned)nBefore);
    pRing->bits[nWord] &= ~((uint64_t)1 << nBit);
    return nWord * WORD_BITS + nBit;
}
