// Cylinder: the picture as seen through a glass cylinder that lies across it, upright (columns
// move) or level (rows move).
//
// Kept: the second half reads the source on the far side of the middle, not the mirror of what the
// first half reads, so that outside the glass it is moved by one pixel; where an odd size leaves a
// middle line, it stays as it is in colour and is index 0 at 8 bits. Pixels are moved as they are
// stored: with a gray palette, as indices.

#include "VexaFilter.h"
#include "effect_frame.h"
#include "frame/intops.h"
#include "frame/levels.h"
#include "frame/progress.h"
#include "platform/workmemory.h"
#include "sample_rows.h"

#include <math.h>
#include <string.h>

struct CylinderArguments {
    int nRadius;
    int nOrientation;  // 0: upright
};

// The line of the source that each line of the result shows; NO_LINE: index 0.
enum { NO_LINE = -1 };

struct Cylinder {
    SampleRows rows;
    int bUpright;
    int *lines;  // columns or rows
};

// ---- the glass ----------------------------------------------------------------------------------

// Where a ray at that distance from the axis comes from, by the law of refraction; -1: nowhere.
static int CylinderSource(int nRadius, int nDistance)
{
    static const double REFRACTION = 1.4, HALF_PI = 1.570796326794895;
    if (nRadius < 1) {
        return -1;
    }
    if (nDistance >= nRadius) {
        return nDistance;
    }
    const double s = (double)nDistance / nRadius;
    const double t = s * REFRACTION;
    if (t > 1) {
        return -1;
    }
    // Rounded from long doubles: the same in both builds.
    const double dIn = (double)asinl((long double)s);
    const double dOut = (double)asinl((long double)t);
    const double v = (double)sinl((long double)(dIn + HALF_PI - dOut));
    return v > -0.0001 && v < 0.0001 ? -1 : TruncateToInt(nDistance * REFRACTION / v + 0.5);
}

static void PlaceLines(Cylinder *p, int nRadius)
{
    const int size = p->bUpright ? p->rows.width : p->rows.height;
    const int nHalf = size / 2;
    // A radius of 0 is no glass: the picture stays as it is, the middle line too.
    p->lines[nHalf] = p->rows.channels == 1 && nRadius >= 1 ? NO_LINE : nHalf;
    for (int line = 0; line < nHalf; line++) {
        const int nSource = CylinderSource(nRadius, nHalf - line);
        const int bMoved = nSource >= 0 && nSource < nHalf;
        p->lines[line] = bMoved ? nHalf - nSource : line;
        p->lines[size - 1 - line] = bMoved ? nHalf + nSource : size - 1 - line;
    }
}

// ---- rows ---------------------------------------------------------------------------------------

static void BendRow(const Cylinder *p, const BYTE *src, BYTE *out)
{
    const int width = p->rows.width;
    if (p->rows.channels == 1) {
        for (int x = 0; x < width; x++) {
            out[x] = p->lines[x] == NO_LINE ? 0 : src[p->lines[x]];
        }
        return;
    }
    for (int x = 0; x < width; x++, out += COLOR_CHANNELS) {
        const BYTE *pixel = src + (size_t)p->lines[x] * COLOR_CHANNELS;
        out[0] = pixel[0];
        out[1] = pixel[1];
        out[2] = pixel[2];
    }
}

static void CylinderRow(void *pContext, int y, BYTE *out)
{
    const Cylinder *p = (const Cylinder *)pContext;
    if (p->bUpright) {
        BendRow(p, PictureRow(p->rows.pView, y), out);
    } else if (p->lines[y] == NO_LINE) {
        memset(out, 0, p->rows.nSamples);
    } else {
        memcpy(out, PictureRow(p->rows.pView, p->lines[y]), p->rows.nSamples);
    }
}

// ---- the filter ---------------------------------------------------------------------------------

static int HasNoNegativeRadius(const void *pArguments)
{
    return ((const CylinderArguments *)pArguments)->nRadius >= 0;
}

// Kept: half of the lines move, and two of them count as one unit, but the total takes them all.
static int StepsOverHalf(int width, int height, int bGray, const void *pArguments)
{
    (void)bGray;
    const int size = ((const CylinderArguments *)pArguments)->nOrientation == 0 ? width : height;
    return size / 10 * UNITS_PER_STEP;
}

// The bar moves at the lines 0, 1, 10, 11, ... of the first half.
static int64_t StepsTaken(int nHalf)
{
    const int nRest = nHalf % 10;
    return 2 * (int64_t)(nHalf / 10) + (nRest < 2 ? nRest : 2);
}

static HGLOBAL Bend(FilterCall *pCall, const Picture *pPicture)
{
    const CylinderArguments *pArguments = (const CylinderArguments *)pCall->pArguments;
    HGLOBAL hResult = NULL;
    Cylinder cylinder;
    OpenSamples(pPicture, SAMPLE_INDICES, &cylinder.rows);
    cylinder.bUpright = pArguments->nOrientation == 0;
    const int size = cylinder.bUpright ? cylinder.rows.width : cylinder.rows.height;
    cylinder.lines = (int *)WorkAlloc((size_t)size + 1, sizeof(int));
    if (cylinder.lines != NULL) {
        const RowEffect effect = {CylinderRow, NULL, &cylinder, StepsTaken(size / 2)};
        PlaceLines(&cylinder, pArguments->nRadius);
        hResult = MakeRows(&cylinder.rows, &effect, pCall->bProgress);
    }
    WorkFree(cylinder.lines);
    return hResult;
}

HGLOBAL VEXAFILTER_API FilterCylinder(HGLOBAL hDib, int nRadius, int nOrientation, UINT mode,
                                      HWND hParent)
{
    static constexpr FilterFrame FRAME =
        EffectFrame("CYLINDERUI", 2, 2, -1, HasNoNegativeRadius, Bend, StepsOverHalf);
    return RunFilter(&FRAME, hDib, {nRadius, nOrientation}, mode, hParent);
}
