// What the references of several families share: a picture as planes of cells.
#ifndef TESTS_REFERENCE_PLANES_H
#define TESTS_REFERENCE_PLANES_H

#include "reference.h"

// One channel. Cells are palette indices; a colour channel is its own palette of all levels in
// order.
struct Plane {
    int width, height;
    std::vector<BYTE> cells;
    int levels[256];
    int indexOf[256];
    bool bPaletteChanged;
};

BYTE *Cell(Plane *pPlane, int x, int y);

// The index that shows a level; one that is missing takes over the entry of its number.
int IndexFor(Plane *pPlane, int level);

struct View {
    BITMAPINFOHEADER header;
    int width, height, bits;
    size_t nColors, nBits, stride;
};

View Look(const std::vector<BYTE> &dib);

// The offset of a pixel's first byte; of the byte that holds it at 1 and 4 bits.
size_t At(const View &view, int x, int y);

// The picture as a filter works on it: 1 bit as gray, a short colour table filled up, a table that
// is not gray expanded to 24 bits.
std::vector<BYTE> AsWorkedOn(const std::vector<BYTE> &dib);

Plane ReadPlane(const std::vector<BYTE> &dib, size_t channel);

// palette: the source plane, whose palette may have changed.
void WritePlane(std::vector<BYTE> *pDib, size_t channel, Plane *pPlane, const Plane &palette);

// How many of the numbers first to end - 1 are multiples of five: each is a step of the bar.
int Fives(int first, int end);

#endif
