// A control that shows and edits a mask as a grid of numbers.
//
// Its text is the mask as a user would write it (WM_SETTEXT, WM_GETTEXT), so that programs can read
// and set it as they do with any edit field. A click or the arrow keys choose a cell, the space bar
// and a second click switch it, digits write into it, O or the right button put it over the pixel.
// The parent gets WM_COMMAND with GRID_CHANGED or GRID_FOCUS.
#ifndef DIALOGS_GRID_H
#define DIALOGS_GRID_H

#include "hosts/catalogue/catalogue.h"

extern const wchar_t GRID_CLASS[];

enum { GRID_CHANGED = 1, GRID_FOCUS = 2, GRID_SIDE_MOST = 15 };

// A WORD of rows and one of columns; the cells that stay keep their numbers.
enum { GRID_RESIZE = WM_USER + 1 };

bool RegisterGrid(HINSTANCE hInstance);

// lpCreateParams of the control's CreateWindow: what it edits, both the caller's.
struct GridContent {
    const FilterParameter *pParameter;
    MaskValue *pMask;
};

#endif
