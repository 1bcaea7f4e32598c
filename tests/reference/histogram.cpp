// See histogram.h.

#include "histogram.h"

#include <algorithm>

#include <math.h>
#include <string.h>

typedef std::vector<BYTE> Bytes;

static const int TOP[] = {255, 15};

struct Rows {
    int bits, height;
    size_t nFirst, stride;
};

static Rows RowsOf(const Bytes &dib)
{
    BITMAPINFOHEADER header;
    memcpy(&header, dib.data(), sizeof header);
    const WORD depth = header.biBitCount;
    const size_t nUsual = depth == 1 ? 2 : depth == 4 ? 16 : depth == 8 ? 256 : 0;
    const size_t nColors = header.biClrUsed != 0 ? header.biClrUsed : nUsual;
    Rows rows = {depth & 255, header.biHeight, 40 + 4 * nColors, 0};
    rows.stride = ((size_t)header.biWidth * (size_t)rows.bits + 31) / 32 * 4;
    return rows;
}

// What becomes of a level that is between low and high; bytes count as signed.
static int InRange(const TransformCall &call, int level, bool bNibble)
{
    const int value = bNibble || level < 128 ? level : level - 256;
    if (value < (int)(call.low & 255) || value > (int)(call.high & 255)) {
        return level;
    }
    const double product = value * (double)call.factor + 0.5;
    const long long whole = call.transform == SLIDE       ? (long long)value + call.shift
                            : product >= 2147483647.0     ? 2147483647
                            : !(product >= -2147483648.0) ? product < 0 ? -2147483648LL : 0
                                                          : (long long)product;
    return std::min((int)(whole & 65535), TOP[bNibble]);
}

static int NewLevel(const TransformCall &call, int level, bool bNibble)
{
    switch (call.transform) {
    case THRESHOLD:
        return level < (int)(call.threshold & 65535) ? 0 : TOP[bNibble];
    case COMPLEMENT:
        return TOP[bNibble] - level;
    default:
        return InRange(call, level, bNibble);
    }
}

// The samples of a channel, in order: all bytes, all nibbles, or every third byte of the whole
// pixels of each row.
static std::vector<int> SamplesOf(const Bytes &dib, const Rows &rows, size_t channel)
{
    std::vector<int> samples;
    for (size_t i = 0; i < rows.stride * (size_t)rows.height; i++) {
        const BYTE byte = dib[rows.nFirst + i];
        const size_t column = i % rows.stride;
        if (rows.bits == 4) {
            samples.push_back(byte >> 4);
            samples.push_back(byte & 15);
        } else if (rows.bits != 24 || (column % 3 == channel && column < rows.stride / 3 * 3)) {
            samples.push_back(byte);
        }
    }
    return samples;
}

static std::vector<int> SpreadTable(const TransformCall &call, const Bytes &dib, const Rows &rows,
                                    size_t channel)
{
    const int top = TOP[rows.bits == 4];
    const bool bCurve = rows.bits == 4 || rows.bits == 8 || rows.bits == 24;
    const std::vector<int> samples = SamplesOf(dib, rows, channel);
    std::vector<int> table;
    double share = 0;
    for (int level = 0; level <= top; level++) {
        share += (double)std::count(samples.begin(), samples.end(), level) / (double)samples.size();
        const double spread = call.transform == EQUALIZATION
                                  ? share * top
                                  : pow(10, share * (top == 15 ? 1.20412 : 2.40824)) - 1;
        table.push_back(bCurve ? (int)std::min(spread, (double)top) : (int)share);
    }
    return table;
}

static BYTE Mapped(const std::vector<int> &table, BYTE byte, bool bNibbles)
{
    return bNibbles ? (BYTE)(table[byte >> 4] * 16 + table[byte & 15]) : (BYTE)table[byte];
}

static void MapRows(const TransformCall &call, const Bytes &dib, const Rows &rows, Bytes *pResult)
{
    const bool bSpread = call.transform == MODIFY || call.transform == EQUALIZATION;
    const bool bChannels = bSpread && rows.bits == 24;
    for (size_t channel = 0; channel < (bChannels ? 3 : 1); channel++) {
        std::vector<int> table;
        for (int level = 0; level <= TOP[rows.bits == 4] && !bSpread; level++) {
            table.push_back(NewLevel(call, level, rows.bits == 4));
        }
        table = bSpread ? SpreadTable(call, dib, rows, channel) : table;
        for (size_t i = 0; i < rows.stride * (size_t)rows.height; i++) {
            const size_t column = i % rows.stride;
            if (!bChannels || (column % 3 == channel && column < rows.stride / 3 * 3)) {
                const BYTE byte = dib[rows.nFirst + i];
                (*pResult)[rows.nFirst + i] = Mapped(table, byte, rows.bits == 4);
            }
        }
    }
}

Expected ExpectTransform(const TransformCall &call, const Bytes &dib)
{
    const Rows rows = RowsOf(dib);
    if (rows.bits == 1 && call.transform != COMPLEMENT) {
        return ExpectNull();
    }
    Expected expected = {false, dib, 0, 0};
    const int nPasses = call.transform == MODIFY || call.transform == EQUALIZATION ? 2 : 1;
    expected.block.resize(rows.nFirst + rows.stride * (size_t)rows.height);
    expected.block.resize(expected.block.size() + 4, 0);
    MapRows(call, dib, rows, &expected.block);
    expected.nSteps = nPasses * ((rows.height + 4) / 5);
    expected.nRange = nPasses * rows.height / 5 + 1;
    return expected;
}
