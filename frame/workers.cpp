// See workers.h.

#include "workers.h"

typedef HGLOBAL (*PlainWorker)(HGLOBAL hDib, int width, int height, int bProgress);
typedef HGLOBAL (*IntWorker)(HGLOBAL hDib, int nValue, int width, int height, int bProgress);
typedef HGLOBAL (*SidesIntWorker)(HGLOBAL hDib, int width, int height, int nValue, int bProgress);
typedef HGLOBAL (*SidesIntPairWorker)(HGLOBAL hDib, int width, int height, int nFirst, int nSecond,
                                      int bProgress);
typedef HGLOBAL (*SidesIntTripleWorker)(HGLOBAL hDib, int width, int height, int nFirst,
                                        int nSecond, int nThird, int bProgress);

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

HGLOBAL CallIntWorker(AnyWorker worker, HGLOBAL hDib, int width, int height, const void *pArguments,
                      int bProgress)
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

HGLOBAL CallSidesIntPairWorker(AnyWorker worker, HGLOBAL hDib, int width, int height,
                               const void *pArguments, int bProgress)
{
    const IntPairArguments *p = (const IntPairArguments *)pArguments;
    return ((SidesIntPairWorker)worker)(hDib, width, height, p->nFirst, p->nSecond, bProgress);
}

HGLOBAL RunIntPairFilter(const FilterFrame *pFrame, HGLOBAL hDib, int nFirst, int nSecond,
                         int nPointers, UINT mode, HWND hParent)
{
    IntPairArguments arguments = {nFirst, nSecond, mode, hParent};
    FilterCall call = {};
    call.hDib = hDib;
    call.pArguments = &arguments;
    call.dialogArguments[0] = (UINT_PTR)hDib;
    call.dialogArguments[1] = (UINT_PTR)&arguments.nFirst;
    call.dialogArguments[2] = (UINT_PTR)&arguments.nSecond;
    call.nDialogArguments = 1 + nPointers;
    call.mode = mode;
    call.pParent = &arguments.hParent;
    return RunFilter(pFrame, &call);
}

HGLOBAL CallSidesIntTripleWorker(AnyWorker worker, HGLOBAL hDib, int width, int height,
                                 const void *pArguments, int bProgress)
{
    const IntTripleArguments *p = (const IntTripleArguments *)pArguments;
    return ((SidesIntTripleWorker)worker)(hDib, width, height, p->nFirst, p->nSecond, p->nThird,
                                          bProgress);
}

HGLOBAL RunIntTripleFilter(const FilterFrame *pFrame, HGLOBAL hDib, int nFirst, int nSecond,
                           int nThird, UINT mode, HWND hParent)
{
    IntTripleArguments arguments = {nFirst, nSecond, nThird, mode, hParent};
    FilterCall call = {};
    call.hDib = hDib;
    call.pArguments = &arguments;
    call.dialogArguments[0] = (UINT_PTR)hDib;
    call.dialogArguments[1] = (UINT_PTR)&arguments.nFirst;
    call.dialogArguments[2] = (UINT_PTR)&arguments.nSecond;
    call.dialogArguments[3] = (UINT_PTR)&arguments.nThird;
    call.nDialogArguments = 4;
    call.mode = mode;
    call.pParent = &arguments.hParent;
    return RunFilter(pFrame, &call);
}
