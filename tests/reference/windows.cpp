// See windows.h.

#include "windows.h"

#include "planes.h"

WindowFilter SquareWindow(int n)
{
    const int h = n / 2;
    return {n, n, h, h, h, n - h - 1, h, n - h - 1, NULL, NULL};
}

WindowFilter MaskWindow(int rows, int columns, long long row, long long column)
{
    return {rows, columns, row, column, row, rows - row, column, columns - column, NULL, NULL};
}

static bool IsInside(const WindowFilter &f, const Plane &plane, int x, int y)
{
    return y >= f.top && y < plane.height - f.bottom && x >= f.left && x < plane.width - f.right;
}

// Visited row by row from the top; the palette may change in the source plane meanwhile.
static Plane FilterPlane(const WindowFilter &f, Plane *pSource)
{
    Plane result = *pSource;
    std::vector<int> samples;
    for (int y = 0; y < pSource->height; y++) {
        for (int x = 0; x < pSource->width; x++) {
            if (!IsInside(f, *pSource, x, y)) {
                continue;
            }
            samples.clear();
            for (int k = 0; k < f.rows; k++) {
                for (int j = 0; j < f.columns; j++) {
                    const int index = *Cell(pSource, (int)(x - f.column + j), (int)(y - f.row + k));
                    samples.push_back(pSource->levels[index]);
                }
            }
            const int level = f.Level(samples, f.pParameters);
            *Cell(&result, x, y) = (BYTE)IndexFor(pSource, level);
        }
    }
    return result;
}

Expected ExpectWindows(const WindowFilter &filter, const std::vector<BYTE> &dib)
{
    Expected expected = {false, AsWorkedOn(dib), 0, 0};
    const View view = Look(expected.block);
    for (size_t channel = 0; channel < (size_t)view.bits / 8; channel++) {
        Plane source = ReadPlane(expected.block, channel);
        Plane result = FilterPlane(filter, &source);
        WritePlane(&expected.block, channel, &result, source);
    }
    expected.nSteps = Fives(0, view.height - 1) + Fives(0, view.width) + Fives(0, view.height) +
                      Fives(0, view.width);
    expected.nRange = ((view.width + view.height) * 2 + 4) / 5 + 1;
    return expected;
}
