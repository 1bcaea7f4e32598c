// Pictures that behave like photographs under a filter: neither flat, where every branch goes one
// way, nor pure noise, where no two neighbours are equal.
//
// Eight octaves of smooth noise, from cells of 512 pixels down to 4, with amplitudes that fall with
// the cell as in natural scenes; one disc in each square of 128 pixels, for edges two pixels soft;
// clipping at black and white, for flat areas; sensor noise of at most two levels. The channels
// share the light and differ in slow colour casts. Whole numbers only, so every build makes the
// same bytes.
//
// VEXA_BENCH_PICTURE=FILE takes a real photograph instead: a binary PPM (P6, 8 bits a channel),
// mirrored at its edges until it fills the size asked for.

#include "pictures.h"

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

const char *const PICTURE_NAMES[PICTURE_KINDS] = {"8bit", "8bit-shuffled", "8bit-incomplete",
                                                  "24bit"};

enum { HEADER_BYTES = 40, COLORS = 256, UNIT = 256, SHARED_SIDES = 5 };

struct Photo {
    int width;
    int height;
    BYTE *pPixels;  // RGB, top row first; null: the made picture
};

// ---- the made picture ---------------------------------------------------------------------------

static uint32_t Hash(int x, int y, int seed)
{
    uint32_t h =
        (uint32_t)x * 0x9E3779B1u ^ (uint32_t)y * 0x85EBCA77u ^ (uint32_t)seed * 0xC2B2AE3Du;
    h = (h ^ (h >> 15)) * 0x2C1B3C6Du;
    h = (h ^ (h >> 12)) * 0x297A2D39u;
    return h ^ (h >> 15);
}

// A random value at a corner of the lattice, -UNIT to UNIT.
static int Corner(int x, int y, int seed)
{
    return (int)(Hash(x, y, seed) % (2 * UNIT + 1)) - UNIT;
}

// 0 to UNIT as position goes through a cell, level at both ends.
static int Ease(int position, int cellBits)
{
    const int t = (position & ((1 << cellBits) - 1)) * UNIT >> cellBits;
    return t * t * (3 * UNIT - 2 * t) / (UNIT * UNIT);
}

// One octave, -UNIT to UNIT.
static int SmoothNoise(int x, int y, int cellBits, int seed)
{
    const int column = x >> cellBits;
    const int row = y >> cellBits;
    const int u = Ease(x, cellBits);
    const int v = Ease(y, cellBits);
    const int top = Corner(column, row, seed) * (UNIT - u) + Corner(column + 1, row, seed) * u;
    const int bottom =
        Corner(column, row + 1, seed) * (UNIT - u) + Corner(column + 1, row + 1, seed) * u;
    return (top / UNIT * (UNIT - v) + bottom / UNIT * v) / UNIT;
}

// What the disc of this square adds, in levels. Its rim is two pixels soft.
static int Disc(int x, int y)
{
    enum { SQUARE_BITS = 7, SQUARE = 1 << SQUARE_BITS };
    const uint32_t h = Hash(x >> SQUARE_BITS, y >> SQUARE_BITS, 99);
    const int radius = 12 + (int)(h % 40);
    const int dx = (x & (SQUARE - 1)) - SQUARE / 2;
    const int dy = (y & (SQUARE - 1)) - SQUARE / 2;
    const int inside = (radius * radius - dx * dx - dy * dy) * 2 / radius;  // 4 per pixel of depth
    const int cover = inside < 0 ? 0 : inside > 8 ? 8 : inside;
    return ((int)(h >> 8) % 121 - 60) * cover / 8;
}

static int Light(int x, int y)
{
    enum { FIRST_BITS = 9, OCTAVES = 8 };
    static const int AMPLITUDES[OCTAVES] = {80, 48, 32, 20, 12, 7, 4, 2};
    int sum = 0;
    for (int i = 0; i < OCTAVES; i++) {
        sum += AMPLITUDES[i] * SmoothNoise(x, y, FIRST_BITS - i, i);
    }
    return 128 + sum / UNIT + Disc(x, y);
}

// Triangular, -2 to 2.
static int SensorNoise(int x, int y, int channel)
{
    const uint32_t h = Hash(x, y, 1000 + channel);
    return (int)(h % 3) + (int)(h / 3 % 3) - 2;
}

static BYTE Clip(int level)
{
    return (BYTE)(level < 0 ? 0 : level > 255 ? 255 : level);
}

static void MadePixel(int x, int y, BYTE *rgb)
{
    const int light = Light(x, y);
    const int warmth = 30 * SmoothNoise(x, y, 8, 50) / UNIT;
    const int green = 16 * SmoothNoise(x, y, 7, 51) / UNIT;
    rgb[0] = Clip(light + warmth + SensorNoise(x, y, 0));
    rgb[1] = Clip(light + green + SensorNoise(x, y, 1));
    rgb[2] = Clip(light - warmth + SensorNoise(x, y, 2));
}

// ---- a photograph -------------------------------------------------------------------------------

// 0 when a picture is named and cannot be read.
static int LoadPhoto(Photo *pPhoto)
{
    const char *name = getenv("VEXA_BENCH_PICTURE");
    memset(pPhoto, 0, sizeof *pPhoto);
    if (name == NULL) {
        return 1;
    }
    FILE *file = fopen(name, "rb");
    size_t bytes = 0;
    if (file != NULL && fscanf(file, "P6 %d %d 255", &pPhoto->width, &pPhoto->height) == 2 &&
        fgetc(file) != EOF && pPhoto->width > 0 && pPhoto->width < 32768 && pPhoto->height > 0 &&
        pPhoto->height < 32768) {
        bytes = (size_t)pPhoto->width * (size_t)pPhoto->height * 3;
        pPhoto->pPixels = (BYTE *)malloc(bytes);
    }
    if (pPhoto->pPixels != NULL && fread(pPhoto->pPixels, 1, bytes, file) != bytes) {
        free(pPhoto->pPixels);
        pPhoto->pPixels = NULL;
    }
    if (file != NULL) {
        fclose(file);
    }
    if (pPhoto->pPixels == NULL) {
        fprintf(stderr, "%s is not a binary PPM with 8 bits a channel.\n", name);
    }
    return pPhoto->pPixels != NULL;
}

static int Fold(int position, int size)
{
    const int folded = position % (2 * size);
    return folded < size ? folded : 2 * size - 1 - folded;
}

static void PhotoPixel(const Photo *pPhoto, int x, int y, BYTE *rgb)
{
    const size_t pixel =
        (size_t)Fold(y, pPhoto->height) * (size_t)pPhoto->width + (size_t)Fold(x, pPhoto->width);
    memcpy(rgb, pPhoto->pPixels + pixel * 3, 3);
}

// ---- DIBs ---------------------------------------------------------------------------------------

// The gray level of each colour.
static void FillColors(PictureKind kind, BYTE *levels)
{
    for (int i = 0; i < COLORS; i++) {
        levels[i] = (BYTE)(kind == PICTURE_SHUFFLED     ? i * 167 + 13
                           : kind == PICTURE_INCOMPLETE ? i & 0xFE
                                                        : i);
    }
}

static void FillPixels(const Photo *pPhoto, int bColor, const BYTE *indexOf, int width, int height,
                       BYTE *bits)
{
    const size_t stride = ((size_t)width * (bColor ? 3 : 1) + 3) / 4 * 4;
    for (int y = 0; y < height; y++) {
        BYTE *row = bits + (size_t)(height - 1 - y) * stride;
        for (int x = 0; x < width; x++) {
            BYTE rgb[3];
            if (pPhoto->pPixels != NULL) {
                PhotoPixel(pPhoto, x, y, rgb);
            } else {
                MadePixel(x, y, rgb);
            }
            if (bColor) {
                row[3 * x] = rgb[2];
                row[3 * x + 1] = rgb[1];
                row[3 * x + 2] = rgb[0];
            } else {
                row[x] = indexOf[(rgb[0] * 77 + rgb[1] * 150 + rgb[2] * 29) >> 8];
            }
        }
    }
}

static void FillDib(PictureKind kind, const Photo *pPhoto, int width, int height, BYTE *block)
{
    const int bColor = IsColorPicture(kind);
    BITMAPINFOHEADER header;
    BYTE levels[COLORS];
    BYTE indexOf[COLORS];
    BYTE *bits = block + HEADER_BYTES;
    memset(&header, 0, sizeof header);
    header.biSize = HEADER_BYTES;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = bColor ? 24 : 8;
    memcpy(block, &header, sizeof header);
    FillColors(kind, levels);
    for (int i = 0; !bColor && i < COLORS; i++) {
        indexOf[levels[i]] = (BYTE)i;
        indexOf[levels[i] | (kind == PICTURE_INCOMPLETE)] = (BYTE)i;
        memset(bits, levels[i], 3);
        bits[3] = 0;
        bits += 4;
    }
    FillPixels(pPhoto, bColor, indexOf, width, height, bits);
}

HGLOBAL MakePicture(PictureKind kind, int width, int height)
{
    const int bColor = IsColorPicture(kind);
    const size_t stride = ((size_t)width * (bColor ? 3 : 1) + 3) / 4 * 4;
    const size_t prefix = HEADER_BYTES + (bColor ? 0 : COLORS * sizeof(RGBQUAD));
    Photo photo;
    if (!LoadPhoto(&photo)) {
        return NULL;
    }
    const HGLOBAL hDib =
        GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, prefix + stride * (size_t)height);
    BYTE *block = hDib != NULL ? (BYTE *)GlobalLock(hDib) : NULL;
    if (block != NULL) {
        FillDib(kind, &photo, width, height, block);
        GlobalUnlock(hDib);
    }
    free(photo.pPixels);
    return hDib;
}

HGLOBAL SharedPicture(PictureKind kind, int side)
{
    static struct {
        int side;
        HGLOBAL hDib;
    } shared[PICTURE_KINDS][SHARED_SIDES];
    for (auto &entry : shared[kind]) {
        if (entry.hDib == NULL) {
            entry.side = side;
            entry.hDib = MakePicture(kind, side, side);
        }
        if (entry.hDib != NULL && entry.side == side) {
            return entry.hDib;
        }
    }
    fprintf(stderr, "No picture of %d x %d could be made.\n", side, side);
    exit(1);
}

const BYTE *PictureBits(HGLOBAL hDib)
{
    const BYTE *block = (const BYTE *)GlobalLock(hDib);
    GlobalUnlock(hDib);
    const int bits = ((const BITMAPINFOHEADER *)(const void *)block)->biBitCount;
    const size_t nColors = bits == 24 ? 0 : (size_t)1 << bits;
    return block + HEADER_BYTES + nColors * sizeof(RGBQUAD);
}

// ---- the page -----------------------------------------------------------------------------------

static int IsInStroke(int x, int y, uint32_t h, int cell, int width)
{
    const int bAcross = (int)(h & 1);
    const int at = (int)(h >> 1) % (cell - width);
    const int along = bAcross ? x : y;
    const int across = bAcross ? y : x;
    const int from = (int)(h >> 12) % (cell / 3);
    const int to = cell - (int)(h >> 20) % (cell / 3);
    return across >= at && across < at + width && along >= from && along < to;
}

// Strokes in a square cell; some cells are blanks between words.
static int IsInk(int x, int y, int cell, int width)
{
    enum { STROKES = 3 };
    const int column = x / cell;
    const int row = y / cell;
    if (Hash(column, row, 200) % 6 == 0) {
        return 0;
    }
    int bInk = 0;
    for (int i = 0; i < STROKES; i++) {
        bInk |= IsInStroke(x % cell, y % cell, Hash(column, row, 201 + i), cell, width);
    }
    return bInk;
}

static int IsBlack(int x, int y)
{
    enum { MARGIN = 160, LINE = 64, LETTER = 36, BLOCK = 700, HEADING = 120, DISC = 95 };
    if (Hash(x / 2, y / 2, 300) % 4000 == 0) {
        return 1;
    }
    if (x < MARGIN || x >= PAGE_WIDTH - MARGIN || y < MARGIN || y >= PAGE_HEIGHT - MARGIN) {
        return 0;
    }
    const int inBlock = (y - MARGIN) % BLOCK;
    if (inBlock < HEADING) {
        const int dx = x - (PAGE_WIDTH - MARGIN - 2 * DISC);
        const int dy = 2 * (inBlock - HEADING / 2);
        return dx * dx + dy * dy < DISC * DISC || (x < PAGE_WIDTH / 2 && IsInk(x, y, HEADING, 22));
    }
    return inBlock % LINE < LETTER && IsInk(x, y / LINE * LETTER + inBlock % LINE, LETTER, 5);
}

HGLOBAL MakePage(void)
{
    const size_t stride = (PAGE_WIDTH + 31) / 32 * 4;
    const size_t nOffset = HEADER_BYTES + 2 * sizeof(RGBQUAD);
    const HGLOBAL hDib = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, nOffset + stride * PAGE_HEIGHT);
    BYTE *pBlock = hDib != NULL ? (BYTE *)GlobalLock(hDib) : NULL;
    if (pBlock == NULL) {
        return NULL;
    }
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof header;
    header.biWidth = PAGE_WIDTH;
    header.biHeight = PAGE_HEIGHT;
    header.biPlanes = 1;
    header.biBitCount = 1;
    memcpy(pBlock, &header, sizeof header);
    memset(pBlock + HEADER_BYTES + sizeof(RGBQUAD), 255, 3);
    for (int y = 0; y < PAGE_HEIGHT; y++) {
        BYTE *row = pBlock + nOffset + (size_t)(PAGE_HEIGHT - 1 - y) * stride;
        for (int x = 0; x < PAGE_WIDTH; x++) {
            row[x / 8] = (BYTE)(row[x / 8] | (IsBlack(x, y) ? 0 : 0x80 >> x % 8));
        }
    }
    GlobalUnlock(hDib);
    return hDib;
}
