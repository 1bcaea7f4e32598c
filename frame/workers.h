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

HGLOBAL CallIntWorker(AnyWorker worker, HGLOBAL hDib, int width, int height, const void *pArguments,
                      int bProgress);
HGLOBAL RunIntFilter(const FilterFrame *pFrame, HGLOBAL hDib, int nValue, UINT mode, HWND hParent);

// The same for a worker that takes the image's sides before its parameter.
HGLOBAL CallSidesIntWorker(AnyWorker worker, HGLOBAL hDib, int width, int height,
                           const void *pArguments, int bProgress);

// Two integers: (hDib, first, second, mode, hParent). The dialog gets the image and pointers to the
// first nPointers of them. The worker takes the sides first.
struct IntPairArguments {
    int nFirst;
    int nSecond;
    UINT mode;
    HWND hParent;
};

HGLOBAL CallSidesIntPairWorker(AnyWorker worker, HGLOBAL hDib, int width, int height,
                               const void *pArguments, int bProgress);
HGLOBAL RunIntPairFilter(const FilterFrame *pFrame, HGLOBAL hDib, int nFirst, int nSecond,
                         int nPointers, UINT mode, HWND hParent);

// Three integers: (hDib, first, second, third, mode, hParent). The dialog gets the image and
// pointers to the three. The worker takes the sides first.
struct IntTripleArguments {
    int nFirst;
    int nSecond;
    int nThird;
    UINT mode;
    HWND hParent;
};

HGLOBAL CallSidesIntTripleWorker(AnyWorker worker, HGLOBAL hDib, int width, int height,
                                 const void *pArguments, int bProgress);
HGLOBAL RunIntTripleFilter(const FilterFrame *pFrame, HGLOBAL hDib, int nFirst, int nSecond,
                           int nThird, UINT mode, HWND hParent);

#endif
