// The mean and adaptive filters: small pictures by hand, then every filter against the plain
// definition, then what the exports refuse, fail on and show their dialogs.

#include "reference/windows.h"
#include "window_calls.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <limits.h>
#include <math.h>

// ---- calls --------------------------------------------------------------------------------------

enum Mean { GEOMETRIC, HARMONIC, CONTRA, YP, WEIGHTED, DWMTM, MMSE };

static HGLOBAL Make(const WindowCall &call, HGLOBAL hDib, UINT mode)
{
    const int *p = call.p;
    switch (call.filter) {
    case GEOMETRIC:
        return FilterGeometricMean(hDib, p[0], mode, NULL);
    case HARMONIC:
        return FilterHarmonicMean(hDib, p[0], mode, NULL);
    case CONTRA:
        return FilterContraHarmonicMean(hDib, p[0], p[1], mode, NULL);
    case YP:
        return FilterYpMean(hDib, p[0], p[1], mode, NULL);
    case WEIGHTED:
        return CallWithMask(FilterWeightedMean, call, hDib, mode);
    case DWMTM:
        return FilterAdaptiveDWMTM(hDib, p[0], p[1], p[2], mode, NULL);
    case MMSE:
    default:
        return FilterAdaptiveMMSE(hDib, p[0], p[1], mode, NULL);
    }
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
    const int nOrder = ((const WindowCall *)p)->p[1];
    const double above = PowerSum(samples, (double)nOrder + 1);
    const double below = PowerSum(samples, nOrder);
    return (nOrder < 0 && HasZero(samples)) || below == 0 ? 0 : Truncated(above / below);
}

static int YpLevel(const std::vector<int> &samples, const void *p)
{
    const int nOrder = ((const WindowCall *)p)->p[1];
    const double sum = PowerSum(samples, nOrder);
    if ((nOrder < 0 && HasZero(samples)) || sum == 0) {
        return 0;
    }
    return Truncated(pow(sum / (double)samples.size(), 1.0 / nOrder));
}

static int WeightedLevel(const std::vector<int> &samples, const void *p)
{
    const std::vector<BYTE> &weights = ((const WindowCall *)p)->weights;
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
    const int *sizes = ((const WindowCall *)p)->p;
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
    const int *sizes = ((const WindowCall *)p)->p;
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

static Expected ExpectMean(const WindowCall &call, const Bytes &dib)
{
    static int (*const LEVELS[])(const std::vector<int> &, const void *) = {
        GeometricLevel, HarmonicLevel, ContraLevel, YpLevel,
        WeightedLevel,  TrimmedLevel,  MmseLevel};
    WindowFilter filter = call.filter == DWMTM      ? SquareWindow(call.p[1])
                          : call.filter != WEIGHTED ? SquareWindow(call.p[0])
                          : call.weights.empty()
                              ? MaskWindow(3, 3, 1, 1)
                              : MaskWindow(call.rows, call.columns, call.row, call.column);
    filter.Level = LEVELS[call.filter];
    filter.pParameters = &call;
    return ExpectWindows(filter, dib);
}

static const WindowFamily MEANS = {Make, ExpectMean};

// ---- by hand ------------------------------------------------------------------------------------

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
    {"the mask's origin fields are crossed", Masked(WEIGHTED, 1, 2, 0, 1, {0, 1}), 3, 2,
     {1, 2, 3, 4, 5, 6}, {1, 2, 3, 4, 5, 6}},
    {"a mask shifts the picture", Masked(WEIGHTED, 1, 2, 0, 0, {0, 1}), 4, 2,
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
    for (const Literal &literal : LITERALS) {
        CompareLiteral(MEANS, literal);
    }
}

// ---- against the plain definitions --------------------------------------------------------------

static std::vector<WindowCall> CallsOfSize(int n)
{
    std::vector<WindowCall> calls = {Call(GEOMETRIC, n), Call(HARMONIC, n)};
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
    calls.push_back(Masked(WEIGHTED, n, n, n / 2, n / 2, std::vector<BYTE>(count, 7)));
    calls.push_back(Masked(WEIGHTED, n, n, 0, n - 1, RandomWeights(count, (unsigned)n, 3)));
    calls.push_back(Masked(WEIGHTED, n, n, n, -1, RandomWeights(count, (unsigned)n + 1, 256)));
    return calls;
}

static std::vector<WindowCall> MaskCalls(void)
{
    return {Call(WEIGHTED, 0),
            Masked(WEIGHTED, 1, 1, 0, 0, {255}),
            Masked(WEIGHTED, 3, 2, 1, 0, {1, 2, 3, 4, 0, 250}),
            Masked(WEIGHTED, 2, 5, -2, 3, RandomWeights(10, 1, 256)),
            Masked(WEIGHTED, 4, 1, 9, -1, RandomWeights(4, 2, 256)),
            Masked(WEIGHTED, 5, 3, 2, 7, std::vector<BYTE>(15, 255)),
            Masked(WEIGHTED, 3, 3, INT_MAX, 1, RandomWeights(9, 3, 9)),
            Masked(WEIGHTED, 3, 3, 1, INT_MIN, RandomWeights(9, 4, 9)),
            Masked(WEIGHTED, 9, 9, 4, 4, RandomWeights(81, 5, 256))};
}

TEST(Mean, EveryFilterEqualsItsDefinitionOnTinyPictures)
{
    for (int n : {1, 2, 3, 4, 5}) {
        const std::vector<WindowCall> calls = CallsOfSize(n);
        for (int width = 1; width <= 7; width++) {
            for (int height = 1; height <= 7; height++) {
                CompareSome(MEANS, calls, width, height,
                            (unsigned)(n * 1000 + width * 100 + height), 11);
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
        CompareSome(MEANS, CallsOfSize(size[0]), size[1], size[2], (unsigned)(size[0] * 77), 3);
    }
}

TEST(Mean, EveryMaskEqualsItsDefinition)
{
    static const int SIZES[][2] = {{12, 9}, {1, 30}, {40, 10}};
    for (const int *size : SIZES) {
        CompareSome(MEANS, MaskCalls(), size[0], size[1], (unsigned)size[0], 1);
    }
}

// On both sides of where sums leave a byte, 2^24 (whole floats) and 2^31: bright pictures, flat but
// for some noise.
TEST(Mean, SumsAtTheEndOfTheirTypesEqualTheirDefinition)
{
    const WindowCall calls[] = {
        Call(DWMTM, 3, 255, 40),  Call(DWMTM, 3, 256, 40),  Call(DWMTM, 3, 257, 40),
        Call(DWMTM, 255, 255, 1), Call(DWMTM, 256, 256, 1), Call(DWMTM, 257, 257, 1),
        Call(MMSE, 181, 90),      Call(MMSE, 182, 90),      Call(CONTRA, 16, 1),
        Call(CONTRA, 17, 1),      Call(CONTRA, 256, 0),     Call(CONTRA, 257, 0),
        Call(YP, 16, 2),          Call(YP, 17, 2),          Call(YP, 256, 1),
        Call(YP, 257, 1),         Call(CONTRA, 18, 2),      Call(CONTRA, 23, 1),
        Call(CONTRA, 31, 1),      Call(YP, 31, 2),          Call(YP, 300, 1)};
    for (const WindowCall &call : calls) {
        const int n = call.filter == DWMTM ? call.p[1] : call.p[0];
        const int width = n + 2, height = n + 1;
        for (int nNoise : {1, 3, 40}) {
            std::vector<int> levels;
            unsigned random = 5;
            for (int i = 0; i < width * height; i++) {
                random = random * 1664525 + 1013904223;
                levels.push_back(255 - (int)(random >> 16) % nNoise);
            }
            // One of the computed pixels stands out: the variance shows in it.
            levels[(size_t)(n / 2 * width + n / 2)] -= call.filter == MMSE ? 155 : 0;
            EXPECT_EQ("", CheckAnswer(MEANS, call, MakeLevels(width, height, 8, levels)))
                << call.filter << ", size " << n << ", noise " << nNoise;
        }
    }
}

// ---- what is refused ----------------------------------------------------------------------------

struct MeanCalls : testing::Test {
    void SetUp() override
    {
        ResetHost();
    }
};

// One of each; larger sizes than any picture; and calls that no size makes good.
static const std::vector<WindowCall> ONE_OF_EACH = {
    Call(GEOMETRIC, 3),
    Call(HARMONIC, 3),
    Call(CONTRA, 3, -1),
    Call(YP, 3, 3),
    Masked(WEIGHTED, 2, 3, 0, 1, {1, 2, 3, 4, 5, 6}),
    Call(WEIGHTED, 0),
    Call(DWMTM, 3, 5, 20),
    Call(DWMTM, 3, 17, 20),
    Call(MMSE, 3, 50)};

static const std::vector<WindowCall> HUGE_WINDOWS = {
    Call(GEOMETRIC, INT_MAX),        Call(HARMONIC, INT_MAX - 1), Call(CONTRA, 65536, 2),
    Call(YP, INT_MAX, -3),           Call(MMSE, 65537, 9),        Call(DWMTM, 1, INT_MAX, 5),
    Call(DWMTM, INT_MAX, INT_MAX, 5)};

static const std::vector<WindowCall> REFUSED = {
    Call(GEOMETRIC, 0),   Call(GEOMETRIC, -3),
    Call(HARMONIC, 0),    Call(HARMONIC, INT_MIN),
    Call(CONTRA, 0, 1),   Call(CONTRA, -1, -1),
    Call(YP, 0, 2),       Call(YP, INT_MIN, 1),
    Call(MMSE, 0, 10),    Call(MMSE, -2, 10),
    Call(DWMTM, 0, 3, 5), Call(DWMTM, -1, -1, 5),
    Call(DWMTM, 4, 3, 5), Call(DWMTM, INT_MAX, INT_MIN, 5)};

TEST_F(MeanCalls, SizesBelowOneAreRefusedBeforeAnyDialog)
{
    RefuseBeforeAnyDialog(MEANS, REFUSED);
}

TEST_F(MeanCalls, YpHasNoOrderZero)
{
    const Bytes dib = MakeDib({9, 9, 24, COLOURED, 0, 1, 0});
    EXPECT_EQ("", CheckCall(MEANS, Call(YP, 3, 0), dib, 0, ExpectNull()));
    EXPECT_EQ("", CheckCall(MEANS, Call(YP, 30, 0), dib, MODE_PROGRESS, ExpectNull()));
}

TEST_F(MeanCalls, OtherDepthsAndNoPictureGiveNull)
{
    RefuseOtherDepths(MEANS, ONE_OF_EACH);
}

TEST_F(MeanCalls, MasksWithoutAWeightAreRefused)
{
    RefuseBadMasks(FilterWeightedMean);
}

TEST_F(MeanCalls, WindowsLargerThanThePictureCopyIt)
{
    for (const TestPicture &picture : EveryKind(6, 5, 3)) {
        const Bytes dib = MakeDib(picture);
        for (const WindowCall &call : HUGE_WINDOWS) {
            EXPECT_EQ("", CheckAnswer(MEANS, call, dib)) << Describe(picture);
        }
    }
}

TEST_F(MeanCalls, TheBarGetsItsRangeAndItsSteps)
{
    CountSteps(MEANS, ONE_OF_EACH);
}

// ---- the parameter dialogs ----------------------------------------------------------------------

// What the dialog writes through each of its pointers, and through how many.
static int g_nPointers;
static int g_written[3];

static void RewriteAll(void)
{
    int *const pointers[] = {(int *)g_dialog.second, (int *)g_dialog.third,
                             (int *)g_dialog.arguments[3]};
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
        WindowCall handed, written;
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
        EXPECT_EQ("", CheckCall(MEANS, row.handed, dib, MODE_DIALOG, want)) << row.pEntry;
        EXPECT_EQ(1, g_dialog.nCalls);
        EXPECT_STREQ(row.pEntry, g_dialog.pEntry);
        SetDialogs({true, true, true, false, 0, NULL, 0, NULL, 0, 0});
        EXPECT_EQ("", CheckCall(MEANS, row.handed, dib, MODE_DIALOG, ExpectNull())) << row.pEntry;
    }
}

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
    EditDefaultMask(MEANS, "WMeanFilterUI",
                    Masked(WEIGHTED, 3, 3, 1, 1, {0, 1, 0, 0, 0, 0, 0, 0, 0}), TurnIntoColumn,
                    TurnIntoNothing);
}
