// What a filter works on: colour, or gray through a colour table that holds 256 entries. The call
// frame makes every other image that a filter accepts into one of these.
#ifndef FRAME_PICTURE_H
#define FRAME_PICTURE_H

#include "dib.h"

// Palette index to gray level and back.
struct LevelMaps {
    BYTE levels[GRAY_LEVELS];
    int indexOf[GRAY_LEVELS];  // -1: no entry has that level; the highest of several wins
    int paletteChanged;        // GrayLevelToIndex rewrote an entry
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

// The indices of a row of levels, one after the other, through a map that may lack some. As soon as
// a level takes over an entry in use, pixels of the picture show another level than before: then
// ComputeAnew fills in levels once more, of which those not mapped yet are taken.
struct LevelRow {
    BYTE *levels;
    size_t count;
    const BYTE *bUsed;  // for each entry: whether a pixel of the picture has it
    void (*ComputeAnew)(void *pContext);
    void *pContext;
};
void MapRowInOrder(LevelMaps *pMaps, const LevelRow *pRow, BYTE *indices);

// Writes the levels of a palette that has changed into an image's colour table.
void StoreChangedLevels(const DibView *pView, const LevelMaps *pMaps);

struct Picture {
    DibView view;       // locked: 24 bits, or 8 bits with at least 256 colours
    int bGray;          // 8 bits: a sample is the level of its index
    LevelMaps maps;     // if bGray
    HGLOBAL hExpanded;  // the copy in view; null if that is the image itself
};

// Whether an image of 1, 8 or 24 bits is worked on in gray.
int IsWorkedOnInGray(const DibView *pSource);

// The picture of a locked image. One bit becomes gray; 8 bits that are not bGray become 24; a
// colour table too short is filled up with black. 0 without memory, and for a picture too large to
// be expanded; both expansions leave their code in nLastError.
int OpenPicture(const DibView *pSource, int bGray, Picture *pPicture);

// Frees the copy. The image itself stays locked.
void ClosePicture(Picture *pPicture);

#endif
