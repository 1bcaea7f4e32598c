// Makes the pictures of the documentation, with the library's own exports:
//
//   scene.png         a drawn landscape
//   convolution.png   before and after: the scene, sharpened, blurred, and two edge images
//   rank.png          the scene with specks, and the rank filters
//   mean.png          the scene with grain, and the mean and adaptive filters
//   morphology.png    a page with specks, opened, outlined, as a skeleton; the scene in gray,
//                     opened, closed, and what the opening takes away
//   frequency.png     the scene, the middle of its spectrum, low-pass and high-pass; unevenly lit
//                     and corrected, smeared and restored
//   smeared.png, smear.png   the smeared scene, and what the smear makes of a point
//   effects.png       the scene and eleven effects
//   redeyes.png, redeye.png  two eyes as a flash makes them, and without their red
//
// Build the target docs_pictures and run it with the folder to write to.

#include "hosts/catalogue/catalogue.h"
#include "hosts/imagefile/imagefile.h"

#include <VexaFilter.h>

#include <stdint.h>
#include <stdio.h>
#include <string.h>

enum { WIDTH = 280, HEIGHT = 200, GAP = 6, HEADER = 40 };

struct Color {
    int red, green, blue;
};

static HGLOBAL NewPicture(int width, int height)
{
    const size_t stride = ((size_t)width * 3 + 3) / 4 * 4;
    const HGLOBAL hDib = GlobalAlloc(GHND, HEADER + stride * (size_t)height);
    BITMAPINFOHEADER *pHeader = hDib != NULL ? (BITMAPINFOHEADER *)GlobalLock(hDib) : NULL;
    if (pHeader == NULL) {
        return NULL;
    }
    memset((BYTE *)pHeader + HEADER, 255, stride * (size_t)height);
    pHeader->biSize = HEADER;
    pHeader->biWidth = width;
    pHeader->biHeight = height;
    pHeader->biPlanes = 1;
    pHeader->biBitCount = 24;
    GlobalUnlock(hDib);
    return hDib;
}

static BYTE *PixelAt(BYTE *pBlock, int x, int y)
{
    const BITMAPINFOHEADER *pHeader = (const BITMAPINFOHEADER *)(void *)pBlock;
    const size_t stride = ((size_t)pHeader->biWidth * 3 + 3) / 4 * 4;
    return pBlock + HEADER + (size_t)(pHeader->biHeight - 1 - y) * stride + (size_t)x * 3;
}

static int Noise(int x, int y)
{
    uint32_t h = (uint32_t)x * 0x9e3779b1u ^ (uint32_t)y * 0x85ebca77u;
    h = (h ^ (h >> 15)) * 0x2c1b3c6du;
    return (int)((h ^ (h >> 12)) % 17) - 8;
}

// Height of a ridge: a sum of triangle waves.
static int Ridge(int x, int base, int size)
{
    const int wave1 = x % (4 * size);
    const int wave2 = (x * 3 + size) % (2 * size);
    const int up1 = wave1 < 2 * size ? wave1 : 4 * size - wave1;
    const int up2 = wave2 < size ? wave2 : 2 * size - wave2;
    return base - up1 / 2 - up2 / 4;
}

static int Inside(int x, int y, int cx, int cy, int radius)
{
    return (x - cx) * (x - cx) + (y - cy) * (y - cy) < radius * radius;
}

static Color House(int x, int y)
{
    const int bWindow = y > 140 && y < 156 && ((x > 52 && x < 64) || (x > 84 && x < 96));
    const int bBar = x == 58 || x == 90 || y == 148;
    if (bWindow) {
        return bBar ? Color{70, 50, 40} : Color{250, 220, 120};
    }
    return y % 8 == 0 || (x + y / 8 % 2 * 6) % 12 == 0 ? Color{150, 90, 75} : Color{190, 105, 85};
}

static Color SceneColor(int x, int y)
{
    const int n = Noise(x, y);
    const int roof = 118 - (x < 74 ? (x - 36) / 2 : (112 - x) / 2);
    if (x > 44 && x < 104 && y > 126 && y < 172) {
        return House(x, y);
    }
    if (x > 36 && x < 112 && y > roof && y <= 126) {
        return (x + y) % 6 == 0 ? Color{70, 40, 45} : Color{105, 60, 60};
    }
    if (y > 165 - (x - 140) * (x - 140) / 900) {
        return Color{70 + n, 125 + 2 * n + (x * 5 + y * 3) % 11, 60 + n};
    }
    if (y > Ridge(x, 130, 50)) {
        return Color{75 + n, 85 + n, 120 + n};
    }
    if (y > Ridge(x + 90, 95, 36)) {
        return Color{125 + n / 2, 135 + n / 2, 170 + n / 2};
    }
    if (Inside(x, y, 215, 44, 22)) {
        return Color{255, 236, 170};
    }
    return Color{250 - y / 3, 170 + y / 4, 120 + y / 2};
}

static HGLOBAL Draw(Color (*ColorAt)(int x, int y))
{
    const HGLOBAL hDib = NewPicture(WIDTH, HEIGHT);
    BYTE *pBlock = hDib != NULL ? (BYTE *)GlobalLock(hDib) : NULL;
    for (int y = 0; pBlock != NULL && y < HEIGHT; y++) {
        for (int x = 0; x < WIDTH; x++) {
            const Color color = ColorAt(x, y);
            BYTE *pixel = PixelAt(pBlock, x, y);
            pixel[0] = (BYTE)color.blue;
            pixel[1] = (BYTE)color.green;
            pixel[2] = (BYTE)color.red;
        }
    }
    if (pBlock != NULL) {
        GlobalUnlock(hDib);
    }
    return hDib;
}

// Frees the picture that it pastes.
static void Paste(HGLOBAL hSheet, HGLOBAL hPicture, int column, int row)
{
    BYTE *pSheet = (BYTE *)GlobalLock(hSheet);
    BYTE *pPicture = hPicture != NULL ? (BYTE *)GlobalLock(hPicture) : NULL;
    for (int y = 0; pSheet != NULL && pPicture != NULL && y < HEIGHT; y++) {
        memcpy(PixelAt(pSheet, column * (WIDTH + GAP), row * (HEIGHT + GAP) + y),
               PixelAt(pPicture, 0, y), (size_t)WIDTH * 3);
    }
    if (pPicture != NULL) {
        GlobalUnlock(hPicture);
    }
    if (pSheet != NULL) {
        GlobalUnlock(hSheet);
    }
    GlobalFree(hPicture);
}

static int Save(HGLOBAL hDib, const char *folder, const char *name)
{
    char path[1000];
    ImageMessages messages;
    snprintf(path, sizeof path, "%s/%s", folder, name);
    if (!WriteImageFile(hDib, path, IMAGE_PNG, JPEG_QUALITY_DEFAULT, false, &messages)) {
        fprintf(stderr, "make_pictures: %s: %s\n", path, messages.szError);
        return 0;
    }
    return 1;
}

// What a pixel's noise is made of: the same for all three channels of a speck, not of grain.
static uint32_t Hash(int x, int y, int channel)
{
    uint32_t h = (uint32_t)(x * 3 + channel) * 0x2c1b3c6du ^ (uint32_t)y * 0x297a2d39u;
    h = (h ^ h >> 15) * 0x9e3779b1u;
    return h ^ h >> 13;
}

// One pixel in twelve becomes black or white.
static void AddSpeck(BYTE *pixel, int x, int y)
{
    const uint32_t h = Hash(x, y, 0);
    if ((h >> 16) % 12 == 0) {
        memset(pixel, (h >> 15) % 2 != 0 ? 255 : 0, 3);
    }
}

// The sum of four even distributions: a standard deviation of about 19 levels. Never black, which
// some of the means cannot stand.
static void AddGrain(BYTE *pixel, int x, int y)
{
    for (int channel = 0; channel < 3; channel++) {
        const uint32_t h = Hash(x, y, channel);
        const int noise = (int)(h % 33 + (h >> 8) % 33 + (h >> 16) % 33 + (h >> 24) % 33) - 64;
        const int level = pixel[channel] + noise;
        pixel[channel] = (BYTE)(level < 1 ? 1 : level > 255 ? 255 : level);
    }
}

static HGLOBAL AddNoise(HGLOBAL hScene, void (*Add)(BYTE *, int, int))
{
    const SIZE_T nBytes = GlobalSize(hScene);
    const HGLOBAL hNoisy = GlobalAlloc(GHND, nBytes);
    BYTE *pBlock = hNoisy != NULL ? (BYTE *)GlobalLock(hNoisy) : NULL;
    if (pBlock == NULL) {
        return NULL;
    }
    memcpy(pBlock, GlobalLock(hScene), nBytes);
    GlobalUnlock(hScene);
    for (int y = 0; y < HEIGHT; y++) {
        for (int x = 0; x < WIDTH; x++) {
            Add(PixelAt(pBlock, x, y), x, y);
        }
    }
    GlobalUnlock(hNoisy);
    return hNoisy;
}

static int SaveRanks(HGLOBAL hScene, const char *folder)
{
    const HGLOBAL hNoisy = AddNoise(hScene, AddSpeck);
    const HGLOBAL hSheet = NewPicture(4 * WIDTH + 3 * GAP, 2 * HEIGHT + GAP);
    int bSaved = 0;
    if (hNoisy != NULL && hSheet != NULL) {
        Paste(hSheet, FilterMinimum(hNoisy, 3, 0, NULL), 1, 0);
        Paste(hSheet, FilterMaximum(hNoisy, 3, 0, NULL), 2, 0);
        Paste(hSheet, FilterMedian(hNoisy, 3, 0, NULL), 3, 0);
        Paste(hSheet, FilterMidpoint(hNoisy, 3, 0, NULL), 0, 1);
        Paste(hSheet, FilterRange(hScene, 3, 0, NULL), 1, 1);
        Paste(hSheet, FilterAlphaTrimmedMean(hNoisy, 5, 8, 0, NULL), 2, 1);
        Paste(hSheet, FilterWeightedMedian(hNoisy, NULL, 0, NULL), 3, 1);
        Paste(hSheet, hNoisy, 0, 0);
        bSaved = Save(hSheet, folder, "rank.png");
    }
    GlobalFree(hSheet);
    return bSaved;
}

static int SaveMeans(HGLOBAL hScene, const char *folder)
{
    const HGLOBAL hNoisy = AddNoise(hScene, AddGrain);
    const HGLOBAL hSheet = NewPicture(4 * WIDTH + 3 * GAP, 2 * HEIGHT + GAP);
    int bSaved = 0;
    if (hNoisy != NULL && hSheet != NULL) {
        Paste(hSheet, FilterGeometricMean(hNoisy, 3, 0, NULL), 1, 0);
        Paste(hSheet, FilterHarmonicMean(hNoisy, 3, 0, NULL), 2, 0);
        Paste(hSheet, FilterContraHarmonicMean(hNoisy, 3, 2, 0, NULL), 3, 0);
        Paste(hSheet, FilterYpMean(hNoisy, 3, 3, 0, NULL), 0, 1);
        Paste(hSheet, FilterWeightedMean(hNoisy, NULL, 0, NULL), 1, 1);
        Paste(hSheet, FilterAdaptiveDWMTM(hNoisy, 3, 5, 45, 0, NULL), 2, 1);
        Paste(hSheet, FilterAdaptiveMMSE(hNoisy, 5, 360, 0, NULL), 3, 1);
        Paste(hSheet, hNoisy, 0, 0);
        bSaved = Save(hSheet, folder, "mean.png");
    }
    GlobalFree(hSheet);
    return bSaved;
}

// ---- morphology ---------------------------------------------------------------------------------

// A picture of 1 or 8 bits; colour i of n is gray 255 i / (n - 1).
static HGLOBAL NewIndexed(int bits, BYTE **ppRows)
{
    const size_t nColors = (size_t)1 << bits;
    const size_t stride = ((size_t)WIDTH * (size_t)bits + 31) / 32 * 4;
    const HGLOBAL hDib = GlobalAlloc(GHND, HEADER + nColors * 4 + stride * HEIGHT);
    BITMAPINFOHEADER *pHeader = hDib != NULL ? (BITMAPINFOHEADER *)GlobalLock(hDib) : NULL;
    if (pHeader == NULL) {
        return NULL;
    }
    pHeader->biSize = HEADER;
    pHeader->biWidth = WIDTH;
    pHeader->biHeight = HEIGHT;
    pHeader->biPlanes = 1;
    pHeader->biBitCount = (WORD)bits;
    BYTE *pColors = (BYTE *)(void *)(pHeader + 1);
    for (size_t i = 0; i < nColors; i++) {
        memset(pColors + 4 * i, (int)(i * 255 / (nColors - 1)), 3);
    }
    *ppRows = pColors + 4 * nColors;
    return hDib;
}

// Five by seven, a row a number.
static const struct {
    char letter;
    BYTE rows[7];
} GLYPHS[] = {{'A', {14, 17, 17, 31, 17, 17, 17}}, {'E', {31, 16, 16, 30, 16, 16, 31}},
              {'F', {31, 16, 16, 30, 16, 16, 16}}, {'I', {14, 4, 4, 4, 4, 4, 14}},
              {'L', {16, 16, 16, 16, 16, 16, 31}}, {'R', {30, 17, 17, 30, 20, 18, 17}},
              {'T', {31, 4, 4, 4, 4, 4, 4}},       {'V', {17, 17, 17, 17, 17, 10, 4}},
              {'X', {17, 17, 10, 4, 10, 17, 17}}};

static int IsInGlyph(char letter, int x, int y)
{
    for (const auto &glyph : GLYPHS) {
        if (glyph.letter == letter && x >= 0 && x < 5 && y >= 0 && y < 7) {
            return glyph.rows[y] >> (4 - x) & 1;
        }
    }
    return 0;
}

static int IsInk(int x, int y)
{
    static const char *const LINES[] = {"VEXA", "FILTER", "TEXT"};
    enum { SCALE = 7, ADVANCE = 6 * SCALE, LINE = 9 * SCALE, LEFT = 15, TOP = 12 };
    if (Hash(x, y, 0) % 90 == 0) {
        return 1;
    }
    if (x < LEFT || y < TOP || (y - TOP) / LINE > 2) {
        return 0;
    }
    const char *pText = LINES[(y - TOP) / LINE];
    const size_t column = (size_t)(x - LEFT) / ADVANCE;
    return column < strlen(pText) &&
           IsInGlyph(pText[column], (x - LEFT) % ADVANCE / SCALE, (y - TOP) % LINE / SCALE);
}

static HGLOBAL DrawPage(void)
{
    BYTE *pRows;
    const HGLOBAL hPage = NewIndexed(1, &pRows);
    const size_t stride = (WIDTH + 31) / 32 * 4;
    for (int y = 0; y < HEIGHT && hPage != NULL; y++) {
        for (int x = 0; x < WIDTH; x++) {
            BYTE *p = pRows + (size_t)(HEIGHT - 1 - y) * stride + x / 8;
            *p = (BYTE)(*p | (IsInk(x, y) ? 0 : 0x80 >> x % 8));
        }
    }
    GlobalUnlock(hPage);
    return hPage;
}

static HGLOBAL GrayScene(HGLOBAL hScene)
{
    BYTE *pRows;
    const HGLOBAL hGray = NewIndexed(8, &pRows);
    BYTE *pScene = (BYTE *)GlobalLock(hScene);
    for (int y = 0; y < HEIGHT && hGray != NULL && pScene != NULL; y++) {
        for (int x = 0; x < WIDTH; x++) {
            const BYTE *p = PixelAt(pScene, x, y);
            pRows[(size_t)(HEIGHT - 1 - y) * WIDTH + (size_t)x] =
                (BYTE)((p[0] * 11 + p[1] * 59 + p[2] * 30) / 100);
        }
    }
    GlobalUnlock(hScene);
    GlobalUnlock(hGray);
    return hGray;
}

// Frees the picture of 1 or 8 bits.
static void PasteIndexed(HGLOBAL hSheet, HGLOBAL hPicture, int bits, int column, int row)
{
    const HGLOBAL hGray = bits == 1 ? ConvertMonoDibToGrayScale(hPicture, 0) : hPicture;
    Paste(hSheet, Convert8bitto24(hGray), column, row);
    if (hGray != hPicture) {
        GlobalFree(hPicture);
    }
    GlobalFree(hGray);
}

static int SaveMorphology(HGLOBAL hScene, const char *folder)
{
    BYTE ones[5] = {1, 1, 1, 1, 1}, zeros[7] = {};
    BYTE *columns[] = {ones, ones};
    BYTE *flat[] = {zeros, zeros, zeros, zeros, zeros, zeros, zeros};
    const FilterMask four = {columns, 2, 2, 0, 0};
    const FilterMask wide = {flat, 7, 7, 3, 3};
    const HGLOBAL hPage = DrawPage();
    const HGLOBAL hGray = GrayScene(hScene);
    const HGLOBAL hSheet = NewPicture(4 * WIDTH + 3 * GAP, 2 * HEIGHT + GAP);
    int bSaved = 0;
    if (hPage != NULL && hGray != NULL && hSheet != NULL) {
        const HGLOBAL hClean = BinaryOpening(hPage, &four, 0, 0, NULL);
        PasteIndexed(hSheet, BinaryOutlining(hClean, NULL, 0, 0, 0, NULL), 1, 2, 0);
        PasteIndexed(hSheet, BinarySkeleton(hClean, 0, 0, 0, NULL), 1, 3, 0);
        PasteIndexed(hSheet, hClean, 1, 1, 0);
        PasteIndexed(hSheet, hPage, 1, 0, 0);
        PasteIndexed(hSheet, GrayScaleOpening(hGray, &wide, 0, NULL), 8, 1, 1);
        PasteIndexed(hSheet, GrayScaleClosing(hGray, &wide, 0, NULL), 8, 2, 1);
        PasteIndexed(hSheet, GrayScaleTopHat(hGray, &wide, 0, NULL), 8, 3, 1);
        PasteIndexed(hSheet, hGray, 8, 0, 1);
        bSaved = Save(hSheet, folder, "morphology.png");
    }
    GlobalFree(hSheet);
    return bSaved;
}

// ---- frequencies ----------------------------------------------------------------------------

// From a place of a larger or equal picture on. Frees it.
static void PasteFrom(HGLOBAL hSheet, HGLOBAL hPicture, int x0, int y0, int column, int row)
{
    const HGLOBAL hPart = NewPicture(WIDTH, HEIGHT);
    if (hPart != NULL && hPicture != NULL) {
        BYTE *pPart = (BYTE *)GlobalLock(hPart);
        BYTE *pPicture = (BYTE *)GlobalLock(hPicture);
        for (int y = 0; y < HEIGHT; y++) {
            memcpy(PixelAt(pPart, 0, y), PixelAt(pPicture, x0, y0 + y), (size_t)WIDTH * 3);
        }
        GlobalUnlock(hPicture);
        GlobalUnlock(hPart);
    }
    GlobalFree(hPicture);
    Paste(hSheet, hPart, column, row);
}

// As the command line calls it: with the values in the order of its parameters.
static HGLOBAL RunByName(const char *name, HGLOBAL hDib, HGLOBAL hSecond, const double (&values)[6])
{
    const CatalogueFilter *filter = FindCatalogueFilter(name);
    const HGLOBAL images[] = {hDib, hSecond};
    ParameterValue parameters[6];
    for (int i = 0; i < 6; i++) {
        parameters[i].nValue = (int)values[i];
        parameters[i].dValue = values[i];
    }
    const CatalogueCall call = {images, parameters, 0, NULL};
    return filter->Run(&call);
}

enum { SMEAR = 9 };

// The light falls off to the right.
static void Darken(const BYTE *from, int x, BYTE *pixel)
{
    for (int channel = 0; channel < 3; channel++) {
        pixel[channel] = (BYTE)(from[channel] * (WIDTH + 40 - x) / (WIDTH + 40));
    }
}

// Each pixel becomes the mean of itself and those before it.
static void Smear(const BYTE *from, int x, BYTE *pixel)
{
    for (int channel = 0; channel < 3; channel++) {
        int sum = SMEAR / 2;
        for (int k = 0; k < SMEAR; k++) {
            sum += from[channel - 3 * (k < x ? k : x)];
        }
        pixel[channel] = (BYTE)(sum / SMEAR);
    }
}

static void Keep(const BYTE *from, int, BYTE *pixel)
{
    memcpy(pixel, from, 3);
}

static HGLOBAL ChangePixels(HGLOBAL hScene, void (*Change)(const BYTE *, int, BYTE *))
{
    const HGLOBAL hDib = NewPicture(WIDTH, HEIGHT);
    BYTE *pBlock = hDib != NULL ? (BYTE *)GlobalLock(hDib) : NULL;
    BYTE *pScene = (BYTE *)GlobalLock(hScene);
    for (int y = 0; pBlock != NULL && y < HEIGHT; y++) {
        for (int x = 0; x < WIDTH; x++) {
            Change(PixelAt(pScene, x, y), x, PixelAt(pBlock, x, y));
        }
    }
    GlobalUnlock(hScene);
    if (pBlock != NULL) {
        GlobalUnlock(hDib);
    }
    return hDib;
}

// What Smear makes of a point: nine values of 10 in a row.
static HGLOBAL DrawSmear(void)
{
    const HGLOBAL hDib = NewPicture(SMEAR, 1);
    BYTE *pBlock = hDib != NULL ? (BYTE *)GlobalLock(hDib) : NULL;
    if (pBlock != NULL) {
        memset(PixelAt(pBlock, 0, 0), 10, 3 * SMEAR);
        GlobalUnlock(hDib);
    }
    return hDib;
}

static int SaveFrequencies(HGLOBAL hScene, const char *folder)
{
    const HGLOBAL hSheet = NewPicture(4 * WIDTH + 3 * GAP, 2 * HEIGHT + GAP);
    const HGLOBAL hDarkened = ChangePixels(hScene, Darken);
    const HGLOBAL hDark = GrayScene(hDarkened);
    const HGLOBAL hSmeared = ChangePixels(hScene, Smear);
    const HGLOBAL hSmear = DrawSmear();
    int bSaved = 0;
    if (hSheet != NULL && hDark != NULL && hSmeared != NULL && hSmear != NULL) {
        PasteFrom(hSheet, RunByName("lowpass", hScene, NULL, {20, 2}), 0, 0, 2, 0);
        PasteFrom(hSheet, RunByName("highpass", hScene, NULL, {20, 2}), 0, 0, 3, 0);
        PasteFrom(hSheet, RunByName("spectrum", hScene, NULL, {}), 256 - WIDTH / 2,
                  256 - HEIGHT / 2, 1, 0);
        PasteFrom(hSheet, ChangePixels(hScene, Keep), 0, 0, 0, 0);
        PasteIndexed(hSheet, RunByName("homomorphic", hDark, NULL, {4, 8, 1.0, 0.3}), 8, 1, 1);
        PasteFrom(hSheet, RunByName("wiener", hSmeared, hSmear, {10, 1}), 0, 0, 3, 1);
        PasteIndexed(hSheet, hDark, 8, 0, 1);
        bSaved = Save(hSmeared, folder, "smeared.png") && Save(hSmear, folder, "smear.png");
        PasteFrom(hSheet, hSmeared, 0, 0, 2, 1);
        bSaved = bSaved && Save(hSheet, folder, "frequency.png");
    }
    GlobalFree(hDarkened);
    GlobalFree(hSmear);
    GlobalFree(hSheet);
    return bSaved;
}

// ---- effects --------------------------------------------------------------------------------

static int SaveEffects(HGLOBAL hScene, const char *folder)
{
    static const struct {
        const char *pName;
        double values[6];
    } EFFECTS[] = {{"motion-blur", {30, 21}},
                   {"zoom-blur", {60, 15}},
                   {"mosaic", {10}},
                   {"multiply", {15}},
                   {"noise", {90, 1}},
                   {"average", {10}},
                   {"impressionist", {10, 10, 1}},
                   {"polar", {}},
                   {"cylinder", {110, 0}},
                   {"cylinder", {90, 1}},
                   {"puzzle", {7, 5, 2}}};
    const HGLOBAL hSheet = NewPicture(4 * WIDTH + 3 * GAP, 3 * HEIGHT + 2 * GAP);
    int bSaved = 0, cell = 1;
    if (hSheet != NULL) {
        Paste(hSheet, ChangePixels(hScene, Keep), 0, 0);
        for (const auto &effect : EFFECTS) {
            Paste(hSheet, RunByName(effect.pName, hScene, NULL, effect.values), cell % 4, cell / 4);
            cell++;
        }
        bSaved = Save(hSheet, folder, "effects.png");
    }
    GlobalFree(hSheet);
    return bSaved;
}

// ---- red eyes -------------------------------------------------------------------------------

static int InsideEye(int x, int y, int cx, int cy)
{
    return (x - cx) * (x - cx) * 5 + (y - cy) * (y - cy) * 16 < 46 * 46 * 5;
}

static Color FaceColor(int x, int y)
{
    const int cx = x < WIDTH / 2 ? 78 : 202, cy = 104;
    const int n = Noise(x, y) / 2;
    const int bBrow = (x - cx) * (x - cx) / 70 + 52 < y && y < (x - cx) * (x - cx) / 110 + 62;
    if (Inside(x, y, cx + 5, cy - 6, 4)) {
        return {250, 250, 250};
    }
    if (InsideEye(x, y, cx, cy)) {
        return Inside(x, y, cx, cy, 12)   ? Color{205 + n, 28 + n, 40 + n}
               : Inside(x, y, cx, cy, 21) ? Color{96 + 2 * n, 66 + 2 * n, 44 + n}
                                          : Color{238 + n, 234 + n, 230 + n};
    }
    if (bBrow && x - cx > -48 && x - cx < 48) {
        return {92 + 2 * n, 62 + n, 48 + n};
    }
    return {222 + n - (y - 90) * (y - 90) / 500, 176 + n - (y - 90) * (y - 90) / 400, 150 + n};
}

static int SaveRedEyes(const char *folder)
{
    RECT left = {56, 82, 100, 126}, right = {180, 82, 224, 126};
    const BYTE limits[] = {31, 130};  // so that brown eyes stay brown
    const HGLOBAL hSheet = NewPicture(2 * WIDTH + GAP, HEIGHT);
    const HGLOBAL hFace = Draw(FaceColor);
    int bSaved = 0;
    if (hSheet != NULL && hFace != NULL) {
        const HGLOBAL hHalf = RedEyeRemover(hFace, &left, 0, NULL, limits);
        bSaved = Save(hFace, folder, "redeyes.png");
        Paste(hSheet, RedEyeRemover(hHalf, &right, 0, NULL, limits), 1, 0);
        Paste(hSheet, hFace, 0, 0);
        GlobalFree(hHalf);
        bSaved = bSaved && Save(hSheet, folder, "redeye.png");
    }
    GlobalFree(hSheet);
    return bSaved;
}

int main(int argc, char **argv)
{
    const char *folder = argc > 1 ? argv[1] : ".";
    const HGLOBAL hScene = Draw(SceneColor);
    const HGLOBAL hSheet = NewPicture(3 * WIDTH + 2 * GAP, 2 * HEIGHT + GAP);
    if (hScene == NULL || hSheet == NULL) {
        fprintf(stderr, "make_pictures: out of memory.\n");
        return 1;
    }
    int bSaved = Save(hScene, folder, "scene.png") && SaveRanks(hScene, folder) &&
                 SaveMeans(hScene, folder) && SaveMorphology(hScene, folder) &&
                 SaveFrequencies(hScene, folder) && SaveEffects(hScene, folder) &&
                 SaveRedEyes(folder);
    // Twice the blur, so that it shows at this size.
    const HGLOBAL hBlurred = FilterUniform(hScene, 0, NULL);
    Paste(hSheet, FilterEnhance(hScene, 0, NULL), 1, 0);
    Paste(hSheet, FilterUniform(hBlurred, 0, NULL), 2, 0);
    Paste(hSheet, FilterLaplace(hScene, 10, 0, NULL), 0, 1);
    Paste(hSheet, FilterGradient(hScene, 52, 0, NULL), 1, 1);
    Paste(hSheet, FilterGradient(hScene, 0, 0, NULL), 2, 1);
    GlobalFree(hBlurred);
    Paste(hSheet, hScene, 0, 0);
    bSaved &= Save(hSheet, folder, "convolution.png");
    GlobalFree(hSheet);
    return bSaved ? 0 : 1;
}
