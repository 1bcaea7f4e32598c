// Unpacked images: one array of cells per column, x from the left and y from the top of the
// picture.
//
// The exact form in which an image is processed when the order of visits decides the result: an
// 8-bit image whose gray palette lacks levels, because mapping a new level back rewrites a palette
// entry that later pixels read. Everything else goes through the line pipeline (neighbourhood.h).
#ifndef FRAME_MATRIX_H
#define FRAME_MATRIX_H

#include "picture.h"

#include <stdint.h>

struct GrayMatrix {
    BYTE **columns;  // [x][y]: palette index
    LevelMaps maps;
    unsigned width;
    unsigned height;
};

struct ColorMatrix {
    uint32_t **columns;  // [x][y]: red in the low byte, then green, blue, zero
    unsigned width;
    unsigned height;
};

// The operations below return 1, or 0 without memory or once the user has cancelled; then whatever
// they allocated is freed. They step the bar when bProgress is set, each in its own pass: loading
// on every fifth row entered, the others on every fifth column. Gray images are those of a Picture;
// what is stored into has the matrix's sides.
int LoadGrayMatrix(const DibView *pView, GrayMatrix *pMatrix, int bProgress);
int AllocGrayMatrix(GrayMatrix *pMatrix, int width, int height, int bProgress);
int StoreGrayMatrix(const DibView *pView, const GrayMatrix *pPixels, const GrayMatrix *pPalette,
                    int bProgress);
void FreeGrayMatrix(GrayMatrix *pMatrix);

int LoadColorMatrix(const DibView *pView, ColorMatrix *pMatrix, int bProgress);
int AllocColorMatrix(ColorMatrix *pMatrix, int width, int height, int bProgress);
int StoreColorMatrix(const DibView *pView, const ColorMatrix *pMatrix, int bProgress);
void FreeColorMatrix(ColorMatrix *pMatrix);

// The bar steps of those passes.
int64_t LoadSteps(int height);
int64_t ColumnSteps(int width);

#endif
