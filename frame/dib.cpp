// Packed DIBs: checking, layout, result blocks.
//
// A header is whatever a host or a file put there. It is read once; every size is formed in 64 bits
// and compared with the block's real size, so nothing past this file can reach outside a block.
// biSizeImage is not looked at; the block's own size may be larger than the image.

#include "dib.h"

#include "intops.h"
#include "thread_state.h"

#include <string.h>

static const unsigned long long LARGEST_BLOCK = 0x7fffffff;
static const unsigned LARGEST_PREFIX = 65535;  // header and colour table

DWORD DibNumColors(const BITMAPINFOHEADER *pHeader)
{
    unsigned bitCount = pHeader->biBitCount;
    if (pHeader->biSize == sizeof(BITMAPCOREHEADER)) {
        BITMAPCOREHEADER core;
        memcpy(&core, pHeader, sizeof core);
        bitCount = core.bcBitCount;
    } else if (pHeader->biClrUsed != 0) {
        return pHeader->biClrUsed;
    }
    return bitCount == 1 ? 2 : bitCount == 4 ? 16 : bitCount == 8 ? 256 : 0;
}

DWORD DibPaletteSize(const BITMAPINFOHEADER *pHeader)
{
    const DWORD bytesPerEntry = pHeader->biSize == sizeof(BITMAPCOREHEADER) ? 3 : 4;
    return DibNumColors(pHeader) * bytesPerEntry;
}

static int ShapeOf(const BITMAPINFOHEADER *pHeader, unsigned bitCount, size_t nBlockBytes,
                   DibShape *pShape)
{
    if (pHeader->biSize != DIB_HEADER_BYTES || pHeader->biCompression != BI_RGB ||
        pHeader->biWidth <= 0 || pHeader->biHeight <= 0) {
        return 0;
    }
    const DWORD nColors = DibNumColors(pHeader);
    const uint64_t prefix = DIB_HEADER_BYTES + (uint64_t)nColors * sizeof(RGBQUAD);
    const uint64_t stride = RowStride((uint64_t)pHeader->biWidth, bitCount);
    // width x 16-bit depth x height stays below 2^31 x 2^13 x 2^31 and cannot overflow.
    const uint64_t rows = stride * (uint64_t)pHeader->biHeight;
    if (stride == 0 || prefix > LARGEST_PREFIX || rows > LARGEST_BLOCK ||
        prefix + rows > nBlockBytes) {
        return 0;
    }
    pShape->width = pHeader->biWidth;
    pShape->height = pHeader->biHeight;
    pShape->bitCount = (int)bitCount;
    pShape->nPlanes = pHeader->biPlanes;
    pShape->nColors = nColors;
    pShape->stride = (size_t)stride;
    pShape->nBitsOffset = (size_t)prefix;
    pShape->nBlockBytes = nBlockBytes;
    return 1;
}

int IsSameShape(const DibShape *a, const DibShape *b)
{
    return a->width == b->width && a->height == b->height && a->bitCount == b->bitCount &&
           a->nPlanes == b->nPlanes && a->nColors == b->nColors &&
           a->nBlockBytes == b->nBlockBytes;  // the rest follows
}

static void AimView(HGLOBAL hDib, BYTE *pBlock, DibView *pView)
{
    pView->hDib = hDib;
    pView->pBlock = pBlock;
    pView->pColors = (RGBQUAD *)(void *)(pBlock + DIB_HEADER_BYTES);
    pView->pBits = pBlock + pView->shape.nBitsOffset;
}

static int ViewAtDepth(HGLOBAL hDib, void *pBlock, const BITMAPINFOHEADER *pHeader,
                       unsigned depthMask, DibView *pView)
{
    if (!ShapeOf(pHeader, pHeader->biBitCount & depthMask, GlobalSize(hDib), &pView->shape)) {
        return 0;
    }
    pView->header = *pHeader;
    AimView(hDib, (BYTE *)pBlock, pView);
    return 1;
}

int ViewDib(HGLOBAL hDib, void *pBlock, const BITMAPINFOHEADER *pHeader, DibView *pView)
{
    return ViewAtDepth(hDib, pBlock, pHeader, 0xffff, pView);
}

int ReadHeader(HGLOBAL hDib, const void *pBlock, BITMAPINFOHEADER *pHeader)
{
    if (GlobalSize(hDib) < DIB_HEADER_BYTES) {
        return 0;
    }
    memcpy(pHeader, pBlock, sizeof *pHeader);
    // Keeps the compiler from reading the block again in place of the copy.
    __asm__ volatile("" : "+m"(*pHeader));
    return 1;
}

static int LockAtDepth(HGLOBAL hDib, unsigned depthMask, DibView *pView)
{
    BITMAPINFOHEADER header;
    void *pBlock = hDib != NULL ? GlobalLock(hDib) : NULL;
    if (pBlock == NULL) {
        return 0;
    }
    if (!ReadHeader(hDib, pBlock, &header) ||
        !ViewAtDepth(hDib, pBlock, &header, depthMask, pView)) {
        GlobalUnlock(hDib);
        return 0;
    }
    return 1;
}

int LockDib(HGLOBAL hDib, DibView *pView)
{
    return LockAtDepth(hDib, 0xffff, pView);
}

int LockDibByLowDepth(HGLOBAL hDib, DibView *pView)
{
    return LockAtDepth(hDib, 0xff, pView);
}

void UnlockDib(const DibView *pView)
{
    GlobalUnlock(pView->hDib);
}

int RelockDib(DibView *pView)
{
    BYTE *pBlock = (BYTE *)GlobalLock(pView->hDib);
    if (pBlock != NULL) {
        AimView(pView->hDib, pBlock, pView);
    }
    return pBlock != NULL;
}

HGLOBAL AllocBlock(unsigned long long nBytes)
{
    if (nBytes > LARGEST_BLOCK) {
        return NULL;
    }
    return GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, (SIZE_T)nBytes);
}

// A new block, locked. Null, nothing left behind, if it cannot be had.
static HGLOBAL AllocLocked(unsigned long long nBytes, BYTE **ppBlock)
{
    const HGLOBAL hBlock = AllocBlock(nBytes);
    *ppBlock = hBlock != NULL ? (BYTE *)GlobalLock(hBlock) : NULL;
    if (*ppBlock == NULL && hBlock != NULL) {
        GlobalFree(hBlock);
    }
    return *ppBlock != NULL ? hBlock : NULL;
}

void CopyHead(const DibView *pSource, BYTE *pBlock)
{
    memcpy(pBlock, &pSource->header, DIB_HEADER_BYTES);
    memcpy(pBlock + DIB_HEADER_BYTES, pSource->pColors,
           pSource->shape.nBitsOffset - DIB_HEADER_BYTES);
}

HGLOBAL DuplicateFrame(const DibView *pSource, DibView *pResult)
{
    const DibShape *p = &pSource->shape;
    BYTE *pBlock;
    const HGLOBAL hResult = AllocLocked(p->nBlockBytes, &pBlock);
    if (hResult == NULL) {
        return NULL;
    }
    const size_t nPixelsEnd = p->nBitsOffset + p->stride * (size_t)p->height;
    pResult->shape = *p;
    pResult->header = pSource->header;
    AimView(hResult, pBlock, pResult);
    CopyHead(pSource, pBlock);
    memcpy(pBlock + nPixelsEnd, pSource->pBlock + nPixelsEnd, p->nBlockBytes - nPixelsEnd);
    return hResult;
}

void CopyRowPadding(const DibView *pSource, const DibView *pResult, int y)
{
    const DibShape *p = &pSource->shape;
    const size_t nUsed = (size_t)(((uint64_t)p->width * (unsigned)p->bitCount + 7) / 8);
    if (nUsed < p->stride) {
        memcpy(PictureRow(pResult, y) + nUsed, PictureRow(pSource, y) + nUsed, p->stride - nUsed);
    }
}

HGLOBAL CopyWithFullTable(const DibView *pSource, DibView *pFull)
{
    const DibShape *p = &pSource->shape;
    const size_t nAfterTable = p->nBlockBytes - p->nBitsOffset;
    const size_t nFullOffset = DIB_HEADER_BYTES + GRAY_LEVELS * sizeof(RGBQUAD);
    BYTE *pBlock;
    const HGLOBAL hFull = AllocLocked((unsigned long long)nFullOffset + nAfterTable, &pBlock);
    if (hFull == NULL) {
        return NULL;
    }
    pFull->shape = *p;
    pFull->shape.nColors = GRAY_LEVELS;
    pFull->shape.nBitsOffset = nFullOffset;
    pFull->shape.nBlockBytes = nFullOffset + nAfterTable;
    pFull->header = pSource->header;
    pFull->header.biClrUsed = GRAY_LEVELS;
    AimView(hFull, pBlock, pFull);
    CopyHead(pSource, pBlock);
    memcpy(pBlock, &pFull->header, DIB_HEADER_BYTES);
    memcpy(pFull->pBits, pSource->pBits, nAfterTable);
    return hFull;
}

static void FillBlank(BITMAPINFOHEADER *pHeader, size_t nPixelBytes, int bWhite)
{
    const unsigned bitCount = pHeader->biBitCount;
    RGBQUAD *pColors = (RGBQUAD *)(void *)(pHeader + 1);
    BYTE *pBits = (BYTE *)(void *)pColors + DibPaletteSize(pHeader);
    const RGBQUAD white = {255, 255, 255, 0};
    if (bitCount == 8) {
        pColors[0] = white;
        memset(pBits, bWhite ? 0 : 2, nPixelBytes);
        return;
    }
    if (bitCount == 1) {
        pColors[1] = white;
    }
    memset(pBits, bWhite ? 255 : 0, nPixelBytes);
}

HGLOBAL CreateBlankDib(int width, int height, int xDpi, int yDpi, BYTE bitCount, int bWhite)
{
    static const double INCHES_PER_METER = 39.37;
    FilterThreadState *pState = GetFilterThreadState();
    const int bDepth = bitCount == 1 || bitCount == 8 || bitCount == 24;
    if (width < 1 || height < 0 || xDpi < 0 || yDpi < 0 || !bDepth) {
        pState->nLastError = CONVERT_BAD_ARGUMENT;
        return NULL;
    }
    BITMAPINFOHEADER header;
    memset(&header, 0, sizeof header);
    const uint64_t nPixelBytes = RowStride((uint64_t)width, bitCount) * (uint64_t)height;
    header.biSize = DIB_HEADER_BYTES;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = bitCount;
    header.biSizeImage = (DWORD)nPixelBytes;
    header.biXPelsPerMeter = TruncateToInt(xDpi * INCHES_PER_METER + 0.5);
    header.biYPelsPerMeter = TruncateToInt(yDpi * INCHES_PER_METER + 0.5);
    // Kept: four spare bytes at the end.
    BYTE *pBlock;
    const HGLOBAL hBlank =
        AllocLocked(nPixelBytes + DibPaletteSize(&header) + DIB_HEADER_BYTES + 4, &pBlock);
    if (hBlank == NULL) {
        pState->nLastError = CONVERT_NO_MEMORY;
        return NULL;
    }
    memcpy(pBlock, &header, sizeof header);
    FillBlank((BITMAPINFOHEADER *)(void *)pBlock, (size_t)nPixelBytes, bWhite);
    GlobalUnlock(hBlank);
    return hBlank;
}

int IsGrayPalette(const DibView *pView)
{
    int bGray = pView->shape.bitCount == 8;
    for (DWORD i = 0; bGray && i < GRAY_LEVELS && i < pView->shape.nColors; i++) {
        const RGBQUAD color = pView->pColors[i];
        bGray = color.rgbRed == color.rgbGreen && color.rgbRed == color.rgbBlue;
    }
    return bGray;
}
