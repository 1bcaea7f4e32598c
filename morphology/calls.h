// What the exports of morphology share: their arguments, the structuring elements (the caller's
// FilterMask, or a default), and the copy of the image that they work on.
#ifndef MORPHOLOGY_CALLS_H
#define MORPHOLOGY_CALLS_H

#include "VexaFilter.h"
#include "frame/call.h"

// ---- elements -----------------------------------------------------------------------------------

enum { MOST_ELEMENTS = 2, ELEMENT_SIDE = 3 };

// A 3 x 3 element around the pixel: three columns from the left, each from the top.
struct ElementDefault {
    BYTE columns[ELEMENT_SIDE][ELEMENT_SIDE];
};

// The arguments of any of the exports.
struct MorphologyArguments {
    // Filled in by the export. Null: the default.
    const FilterMask *pGiven[MOST_ELEMENTS];
    int nOutline;
    int nMaxSweeps;
    int bWhiteObject;
    // Filled in by TakeElements; a dialog may edit them.
    FilterMask elements[MOST_ELEMENTS];
    ElementDefault defaults[MOST_ELEMENTS];
    BYTE *columns[MOST_ELEMENTS][ELEMENT_SIDE];
};

// Copies the given descriptors, or makes the defaults, before the dialog sees them.
void TakeElements(MorphologyArguments *pArguments, const ElementDefault *const *pDefaults,
                  int nElements);

// 1 if the element has no positions (rows or columns below 1), or up to MOST_MASK_POSITIONS and no
// null column.
int IsElement(const FilterMask *pElement);

// An element's bytes, row by row; the host may change its own meanwhile. Both sides are 0 if it has
// no positions.
struct ElementBytes {
    BYTE *pBytes;
    int nRows, nColumns;
};

// 0 without memory. Free pBytes with WorkFree.
int CopyElement(const FilterMask *pElement, ElementBytes *pCopy);

// ---- the working copy ---------------------------------------------------------------------------

// The plan of a call.
struct WorkingCopy {
    DibView result;     // locked during the work only
    int bHoldsPixels;   // the rows have been copied, since the host may change the image meanwhile
    const BYTE *pFrom;  // the rows to work from: the result's own, or the image's
};

// Makes the result block; short colour tables of 8-bit images are filled up. 0 without memory.
int PrepareCopy(FilterCall *pCall);

// Locks it for the work. Null: it cannot be locked.
WorkingCopy *LockCopy(FilterCall *pCall);

// Unlocks it. The result, or null unless bDone.
HGLOBAL FinishCopy(FilterCall *pCall, int bDone);

// ---- calls --------------------------------------------------------------------------------------

// Words that follow the image in a dialog's argument list; the unused ones are 0.
struct DialogPointers {
    UINT_PTR words[MOST_DIALOG_ARGUMENTS - 1];
};

// Runs a call whose arguments begin with a MorphologyArguments.
HGLOBAL RunMorphology(const FilterFrame *pFrame, HGLOBAL hDib, void *pArguments,
                      DialogPointers pointers, UINT mode, HWND hParent);

#endif
