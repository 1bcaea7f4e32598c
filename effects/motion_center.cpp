// Motion blur from a centre: each pixel becomes the mean of samples along the line from the centre
// through it, as if the picture were zoomed while the shutter is open. Samples are the nearest
// pixels up and to the left; one outside the picture counts as black (kept).
//
// The columns of a pixel's samples hang on its column alone and their rows on its row. Both are
// tabulated, a pixel is the sum of what they meet in. A blur too long for a table goes from one
// change of column or row to the next, so that its cost does not grow with its length.

#include "VexaFilter.h"
#include "effect_frame.h"
#include "frame/levels.h"
#include "motion.h"
#include "platform/workmemory.h"

#include <string.h>

// The longest blur, and the most entries, that are tabulated.
enum { TABLE_LENGTH_MOST = 256, TABLE_MOST = 1 << 22 };

// Successive offsets whose samples lie in one column, or row.
struct PlaceRun {
    int64_t nEnd;  // the first offset beyond them
    int nPlace;
};

// Offsets counted from the first, whose samples lie inside the picture.
struct InsideRange {
    int nBegin, nEnd;
};

struct CenterBlur {
    SampleRows rows;
    int nSpread, nLength;
    MotionOffsets offsets;
    BYTE levels[GRAY_LEVELS];  // of stored bytes
    // Tabulated.
    int *columns;  // byte offsets in a row: nLength for each column of pixels
    InsideRange *inside;
    const BYTE **lines;  // the rows of the row in work
    // Else.
    size_t *starts;  // of each column's runs
    PlaceRun *columnRuns;
    PlaceRun *rowRuns;  // of the row in work
};

// Where offset t takes a pixel of that column or row; -1 or size: out of the picture.
static int PlaceAt(const CenterBlur *p, int nPixel, int64_t t, int size)
{
    // Kept: the vertical centre is half the width, too.
    const int64_t nProduct = ((int64_t)nPixel - p->rows.width / 2) * t;
    const double place = (double)nProduct / p->nSpread + nPixel;
    return place < 0 ? -1 : place >= size ? size : (int)place;
}

static int IsInside(int nPlace, int size)
{
    return nPlace >= 0 && nPlace < size;
}

// The first offset beyond t's run. The place never turns back as t grows, so that equal ends mean
// no change between.
static int64_t EndOfRun(const CenterBlur *p, int nPixel, int64_t t, int size)
{
    const int nFound = PlaceAt(p, nPixel, t, size);
    int64_t low = t;
    for (int64_t nStep = 1; low + nStep < p->offsets.nEnd; nStep *= 2) {
        if (PlaceAt(p, nPixel, low + nStep, size) != nFound) {
            break;
        }
        low += nStep;
    }
    int64_t high = low + (low - t) + 2;
    high = high < p->offsets.nEnd ? high : p->offsets.nEnd;
    while (high - low > 1) {
        const int64_t middle = low + (high - low) / 2;
        if (PlaceAt(p, nPixel, middle, size) == nFound) {
            low = middle;
        } else {
            high = middle;
        }
    }
    return low + 1;
}

// Returns how many there are. runs may be null.
static size_t FindRuns(const CenterBlur *p, int nPixel, int size, PlaceRun *runs)
{
    size_t n = 0;
    for (int64_t t = p->offsets.nFirst; t < p->offsets.nEnd; n++) {
        const int64_t nEnd = EndOfRun(p, nPixel, t, size);
        if (runs != NULL) {
            runs[n].nEnd = nEnd;
            runs[n].nPlace = PlaceAt(p, nPixel, t, size);
        }
        t = nEnd;
    }
    return n;
}

static void FollowLevels(CenterBlur *p)
{
    if (!p->rows.bStored) {
        memcpy(p->levels, p->rows.maps.levels, sizeof p->levels);
    }
}

// ---- tabulated ----------------------------------------------------------------------------------

static int PrepareTable(CenterBlur *p)
{
    const size_t nLength = (size_t)p->nLength;
    const size_t width = (size_t)p->rows.width;
    p->columns = (int *)WorkAlloc(width, nLength * sizeof(int));
    p->inside = (InsideRange *)WorkAlloc(width, sizeof(InsideRange));
    p->lines = (const BYTE **)WorkAlloc(nLength, sizeof(BYTE *));
    if (p->columns == NULL || p->inside == NULL || p->lines == NULL) {
        return 0;
    }
    for (int x = 0; x < p->rows.width; x++) {
        int *columns = p->columns + (size_t)x * nLength;
        InsideRange *pInside = &p->inside[x];
        for (int i = 0; i < p->nLength; i++) {
            const int column = PlaceAt(p, x, p->offsets.nFirst + i, p->rows.width);
            if (IsInside(column, p->rows.width)) {
                pInside->nBegin = pInside->nEnd == 0 ? i : pInside->nBegin;
                pInside->nEnd = i + 1;
                columns[i] = column * (int)p->rows.channels;
            }
        }
    }
    return 1;
}

static InsideRange AimLines(CenterBlur *p, int y)
{
    InsideRange inside = {0, 0};
    for (int i = 0; i < p->nLength; i++) {
        const int row = PlaceAt(p, y, p->offsets.nFirst + i, p->rows.height);
        if (IsInside(row, p->rows.height)) {
            inside.nBegin = inside.nEnd == 0 ? i : inside.nBegin;
            inside.nEnd = i + 1;
            p->lines[i] = PictureRow(p->rows.pView, row);
        }
    }
    return inside;
}

static void SumGray(const CenterBlur *p, const int *columns, InsideRange range, int *sums)
{
    for (int i = range.nBegin; i < range.nEnd; i++) {
        sums[0] += p->levels[p->lines[i][columns[i]]];
    }
}

static void SumColor(const CenterBlur *p, const int *columns, InsideRange range, int *sums)
{
    for (int i = range.nBegin; i < range.nEnd; i++) {
        const BYTE *pixel = p->lines[i] + columns[i];
        sums[0] += pixel[0];
        sums[1] += pixel[1];
        sums[2] += pixel[2];
    }
}

static void TableRow(void *pContext, int y, BYTE *out)
{
    CenterBlur *p = (CenterBlur *)pContext;
    // Exact: with a half added a sum is at least half a sample away from a multiple of the length.
    const float inverse = 1.0F / (float)p->nLength;
    FollowLevels(p);
    const InsideRange rows = AimLines(p, y);
    for (int x = 0; x < p->rows.width; x++) {
        const int *columns = p->columns + (size_t)x * (size_t)p->nLength;
        InsideRange range = p->inside[x];
        int sums[COLOR_CHANNELS] = {};
        range.nBegin = range.nBegin > rows.nBegin ? range.nBegin : rows.nBegin;
        range.nEnd = range.nEnd < rows.nEnd ? range.nEnd : rows.nEnd;
        if (p->rows.channels == 1) {
            SumGray(p, columns, range, sums);
        } else {
            SumColor(p, columns, range, sums);
        }
        for (size_t channel = 0; channel < p->rows.channels; channel++) {
            *out++ = (BYTE)(int)(((float)sums[channel] + 0.5F) * inverse);
        }
    }
}

// ---- by runs ------------------------------------------------------------------------------------

static int PrepareRuns(CenterBlur *p)
{
    const int width = p->rows.width;
    size_t nRuns = 0, nMost = 0;
    p->starts = (size_t *)WorkAlloc((size_t)width, sizeof(size_t));
    for (int x = 0; p->starts != NULL && x < width; x++) {
        p->starts[x] = nRuns;
        nRuns += FindRuns(p, x, width, NULL);
    }
    for (int y = 0; y < p->rows.height; y++) {
        const size_t n = FindRuns(p, y, p->rows.height, NULL);
        nMost = n > nMost ? n : nMost;
    }
    p->columnRuns = (PlaceRun *)WorkAlloc(nRuns, sizeof(PlaceRun));
    p->rowRuns = (PlaceRun *)WorkAlloc(nMost, sizeof(PlaceRun));
    if (p->starts == NULL || p->columnRuns == NULL || p->rowRuns == NULL) {
        return 0;
    }
    for (int x = 0; x < width; x++) {
        FindRuns(p, x, width, p->columnRuns + p->starts[x]);
    }
    return 1;
}

static void SumRuns(const CenterBlur *p, int x, int64_t *sums)
{
    const PlaceRun *pColumn = p->columnRuns + p->starts[x];
    const PlaceRun *pRow = p->rowRuns;
    for (int64_t t = p->offsets.nFirst; t < p->offsets.nEnd;) {
        const int64_t nEnd = pColumn->nEnd < pRow->nEnd ? pColumn->nEnd : pRow->nEnd;
        if (IsInside(pColumn->nPlace, p->rows.width) && IsInside(pRow->nPlace, p->rows.height)) {
            const BYTE *pixel = PictureRow(p->rows.pView, pRow->nPlace) +
                                (size_t)pColumn->nPlace * p->rows.channels;
            for (size_t channel = 0; channel < p->rows.channels; channel++) {
                sums[channel] += (nEnd - t) * p->levels[pixel[channel]];
            }
        }
        pColumn += pColumn->nEnd == nEnd ? 1 : 0;
        pRow += pRow->nEnd == nEnd ? 1 : 0;
        t = nEnd;
    }
}

static void RunsRow(void *pContext, int y, BYTE *out)
{
    CenterBlur *p = (CenterBlur *)pContext;
    FollowLevels(p);
    FindRuns(p, y, p->rows.height, p->rowRuns);
    for (int x = 0; x < p->rows.width; x++) {
        int64_t sums[COLOR_CHANNELS] = {};
        SumRuns(p, x, sums);
        for (size_t channel = 0; channel < p->rows.channels; channel++) {
            *out++ = (BYTE)(sums[channel] / p->nLength);
        }
    }
}

// ---- the filter ---------------------------------------------------------------------------------

// No sample is anywhere.
static void BlackRow(void *pContext, int y, BYTE *out)
{
    const CenterBlur *p = (const CenterBlur *)pContext;
    (void)y;
    memset(out, 0, p->rows.nSamples);
}

static HGLOBAL CenterMotionBlur(FilterCall *pCall, const Picture *pPicture)
{
    const MotionArguments *pArguments = (const MotionArguments *)pCall->pArguments;
    HGLOBAL hResult = NULL;
    CenterBlur blur;
    int bPrepared = 1;
    memset(&blur, 0, sizeof blur);
    OpenSamples(pPicture, SAMPLE_LEVELS, &blur.rows);
    blur.nSpread = pArguments->nDirection;
    blur.nLength = pArguments->nLength;
    blur.offsets = OffsetsOf(blur.nLength);
    for (int i = 0; i < GRAY_LEVELS; i++) {
        blur.levels[i] = (BYTE)i;
    }
    RowEffect effect = {BlackRow, NULL, &blur, FourPasses(&blur.rows)};
    if (blur.nSpread != 0 && blur.nLength > 0) {
        const int bTable = blur.nLength <= TABLE_LENGTH_MOST &&
                           (int64_t)blur.nLength * blur.rows.width <= TABLE_MOST;
        bPrepared = bTable ? PrepareTable(&blur) : PrepareRuns(&blur);
        effect.MakeRow = bTable ? TableRow : RunsRow;
    }
    if (bPrepared) {
        hResult = MakeRows(&blur.rows, &effect, pCall->bProgress);
    }
    WorkFree(blur.rowRuns);
    WorkFree(blur.columnRuns);
    WorkFree(blur.starts);
    WorkFree((void *)blur.lines);
    WorkFree(blur.inside);
    WorkFree(blur.columns);
    return hResult;
}

HGLOBAL VEXAFILTER_API FilterCenterMotionBlur(HGLOBAL hDib, int nSpread, int nLength, UINT mode,
                                              HWND hParent)
{
    static constexpr FilterFrame FRAME =
        EffectFrame("MOTIONBLURUI", 2, 2, 0, HasLength, CenterMotionBlur, TwoPassesOverSides);
    return RunFilter(&FRAME, hDib, {nSpread, nLength}, mode, hParent);
}
