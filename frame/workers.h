// The parameter shapes of the filters: for each the record that a dialog may edit, the adapter that
// calls a worker of that shape, and the call frame filled for it.
#ifndef FRAME_WORKERS_H
#define FRAME_WORKERS_H

#include "call.h"

// No parameter: (hDib, mode, hParent). The dialog gets the image alone.
HGLOBAL CallPlainWorker(AnyWorker worker, HGLOBAL hDib, int width, int height,
                        const void *pArguments, int bProgress);
HGLOBAL RunPlainFilter(const FilterFrame *pFrame, HGLOBAL hDib, UINT mode, HWND hParent);

// One integer: (hDib, value, mode, hParent). The dialog gets the image and the record.
struct IntArguments {
    int nValue;
    UINT mode;
    HWND hParent;
};

HGLOBAL CallIntWorker(AnyWorker worker, HGLOBAL hDib, int width, int height,
                      const void *pArguments, int bProgress);
HGLOBAL RunIntFilter(const FilterFrame *pFrame, HGLOBAL hDib, int nValue, UINT mode,
                     HWND hParent);

// The same for a worker that takes the image's sides before its parameter.
HGLOBAL CallSidesIntWorker(AnyWorker worker, HGLOBAL hDib, int width, int height,
                           const void *pArguments, int bProgress);

#endif
