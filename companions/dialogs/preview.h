// The live preview: the filter on small copies of the pictures.
#ifndef DIALOGS_PREVIEW_H
#define DIALOGS_PREVIEW_H

#include "bindings.h"

struct Preview {
    HGLOBAL images[2];  // small copies; null: there is none
    HGLOBAL hShown;     // the filter's result, or null
    double dScale;      // of the copies' sides to the picture's
};

// side: the longest that a copy's sides may be.
void OpenPreview(const DialogBinding *binding, const UINT_PTR *arguments, int side,
                 Preview *preview);
void ClosePreview(Preview *preview);

void RunPreview(const CatalogueFilter *filter, const ParameterValue *values, Preview *preview);

// Into a rectangle, in the middle, at its own size.
void PaintPreview(const Preview *preview, HDC hdc, const RECT *area);

#endif
