// The Fourier transforms themselves: the definition against a direct sum, and the kernels of every
// level against the definition, to the last bit.

#include "picture.h"
#include "reference/frequency.h"

#include "frequency/planes.h"
#include "frequency/spectrum_kernels.h"
#include "frame/intops.h"
#include "library/kernels.h"
#include "platform/cpu.h"

#include <gtest/gtest.h>

#include <math.h>

#include <complex>
#include <random>

typedef std::complex<double> Number;
typedef std::vector<Number> Square;

static const double PI = 3.14159265358979323846;

// ---- the definition -----------------------------------------------------------------------------

static Square RandomSquare(int n, unsigned nSeed)
{
    std::mt19937 random(nSeed);
    Square square((size_t)(n * n));
    for (Number &x : square) {
        x = Number((int)(random() % 256) - 128, (int)(random() % 256) - 128);
    }
    return square;
}

static Square Transformed(const Square &square, int n, bool bTable, int direction)
{
    Numbers re, im;
    for (const Number &x : square) {
        re.push_back(x.real());
        im.push_back(x.imag());
    }
    (bTable ? FFT2DTable : FFT2D)(re.data(), im.data(), n, direction);
    Square result;
    for (size_t i = 0; i < re.size(); i++) {
        result.push_back(Number(re[i], im[i]));
    }
    return result;
}

static double Farthest(const Square &a, const Square &b)
{
    double most = 0;
    for (size_t i = 0; i < a.size(); i++) {
        most = std::max(most, std::abs(a[i] - b[i]));
    }
    return most;
}

static Square DirectSum(const Square &square, int n, double fullCircle, double scale)
{
    Square sums((size_t)(n * n));
    for (int at = 0; at < n * n; at++) {
        for (int from = 0; from < n * n; from++) {
            const int turns = (at / n) * (from / n) + (at % n) * (from % n);
            sums[(size_t)at] +=
                square[(size_t)from] * std::polar(scale, -fullCircle * (turns % n) / n);
        }
    }
    return sums;
}

TEST(Fourier, ForwardIsTheDirectSum)
{
    for (int n : {2, 4, 8, 16}) {
        const Square square = RandomSquare(n, (unsigned)n);
        EXPECT_LT(
            Farthest(DirectSum(square, n, 2 * PI, 1.0 / n / n), Transformed(square, n, false, 1)),
            1e-10)
            << n;
        // 6.283 is 0.00003 short of a circle, which tells in each of two times log n twiddles.
        EXPECT_LT(Farthest(DirectSum(square, n, 6.283, 1.0), Transformed(square, n, true, 0)),
                  0.4 * n * n)
            << n;
    }
}

TEST(Fourier, ImpulseConstantLinearityShiftAndRoundTrip)
{
    const int n = 16, count = n * n;
    for (bool bTable : {false, true}) {
        const int forward = bTable ? 0 : 1, inverse = bTable ? 1 : -1;
        const double scale = bTable ? 1.0 : 1.0 / count, error = bTable ? 2.0 : 1e-10;
        Square impulse((size_t)count), even((size_t)count, 5.0), one((size_t)count);
        impulse[0] = 1.0;
        EXPECT_EQ(Square((size_t)count, scale), Transformed(impulse, n, bTable, forward));
        one[0] = 5.0 * count * scale;
        EXPECT_EQ(one, Transformed(even, n, bTable, forward));
        const Square a = RandomSquare(n, 7), b = RandomSquare(n, 8);
        Square sum, shifted((size_t)count);
        for (size_t i = 0; i < a.size(); i++) {
            sum.push_back(a[i] + 3.0 * b[i]);
            shifted[(i + 5) % (size_t)n + i / (size_t)n * (size_t)n] = a[i];
        }
        const Square ta = Transformed(a, n, bTable, forward);
        const Square tb = Transformed(b, n, bTable, forward);
        Square linear, turned;
        for (size_t i = 0; i < a.size(); i++) {
            linear.push_back(ta[i] + 3.0 * tb[i]);
            turned.push_back(ta[i] * std::polar(1.0, -2 * PI * 5 * (double)(i % (size_t)n) / n));
        }
        EXPECT_LT(Farthest(linear, Transformed(sum, n, bTable, forward)), 1e-8);
        EXPECT_LT(Farthest(turned, Transformed(shifted, n, bTable, forward)), error * 20);
        EXPECT_LT(Farthest(a, Transformed(ta, n, bTable, inverse)), error);
    }
}

// ---- kernels ------------------------------------------------------------------------------------

struct FourierLevel {
    const char *pName;
    unsigned nFeature;
    const TransformKernels *pTransforms;
    const SpectrumKernels *pSpectra;
};

static const FourierLevel LEVELS[] = {
    {"sse2", 0, &sse2::TRANSFORM_KERNELS, &sse2::SPECTRUM_KERNELS},
    {"avx2", CPU_AVX2, &avx2::TRANSFORM_KERNELS, &avx2::SPECTRUM_KERNELS}};

static bool IsHere(const FourierLevel &level)
{
    return (DetectCpuFeatures() & level.nFeature) == level.nFeature;
}

// LINES lines of random numbers, real ones if asked for, zero from nLive on; some are not finite.
struct LineSet {
    size_t n, step;
    Numbers numbers;
    Lines lines;
};

static void FillLines(LineSet *p, size_t n, const LineTransform &t, unsigned nSeed)
{
    std::mt19937 random(nSeed);
    p->n = n;
    p->step = 2 * LINES + random() % 3;
    p->numbers.assign(n * p->step, 0.0);
    p->lines = {p->numbers.data(), p->numbers.data() + LINES, p->step};
    for (size_t k = 0; k < n; k++) {
        for (size_t i = 0; i < 2 * LINES; i++) {
            const double x = ((int)(random() % 2000001) - 1000000) / 977.0;
            const bool bZero = k >= t.nLive || (t.bReal && i >= LINES);
            p->numbers[k * p->step + i] = bZero                              ? 0.0
                                          : !t.bFinite && random() % 50 == 0 ? INFINITY
                                                                             : x;
        }
    }
}

static uint64_t BitsOf(double x)
{
    return x != x ? 1 : BitsOfDouble(x + 0.0);  // zeros and NaN have no sign
}

static std::string CheckLines(const FourierLevel &level, const FourierPlan &plan, int bInverse,
                              LineTransform t, unsigned nSeed)
{
    LineSet set, wanted;
    FillLines(&set, plan.side, t, nSeed);
    FillLines(&wanted, plan.side, t, nSeed);
    t.n = plan.side;
    t.log2n = plan.log2Side;
    t.cosines = plan.cosines;
    t.sines = bInverse ? plan.inverseSines : plan.sines;
    t.scratch = plan.scratch;
    const bool bTable = plan.kind == FFT_TABLE;
    const double scale = 1.0 / (double)plan.side;
    t.before = bTable && bInverse ? scale : 1.0;
    t.after = !bTable && !bInverse ? scale : 1.0;
    level.pTransforms->Transform(&t, &set.lines, &set.lines);
    Numbers cosines, sines;
    FillTables((int)plan.side, bInverse, &cosines, &sines);
    for (size_t i = 0; i < LINES; i++) {
        Numbers re, im;
        for (size_t k = 0; k < plan.side; k++) {
            re.push_back(wanted.lines.re[k * wanted.step + i]);
            im.push_back(wanted.lines.im[k * wanted.step + i]);
        }
        if (bTable) {
            FFT1DTable(re.data(), im.data(), (int)plan.side, bInverse, cosines.data(), sines.data(),
                       plan.log2Side);
        } else {
            FFT1D(bInverse ? -1 : 1, plan.log2Side, re.data(), im.data());
        }
        for (size_t k = 0; k < plan.side; k++) {
            const size_t at = k * set.step + i;
            const bool bRe = BitsOf(re[k]) == BitsOf(set.lines.re[at]);
            const bool bIm = t.bRealResult || BitsOf(im[k]) == BitsOf(set.lines.im[at]);
            if (!bRe || !bIm) {
                return std::string(level.pName) + ", line " + std::to_string(i) + ", number " +
                       std::to_string(k) + " of " + std::to_string(plan.side);
            }
        }
    }
    return "";
}

TEST(Fourier, LinesOfEveryLengthEqualTheDefinition)
{
    for (const FourierLevel &level : LEVELS) {
        for (size_t n = 2; IsHere(level) && n <= 4096; n *= 2) {
            for (TransformKind kind : {FFT_RECURRENCE, FFT_TABLE}) {
                FourierPlan plan;
                ASSERT_TRUE(MakeFourierPlan(kind, n, 0, &plan));
                for (unsigned form = 0; form < 32; form++) {
                    LineTransform t = {};
                    t.nLive = form & 1 ? n * 2 / 3 : n;
                    t.bFinite = (form & 2) != 0 || form & 4;
                    t.bReal = (form & 4) != 0;
                    t.bRealResult = (form & 8) != 0;
                    EXPECT_EQ("", CheckLines(level, plan, (form & 16) != 0, t, form + (unsigned)n))
                        << "kind " << kind << ", form " << form;
                }
                FreeFourierPlan(&plan);
            }
        }
    }
}

TEST(Fourier, RowsBecomeLinesAndBack)
{
    for (const FourierLevel &level : LEVELS) {
        for (size_t n = 4; IsHere(level) && n <= 64; n *= 2) {
            Numbers rows(LINES * (n + 3)), lines(n * 2 * LINES), back(rows.size());
            for (size_t i = 0; i < rows.size(); i++) {
                rows[i] = i % (n + 3) < n ? (double)i : 0.0;
            }
            level.pTransforms->RowsToLines(rows.data(), n + 3, n, lines.data(), 2 * LINES);
            for (size_t i = 0; i < LINES * n; i++) {
                EXPECT_EQ(rows[i / n * (n + 3) + i % n], lines[i % n * 2 * LINES + i / n]);
            }
            level.pTransforms->LinesToRows(lines.data(), 2 * LINES, n, back.data(), n + 3);
            EXPECT_EQ(rows, back);
        }
    }
}

// What is sure must be right, and nearly all of it must be sure.
TEST(Fourier, NearFunctionsAreAsNearAsTheySay)
{
    std::mt19937_64 random(5);
    for (const FourierLevel &level : LEVELS) {
        for (DisplayFunction function : {DISPLAY_LOGARITHM, DISPLAY_EXPONENTIAL}) {
            if (!IsHere(level)) {
                continue;
            }
            const bool bLogarithm = function == DISPLAY_LOGARITHM;
            const Display display = {function, 0.0, bLogarithm ? 20.0 : 0.5, 255.0, 1e-7};
            Numbers numbers(20000);
            for (double &x : numbers) {
                const double part = (double)(random() >> 11) / 9007199254740992.0;
                x = bLogarithm ? 1.0 + part * pow(10.0, (double)(random() % 12)) : part * 12.0 - 6;
            }
            Bytes samples(numbers.size()), sure(numbers.size());
            const size_t nInDoubt = level.pSpectra->Show(&display, numbers.data(), numbers.size(),
                                                         samples.data(), sure.data());
            EXPECT_LT(nInDoubt, 100u) << level.pName;
            for (size_t i = 0; i < numbers.size(); i++) {
                const double value = bLogarithm ? log10(numbers[i]) : exp(numbers[i]);
                const int want = (int)std::min(255.0, value * display.scale);
                EXPECT_TRUE(!sure[i] || want == samples[i]) << level.pName << ", " << numbers[i];
            }
        }
    }
}

TEST(Fourier, TruncationTakesTheLowByteOfThirtyTwoBits)
{
    const double numbers[] = {0.0,   -0.9, 255.9,    256.0,     -1.0,         -255.5,        1e10,
                              -1e10, NAN,  INFINITY, -INFINITY, 2147483646.5, -2147483647.5, 300.0};
    const Bytes want = {0, 0, 255, 0, 255, 1, 255, 0, 0, 255, 0, 254, 1, 44};
    for (const FourierLevel &level : LEVELS) {
        for (size_t count = 0; IsHere(level) && count <= want.size(); count++) {
            Bytes samples(count);
            level.pSpectra->Truncate(numbers, count, samples.data());
            EXPECT_EQ(Bytes(want.begin(), want.begin() + (int)count), samples) << level.pName;
        }
    }
}
