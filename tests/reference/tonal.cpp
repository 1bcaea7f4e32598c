// See tonal.h.

#include "tonal.h"

#include "planes.h"

#include <algorithm>

#include <stdlib.h>

// What is known of a plane before its pixels change.
struct Facts {
    bool bGray;
    int channel;
    int lowest, highest;
    bool present[256];  // by a byte that counts
};

static Facts LookAt(Plane *pPlane, bool bGray, int channel)
{
    Facts facts = {bGray, channel, 255, 0, {}};
    BYTE counters[256] = {};
    for (BYTE cell : pPlane->cells) {
        const int level = pPlane->levels[cell];
        facts.lowest = std::min(facts.lowest, level);
        facts.highest = std::max(facts.highest, level);
        counters[level]++;
    }
    for (int level = 0; level < 256; level++) {
        facts.present[level] = counters[level] != 0;
    }
    return facts;
}

static int Clamped(int value)
{
    return value < 0 ? 0 : value > 255 ? 255 : value;
}

// ---- tables of levels ---------------------------------------------------------------------------

typedef std::vector<int> Table;

static void CloseGaps(Table *pTable)
{
    int last = (*pTable)[0];
    for (size_t level = 0; level <= 254; level++) {
        last = (*pTable)[level] != 0 ? (*pTable)[level] : last;
        (*pTable)[level] = last;
    }
}

static Table LevelsTable(const Facts &facts, const int *p)
{
    const int inLow = p[0], inHigh = p[1], inMid = p[2], outLow = p[3], outHigh = p[4];
    const int outMid = (outLow + outHigh) / 2;
    Table table(256, 0);
    std::vector<int> below, above;
    for (int level = 0; level < 256; level++) {
        if (facts.present[level] && inLow < level && level < inMid) {
            below.push_back(level);
        } else if (facts.present[level] && inMid < level && level < inHigh) {
            above.push_back(level);
        }
    }
    for (size_t level = 0; level < 256; level++) {
        const int v = (int)level;
        table[level] = v == inMid ? outMid : v >= inHigh ? outHigh : v <= inLow ? outLow : 0;
    }
    for (int i = 0; i < (int)below.size(); i++) {
        table[(size_t)below[(size_t)i]] =
            (outMid - outLow) * (i + 1) / ((int)below.size() + 1) + outLow;
    }
    for (int i = 0; i < (int)above.size(); i++) {
        table[(size_t)above[(size_t)i]] =
            (outHigh - outMid) * (i + 1) / ((int)above.size() + 1) + outMid;
    }
    CloseGaps(&table);
    return table;
}

static Table AutoLevelsTable(const Facts &facts, int nPercent)
{
    Table table(256, 0);
    std::vector<int> present;
    for (int level = 0; level < 256; level++) {
        table[(size_t)level] = level;
        if (facts.present[level]) {
            present.push_back(level);
        }
    }
    if (present.empty()) {
        return table;
    }
    const float share = (float)(nPercent * 0.01);
    const int cut = (int)((double)present.size() * (double)share * 0.5);
    const std::vector<int> kept(present.begin() + cut, present.end() - cut);
    for (int level = 0; level < 256; level++) {
        table[(size_t)level] = level <= kept.front() ? 0 : level >= kept.back() ? 255 : 0;
    }
    for (int i = 1; i + 1 < (int)kept.size(); i++) {
        table[(size_t)kept[(size_t)i]] = 255 * i / ((int)kept.size() + 1);
    }
    CloseGaps(&table);
    return table;
}

// ---- one pixel ----------------------------------------------------------------------------------

static int Stretched(const Facts &facts, int v)
{
    if (facts.lowest == facts.highest) {
        return facts.bGray ? v : 0;
    }
    return Clamped((int)((v - facts.lowest) * 255.0 / (facts.highest - facts.lowest)));
}

static int OnParabola(int v, int bInvert)
{
    const double t = v / 128.0 - 1;
    const int value = Clamped((int)(t * t * 255));
    return bInvert ? 255 - value : value;
}

static int Posterized(int v, int nLevels)
{
    const int step = 255 / (nLevels - 1);
    int nearest = 0;
    for (int multiple = 0; multiple <= 255 + step; multiple += step) {
        nearest = abs(multiple - v) <= abs(nearest - v) ? multiple : nearest;
    }
    return Clamped(nearest);
}

static int Differing(Plane *p, int x, int y, int nDirection)
{
    const int otherX = x - (nDirection == 0 || nDirection == 2) + (nDirection == 3);
    const int otherY = y - (nDirection != 0);
    if (otherX < 0 || otherY < 0 || otherX >= p->width) {
        return 0;
    }
    return abs(p->levels[*Cell(p, x, y)] - p->levels[*Cell(p, otherX, otherY)]);
}

static int NewLevel(const ToneCall &call, const Facts &facts, const Table &table, Plane *p, int x,
                    int y)
{
    const int v = p->levels[*Cell(p, x, y)];
    switch (call.tone) {
    case AUTO_CONTRAST:
        return Stretched(facts, v);
    case PARABOLA:
        return OnParabola(v, call.p[0]);
    case SOLARIZING:
        return v > call.p[0] ? 255 - v : facts.bGray ? v : 0;
    case POSTERIZING:
        return Posterized(v, call.p[0]);
    case LEVELS:
        return facts.bGray || call.p[5] == 0 || call.p[5] == facts.channel + 1 ? table[(size_t)v]
                                                                               : v;
    case AUTO_LEVELS:
        return table[(size_t)v];
    case TO_NEIGHBOUR:
    default:
        return Differing(p, x, y, call.p[0] & 255);
    }
}

// The palette changes in the source plane while the pixels are visited: y outer, x inner.
static Plane TonePlane(const ToneCall &call, const Facts &facts, Plane *pSource)
{
    Plane result = *pSource;
    const Table table = call.tone == LEVELS        ? LevelsTable(facts, call.p)
                        : call.tone == AUTO_LEVELS ? AutoLevelsTable(facts, call.p[0])
                                                   : Table();
    for (int y = 0; y < pSource->height; y++) {
        for (int x = 0; x < pSource->width; x++) {
            const int level = NewLevel(call, facts, table, pSource, x, y);
            *Cell(&result, x, y) = (BYTE)IndexFor(pSource, level);
        }
    }
    return result;
}

Expected ExpectTone(const ToneCall &call, const std::vector<BYTE> &dib)
{
    Expected expected = {false, dib, 0, 0};
    const int bits = Look(dib).bits;
    if (bits != 8 && bits != 24 && (bits != 1 || call.tone != TO_NEIGHBOUR)) {
        return ExpectNull();
    }
    std::vector<BYTE> &block = expected.block;
    block = AsWorkedOn(dib);
    const View view = Look(block);
    for (size_t channel = 0; channel < (size_t)view.bits / 8; channel++) {
        Plane source = ReadPlane(block, channel);
        const Facts facts = LookAt(&source, view.bits == 8, (int)channel);
        Plane result = TonePlane(call, facts, &source);
        WritePlane(&block, channel, &result, source);
    }
    // Load, allocate, the passes over the rows, store.
    const int nPasses = call.tone == AUTO_CONTRAST ? 2 : 1;
    const int units = (1 + nPasses) * view.height + 2 * view.width;
    expected.nSteps =
        Fives(0, view.height - 1) + nPasses * Fives(0, view.height) + 2 * Fives(0, view.width);
    expected.nRange = (units + 4) / 5 + 1;
    return expected;
}
