// Minimum, maximum, midpoint and range of rectangular windows: plain loops, compiled once per
// instruction set into the namespace KERNEL_LEVEL.
//
// The window is separable: first the extreme of each column's samples, then that of the columns.
//
// Columns, from row to row: small windows compare their lines outright. Others keep the running
// extremes of a block of as many lines as the window is high, counted down from the block's top
// line; as the window moves up by a row, it loses the block's lowest line and gains one above,
// whose running extreme is kept as well. So a row costs two comparisons a sample, whatever the
// size:
//
//     lines above the block   -+- upper: the extreme of these
//     top line of the block    +
//     ...                      +- block[k]: the extreme of the block's k + 1 top lines
//     (lines already left)
//
// Along a line the extremes of 2, 4, 8 ... neighbours are made of one another; three of them, which
// may overlap, cover any size.

#include "rank_kernels.h"

#include "frame/intops.h"

#include <string.h>

namespace KERNEL_LEVEL
{

enum { LOWEST, GREATEST };

template <int EXTREME> static inline BYTE Pick(BYTE a, BYTE b)
{
    return EXTREME == GREATEST ? GreaterByte(a, b) : LesserByte(a, b);
}

template <int EXTREME>
static void PickRows(const BYTE *a, const BYTE *b, BYTE *__restrict picked, size_t count)
{
    for (size_t i = 0; i < count; i++) {
        picked[i] = Pick<EXTREME>(a[i], b[i]);
    }
}

// ---- columns ------------------------------------------------------------------------------------

enum { MOST_DIRECT_SIZE = 8 };

// What one extreme carries from row to row; rows of nStride bytes follow it in memory. The block's
// rows stand last, for larger windows only.
struct ExtremeState {
    size_t nStride;
    int nGained;  // lines above the block
};

enum { COLUMN_ROW, EVEN_ROW, ODD_ROW, RESULT_ROW, UPPER_ROW, FIRST_BLOCK_ROW };

static int StateRows(int nSize)
{
    return FIRST_BLOCK_ROW + (nSize > MOST_DIRECT_SIZE ? nSize : 0);
}

static BYTE *StateRow(ExtremeState *pState, int row)
{
    return (BYTE *)(pState + 1) + (size_t)row * pState->nStride;
}

template <int EXTREME, int SIZE>
static void DirectColumns(const BYTE *const *lines, BYTE *__restrict column, size_t count)
{
    const BYTE *from[SIZE];
    for (int k = 0; k < SIZE; k++) {
        from[k] = lines[k];
    }
    for (size_t i = 0; i < count; i++) {
        BYTE picked = from[0][i];
        for (int k = 1; k < SIZE; k++) {
            picked = Pick<EXTREME>(picked, from[k][i]);
        }
        column[i] = picked;
    }
}

template <int EXTREME>
static void CompareLines(const BYTE *const *lines, int nSize, BYTE *column, size_t count)
{
    static void (*const DIRECT[MOST_DIRECT_SIZE])(const BYTE *const *, BYTE *__restrict, size_t) = {
        DirectColumns<EXTREME, 1>, DirectColumns<EXTREME, 2>, DirectColumns<EXTREME, 3>,
        DirectColumns<EXTREME, 4>, DirectColumns<EXTREME, 5>, DirectColumns<EXTREME, 6>,
        DirectColumns<EXTREME, 7>, DirectColumns<EXTREME, 8>};
    DIRECT[nSize - 1](lines, column, count);
}

// A block that is the window itself.
template <int EXTREME>
static void BeginBlock(ExtremeState *pState, const BYTE *const *lines, int nSize, size_t count)
{
    pState->nGained = 0;
    memcpy(StateRow(pState, FIRST_BLOCK_ROW), lines[0], count);
    for (int k = 1; k < nSize; k++) {
        PickRows<EXTREME>(StateRow(pState, FIRST_BLOCK_ROW + k - 1), lines[k],
                          StateRow(pState, FIRST_BLOCK_ROW + k), count);
    }
    memcpy(StateRow(pState, COLUMN_ROW), StateRow(pState, FIRST_BLOCK_ROW + nSize - 1), count);
}

template <int EXTREME>
static void GainLine(ExtremeState *pState, const BYTE *line, int nSize, size_t count)
{
    const BYTE *block = StateRow(pState, FIRST_BLOCK_ROW + nSize - 1 - ++pState->nGained);
    BYTE *__restrict upper = StateRow(pState, UPPER_ROW);
    BYTE *__restrict column = StateRow(pState, COLUMN_ROW);
    if (pState->nGained == 1) {
        memcpy(upper, line, count);
    }
    for (size_t i = 0; i < count; i++) {
        upper[i] = Pick<EXTREME>(upper[i], line[i]);
        column[i] = Pick<EXTREME>(upper[i], block[i]);
    }
}

// The extremes of the window's columns, into COLUMN_ROW.
template <int EXTREME>
static void FindColumns(ExtremeState *pState, const BYTE *const *lines, int nSize, size_t count,
                        int bFirst)
{
    if (nSize <= MOST_DIRECT_SIZE) {
        CompareLines<EXTREME>(lines, nSize, StateRow(pState, COLUMN_ROW), count);
    } else if (bFirst || pState->nGained == nSize - 1) {
        BeginBlock<EXTREME>(pState, lines, nSize, count);
    } else {
        GainLine<EXTREME>(pState, lines[0], nSize, count);
    }
}

// ---- rows ---------------------------------------------------------------------------------------

// Three runs of nCovered columns that overlap or meet.
template <int EXTREME>
static void JoinRuns(const BYTE *from, size_t nMiddle, size_t nLast, BYTE *__restrict out,
                     size_t count)
{
    for (size_t i = 0; i < count; i++) {
        out[i] = Pick<EXTREME>(Pick<EXTREME>(from[i], from[i + nMiddle]), from[i + nLast]);
    }
}

template <int EXTREME>
static void FindExtremes(ExtremeState *pState, const NeighbourhoodFilter *pFilter,
                         const BYTE *const *lines, size_t step, BYTE *out, size_t count, int bFirst)
{
    const size_t nSize = (size_t)pFilter->nColumns;
    size_t nReach = count + (nSize - 1) * step;
    size_t nCovered = 1;
    int row = EVEN_ROW;
    pState->nStride = WholeVectors(nReach);
    const BYTE *from = StateRow(pState, COLUMN_ROW);
    FindColumns<EXTREME>(pState, lines, pFilter->nRows, nReach, bFirst);
    for (; 3 * nCovered < nSize; nCovered *= 2) {
        nReach -= nCovered * step;
        PickRows<EXTREME>(from, from + nCovered * step, StateRow(pState, row), nReach);
        from = StateRow(pState, row);
        row = row == EVEN_ROW ? ODD_ROW : EVEN_ROW;
    }
    const size_t nLast = nSize - nCovered;
    JoinRuns<EXTREME>(from, (nCovered < nLast ? nCovered : nLast) * step, nLast * step, out, count);
}

template <int EXTREME>
static void OneExtreme(void *pMemory, const NeighbourhoodFilter *pFilter, const BYTE *const *lines,
                       ptrdiff_t step, BYTE *out, size_t count, int bFirst)
{
    FindExtremes<EXTREME>((ExtremeState *)pMemory, pFilter, lines, (size_t)step, out, count,
                          bFirst);
}

static inline BYTE Midpoint(BYTE lowest, BYTE greatest)
{
    return (BYTE)((lowest + greatest) / 2);
}

static inline BYTE Range(BYTE lowest, BYTE greatest)
{
    return (BYTE)(greatest - lowest);
}

template <BYTE (*COMBINE)(BYTE, BYTE)>
static void BothExtremes(void *pMemory, const NeighbourhoodFilter *pFilter,
                         const BYTE *const *lines, ptrdiff_t step, BYTE *__restrict out,
                         size_t count, int bFirst)
{
    ExtremeState *pLowest = (ExtremeState *)pMemory;
    FindExtremes<LOWEST>(pLowest, pFilter, lines, (size_t)step, out, count, bFirst);
    ExtremeState *pGreatest = (ExtremeState *)StateRow(pLowest, StateRows(pFilter->nRows));
    const BYTE *greatest = StateRow(pGreatest, RESULT_ROW);
    FindExtremes<GREATEST>(pGreatest, pFilter, lines, (size_t)step, StateRow(pGreatest, RESULT_ROW),
                           count, bFirst);
    for (size_t i = 0; i < count; i++) {
        out[i] = COMBINE(out[i], greatest[i]);
    }
}

template <int EXTREMES_NEEDED>
static size_t ExtremeBytes(const NeighbourhoodFilter *pFilter, size_t nSamples, ptrdiff_t step)
{
    const ULONGLONG nRows = (ULONGLONG)StateRows(pFilter->nRows);
    (void)step;
    return StateSize(EXTREMES_NEEDED * (sizeof(ExtremeState) + nRows * WholeVectors(nSamples)));
}

const ExtremeKernels EXTREME_KERNELS = {{{ExtremeBytes<1>, OneExtreme<LOWEST>},
                                         {ExtremeBytes<1>, OneExtreme<GREATEST>},
                                         {ExtremeBytes<2>, BothExtremes<Midpoint>},
                                         {ExtremeBytes<2>, BothExtremes<Range>}}};

}  // namespace KERNEL_LEVEL
