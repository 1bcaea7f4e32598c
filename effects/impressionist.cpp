// Impressionist: the pixels of each block change places at random. A pixel goes to where it is
// drawn from a ring of those left. Kept: the draw is taken modulo the number of pixels of the whole
// block, however many are left; the last column and the last row of the picture belong to no block.
//
// Pixels are moved as they are stored: with a gray palette, as indices.

#include "VexaFilter.h"
#include "effect_frame.h"
#include "frame/intops.h"
#include "frame/levels.h"
#include "frame/progress.h"
#include "random.h"
#include "ring.h"

#include <string.h>

struct BlockSides {
    int nWidth, nHeight;
};

struct Shuffle {
    const DibView *pSource;
    DibView result;
    size_t channels;
    uint32_t nState;
    Ring ring;
};

struct Block {
    int nLeft, nTop, nWidth, nHeight;
};

static int HasBlock(const void *pArguments)
{
    const BlockSides *p = (const BlockSides *)pArguments;
    return p->nWidth >= 1 && p->nHeight >= 1;
}

static int StepsOverBands(int width, int height, int bGray, const void *pArguments)
{
    const BlockSides *p = (const BlockSides *)pArguments;
    (void)width;
    (void)bGray;
    return (int)CeilDivide((uint64_t)height, (uint64_t)p->nHeight) / UNITS_PER_STEP *
           UNITS_PER_STEP;
}

// The part of block number i of nSide that is before the last column or row.
static int PartOf(int64_t i, int nSide, int size)
{
    const int64_t nEnd = (i + 1) * nSide < size - 1 ? (i + 1) * nSide : size - 1;
    return nEnd > i * nSide ? (int)(nEnd - i * nSide) : 0;
}

// From top to bottom, then from left to right.
static void ShuffleBlock(Shuffle *p, const Block *pBlock)
{
    const ptrdiff_t stride = (ptrdiff_t)p->pSource->shape.stride;
    const size_t nLeft = (size_t)pBlock->nLeft * p->channels;
    const BYTE *from = PictureRow(p->pSource, pBlock->nTop) + nLeft;
    BYTE *to = PictureRow(&p->result, pBlock->nTop) + nLeft;
    const unsigned nHeight = (unsigned)pBlock->nHeight;
    const unsigned nPixels = (unsigned)pBlock->nWidth * nHeight;
    if (nPixels == 0) {
        return;
    }
    // Both quotients are exact: the draws are below 2^15, and a half keeps off whole numbers.
    const uint64_t nReciprocal = ((uint64_t)1 << 32) / nPixels + 1;
    const double perColumn = 1.0 / nHeight;
    FillRing(&p->ring, nPixels);
    for (int x = 0; x < pBlock->nWidth; x++, to += p->channels) {
        BYTE *out = to;
        for (unsigned y = 0; y < nHeight; y++, out -= stride) {
            const unsigned nDraw = DrawRandom(&p->nState);
            const unsigned nTaken =
                TakeFromRing(&p->ring, nDraw - (unsigned)(nDraw * nReciprocal >> 32) * nPixels);
            const unsigned nColumn = (unsigned)(int)((nTaken + 0.5) * perColumn);
            const BYTE *in =
                from + nColumn * p->channels - (ptrdiff_t)(nTaken - nColumn * nHeight) * stride;
            out[0] = in[0];
            if (p->channels == COLOR_CHANNELS) {
                out[1] = in[1];
                out[2] = in[2];
            }
        }
    }
}

static int ShuffleBlocks(Shuffle *p, BlockSides sides, int bProgress)
{
    const FilterThreadState *pState = GetFilterThreadState();
    const int width = p->pSource->shape.width, height = p->pSource->shape.height;
    const size_t stride = p->pSource->shape.stride;
    const int nBands = (int)CeilDivide((uint64_t)height, (uint64_t)sides.nHeight);
    const int nBlocks = (int)CeilDivide((uint64_t)width, (uint64_t)sides.nWidth);
    for (int j = 0; j < nBands; j++) {
        const int nTop = (int)((int64_t)j * sides.nHeight);
        const int nRows = height - nTop < sides.nHeight ? height - nTop : sides.nHeight;
        if (!BeginUnit(pState, bProgress, (unsigned)j)) {
            return 0;
        }
        for (int y = nTop + nRows - 1; y >= nTop; y--) {
            memcpy(PictureRow(&p->result, y), PictureRow(p->pSource, y), stride);
        }
        for (int i = 0; i < nBlocks; i++) {
            const Block block = {(int)((int64_t)i * sides.nWidth), nTop,
                                 PartOf(i, sides.nWidth, width), PartOf(j, sides.nHeight, height)};
            ShuffleBlock(p, &block);
        }
    }
    return 1;
}

static HGLOBAL Impressionist(FilterCall *pCall, const Picture *pPicture)
{
    const BlockSides sides = *(const BlockSides *)pCall->pArguments;
    const DibShape *pShape = &pPicture->view.shape;
    const size_t nColumns = (size_t)(sides.nWidth < pShape->width ? sides.nWidth : pShape->width);
    const size_t nRows = (size_t)(sides.nHeight < pShape->height ? sides.nHeight : pShape->height);
    HGLOBAL hResult = NULL;
    Shuffle shuffle;
    memset(&shuffle, 0, sizeof shuffle);
    shuffle.pSource = &pPicture->view;
    shuffle.channels = (size_t)pShape->bitCount / 8;
    shuffle.nState = SeedFromClock();
    if (AllocRing(&shuffle.ring, nColumns * nRows)) {
        hResult = DuplicateFrame(&pPicture->view, &shuffle.result);
    }
    if (hResult != NULL) {
        const int bDone = ShuffleBlocks(&shuffle, sides, pCall->bProgress);
        UnlockDib(&shuffle.result);
        if (!bDone) {
            GlobalFree(hResult);
            hResult = NULL;
        }
    }
    FreeRing(&shuffle.ring);
    return hResult;
}

static constexpr FilterFrame ImpressionistFrame(void)
{
    FilterFrame frame = EffectFrame("FILTERGROUPUI", 2, 1, NUMBER_IMPRESSIONIST, HasBlock,
                                    Impressionist, StepsOverBands);
    frame.AcceptsEdited = HasBlock;
    return frame;
}

HGLOBAL VEXAFILTER_API FilterImpressionist(HGLOBAL hDib, int nBlockWidth, int nBlockHeight,
                                           UINT mode, HWND hParent)
{
    static constexpr FilterFrame FRAME = ImpressionistFrame();
    return RunFilter(&FRAME, hDib, {nBlockWidth, nBlockHeight}, mode, hParent);
}
