// See samples.h.

#include "samples.h"

#include "frame/intops.h"

#include <string.h>

enum { PIXEL_BYTES = 3 };

SampleRows RowsOf(int bitCount, size_t width, size_t height, BYTE *pRows)
{
    const size_t stride = (size_t)RowStride(width, (uint64_t)bitCount);
    const size_t nSamples = bitCount == 24  ? stride / PIXEL_BYTES
                            : bitCount == 8 ? stride
                            : bitCount == 4 ? stride * 2
                                            : 0;
    const int nChannels = bitCount == 24 ? PIXEL_BYTES : 1;
    return {pRows, stride, height, bitCount, nChannels, nSamples};
}

static BYTE *RowAt(const SampleRows *p, size_t nRow)
{
    return p->pRows + nRow * p->stride;
}

void DibRowToSamples(const SampleRows *p, size_t nRow, int nChannel, size_t nFirst, size_t count,
                     BYTE *samples)
{
    const BYTE *row = RowAt(p, nRow);
    if (p->bitCount == 8) {
        memcpy(samples, row + nFirst, count);
    } else if (p->bitCount == 24) {
        const BYTE *pixels = row + nFirst * PIXEL_BYTES + nChannel;
        for (size_t i = 0; i < count; i++) {
            samples[i] = pixels[i * PIXEL_BYTES];
        }
    } else {
        for (size_t i = 0; i < count; i++) {
            const BYTE both = row[(nFirst + i) / 2];
            samples[i] = (BYTE)(i % 2 == 0 ? both >> 4 : both & 15);
        }
    }
}

void SamplesToDibRow(const SampleRows *p, size_t nRow, int nChannel, size_t nFirst, size_t count,
                     const BYTE *samples)
{
    BYTE *row = RowAt(p, nRow);
    if (p->bitCount == 8) {
        memcpy(row + nFirst, samples, count);
    } else if (p->bitCount == 24) {
        BYTE *pixels = row + nFirst * PIXEL_BYTES + nChannel;
        for (size_t i = 0; i < count; i++) {
            pixels[i * PIXEL_BYTES] = samples[i];
        }
    } else {
        for (size_t i = 0; i + 1 < count; i += 2) {
            row[(nFirst + i) / 2] = (BYTE)(samples[i] << 4 | (samples[i + 1] & 15));
        }
    }
}

size_t SpectrumSize(const DibShape *pShape)
{
    const size_t longest =
        (size_t)(pShape->width > pShape->height ? pShape->width : pShape->height);
    size_t size = 2;
    while (size < longest) {
        size *= 2;
    }
    return size;
}
