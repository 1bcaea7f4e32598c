// Polar: the picture is wrapped around its centre. The source's columns become angles, counted in
// whole degrees against the clock from the right, and its rows radii: its top row gathers in the
// centre. Outside the disc is black.
//
// Only 361 columns of the source are ever seen, and as many rows as there are radii: they are
// copied into a table first, radii side by side. Along a row of the result the angle falls on one
// side and rises on the other; where it changes is computed, not the angle of each pixel.

#include "VexaFilter.h"
#include "effect_frame.h"
#include "effect_kernels.h"
#include "frame/intops.h"
#include "frame/levels.h"
#include "frame/matrix.h"
#include "platform/workmemory.h"
#include "sample_rows.h"

#include <math.h>
#include <string.h>

enum { RIGHT_ANGLE = 90, HALF_TURN = 180, TURN = 360 };

static const double DEGREES = 57.29577951308239;

struct Polar {
    SampleRows rows;
    int nSquare;  // pixels at this square of a distance, and beyond, are black
    int nRadii;   // 0 to half the shorter side
    BYTE *table;  // for each angle, the pixels of all radii
    int *radii;   // of the row in work, by distance of columns
    BYTE outside;
    double cotangents[RIGHT_ANGLE];
};

// ---- the table ----------------------------------------------------------------------------------

static int ClampBelow(double place, int size)
{
    const int nPlace = TruncateToInt(place);
    return nPlace > size - 1 ? size - 1 : nPlace;
}

static void FillTable(const Polar *p, const BYTE *indexOf)
{
    const int width = p->rows.width, height = p->rows.height;
    const int nShorter = width < height ? width : height;
    const size_t channels = p->rows.channels;
    size_t columns[TURN + 1];
    for (int angle = 0; angle <= TURN; angle++) {
        columns[angle] =
            (size_t)ClampBelow((width - 1) * (double)angle * 0.002777777777777778, width) *
            channels;
    }
    for (int radius = 0; radius < p->nRadii; radius++) {
        const double place = 2 * ((height - 1) * (double)radius) / nShorter;
        const BYTE *row = PictureRow(p->rows.pView, ClampBelow(place, height));
        BYTE *cell = p->table + (size_t)radius * channels;
        for (int angle = 0; angle <= TURN; angle++, cell += (size_t)p->nRadii * channels) {
            const BYTE *pixel = row + columns[angle];
            if (channels == 1) {
                cell[0] = indexOf != NULL ? indexOf[pixel[0]] : pixel[0];
            } else {
                memcpy(cell, pixel, COLOR_CHANNELS);
            }
        }
    }
}

// ---- rows ---------------------------------------------------------------------------------------

// The pixels at the distances nFirst to nEnd - 1 from the centre column, nSign to one side.
static void CopySector(const Polar *p, int nAngle, int nFirst, int nEnd, BYTE *centre, int nSign)
{
    const BYTE *cells = p->table + (size_t)nAngle * (size_t)p->nRadii * p->rows.channels;
    if (p->rows.channels == 1) {
        for (ptrdiff_t d = nFirst; d < nEnd; d++) {
            centre[d * nSign] = cells[p->radii[d]];
        }
        return;
    }
    for (ptrdiff_t d = nFirst; d < nEnd; d++) {
        const BYTE *cell = cells + (size_t)p->radii[d] * COLOR_CHANNELS;
        BYTE *pixel = centre + d * nSign * COLOR_CHANNELS;
        pixel[0] = cell[0];
        pixel[1] = cell[1];
        pixel[2] = cell[2];
    }
}

// The distance of columns up to which the angle at that distance of rows is nDegrees or more.
// Distances are whole: only where the bound comes close to one does the arctangent's last bit
// count.
static int EndOfAngle(const Polar *p, int nRow, int nDegrees)
{
    const double bound = nRow * p->cotangents[nDegrees];
    const double nearest = floor(bound + 0.5);
    if (fabs(bound - nearest) > 1e-6) {
        return (int)bound;
    }
    return (int)(atan2((double)nRow, nearest) * DEGREES) >= nDegrees ? (int)nearest
                                                                     : (int)nearest - 1;
}

static void CopySectors(const Polar *p, int nRow, int bUp, int nReach, BYTE *centre)
{
    int nFirst = 1;
    for (int degrees = RIGHT_ANGLE - 1; degrees >= 0 && nFirst <= nReach; degrees--) {
        const int nLast = degrees == 0 ? nReach : EndOfAngle(p, nRow, degrees);
        const int nEnd = (nLast < nReach ? nLast : nReach) + 1;
        CopySector(p, bUp ? degrees : TURN - degrees, nFirst, nEnd, centre, 1);
        CopySector(p, bUp ? HALF_TURN - degrees : HALF_TURN + degrees, nFirst, nEnd, centre, -1);
        nFirst = nEnd > nFirst ? nEnd : nFirst;
    }
}

// The greatest distance of columns inside the disc; -1: none. It is always inside the picture.
static int ReachOf(const Polar *p, int nRow)
{
    const int nRest = p->nSquare - nRow * nRow;
    int nReach = nRest > 0 ? (int)sqrt((double)nRest) : -1;
    return nRest > 0 && nReach * nReach >= nRest ? nReach - 1 : nReach;
}

static void PolarRow(void *pContext, int y, BYTE *out)
{
    const Polar *p = (const Polar *)pContext;
    const int nCentreRow = p->rows.height / 2;
    const int bUp = y < nCentreRow;
    const int nRow = bUp ? nCentreRow - y : y - nCentreRow;
    const int nReach = nRow < p->nRadii ? ReachOf(p, nRow) : -1;
    BYTE *centre = out + (size_t)(p->rows.width / 2) * p->rows.channels;
    memset(out, p->outside, p->rows.nSamples);
    if (nReach < 0) {
        return;
    }
    g_pEffectKernels->Radii(nRow * nRow, p->radii, (size_t)nReach + 1);
    CopySector(p, bUp ? RIGHT_ANGLE : TURN - RIGHT_ANGLE, 0, 1, centre, 1);
    if (nRow != 0) {
        CopySectors(p, nRow, bUp, nReach, centre);
    } else {
        CopySector(p, 0, 1, nReach + 1, centre, 1);
        CopySector(p, HALF_TURN, 1, nReach + 1, centre, -1);
    }
}

// ---- the filter ---------------------------------------------------------------------------------

static int PreparePolar(Polar *p, const BYTE *indexOf)
{
    const int nShorter = p->rows.width < p->rows.height ? p->rows.width : p->rows.height;
    const int nRadius = nShorter / 2;
    p->nSquare = nRadius * nRadius;
    p->nRadii = nRadius + 1;
    p->table = (BYTE *)WorkAlloc((size_t)p->nRadii * (TURN + 1), p->rows.channels);
    p->radii = (int *)WorkAlloc((size_t)p->nRadii, sizeof(int));
    if (p->table == NULL || p->radii == NULL) {
        return 0;
    }
    for (int degrees = 1; degrees < RIGHT_ANGLE; degrees++) {
        p->cotangents[degrees] = 1 / tan(degrees / DEGREES);
    }
    FillTable(p, indexOf);
    return 1;
}

// The index that shows the level of an entry. Kept: a level that no entry has, if it is black, is
// shown by entry 0, and the colour table stays as it is.
static void MapIndices(const LevelMaps *pMaps, BYTE *indexOf, BYTE *pBlack)
{
    LevelMaps maps = *pMaps;
    *pBlack = (BYTE)GrayLevelToIndex(&maps, 0);
    for (int i = 0; i < GRAY_LEVELS; i++) {
        indexOf[i] = (BYTE)maps.indexOf[pMaps->levels[i]];
    }
}

static HGLOBAL WrapAround(FilterCall *pCall, const Picture *pPicture)
{
    BYTE indexOf[GRAY_LEVELS];
    HGLOBAL hResult = NULL;
    Polar polar;
    memset(&polar, 0, sizeof polar);
    OpenSamples(pPicture, SAMPLE_INDICES, &polar.rows);
    int64_t nSteps = RowSteps(&polar.rows);
    if (pPicture->bGray) {
        MapIndices(&pPicture->maps, indexOf, &polar.outside);
        nSteps += ColumnSteps(polar.rows.width);
    }
    if (PreparePolar(&polar, pPicture->bGray ? indexOf : NULL)) {
        const RowEffect effect = {PolarRow, NULL, &polar, nSteps};
        hResult = MakeRows(&polar.rows, &effect, pCall->bProgress);
    }
    WorkFree(polar.radii);
    WorkFree(polar.table);
    return hResult;
}

HGLOBAL VEXAFILTER_API FilterPolar(HGLOBAL hDib, UINT mode, HWND hParent)
{
    static constexpr FilterFrame FRAME =
        EffectFrame("POLARUI", 0, 0, -1, NULL, WrapAround, StepsOverHeight);
    return RunFilter(&FRAME, hDib, {}, mode, hParent);
}
