// The row engine of the binary operators: for every pixel, whether any of the pixels under a
// structuring element is set. Dilation asks that of the object, all others of the background.
//
// It runs over the stored rows in memory order and keeps a ring of lines, so that it may write over
// the rows that it reads. An element is planned once: rows of it that are alike are first merged
// into one line, whatever their number; a run of n positions in a row then costs log n shifted
// lines.
#ifndef MORPHOLOGY_BINARY_ROWS_H
#define MORPHOLOGY_BINARY_ROWS_H

#include "binary_kernels.h"
#include "frame/dib.h"

#include "VexaFilter.h"

// ---- rows ---------------------------------------------------------------------------------------

// How a picture's rows become lines.
struct LineLayout {
    PackedRow packed;
    int width, height;
    size_t stride;
    size_t nBlocks;
};

void DescribeLines(const DibShape *pShape, LineLayout *pLayout);

// A line with all pixels of the picture set.
void FillLine(const LineLayout *pLayout, BYTE *line);

// ---- elements -----------------------------------------------------------------------------------

// Positions next to each other in a row of the element: the pixels x + nStart to
// x + nStart + nLength - 1.
struct ElementRun {
    int nStart, nLength;
};

// Rows of the element with the same runs.
struct ElementGroup {
    int nFirstRow, nRows;  // in pRows
    int nFirstRun, nRuns;  // in pRuns
};

struct ElementPlan {
    ElementGroup *pGroups;
    ElementRun *pRuns;
    int *pRows;  // distances in memory rows
    int nGroups;
    int nLowest, nHighest;      // distances of the rows, 0 included
    int nLeftmost, nRightmost;  // of the pixels, 0 included
    int nLongest;               // run
};

// The positions of an element whose byte is exactly 1, as far as they can meet the picture, and the
// pixel itself. bReflected: the pixels that the element spreads from, instead of those it reaches.
// 0 without memory.
int PlanElement(const FilterMask *pElement, int bReflected, const LineLayout *pLayout,
                ElementPlan *pPlan);
void FreeElementPlan(ElementPlan *pPlan);

// ---- the engine ---------------------------------------------------------------------------------

// What becomes of a pixel. Found: one of the pixels under the element is set.
enum BinaryRule {
    KEEP_FOUND,      // found
    KEEP_NOT_FOUND,  // not found
    KEEP_FOUND_NEW,  // found, and not set itself
    KEEP_BETWEEN     // found by the second element and not by the first
};

enum { MOST_PLANS = 2 };

struct BinaryPass {
    BinaryRule rule;
    LineLayout layout;
    const ElementPlan *pPlans;  // one, or two for KEEP_BETWEEN
    int nPlans;
    const BYTE *pFrom;  // the stored rows, the bottom one first
    BYTE *pTo;          // may be pFrom
    BYTE invert;        // 0xff: clear bits count as set
    BYTE invertResult;  // 0xff: pixels that are kept become clear bits
    BYTE *pMemory;
    BYTE *pLines;           // in it, at the address of a whole block
    size_t nLineBytes;      // with guards
    size_t nBefore;         // bytes of runs that begin left of the picture
    size_t nGuard;          // in front of a line
    int nSlots;             // lines in the ring, a power of 2; row r is in slot r mod nSlots
    int nLoaded;            // rows that have been in it
    int nAhead;             // rows that a row needs above it
    int nLevels;            // lines for runs of 2, 4, 8 ... pixels
    const BYTE **ppMerged;  // the lines of a group
};

// Fills in what follows invertResult. 0 without memory.
int BeginBinaryPass(BinaryPass *pPass);

// The rows nFirst to nFirst + nRows - 1 in memory order. A RowsFunction (frame/rows.h).
void RunBinaryRows(void *pPass, unsigned nFirst, unsigned nRows);

void EndBinaryPass(BinaryPass *pPass);

#endif
