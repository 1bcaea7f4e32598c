// Packed DIBs: the check that every block passes before an export touches it, the layout, and the
// blocks that results are made in.
#ifndef FRAME_DIB_H
#define FRAME_DIB_H

#include <windows.h>

#include <stddef.h>

enum { DIB_HEADER_BYTES = 40, GRAY_LEVELS = 256 };

// What the header says, once it is known that the block holds it all.
struct DibShape {
    int width;
    int height;
    int bitCount;
    int nPlanes;         // as stored; only some operations insist on 1
    DWORD nColors;       // colour-table entries in the block
    size_t stride;       // bytes from row to row
    size_t nBitsOffset;  // from the block's start to the bottom row
    size_t nBlockBytes;  // what the block holds, at least nBitsOffset + height * stride
};

// A checked block, locked. Rows are bottom-up. The host may rewrite the block at any time (another
// thread, a message that is let through), so the header is read once, when the block is checked,
// and only this copy of it is used from then on.
struct DibView {
    HGLOBAL hDib;
    DibShape shape;
    BITMAPINFOHEADER header;
    BYTE *pBlock;
    RGBQUAD *pColors;
    BYTE *pBits;
};

// Checks and locks. 0, nothing locked, unless the block is a 40-byte-header, uncompressed,
// bottom-up DIB with positive sides whose colour table and rows all lie inside it.
int LockDib(HGLOBAL hDib, DibView *pView);

// The same where only the low byte of biBitCount counts: the shape's bitCount and stride are formed
// from that byte, and the block is checked against them.
int LockDibByLowDepth(HGLOBAL hDib, DibView *pView);

// The check alone, of a locked block whose header the caller has read. 0: it is no such DIB.
int ViewDib(HGLOBAL hDib, void *pBlock, const BITMAPINFOHEADER *pHeader, DibView *pView);

// Reads the header of a locked block, once. 0 if the block is shorter.
int ReadHeader(HGLOBAL hDib, const void *pBlock, BITMAPINFOHEADER *pHeader);

void UnlockDib(const DibView *pView);

// Locks a block of our own once more, where it now lies. 0: it cannot be locked.
int RelockDib(DibView *pView);

int IsSameShape(const DibShape *a, const DibShape *b);

// Some operations count rows and keep the stride in 16 bits and are not defined past that.
static inline int FitsSixteenBits(const DibShape *pShape)
{
    return pShape->height <= 0xffff && pShape->stride <= 0xffff;
}

// Colour-table entries and bytes that a header announces; core headers (12 bytes) are understood
// here and nowhere else.
DWORD DibNumColors(const BITMAPINFOHEADER *pHeader);
DWORD DibPaletteSize(const BITMAPINFOHEADER *pHeader);

// Row r counted from the top of the picture.
static inline BYTE *PictureRow(const DibView *pView, int y)
{
    return pView->pBits + (size_t)(pView->shape.height - 1 - y) * pView->shape.stride;
}

// A new movable, zeroed block of that many bytes; null past 2^31 - 1.
HGLOBAL AllocBlock(unsigned long long nBytes);

// A new block of the same size with the same bytes but for the rows, which are left zero for the
// caller to write once, in order, each with the source's padding (CopyRowPadding). Locked into
// *pResult; null without memory.
HGLOBAL DuplicateFrame(const DibView *pSource, DibView *pResult);
void CopyRowPadding(const DibView *pSource, const DibView *pResult, int y);

// Header and colour table of a new image in a block of at least that size.
void CopyHead(const DibView *pSource, BYTE *pBlock);

// An 8-bit image with fewer than 256 colours as a copy with 256, the missing ones black. Locked
// into *pFull; null without memory.
HGLOBAL CopyWithFullTable(const DibView *pSource, DibView *pFull);

// A new image of one colour: 1, 8 or 24 bits, white or black. The resolutions are dots per inch.
// Null for a width below 1, a negative resolution or another depth (code 8 in nLastError), for a
// height below 0, and without memory (code 1). Kept: at 8 bits entry 0 of the colour table is white
// and all others are black; a black image is full of index 2.
HGLOBAL CreateBlankDib(int width, int height, int xDpi, int yDpi, BYTE bitCount, int bWhite);

// 1 if all colours of an 8-bit image have equal components (missing entries count as black).
int IsGrayPalette(const DibView *pView);

#endif
