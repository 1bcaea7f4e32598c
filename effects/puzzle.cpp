// Puzzle: the picture is cut into tiles, which are laid out again in random order.
//
// The result is a canvas of whole tiles, black where tiles reach beyond the picture. Kept: at 8
// bits the canvas has its own colour table, entry 0 white and all others black, and pixels are
// moved as indices; the number of a tile's column and row is held in a byte, so that with more than
// 256 tiles along a side some are laid out several times and others never; the bar does not move.

#include "VexaFilter.h"
#include "effect_frame.h"
#include "frame/intops.h"
#include "random.h"
#include "ring.h"

#include <string.h>

struct TileCounts {
    int nAcross, nDown;
};

struct Tiling {
    const DibView *pSource;
    DibView canvas;
    size_t channels;
    TileCounts counts;
    int nTileWidth, nTileHeight;
};

static int HasTiles(const void *pArguments)
{
    const TileCounts *p = (const TileCounts *)pArguments;
    return p->nAcross >= 1 && p->nDown >= 1;
}

// Kept: as if half of the columns were steps.
static int StepsOverHalfWidth(int width, int height, int bGray, const void *pArguments)
{
    (void)height;
    (void)bGray;
    (void)pArguments;
    return width / 10 * UNITS_PER_STEP;
}

static int64_t PadToTiles(int size, int nTiles)
{
    const int nRest = size % nTiles;
    return nRest == 0 ? size : (int64_t)size - nRest + nTiles;
}

static int DotsPerInch(LONG nPerMeter)
{
    static const double METERS_PER_INCH = 0.025400050800101603;
    return TruncateToInt(nPerMeter * METERS_PER_INCH);
}

static int Least32(int64_t a, int b)
{
    return a < b ? (int)a : b;
}

// Into the slot of that column and row.
static void CopyTile(const Tiling *p, unsigned nTileColumn, unsigned nTileRow, int nColumn,
                     int nRow)
{
    const int64_t nLeft = (int64_t)nTileColumn * p->nTileWidth;
    const int64_t nTop = (int64_t)nTileRow * p->nTileHeight;
    const int nRight = Least32(nLeft + p->nTileWidth, p->pSource->shape.width);
    const int nBottom = Least32(nTop + p->nTileHeight, p->pSource->shape.height);
    if (nLeft >= nRight) {
        return;
    }
    const size_t nBytes = (size_t)(nRight - nLeft) * p->channels;
    const size_t nTo = (size_t)nColumn * (size_t)p->nTileWidth * p->channels;
    for (int y = nBottom - 1; y >= nTop; y--) {
        BYTE *out = PictureRow(&p->canvas, nRow * p->nTileHeight + (y - (int)nTop)) + nTo;
        memcpy(out, PictureRow(p->pSource, y) + (size_t)nLeft * p->channels, nBytes);
    }
}

static void LayTiles(const Tiling *p, Ring *pRing)
{
    const unsigned nDown = (unsigned)p->counts.nDown;
    unsigned nLeft = (unsigned)p->counts.nAcross * nDown;
    uint32_t nState = SeedFromClock();
    FillRing(pRing, nLeft);
    for (int column = 0; column < p->counts.nAcross; column++) {
        for (int row = 0; row < p->counts.nDown; row++, nLeft--) {
            const unsigned nTile = TakeFromRing(pRing, DrawRandom(&nState) % nLeft);
            CopyTile(p, nTile / nDown & 0xff, nTile % nDown & 0xff, column, row);
        }
    }
}

static HGLOBAL MakeCanvas(const BITMAPINFOHEADER *pSource, int64_t nWidth, int64_t nHeight,
                          int bitCount)
{
    if (nWidth > INT32_MAX || nHeight > INT32_MAX) {
        return NULL;
    }
    return CreateBlankDib((int)nWidth, (int)nHeight, DotsPerInch(pSource->biXPelsPerMeter),
                          DotsPerInch(pSource->biYPelsPerMeter), (BYTE)bitCount, 0);
}

static HGLOBAL Puzzle(FilterCall *pCall, const Picture *pPicture)
{
    const DibShape *pShape = &pPicture->view.shape;
    Tiling tiling;
    Ring ring;
    memset(&tiling, 0, sizeof tiling);
    tiling.pSource = &pPicture->view;
    tiling.counts = *(const TileCounts *)pCall->pArguments;
    tiling.channels = (size_t)pShape->bitCount / 8;
    const int64_t nWidth = PadToTiles(pShape->width, tiling.counts.nAcross);
    const int64_t nHeight = PadToTiles(pShape->height, tiling.counts.nDown);
    tiling.nTileWidth = (int)(nWidth / tiling.counts.nAcross);
    tiling.nTileHeight = (int)(nHeight / tiling.counts.nDown);
    HGLOBAL hCanvas = MakeCanvas(&pCall->source.header, nWidth, nHeight, pShape->bitCount);
    if (hCanvas == NULL) {
        return NULL;
    }
    if (AllocRing(&ring, (size_t)tiling.counts.nAcross * (size_t)tiling.counts.nDown) &&
        LockDib(hCanvas, &tiling.canvas)) {
        LayTiles(&tiling, &ring);
        UnlockDib(&tiling.canvas);
    } else {
        GlobalFree(hCanvas);
        hCanvas = NULL;
    }
    FreeRing(&ring);
    return hCanvas;
}

static constexpr FilterFrame PuzzleFrame(void)
{
    FilterFrame frame =
        EffectFrame("FILTERGROUPUI", 2, 1, NUMBER_PUZZLE, HasTiles, Puzzle, StepsOverHalfWidth);
    frame.AcceptsEdited = HasTiles;
    return frame;
}

HGLOBAL VEXAFILTER_API FilterPuzzle(HGLOBAL hDib, int nTilesAcross, int nTilesDown, UINT mode,
                                    HWND hParent)
{
    static constexpr FilterFrame FRAME = PuzzleFrame();
    return RunFilter(&FRAME, hDib, {nTilesAcross, nTilesDown}, mode, hParent);
}
