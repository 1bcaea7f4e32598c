// The pictures that the benchmarks filter, as packed DIBs.
#ifndef BENCH_PICTURES_H
#define BENCH_PICTURES_H

#include <windows.h>

enum PictureKind {
    PICTURE_RAMP,        // 8 bits, colour i is gray level i
    PICTURE_SHUFFLED,    // 8 bits, all 256 gray levels in another order
    PICTURE_INCOMPLETE,  // 8 bits, every gray level twice, the odd ones missing
    PICTURE_COLOR,       // 24 bits
    PICTURE_KINDS
};

// "8bit", "8bit-shuffled", "8bit-incomplete", "24bit".
extern const char *const PICTURE_NAMES[PICTURE_KINDS];

static inline int IsColorPicture(PictureKind kind)
{
    return kind == PICTURE_COLOR;
}

// The same bytes on every call and in every build. Null without memory, or when the file named by
// VEXA_BENCH_PICTURE cannot be read (said on standard error). Free with GlobalFree.
HGLOBAL MakePicture(PictureKind kind, int width, int height);

// A square picture that is made once and kept. Ends the program when it cannot be made.
HGLOBAL SharedPicture(PictureKind kind, int side);

// A 1-bit page of A4 at 300 dots an inch, black on white: lines of strokes four to six pixels wide,
// heavier headings, discs, specks. Null without memory.
enum { PAGE_WIDTH = 2480, PAGE_HEIGHT = 3508 };
HGLOBAL MakePage(void);

// Where the rows of a DIB start, bottom row first.
const BYTE *PictureBits(HGLOBAL hDib);

#endif
