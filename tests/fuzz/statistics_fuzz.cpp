// Fuzz target of the rank filters, the means and the adaptive filters.
//
// A mask claims any number of rows and columns. What is refused by the numbers alone has nothing
// behind it; any other claim is true, in columns of exactly that many bytes.

#include "fuzz_host.h"

#include <stdlib.h>

enum {
    MOST_POSITIONS = 1 << 24,  // that the library accepts
    MOST_ALLOCATED = 1 << 16,
    COLUMNS = 5  // different ones; they repeat
};

// Some masks have few weights other than 0, some a null column.
static void FillMask(FilterMask *pMask, BYTE *columns[COLUMNS])
{
    pMask->elements = (BYTE **)malloc((size_t)pMask->columns * sizeof(BYTE *));
    for (size_t i = 0; i < COLUMNS; i++) {
        columns[i] = (BYTE *)malloc((size_t)pMask->rows);
        for (size_t j = 0; j < (size_t)pMask->rows; j++) {
            columns[i][j] = (BYTE)(InputByte(i * 41 + j) & InputByte(0));
        }
    }
    for (int i = 0; i < pMask->columns; i++) {
        pMask->elements[i] = columns[i % COLUMNS];
    }
    if (InputByte(1) == 255) {
        pMask->elements[InputByte(2) % pMask->columns] = NULL;
    }
}

template <auto EXPORT> static HGLOBAL CallWithMask(void)
{
    BYTE *columns[COLUMNS] = {};
    FilterMask mask = {NULL, NextNumber(), NextNumber(), NextNumber(), NextNumber()};
    const int kind = NextNumber() % 16;  // 13: no mask, 14: no columns
    const int64_t nClaimed = (int64_t)mask.rows * mask.columns;
    if (kind != 14 && (mask.rows < 1 || mask.columns < 1 || nClaimed > MOST_POSITIONS)) {
        mask.elements = (BYTE **)malloc(1);
    } else if (kind != 14) {
        if (nClaimed > MOST_ALLOCATED) {
            mask.rows = 1 + mask.rows % 256;
            mask.columns = 1 + mask.columns % 256;
        }
        FillMask(&mask, columns);
    }
    const HGLOBAL hResult =
        EXPORT(g_scene.hDib, kind == 13 ? NULL : &mask, g_scene.mode, g_scene.hParent);
    for (BYTE *column : columns) {
        free(column);
    }
    free(mask.elements);
    return hResult;
}

const FuzzExport EXPORTS[] = {
    {"FilterMinimum", Call<FilterMinimum, int>, "MinimumFilterUI", 2},
    {"FilterMaximum", Call<FilterMaximum, int>, "MaximumFilterUI", 2},
    {"FilterMedian", Call<FilterMedian, int>, "MedianFilterUI", 2},
    {"FilterMidpoint", Call<FilterMidpoint, int>, "MidpointFilterUI", 2},
    {"FilterRange", Call<FilterRange, int>, "RangeFilterUI", 2},
    {"FilterAlphaTrimmedMean", Call<FilterAlphaTrimmedMean, int, int>, "AlphaFilterUI", 2},
    {"FilterWeightedMedian", CallWithMask<FilterWeightedMedian>, "WMedianFilterUI", 2,
     EDITS_A_MASK},
    {"FilterGeometricMean", Call<FilterGeometricMean, int>, "GeometricFilterUI", 2},
    {"FilterHarmonicMean", Call<FilterHarmonicMean, int>, "HarmonicFilterUI", 2},
    {"FilterContraHarmonicMean", Call<FilterContraHarmonicMean, int, int>, "ContraFilterUI", 3},
    {"FilterYpMean", Call<FilterYpMean, int, int>, "YpFilterUI", 3},
    {"FilterWeightedMean", CallWithMask<FilterWeightedMean>, "WMeanFilterUI", 2, EDITS_A_MASK},
    {"FilterAdaptiveDWMTM", Call<FilterAdaptiveDWMTM, int, int, int>, "ADWMTMUI", 4},
    {"FilterAdaptiveMMSE", Call<FilterAdaptiveMMSE, int, int>, "AMMSEUI", 3},
};
const size_t EXPORT_COUNT = sizeof EXPORTS / sizeof *EXPORTS;
