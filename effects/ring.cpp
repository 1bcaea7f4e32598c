// See ring.h. A number's place in the ring is how many come before it; the one at a place is found
// down the tree, then in its word of 64. Nothing branches on what is drawn.

#include "ring.h"

#include "platform/workmemory.h"

#include <string.h>

enum { WORD_BITS = 64, BYTE_BITS = 8, BYTES = 256 };

// More than there are numbers, however often it is counted down.
static const uint32_t PAST_THE_END = 0x80000000;

// The position of each set bit of each byte.
struct BitTable {
    uint8_t position[BYTE_BITS][BYTES];
};

static constexpr BitTable MakeBitTable(void)
{
    BitTable table = {};
    for (int byte = 0; byte < BYTES; byte++) {
        int nBefore = 0;
        for (int bit = 0; bit < BYTE_BITS; bit++) {
            if (byte >> bit & 1) {
                table.position[nBefore++][byte] = (uint8_t)bit;
            }
        }
    }
    return table;
}

static constexpr BitTable BITS = MakeBitTable();

static uint32_t PowerFrom(uint32_t number)
{
    uint32_t power = 1;
    while (power < number) {
        power *= 2;
    }
    return power;
}

int AllocRing(Ring *pRing, size_t nMost)
{
    const size_t nWords = nMost / WORD_BITS + 1;
    memset(pRing, 0, sizeof *pRing);
    pRing->bits = (uint64_t *)WorkAlloc(nWords, sizeof *pRing->bits);
    pRing->counts = (uint32_t *)WorkAlloc(PowerFrom((uint32_t)nWords + 1), sizeof *pRing->counts);
    return pRing->bits != NULL && pRing->counts != NULL;
}

void FreeRing(Ring *pRing)
{
    WorkFree(pRing->bits);
    WorkFree(pRing->counts);
}

static uint32_t LowestBit(uint32_t number)
{
    return number & (~number + 1);
}

void FillRing(Ring *pRing, uint32_t nNumbers)
{
    const uint32_t nWords = (nNumbers + WORD_BITS - 1) / WORD_BITS;
    const uint32_t nEntries = PowerFrom(nWords + 1);
    pRing->nTop = nEntries / 2;
    pRing->nLeft = nNumbers;
    pRing->nCurrent = 0;
    for (uint32_t i = 0; i < nWords; i++) {
        const uint32_t nRest = nNumbers - i * WORD_BITS;
        pRing->bits[i] = nRest < WORD_BITS ? ((uint64_t)1 << nRest) - 1 : ~(uint64_t)0;
    }
    // Entry i counts the words from i - LowestBit(i) to i - 1.
    for (uint32_t i = 1; i < nEntries; i++) {
        const uint32_t nNumbersTo = i * WORD_BITS < nNumbers ? i * WORD_BITS : nNumbers;
        pRing->counts[i] = i <= nWords ? nNumbersTo - (i - LowestBit(i)) * WORD_BITS : PAST_THE_END;
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
    const unsigned nShift = (unsigned)((below * EachByte(1)) >> 56) * BYTE_BITS;
    const unsigned nRest = nBefore - (unsigned)((sums << BYTE_BITS >> nShift) & 0xff);
    return nShift + BITS.position[nRest][(word >> nShift) & 0xff];
}

uint32_t TakeFromRing(Ring *pRing, uint32_t nSteps)
{
    const uint32_t nLeft = pRing->nLeft--;
    uint32_t nBefore = pRing->nCurrent + nSteps % nLeft;
    nBefore -= nBefore >= nLeft ? nLeft : 0;
    pRing->nCurrent = nBefore;
    uint32_t nWord = 0;
    for (uint32_t nJump = pRing->nTop; nJump != 0; nJump /= 2) {
        const uint32_t nCount = pRing->counts[nWord + nJump];
        const uint32_t bBeyond = nCount <= nBefore ? 1 : 0;
        // Where the number lies in what an entry counts, that is one less.
        pRing->counts[nWord + nJump] = nCount - 1 + bBeyond;
        nBefore -= bBeyond != 0 ? nCount : 0;
        nWord += bBeyond != 0 ? nJump : 0;
    }
    const unsigned nBit = FindBit(pRing->bits[nWord], nBefore);
    pRing->bits[nWord] &= ~((uint64_t)1 << nBit);
    return nWord * WORD_BITS + nBit;
}
