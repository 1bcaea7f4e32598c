// See binary_rows.h.

#include "binary_rows.h"

#include "calls.h"
#include "platform/workmemory.h"

#include <string.h>

// ---- rows ---------------------------------------------------------------------------------------

enum { DWORD_PIXELS = 32 };

void DescribeLines(const DibShape *pShape, LineLayout *pLayout)
{
    const size_t nDwords = pShape->stride / sizeof(DWORD);
    const size_t nInLast = (size_t)pShape->width - (nDwords - 1) * DWORD_PIXELS;
    const DWORD mask = 0xffffffffu << (DWORD_PIXELS - nInLast);  // the first pixel on top
    pLayout->packed = {nDwords, __builtin_bswap32(mask)};
    pLayout->width = pShape->width;
    pLayout->height = pShape->height;
    pLayout->stride = pShape->stride;
    pLayout->nBlocks = (pShape->stride + BLOCK_BYTES - 1) / BLOCK_BYTES;
}

void FillLine(const LineLayout *pLayout, BYTE *line)
{
    const size_t nWhole = (pLayout->packed.nDwords - 1) * sizeof(DWORD);
    memset(line, 0xff, nWhole);
    memcpy(line + nWhole, &pLayout->packed.lastMask, sizeof(DWORD));
}

// ---- elements -----------------------------------------------------------------------------------

// Reads the rows of an element as runs of distances; reflected, from right to left.
struct RowReader {
    const FilterMask *pElement;
    ElementBytes copy;
    int64_t nWidth;
    int bReflected;
};

static int64_t DistanceOf(const RowReader *p, int i)
{
    const int64_t nDistance = (int64_t)i - p->pElement->originColumn;
    return p->bReflected ? -nDistance : nDistance;
}

static int IsUsed(const RowReader *p, int i, int nRow)
{
    const int64_t nDistance = DistanceOf(p, i);
    return nDistance > -p->nWidth && nDistance < p->nWidth &&
           p->copy.pBytes[(size_t)nRow * (size_t)p->copy.nColumns + (size_t)i] == 1;
}

static void AddPosition(ElementRun *pRuns, int *pCount, int64_t nDistance)
{
    ElementRun *pLast = pRuns + *pCount - 1;
    if (*pCount > 0 && nDistance <= (int64_t)pLast->nStart + pLast->nLength) {
        pLast->nLength += nDistance == (int64_t)pLast->nStart + pLast->nLength;
        return;
    }
    pRuns[(*pCount)++] = {(int)nDistance, 1};
}

// nRow -1: no row of the element. bItself: with the pixel itself.
static int ReadRuns(const RowReader *p, int nRow, int bItself, ElementRun *pRuns)
{
    const int nColumns = nRow >= 0 ? p->copy.nColumns : 0;
    int count = 0;
    int bAdded = !bItself;
    for (int n = 0; n < nColumns; n++) {
        const int i = p->bReflected ? nColumns - 1 - n : n;
        const int64_t nDistance = DistanceOf(p, i);
        if (!bAdded && nDistance >= 0) {
            AddPosition(pRuns, &count, 0);
            bAdded = 1;
        }
        if (IsUsed(p, i, nRow)) {
            AddPosition(pRuns, &count, nDistance);
        }
    }
    if (!bAdded) {
        AddPosition(pRuns, &count, 0);
    }
    return count;
}

// In memory the rows go up.
static int64_t MemoryDistance(const FilterMask *pElement, int nRow, int bReflected)
{
    const int64_t nDown = (int64_t)nRow - pElement->originRow;
    return bReflected ? nDown : -nDown;
}

static int SameRuns(const ElementPlan *pPlan, const ElementGroup *pGroup, const ElementRun *pRuns,
                    int nRuns)
{
    return pGroup->nRuns == nRuns &&
           memcmp(pPlan->pRuns + pGroup->nFirstRun, pRuns, (size_t)nRuns * sizeof *pRuns) == 0;
}

static void NoteReach(ElementPlan *pPlan, int nDistance, const ElementRun *pRuns, int nRuns)
{
    const int nFirst = pRuns[0].nStart;
    const int nLast = pRuns[nRuns - 1].nStart + pRuns[nRuns - 1].nLength - 1;
    pPlan->nLowest = nDistance < pPlan->nLowest ? nDistance : pPlan->nLowest;
    pPlan->nHighest = nDistance > pPlan->nHighest ? nDistance : pPlan->nHighest;
    pPlan->nLeftmost = nFirst < pPlan->nLeftmost ? nFirst : pPlan->nLeftmost;
    pPlan->nRightmost = nLast > pPlan->nRightmost ? nLast : pPlan->nRightmost;
    for (int i = 0; i < nRuns; i++) {
        pPlan->nLongest = pRuns[i].nLength > pPlan->nLongest ? pRuns[i].nLength : pPlan->nLongest;
    }
}

// A row of the element as it is read: its runs stand behind those of the groups.
struct ReadRow {
    int nDistance, nGroup;
};

static int RunsUsed(const ElementPlan *pPlan)
{
    const ElementGroup *pLast = pPlan->pGroups + pPlan->nGroups - 1;
    return pPlan->nGroups > 0 ? pLast->nFirstRun + pLast->nRuns : 0;
}

// The group of the runs that have just been read, perhaps a new one.
static int FindGroup(ElementPlan *pPlan, int nRuns)
{
    const int nFirst = RunsUsed(pPlan);
    for (int g = 0; g < pPlan->nGroups; g++) {
        if (SameRuns(pPlan, &pPlan->pGroups[g], pPlan->pRuns + nFirst, nRuns)) {
            return g;
        }
    }
    pPlan->pGroups[pPlan->nGroups] = {0, 0, nFirst, nRuns};
    return pPlan->nGroups++;
}

// Puts the rows of a group next to each other.
static void SortRows(ElementPlan *pPlan, const ReadRow *pRead, int nRead)
{
    int nNext = 0;
    for (int i = 0; i < nRead; i++) {
        pPlan->pGroups[pRead[i].nGroup].nRows++;
    }
    for (int g = 0; g < pPlan->nGroups; g++) {
        pPlan->pGroups[g].nFirstRow = nNext;
        nNext += pPlan->pGroups[g].nRows;
        pPlan->pGroups[g].nRows = 0;
    }
    for (int i = 0; i < nRead; i++) {
        ElementGroup *pGroup = &pPlan->pGroups[pRead[i].nGroup];
        pPlan->pRows[pGroup->nFirstRow + pGroup->nRows++] = pRead[i].nDistance;
    }
}

static void ReadElement(const RowReader *p, int nHeight, ElementPlan *pPlan, ReadRow *pRead)
{
    int nRead = 0;
    int bItselfRead = 0;
    // After the last row the pixel's own, if the element has none there.
    for (int j = 0; j <= p->copy.nRows; j++) {
        const int bOwn = j == p->copy.nRows;
        const int64_t nDistance = bOwn ? 0 : MemoryDistance(p->pElement, j, p->bReflected);
        if (nDistance <= -nHeight || nDistance >= nHeight || (bOwn && bItselfRead)) {
            continue;
        }
        ElementRun *pRuns = pPlan->pRuns + RunsUsed(pPlan);
        const int nRuns = ReadRuns(p, bOwn ? -1 : j, nDistance == 0, pRuns);
        bItselfRead |= nDistance == 0;
        if (nRuns > 0) {
            NoteReach(pPlan, (int)nDistance, pRuns, nRuns);
            pRead[nRead++] = {(int)nDistance, FindGroup(pPlan, nRuns)};
        }
    }
    SortRows(pPlan, pRead, nRead);
}

// No more runs than these, the pixel itself and room for a row that is being read included.
static size_t CountRuns(const RowReader *p)
{
    size_t nRuns = 2 + (size_t)p->copy.nColumns;
    for (int j = 0; j < p->copy.nRows; j++) {
        for (int i = 0; i < p->copy.nColumns; i++) {
            nRuns += (size_t)(IsUsed(p, i, j) && (i == 0 || !IsUsed(p, i - 1, j)));
        }
    }
    return nRuns;
}

static int PlanCopied(const RowReader *p, int nHeight, ElementPlan *pPlan)
{
    const size_t nMostRows = (size_t)p->copy.nRows + 1;
    pPlan->pGroups = (ElementGroup *)WorkAlloc(nMostRows, sizeof(ElementGroup));
    pPlan->pRuns = (ElementRun *)WorkAlloc(CountRuns(p), sizeof(ElementRun));
    pPlan->pRows = (int *)WorkAlloc(nMostRows, sizeof(int));
    ReadRow *pRead = (ReadRow *)WorkAlloc(nMostRows, sizeof(ReadRow));
    const int bDone =
        pPlan->pGroups != NULL && pPlan->pRuns != NULL && pPlan->pRows != NULL && pRead != NULL;
    if (bDone) {
        ReadElement(p, nHeight, pPlan, pRead);
    }
    WorkFree(pRead);
    return bDone;
}

int PlanElement(const FilterMask *pElement, int bReflected, const LineLayout *pLayout,
                ElementPlan *pPlan)
{
    RowReader reader = {pElement, {}, pLayout->width, bReflected};
    memset(pPlan, 0, sizeof *pPlan);
    const int bDone =
        CopyElement(pElement, &reader.copy) && PlanCopied(&reader, pLayout->height, pPlan);
    WorkFree(reader.copy.pBytes);
    return bDone;
}

void FreeElementPlan(ElementPlan *pPlan)
{
    WorkFree(pPlan->pGroups);
    WorkFree(pPlan->pRuns);
    WorkFree(pPlan->pRows);
}

// ---- the engine ---------------------------------------------------------------------------------

// What the memory holds: the ring, then these.
enum { EMPTY_LINE, FULL_LINE, MERGED_LINE, FOUND_LINES, FIRST_LEVEL = FOUND_LINES + MOST_PLANS };

static BYTE *Line(const BinaryPass *p, int nLine)
{
    return p->pLines + (size_t)nLine * p->nLineBytes + p->nGuard;
}

static BYTE *WorkLine(const BinaryPass *p, int nLine)
{
    return Line(p, p->nSlots + nLine);
}

static const BYTE *SourceLine(const BinaryPass *p, int nRow)
{
    return nRow < 0 || nRow >= p->layout.height ? WorkLine(p, EMPTY_LINE)
                                                : Line(p, nRow & (p->nSlots - 1));
}

static BYTE *AlignToBlock(BYTE *pMemory)
{
    return pMemory + (BLOCK_BYTES - (UINT_PTR)pMemory % BLOCK_BYTES) % BLOCK_BYTES;
}

static size_t RoundToBlocks(size_t nBytes)
{
    return (nBytes + BLOCK_BYTES - 1) / BLOCK_BYTES * BLOCK_BYTES;
}

// A run is up to three of a power of 2 pixels that overlap or meet.
static int LevelsOf(int nLength)
{
    int nLevels = 0;
    while ((int64_t)3 << nLevels < nLength) {
        nLevels++;
    }
    return nLevels;
}

static int MostOf(int a, int b)
{
    return a > b ? a : b;
}

int BeginBinaryPass(BinaryPass *p)
{
    int nLowest = 0, nHighest = 0, nMostRows = 1;
    size_t nReach = 0;
    p->nLevels = 0;
    p->nLoaded = 0;
    for (int n = 0; n < p->nPlans; n++) {
        const ElementPlan *pPlan = &p->pPlans[n];
        const size_t nLeft = (size_t)-pPlan->nLeftmost;
        const size_t nRight = (size_t)pPlan->nRightmost;
        nReach = nLeft > nReach ? nLeft : nReach;
        nReach = nRight > nReach ? nRight : nReach;
        nLowest = pPlan->nLowest < nLowest ? pPlan->nLowest : nLowest;
        nHighest = pPlan->nHighest > nHighest ? pPlan->nHighest : nHighest;
        for (int g = 0; g < pPlan->nGroups; g++) {
            nMostRows = pPlan->pGroups[g].nRows > nMostRows ? pPlan->pGroups[g].nRows : nMostRows;
        }
        p->nLevels = MostOf(p->nLevels, LevelsOf(pPlan->nLongest));
    }
    const int64_t nSlots = (int64_t)nHighest - nLowest + 1;
    p->nSlots = 1;
    while (p->nSlots < nSlots && p->nSlots < p->layout.height) {
        p->nSlots *= 2;
    }
    p->nBefore = RoundToBlocks(nReach / 8 + 1);
    // A shifted block reads a byte beyond the last one.
    p->nGuard = p->nBefore + BLOCK_BYTES;
    p->nLineBytes = p->layout.nBlocks * BLOCK_BYTES + 2 * p->nGuard;
    p->nAhead = nHighest;
    const size_t nLines = (size_t)p->nSlots + FIRST_LEVEL + (size_t)p->nLevels;
    p->pMemory = (BYTE *)WorkAlloc(nLines + 1, p->nLineBytes);
    p->pLines = AlignToBlock(p->pMemory);
    p->ppMerged = (const BYTE **)WorkAlloc((size_t)nMostRows, sizeof(BYTE *));
    if (p->pMemory == NULL || p->ppMerged == NULL) {
        return 0;
    }
    FillLine(&p->layout, WorkLine(p, FULL_LINE));
    return 1;
}

void EndBinaryPass(BinaryPass *p)
{
    WorkFree(p->pMemory);
    WorkFree((void *)p->ppMerged);
}

// The group's rows that lie in the picture, into ppMerged.
static size_t FindRows(const BinaryPass *p, const ElementPlan *pPlan, const ElementGroup *pGroup,
                       int nRow)
{
    const int *pRows = pPlan->pRows + pGroup->nFirstRow;
    size_t count = 0;
    for (int i = 0; i < pGroup->nRows; i++) {
        const int nFrom = nRow + pRows[i];
        if (nFrom >= 0 && nFrom < p->layout.height) {
            p->ppMerged[count++] = SourceLine(p, nFrom);
        }
    }
    return count;
}

// Of every pixel, whether one of the positions of the group's runs meets a pixel of the line.
static void SpreadRuns(const BinaryPass *p, const ElementPlan *pPlan, const ElementGroup *pGroup,
                       const BYTE *line, int bAdd, BYTE *found)
{
    const size_t nBlocks = p->layout.nBlocks;
    const size_t nBefore = p->nBefore;
    int nMade = 0;
    for (int i = 0; i < pGroup->nRuns; i++) {
        const ElementRun *pRun = &pPlan->pRuns[pGroup->nFirstRun + i];
        const int nLevels = LevelsOf(pRun->nLength);
        for (; nMade < nLevels; nMade++) {
            const BYTE *from = nMade > 0 ? WorkLine(p, FIRST_LEVEL + nMade - 1) : line;
            const ptrdiff_t pair[] = {0, (ptrdiff_t)1 << nMade};
            g_pBinaryKernels->Spread(from - nBefore, pair, 2, 0,
                                     WorkLine(p, FIRST_LEVEL + nMade) - nBefore,
                                     nBlocks + nBefore / BLOCK_BYTES);
        }
        const BYTE *from = nLevels > 0 ? WorkLine(p, FIRST_LEVEL + nLevels - 1) : line;
        const int nCovered = 1 << nLevels;
        const int nLast = pRun->nLength - nCovered;
        const ptrdiff_t shifts[] = {pRun->nStart, pRun->nStart + nLast,
                                    pRun->nStart + (nLast < nCovered ? nLast : nCovered)};
        const size_t nShifts = nLast == 0 ? 1 : nLast <= nCovered ? 2 : 3;
        g_pBinaryKernels->Spread(from, shifts, nShifts, bAdd || i > 0, found, nBlocks);
    }
}

// The group's rows themselves are what is found.
static int IsUpright(const ElementPlan *pPlan, const ElementGroup *pGroup)
{
    const ElementRun *pRun = &pPlan->pRuns[pGroup->nFirstRun];
    return pGroup->nRuns == 1 && pRun->nStart == 0 && pRun->nLength == 1;
}

static const BYTE *FindPixels(const BinaryPass *p, int nPlan, int nRow)
{
    const ElementPlan *pPlan = &p->pPlans[nPlan];
    const size_t nBlocks = p->layout.nBlocks;
    BYTE *found = WorkLine(p, FOUND_LINES + nPlan);
    BYTE *merged = WorkLine(p, MERGED_LINE);
    int bAdd = 0;
    for (int g = 0; g < pPlan->nGroups; g++) {
        const ElementGroup *pGroup = &pPlan->pGroups[g];
        const size_t nLines = FindRows(p, pPlan, pGroup, nRow);
        if (nLines == 0) {
            continue;
        }
        if (IsUpright(pPlan, pGroup)) {
            g_pBinaryKernels->Merge(p->ppMerged, nLines, bAdd, found, nBlocks);
        } else if (nLines == 1) {
            SpreadRuns(p, pPlan, pGroup, p->ppMerged[0], bAdd, found);
        } else {
            g_pBinaryKernels->Merge(p->ppMerged, nLines, 0, merged, nBlocks);
            SpreadRuns(p, pPlan, pGroup, merged, bAdd, found);
        }
        bAdd = 1;
    }
    return found;
}

static void MakeRow(const BinaryPass *p, int nRow)
{
    const BYTE *kept = FindPixels(p, 0, nRow);
    const BYTE *without = WorkLine(p, EMPTY_LINE);
    if (p->rule == KEEP_NOT_FOUND) {
        without = kept;
        kept = WorkLine(p, FULL_LINE);
    } else if (p->rule == KEEP_FOUND_NEW) {
        without = SourceLine(p, nRow);
    } else if (p->rule == KEEP_BETWEEN) {
        without = kept;
        kept = FindPixels(p, 1, nRow);
    }
    const size_t nOffset = (size_t)nRow * p->layout.stride;
    g_pBinaryKernels->Store(&p->layout.packed, kept, without, p->invertResult, p->pFrom + nOffset,
                            p->pTo + nOffset);
}

void RunBinaryRows(void *pPass, unsigned nFirst, unsigned nRows)
{
    BinaryPass *p = (BinaryPass *)pPass;
    for (int row = (int)nFirst; row < (int)(nFirst + nRows); row++) {
        for (; p->nLoaded < p->layout.height && p->nLoaded <= row + p->nAhead; p->nLoaded++) {
            g_pBinaryKernels->Load(&p->layout.packed,
                                   p->pFrom + (size_t)p->nLoaded * p->layout.stride, p->invert,
                                   Line(p, p->nLoaded & (p->nSlots - 1)));
        }
        MakeRow(p, row);
    }
}
