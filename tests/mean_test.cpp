// The mean and adaptive filters: small pictures by hand, then every filter against the plain
// definition, then what the exports refuse, fail on and show their dialogs.

#include "host.h"
#include "reference/windows.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <limits.h>
#include <math.h>

// ---- calls --------------------------------------------------------------------------------------

enum Mean { GEOMETRIC, HARMONIC, CONTRA, YP, WEIGHTED, DWMTM, MMSE };

// The parameters in the order of the export. Weighted: the mask's weights row by row; none: no
// mask.
struct MeanCall {
    Mean mean;
    int p[3];
    std::vector<BYTE> weights;
    int rows, columns, row, column;
};

static MeanCall Call(Mean mean, int first, int second = 0, int third = 0)
{
    return {mean, {first, second, third}, {}, 0, 0, 0, 0};
}

static MeanCall Masked(int rows, int columns, int row, int column, const std::vector<BYTE> &weights)
{
    return {WEIGHTED, {0, 0, 0}, weights, rows, columns, row, column};
}

static HGLOBAL CallWeightedMean(const MeanCall &call, HGLOBAL hDib, UINT mode, HWND hParent)
{
    std::vector<Bytes> runs((size_t)call.columns, Bytes((size_t)call.rows));
    std::vector<BYTE *> elements;
    if (call.weights.empty()) {
        return FilterWeightedMean(hDib, NULL, mode, hParent);
    }
    for (size_t i = 0; i < runs.size(); i++) {
        for (size_t j = 0; j < runs[i].size(); j++) {
            runs[i][j] = call.weights[j * runs.size() + i];
        }
        elements.push_back(runs[i].data());
    }
    // The origin fields are crossed.
    const FilterMask mask = {elements.data(), call.rows, call.columns, call.row, call.column};
    return FilterWeightedMean(hDib, &mask, mode, hParent);
}

static MeanCall g_call;

static HGLOBAL VEXAFILTER_API MakeCall(HGLOBAL hDib, int, UINT mode, HWND hParent)
{
    const int *p = g_call.p;
    switch (g_call.mean) {
    case GEOMETRIC:
        return FilterGeometricMean(hDib, p[0], mode, hParent);
    case HARMONIC:
        return FilterHarmonicMean(hDib, p[0], mode, hParent);
    case CONTRA:
        return FilterContraHarmonicMean(hDib, p[0], p[1], mode, hParent);
    case YP:
        return FilterYpMean(hDib, p[0], p[1], mode, hParent);
    case WEIGHTED:
        return CallWeightedMean(g_call, hDib, mode, hParent);
    case DWMTM:
        return FilterAdaptiveDWMTM(hDib, p[0], p[1], p[2], mode, hParent);
    case MMSE:
    default:
        return FilterAdaptiveMMSE(hDib, p[0], p[1], mode, hParent);
    }
}

static const FilterExport CALLER = {LAPLACE, "mean", NULL, MakeCall, NULL};

static std::string CheckMean(const MeanCall &call, const Bytes &dib, UINT mode,
                             const Expected &want)
{
    g_call = call;
    const std::string fault = Check(CALLER, dib, call.p[0], mode, NULL, want);
    return fault.empty()
               ? ""
               : "filter " + std::to_string(call.mean) + ", second " + std::to_string(call.p[1]) +
                     ", third " + std::to_string(call.p[2]) + ", " + fault;
}

// ---- the plain definitions ----------------------------------------------------------------------

static int Truncated(double value)
{
    return value >= 255 ? 255 : value > 0 ? (int)value : 0;
}

static int GeometricLevel(const std::vector<int> &samples, const void *)
{
    double product = 1.0;
    for (int s : samples) {
        const float factor = (float)pow(s, 1.0 / (double)samples.size());
        product *= factor;
    }
    return Truncated(product);
}

static int HarmonicLevel(const std::vector<int> &samples, const void *)
{
    double sum = 0;
    for (int s : samples) {
        if (s == 0) {
            return 0;
        }
        sum += 1.0 / s;
    }
    return Truncated((double)samples.size() / sum + 0.5);
}

static bool HasZero(const std::vector<int> &samples)
{
    return std::count(samples.begin(), samples.end(), 0) != 0;
}

static float PowerSum(const std::vector<int> &samples, double power)
{
    float sum = 0;
    for (int s : samples) {
        sum = (float)((double)sum + pow(s, power));
    }
    return sum;
}

static int ContraLevel(const std::vector<int> &samples, const void *p)
{
    const int nOrder = ((const MeanCall *)p)->p[1];
    const double above = PowerSum(samples, (double)nOrder + 1);
    const double below = PowerSum(samples, nOrder);
    return (nOrder < 0 && HasZero(samples)) || below == 0 ? 0 : Truncated(above / below);
}

static int YpLevel(const std::vector<int> &samples, const void *p)
{
    const int nOrder = ((const MeanCall *)p)->p[1];
    const double sum = PowerSum(samples, nOrder);
    if ((nOrder < 0 && HasZero(samples)) || sum == 0) {
        return 0;
    }
    return Truncated(pow(sum / (double)samples.size(), 1.0 / nOrder));
}

static int WeightedLevel(const std::vector<int> &samples, const void *p)
{
    const std::vector<BYTE> &weights = ((const MeanCall *)p)->weights;
    long long sum = 0, total = 0;
    for (size_t i = 0; i < samples.size(); i++) {
        const int weight = weights.empty() ? 1 : weights[i];
        sum += weight * samples[i];
        total += weight;
    }
    return (int)(sum / total);
}

static int TrimmedLevel(const std::vector<int> &samples, const void *p)
{
    const int *sizes = ((const MeanCall *)p)->p;
    const int inset = sizes[1] / 2 - sizes[0] / 2;
    std::vector<int> small;
    for (int k = 0; k < sizes[0]; k++) {
        for (int j = 0; j < sizes[0]; j++) {
            small.push_back(samples[(size_t)((k + inset) * sizes[1] + j + inset)]);
        }
    }
    std::sort(small.begin(), small.end());
    const long long median = small[small.size() / 2];
    long long sum = 0, count = 0;
    for (int s : samples) {
        if (median - sizes[2] <= s && s <= median + sizes[2]) {
            sum += s;
            count++;
        }
    }
    return count == 0 ? 0 : (int)(sum / count);
}

static int MmseLevel(const std::vector<int> &samples, const void *p)
{
    const int *sizes = ((const MeanCall *)p)->p;
    const int own = samples[(size_t)(sizes[0] / 2 * sizes[0] + sizes[0] / 2)];
    long long sum = 0, squares = 0;
    for (int s : samples) {
        sum += s;
        squares += s * s;
    }
    const double count = (double)samples.size();
    const float mean = (float)((double)sum / count);
    const double variance = (double)squares / count - (double)mean * (double)mean;
    const double ratio = sizes[1] / variance;
    return Truncated((variance == 0 ? mean : own * (1.0 - ratio) + ratio * mean) + 0.5);
}

static Expected ExpectMean(const MeanCall &call, const Bytes &dib)
{
    static int (*const LEVELS[])(const std::vector<int> &, const void *) = {
        GeometricLevel, HarmonicLevel, ContraLevel, YpLevel,
        WeightedLevel,  TrimmedLevel,  MmseLevel};
    WindowFilter filter = call.mean == DWMTM      ? SquareWindow(call.p[1])
                          : call.mean != WEIGHTED ? SquareWindow(call.p[0])
                          : call.weights.empty()
                              ? MaskWindow(3, 3, 1, 1)
                              : MaskWindow(call.rows, call.columns, call.row, call.column);
    filter.Level = LEVELS[call.mean];
    filter.pParameters = &call;
    return ExpectWindows(filter, dib);
}

// ---- by hand ------------------------------------------------------------------------------------

struct Literal {
    const char *pName;
    MeanCall call;
    int width, height;
    std::vector<int> source, want;
};

static std::vector<int> Flat(int level, size_t count)
{
    return std::vector<int>(count, level);
}

static std::vector<int> Middle(std::vector<int> levels, int level)
{
    levels[levels.size() / 2] = level;
    return levels;
}

static const std::vector<int> NINE = {0, 1, 2, 3, 4, 5, 6, 7, 8};
static const std::vector<int> FORTY = {1, 2, 4, 4, 5, 20, 1, 2, 1};  // in all

// clang-format off
static const Literal LITERALS[] = {
    {"single precision factors darken white", Call(GEOMETRIC, 3), 3, 3, Flat(255, 9), Middle(Flat(255, 9), 254)},
    {"and 128", Call(GEOMETRIC, 3), 3, 3, Flat(128, 9), Middle(Flat(128, 9), 127)},
    {"but not 100", Call(GEOMETRIC, 3), 3, 3, Flat(100, 9), Flat(100, 9)},
    {"and 3", Call(GEOMETRIC, 3), 3, 3, Flat(3, 9), Middle(Flat(3, 9), 2)},
    {"a zero makes the geometric mean 0", Call(GEOMETRIC, 3), 3, 3,
     {9, 9, 9, 9, 9, 9, 9, 9, 0}, {9, 9, 9, 9, 0, 9, 9, 9, 0}},
    {"an even window reaches up and left", Call(GEOMETRIC, 2), 3, 3,
     {16, 16, 1, 16, 16, 1, 1, 1, 1}, {16, 16, 1, 16, 16, 4, 1, 4, 2}},
    {"the harmonic mean is rounded", Call(HARMONIC, 2), 2, 2, {1, 2, 2, 2}, {1, 2, 2, 2}},
    {"a flat window keeps its level", Call(HARMONIC, 3), 3, 3, Flat(77, 9), Flat(77, 9)},
    {"a zero makes the harmonic mean 0", Call(HARMONIC, 3), 3, 3, Middle(Flat(9, 9), 0), Middle(Flat(9, 9), 0)},
    {"order 0 is the arithmetic mean", Call(CONTRA, 3, 0), 3, 3, NINE, Middle(NINE, 4)},
    {"order 1 leans to the bright", Call(CONTRA, 3, 1), 3, 3, NINE, Middle(NINE, 5)},
    {"order -1 is 0 beside a zero", Call(CONTRA, 3, -1), 3, 3, NINE, Middle(NINE, 0)},
    {"all zeros have no quotient", Call(CONTRA, 3, 2), 3, 3, Flat(0, 9), Flat(0, 9)},
    {"powers that overflow: infinity over infinity", Call(CONTRA, 3, 200), 3, 3, Flat(9, 9), Middle(Flat(9, 9), 0)},
    {"powers that overflow: the upper one alone", Call(CONTRA, 1, 16), 1, 1, {240}, {255}},
    {"order 1 of Yp is the arithmetic mean", Call(YP, 3, 1), 3, 3, NINE, Middle(NINE, 4)},
    {"order 2 is the root of the mean square", Call(YP, 3, 2), 3, 3, NINE, Middle(NINE, 4)},
    {"a negative order of Yp is 0 beside a zero", Call(YP, 3, -2), 3, 3, NINE, Middle(NINE, 0)},
    {"a Yp power that overflows is white", Call(YP, 3, 500), 3, 3, Flat(2, 9), Middle(Flat(2, 9), 255)},
    {"a Yp power that vanishes is black", Call(YP, 3, -500), 3, 3, Flat(9, 9), Middle(Flat(9, 9), 0)},
    {"the default mask leaves the last row and column alone", Call(WEIGHTED, 0), 4, 4,
     {0, 1, 2, 9, 3, 4, 5, 9, 6, 7, 8, 9, 9, 9, 9, 9},
     {0, 1, 2, 9, 3, 4, 5, 9, 6, 7, 8, 9, 9, 9, 9, 9}},
    {"a weighted mean is rounded down", Call(WEIGHTED, 0), 4, 4,
     {1, 2, 4, 9, 4, 5, 20, 9, 1, 2, 1, 9, 9, 9, 9, 9},
     {1, 2, 4, 9, 4, 4, 20, 9, 1, 2, 1, 9, 9, 9, 9, 9}},
    {"the manual's example, geometric", Call(GEOMETRIC, 3), 3, 3, FORTY, Middle(FORTY, 2)},
    {"the manual's example, harmonic", Call(HARMONIC, 3), 3, 3, FORTY, Middle(FORTY, 2)},
    {"the manual's example, contra-harmonic", Call(CONTRA, 3, 1), 3, 3, FORTY, Middle(FORTY, 11)},
    {"the manual's example, Yp", Call(YP, 3, 2), 3, 3, FORTY, Middle(FORTY, 7)},
    {"the manual's example, double window", Call(DWMTM, 1, 3, 2), 3, 3, FORTY, Middle(FORTY, 4)},
    {"the manual's example, mean square error", Call(MMSE, 3, 8), 3, 3, FORTY, Middle(FORTY, 5)},
    {"the mask's origin fields are crossed", Masked(1, 2, 0, 1, {0, 1}), 3, 2,
     {1, 2, 3, 4, 5, 6}, {1, 2, 3, 4, 5, 6}},
    {"a mask shifts the picture", Masked(1, 2, 0, 0, {0, 1}), 4, 2,
     {1, 2, 3, 4, 5, 6, 7, 8}, {2, 3, 3, 4, 5, 6, 7, 8}},
    {"the small window's median chooses", Call(DWMTM, 1, 3, 2), 3, 3,
     {9, 9, 9, 7, 5, 3, 5, 6, 4}, {9, 9, 9, 7, 5, 3, 5, 6, 4}},
    {"of an even window the upper median", Call(DWMTM, 2, 2, 0), 2, 2, {1, 2, 3, 4}, {1, 2, 3, 3}},
    {"a negative trim level leaves nothing", Call(DWMTM, 1, 1, -1), 1, 1, {200}, {0}},
    {"no noise leaves the picture", Call(MMSE, 3, 0), 3, 3, NINE, NINE},
    {"noise as large as the variance gives the mean", Call(MMSE, 2, 1), 2, 2, {4, 6, 4, 6}, {4, 6, 4, 5}},
    {"twice as much mirrors at the mean", Call(MMSE, 2, 2), 2, 2, {4, 6, 4, 6}, {4, 6, 4, 4}},
    {"negative noise sharpens", Call(MMSE, 2, -1), 2, 2, {4, 6, 4, 6}, {4, 6, 4, 7}},
    {"an overshoot is clamped", Call(MMSE, 2, INT_MAX), 2, 2, {4, 6, 4, 6}, {4, 6, 4, 0}},
};
// clang-format on

TEST(Mean, SmallPicturesComeOutAsComputedByHand)
{
    for (const Literal &t : LITERALS) {
        for (int bits : {8, 24}) {
            const Expected want = ExpectBlock(MakeLevels(t.width, t.height, bits, t.want));
            const Bytes source = MakeLevels(t.width, t.height, bits, t.source);
            EXPECT_EQ("", CheckMean(t.call, source, 0, want)) << t.pName << ", " << bits << " bits";
        }
    }
}

// ---- against the plain definitions --------------------------------------------------------------

static std::vector<BYTE> RandomWeights(size_t count, unsigned seed, unsigned limit)
{
    std::vector<BYTE> weights(count);
    for (BYTE &weight : weights) {
        seed = seed * 1664525 + 1013904223;
        weight = (BYTE)((seed >> 16) % limit);
    }
    weights[0] = 1;
    return weights;
}

static std::vector<MeanCall> CallsOfSize(int n)
{
    std::vector<MeanCall> calls = {Call(GEOMETRIC, n), Call(HARMONIC, n)};
    for (int order : {-40, -3, -2, -1, 0, 1, 2, 3, 17, 130, INT_MAX, INT_MIN}) {
        calls.push_back(Call(CONTRA, n, order));
    }
    for (int order : {-130, -20, -3, -2, -1, 1, 2, 3, 4, 15, 129, INT_MAX, INT_MIN}) {
        calls.push_back(Call(YP, n, order));
    }
    for (int noise : {0, 1, 30, 2000, -7, INT_MAX, INT_MIN}) {
        calls.push_back(Call(MMSE, n, noise));
    }
    for (int small : {1, 2, n / 2, n - 1, n}) {
        for (int trim : {0, 3, 40, 255, INT_MAX, -1}) {
            if (small >= 1 && small <= n) {
                calls.push_back(Call(DWMTM, small, n, trim));
            }
        }
    }
    const size_t count = (size_t)n * (size_t)n;
    calls.push_back(Masked(n, n, n / 2, n / 2, std::vector<BYTE>(count, 7)));
    calls.push_back(Masked(n, n, 0, n - 1, RandomWeights(count, (unsigned)n, 3)));
    calls.push_back(Masked(n, n, n, -1, RandomWeights(count, (unsigned)n + 1, 256)));
    return calls;
}

static std::vector<MeanCall> MaskCalls(void)
{
    return {Call(WEIGHTED, 0),
            Masked(1, 1, 0, 0, {255}),
            Masked(3, 2, 1, 0, {1, 2, 3, 4, 0, 250}),
            Masked(2, 5, -2, 3, RandomWeights(10, 1, 256)),
            Masked(4, 1, 9, -1, RandomWeights(4, 2, 256)),
            Masked(5, 3, 2, 7, std::vector<BYTE>(15, 255)),
            Masked(3, 3, INT_MAX, 1, RandomWeights(9, 3, 9)),
            Masked(3, 3, 1, INT_MIN, RandomWeights(9, 4, 9)),
            Masked(9, 9, 4, 4, RandomWeights(81, 5, 256))};
}

// Every call takes its turn on every kind of picture over the sizes.
static void CompareSome(const std::vector<MeanCall> &calls, int width, int height, unsigned nSeed,
                        size_t nTurns)
{
    for (const TestPicture &picture : EveryKind(width, height, nSeed)) {
        const Bytes dib = MakeDib(picture);
        for (size_t i = picture.nSeed % nTurns; i < calls.size(); i += nTurns) {
            EXPECT_EQ("", CheckMean(calls[i], dib, 0, ExpectMean(calls[i], dib)))
                << Describe(picture) << ", rows " << calls[i].rows << ", columns "
                << calls[i].columns;
        }
    }
}

TEST(Mean, EveryFilterEqualsItsDefinitionOnTinyPictures)
{
    for (int n : {1, 2, 3, 4, 5}) {
        const std::vector<MeanCall> calls = CallsOfSize(n);
        for (int width = 1; width <= 7; width++) {
            for (int height = 1; height <= 7; height++) {
                CompareSome(calls, width, height, (unsigned)(n * 1000 + width * 100 + height), 11);
            }
        }
    }
}

TEST(Mean, EveryFilterEqualsItsDefinitionOnLargerPictures)
{
    const int sizes[][3] = {{1, 17, 5},   {2, 33, 31},  {3, 64, 21},  {3, 97, 6},   {4, 19, 23},
                            {5, 31, 12},  {6, 13, 21},  {7, 40, 17},  {8, 21, 19},  {9, 70, 11},
                            {15, 33, 18}, {16, 18, 33}, {17, 30, 20}, {31, 36, 33}, {20, 19, 40}};
    for (const int *size : sizes) {
        CompareSome(CallsOfSize(size[0]), size[1], size[2], (unsigned)(size[0] * 77), 3);
    }
}

TEST(Mean, EveryMaskEqualsItsDefinition)
{
    static const int SIZES[][2] = {{12, 9}, {1, 30}, {40, 10}};
    for (const int *size : SIZES) {
        CompareSome(MaskCalls(), size[0], size[1], (unsigned)size[0], 1);
    }
}

// ---- what is refused ----------------------------------------------------------------------------

static const DialogScript GO_ON = {true, true, false, false, 0, NULL, 0, NULL, 0, 0};

struct MeanCalls : testing::Test {
    void SetUp() override
    {
        ResetHost();
    }
};

// One of each; larger sizes than any picture; and calls that no size makes good.
static const std::vector<MeanCall> ONE_OF_EACH = {Call(GEOMETRIC, 3),
                                                  Call(HARMONIC, 3),
                                                  Call(CONTRA, 3, -1),
                                                  Call(YP, 3, 3),
                                                  Masked(2, 3, 0, 1, {1, 2, 3, 4, 5, 6}),
                                                  Call(WEIGHTED, 0),
                                                  Call(DWMTM, 3, 5, 20),
                                                  Call(DWMTM, 3, 17, 20),
                                                  Call(MMSE, 3, 50)};

static const std::vector<MeanCall> HUGE_WINDOWS = {
    Call(GEOMETRIC, INT_MAX),        Call(HARMONIC, INT_MAX - 1), Call(CONTRA, 65536, 2),
    Call(YP, INT_MAX, -3),           Call(MMSE, 65537, 9),        Call(DWMTM, 1, INT_MAX, 5),
    Call(DWMTM, INT_MAX, INT_MAX, 5)};

static const std::vector<MeanCall> REFUSED = {
    Call(GEOMETRIC, 0),   Call(GEOMETRIC, -3),
    Call(HARMONIC, 0),    Call(HARMONIC, INT_MIN),
    Call(CONTRA, 0, 1),   Call(CONTRA, -1, -1),
    Call(YP, 0, 2),       Call(YP, INT_MIN, 1),
    Call(MMSE, 0, 10),    Call(MMSE, -2, 10),
    Call(DWMTM, 0, 3, 5), Call(DWMTM, -1, -1, 5),
    Call(DWMTM, 4, 3, 5), Call(DWMTM, INT_MAX, INT_MIN, 5)};

TEST_F(MeanCalls, SizesBelowOneAreRefusedBeforeAnyDialog)
{
    const int nShown = DialogsOpened();
    SetDialogs(GO_ON);
    for (const TestPicture &picture : EveryKind(5, 4, 9)) {
        for (const MeanCall &call : REFUSED) {
            EXPECT_EQ("", CheckMean(call, MakeDib(picture), 3, ExpectNull()));
            EXPECT_EQ(1, GetLastFilterError());
        }
    }
    EXPECT_EQ(0, g_dialog.nCalls);
    EXPECT_EQ(nShown, DialogsOpened());
}

TEST_F(MeanCalls, YpHasNoOrderZero)
{
    const Bytes dib = MakeDib({9, 9, 24, COLOURED, 0, 1, 0});
    EXPECT_EQ("", CheckMean(Call(YP, 3, 0), dib, 0, ExpectNull()));
    EXPECT_EQ("", CheckMean(Call(YP, 30, 0), dib, MODE_PROGRESS, ExpectNull()));
}

TEST_F(MeanCalls, OtherDepthsAndNoPictureGiveNull)
{
    const Bytes dib = MakeDib({9, 9, 4, RAMP, 0, 1, 0});
    for (const MeanCall &call : ONE_OF_EACH) {
        EXPECT_EQ("", CheckMean(call, dib, 0, ExpectNull()));
        g_call = call;
        EXPECT_TRUE(MakeCall(NULL, 0, 0, NULL) == NULL);
    }
}

TEST_F(MeanCalls, MasksWithoutAWeightAreRefused)
{
    BYTE ones[3] = {1, 1, 1}, zeros[3] = {0, 0, 0};
    BYTE *full[] = {ones, ones, zeros}, *torn[] = {ones, NULL, ones},
         *empty[] = {zeros, zeros, zeros};
    const struct {
        FilterMask mask;
        bool bAccepted;
    } rows[] = {{{full, 3, 3, 1, 1}, true},        {{full, 3, 1, 1, 0}, true},
                {{empty, 3, 3, 1, 1}, false},      {{torn, 3, 3, 1, 1}, false},
                {{NULL, 3, 3, 1, 1}, false},       {{full, 0, 3, 1, 1}, false},
                {{full, 3, 0, 1, 1}, false},       {{full, -3, 3, 1, 1}, false},
                {{full, 3, INT_MIN, 1, 1}, false}, {{full, INT_MAX, INT_MAX, 1, 1}, false}};
    const HGLOBAL hDib = NewBlock(MakeDib({9, 9, 8, RAMP, 0, 1, 0}));
    const int nBlocks = LiveBlocks();
    for (const auto &row : rows) {
        const HGLOBAL hResult = FilterWeightedMean(hDib, &row.mask, 0, NULL);
        EXPECT_EQ(row.bAccepted, hResult != NULL) << row.mask.rows << " x " << row.mask.columns;
        FreeBlock(hResult);
        EXPECT_EQ(nBlocks, LiveBlocks());
    }
    FreeBlock(hDib);
}

TEST_F(MeanCalls, WindowsLargerThanThePictureCopyIt)
{
    for (const TestPicture &picture : EveryKind(6, 5, 3)) {
        const Bytes dib = MakeDib(picture);
        for (const MeanCall &call : HUGE_WINDOWS) {
            EXPECT_EQ("", CheckMean(call, dib, 0, ExpectMean(call, dib))) << Describe(picture);
        }
    }
}

// ---- progress, failure, cancel ------------------------------------------------------------------

// Both drivers, gray and colour, one bit.
static const TestPicture DRIVERS[] = {
    {19, 18, 8, RAMP, 0, 71, 0},      {19, 18, 8, SHUFFLED, 0, 72, 0}, {19, 18, 8, EVEN, 0, 73, 0},
    {19, 18, 8, COLOURED, 50, 74, 0}, {18, 19, 24, RAMP, 0, 75, 0},    {18, 19, 1, RAMP, 0, 76, 0}};

TEST_F(MeanCalls, CancelAtAnyStepGivesNull)
{
    for (const TestPicture &picture : DRIVERS) {
        const Bytes dib = MakeDib(picture);
        for (const MeanCall &call : ONE_OF_EACH) {
            const Expected whole = ExpectMean(call, dib);
            for (int nth : {1, 2, whole.nSteps / 2, whole.nSteps, whole.nSteps + 1}) {
                Expected want = whole;
                want.bNull = nth <= whole.nSteps;
                CancelAtStep(nth);
                EXPECT_EQ("", CheckMean(call, dib, MODE_PROGRESS, want)) << Describe(picture);
                EXPECT_EQ(nth - 1, StepsSeen());
                EXPECT_EQ(whole.nRange, LastRange());
            }
        }
    }
}

TEST_F(MeanCalls, EachAllocationAndEachLockMayFail)
{
    for (const TestPicture &picture : DRIVERS) {
        const HGLOBAL hDib = NewBlock(MakeDib(picture));
        const int nBlocks = LiveBlocks(), nLocks = LocksHeld();
        for (const MeanCall &call : ONE_OF_EACH) {
            g_call = call;
            for (int nth = 1, bReached = 1; bReached; nth++) {
                FailAllocation(nth);
                const HGLOBAL hResult = MakeCall(hDib, 0, 0, NULL);
                bReached = AllocationsTried() >= nth;
                FailAllocation(0);
                // The expansion to 24 bits tries a second time.
                EXPECT_TRUE(bReached == (hResult == NULL) || picture.palette == COLOURED)
                    << "filter " << call.mean << ", " << Describe(picture) << ", " << nth;
                FreeBlock(hResult);
                EXPECT_EQ(nBlocks, LiveBlocks());
                EXPECT_EQ(nLocks, LocksHeld());
            }
            for (int nth = 1; nth < 12; nth++) {
                FailLock(nth);
                FreeBlock(MakeCall(hDib, 0, 0, NULL));
                FailLock(0);
                EXPECT_EQ(nBlocks, LiveBlocks());
                EXPECT_EQ(nLocks, LocksHeld());
            }
        }
        FreeBlock(hDib);
    }
}

// ---- the parameter dialogs ----------------------------------------------------------------------

// What the dialog writes through each of its pointers, and through how many.
static int g_nPointers;
static int g_written[3];

static void RewriteAll(void)
{
    int *const pointers[] = {(int *)g_dialog.second, (int *)g_dialog.third, (int *)g_dialog.arguments[3]};
    for (int i = 0; i < 3; i++) {
        EXPECT_EQ(i < g_nPointers, pointers[i] != NULL);
        if (i < g_nPointers) {
            *pointers[i] = g_written[i];
        }
    }
}

TEST_F(MeanCalls, TheDialogRewritesEveryParameterAndIsCheckedAgain)
{
    const struct {
        MeanCall handed, written;
        const char *pEntry;
        int nPointers;
        bool bAccepted;
    } rows[] = {{Call(GEOMETRIC, 3), Call(GEOMETRIC, 2), "GeometricFilterUI", 1, true},
                {Call(GEOMETRIC, 3), Call(GEOMETRIC, 0), "GeometricFilterUI", 1, false},
                {Call(HARMONIC, 3), Call(HARMONIC, 5), "HarmonicFilterUI", 1, true},
                {Call(HARMONIC, 3), Call(HARMONIC, -5), "HarmonicFilterUI", 1, false},
                {Call(CONTRA, 3, 1), Call(CONTRA, 2, -2), "ContraFilterUI", 2, true},
                {Call(CONTRA, 3, 1), Call(CONTRA, 0, -2), "ContraFilterUI", 2, false},
                {Call(YP, 3, 0), Call(YP, 4, 2), "YpFilterUI", 2, true},
                {Call(YP, 3, 1), Call(YP, 4, 0), "YpFilterUI", 2, false},
                {Call(DWMTM, 1, 3, 9), Call(DWMTM, 2, 5, 30), "ADWMTMUI", 3, true},
                {Call(DWMTM, 1, 3, 9), Call(DWMTM, 6, 5, 30), "ADWMTMUI", 3, false},
                {Call(MMSE, 3, 10), Call(MMSE, 4, -10), "AMMSEUI", 2, true},
                {Call(MMSE, 3, 10), Call(MMSE, 0, -10), "AMMSEUI", 2, false}};
    const Bytes dib = MakeDib({11, 9, 24, COLOURED, 0, 8, 0});
    DialogScript script = GO_ON;
    script.OnCall = RewriteAll;
    for (const auto &row : rows) {
        Expected want = ExpectMean(row.bAccepted ? row.written : row.handed, dib);
        want.bNull = !row.bAccepted;
        g_nPointers = row.nPointers;
        std::copy(row.written.p, row.written.p + 3, g_written);
        SetDialogs(script);
        EXPECT_EQ("", CheckMean(row.handed, dib, MODE_DIALOG, want)) << row.pEntry;
        EXPECT_EQ(1, g_dialog.nCalls);
        EXPECT_STREQ(row.pEntry, g_dialog.pEntry);
        SetDialogs({true, true, true, false, 0, NULL, 0, NULL, 0, 0});
        EXPECT_EQ("", CheckMean(row.handed, dib, MODE_DIALOG, ExpectNull())) << row.pEntry;
    }
}

// The dialog is handed the default mask, whether or not it is in use.
static void TurnIntoColumn(void)
{
    FilterMask *pMask = (FilterMask *)g_dialog.second;
    EXPECT_TRUE(pMask->rows == 3 && pMask->columns == 3 && pMask->originRow == 1 &&
                pMask->originColumn == 1);
    for (int i = 0; i < 9; i++) {
        EXPECT_EQ(1, pMask->elements[i / 3][i % 3]);
        pMask->elements[i / 3][i % 3] = i == 3;
    }
}

static void TurnIntoNothing(void)
{
    ((FilterMask *)g_dialog.second)->rows = 0;
}

TEST_F(MeanCalls, TheDialogEditsTheDefaultMaskAlone)
{
    const MeanCall mask = Masked(1, 2, 0, 0, {3, 1});
    const MeanCall upper = Masked(3, 3, 1, 1, {0, 1, 0, 0, 0, 0, 0, 0, 0});
    const Bytes dib = MakeDib({9, 8, 8, RAMP, 0, 8, 0});
    DialogScript script = GO_ON;
    script.OnCall = TurnIntoColumn;
    SetDialogs(script);
    EXPECT_EQ("", CheckMean(mask, dib, MODE_DIALOG, ExpectMean(mask, dib)));
    EXPECT_EQ("", CheckMean(Call(WEIGHTED, 0), dib, MODE_DIALOG, ExpectMean(upper, dib)));
    EXPECT_EQ(2, g_dialog.nCalls);
    EXPECT_STREQ("WMeanFilterUI", g_dialog.pEntry);
    script.OnCall = TurnIntoNothing;
    SetDialogs(script);
    EXPECT_EQ("", CheckMean(mask, dib, MODE_DIALOG, ExpectMean(mask, dib)));
    EXPECT_EQ("", CheckMean(Call(WEIGHTED, 0), dib, MODE_DIALOG, ExpectNull()));
}
