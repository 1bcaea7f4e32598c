// See morphology.h.

#include "morphology.h"

#include "planes.h"

#include <algorithm>
#include <functional>

struct Grid {
    int width, height;
    std::vector<BYTE> cells;  // row by row from the top
};

static BYTE &Bit(Grid *p, int x, int y)
{
    return p->cells[(size_t)y * (size_t)p->width + (size_t)x];
}

static bool IsClearBlack(const std::vector<BYTE> &dib)
{
    return dib[40] == 0 && dib[41] == 0 && dib[42] == 0;
}

static Grid ReadGrid(const std::vector<BYTE> &dib)
{
    const View view = Look(dib);
    Grid grid = {view.width, view.height, {}};
    for (int y = 0; y < view.height; y++) {
        for (int x = 0; x < view.width; x++) {
            const bool bSet = (dib[At(view, x, y)] >> (7 - x % 8) & 1) != 0;
            grid.cells.push_back(bSet != IsClearBlack(dib) ? 1 : 0);
        }
    }
    return grid;
}

static void WriteGrid(Grid *pGrid, std::vector<BYTE> *pDib)
{
    const View view = Look(*pDib);
    for (int y = 0; y < view.height; y++) {
        for (int x = 0; x < view.width; x++) {
            const BYTE mask = (BYTE)(0x80 >> x % 8);
            BYTE *p = &(*pDib)[At(view, x, y)];
            const bool bSet = (Bit(pGrid, x, y) != 0) != IsClearBlack(*pDib);
            *p = (BYTE)(bSet ? *p | mask : *p & ~mask);
        }
    }
}

// Every position of an element that lies inside.
static void ForPositions(const Element &e, int width, int height, int x, int y,
                         const std::function<void(int, int, BYTE)> &Visit)
{
    for (int i = 0; i < e.columns; i++) {
        for (int j = 0; j < e.rows; j++) {
            const long long atX = (long long)x + i - e.originColumn;
            const long long atY = (long long)y + j - e.originRow;
            if (atX >= 0 && atX < width && atY >= 0 && atY < height) {
                Visit((int)atX, (int)atY, e.bytes[(size_t)i * (size_t)e.rows + (size_t)j]);
            }
        }
    }
}

static bool MeetsOther(Grid *p, const Element &e, int x, int y, BYTE object)
{
    bool bMeets = false;
    ForPositions(e, p->width, p->height, x, y, [&](int atX, int atY, BYTE value) {
        bMeets = bMeets || (value == 1 && Bit(p, atX, atY) != object);
    });
    return bMeets;
}

static Grid Dilate(Grid source, const Element &e, BYTE object)
{
    Grid result = source;
    std::fill(result.cells.begin(), result.cells.end(), (BYTE)(1 - object));
    for (int y = 0; y < source.height; y++) {
        for (int x = 0; x < source.width; x++) {
            if (Bit(&source, x, y) != object) {
                continue;
            }
            Bit(&result, x, y) = object;
            ForPositions(e, source.width, source.height, x, y, [&](int atX, int atY, BYTE value) {
                if (value == 1) {
                    Bit(&result, atX, atY) = object;
                }
            });
        }
    }
    return result;
}

static Grid Erode(Grid source, const Element &e, BYTE object)
{
    Grid result = source;
    for (int y = 0; y < source.height; y++) {
        for (int x = 0; x < source.width; x++) {
            const bool bKept =
                Bit(&source, x, y) == object && !MeetsOther(&source, e, x, y, object);
            Bit(&result, x, y) = bKept ? object : (BYTE)(1 - object);
        }
    }
    return result;
}

static Grid HitOrMiss(Grid source, const Element &hit, const Element &miss, BYTE object)
{
    Grid result = source;
    for (int y = 0; y < source.height; y++) {
        for (int x = 0; x < source.width; x++) {
            const bool bObject = Bit(&source, x, y) == object;
            const bool bHit = bObject && !MeetsOther(&source, hit, x, y, object);
            const bool bMiss = !bObject || MeetsOther(&source, miss, x, y, object);
            Bit(&result, x, y) = bHit && bMiss ? object : (BYTE)(1 - object);
        }
    }
    return result;
}

// Of both, what is object in the first alone.
static Grid Without(Grid kept, Grid taken, BYTE object)
{
    for (size_t i = 0; i < kept.cells.size(); i++) {
        if (kept.cells[i] == object && taken.cells[i] == object) {
            kept.cells[i] = (BYTE)(1 - object);
        }
    }
    return kept;
}

static const char *const HITS[] = {"000111111", "111111000", "011011011", "110110110",
                                   "100110111", "111011001", "111110100", "001011111"};
static const char *const MISSES[] = {"111000000", "000000111", "100100100", "001001001",
                                     "011001000", "000100110", "000001011", "110100000"};

static Element Square(const char *pBytes)
{
    Element e = {3, 3, 1, 1, {}};
    for (int i = 0; i < 9; i++) {
        e.bytes.push_back((BYTE)(pBytes[i] - '0'));
    }
    return e;
}

static bool Sweep(Grid *pGrid, BYTE object)
{
    const Grid before = *pGrid;
    for (int k = 0; k < 8; k++) {
        const Grid matched = HitOrMiss(before, Square(HITS[k]), Square(MISSES[k]), object);
        *pGrid = Without(*pGrid, matched, object);
    }
    return pGrid->cells != before.cells;
}

// The sweeps made.
static int Thin(Grid *pGrid, BYTE object, int nMost)
{
    int nSweeps = 1;
    while (Sweep(pGrid, object) && nSweeps != nMost) {
        nSweeps++;
    }
    return nSweeps;
}

static Element OrDefault(const Element &e, const char *pDefault)
{
    return e.columns == 0 ? Square(pDefault) : e;
}

static Expected ExpectBinary(const MorphologyCall &call, const std::vector<BYTE> &dib)
{
    const Grid source = ReadGrid(dib);
    const int height = source.height;
    const BYTE object = call.bWhiteObject != 0 ? 0 : 1;
    const bool bHitMiss = call.operation == B_HIT_MISS;
    const Element e = OrDefault(call.element, bHitMiss ? "000010010" : "111111111");
    Grid result = source;
    int nPasses = 1, nAnnounced = 1;
    switch (call.operation) {
    case B_DILATION:
        result = Dilate(source, e, object);
        nPasses = nAnnounced = 2;
        break;
    case B_OPENING:
        result = Dilate(Erode(source, e, object), e, object);
        nPasses = nAnnounced = 3;
        break;
    case B_CLOSING:
        result = Erode(Dilate(source, e, object), e, object);
        nPasses = 3;
        nAnnounced = 4;
        break;
    case B_HIT_MISS:
        result = HitOrMiss(source, e, OrDefault(call.miss, "010000000"), object);
        nPasses = nAnnounced = 2;
        break;
    case B_OUTLINING:
        result = call.nOutline == 0 ? Without(source, Erode(source, e, object), object)
                                    : Without(Dilate(source, e, object), source, object);
        nPasses = nAnnounced = call.nOutline == 0 ? 2 : 3;
        break;
    case B_THINNING:
        nPasses = 1 + 24 * Thin(&result, object, 1);
        break;
    case B_THICKENING:
        nPasses = 1 + 24 * Thin(&result, (BYTE)(1 - object), 1);
        break;
    case B_SKELETON:
        nPasses = 1 + 24 * Thin(&result, object, std::max(call.nMaxSweeps, 0));
        break;
    default:
        result = Erode(source, e, object);
        break;
    }
    Expected expected = {false, dib, nPasses * Fives(0, height), 0};
    WriteGrid(&result, &expected.block);
    const bool bSweeps = call.operation >= B_THINNING;
    const int nTotal = bSweeps ? (height + 4) / 5 * 125 : (nAnnounced * height + 4) / 5 * 5;
    expected.nRange = nTotal / 5 + 1;
    return expected;
}

// ---- gray ---------------------------------------------------------------------------------------

// palette: the plane whose palette serves all steps.
static Plane Extreme(Plane source, const Element &e, bool bDilates, Plane *pPalette)
{
    Plane result = source;
    for (int y = 0; y < source.height; y++) {
        for (int x = 0; x < source.width; x++) {
            int level = bDilates ? 0 : 255;
            ForPositions(e, source.width, source.height, x, y, [&](int atX, int atY, BYTE height) {
                const int here = pPalette->levels[*Cell(&source, atX, atY)];
                level = bDilates ? std::max(level, here + height) : std::min(level, here - height);
            });
            level = std::min(255, std::max(0, level));
            *Cell(&result, x, y) = (BYTE)IndexFor(pPalette, level);
        }
    }
    return result;
}

static Expected ExpectGray(const MorphologyCall &call, const std::vector<BYTE> &dib)
{
    Expected expected = {false, AsWorkedOn(dib), 0, 0};
    const Element e = OrDefault(call.element, "000000000");
    const Plane source = ReadPlane(expected.block, 0);
    const bool bDilatesFirst = call.operation == G_DILATION || call.operation == G_CLOSING;
    Plane palette = source;
    int nPasses = 1;
    Plane result = Extreme(source, e, bDilatesFirst, &palette);
    if (call.operation >= G_OPENING) {
        result = Extreme(result, e, !bDilatesFirst, &palette);
        nPasses = 2;
    }
    if (call.operation == G_TOP_HAT) {
        palette = source;
        Plane image = source;
        for (int y = 0; y < source.height; y++) {
            for (int x = 0; x < source.width; x++) {
                const int level =
                    palette.levels[*Cell(&image, x, y)] - palette.levels[*Cell(&result, x, y)];
                *Cell(&result, x, y) = (BYTE)IndexFor(&palette, std::max(level, 0));
            }
        }
        nPasses = 3;
    }
    WritePlane(&expected.block, 0, &result, palette);
    expected.nSteps = nPasses * Fives(0, source.height);
    expected.nRange = (nPasses * source.height + 4) / 5 + 1;
    return expected;
}

static bool IsGray(const std::vector<BYTE> &dib)
{
    const View view = Look(dib);
    for (size_t i = 0; i < std::min(view.nColors, (size_t)256); i++) {
        const BYTE *p = &dib[40 + 4 * i];
        if (p[0] != p[1] || p[1] != p[2]) {
            return false;
        }
    }
    return view.bits == 8;
}

Expected ExpectMorphology(const MorphologyCall &call, const std::vector<BYTE> &dib)
{
    if (call.operation < G_DILATION) {
        return Look(dib).bits == 1 ? ExpectBinary(call, dib) : ExpectNull();
    }
    return IsGray(dib) ? ExpectGray(call, dib) : ExpectNull();
}
