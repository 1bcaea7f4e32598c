// Fuzz target of the point operations: arithmetic, and the brightness tools, whose histogram and
// table blocks may be missing, too short, freed or an image.

#include "fuzz_host.h"

static void RequireCode(int nError)
{
    Require(nError == 0 || nError == 1 || nError == 8 || nError == 17, "unknown code");
}

// The library's block, or a stranger's in its place. Either is the caller's to free; a freed handle
// may be freed again.
static HGLOBAL OrStranger(HGLOBAL hCreated)
{
    const int n = NextNumber() & 7;
    if (n < 5) {
        return hCreated;
    }
    GlobalFree(hCreated);
    return n == 5   ? CopyOf(g_scene.hOther)
           : n == 6 ? GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, (SIZE_T)(NextNumber() & 1023))
                    : hCreated;
}

// The viewport moves over one image, then another, then with any code; the counts come back.
static HGLOBAL CallHistogram(void)
{
    int nError = 0;
    const HGLOBAL hCounts = OrStranger(ComputeHistogram(NULL, LUT_CREATE, NULL, NULL, NULL));
    for (int i = 0; i < 4; i++) {
        int origin[2] = {NextNumber(), NextNumber()};
        const int nOperation = i < 3 ? LUT_COMPUTE : NextNumber();
        const HGLOBAL hResult = ComputeHistogram(i == 2 ? g_scene.hOther : g_scene.hDib, nOperation,
                                                 hCounts, origin[0] == 77 ? NULL : origin, &nError);
        RequireCode(nError);
        GlobalFree(nOperation == LUT_CREATE ? hResult : NULL);
    }
    // Freed or unknown: only a block that lives is a result.
    return GlobalFlags(hCounts) != GMEM_INVALID_HANDLE ? hCounts : NULL;
}

// A table from the counts, then an image through it; in place in a copy.
static HGLOBAL CallTables(void)
{
    int nError = 0;
    const HGLOBAL hCounts = OrStranger(ComputeHistogram(NULL, LUT_CREATE, NULL, NULL, NULL));
    const HGLOBAL hTable = OrStranger(ComputeLUT(NULL, LUT_CREATE, NULL, 0, 0, &nError));
    int origin[2] = {NextNumber(), 0};
    ComputeHistogram(g_scene.hDib, LUT_COMPUTE, hCounts, origin, NULL);
    ComputeLUT(hCounts, LUT_COMPUTE, hTable, NextNumber(), NextNumber(), &nError);
    RequireCode(nError);
    const int nOperation = NextNumber();
    const HGLOBAL hMade = ComputeLUT(hCounts, nOperation, hTable, 1, 1, NULL);
    GlobalFree(nOperation == LUT_CREATE ? hMade : NULL);
    const int bMakeCopy = NextNumber() & 1;
    const HGLOBAL hImage = bMakeCopy ? g_scene.hDib : CopyOf(g_scene.hDib);
    const HGLOBAL hResult = ApplyLUT(hImage, hTable, bMakeCopy, &nError);
    RequireCode(nError);
    Require((hResult == NULL) == (nError != 0), "a result and a code");
    GlobalFree(bMakeCopy || hImage == hResult ? NULL : hImage);
    ComputeHistogram(NULL, LUT_FREE, hCounts, NULL, NULL);
    ComputeLUT(NULL, LUT_FREE, hTable, 0, 0, NULL);
    return hResult;
}

static HGLOBAL CallPair(void)
{
    return ArithmeticDIB(NextNumber(), g_scene.hDib, g_scene.hOther, g_scene.mode, g_scene.hParent);
}

static HGLOBAL CallConstant(void)
{
    const int nOperation = NextNumber();
    return ArithmeticDIBConst(nOperation, g_scene.hDib, NextNumber(), g_scene.mode,
                              g_scene.hParent);
}

const FuzzExport EXPORTS[] = {
    {"ComputeHistogram", CallHistogram},
    {"ComputeLUT, ApplyLUT", CallTables},
    {"ArithmeticDIB", CallPair, "ARITHUI", 3, KEPT_LOCKS},
    {"ArithmeticDIBConst", CallConstant, "ARITHCONSTUI", 3, KEPT_LOCKS},
};
const size_t EXPORT_COUNT = sizeof EXPORTS / sizeof *EXPORTS;
