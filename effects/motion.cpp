// Motion blur along a straight line: each pixel becomes the mean of samples along a line through
// it, one for each step of length 1, the nearest pixels up and to the left. A sample outside the
// picture counts as black: the border comes out darker (kept).
//
// Where a sample lies is computed in doubles and hangs on their last bits. Its column is that of
// the pixel and a distance that is the same all along the row, but for a rounding that from some
// column on makes it one more; its row is the same all along the row. So a row of the result is the
// sum of a few shifted rows. Rows of the source lie in a ring with black on both sides; a sample
// costs one addition of bytes.

#include "motion.h"

#include "VexaFilter.h"
#include "effect_frame.h"
#include "effect_kernels.h"
#include "frame/intops.h"
#include "frame/matrix.h"
#include "frame/progress.h"
#include "platform/workmemory.h"

#include <math.h>
#include <string.h>

int HasLength(const void *pArguments)
{
    return ((const MotionArguments *)pArguments)->nLength >= 0;
}

MotionOffsets OffsetsOf(int nLength)
{
    const MotionOffsets offsets = {-(int64_t)(nLength / 2), (int64_t)nLength - nLength / 2};
    return offsets;
}

int64_t FourPasses(const SampleRows *pRows)
{
    return LoadSteps(pRows->height) + ColumnSteps(pRows->width) + RowSteps(pRows) +
           ColumnSteps(pRows->width);
}

struct LineOffset {
    double dRow;  // distance of the sample's row before rounding
    int nShift;   // distance of its column
    int nNext;    // from this column on that is one more; the width: nowhere
};

struct LineBlur {
    SampleRows rows;
    int nLength;
    LineOffset *offsets;  // those that can meet the picture
    size_t nOffsets;
    const BYTE **lines;
    double *totals;  // of a row; null if 16-bit sums do
    // Rows of samples, row y in slot y mod nSlots.
    BYTE *ring;
    int *inSlot;  // the row in each slot; -1: none
    size_t nSlotBytes;
    size_t nMargin;  // left
    int nSlots;
    int nTop, nBottom;  // distances of the rows that a row needs
};

static int Floor(double value)
{
    return (int)floor(value);
}

// The first column in which rounding lengthens the distance. Rounding grows with the sum: once it
// does, it does so in all columns that follow.
static int FirstLonger(double dColumn, int nShift, int width)
{
    int low = nShift < 0 ? -nShift : 0;
    int high = width;
    while (low < high) {
        const int middle = low + (high - low) / 2;
        if (Floor(dColumn + middle) - middle > nShift) {
            high = middle;
        } else {
            low = middle + 1;
        }
    }
    return high < width ? high : width;
}

static int MeetsPicture(const LineBlur *p, double dColumn, double dRow)
{
    return fabs(dColumn) < p->rows.width && fabs(dRow) < p->rows.height;
}

// Offsets from nFrom on in steps of nStep until they leave the picture.
static void AddOffsets(LineBlur *p, int64_t nFrom, int64_t nEnd, int nStep, double c, double s)
{
    for (int64_t t = nFrom; t != nEnd; t += nStep) {
        const double dColumn = (double)t * c;
        const double dRow = (double)t * s;
        if (!MeetsPicture(p, dColumn, dRow)) {
            return;
        }
        if (p->offsets != NULL) {
            LineOffset *pOffset = &p->offsets[p->nOffsets];
            pOffset->dRow = dRow;
            pOffset->nShift = Floor(dColumn);
            pOffset->nNext = FirstLonger(dColumn, pOffset->nShift, p->rows.width);
        }
        p->nOffsets++;
    }
}

static void PlaceOffsets(LineBlur *p, int nAngle)
{
    // Kept: a little short of pi / 180, so that no angle but 360 is along the rows. Sines are
    // rounded from long doubles: then they are the same in both builds.
    const double theta = (double)(360 - (int64_t)nAngle) * 0.01745277777777778;
    const double c = (double)cosl((long double)theta);
    const double s = (double)sinl((long double)theta);
    const MotionOffsets range = OffsetsOf(p->nLength);
    p->nOffsets = 0;
    // A dialog may have made the length negative: no offsets.
    if (range.nFirst < range.nEnd) {
        AddOffsets(p, 0, range.nEnd, 1, c, s);
        AddOffsets(p, -1, range.nFirst - 1, -1, c, s);
    }
}

static int PrepareRing(LineBlur *p)
{
    int nLeft = 0, nRight = 0;
    double dTop = 0, dBottom = 0;
    for (size_t i = 0; i < p->nOffsets; i++) {
        const LineOffset *pOffset = &p->offsets[i];
        nLeft = pOffset->nShift < nLeft ? pOffset->nShift : nLeft;
        nRight = pOffset->nShift + 1 > nRight ? pOffset->nShift + 1 : nRight;
        dTop = pOffset->dRow < dTop ? pOffset->dRow : dTop;
        dBottom = pOffset->dRow > dBottom ? pOffset->dRow : dBottom;
    }
    p->nTop = Floor(dTop);
    p->nBottom = Floor(dBottom) + 1;
    const int64_t nReach = (int64_t)p->nBottom - p->nTop + 1;
    p->nSlots = nReach < p->rows.height ? (int)nReach : p->rows.height;
    p->nMargin = (size_t)-nLeft * p->rows.channels;
    p->nSlotBytes = p->nMargin + p->rows.nSamples + (size_t)nRight * p->rows.channels + LINE_SPARE;
    p->ring = (BYTE *)WorkAlloc((size_t)p->nSlots, p->nSlotBytes);
    p->inSlot = (int *)WorkAlloc((size_t)p->nSlots, sizeof(int));
    return p->ring != NULL && p->inSlot != NULL;
}

static void ForgetRing(void *pContext)
{
    LineBlur *p = (LineBlur *)pContext;
    for (int i = 0; i < p->nSlots; i++) {
        p->inSlot[i] = -1;
    }
}

static BYTE *SlotOf(const LineBlur *p, int y)
{
    return p->ring + (size_t)(y % p->nSlots) * p->nSlotBytes + p->nMargin;
}

static void LoadRows(LineBlur *p, int y)
{
    const int64_t nLast = (int64_t)y + p->nBottom;
    const int nEnd = nLast < p->rows.height ? (int)nLast + 1 : p->rows.height;
    for (int row = y + p->nTop < 0 ? 0 : y + p->nTop; row < nEnd; row++) {
        if (p->inSlot[row % p->nSlots] != row) {
            BYTE *slot = SlotOf(p, row);
            const BYTE *samples = RowSamples(&p->rows, row, slot);
            if (samples != slot) {
                memcpy(slot, samples, p->rows.nSamples);
            }
            p->inSlot[row % p->nSlots] = row;
        }
    }
}

// The shifted rows whose sum is row y from column nFirst on. Returns the column up to which that
// holds.
static int AimLines(LineBlur *p, int y, int nFirst, size_t *pCount)
{
    int nEnd = p->rows.width;
    size_t nLines = 0;
    for (size_t i = 0; i < p->nOffsets; i++) {
        const LineOffset *pOffset = &p->offsets[i];
        const double dRow = pOffset->dRow + y;
        if (dRow >= 0 && dRow < p->rows.height) {
            const int bLonger = nFirst >= pOffset->nNext;
            const ptrdiff_t nColumn = (ptrdiff_t)nFirst + pOffset->nShift + bLonger;
            nEnd = !bLonger && pOffset->nNext < nEnd ? pOffset->nNext : nEnd;
            p->lines[nLines++] = SlotOf(p, (int)dRow) + nColumn * (ptrdiff_t)p->rows.channels;
        }
    }
    *pCount = nLines;
    return nEnd;
}

static void DivideLongSums(const LineBlur *p, size_t nLines, BYTE *out, size_t count)
{
    memset(p->totals, 0, count * sizeof(double));
    for (size_t i = 0; i < nLines; i += LINES_MOST) {
        g_pEffectKernels->AddLines(p->lines + i, Least(nLines - i, LINES_MOST), p->totals, count);
    }
    for (size_t i = 0; i < count; i++) {
        out[i] = (BYTE)(int)(p->totals[i] / p->nLength);
    }
}

static void BlurRow(void *pContext, int y, BYTE *out)
{
    LineBlur *p = (LineBlur *)pContext;
    LoadRows(p, y);
    for (int x = 0, nEnd; x < p->rows.width; x = nEnd) {
        size_t nLines;
        nEnd = AimLines(p, y, x, &nLines);
        BYTE *part = out + (size_t)x * p->rows.channels;
        const size_t count = (size_t)(nEnd - x) * p->rows.channels;
        if (nLines == 0) {
            memset(part, 0, count);
        } else if (nLines <= LINES_MOST) {
            g_pEffectKernels->AverageLines(p->lines, nLines, (unsigned)p->nLength, part, count);
        } else {
            DivideLongSums(p, nLines, part, count);
        }
    }
}

static HGLOBAL MotionBlur(FilterCall *pCall, const Picture *pPicture)
{
    const MotionArguments *pArguments = (const MotionArguments *)pCall->pArguments;
    HGLOBAL hResult = NULL;
    LineBlur blur;
    memset(&blur, 0, sizeof blur);
    OpenSamples(pPicture, SAMPLE_LEVELS, &blur.rows);
    blur.nLength = pArguments->nLength;
    PlaceOffsets(&blur, pArguments->nDirection);  // counts them
    const size_t nMost = blur.nOffsets;
    blur.offsets = (LineOffset *)WorkAlloc(nMost + 1, sizeof(LineOffset));
    blur.lines = (const BYTE **)WorkAlloc(nMost + 1, sizeof(BYTE *));
    blur.totals =
        nMost > LINES_MOST ? (double *)WorkAlloc(blur.rows.nSamples, sizeof(double)) : NULL;
    if (blur.offsets != NULL && blur.lines != NULL &&
        (nMost <= LINES_MOST || blur.totals != NULL)) {
        PlaceOffsets(&blur, pArguments->nDirection);
        if (PrepareRing(&blur)) {
            const RowEffect effect = {BlurRow, ForgetRing, &blur, FourPasses(&blur.rows)};
            ForgetRing(&blur);
            hResult = MakeRows(&blur.rows, &effect, pCall->bProgress);
        }
    }
    WorkFree(blur.inSlot);
    WorkFree(blur.ring);
    WorkFree(blur.totals);
    WorkFree((void *)blur.lines);
    WorkFree(blur.offsets);
    return hResult;
}

HGLOBAL VEXAFILTER_API FilterMotionBlur(HGLOBAL hDib, int nAngle, int nLength, UINT mode,
                                        HWND hParent)
{
    static constexpr FilterFrame FRAME =
        EffectFrame("MOTIONBLURUI", 2, 2, 1, HasLength, MotionBlur, TwoPassesOverSides);
    return RunFilter(&FRAME, hDib, {nAngle, nLength}, mode, hParent);
}
