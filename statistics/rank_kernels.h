// The fast forms of the rank filters, one table per source and level of the processor.
//
// Tests prove each equal to the sorted window.
#ifndef STATISTICS_RANK_KERNELS_H
#define STATISTICS_RANK_KERNELS_H

#include "frame/neighbourhood.h"

// ---- parameters ---------------------------------------------------------------------------------

// An n x n window, n from 1 to 46340 (a larger one fits no picture).
struct SquareRule {
    DWORD nSize;
    DWORD nTrim;  // samples left out at either end
};

// The sample of rank nRank (from 1) where each position counts as often as its weight says.
struct WeightedRule {
    int nRows, nColumns;
    const BYTE *pWeights;  // row by row
    DWORD nTotal;          // their sum, at least nRank
    DWORD nRank;
};

// Bytes of state to ask for; what a size cannot hold no memory holds either.
static inline size_t StateSize(ULONGLONG nBytes)
{
    return nBytes > (size_t)-1 ? (size_t)-1 : (size_t)nBytes;
}

// ---- tables -------------------------------------------------------------------------------------

enum { EXTREME_MINIMUM, EXTREME_MAXIMUM, EXTREME_MIDPOINT, EXTREME_RANGE, EXTREMES };

// Running extremes: the cost hardly depends on the size.
struct ExtremeKernels {
    RowKernel rows[EXTREMES];
};

// Sorting networks for small windows, by size / 2; Run is null for a size without one.
enum { NETWORK_SIZES = 5 };
struct NetworkKernels {
    RowKernel median[NETWORK_SIZES];
    RowKernel trimmedMean[NETWORK_SIZES];
};

// Column histograms: for windows up to MOST_BYTE_SIDE, and beyond.
enum { MOST_BYTE_SIDE = 255 };
struct HistogramKernels {
    RowKernel median, wideMedian;
    RowKernel trimmedMean, wideTrimmedMean;
    RowKernel doubleWindow, wideDoubleWindow;  // of a TrimRule
};

// A search bit by bit; for total weights up to 255, 65535 and 4294967295.
struct SelectionKernels {
    LineKernel bytes, words, dwords;
};

// The compiled levels. All give the same bytes.
namespace sse2
{
extern const ExtremeKernels EXTREME_KERNELS;
extern const NetworkKernels NETWORK_KERNELS;
extern const HistogramKernels HISTOGRAM_KERNELS;
extern const SelectionKernels SELECTION_KERNELS;
}  // namespace sse2
namespace avx2
{
extern const ExtremeKernels EXTREME_KERNELS;
extern const NetworkKernels NETWORK_KERNELS;
extern const HistogramKernels HISTOGRAM_KERNELS;
extern const SelectionKernels SELECTION_KERNELS;
}  // namespace avx2

// Chosen at attach (library/kernels); read-only afterwards.
extern const ExtremeKernels *g_pExtremeKernels;
extern const NetworkKernels *g_pNetworkKernels;
extern const HistogramKernels *g_pHistogramKernels;
extern const SelectionKernels *g_pSelectionKernels;

#endif
