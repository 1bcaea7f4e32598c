// See workers.h.

#include "workers.h"

typedef HGLOBAL (*PlainWorker)(HGLOBAL hDib, int width, int height, int bProgress);
typedef HGLOBAL (*IntWorker)(HGLOBAL hDib, int nValue, int width, int height, int bProgress);
typedef HGLOBAL (*SidesIntWorker)(HGLOBAL hDib, int width, int height, int nValue, int bProgress);

HGLOBAL CallPlainWorker(AnyWorker worker, HGLOBAL hDib, int width, int height,
                        const void *pArguments, int bProgress)
{
    (void)pArguments;
    return ((PlainWorker)worker)(hDib, width, height, bProgress);
}

HGLOBAL RunPlainFilter(const FilterFrame *pFrame, HGLOBAL hDib, UINT mode, HWND hParent)
{
    FilterCall call = {};
    call.hDib = hDib;
    call.dialogArguments[0] = (UINT_PTR)hDib;
    call.nDialogArguments = 1;
    call.mode = mode;
    call.pParent = &hParent;
    return RunFilter(pFrame, &call);
}

HGLOBAL CallIntWorker(AnyWorker worker, HGLOBAL hDib, int width, int height,
                      const void *pArguments, int bProgress)
{
    const int nValue = ((const IntArguments *)pArguments)->nValue;
    return ((IntWorker)worker)(hDib, nValue, width, height, bProgress);
}

HGLOBAL RunIntFilter(const FilterFrame *pFrame, HGLOBAL hDib, int nValue, UINT mode, HWND hParent)
{
    IntArguments arguments = {nValue, mode, hParent};
    FilterCall call = {};
    call.hDib = hDib;
    call.pArguments = &arguments;
    call.dialogArguments[0] = (UINT_PTR)hDib;
    call.dialogArguments[1] = (UINT_PTR)&arguments;
    call.nDialogArguments = 2;
    call.mode = mode;
    call.pParent = &arguments.hParent;
    return RunFilter(pFrame, &call);
}

HGLOBAL CallSidesIntWorker(AnyWorker worker, HGLOBAL hDib, int width, int height,
                           const void *pArguments, int bProgress)
{
    const int nValue = ((const IntArguments *)pArguments)->nValue;
    return ((SidesIntWorker)worker)(hDib, width, height, nValue, bProgress);
}
