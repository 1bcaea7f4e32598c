// Every row of the catalogue against the export that it names: the same bytes as a direct call with
// the same values, the depths that the export takes, the dialog entry that it asks for.

#include "hosts/catalogue/catalogue.h"
#include "hosts/catalogue/chart.h"

#include "platform/posix/testing.h"

#include <gtest/gtest.h>

#include <stdlib.h>
#include <string.h>

#include <random>
#include <string>
#include <vector>

typedef std::vector<BYTE> Bytes;

// No two values of a call are alike, so that none can stand in another's place.
struct DirectCall {
    const char *pExport;
    double values[6];
    HGLOBAL (*Make)(const HGLOBAL *images, const int *n, const ParameterValue *v, UINT mode);
};

// Weights without symmetry, the row over the pixel and the column not the same.
static const char MASK[] = "1,2,0;3,4,5;0,7,9;2,1,1@2,1";

static const RECT RECTANGLE = {2, 3, 17, 11};

static const char ELEMENT[] = "1,1,0;0,0,1;1,0,0;0,1,1@2,1";

static FilterMask StraightMask(const MaskValue &value, std::vector<BYTE *> *columns)
{
    for (int x = 0; x < value.columns; x++) {
        columns->push_back(const_cast<BYTE *>(&value.elements[size_t(x) * size_t(value.rows)]));
    }
    return {columns->data(), value.rows, value.columns, value.originColumn, value.originRow};
}

// The weighted filters read the two origin fields the other way round.
static FilterMask CrossedMask(const MaskValue &value, std::vector<BYTE *> *columns)
{
    const FilterMask mask = StraightMask(value, columns);
    return {mask.elements, mask.rows, mask.columns, mask.originRow, mask.originColumn};
}

#define CALL [](const HGLOBAL *h, const int *n, const ParameterValue *v, UINT mode) -> HGLOBAL
// clang-format off
static const DirectCall CALLS[] = {
    {"FilterLaplace", {11}, CALL { (void)v; return FilterLaplace(h[0], n[0], mode, NULL); }},
    {"FilterGradient", {53}, CALL { (void)v; return FilterGradient(h[0], n[0], mode, NULL); }},
    {"FilterEnhance", {}, CALL { (void)v, (void)n; return FilterEnhance(h[0], mode, NULL); }},
    {"FilterUniform", {}, CALL { (void)v, (void)n; return FilterUniform(h[0], mode, NULL); }},
    {"FilterGauss", {}, CALL { (void)v, (void)n; return FilterGauss(h[0], mode, NULL); }},
    {"FilterMinimum", {5}, CALL { (void)v; return FilterMinimum(h[0], n[0], mode, NULL); }},
    {"FilterMaximum", {5}, CALL { (void)v; return FilterMaximum(h[0], n[0], mode, NULL); }},
    {"FilterMedian", {5}, CALL { (void)v; return FilterMedian(h[0], n[0], mode, NULL); }},
    {"FilterMidpoint", {5}, CALL { (void)v; return FilterMidpoint(h[0], n[0], mode, NULL); }},
    {"FilterRange", {5}, CALL { (void)v; return FilterRange(h[0], n[0], mode, NULL); }},
    {"FilterAlphaTrimmedMean", {5, 3}, CALL { (void)v; return FilterAlphaTrimmedMean(h[0], n[0], n[1], mode, NULL); }},
    {"FilterWeightedMedian", {}, CALL { (void)n; std::vector<BYTE *> columns; const FilterMask mask = CrossedMask(v[0].mask, &columns); return FilterWeightedMedian(h[0], &mask, mode, NULL); }},
    {"FilterGeometricMean", {4}, CALL { (void)v; return FilterGeometricMean(h[0], n[0], mode, NULL); }},
    {"FilterHarmonicMean", {4}, CALL { (void)v; return FilterHarmonicMean(h[0], n[0], mode, NULL); }},
    {"FilterContraHarmonicMean", {4, 2}, CALL { (void)v; return FilterContraHarmonicMean(h[0], n[0], n[1], mode, NULL); }},
    {"FilterYpMean", {4, 2}, CALL { (void)v; return FilterYpMean(h[0], n[0], n[1], mode, NULL); }},
    {"FilterWeightedMean", {}, CALL { (void)n; std::vector<BYTE *> columns; const FilterMask mask = CrossedMask(v[0].mask, &columns); return FilterWeightedMean(h[0], &mask, mode, NULL); }},
    {"FilterAdaptiveDWMTM", {3, 5, 40}, CALL { (void)v; return FilterAdaptiveDWMTM(h[0], n[0], n[1], n[2], mode, NULL); }},
    {"FilterAdaptiveMMSE", {4, 900}, CALL { (void)v; return FilterAdaptiveMMSE(h[0], n[0], n[1], mode, NULL); }},
    {"ArithmeticDIB", {8}, CALL { (void)v; return ArithmeticDIB(n[0], h[0], h[1], mode, NULL); }},
    {"ArithmeticDIBConst", {8, 77}, CALL { (void)v; return ArithmeticDIBConst(n[0], h[0], n[1], mode, NULL); }},
    {"ApplyLUT", {30, 60}, NULL},  // made of three exports
    {"ConvertMonoDibToGrayScale", {2}, NULL},  // of other depths, too
    {"Convert8bitto24", {}, NULL},             // the same
    {"FilterAutoContrast", {}, CALL { (void)v, (void)n; return FilterAutoContrast(h[0], mode, NULL); }},
    {"FilterParabolaTransformation", {1}, CALL { (void)v; return FilterParabolaTransformation(h[0], (UINT)n[0], mode, NULL); }},
    {"FilterSolarizing", {99}, CALL { (void)v; return FilterSolarizing(h[0], n[0], mode, NULL); }},
    {"FilterPosterizing", {7}, CALL { (void)v; return FilterPosterizing(h[0], n[0], mode, NULL); }},
    {"FilterLevels", {20, 120, 60, 30, 220, 2}, CALL { (void)v; return FilterLevels(h[0], n[0], n[1], n[2], n[3], n[4], n[5], mode, NULL); }},
    {"FilterAutoLevels", {17}, CALL { (void)v; return FilterAutoLevels(h[0], n[0], mode, NULL); }},
    {"FilterDifference", {2}, CALL { (void)v; return FilterDifference(h[0], (UINT)n[0], mode, NULL); }},
    {"BinaryDilation", {0, 1}, CALL { std::vector<BYTE *> c; const FilterMask m = StraightMask(v[0].mask, &c); return BinaryDilation(h[0], &m, n[1], mode, NULL); }},
    {"BinaryErosion", {0, 1}, CALL { std::vector<BYTE *> c; const FilterMask m = StraightMask(v[0].mask, &c); return BinaryErosion(h[0], &m, n[1], mode, NULL); }},
    {"BinaryOpening", {0, 1}, CALL { std::vector<BYTE *> c; const FilterMask m = StraightMask(v[0].mask, &c); return BinaryOpening(h[0], &m, n[1], mode, NULL); }},
    {"BinaryClosing", {0, 1}, CALL { std::vector<BYTE *> c; const FilterMask m = StraightMask(v[0].mask, &c); return BinaryClosing(h[0], &m, n[1], mode, NULL); }},
    {"BinaryHitMiss", {0, 0, 1}, CALL { std::vector<BYTE *> c, d; const FilterMask m = StraightMask(v[0].mask, &c), miss = StraightMask(v[1].mask, &d); return BinaryHitMiss(h[0], &m, &miss, n[2], mode, NULL); }},
    {"BinaryOutlining", {0, 1, 0}, CALL { std::vector<BYTE *> c; const FilterMask m = StraightMask(v[0].mask, &c); return BinaryOutlining(h[0], &m, n[1], n[2], mode, NULL); }},
    {"BinaryThinning", {1}, CALL { (void)v; return BinaryThinning(h[0], n[0], mode, NULL); }},
    {"BinaryThickening", {1}, CALL { (void)v; return BinaryThickening(h[0], n[0], mode, NULL); }},
    {"BinarySkeleton", {2, 1}, CALL { (void)v; return BinarySkeleton(h[0], n[0], n[1], mode, NULL); }},
    {"GrayScaleDilation", {}, CALL { (void)n; std::vector<BYTE *> c; const FilterMask m = StraightMask(v[0].mask, &c); return GrayScaleDilation(h[0], &m, mode, NULL); }},
    {"GrayScaleErosion", {}, CALL { (void)n; std::vector<BYTE *> c; const FilterMask m = StraightMask(v[0].mask, &c); return GrayScaleErosion(h[0], &m, mode, NULL); }},
    {"GrayScaleOpening", {}, CALL { (void)n; std::vector<BYTE *> c; const FilterMask m = StraightMask(v[0].mask, &c); return GrayScaleOpening(h[0], &m, mode, NULL); }},
    {"GrayScaleClosing", {}, CALL { (void)n; std::vector<BYTE *> c; const FilterMask m = StraightMask(v[0].mask, &c); return GrayScaleClosing(h[0], &m, mode, NULL); }},
    {"GrayScaleTopHat", {}, CALL { (void)n; std::vector<BYTE *> c; const FilterMask m = StraightMask(v[0].mask, &c); return GrayScaleTopHat(h[0], &m, mode, NULL); }},
    {"HistDIBSlide", {20, 90, 11}, CALL { (void)v; return HistDIBSlide(h[0], (UINT)n[0], (UINT)n[1], n[2], mode, NULL); }},
    {"HistDIBStretch", {20, 90, 1.75}, CALL { return HistDIBStretch(h[0], (UINT)n[0], (UINT)n[1], (float)v[2].dValue, mode, NULL); }},
    {"HistDIBThreshold", {123}, CALL { (void)v; return HistDIBThreshold(h[0], (UINT)n[0], mode, NULL); }},
    {"HistDIBComplement", {}, CALL { (void)v, (void)n; return HistDIBComplement(h[0], mode, NULL); }},
    {"HistDIBModify", {}, CALL { (void)v, (void)n; return HistDIBModify(h[0], mode, NULL); }},
    {"FilterMotionBlur", {35, 6}, CALL { (void)v; return FilterMotionBlur(h[0], n[0], n[1], mode, NULL); }},
    {"FilterCenterMotionBlur", {11, 5}, CALL { (void)v; return FilterCenterMotionBlur(h[0], n[0], n[1], mode, NULL); }},
    {"FilterMozaic", {5}, CALL { (void)v; return FilterMozaic(h[0], n[0], mode, NULL); }},
    {"FilterMultiply", {14}, CALL { (void)v; return FilterMultiply(h[0], n[0], mode, NULL); }},
    {"FilterAddNoise", {33, 4}, CALL { (void)v; TestPinClock(0, (unsigned)n[1]); return FilterAddNoise(h[0], n[0], mode, NULL); }},
    {"FilterAverage", {6}, CALL { (void)v; return FilterAverage(h[0], n[0], mode, NULL); }},
    {"FilterImpressionist", {4, 3, 5}, CALL { (void)v; TestPinClock(0, (unsigned)n[2]); return FilterImpressionist(h[0], n[0], n[1], mode, NULL); }},
    {"FilterPolar", {}, CALL { (void)v, (void)n; return FilterPolar(h[0], mode, NULL); }},
    {"FilterCylinder", {8, 1}, CALL { (void)v; return FilterCylinder(h[0], n[0], n[1], mode, NULL); }},
    {"FilterPuzzle", {3, 4, 6, 1}, CALL { (void)v; TestPinClock(0, (unsigned)n[2]); return FilterPuzzle(h[0], n[0], n[1], mode, NULL); }},
    {"RedEyeRemover", {0, 40, 50}, CALL { (void)v; RECT rect = RECTANGLE; const BYTE limits[] = {(BYTE)n[1], (BYTE)n[2]}; return RedEyeRemover(h[0], &rect, mode, NULL, limits); }},
    {"FreqDIBFFT", {1, 1}, CALL { (void)v, (void)mode; return FreqDIBFFT(h[0], n[0]); }},
    {"FreqDIBLowpass", {5, 2, 0, 1}, CALL { (void)v; return FreqDIBLowpass(h[0], n[0], n[1], n[2], mode & MODE_DIALOG); }},
    {"FreqDIBHighpass", {6, 2, 0, 1}, CALL { (void)v; return FreqDIBHighpass(h[0], n[0], n[1], n[2], mode & MODE_DIALOG); }},
    {"FreqDIBEnhance", {7, 1.75, 0, 1}, CALL { return FreqDIBEnhance(h[0], n[0], (float)v[1].dValue, n[2], mode & MODE_DIALOG); }},
    {"FreqDIBHomomorphic", {6, 3, 1.75, 0.5, 0, 1}, CALL { return FreqDIBHomomorphic(h[0], n[0], n[1], (float)v[2].dValue, (float)v[3].dValue, n[4], mode & MODE_DIALOG); }},
    {"FreqDIBInverse", {0, 700, 1}, CALL { (void)v, (void)mode; return FreqDIBInverse(h[0], h[1], n[0], n[1]); }},
    {"FreqDIBWiener", {2.5, 0, 700, 1}, CALL { (void)mode; return FreqDIBWiener(h[0], h[1], v[0].dValue, n[1], n[2]); }},
    {"HistDispToDC", {2, 300, 90}, NULL},  // in a context of its own
    {"HistDIBEqualization", {}, CALL { (void)v, (void)n; return HistDIBEqualization(h[0], mode, NULL); }},
};
// clang-format on
#undef CALL

static HGLOBAL RandomPicture(int bitCount, unsigned seed)
{
    enum { WIDTH = 21, HEIGHT = 17 };
    const size_t nColours = bitCount <= 8 ? size_t(1) << bitCount : 0;
    const size_t stride = size_t(WIDTH * bitCount + 31) / 32 * 4;
    const size_t nPrefix = sizeof(BITMAPINFOHEADER) + nColours * 4;
    const HGLOBAL hDib = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, nPrefix + stride * HEIGHT);
    BYTE *block = static_cast<BYTE *>(GlobalLock(hDib));
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof header;
    header.biWidth = WIDTH;
    header.biHeight = HEIGHT;
    header.biPlanes = 1;
    header.biBitCount = WORD(bitCount);
    memcpy(block, &header, sizeof header);
    for (size_t i = 0; i < nColours; i++) {
        memset(block + sizeof header + i * 4, int(i * 255 / (nColours - 1)), 3);
    }
    std::mt19937 random(seed);
    for (size_t i = 0; i < stride * HEIGHT; i++) {
        block[nPrefix + i] = BYTE(random() % 131 + i % 120);
    }
    GlobalUnlock(hDib);
    return hDib;
}

// Frees it; empty for null.
static Bytes Take(HGLOBAL hDib)
{
    Bytes bytes;
    if (hDib != NULL) {
        const BYTE *block = static_cast<const BYTE *>(GlobalLock(hDib));
        bytes.assign(block, block + GlobalSize(hDib));
        GlobalUnlock(hDib);
        GlobalFree(hDib);
    }
    return bytes;
}

static INT_PTR WINAPI CancelDialog(void)
{
    return 0;
}

struct CatalogueRow : testing::TestWithParam<const CatalogueFilter *> {
    void TearDown() override
    {
        TestReset();
    }
};

static const DirectCall *FindCall(const char *name)
{
    for (const DirectCall &call : CALLS) {
        if (strcmp(call.pExport, name) == 0) {
            return &call;
        }
    }
    return NULL;
}

static std::vector<ParameterValue> ValuesOf(const CatalogueFilter *row, const DirectCall *call,
                                            int *numbers)
{
    std::vector<ParameterValue> values(row->nParameters);
    for (size_t i = 0; i < row->nParameters; i++) {
        const FilterParameter *parameter = &row->pParameters[i];
        if (parameter->nType == PARAMETER_MASK) {
            const bool bWeights = parameter->dGreatest > 1;
            EXPECT_TRUE(ParseMask(parameter, bWeights ? MASK : ELEMENT, &values[i].mask));
            continue;
        }
        values[i].rect = RECTANGLE;
        numbers[i] = values[i].nValue = int(call->values[i]);
        values[i].dValue = call->values[i];
    }
    return values;
}

TEST_P(CatalogueRow, IsTheExportThatItNames)
{
    const CatalogueFilter *row = GetParam();
    const DirectCall *call = FindCall(row->pExport);
    ASSERT_TRUE(call != NULL) << "a new export needs its row in CALLS";
    int numbers[FILTER_PARAMETERS_MOST] = {};
    const std::vector<ParameterValue> values = ValuesOf(row, call, numbers);
    for (int bits : {1, 4, 8, 24}) {
        const HGLOBAL images[] = {RandomPicture(bits, 1), RandomPicture(bits, 2)};
        const CatalogueCall silent = {images, values.data(), 0, NULL};
        const Bytes result = Take(row->Run(&silent));
        EXPECT_EQ((row->nDepths & DepthBit(bits)) != 0, !result.empty()) << bits << " bits";
        if (call->Make != NULL) {
            EXPECT_TRUE(result == Take(call->Make(images, numbers, values.data(), 0)))
                << bits << " bits";
        }
        for (const HGLOBAL hImage : images) {
            GlobalFree(hImage);
        }
    }
}

// A library that knows the row's entry alone, and cancels: any other would be missing (-1).
TEST_P(CatalogueRow, NamesTheEntryThatTheExportAsksFor)
{
    const CatalogueFilter *row = GetParam();
    const DirectCall *call = FindCall(row->pExport);
    ASSERT_TRUE(call != NULL);
    int numbers[FILTER_PARAMETERS_MOST] = {};
    const std::vector<ParameterValue> values = ValuesOf(row, call, numbers);
    const TestEntry entry = {row->pDialogEntry != NULL ? row->pDialogEntry : "none", CancelDialog};
    TestSetDialogLibrary(&entry, 1);
    FilterGauss(NULL, 0, NULL);  // arithmetic keeps an earlier call's code
    const HGLOBAL images[] = {RandomPicture(8, 1), RandomPicture(8, 2)};
    const CatalogueCall asked = {images, values.data(), MODE_DIALOG, NULL};
    const Bytes result = Take(row->Run(&asked));
    EXPECT_EQ(row->pDialogEntry == NULL, !result.empty());
    EXPECT_NE(-1, GetLastFilterError());
    for (const HGLOBAL hImage : images) {
        GlobalFree(hImage);
    }
}

static ParameterValue NumberOf(double value)
{
    ParameterValue number;
    number.nValue = int(value);
    number.dValue = value;
    return number;
}

// The most that a byte of the result differs from the source's, padding left out.
static int MostChanged(const char *name, HGLOBAL hDib, HGLOBAL hSecond, std::vector<double> numbers)
{
    enum { WIDTH = 21, HEIGHT = 17 };
    std::vector<ParameterValue> values;
    for (double number : numbers) {
        values.push_back(NumberOf(number));
    }
    const HGLOBAL images[] = {hDib, hSecond};
    const CatalogueCall call = {images, values.data(), 0, NULL};
    const Bytes result = Take(FindCatalogueFilter(name)->Run(&call));
    const BYTE *source = static_cast<const BYTE *>(GlobalLock(hDib));
    const size_t pixel = source[14] / 8u, stride = (WIDTH * pixel + 3) / 4 * 4;
    const size_t nFirst = pixel == 1 ? 40 + 1024 : 40;
    int most = result.size() < nFirst + stride * HEIGHT ? 999 : 0;
    for (size_t i = 0; most < 999 && i < stride * HEIGHT; i++) {
        const int change = abs(source[nFirst + i] - result[nFirst + i]);
        most = i % stride < WIDTH * pixel && change > most ? change : most;
    }
    GlobalUnlock(hDib);
    return most;
}

// Unless told otherwise, levels are in order, edges meet what they mirror, and a restoration has
// room for what overshoots.
TEST(CatalogueFrequency, PicturesAreHandedOverAsPeopleMeanThem)
{
    for (int bits : {8, 24}) {
        const HGLOBAL hDib = RandomPicture(bits, 3), hPoint = RandomPicture(bits, 4);
        BYTE *point = static_cast<BYTE *>(GlobalLock(hPoint));
        const size_t nFirst = bits == 8 ? 40 + 1024 : 40;
        memset(point + nFirst, 0, GlobalSize(hPoint) - nFirst);
        memset(point + nFirst, 101, 3);
        if (bits == 8) {
            point[nFirst + 1] = point[nFirst + 2] = 0;
        }
        GlobalUnlock(hPoint);
        EXPECT_LE(MostChanged("highpass", hDib, NULL, {0, 1, 0, 0}), 1) << bits;
        EXPECT_LE(MostChanged("inverse", hDib, hPoint, {1, 0, 0}), 3) << bits;
        EXPECT_LE(MostChanged("wiener", hDib, hPoint, {0, 0, 0, 0}), 8) << bits;
        BYTE *pixels = static_cast<BYTE *>(GlobalLock(hDib)) + nFirst;
        memset(pixels, 200, GlobalSize(hDib) - nFirst);
        GlobalUnlock(hDib);
        EXPECT_LE(MostChanged("lowpass", hDib, NULL, {3, 2, 0, 0}), 1) << bits;
        EXPECT_LE(MostChanged("lowpass", hDib, NULL, {3, 1, 1, 0}), 1) << bits;
        GlobalFree(hDib);
        GlobalFree(hPoint);
    }
}

// What varies by a level or two is no noise unless a user says so.
TEST(CatalogueMean, TheDefaultsLeaveAQuietPictureQuiet)
{
    const CatalogueFilter *filter = FindCatalogueFilter("mmse");
    std::vector<double> defaults;
    for (size_t i = 0; i < filter->nParameters; i++) {
        defaults.push_back(filter->pParameters[i].dDefault);
    }
    const HGLOBAL hDib = RandomPicture(8, 3);
    BYTE *pixels = static_cast<BYTE *>(GlobalLock(hDib)) + 40 + 1024;
    std::mt19937 random(1);
    for (size_t i = 0; i < GlobalSize(hDib) - 40 - 1024; i++) {
        pixels[i] = BYTE(120 + random() % 4);
    }
    GlobalUnlock(hDib);
    EXPECT_LE(MostChanged("mmse", hDib, NULL, defaults), 8);
    GlobalFree(hDib);
}

static std::vector<const CatalogueFilter *> AllRows()
{
    std::vector<const CatalogueFilter *> rows;
    size_t count = 0;
    const CatalogueFamily *const *families = CatalogueFamilies(&count);
    for (size_t i = 0; i < count; i++) {
        for (size_t j = 0; j < families[i]->nFilters; j++) {
            rows.push_back(&families[i]->pFilters[j]);
        }
    }
    return rows;
}

INSTANTIATE_TEST_SUITE_P(All, CatalogueRow, testing::ValuesIn(AllRows()),
                         [](const testing::TestParamInfo<const CatalogueFilter *> &row) {
                             return std::string(row.param->pExport);
                         });

// The chart and the counts leave a row's padding out.
TEST(CatalogueHistogram, PaddingDoesNotCount)
{
    for (int bits : {1, 4, 8, 24}) {
        const HGLOBAL hDib = RandomPicture(bits, 3);
        HistogramRecord record;
        ASSERT_TRUE(CountPicture(hDib, &record));
        for (UINT channel = 0; channel < record.nChannels; channel++) {
            UINT sum = 0;
            for (UINT count : record.counts[channel]) {
                sum += count;
            }
            EXPECT_EQ(21u * 17u, sum) << bits << " bits, channel " << channel;
        }
        GlobalFree(hDib);
    }
}
