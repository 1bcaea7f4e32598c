// A parameter dialog, made from the catalogue: a field for each parameter, a live preview, OK,
// Cancel and Reset.
#ifndef DIALOGS_DIALOG_H
#define DIALOGS_DIALOG_H

#include "bindings.h"

// Numbers of the controls. A field's own begin at FIELD_FIRST, FIELD_STEP apart: the edit field,
// box, list or grid; what moves it; for a rectangle the four sides, for a mask its rows, columns
// and named forms.
enum {
    ID_HINT = 50,
    ID_PREVIEW,
    ID_RESET,
    FIELD_FIRST = 100,
    FIELD_STEP = 20,
    FIELD_VALUE = 0,  // to 3: the sides of a rectangle
    FIELD_ROWS = 4,
    FIELD_COLUMNS,
    FIELD_FORMS,
    FIELD_SPIN = 8,  // to 13: of the fields above
    FIELD_SLIDER = 14
};

// Rewrites the arguments when the user says OK. 0: the user has cancelled.
int AskParameters(const DialogBinding *binding, const UINT_PTR *arguments);

#endif
