// Filters that compute each pixel from the window around it and copy the pixels along the border:
// the answer to a whole call on a DIB that is in order.
#ifndef TESTS_REFERENCE_WINDOWS_H
#define TESTS_REFERENCE_WINDOWS_H

#include "reference.h"

struct WindowFilter {
    int rows, columns;
    long long row, column;               // of the window position over the pixel
    long long top, bottom, left, right;  // how many pixels along each side are copied
    // The level of a pixel. samples: the window's levels row by row.
    int (*Level)(const std::vector<int> &samples, const void *pParameters);
    const void *pParameters;
};

// A window of n x n pixels: n / 2 above and left of the pixel.
WindowFilter SquareWindow(int n);

// A mask whose position in that row and column lies over the pixel, as the weighted filters border
// it.
WindowFilter MaskWindow(int rows, int columns, long long row, long long column);

Expected ExpectWindows(const WindowFilter &filter, const std::vector<BYTE> &dib);

#endif
