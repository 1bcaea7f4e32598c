// See picture.h.

#include "picture.h"

#include <algorithm>
#include <random>

#include <math.h>
#include <stdlib.h>
#include <string.h>

static const unsigned DEFAULT_SEED = 20261122;

unsigned BaseSeed(void)
{
    const char *pText = getenv("VEXA_TEST_SEED");
    return pText != NULL ? (unsigned)strtoul(pText, NULL, 10) : DEFAULT_SEED;
}

BITMAPINFOHEADER HeaderOf(const Bytes &dib)
{
    BITMAPINFOHEADER header = {};
    memcpy(&header, dib.data(), std::min(dib.size(), sizeof header));
    return header;
}

void SetHeader(Bytes *pDib, const BITMAPINFOHEADER &header)
{
    memcpy(pDib->data(), &header, sizeof header);
}

Bytes WithResolutions(Bytes dib)
{
    BITMAPINFOHEADER header = HeaderOf(dib);
    header.biXPelsPerMeter &= 0x7fffffff;
    header.biYPelsPerMeter &= 0x7fffffff;
    SetHeader(&dib, header);
    return dib;
}

HGLOBAL MakeBlock(const Bytes &bytes, UINT flags)
{
    const HGLOBAL hBlock = GlobalAlloc(flags, bytes.size());
    if (hBlock != NULL && !bytes.empty()) {
        memcpy(GlobalLock(hBlock), bytes.data(), bytes.size());
        GlobalUnlock(hBlock);
    }
    return hBlock;
}

Bytes ReadBlock(HGLOBAL hBlock)
{
    const BYTE *pBytes = (const BYTE *)GlobalLock(hBlock);
    const Bytes bytes(pBytes, pBytes + GlobalSize(hBlock));
    GlobalUnlock(hBlock);
    return bytes;
}

// ---- layout -------------------------------------------------------------------------------------

struct Layout {
    size_t nColors, nBits, stride, nEnd;
};

static Layout LayoutOf(const BITMAPINFOHEADER &h)
{
    Layout layout;
    const size_t nUsual = h.biBitCount <= 8 ? (size_t)1 << h.biBitCount : 0;
    layout.nColors = h.biClrUsed != 0 ? h.biClrUsed : nUsual;
    layout.nBits = sizeof h + layout.nColors * 4;
    layout.stride = ((size_t)h.biWidth * h.biBitCount + 31) / 32 * 4;
    layout.nEnd = layout.nBits + layout.stride * (size_t)h.biHeight;
    return layout;
}

bool HoldsItsImage(const Bytes &dib)
{
    const BITMAPINFOHEADER h = HeaderOf(dib);
    const double dStride = ceil((double)h.biWidth * h.biBitCount / 32) * 4;
    const double dColors = h.biClrUsed != 0 || h.biBitCount > 8 ? h.biClrUsed : 1u << h.biBitCount;
    return h.biSize == sizeof h && h.biCompression == BI_RGB && h.biWidth > 0 && h.biHeight > 0 &&
           sizeof h + dColors * 4 + dStride * h.biHeight <= (double)dib.size();
}

static Bytes EmptyDib(int width, int height, int bits, DWORD nColors, int nSpare)
{
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof header;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = (WORD)bits;
    header.biClrUsed = nColors;
    Bytes dib(LayoutOf(header).nEnd + (size_t)nSpare);
    SetHeader(&dib, header);
    return dib;
}

// ---- colour tables ------------------------------------------------------------------------------

static void FillColors(const TestPicture &picture, std::mt19937 *pRandom, RGBQUAD *pColors,
                       size_t nColors)
{
    std::vector<int> shuffled(256);
    for (size_t i = 0; i < 256; i++) {
        shuffled[i] = (int)i;
    }
    for (size_t i = 255; i > 0; i--) {
        std::swap(shuffled[i], shuffled[(*pRandom)() % (i + 1)]);
    }
    for (size_t i = 0; i < nColors; i++) {
        const int n = (int)i & 255;
        const int gray[] = {n, 255 - n, shuffled[(size_t)n], n & ~1, (n * 11 & 7) * 36, 0, 0};
        const BYTE level = (BYTE)gray[picture.palette];
        pColors[i] = RGBQUAD{level, level, level, (BYTE)(*pRandom)()};
        if (picture.palette == COLOURED) {
            pColors[i].rgbBlue = (BYTE)(*pRandom)();
            pColors[i].rgbGreen = (BYTE)(*pRandom)();
            pColors[i].rgbRed = (BYTE)(*pRandom)();
        } else if (picture.palette == ONE_RED && n == 7) {
            pColors[i].rgbRed = 255;
        }
    }
}

// ---- pixels -------------------------------------------------------------------------------------

static BYTE Sample(std::mt19937 *pRandom, unsigned tone)
{
    const BYTE any = (BYTE)(*pRandom)();
    return tone == 0 ? any : tone == 1 ? (BYTE)(any % 40) : (BYTE)(255 - any % 40);
}

Bytes MakeDib(const TestPicture &picture)
{
    Bytes dib =
        EmptyDib(picture.width, picture.height, picture.bits, picture.nColors, picture.nSpare);
    std::mt19937 random(BaseSeed() + picture.nSeed);
    BITMAPINFOHEADER header = HeaderOf(dib);
    const Layout layout = LayoutOf(header);
    header.biSizeImage = (DWORD)random();
    header.biXPelsPerMeter = (LONG)random();
    header.biYPelsPerMeter = (LONG)random();
    header.biClrImportant = (DWORD)random();
    SetHeader(&dib, header);
    FillColors(picture, &random, (RGBQUAD *)(void *)&dib[sizeof header], layout.nColors);
    const size_t channels = picture.bits == 24 ? 3 : 1;
    for (size_t i = layout.nBits; i < dib.size(); i++) {
        dib[i] = Sample(&random, picture.nSeed % 3);
        const size_t column = (i - layout.nBits) % layout.stride;
        const unsigned flat = (unsigned)random() % 4;
        if (picture.bits >= 8 && flat == 0 && column >= channels) {
            dib[i] = dib[i - channels];
        } else if (picture.bits >= 8 && flat == 1 && i >= layout.nBits + layout.stride) {
            dib[i] = dib[i - layout.stride];
        }
    }
    return dib;
}

Bytes MakeLevels(int width, int height, int bits, const std::vector<int> &levels)
{
    Bytes dib = EmptyDib(width, height, bits, 0, 0);
    const Layout layout = LayoutOf(HeaderOf(dib));
    const size_t channels = (size_t)bits / 8;
    for (size_t i = 0; i < layout.nColors * 4; i++) {
        dib[sizeof(BITMAPINFOHEADER) + i] = (BYTE)(i % 4 < 3 ? i / 4 : 0);
    }
    for (int y = 0; y < height; y++) {
        for (size_t x = 0; x < (size_t)width * channels; x++) {
            dib[layout.nBits + (size_t)(height - 1 - y) * layout.stride + x] =
                (BYTE)levels[(size_t)y * (size_t)width + x / channels];
        }
    }
    return dib;
}

std::vector<TestPicture> EveryKind(int width, int height, unsigned nSeed)
{
    std::vector<TestPicture> kinds = {
        {0, 0, 8, RAMP, 0, 0, 0},      {0, 0, 8, REVERSED, 256, 0, 5}, {0, 0, 8, SHUFFLED, 0, 0, 0},
        {0, 0, 8, EVEN, 0, 0, 0},      {0, 0, 8, FEW, 256, 0, 3},      {0, 0, 8, COLOURED, 0, 0, 0},
        {0, 0, 8, ONE_RED, 0, 0, 0},   {0, 0, 8, SHUFFLED, 1, 0, 0},   {0, 0, 8, RAMP, 16, 0, 9},
        {0, 0, 8, RAMP, 255, 0, 0},    {0, 0, 8, COLOURED, 100, 0, 1}, {0, 0, 8, RAMP, 300, 0, 0},
        {0, 0, 24, COLOURED, 0, 0, 0}, {0, 0, 24, COLOURED, 7, 0, 2},  {0, 0, 1, RAMP, 0, 0, 0},
        {0, 0, 1, REVERSED, 2, 0, 6},  {0, 0, 1, REVERSED, 1, 0, 0}};
    for (TestPicture &kind : kinds) {
        kind.width = width;
        kind.height = height;
        kind.nSeed = nSeed++;
    }
    return kinds;
}

// ---- words --------------------------------------------------------------------------------------

static std::string Text(const char *pBefore, size_t n)
{
    return pBefore + std::to_string(n);
}

std::string Describe(const TestPicture &p)
{
    static const char *const NAMES[] = {"ramp",       "reversed", "shuffled", "even levels",
                                        "few levels", "coloured", "one red"};
    return Text("", (size_t)p.width) + Text("x", (size_t)p.height) +
           Text(", bits ", (size_t)p.bits) + ", " + NAMES[p.palette] +
           Text(", biClrUsed ", p.nColors) + Text(", spare ", (size_t)p.nSpare) +
           Text(", seed ", BaseSeed()) + Text(" + ", p.nSeed);
}

// Which part of the block byte i of an image lies in.
static std::string PlaceOf(const BITMAPINFOHEADER &header, size_t i)
{
    static const char *const CHANNELS[] = {", blue", ", green", ", red", ", reserved"};
    const Layout layout = LayoutOf(header);
    if (i < sizeof header) {
        return Text("header byte ", i);
    }
    if (i < layout.nBits) {
        return Text("colour entry ", (i - sizeof header) / 4) + CHANNELS[i % 4];
    }
    if (i >= layout.nEnd) {
        return Text("spare byte ", i - layout.nEnd);
    }
    const size_t column = (i - layout.nBits) % layout.stride;
    const size_t y = (size_t)header.biHeight - 1 - (i - layout.nBits) / layout.stride;
    if (column >= ((size_t)header.biWidth * header.biBitCount + 7) / 8) {
        return Text("padding byte ", column) + Text(" of the row y = ", y);
    }
    return Text("pixel x = ", column * 8 / header.biBitCount) + Text(", y = ", y) +
           (header.biBitCount == 24 ? CHANNELS[column % 3] : "");
}

std::string FirstDifference(const Bytes &want, const Bytes &got)
{
    const size_t nCommon = std::min(want.size(), got.size());
    for (size_t i = 0; i < nCommon; i++) {
        if (want[i] != got[i]) {
            return PlaceOf(HeaderOf(want), i) + Text(": want ", want[i]) + Text(", got ", got[i]);
        }
    }
    if (want.size() != got.size()) {
        return Text("block size: want ", want.size()) + Text(", got ", got.size());
    }
    return "";
}
