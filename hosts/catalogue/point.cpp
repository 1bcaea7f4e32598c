// Arithmetic, and brightness and contrast.
#include "catalogue.h"
#include "hosts/imagefile/imagefile.h"

#include <iterator>

static const NamedValue PAIR_OPERATIONS[] = {
    {"add", ARITH_ADD, 1, "the sum"},
    {"subtract", ARITH_SUB, 1, "the first less the second, black below 0"},
    {"multiply", ARITH_MUL, 1, "the product, white above 255"},
    {"divide", ARITH_DIV, 1, "the quotient, without its fraction"},
    {"and", ARITH_AND, 1, "the bits set in both"},
    {"nand", ARITH_NAND, 1, "the bits not set in both"},
    {"or", ARITH_OR, 1, "the bits set in either"},
    {"nor", ARITH_NOR, 1, "the bits set in neither"},
    {"xor", ARITH_XOR, 1, "the bits that differ"},
    {"min", ARITH_MIN, 1, "the smaller"},
    {"max", ARITH_MAX, 1, "the larger"},
};

static const NamedValue CONSTANT_OPERATIONS[] = {
    {"add", ARITH_ADD, 1, "the sum"},
    {"subtract", ARITH_SUB, 1, "the value less the constant, black below 0"},
    {"multiply", ARITH_MUL, 1, "the product, white above 255"},
    {"divide", ARITH_DIV, 1, "the quotient, without its fraction"},
    {"and", ARITH_AND, 1, "the bits set in both"},
    {"nand", ARITH_NAND, 1, "the bits not set in both"},
    {"or", ARITH_OR, 1, "the bits set in either"},
    {"nor", ARITH_NOR, 1, "the bits set in neither"},
    {"xor", ARITH_XOR, 1, "the bits that differ"},
    {"min", ARITH_MIN, 1, "the smaller"},
    {"max", ARITH_MAX, 1, "the larger"},
    {"exp", ARITH_EXP, 1, "e to the power of the value; the constant is not used"},
    {"log", ARITH_LOG, 1, "the natural logarithm of the value; the constant is not used"},
};

static const FilterParameter PAIR_PARAMETERS[] = {
    {"operation", PARAMETER_CHOICE, 0, ARITH_MAX, ARITH_ADD,
     "What each value becomes together with the value at the same place in the second picture.",
     PAIR_OPERATIONS, std::size(PAIR_OPERATIONS)},
};

static const FilterParameter CONSTANT_PARAMETERS[] = {
    {"operation", PARAMETER_CHOICE, 0, ARITH_LOG, ARITH_ADD,
     "What each value becomes together with the constant.", CONSTANT_OPERATIONS,
     std::size(CONSTANT_OPERATIONS)},
    {"constant", PARAMETER_INTEGER, -32768, 65535, 0, "The second value.", nullptr, 0},
};

static const FilterParameter BRIGHTNESS_PARAMETERS[] = {
    {"contrast", PARAMETER_INTEGER, -255, 255, 0,
     "-255 leaves only the mean gray, 0 changes nothing, 255 doubles every distance from the mean.",
     nullptr, 0},
    {"brightness", PARAMETER_INTEGER, -255, 255, 0, "Added to every level.", nullptr, 0},
};

static HGLOBAL CallArithmetic(const CatalogueCall *call)
{
    return ArithmeticDIB(call->pValues[0].nValue, call->pImages[0], call->pImages[1], call->mode,
                         call->hParent);
}

static HGLOBAL CallArithmeticConst(const CatalogueCall *call)
{
    return ArithmeticDIBConst(call->pValues[0].nValue, call->pImages[0], call->pValues[1].nValue,
                              call->mode, call->hParent);
}

// ---- brightness and contrast -----------------------------------------------------------------

static const int VIEWPORT = 256;
static const unsigned COLORS = 256;

// What the mean is taken of.
struct Levels {
    BYTE nOfColor[COLORS];
    unsigned long long nSum, nPixels;
};

// As the table is applied: the brightness of each colour, black for a missing one.
static void ReadColors(const BITMAPINFOHEADER *header, Levels *levels)
{
    const RGBQUAD *colors = reinterpret_cast<const RGBQUAD *>(header + 1);
    for (unsigned i = 0; i < COLORS && (header->biClrUsed == 0 || i < header->biClrUsed); i++) {
        levels->nOfColor[i] =
            BYTE((colors[i].rgbBlue + colors[i].rgbGreen + colors[i].rgbRed + 1) / 3);
    }
}

// pPixel is in the viewport. The counts are 16 bits wide: 65536 pixels of one value show as none.
static void AddCounts(HGLOBAL hHistogram, const BYTE *pPixel, Levels *levels)
{
    const WORD *counts = static_cast<const WORD *>(GlobalLock(hHistogram));
    unsigned long long found = 0;
    for (unsigned i = 0; i < COLORS; i++) {
        levels->nSum += levels->nOfColor[i] * counts[i];
        found += counts[i];
    }
    if (found == 0) {
        found = VIEWPORT * VIEWPORT;
        levels->nSum += levels->nOfColor[*pPixel] * found;
    }
    levels->nPixels += found;
    GlobalUnlock(hHistogram);
}

// Moves the viewport over the whole picture, then leaves in the histogram the mean as its only
// level. The last viewport of a row or column overlaps the one before. False for a depth that the
// exports refuse.
static bool CountPicture(HGLOBAL hDib, HGLOBAL hHistogram)
{
    const BITMAPINFOHEADER *header = static_cast<const BITMAPINFOHEADER *>(GlobalLock(hDib));
    if (header->biBitCount != 8) {
        GlobalUnlock(hDib);
        return false;
    }
    const int width = header->biWidth, height = header->biHeight;
    const size_t stride = (size_t(width) + 3) / 4 * 4;
    const BYTE *bits = reinterpret_cast<const BYTE *>(header + 1) +
                       sizeof(RGBQUAD) * (header->biClrUsed ? header->biClrUsed : COLORS);
    Levels levels = {};
    int error = 0;
    ReadColors(header, &levels);
    for (int y = 0; y < height && error == 0; y += VIEWPORT) {
        for (int x = 0; x < width && error == 0; x += VIEWPORT) {
            int origin[2] = {x, y};
            if (ComputeHistogram(hDib, LUT_COMPUTE, hHistogram, origin, &error)) {
                AddCounts(hHistogram, bits + size_t(height - 1 - y) * stride + x, &levels);
            }
        }
    }
    GlobalUnlock(hDib);
    WORD *counts = static_cast<WORD *>(GlobalLock(hHistogram));
    for (unsigned i = 0; i < COLORS && levels.nPixels != 0; i++) {
        counts[i] = i == levels.nSum / levels.nPixels ? 1 : 0;
    }
    GlobalUnlock(hHistogram);
    return error == 0;
}

// Every byte of a colour picture through the table.
static HGLOBAL MapColours(HGLOBAL hDib, HGLOBAL hTable)
{
    const HGLOBAL hResult = ConvertDib(hDib, 24);
    if (hResult) {
        const BYTE *table = static_cast<const BYTE *>(GlobalLock(hTable));
        BYTE *block = static_cast<BYTE *>(GlobalLock(hResult));
        const size_t size = GlobalSize(hResult);
        for (size_t i = sizeof(BITMAPINFOHEADER); i < size; i++) {
            block[i] = table[block[i]];
        }
        GlobalUnlock(hResult);
        GlobalUnlock(hTable);
    }
    return hResult;
}

// The mean is that of the luminance.
static HGLOBAL CallBrightness(const CatalogueCall *call)
{
    const HGLOBAL hDib = call->pImages[0];
    const BITMAPINFOHEADER *header = static_cast<const BITMAPINFOHEADER *>(GlobalLock(hDib));
    const int bits = header ? header->biBitCount : 0;
    GlobalUnlock(hDib);
    const HGLOBAL hGray = bits == 24 ? ConvertDib(hDib, 8) : hDib;
    const HGLOBAL hHistogram = ComputeHistogram(nullptr, LUT_CREATE, nullptr, nullptr, nullptr);
    const HGLOBAL hTable = ComputeLUT(nullptr, LUT_CREATE, nullptr, 0, 0, nullptr);
    HGLOBAL hResult = nullptr;
    if (hGray && hHistogram && hTable && CountPicture(hGray, hHistogram)) {
        ComputeLUT(hHistogram, LUT_COMPUTE, hTable, call->pValues[0].nValue,
                   call->pValues[1].nValue, nullptr);
        hResult = bits == 24 ? MapColours(hDib, hTable) : ApplyLUT(hDib, hTable, 1, nullptr);
    }
    ComputeLUT(nullptr, LUT_FREE, hTable, 0, 0, nullptr);
    ComputeHistogram(nullptr, LUT_FREE, hHistogram, nullptr, nullptr);
    if (hGray && hGray != hDib) {
        GlobalFree(hGray);
    }
    return hResult;
}

// ---- rows ------------------------------------------------------------------------------------

static const unsigned ALL_DEPTHS = DEPTH_1 | DEPTH_4 | DEPTH_8 | DEPTH_24;
static const char SIGNED_DETAILS[] =
    "A picture with a colour table becomes gray or 24 bits before; with --stored-values the "
    "numbers "
    "of its colours are combined. Values from 128 on count as negative in some operations and "
    "depths: there a sum below 0 is white, and 200 "
    "and 100 make 44. docs/point.md tells which.";

static const CatalogueFilter FILTERS[] = {
    {"arithmetic",
     "ArithmeticDIB",
     "int nOperation, HGLOBAL hFirst, HGLOBAL hSecond, UINT mode, HWND hParent",
     "ARITHUI",
     "combines two pictures of the same size and depth",
     SIGNED_DETAILS,
     2,
     ALL_DEPTHS,
     PAIR_PARAMETERS,
     std::size(PAIR_PARAMETERS),
     CallArithmetic,
     nullptr,
     {0, 65535, 65535, true, true},
     true},
    {"arithmetic-const", "ArithmeticDIBConst",
     "int nOperation, HGLOBAL hImage, int nConstant, UINT mode, HWND hParent", "ARITHCONSTUI",
     "combines a picture with a constant", SIGNED_DETAILS, 1, ALL_DEPTHS, CONSTANT_PARAMETERS,
     std::size(CONSTANT_PARAMETERS), CallArithmeticConst, nullptr, SIXTEEN_BIT_LIMITS, true},
    {"brightness", "ApplyLUT", "HGLOBAL hDib, HGLOBAL hTable, int bMakeCopy, int *pError", nullptr,
     "changes brightness and contrast about the picture's mean",
     "Made by ComputeHistogram, moved over the whole picture, ComputeLUT and ApplyLUT. In a colour "
     "picture every channel goes through the same table, which turns about the mean luminance.",
     1, DEPTH_8 | DEPTH_24, BRIGHTNESS_PARAMETERS, std::size(BRIGHTNESS_PARAMETERS), CallBrightness,
     nullptr, SIXTEEN_BIT_LIMITS, true, "contrast"},
};

const CatalogueFamily POINT_FAMILY = {"point", "Point operations", FILTERS, std::size(FILTERS)};
