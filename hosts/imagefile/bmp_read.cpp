// Reading a BMP file of any common kind into a DIB.
//
// Headers: the 12-byte one of OS/2, the 40-byte one and its longer successors. Rows may be stored
// top-down. 1, 4, 8 and 24 bits per pixel stay what they are; 2 bits become 4; 16 and 32 bits
// become 24 through their colour masks, dropping transparency with a notice; run-length rows are
// decoded. The colour table keeps its length, cut to what the depth and the file hold.
//
// Nothing in the file is believed: all sums are made in 64 bits and compared with the file's
// length before anything is allocated, and what does not fit is refused with a sentence.
#include "codecs.h"

#include <stdint.h>
#include <string.h>

static const uint64_t FILE_HEADER_BYTES = 14;

enum {
    COMPRESSION_NONE,
    COMPRESSION_RLE8,
    COMPRESSION_RLE4,
    COMPRESSION_MASKS,
    COMPRESSION_ALPHA_MASKS = 6
};

// Where one colour stands in a 16- or 32-bit pixel. level[] takes its highest 8 bits to 0..255.
struct ColourMask {
    uint32_t nMask;
    int nShift;
    BYTE level[256];
};

struct BmpLayout {
    uint32_t nHeaderBytes, nCompression, nColoursStated;
    int64_t nWidth, nHeight;  // height positive
    bool bTopDown;
    int nBitCount;
    int nXPelsPerMeter, nYPelsPerMeter;
    uint64_t nTableAt, nBitsAt, nStride;
    unsigned nColourBytes, nColours;
    uint32_t masks[4];  // red, green, blue, alpha
};

static uint32_t Word(const BYTE *p)
{
    return uint32_t(p[1]) << 8 | p[0];
}

static uint32_t Dword(const BYTE *p)
{
    return Word(p + 2) << 16 | Word(p);
}

static bool ReadCoreHeader(const BYTE *header, BmpLayout *bmp)
{
    bmp->nWidth = Word(header + 4);
    bmp->nHeight = Word(header + 6);
    bmp->nBitCount = int(Word(header + 10));
    bmp->nColourBytes = 3;
    return true;
}

static bool ReadInfoHeader(const BYTE *header, BmpLayout *bmp, ImageMessages *messages)
{
    int64_t height = int32_t(Dword(header + 8));
    bmp->nWidth = int32_t(Dword(header + 4));
    bmp->nHeight = height < 0 ? -height : height;
    bmp->bTopDown = height < 0;
    bmp->nBitCount = int(Word(header + 14));
    bmp->nColourBytes = 4;
    if (bmp->nHeaderBytes < 40) {  // the shortest OS/2 2 header ends here
        return true;
    }
    bmp->nCompression = Dword(header + 16);
    bmp->nXPelsPerMeter = int(Dword(header + 24));
    bmp->nYPelsPerMeter = int(Dword(header + 28));
    bmp->nColoursStated = Dword(header + 32);
    // Codes 3 and 4 mean other things in the 64-byte header of OS/2.
    bool bOs2 = bmp->nHeaderBytes == 64 && bmp->nCompression > COMPRESSION_RLE4;
    if (bOs2 || bmp->nCompression > COMPRESSION_ALPHA_MASKS || bmp->nCompression == 4 ||
        bmp->nCompression == 5) {
        return FailImage(messages, "the BMP file uses compression %u, which is not supported",
                         unsigned(bmp->nCompression));
    }
    return true;
}

// The masks stand in the longer headers, or behind a 40-byte one.
static bool ReadMasks(const BYTE *bytes, uint64_t length, BmpLayout *bmp, ImageMessages *messages)
{
    bool bStated =
        bmp->nCompression == COMPRESSION_MASKS || bmp->nCompression == COMPRESSION_ALPHA_MASKS;
    if (!bStated) {
        static const uint32_t USUAL[2][4] = {{0x7C00, 0x03E0, 0x001F, 0},
                                             {0xFF0000, 0x00FF00, 0x0000FF, 0}};
        memcpy(bmp->masks, USUAL[bmp->nBitCount == 32], sizeof bmp->masks);
        return true;
    }
    unsigned count = bmp->nCompression == COMPRESSION_ALPHA_MASKS ? 4 : 3;
    if (bmp->nHeaderBytes == 40) {
        bmp->nTableAt += count * 4;
    } else if (bmp->nHeaderBytes >= 56) {
        count = 4;
    }
    if (length < FILE_HEADER_BYTES + 40 + count * 4) {
        return FailImage(messages, "the BMP file ends inside its header");
    }
    for (unsigned i = 0; i < count; i++) {
        uint32_t mask = Dword(bytes + FILE_HEADER_BYTES + 40 + i * 4);
        uint32_t low = mask & (0 - mask);
        if (mask && ((mask / low) & (mask / low + 1)) != 0) {
            return FailImage(messages, "a colour mask of the BMP file has holes");
        }
        bmp->masks[i] = mask;
    }
    return true;
}

static bool CheckDepth(const BmpLayout *bmp, ImageMessages *messages)
{
    int bits = bmp->nBitCount;
    bool bPlain = bits == 1 || bits == 2 || bits == 4 || bits == 8 || bits == 24;
    bool bMasked = bits == 16 || bits == 32;
    bool bFits = (bmp->nCompression == COMPRESSION_NONE && (bPlain || bMasked)) ||
                 (bmp->nCompression == COMPRESSION_RLE8 && bits == 8) ||
                 (bmp->nCompression == COMPRESSION_RLE4 && bits == 4) ||
                 (bmp->nCompression >= COMPRESSION_MASKS && bMasked);
    if (!bFits) {
        return FailImage(messages, "the BMP file has %d bits per pixel with compression %u", bits,
                         unsigned(bmp->nCompression));
    }
    if (bmp->nWidth < 1 || bmp->nHeight < 1 || bmp->nHeight > INT32_MAX) {
        return FailImage(messages, "the BMP file states a size of %d x %d pixels", int(bmp->nWidth),
                         int(bmp->bTopDown ? -bmp->nHeight : bmp->nHeight));
    }
    return true;
}

// The colour table reaches at most to the pixels; a stated length past the depth is cut.
static bool PlaceTableAndBits(const BYTE *bytes, uint64_t length, BmpLayout *bmp,
                              ImageMessages *messages)
{
    uint64_t most = bmp->nBitCount <= 8 ? 1u << bmp->nBitCount : 0;
    uint64_t stated = bmp->nColoursStated ? bmp->nColoursStated : most;
    bmp->nBitsAt = Dword(bytes + 10);
    if (bmp->nBitsAt == 0) {
        bmp->nBitsAt = bmp->nTableAt + stated * bmp->nColourBytes;
    }
    if (bmp->nBitsAt < bmp->nTableAt || bmp->nBitsAt > length) {
        return FailImage(messages, "the BMP file places its pixels outside itself");
    }
    uint64_t room = (bmp->nBitsAt - bmp->nTableAt) / bmp->nColourBytes;
    uint64_t colours = stated < most ? stated : most;
    bmp->nColours = unsigned(colours < room ? colours : room);
    if (most > 0 && bmp->nColours == 0) {
        return FailImage(messages, "the BMP file has no colour table");
    }
    bmp->nStride = (uint64_t(bmp->nWidth) * unsigned(bmp->nBitCount) + 31) / 32 * 4;
    return true;
}

static bool ReadLayout(const BYTE *bytes, uint64_t length, BmpLayout *bmp, ImageMessages *messages)
{
    memset(bmp, 0, sizeof *bmp);
    if (length < FILE_HEADER_BYTES + 4) {
        return FailImage(messages, "the BMP file ends inside its header");
    }
    const BYTE *header = bytes + FILE_HEADER_BYTES;
    bmp->nHeaderBytes = Dword(header);
    bmp->nTableAt = FILE_HEADER_BYTES + bmp->nHeaderBytes;
    static const uint32_t KNOWN[] = {12, 16, 40, 52, 56, 64, 108, 124};
    bool bKnown = false;
    for (uint32_t known : KNOWN) {
        bKnown = bKnown || bmp->nHeaderBytes == known;
    }
    if (!bKnown) {
        return FailImage(messages, "the BMP file has a header of an unknown kind (%u bytes)",
                         unsigned(bmp->nHeaderBytes));
    }
    if (length < bmp->nTableAt) {
        return FailImage(messages, "the BMP file ends inside its header");
    }
    if (bmp->nHeaderBytes == 12 ? !ReadCoreHeader(header, bmp)
                                : !ReadInfoHeader(header, bmp, messages)) {
        return false;
    }
    if (!CheckDepth(bmp, messages)) {
        return false;
    }
    if ((bmp->nBitCount == 16 || bmp->nBitCount == 32) &&
        !ReadMasks(bytes, length, bmp, messages)) {
        return false;
    }
    return PlaceTableAndBits(bytes, length, bmp, messages);
}

static void ReadTable(const BYTE *table, const BmpLayout *bmp, DibView *view)
{
    for (unsigned i = 0; i < bmp->nColours; i++) {
        const BYTE *colour = table + i * bmp->nColourBytes;
        view->pColours[i] = {colour[0], colour[1], colour[2], 0};
    }
}

// 2-bit pixels as 4-bit ones.
static void WidenRow2To4(const BYTE *in, int width, BYTE *out)
{
    for (int x = 0; x < width; x++) {
        unsigned index = (in[x >> 2] >> (6 - 2 * (x & 3))) & 3u;
        out[x >> 1] = BYTE(out[x >> 1] | index << (x & 1 ? 0 : 4));
    }
}

static void PrepareMask(uint32_t mask, ColourMask *colour)
{
    memset(colour, 0, sizeof *colour);
    colour->nMask = mask;
    if (!mask) {
        return;
    }
    unsigned width = 0;
    for (; !(mask & 1); mask >>= 1) {
        colour->nShift++;
    }
    for (; mask & 1; mask >>= 1) {
        width++;
    }
    if (width > 8) {
        colour->nShift += int(width) - 8;
        width = 8;
    }
    unsigned highest = (1u << width) - 1;
    for (unsigned value = 0; value <= highest; value++) {
        colour->level[value] = BYTE((value * 255 + highest / 2) / highest);
    }
}

static BYTE MaskedLevel(const ColourMask *colour, uint32_t pixel)
{
    return colour->level[(pixel & colour->nMask) >> colour->nShift & 0xFF];
}

// 16- and 32-bit pixels as 24-bit ones. Returns false when some pixel is not fully opaque.
static bool ConvertMaskedRow(const BYTE *in, const BmpLayout *bmp, const ColourMask colours[4],
                             BYTE *out)
{
    bool bOpaque = true;
    for (int64_t x = 0; x < bmp->nWidth; x++, out += 3) {
        uint32_t pixel = bmp->nBitCount == 16 ? Word(in + x * 2) : Dword(in + x * 4);
        out[0] = MaskedLevel(&colours[2], pixel);
        out[1] = MaskedLevel(&colours[1], pixel);
        out[2] = MaskedLevel(&colours[0], pixel);
        if ((pixel & colours[3].nMask) != colours[3].nMask) {
            bOpaque = false;
        }
    }
    return bOpaque;
}

static void ReadRows(const BYTE *bits, const BmpLayout *bmp, DibView *view, ImageMessages *messages)
{
    ColourMask colours[4];
    for (int i = 0; i < 4; i++) {
        PrepareMask(bmp->masks[i], &colours[i]);
    }
    size_t rowBytes = size_t((uint64_t(bmp->nWidth) * unsigned(bmp->nBitCount) + 7) / 8);
    bool bOpaque = true;
    for (int y = 0; y < view->nHeight; y++) {
        int stored = bmp->bTopDown ? y : view->nHeight - 1 - y;
        const BYTE *in = bits + bmp->nStride * unsigned(stored);
        BYTE *out = DibRow(view, y);
        if (bmp->nBitCount == view->nBitCount) {
            memcpy(out, in, rowBytes);
        } else if (bmp->nBitCount == 2) {
            WidenRow2To4(in, view->nWidth, out);
        } else {
            bOpaque = ConvertMaskedRow(in, bmp, colours, out) && bOpaque;
        }
    }
    if (!bOpaque) {
        NoteImage(messages, "the transparency was dropped");
    }
}

HGLOBAL DecodeBmp(const BYTE *bytes, size_t length, ImageMessages *messages)
{
    BmpLayout bmp;
    if (!ReadLayout(bytes, length, &bmp, messages)) {
        return nullptr;
    }
    bool bRuns = bmp.nCompression == COMPRESSION_RLE8 || bmp.nCompression == COMPRESSION_RLE4;
    uint64_t lastRow = (uint64_t(bmp.nWidth) * unsigned(bmp.nBitCount) + 7) / 8;
    if (!bRuns && bmp.nBitsAt + bmp.nStride * unsigned(bmp.nHeight - 1) + lastRow > length) {
        FailImage(messages, "the BMP file ends before its pixels do");
        return nullptr;
    }

    int bitCount = bmp.nBitCount == 2 ? 4 : bmp.nBitCount > 8 ? 24 : bmp.nBitCount;
    DibView view;
    if (!CreateDib(int(bmp.nWidth), int(bmp.nHeight), bitCount, bmp.nColours, &view, messages)) {
        return nullptr;
    }
    view.pHeader->biXPelsPerMeter = bmp.nXPelsPerMeter;
    view.pHeader->biYPelsPerMeter = bmp.nYPelsPerMeter;
    ReadTable(bytes + bmp.nTableAt, &bmp, &view);
    const BYTE *bits = bytes + bmp.nBitsAt;
    bool bDone = true;
    if (bRuns) {
        bDone = DecodeBmpRuns(bits, length - size_t(bmp.nBitsAt), &view, messages);
        if (bmp.bTopDown) {
            FlipDib(&view);
        }
    } else {
        ReadRows(bits, &bmp, &view, messages);
    }
    CloseDib(&view);
    if (!bDone) {
        GlobalFree(view.hDib);
    }
    return bDone ? view.hDib : nullptr;
}
