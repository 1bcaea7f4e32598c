// Rows of a DIB as samples and back, whatever the depth.
//
// Kept: rows are read and written in full, padding included: every byte at 8 bits, both halves of
// every byte at 4 (the high one first), as many whole pixels as the stride holds at 24. At other
// depths a row has no samples. A sample is what is stored; colour tables are not looked at.
#ifndef FREQUENCY_SAMPLES_H
#define FREQUENCY_SAMPLES_H

#include "frame/dib.h"

struct SampleRows {
    BYTE *pRows;  // the bottom one first
    size_t stride;
    size_t height;
    int bitCount;
    int nChannels;
    size_t nSamples;  // of one channel in a row
};

SampleRows RowsOf(int bitCount, size_t width, size_t height, BYTE *pRows);

// The samples nFirst (an even number) to nFirst + count - 1 of a row. Channel 0 of a 24-bit row is
// blue.
void DibRowToSamples(const SampleRows *p, size_t nRow, int nChannel, size_t nFirst, size_t count,
                     BYTE *samples);

// The other bytes of the row are left as they are.
void SamplesToDibRow(const SampleRows *p, size_t nRow, int nChannel, size_t nFirst, size_t count,
                     const BYTE *samples);

// The side of the square of transforms that holds the image: the least power of two that is not
// below its sides, nor below 2.
size_t SpectrumSize(const DibShape *pShape);

#endif
