// See reference.h.

#include "planes.h"

#include <algorithm>

#include <stddef.h>
#include <string.h>

typedef std::vector<BYTE> Bytes;

// ---- kernels ------------------------------------------------------------------------------------

struct Kernel {
    int nSelector;
    double weights[9];  // row by row
};

static const double R = 1.41421356237309;

// clang-format off
static const Kernel LAPLACE_KERNELS[] = {
    {0,  {0, -1, 0, -1, 4, -1, 0, -1, 0}}, {10, {-1, -1, -1, -1, 8, -1, -1, -1, -1}},
    {1,  {0, -1, 0, 0, 2, 0, 0, -1, 0}},   {11, {0, -1, 0, 0, 2, 0, 0, -1, 0}},
    {2,  {0, 0, 0, -1, 2, -1, 0, 0, 0}},   {12, {0, 0, 0, -1, 2, -1, 0, 0, 0}},
    {13, {-1, 0, 0, 0, 2, 0, 0, 0, -1}},   {14, {0, 0, -1, 0, 2, 0, -1, 0, 0}},
};

static const Kernel GRADIENT_KERNELS[] = {
    {0, {1, R, 1, 0, 0, 0, -1, -R, -1}},          {1, {1, 1, 0, R, 0, -1, 0, -1, -R}},
    {2, {1, 0, -1, R, 0, -R, 1, 0, -1}},          {3, {0, -1, -R, 1, 0, -1, R, 1, 0}},
    {4, {-1, -R, -1, 0, 0, 0, 1, R, 1}},          {5, {-1, -1, 0, -R, 0, 1, 0, 1, R}},
    {6, {-1, 0, 1, -R, 0, R, -1, 0, 1}},          {7, {0, 1, R, -1, 0, 1, -R, -1, 0}},
    {10, {5, -3, -3, 5, 0, -3, 5, -3, -3}},       {11, {-3, 5, 5, -3, 0, 5, -3, -3, -3}},
    {12, {5, 5, 5, -3, 0, -3, -3, -3, -3}},       {13, {5, 5, -3, 5, 0, -3, -3, -3, -3}},
    {14, {5, -3, -3, 5, 0, -3, 5, -3, -3}},       {15, {-3, 5, 5, -3, 0, 5, -3, -3, -3}},
    {16, {5, 5, 5, -3, 0, -3, -3, -3, -3}},       {17, {5, 5, -3, 5, 0, -3, -3, -3, -3}},
    {20, {0, 0, 0, 0, 1, 0, 0, -1, 0}},           {21, {0, 0, 0, 0, 1, 0, 0, 0, -1}},
    {22, {0, 0, 0, 0, 1, -1, 0, 0, 0}},           {23, {0, 0, -1, 0, 1, 0, 0, 0, 0}},
    {24, {0, -1, 0, 0, 1, 0, 0, 0, 0}},           {25, {-1, 0, 0, 0, 1, 0, 0, 0, 0}},
    {26, {0, 0, 0, -1, 1, 0, 0, 0, 0}},           {27, {0, 0, 0, 0, 1, 0, -1, 0, 0}},
    {30, {1, 1, 1, 0, 0, 0, -1, -1, -1}},         {31, {1, 1, 0, 1, 0, -1, 0, -1, -1}},
    {32, {1, 0, -1, 1, 0, -1, 1, 0, -1}},         {33, {0, -1, -1, 1, 0, -1, 1, 1, 0}},
    {34, {-1, -1, -1, 0, 0, 0, 1, 1, 1}},         {35, {-1, -1, 0, -1, 0, 1, 0, 1, 1}},
    {36, {-1, 0, 1, -1, 0, 1, -1, 0, 1}},         {37, {0, 1, 1, -1, 0, 1, -1, -1, 0}},
    {40, {0, 1, 0, 0, 0, 0, 0, -1, 0}},           {41, {1, 0, 0, 0, 0, 0, 0, 0, -1}},
    {42, {0, 0, 0, 1, 0, -1, 0, 0, 0}},           {43, {0, 0, -1, 0, 0, 1, 1, 0, 0}},
    {44, {0, -1, 0, 0, 0, 0, 0, 1, 0}},           {45, {-1, 0, 0, 0, 0, 0, 0, 0, 1}},
    {46, {0, 0, 0, -1, 0, 1, 0, 0, 0}},           {47, {0, 0, 1, 0, 0, 0, -1, 0, 0}},
    {50, {1, 2, 1, 0, 0, 0, -1, -2, -1}},         {51, {2, 1, 0, 1, 0, -1, 0, -1, -2}},
    {52, {1, 0, -1, 2, 0, -2, 1, 0, -1}},         {53, {0, -1, -2, 1, 0, -1, 2, 1, 0}},
    {54, {-1, -2, -1, 0, 0, 0, 1, 2, 1}},         {55, {-2, -1, 0, -1, 0, 1, 0, 1, 2}},
    {56, {-1, 0, 1, -2, 0, 2, -1, 0, 1}},         {57, {0, 1, 2, -1, 0, 1, -2, -1, 0}},
    {60, {0, -1, 0, 0, 1, 0, 0, 0, 0}},           {61, {-1, 0, 0, 0, 1, 0, 0, 0, 0}},
    {62, {0, 0, 0, -1, 1, 0, 0, 0, 0}},           {63, {0, 0, 0, 0, 1, 0, -1, 0, 0}},
    {64, {0, 0, 0, 0, 1, 0, 0, -1, 0}},           {65, {0, 0, 0, 0, 1, 0, 0, 0, -1}},
    {66, {0, 0, 0, 0, 1, -1, 0, 0, 0}},           {67, {0, 0, -1, 0, 1, 0, 0, 0, 0}},
};
// clang-format on

static const Kernel NO_KERNEL[] = {{0, {}}};

static const Kernel *KernelsOf(Filter filter, size_t *pCount)
{
    *pCount = filter == LAPLACE    ? sizeof LAPLACE_KERNELS / sizeof(Kernel)
              : filter == GRADIENT ? sizeof GRADIENT_KERNELS / sizeof(Kernel)
                                   : 1;
    return filter == LAPLACE ? LAPLACE_KERNELS : filter == GRADIENT ? GRADIENT_KERNELS : NO_KERNEL;
}

// Null if there is none. A filter without a selector takes any.
static const Kernel *FindKernel(Filter filter, int nSelector)
{
    size_t nCount;
    const Kernel *pKernels = KernelsOf(filter, &nCount);
    for (size_t i = 0; i < nCount; i++) {
        if (pKernels == NO_KERNEL || pKernels[i].nSelector == nSelector) {
            return &pKernels[i];
        }
    }
    return NULL;
}

std::vector<int> ValidSelectors(Filter filter)
{
    size_t nCount;
    const Kernel *pKernels = KernelsOf(filter, &nCount);
    std::vector<int> selectors;
    for (size_t i = 0; i < nCount; i++) {
        selectors.push_back(pKernels[i].nSelector);
    }
    return selectors;
}

// ---- one channel of a picture -------------------------------------------------------------------

BYTE *Cell(Plane *pPlane, int x, int y)
{
    return &pPlane->cells[(size_t)y * (size_t)pPlane->width + (size_t)x];
}

static int Mirrored(int position, int size)
{
    return position < 0 ? -position : position >= size ? 2 * size - 2 - position : position;
}

static int P(Plane *pPlane, int x, int y)
{
    return pPlane->levels[*Cell(pPlane, Mirrored(x, pPlane->width), Mirrored(y, pPlane->height))];
}

int IndexFor(Plane *pPlane, int level)
{
    if (pPlane->indexOf[level] == -1) {
        pPlane->levels[level] = level;
        pPlane->indexOf[level] = level;
        pPlane->bPaletteChanged = true;
    }
    return pPlane->indexOf[level];
}

// ---- one pixel ----------------------------------------------------------------------------------

static int Weighted(Plane *p, int x, int y, const double *weights)
{
    double sum = 0;
    for (int i = 0; i < 9; i++) {
        sum += weights[i] * P(p, x + i % 3 - 1, y + i / 3 - 1);
    }
    return (int)sum;
}

static int Enhanced(Plane *p, int x, int y)
{
    const int right = p->width - 1;
    const int bottom = p->height - 1;
    const bool bSide = x == 0 || x == right;
    const bool bEnd = y == 0 || y == bottom;
    const int inward = P(p, x == 0 ? 1 : right - 1, y);
    const int upOrDown = P(p, x, y == 0 ? 1 : bottom - 1);
    if (bSide && bEnd) {
        return 5 * P(p, x, y) - 2 * (inward + upOrDown);
    }
    if (bEnd) {
        return 5 * P(p, x, y) - 2 * (P(p, x - 1, y) + upOrDown);
    }
    if (bSide) {
        return 5 * P(p, x, y) - 2 * (inward + P(p, x, y + 1));
    }
    return 5 * P(p, x, y) - P(p, x, y - 1) - P(p, x, y + 1) - P(p, x - 1, y) - P(p, x + 1, y);
}

static int LevelAt(Filter filter, const Kernel &kernel, Plane *p, int x, int y)
{
    static const double ONES[9] = {1, 1, 1, 1, 1, 1, 1, 1, 1};
    static const double BINOMIAL[9] = {1, 2, 1, 2, 4, 2, 1, 2, 1};
    const int value = filter == ENHANCE   ? Enhanced(p, x, y)
                      : filter == UNIFORM ? Weighted(p, x, y, ONES) / 9
                      : filter == GAUSS   ? Weighted(p, x, y, BINOMIAL) / 16
                                          : Weighted(p, x, y, kernel.weights);
    return value < 0 ? 0 : value > 255 ? 255 : value;
}

int ExpectLevel(Filter filter, int nKernel, const BYTE window[9])
{
    Plane plane = {3, 3, Bytes(window, window + 9), {}, {}, false};
    const Kernel *pKernel = FindKernel(filter, nKernel);
    for (int i = 0; i < 9; i++) {
        plane.levels[window[i]] = window[i];
    }
    return pKernel != NULL ? LevelAt(filter, *pKernel, &plane, 1, 1) : -1;
}

// ---- one plane ----------------------------------------------------------------------------------

static bool IsEdgeDetector(Filter filter)
{
    return filter == LAPLACE || filter == GRADIENT;
}

static void RepeatBorder(Plane *pResult)
{
    const int right = pResult->width - 1;
    const int bottom = pResult->height - 1;
    for (int x = 1; x < right; x++) {
        *Cell(pResult, x, 0) = *Cell(pResult, x, 1);
        *Cell(pResult, x, bottom) = *Cell(pResult, x, bottom - 1);
    }
    for (int y = 1; y < bottom; y++) {
        *Cell(pResult, 0, y) = *Cell(pResult, 1, y);
        *Cell(pResult, right, y) = *Cell(pResult, right - 1, y);
    }
}

// The palette changes in the source plane while the pixels are visited: x outer, y inner.
static Plane FilterPlane(Filter filter, const Kernel &kernel, Plane *pSource)
{
    Plane result = *pSource;
    const int border = IsEdgeDetector(filter) ? 1 : 0;
    const int smallest = IsEdgeDetector(filter) ? 3 : 2;
    if (pSource->width < smallest || pSource->height < smallest) {
        return result;
    }
    for (int x = border; x < pSource->width - border; x++) {
        for (int y = border; y < pSource->height - border; y++) {
            const int level = LevelAt(filter, kernel, pSource, x, y);
            *Cell(&result, x, y) = (BYTE)IndexFor(pSource, level);
        }
    }
    if (border) {
        RepeatBorder(&result);
    }
    return result;
}

// ---- blocks -------------------------------------------------------------------------------------

View Look(const Bytes &dib)
{
    View view;
    memcpy(&view.header, dib.data(), sizeof view.header);
    view.width = view.header.biWidth;
    view.height = view.header.biHeight;
    view.bits = view.header.biBitCount;
    view.nColors = view.header.biClrUsed != 0 ? view.header.biClrUsed
                   : view.bits == 24          ? 0
                                              : (size_t)1 << view.bits;
    view.nBits = 40 + view.nColors * 4;
    view.stride = ((size_t)view.width * (size_t)view.bits + 31) / 32 * 4;
    return view;
}

size_t At(const View &view, int x, int y)
{
    return view.nBits + (size_t)(view.height - 1 - y) * view.stride +
           (size_t)x * (size_t)view.bits / 8;
}

static RGBQUAD ColorAt(const Bytes &dib, const View &view, size_t i)
{
    RGBQUAD color = {0, 0, 0, 0};
    if (i < view.nColors) {
        memcpy(&color, &dib[40 + i * 4], 4);
    }
    return color;
}

static Bytes NewDib(const View &from, int bits, size_t nColors, size_t nSpare)
{
    BITMAPINFOHEADER header = from.header;
    const size_t stride = ((size_t)from.width * (size_t)bits + 31) / 32 * 4;
    header.biPlanes = 1;
    header.biBitCount = (WORD)bits;
    header.biSizeImage = (DWORD)(stride * (size_t)from.height);
    header.biClrUsed = header.biClrImportant = 0;
    Bytes dib(40 + nColors * 4 + header.biSizeImage + nSpare);
    memcpy(dib.data(), &header, 40);
    return dib;
}

Bytes ExpectTo24(const Bytes &dib)
{
    const View from = Look(dib);
    Bytes result = NewDib(from, 24, 0, 0);
    const View to = Look(result);
    // More rows than a signed 16-bit count holds: none is written.
    for (int y = 0; y < from.height && from.height < 32768; y++) {
        for (int x = 0; x < from.width; x++) {
            const RGBQUAD color = ColorAt(dib, from, dib[At(from, x, y)]);
            memcpy(&result[At(to, x, y)], &color, 3);
        }
    }
    return result;
}

// ---- 1 bit to gray ------------------------------------------------------------------------------

static const int SMOOTHING[3][5][5] = {
    {{0, 0, 0, 0, 0}, {0, 0, 0, 0, 0}, {0, 0, 255, 0, 0}, {0, 0, 0, 0, 0}, {0, 0, 0, 0, 0}},
    {{0, 0, 0, 0, 0}, {0, 8, 31, 8, 0}, {0, 31, 99, 31, 0}, {0, 8, 31, 8, 0}, {0, 0, 0, 0, 0}},
    {{0, 3, 7, 3, 0}, {3, 16, 25, 16, 3}, {7, 25, 39, 25, 7}, {3, 16, 25, 16, 3}, {0, 3, 7, 3, 0}}};

static bool IsWhite(const Bytes &dib, const View &view, int x, int y)
{
    const RGBQUAD first = ColorAt(dib, view, 0);
    const bool bLight = first.rgbBlue >= 128 && first.rgbGreen >= 128 && first.rgbRed >= 128;
    const bool bSet = (dib[At(view, x, y)] & (0x80 >> (x & 7))) != 0;
    return bSet != bLight;
}

Bytes ExpectMonoToGray(const Bytes &dib, unsigned method)
{
    const View from = Look(dib);
    if (method == 2 && from.height < 6) {
        method = from.height < 4 ? 0 : 1;
    }
    Bytes result = NewDib(from, 8, 256, ((size_t)from.width * 40 + 155) / 32 * 4);
    const View to = Look(result);
    for (size_t i = 0; i < 256; i++) {
        memset(&result[40 + i * 4], (int)i, 3);
    }
    // Without smoothing whole source bytes are expanded; what lies beyond the width runs into the
    // padding and the next row, which is written later.
    const int reach = method == 0 ? (from.width + 7) / 8 * 8 : from.width;
    for (int y = from.height - 1; y >= 0; y--) {
        for (int x = 0; x < reach; x++) {
            int sum = 0;
            for (int dy = -2; dy <= 2; dy++) {
                for (int dx = -2; dx <= 2; dx++) {
                    const bool bInside =
                        x + dx >= 0 && x + dx < reach && y + dy >= 0 && y + dy < from.height;
                    const int weight = SMOOTHING[method][dy + 2][dx + 2];
                    sum +=
                        weight != 0 && bInside && IsWhite(dib, from, x + dx, y + dy) ? weight : 0;
                }
            }
            result[At(to, x, y)] = (BYTE)sum;
        }
    }
    return result;
}

// ---- progress -----------------------------------------------------------------------------------

int Fives(int first, int end)
{
    int n = 0;
    for (int i = first; i < end; i++) {
        n += i % 5 == 0;
    }
    return n;
}

// Load (the rows entered after the first), allocate, compute, store.
static int StepsOf(Filter filter, int width, int height)
{
    const int border = IsEdgeDetector(filter) ? 1 : 0;
    return Fives(0, height - 1) + Fives(0, width) + Fives(border, width - border) + Fives(0, width);
}

static int RangeOf(Filter filter, int width, int height, bool bColor)
{
    const int sides = (width + height) * 2;
    const int units = filter != GRADIENT ? sides : bColor ? sides + 1 : width + 2 * height + 1;
    return (units + 4) / 5 * 5 / 5 + 1;
}

// ---- the whole call -----------------------------------------------------------------------------

// An 8-bit block with all its 256 colours.
static Bytes WithFullTable(const Bytes &dib)
{
    const View view = Look(dib);
    Bytes full(dib);
    if (view.nColors < 256) {
        full.insert(full.begin() + (ptrdiff_t)view.nBits, (256 - view.nColors) * 4, 0);
        const DWORD nAll = 256;
        memcpy(&full[offsetof(BITMAPINFOHEADER, biClrUsed)], &nAll, 4);
    }
    return full;
}

static bool IsGray(const Bytes &dib)
{
    const View view = Look(dib);
    bool bGray = true;
    for (size_t i = 0; i < 256; i++) {
        const RGBQUAD color = ColorAt(dib, view, i);
        bGray = bGray && color.rgbBlue == color.rgbGreen && color.rgbGreen == color.rgbRed;
    }
    return bGray;
}

Bytes AsWorkedOn(const Bytes &dib)
{
    if (Look(dib).bits == 1) {
        return ExpectMonoToGray(dib, 0);
    }
    if (Look(dib).bits != 8) {
        return dib;
    }
    const Bytes full = WithFullTable(dib);
    return IsGray(full) ? full : ExpectTo24(full);
}

Plane ReadPlane(const Bytes &dib, size_t channel)
{
    const View view = Look(dib);
    Plane plane = {view.width, view.height, Bytes(), {}, {}, false};
    for (int y = 0; y < view.height; y++) {
        for (int x = 0; x < view.width; x++) {
            plane.cells.push_back(dib[At(view, x, y) + channel]);
        }
    }
    std::fill(plane.indexOf, plane.indexOf + 256, -1);
    for (int i = 0; i < 256; i++) {
        plane.levels[i] = view.bits == 8 ? ColorAt(dib, view, (size_t)i).rgbBlue : i;
        plane.indexOf[plane.levels[i]] = i;
    }
    return plane;
}

void WritePlane(Bytes *pDib, size_t channel, Plane *pPlane, const Plane &palette)
{
    const View view = Look(*pDib);
    for (int y = 0; y < view.height; y++) {
        for (int x = 0; x < view.width; x++) {
            (*pDib)[At(view, x, y) + channel] = *Cell(pPlane, x, y);
        }
    }
    for (size_t i = 0; i < 256 && palette.bPaletteChanged; i++) {
        memset(&(*pDib)[40 + i * 4], palette.levels[i], 3);
    }
}

Expected ExpectFilter(Filter filter, const Bytes &dib, int nKernel)
{
    Expected expected = {true, dib, 0, 0};
    const Kernel *pKernel = FindKernel(filter, nKernel);
    if (pKernel == NULL) {
        return expected;
    }
    Bytes &block = expected.block;
    block = AsWorkedOn(dib);
    const View view = Look(block);
    for (size_t channel = 0; channel < (size_t)view.bits / 8; channel++) {
        Plane source = ReadPlane(block, channel);
        Plane result = FilterPlane(filter, *pKernel, &source);
        WritePlane(&block, channel, &result, source);
    }
    expected.bNull = false;
    expected.nSteps = StepsOf(filter, view.width, view.height);
    expected.nRange = RangeOf(filter, view.width, view.height, view.bits == 24);
    return expected;
}
