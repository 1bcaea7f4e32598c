// Frequency filters.
//
// The exports read bytes as signed numbers and let results wrap around. A user who has not asked
// for that gets the levels shifted by 128 on the way in, so that they are in order, and back on the
// way out; the homomorphic filter, which takes 2 to 127 only, gets them halved. And the picture is
// extended to the square that is transformed by what its edges mirror, else they would blend with
// nothing.
#include "catalogue.h"

#include <iterator>

#include <string.h>

static const int LARGEST_NUMBER = 2147483647;

// ---- parameters ------------------------------------------------------------------------------

static const NamedValue TRANSFORMS[] = {
    {"exact", 0, 1, "twiddles multiplied up"},
    {"table", 1, 1, "twiddles from a table that blurs a little"},
};

static const NamedValue SHAPES[] = {
    {"ideal", 1, 1, "all or nothing; edges ring"},
    {"butterworth", 2, 1, "a half at the cut-off, falling off slowly"},
};

#define TRANSFORM_PARAMETER(DEFAULT)                                                               \
    {                                                                                              \
        "transform", PARAMETER_CHOICE, 0, 1, DEFAULT, "Which Fourier transform is used.",          \
            TRANSFORMS, std::size(TRANSFORMS)                                                      \
    }
#define AS_STORED_PARAMETER                                                                        \
    {                                                                                              \
        "as-stored", PARAMETER_FLAG, 0, 1, 0,                                                      \
            "Whether the picture is handed over as it is: bytes from 128 on are negative then, "   \
            "and edges blend with black.",                                                         \
            nullptr, 0                                                                             \
    }
#define CUTOFF_PARAMETER                                                                           \
    {                                                                                              \
        "cutoff", PARAMETER_INTEGER, 0, 65535, 30,                                                 \
            "The distance from frequency 0, in periods per side of the square.", nullptr, 0        \
    }

static const FilterParameter SPECTRUM_PARAMETERS[] = {
    TRANSFORM_PARAMETER(0),
    AS_STORED_PARAMETER,
};

static const FilterParameter PASS_PARAMETERS[] = {
    CUTOFF_PARAMETER,
    {"shape", PARAMETER_CHOICE, 0, 2, 2, "How the filter begins.", SHAPES, std::size(SHAPES)},
    TRANSFORM_PARAMETER(0),
    AS_STORED_PARAMETER,
};

static const FilterParameter EMPHASIS_PARAMETERS[] = {
    CUTOFF_PARAMETER,
    {"gain", PARAMETER_REAL, 1, 2, 1.5, "1 leaves the high frequencies alone, 2 takes all equally.",
     nullptr, 0},
    TRANSFORM_PARAMETER(0),
    AS_STORED_PARAMETER,
};

static const FilterParameter HOMOMORPHIC_PARAMETERS[] = {
    {"cutoff", PARAMETER_INTEGER, 0, 65535, 8,
     "The distance from frequency 0 where the ramp has its middle.", nullptr, 0},
    {"width", PARAMETER_INTEGER, 0, 65535, 16, "The width of the ramp.", nullptr, 0},
    {"high", PARAMETER_REAL, 0, 1000, 1.0, "The factor of high frequencies: the detail.", nullptr,
     0},
    {"low", PARAMETER_REAL, 0, 1000, 0.3, "The factor of low frequencies: the light.", nullptr, 0},
    TRANSFORM_PARAMETER(0),
    AS_STORED_PARAMETER,
};

#define SCALE_PARAMETER                                                                            \
    {                                                                                              \
        "scale", PARAMETER_INTEGER, -LARGEST_NUMBER, LARGEST_NUMBER, 0,                            \
            "What the result is multiplied by; 0: so that the mean is kept.", nullptr, 0           \
    }

static const FilterParameter INVERSE_PARAMETERS[] = {
    TRANSFORM_PARAMETER(1),
    SCALE_PARAMETER,
    AS_STORED_PARAMETER,
};

static const FilterParameter WIENER_PARAMETERS[] = {
    {"noise", PARAMETER_REAL, 0, 1e300, 1000,
     "Added to the squared spectrum of the blur: the more, the smoother.", nullptr, 0},
    TRANSFORM_PARAMETER(1),
    SCALE_PARAMETER,
    AS_STORED_PARAMETER,
};

// ---- levels ----------------------------------------------------------------------------------

struct Rows {
    BYTE *pBytes;
    size_t stride, nUsed;
    int bits, width, height;
};

static Rows RowsOf(void *pBlock)
{
    BITMAPINFOHEADER header;
    memcpy(&header, pBlock, sizeof header);
    const size_t bits = header.biBitCount;
    const size_t colors = header.biClrUsed ? header.biClrUsed : bits <= 8 ? size_t(1) << bits : 0;
    const size_t stride = (size_t(header.biWidth) * bits + 31) / 32 * 4;
    BYTE *pBytes = static_cast<BYTE *>(pBlock) + sizeof header + colors * sizeof(RGBQUAD);
    return {pBytes,
            stride,
            size_t(header.biWidth) * bits / 8,
            int(bits),
            int(header.biWidth),
            int(header.biHeight)};
}

enum LevelChange { SHIFTED, HALVED };

static void ChangeLevels(HGLOBAL hDib, LevelChange change)
{
    void *pBlock = hDib ? GlobalLock(hDib) : nullptr;
    if (!pBlock) {
        return;
    }
    const Rows rows = RowsOf(pBlock);
    for (int r = 0; rows.bits >= 8 && r < rows.height; r++) {
        BYTE *row = rows.pBytes + size_t(r) * rows.stride;
        for (size_t i = 0; i < rows.nUsed; i++) {
            row[i] = BYTE(change == SHIFTED ? row[i] ^ 128 : row[i] / 2);
        }
        memset(row + rows.nUsed, 0, rows.stride - rows.nUsed);  // is read as well
    }
    GlobalUnlock(hDib);
}

static size_t SquareSide(const Rows &rows)
{
    size_t side = 2;
    while (side < size_t(rows.width) || side < size_t(rows.height)) {
        side *= 2;
    }
    return side;
}

// Where the n-th of side places comes from, of which size are the picture's: beyond it the far half
// mirrors its beginning, as the transforms go round.
static size_t Mirrored(size_t n, size_t size, size_t side)
{
    const size_t past = n - size;
    const size_t from = n < size ? n : past < (side - size) / 2 ? size - 1 - past : side - 1 - n;
    return from < size ? from : size - 1;  // also where it has wrapped
}

// The pixels of a picture of 8 or 24 bits as one of other sides.
static HGLOBAL Resized(HGLOBAL hDib, size_t width, size_t height)
{
    void *pBlock = GlobalLock(hDib);
    const Rows from = RowsOf(pBlock);
    const size_t pixel = size_t(from.bits) / 8;
    const size_t stride = (width * pixel + 3) / 4 * 4;
    const size_t head = size_t(from.pBytes - static_cast<BYTE *>(pBlock));
    const HGLOBAL hResult = GlobalAlloc(GHND, head + stride * height);
    BYTE *result = hResult ? static_cast<BYTE *>(GlobalLock(hResult)) : nullptr;
    for (size_t y = 0; result && y < height; y++) {
        const BYTE *row = from.pBytes + Mirrored(y, size_t(from.height), height) * from.stride;
        for (size_t x = 0; x < width; x++) {
            memcpy(result + head + y * stride + x * pixel,
                   row + Mirrored(x, size_t(from.width), width) * pixel, pixel);
        }
    }
    if (result) {
        BITMAPINFOHEADER header;
        memcpy(result, pBlock, head);
        memcpy(&header, pBlock, sizeof header);
        header.biWidth = LONG(width);
        header.biHeight = LONG(height);
        header.biSizeImage = 0;
        memcpy(result, &header, sizeof header);
        GlobalUnlock(hResult);
    }
    GlobalUnlock(hDib);
    return hResult;
}

static HGLOBAL CopyOf(HGLOBAL hDib)
{
    const SIZE_T size = GlobalSize(hDib);
    const HGLOBAL hCopy = GlobalAlloc(GMEM_MOVEABLE, size);
    if (hCopy) {
        memcpy(GlobalLock(hCopy), GlobalLock(hDib), size);
        GlobalUnlock(hDib);
        GlobalUnlock(hCopy);
    }
    return hCopy;
}

// What a level of 1 everywhere becomes by the blur, in its first channel.
static int SumOfBlur(HGLOBAL hPsf)
{
    long long sum = 0;
    const Rows rows = RowsOf(GlobalLock(hPsf));
    for (int r = 0; r < rows.height; r++) {
        const BYTE *row = rows.pBytes + size_t(r) * rows.stride;
        for (size_t i = 0; i < rows.nUsed; i += rows.bits == 24 ? 3 : 1) {
            sum +=
                rows.bits == 4 ? (row[i] >> 4) + (row[i] & 15) : static_cast<signed char>(row[i]);
        }
    }
    GlobalUnlock(hPsf);
    return sum > LARGEST_NUMBER ? LARGEST_NUMBER : int(sum);
}

// ---- calls -----------------------------------------------------------------------------------

// An export, with its parameters, for a picture as it wants it.
typedef HGLOBAL (*Export)(const CatalogueCall *call, HGLOBAL hDib);

// The exact transform's spectra of both pictures are raised by 100000, what is restored is not
// lowered by the number of pixels.
static int MeanKeepingScale(const CatalogueCall *call, int nTransformKind)
{
    if (nTransformKind != 0) {
        return SumOfBlur(call->pImages[1]);
    }
    long long side = 2;
    for (int i = 0; i < 2; i++) {
        const Rows rows = RowsOf(GlobalLock(call->pImages[i]));
        while (side < rows.width || side < rows.height) {
            side *= 2;
        }
        GlobalUnlock(call->pImages[i]);
    }
    return int(SumOfBlur(call->pImages[1]) * 1e5 / double(side * side) + 0.5);
}

// What is restored overshoots. With half the scale there is room for it; the rest is made up for
// when the levels are shifted back.
static int ScaleOf(const CatalogueCall *call, int nKind)
{
    const ParameterValue *p = call->pValues + nKind;
    if (p[1].nValue != 0) {
        return p[1].nValue;
    }
    const int nWhole = MeanKeepingScale(call, p[0].nValue);
    return p[2].nValue || nWhole < 2 ? nWhole : nWhole / 2;
}

static double HeadroomOf(const CatalogueCall *call, int nKind)
{
    const ParameterValue *p = call->pValues + nKind;
    const int nScale = ScaleOf(call, nKind);
    return p[1].nValue != 0 || nScale == 0 ? 1.0
                                           : double(MeanKeepingScale(call, p[0].nValue)) / nScale;
}

static void RestoreLevels(HGLOBAL hDib, double gain)
{
    void *pBlock = hDib ? GlobalLock(hDib) : nullptr;
    if (!pBlock) {
        return;
    }
    const Rows rows = RowsOf(pBlock);
    for (int r = 0; rows.bits >= 8 && r < rows.height; r++) {
        BYTE *row = rows.pBytes + size_t(r) * rows.stride;
        for (size_t i = 0; i < rows.nUsed; i++) {
            const double level = static_cast<signed char>(row[i]) * gain + 128.5;
            row[i] = BYTE(level < 0 ? 0 : level > 255 ? 255 : level);
        }
    }
    GlobalUnlock(hDib);
}

// What a call does besides. nAsStored: the parameter that says not to.
struct LevelWork {
    int nAsStored;
    LevelChange change;
    bool bBack;    // the result is levels shifted, too
    bool bExtend;  // the result has the picture's sides
    int nKind;     // of restorations: the transform's parameter, before the scale; else -1
};

static HGLOBAL CutBack(HGLOBAL hResult, const Rows &rows)
{
    const HGLOBAL hCut =
        hResult ? Resized(hResult, size_t(rows.width), size_t(rows.height)) : nullptr;
    if (hResult) {
        GlobalFree(hResult);
    }
    return hCut;
}

static HGLOBAL CallWithLevels(const CatalogueCall *call, Export Run, const LevelWork &work)
{
    const HGLOBAL hDib = call->pImages[0];
    if (call->pValues[work.nAsStored].nValue) {
        return Run(call, hDib);
    }
    const Rows rows = RowsOf(GlobalLock(hDib));
    GlobalUnlock(hDib);
    const size_t side = SquareSide(rows);
    const bool bExtend = work.bExtend && (rows.bits == 8 || rows.bits == 24) && side <= 8192;
    const HGLOBAL hChanged = bExtend ? Resized(hDib, side, side) : CopyOf(hDib);
    ChangeLevels(hChanged, work.change);
    HGLOBAL hResult = hChanged ? Run(call, hChanged) : nullptr;
    if (bExtend) {
        hResult = CutBack(hResult, rows);
    }
    if (work.bBack) {
        RestoreLevels(hResult, work.nKind >= 0 ? HeadroomOf(call, work.nKind) : 1.0);
    }
    if (hChanged) {
        GlobalFree(hChanged);
    }
    return hResult;
}

static int WantsDialog(const CatalogueCall *call)
{
    return call->mode == MODE_DIALOG || call->mode == (MODE_DIALOG | MODE_PROGRESS);
}

static HGLOBAL Spectrum(const CatalogueCall *call, HGLOBAL hDib)
{
    return FreqDIBFFT(hDib, call->pValues[0].nValue);
}

static HGLOBAL Lowpass(const CatalogueCall *call, HGLOBAL hDib)
{
    const ParameterValue *p = call->pValues;
    return FreqDIBLowpass(hDib, p[0].nValue, p[1].nValue, p[2].nValue, WantsDialog(call));
}

static HGLOBAL Highpass(const CatalogueCall *call, HGLOBAL hDib)
{
    const ParameterValue *p = call->pValues;
    return FreqDIBHighpass(hDib, p[0].nValue, p[1].nValue, p[2].nValue, WantsDialog(call));
}

static HGLOBAL Emphasis(const CatalogueCall *call, HGLOBAL hDib)
{
    const ParameterValue *p = call->pValues;
    return FreqDIBEnhance(hDib, p[0].nValue, float(p[1].dValue), p[2].nValue, WantsDialog(call));
}

static HGLOBAL Homomorphic(const CatalogueCall *call, HGLOBAL hDib)
{
    const ParameterValue *p = call->pValues;
    return FreqDIBHomomorphic(hDib, p[0].nValue, p[1].nValue, float(p[2].dValue),
                              float(p[3].dValue), p[4].nValue, WantsDialog(call));
}

static HGLOBAL Inverse(const CatalogueCall *call, HGLOBAL hDib)
{
    const ParameterValue *p = call->pValues;
    return FreqDIBInverse(hDib, call->pImages[1], p[0].nValue, ScaleOf(call, 0));
}

static HGLOBAL Wiener(const CatalogueCall *call, HGLOBAL hDib)
{
    const ParameterValue *p = call->pValues;
    return FreqDIBWiener(hDib, call->pImages[1], p[0].dValue, p[1].nValue, ScaleOf(call, 1));
}

template <Export RUN, int AS_STORED> static HGLOBAL CallShifted(const CatalogueCall *call)
{
    return CallWithLevels(call, RUN, {AS_STORED, SHIFTED, true, true, -1});
}

// The flag stands behind the transform and the scale.
template <Export RUN, int KIND> static HGLOBAL CallRestoration(const CatalogueCall *call)
{
    return CallWithLevels(call, RUN, {KIND + 2, SHIFTED, true, true, KIND});
}

static HGLOBAL CallSpectrum(const CatalogueCall *call)
{
    return CallWithLevels(call, Spectrum, {1, SHIFTED, false, false, -1});
}

static HGLOBAL CallHomomorphic(const CatalogueCall *call)
{
    return CallWithLevels(call, Homomorphic, {5, HALVED, false, true, -1});
}

// ---- the table -------------------------------------------------------------------------------

static const unsigned DEPTHS = DEPTH_4 | DEPTH_8 | DEPTH_24;
static const char PASS_ARGUMENTS[] =
    "HGLOBAL hDib, int nCutoff, int nFilterType, int nTransformKind, int bShowDialog";
static const char LEVEL_DETAILS[] = "What leaves the range wraps around.";
static const char MIDDLE_DETAILS[] =
    "The mean becomes the middle gray. What leaves the range wraps around.";
static const char BLUR_DETAILS[] =
    "The second picture, of the same depth, is what the blur makes of a point in the bottom left "
    "corner; its values up to 127 count. The result may be shifted by as much as its middle is "
    "off. With a scale of your own, what leaves the range wraps around.";

// The planes of larger ones fit no 32-bit process.
static const PictureLimits SIDE_LIMITS = {8192, 8192, 0, false, false};
static const PictureLimits PAIR_LIMITS = {8192, 8192, 0, true, false};

static const CatalogueFilter FILTERS[] = {
    {"spectrum", "FreqDIBFFT", "HGLOBAL hDib, int nTransformKind", nullptr,
     "shows the logarithm of the Fourier spectrum",
     "The result is a square with a power of 2 for its side; frequency 0 lies in the middle.", 1,
     DEPTHS, SPECTRUM_PARAMETERS, std::size(SPECTRUM_PARAMETERS), CallSpectrum, nullptr,
     SIDE_LIMITS, true, "fft", true},
    {"lowpass", "FreqDIBLowpass", PASS_ARGUMENTS, "FFTPASSUI", "keeps the low frequencies",
     LEVEL_DETAILS, 1, DEPTHS, PASS_PARAMETERS, std::size(PASS_PARAMETERS), CallShifted<Lowpass, 3>,
     nullptr, SIDE_LIMITS, true},
    {"highpass", "FreqDIBHighpass", PASS_ARGUMENTS, "FFTPASSUI", "keeps the high frequencies",
     MIDDLE_DETAILS, 1, DEPTHS, PASS_PARAMETERS, std::size(PASS_PARAMETERS),
     CallShifted<Highpass, 3>, nullptr, SIDE_LIMITS, true},
    {"emphasize", "FreqDIBEnhance",
     "HGLOBAL hDib, int nCutoff, float gain, int nTransformKind, int bShowDialog", "FFTENHANCEUI",
     "weakens the low frequencies", MIDDLE_DETAILS, 1, DEPTHS, EMPHASIS_PARAMETERS,
     std::size(EMPHASIS_PARAMETERS), CallShifted<Emphasis, 3>, nullptr, SIDE_LIMITS, true},
    {"homomorphic", "FreqDIBHomomorphic",
     "HGLOBAL hDib, int nCutoff, int nBandWidth, float gammaHigh, float gammaLow, int "
     "nTransformKind, int bShowDialog",
     "FFTHOMOMORPHICUI", "evens out the light",
     "Weakens the low frequencies of the logarithm and spreads the result over all levels, each "
     "channel by itself.",
     1, DEPTHS, HOMOMORPHIC_PARAMETERS, std::size(HOMOMORPHIC_PARAMETERS), CallHomomorphic, nullptr,
     SIDE_LIMITS, true},
    {"inverse", "FreqDIBInverse", "HGLOBAL hDegraded, HGLOBAL hPsf, int nTransformKind, int nScale",
     nullptr, "undoes a blur, noise or not", BLUR_DETAILS, 2, DEPTHS, INVERSE_PARAMETERS,
     std::size(INVERSE_PARAMETERS), CallRestoration<Inverse, 0>, nullptr, PAIR_LIMITS, true},
    {"wiener", "FreqDIBWiener",
     "HGLOBAL hDegraded, HGLOBAL hPsf, double noiseK, int nTransformKind, int nScale", nullptr,
     "undoes a blur and spares the noise", BLUR_DETAILS, 2, DEPTHS, WIENER_PARAMETERS,
     std::size(WIENER_PARAMETERS), CallRestoration<Wiener, 1>, nullptr, PAIR_LIMITS, true},
};

const CatalogueFamily FREQUENCY_FAMILY = {"frequency", "Frequency domain", FILTERS,
                                          std::size(FILTERS)};
