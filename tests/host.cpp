// See host.h: the part that is the same in both builds, and the program's entry.

#include "host.h"

#include <gtest/gtest.h>

#include <string.h>

DialogScript g_dialog;

const std::vector<FilterExport> FILTERS = {
    {LAPLACE, "FilterLaplace", "LaplaceUI", FilterLaplace, NULL},
    {GRADIENT, "FilterGradient", "GradientUI", FilterGradient, NULL},
    {ENHANCE, "FilterEnhance", "EnhanceUI", NULL, FilterEnhance},
    {UNIFORM, "FilterUniform", "UniformUI", NULL, FilterUniform},
    {GAUSS, "FilterGauss", "GaussUI", NULL, FilterGauss},
};

HGLOBAL NewBlock(const Bytes &bytes, UINT flags)
{
    NoteNewBlock();
    return MakeBlock(bytes, flags);
}

int AnswerDialog(const char *pEntry, const UINT_PTR *pArguments, int nArguments)
{
    g_dialog.nCalls++;
    g_dialog.pEntry = pEntry;
    g_dialog.nArguments = nArguments;
    for (int i = 0; i < 7; i++) {
        g_dialog.arguments[i] = i < nArguments ? pArguments[i] : 0;
    }
    g_dialog.first = g_dialog.arguments[0];
    g_dialog.second = g_dialog.arguments[1];
    g_dialog.third = g_dialog.arguments[2];
    if (g_dialog.OnCall != NULL) {
        g_dialog.OnCall();
    }
    if (g_dialog.bRewrite) {
        *(int *)g_dialog.second = g_dialog.nValue;
    }
    return !g_dialog.bCancel;
}

HGLOBAL CallFilter(const FilterExport &filter, HGLOBAL hDib, int nKernel, UINT mode, HWND hParent)
{
    return filter.WithKernel != NULL ? filter.WithKernel(hDib, nKernel, mode, hParent)
                                     : filter.Plain(hDib, mode, hParent);
}

std::string Compare(HGLOBAL hResult, const Expected &expected)
{
    if (hResult == NULL) {
        return expected.bNull ? "" : "want a result, got null";
    }
    const Bytes got = ReadBlock(hResult);
    const bool bMovable =
        (GlobalFlags(hResult) & GMEM_LOCKCOUNT) == 0 && hResult != GlobalLock(hResult);
    GlobalUnlock(hResult);
    FreeBlock(hResult);
    return expected.bNull ? "want null, got a result"
           : !bMovable    ? "the result is locked or fixed"
                          : FirstDifference(expected.block, got);
}

std::string CheckCall(const std::function<HGLOBAL(HGLOBAL)> &Make, const Bytes &dib, HWND hParent,
                      const Expected &expected)
{
    const HGLOBAL hDib = NewBlock(dib);
    const int nBlocks = LiveBlocks();
    const int nLocks = LocksHeld();
    const BOOL bEnabled = IsWindowEnabled(hParent);
    static const HCURSOR hCursor = LoadCursorA(NULL, IDC_ARROW);
    SetShownCursor(hCursor);
    std::string fault = Compare(Make(hDib), expected);
    if (fault.empty() && LiveBlocks() != nBlocks) {
        fault = "blocks left: " + std::to_string(LiveBlocks() - nBlocks);
    } else if (fault.empty() && LocksHeld() != nLocks) {
        fault = "locks left: " + std::to_string(LocksHeld() - nLocks);
    } else if (fault.empty() && ReadBlock(hDib) != dib) {
        fault = "the source has changed";
    } else if (fault.empty() && OpenDialog() != NULL) {
        fault = "the progress dialog is open";
    } else if (fault.empty() && IsWindowEnabled(hParent) != bEnabled) {
        fault = "the parent's state has changed";
    } else if (fault.empty() && ShownCursor() != hCursor) {
        fault = "the cursor has changed";
    }
    FreeBlock(hDib);
    return fault;
}

std::string Check(const FilterExport &filter, const Bytes &dib, int nKernel, UINT mode,
                  HWND hParent, const Expected &expected)
{
    const std::string fault =
        CheckCall([&](HGLOBAL hDib) { return CallFilter(filter, hDib, nKernel, mode, hParent); },
                  dib, hParent, expected);
    return fault.empty() ? ""
                         : std::string(filter.pName) + " " + std::to_string(nKernel) + ": " + fault;
}

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    printf("VEXA_TEST_SEED=%u\n", BaseSeed());
    StartHost();
    return RUN_ALL_TESTS();
}
