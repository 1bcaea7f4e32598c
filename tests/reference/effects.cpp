// See effects.h.

#include "effects.h"

#include "planes.h"

#include <algorithm>
#include <list>

#include <math.h>
#include <string.h>

std::vector<unsigned> Draws(unsigned nSeed, size_t count)
{
    std::vector<unsigned> draws(count);
    unsigned long long x = nSeed;
    for (unsigned &draw : draws) {
        x = (214013 * x + 2531011) % 4294967296ULL;
        draw = (unsigned)(x / 65536 % 32768);
    }
    return draws;
}

static int Clamped(double value)
{
    return value < 0 ? 0 : value > 255 ? 255 : (int)value;
}

// ---- levels -------------------------------------------------------------------------------------

struct Work {
    EffectCall call;
    Plane *pSource;
    size_t channel, channels;
    std::vector<unsigned> draws;
};

static int LevelAt(const Work &work, int x, int y)
{
    return work.pSource->levels[*Cell(work.pSource, x, y)];
}

static int Smeared(const Work &work, int x, int y)
{
    const int L = work.call.p[1], width = work.pSource->width, height = work.pSource->height;
    const double theta = (double)(360 - (long long)work.call.p[0]) * 0.01745277777777778;
    double sum = 0, weight = 0;
    for (int t = -(L / 2); t <= L - L / 2 - 1; t++, weight += 1.0) {
        double px = t * cos(theta) + x, py = t * sin(theta) + y;
        if (work.call.effect == CENTER_MOTION_BLUR) {
            const int centre = width / 2;
            px = (double)((x - centre) * (long long)t) / work.call.p[0] + x;
            py = (double)((y - centre) * (long long)t) / work.call.p[0] + y;
        }
        if (px >= 0 && px < width && py >= 0 && py < height) {
            sum += LevelAt(work, (int)px, (int)py) * 1.0;
        }
    }
    return weight != 0 ? Clamped(sum / weight) : 0;
}

static int Averaged(const Work &work, int x, int y)
{
    const int reach = work.call.p[0] / 2;
    int sum = 0, count = 0;
    for (int j = std::max(y - reach, 0); j < std::min(y + reach, work.pSource->height); j++) {
        for (int i = std::max(x - reach, 0); i < std::min(x + reach, work.pSource->width); i++) {
            sum += LevelAt(work, i, j);
            count++;
        }
    }
    return count != 0 ? sum / count : 0;
}

static int Noisy(const Work &work, int x, int y)
{
    const int amount = work.call.p[0];
    const size_t pixel = (size_t)y * (size_t)work.pSource->width + (size_t)x;
    const int draw = (int)work.draws[pixel * work.channels + work.channel];
    return amount == 0 ? LevelAt(work, x, y)
                       : Clamped(LevelAt(work, x, y) + draw % amount - amount / 2);
}

static int NewLevel(const Work &work, int x, int y)
{
    switch (work.call.effect) {
    case MULTIPLY:
        return Clamped(LevelAt(work, x, y) * (double)work.call.p[0] * 0.1);
    case NOISE:
        return Noisy(work, x, y);
    case AVERAGE:
        return Averaged(work, x, y);
    default:
        return Smeared(work, x, y);
    }
}

// The palette changes in the source plane while the pixels are visited: y outer, x inner.
static Plane MakeLevelsOf(const Work &work)
{
    Plane result = *work.pSource;
    for (int y = 0; y < result.height; y++) {
        for (int x = 0; x < result.width; x++) {
            *Cell(&result, x, y) = (BYTE)IndexFor(work.pSource, NewLevel(work, x, y));
        }
    }
    return result;
}

// Square by square, columns of them outer.
static Plane MakeMosaic(const Work &work)
{
    Plane result = *work.pSource;
    const long long side = work.call.p[0];
    for (long long left = 0; left < result.width; left += side) {
        for (long long top = 0; top < result.height; top += side) {
            const int right = (int)std::min<long long>(left + side, result.width);
            const int bottom = (int)std::min<long long>(top + side, result.height);
            int sum = 0, count = 0;
            for (int x = (int)left; x < right; x++) {
                for (int y = (int)top; y < bottom; y++, count++) {
                    sum += LevelAt(work, x, y);
                }
            }
            const int index = IndexFor(work.pSource, sum / count);
            for (int x = (int)left; x < right; x++) {
                for (int y = (int)top; y < bottom; y++) {
                    *Cell(&result, x, y) = (BYTE)index;
                }
            }
        }
    }
    return result;
}

// ---- moved pixels -------------------------------------------------------------------------------

// Steps forward and takes out.
template <class T>
static T Take(std::list<T> *pRing, typename std::list<T>::iterator *pAt, unsigned n)
{
    while (n-- != 0) {
        *pAt = std::next(*pAt) == pRing->end() ? pRing->begin() : std::next(*pAt);
    }
    const T taken = **pAt;
    *pAt = pRing->erase(*pAt);
    *pAt = *pAt == pRing->end() ? pRing->begin() : *pAt;
    return taken;
}

static Plane MakeShuffled(const Work &work)
{
    Plane result = *work.pSource;
    const long long across = work.call.p[0], down = work.call.p[1];
    size_t nDraw = 0;
    for (long long top = 0; top < result.height; top += down) {
        for (long long left = 0; left < result.width; left += across) {
            const int right = (int)std::min<long long>(left + across, result.width - 1);
            const int bottom = (int)std::min<long long>(top + down, result.height - 1);
            std::list<BYTE> ring;
            for (int x = (int)left; x < right; x++) {
                for (int y = (int)top; y < bottom; y++) {
                    ring.push_back(*Cell(work.pSource, x, y));
                }
            }
            const unsigned count = (unsigned)ring.size();
            auto at = ring.begin();
            for (int x = (int)left; x < right; x++) {
                for (int y = (int)top; y < bottom; y++) {
                    *Cell(&result, x, y) = Take(&ring, &at, work.draws[nDraw++] % count);
                }
            }
        }
    }
    return result;
}

static int Angle(int dx, int dy)
{
    const double degrees = 57.29577951308239;
    if (dx == 0) {
        return dy < 0 ? 90 : 270;
    }
    if (dy == 0) {
        return dx < 0 ? 180 : 0;
    }
    if (dx > 0) {
        return dy < 0 ? (int)(atan2(-dy, dx) * degrees) : 360 - (int)(atan2(dy, dx) * degrees);
    }
    return dy > 0 ? 180 - (int)(atan2(dy, -dx) * -degrees) : 180 - (int)(atan2(-dy, -dx) * degrees);
}

// palette: what the result's map of levels ends as; the picture's table stays.
static Plane MakePolar(const Work &work, Plane *pPalette)
{
    Plane result = *work.pSource;
    const int width = result.width, height = result.height;
    const int shorter = std::min(width, height);
    for (int y = 0; y < height; y++) {
        for (int x = 0; x < width; x++) {
            const int dx = x - width / 2, dy = y - height / 2;
            int level = 0;
            if (dx * dx + dy * dy < (shorter / 2) * (shorter / 2)) {
                const int r = (int)sqrt((double)(dx * dx + dy * dy));
                const int row = (int)(2 * ((double)(height - 1) * r) / shorter);
                const int column =
                    (int)((width - 1) * (double)Angle(dx, dy) * 0.002777777777777778);
                level = LevelAt(work, std::min(column, width - 1), std::min(row, height - 1));
            }
            *Cell(&result, x, y) = (BYTE)IndexFor(pPalette, level);
        }
    }
    return result;
}

static int Refracted(int radius, int d)
{
    const double s = (double)d / radius;
    if (radius < 1 || d >= radius) {
        return radius < 1 ? -1 : d;
    }
    if (s * 1.4 > 1) {
        return -1;
    }
    const double v = sin(asin(s) + 1.570796326794895 - asin(s * 1.4));
    return fabs(v) < 0.0001 ? -1 : (int)(d * 1.4 / v + 0.5);
}

static Plane MakeBent(const Work &work)
{
    Plane result = *work.pSource;
    const bool bUpright = work.call.p[1] == 0;
    const int size = bUpright ? result.width : result.height;
    const int length = bUpright ? result.height : result.width;
    const int half = size / 2;
    for (int i = 0; i < size; i++) {
        const int line = std::min(i, size - 1 - i);
        const int d = Refracted(work.call.p[0], half - line);
        const bool bMoved = line < half && d >= 0 && d < half;
        const int from = !bMoved ? i : i < half ? half - d : half + d;
        const bool bEmpty = work.channels == 1 && line == half && work.call.p[0] >= 1;
        for (int j = 0; j < length; j++) {
            BYTE *pCell = bUpright ? Cell(&result, i, j) : Cell(&result, j, i);
            *pCell = bEmpty     ? (BYTE)0
                     : bUpright ? *Cell(work.pSource, from, j)
                                : *Cell(work.pSource, j, from);
        }
    }
    return result;
}

// ---- the puzzle ---------------------------------------------------------------------------------

static int ToDots(LONG nPerMeter)
{
    return (int)(nPerMeter * 0.025400050800101603);
}

static std::vector<BYTE> BlankCanvas(const View &view, int width, int height)
{
    BITMAPINFOHEADER header = {};
    const size_t stride = ((size_t)width * (size_t)view.bits + 31) / 32 * 4;
    header.biSize = 40;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = (WORD)view.bits;
    header.biSizeImage = (DWORD)(stride * (size_t)height);
    header.biXPelsPerMeter = (LONG)(ToDots(view.header.biXPelsPerMeter) * 39.37 + 0.5);
    header.biYPelsPerMeter = (LONG)(ToDots(view.header.biYPelsPerMeter) * 39.37 + 0.5);
    std::vector<BYTE> block(40 + (view.bits == 8 ? 1024 : 0));
    memcpy(block.data(), &header, 40);
    if (view.bits == 8) {
        block[40] = block[41] = block[42] = 255;
    }
    block.resize(block.size() + stride * (size_t)height, view.bits == 8 ? 2 : 0);
    block.resize(block.size() + 4);
    return block;
}

static std::vector<BYTE> LayOut(const EffectCall &call, const std::vector<BYTE> &dib,
                                const std::vector<unsigned> &draws)
{
    const View view = Look(dib);
    const int across = call.p[0], down = call.p[1];
    const int padX = (across - view.width % across) % across;
    const int padY = (down - view.height % down) % down;
    std::vector<BYTE> block = BlankCanvas(view, view.width + padX, view.height + padY);
    const View canvas = Look(block);
    const int tileWidth = canvas.width / across, tileHeight = canvas.height / down;
    std::list<std::pair<BYTE, BYTE>> ring;
    for (int c = 0; c < across; c++) {
        for (int r = 0; r < down; r++) {
            ring.push_back({(BYTE)c, (BYTE)r});
        }
    }
    auto at = ring.begin();
    size_t nDraw = 0;
    for (int c = 0; c < across; c++) {
        for (int r = 0; r < down; r++) {
            const auto tile = Take(&ring, &at, draws[nDraw++] % (unsigned)ring.size());
            for (int x = tile.first * tileWidth;
                 x < std::min((tile.first + 1) * tileWidth, view.width); x++) {
                for (int y = tile.second * tileHeight;
                     y < std::min((tile.second + 1) * tileHeight, view.height); y++) {
                    memcpy(&block[At(canvas, (c - tile.first) * tileWidth + x,
                                     (r - tile.second) * tileHeight + y)],
                           &dib[At(view, x, y)], (size_t)view.bits / 8);
                }
            }
        }
    }
    return block;
}

// ---- whole calls --------------------------------------------------------------------------------

static void CountSteps(const EffectCall &call, const View &view, Expected *pExpected)
{
    const int w = view.width, h = view.height;
    const auto Groups = [](int size, int group) { return (size - 1) / group + 1; };
    int total = h / 5 * 5, steps = Fives(0, h);
    switch (call.effect) {
    case MOTION_BLUR:
    case CENTER_MOTION_BLUR:
        total = ((w + h) * 2 + 4) / 5 * 5;
        steps = Fives(0, h - 1) + Fives(0, w) + Fives(0, h) + Fives(0, w);
        break;
    case MOSAIC:
        total = (int)(ceil((double)w / call.p[0]) * 0.2 * 5.0);
        steps = Fives(0, Groups(w, call.p[0]));
        break;
    case IMPRESSIONIST:
        total = Groups(h, call.p[1]) / 5 * 5;
        steps = Fives(0, Groups(h, call.p[1]));
        break;
    case POLAR:
        steps += view.bits == 8 ? Fives(0, w) : 0;
        break;
    case CYLINDER:
        total = (call.p[1] == 0 ? w : h) / 10 * 5;
        steps = 0;
        for (int line = 0; line < (call.p[1] == 0 ? w : h) / 2; line++) {
            steps += line / 2 % 5 == 0;
        }
        break;
    case PUZZLE:
        total = w / 10 * 5;
        steps = 0;
        break;
    default:
        break;
    }
    pExpected->nSteps = steps;
    pExpected->nRange = total / 5 + 1;
}

static Plane MakePlane(const Work &work, Plane *pPalette)
{
    switch (work.call.effect) {
    case MOSAIC:
        return MakeMosaic(work);
    case IMPRESSIONIST:
        return MakeShuffled(work);
    case POLAR:
        return MakePolar(work, pPalette);
    case CYLINDER:
        return MakeBent(work);
    default:
        return MakeLevelsOf(work);
    }
}

Expected ExpectEffect(const EffectCall &call, const std::vector<BYTE> &dib, unsigned nSeed)
{
    const int bits = Look(dib).bits;
    if (bits != 8 && bits != 24 && (bits != 1 || call.effect != AVERAGE)) {
        return ExpectNull();
    }
    Expected expected = ExpectBlock(AsWorkedOn(dib));
    const View view = Look(expected.block);
    const size_t channels = (size_t)view.bits / 8;
    const size_t nTiles = call.effect == PUZZLE ? (size_t)call.p[0] * (size_t)call.p[1] : 0;
    const size_t nDraws = (size_t)view.width * (size_t)view.height * channels;
    const std::vector<unsigned> draws = Draws(nSeed, std::max(nDraws, nTiles));
    for (size_t channel = 0; channel < channels && call.effect != PUZZLE; channel++) {
        Plane source = ReadPlane(expected.block, channel);
        Plane palette = source;
        Plane result = MakePlane({call, &source, channel, channels, draws}, &palette);
        WritePlane(&expected.block, channel, &result, source);
    }
    if (call.effect == PUZZLE) {
        expected.block = LayOut(call, expected.block, draws);
    }
    CountSteps(call, view, &expected);
    return expected;
}
