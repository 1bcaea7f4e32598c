// See imagefile.h: what stored values mean, and the same picture in levels or in colour.
#include "codecs.h"

#include <stdlib.h>
#include <string.h>

DibValues ValuesOfDib(HGLOBAL hDib)
{
    ImageMessages messages;
    DibView view;
    if (!OpenDib(hDib, &view, &messages)) {
        return VALUES_ARE_LEVELS;
    }
    const bool bReversed = view.nBitCount == 1 && DibColour(&view, 0).rgbGreen == 255 &&
                           DibColour(&view, 1).rgbGreen == 0;
    const DibValues values = view.nBitCount == 24 || HasGrayRamp(&view) ? VALUES_ARE_LEVELS
                             : !HasGrayTable(&view)                     ? VALUES_NAME_COLOURS
                             : bReversed                                ? VALUES_ARE_REVERSED
                                                                        : VALUES_NAME_GRAYS;
    CloseDib(&view);
    return values;
}

// Rec. ITU-R BT.601.
static BYTE Luminance(const BYTE *pixel)
{
    return BYTE((pixel[0] * 114 + pixel[1] * 587 + pixel[2] * 299 + 500) / 1000);
}

static void ConvertRow(const DibView *src, int y, const DibView *dst, BYTE *colours)
{
    BYTE *out = DibRow(dst, y);
    const BYTE *in = DibRow(src, y);
    if (src->nBitCount < 24) {
        ExpandRow(src, y, false, colours);
        in = colours;
    }
    if (dst->nBitCount == 24) {
        memcpy(out, in, size_t(src->nWidth) * 3);
        return;
    }
    for (int x = 0; x < src->nWidth; x++, in += 3) {
        out[x] = Luminance(in);
    }
}

HGLOBAL ConvertDib(HGLOBAL hDib, int bits)
{
    ImageMessages messages;
    DibView src, dst;
    if (!OpenDib(hDib, &src, &messages)) {
        return nullptr;
    }
    BYTE *colours = static_cast<BYTE *>(malloc(size_t(src.nWidth) * 3));
    HGLOBAL hResult = nullptr;
    if (colours && CreateDib(src.nWidth, src.nHeight, bits, bits == 8 ? 256 : 0, &dst, &messages)) {
        dst.pHeader->biXPelsPerMeter = src.pHeader->biXPelsPerMeter;
        dst.pHeader->biYPelsPerMeter = src.pHeader->biYPelsPerMeter;
        SetGrayRamp(&dst);
        for (int y = 0; y < src.nHeight; y++) {
            ConvertRow(&src, y, &dst, colours);
        }
        CloseDib(&dst);
        hResult = dst.hDib;
    }
    free(colours);
    CloseDib(&src);
    return hResult;
}
