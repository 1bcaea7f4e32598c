// Unpacked images: one array of cells per column, x from the left and y from the top of the
// picture.
//
// The exact form in which an image is processed when the order of visits decides the result: an
// 8-bit image whose gray palette lacks levels, because mapping a new level back rewrites a palette
// entry that later pixels read. Everything else goes through the line pipeline (neighbourhood.h).
#ifndef FRAME_MATRIX_H
#define FRAME_MATRIX_H

#include "dib.h"

#include <stdint.h>

// Palette index to gray level and back.
struct LevelMaps {
    BYTE levels[GRAY_LEVELS];
    int indexOf[GRAY_LEVELS];  // -1: no entry has that level; the highest of several wins
    int paletteChanged;        // GrayLevelToIndex rewrote an entry
};

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

void BuildLevelMaps(const RGBQUAD *pColors, LevelMaps *pMaps);

// 1 if every gray level has an entry: then no mapping ever changes the palette.
int HasAllLevels(const LevelMaps *pMaps);

// 1 if every index shows the level of its own number.
int IsGrayRamp(const LevelMaps *pMaps);

// The palette index that shows a level (0 to 255). A level without an entry takes over the entry of
// the same number; what pointed to that entry's old level is left in place, so pixels that used it
// change shade.
int GrayLevelToIndex(LevelMaps *pMaps, int level);

// The operations below return 1, or 0 without memory or once the user has cancelled; then whatever
// they allocated is freed. They step the bar when bProgress is set, each in its own pass: loading
// on every fifth row entered, the others on every fifth column.
int LoadGrayMatrix(HGLOBAL hDib, GrayMatrix *pMatrix, int bProgress);
int AllocGrayMatrix(GrayMatrix *pMatrix, int width, int height, int bProgress);
int StoreGrayMatrix(HGLOBAL hDib, const GrayMatrix *pPixels, const GrayMatrix *pPalette,
                    int bProgress);
void FreeGrayMatrix(GrayMatrix *pMatrix);

int LoadColorMatrix(HGLOBAL hDib, ColorMatrix *pMatrix, int bProgress);
int AllocColorMatrix(ColorMatrix *pMatrix, int width, int height, int bProgress);
int StoreColorMatrix(HGLOBAL hDib, const ColorMatrix *pMatrix, int bProgress);
void FreeColorMatrix(ColorMatrix *pMatrix);

// The bar steps of those passes.
int64_t LoadSteps(int height);
int64_t ColumnSteps(int width);

#endif
