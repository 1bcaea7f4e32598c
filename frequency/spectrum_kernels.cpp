// See spectrum_kernels.h: plain loops over the lanes, compiled once per instruction set into the
// namespace KERNEL_LEVEL.

#include "spectrum_kernels.h"

#include "frame/intops.h"

#include <math.h>

namespace KERNEL_LEVEL
{

#define INLINE static inline __attribute__((always_inline))

// ---- transfer functions -------------------------------------------------------------------------

INLINE double HomomorphicValue(const Transfer *p, double d2)
{
    const double width = p->outer2 - p->inner2;
    const double ramp = p->low + (d2 - p->inner2) / width * (p->high - p->low);
    const double between = width > 1.0 ? ramp : p->low;
    return (d2 > p->outer2 ? p->high : d2 < p->inner2 ? p->low : between) / p->most;
}

INLINE double EnhanceValue(const Transfer *p, double d2)
{
    const double value = 1.0 / (p->cutoff2 / d2 + 1.0) + p->offset;
    return d2 == 0.0 ? 0.0 : value > 1.0 ? 1.0 : value;
}

INLINE double Value(const Transfer *p, TransferShape shape, double d2)
{
    switch (shape) {
    case LOWPASS_IDEAL:
        return d2 < p->cutoff2 ? 1.0 : 0.0;
    case LOWPASS_BUTTERWORTH:
        return p->cutoff2 == 0.0 ? 0.0 : 1.0 / (d2 / p->cutoff2 + 1.0);
    case HIGHPASS_IDEAL:
        return d2 >= p->cutoff2 ? 1.0 : 0.0;
    case HIGHPASS_BUTTERWORTH:
        return d2 == 0.0 ? 0.0 : 1.0 / (p->cutoff2 / d2 + 1.0);
    case HIGH_EMPHASIS:
        return EnhanceValue(p, d2);
    case HOMOMORPHIC:
    default:
        return HomomorphicValue(p, d2);
    }
}

// Frequencies run up to the middle of a line and from there back.
INLINE double Distance(size_t k, size_t n)
{
    return (double)(int)(k <= n / 2 ? k : n - k);
}

// An element and the one that lies as far on the other side have the same factors.
INLINE void MultiplyBy(const Transfer *p, TransferShape shape, size_t n, size_t nFirst,
                       const Lines *lines)
{
    double across[LINES];
    for (size_t i = 0; i < LINES; i++) {
        const double distance = Distance((nFirst + i) % n, n);
        across[i] = distance * distance;
    }
    for (size_t k = 0; k <= n / 2; k++) {
        const double along = Distance(k, n) * Distance(k, n);
        double factors[LINES];
        for (size_t i = 0; i < LINES; i++) {
            factors[i] = Value(p, shape, across[i] + along);
        }
        const size_t nMirror = (n - k) % n;
        for (size_t e = k;; e = nMirror) {
            double *re = lines->re + e * lines->step;
            double *im = lines->im + e * lines->step;
            for (size_t i = 0; i < LINES; i++) {
                re[i] *= factors[i];
                im[i] *= factors[i];
            }
            if (e == nMirror) {
                break;
            }
        }
    }
}

static void Multiply(const Transfer *p, size_t n, size_t nFirst, const Lines *lines)
{
    switch (p->shape) {
    case LOWPASS_IDEAL:
        MultiplyBy(p, LOWPASS_IDEAL, n, nFirst, lines);
        break;
    case LOWPASS_BUTTERWORTH:
        MultiplyBy(p, LOWPASS_BUTTERWORTH, n, nFirst, lines);
        break;
    case HIGHPASS_IDEAL:
        MultiplyBy(p, HIGHPASS_IDEAL, n, nFirst, lines);
        break;
    case HIGHPASS_BUTTERWORTH:
        MultiplyBy(p, HIGHPASS_BUTTERWORTH, n, nFirst, lines);
        break;
    case HIGH_EMPHASIS:
        MultiplyBy(p, HIGH_EMPHASIS, n, nFirst, lines);
        break;
    case HOMOMORPHIC:
    default:
        MultiplyBy(p, HOMOMORPHIC, n, nFirst, lines);
        break;
    }
}

static void Magnify(double factor, size_t n, const Lines *lines)
{
    for (size_t k = 0; k < n; k++) {
        double *__restrict re = lines->re + k * lines->step;
        const double *__restrict im = lines->im + k * lines->step;
        for (size_t i = 0; i < LINES; i++) {
            const double x = re[i] * factor;
            const double y = im[i] * factor;
            re[i] = sqrt(x * x + y * y) + 1.0;
        }
    }
}

// ---- restoration --------------------------------------------------------------------------------

struct Number {
    double re, im;
};

INLINE Number Divided(const Restoration *p, Number g, Number h)
{
    const double d = h.re * h.re + h.im * h.im;
    const double re = (g.re * h.re + g.im * h.im) / d * p->scale;
    const double im = (g.im * h.re - g.re * h.im) / d * p->scale;
    return {d != 0.0 ? re : g.re, d != 0.0 ? im : g.im};
}

INLINE Number Wiener(const Restoration *p, Number g, Number h)
{
    const double d = h.re * h.re + h.im * h.im + p->noise;
    const double wRe = d != 0.0 ? h.re / d : 0.0;
    const double wIm = d != 0.0 ? -h.im / d : 0.0;
    return {(wRe * g.re - wIm * g.im) * p->scale, (wRe * g.im + wIm * g.re) * p->scale};
}

// Returns 0 or NaN.
INLINE double RestoreElement(const Restoration *p, int bWiener, double *__restrict gRe,
                             double *__restrict gIm, const double *__restrict hRe,
                             const double *__restrict hIm)
{
    double nothing = 0.0;
    for (size_t i = 0; i < LINES; i++) {
        const Number g = {gRe[i] * p->before, gIm[i] * p->before};
        const Number h = {hRe[i] * p->before, hIm[i] * p->before};
        const Number r = bWiener ? Wiener(p, g, h) : Divided(p, g, h);
        gRe[i] = r.re * p->after;
        gIm[i] = r.im * p->after;
        nothing += (gRe[i] - gRe[i]) + (gIm[i] - gIm[i]);
    }
    return nothing;
}

INLINE int RestoreBy(const Restoration *p, int bWiener, size_t n, const Lines *degraded,
                     const Lines *blur)
{
    double nothing = 0.0;
    for (size_t k = 0; k < n; k++) {
        const size_t g = k * degraded->step;
        const size_t h = k * blur->step;
        nothing += RestoreElement(p, bWiener, degraded->re + g, degraded->im + g, blur->re + h,
                                  blur->im + h);
    }
    return nothing == 0.0;
}

static int Restore(const Restoration *p, size_t n, const Lines *degraded, const Lines *blur)
{
    return p->bWiener ? RestoreBy(p, 1, n, degraded, blur) : RestoreBy(p, 0, n, degraded, blur);
}

// ---- samples ------------------------------------------------------------------------------------

static void Range(const double *numbers, size_t count, double *pLeast, double *pGreatest)
{
    double least[LINES];
    double greatest[LINES];
    for (size_t i = 0; i < LINES; i++) {
        least[i] = *pLeast;
        greatest[i] = *pGreatest;
    }
    for (size_t k = 0; k < count; k++) {
        const size_t i = k % LINES;
        least[i] = numbers[k] < least[i] ? numbers[k] : least[i];
        greatest[i] = numbers[k] > greatest[i] ? numbers[k] : greatest[i];
    }
    for (size_t i = 0; i < LINES; i++) {
        *pLeast = least[i] < *pLeast ? least[i] : *pLeast;
        *pGreatest = greatest[i] > *pGreatest ? greatest[i] : *pGreatest;
    }
}

// TruncateToInt in a form that compilers make vectors of.
INLINE BYTE LowByte(double number)
{
    const double known = number == number ? number : 0.0;
    const double atLeast = known > -2147483648.0 ? known : -2147483648.0;
    const double within = atLeast < 2147483647.0 ? atLeast : 2147483647.0;
    return (BYTE)(int)within;
}

static void Truncate(const double *numbers, size_t count, BYTE *samples)
{
    for (size_t i = 0; i < count; i++) {
        samples[i] = LowByte(numbers[i]);
    }
}

INLINE double DoubleOfBits(uint64_t bits)
{
    double value;
    memcpy(&value, &bits, sizeof value);
    return value;
}

// Of a finite number of at least 1, to 1e-11. The exponent is made a number as the low bits of
// 2^52; the mantissa m lies within a root of 2 of 1, log m = 2 artanh((m - 1) / (m + 1)).
INLINE double NearLogarithm(double x)
{
    static const double TWO_52 = 4503599627370496.0;
    static const double LOG10_2 = 0.30102999566398119521;
    static const double LOG10_E = 0.43429448190325182765;
    const uint64_t bits = BitsOfDouble(x);
    // A mantissa past the root counts as half of it with the next exponent.
    const uint64_t rounded = bits + 0x0009'5f61'9980'0000u;
    const uint64_t exponent = rounded >> 52;
    const double m = DoubleOfBits(bits - (exponent << 52) + ((uint64_t)1023 << 52));
    const double e = DoubleOfBits(exponent | ((uint64_t)0x433 << 52)) - (TWO_52 + 1023.0);
    const double s = (m - 1.0) / (m + 1.0);
    const double t = s * s;
    const double series =
        1.0 + t * (1.0 / 3 +
                   t * (1.0 / 5 + t * (1.0 / 7 + t * (1.0 / 9 + t * (1.0 / 11 + t * (1.0 / 13))))));
    return e * LOG10_2 + 2.0 * LOG10_E * s * series;
}

// Of a number within -200 and 200, to 1e-11 of the value: 2^k times exp of the rest, k as the low
// bits of 1.5 x 2^52.
INLINE double NearExponential(double x)
{
    static const double ROUNDER = 6755399441055744.0;
    static const double LOG2_E = 1.44269504088896340736;
    static const double LN_2 = 0.69314718055994530942;
    const double shifted = x * LOG2_E + ROUNDER;
    const double r = x - (shifted - ROUNDER) * LN_2;
    const double series =
        1.0 +
        r * (1.0 + r * (1.0 / 2 +
                        r * (1.0 / 6 +
                             r * (1.0 / 24 +
                                  r * (1.0 / 120 +
                                       r * (1.0 / 720 + r * (1.0 / 5040 +
                                                             r * (1.0 / 40320 +
                                                                  r * (1.0 / 362880 +
                                                                       r * (1.0 / 3628800))))))))));
    const uint64_t power = (BitsOfDouble(shifted) + 1023) << 52;
    return series * DoubleOfBits(power);
}

INLINE size_t ShowBy(const Display *p, DisplayFunction function, const double *numbers,
                     size_t count, BYTE *samples, BYTE *sure)
{
    size_t nSure = 0;
    for (size_t i = 0; i < count; i++) {
        const double value = function == DISPLAY_LOGARITHM
                                 ? NearLogarithm(numbers[i])
                                 : NearExponential(LimitExponent(numbers[i]));
        const double scaled = (value - p->least) * p->scale;
        const double positive = scaled > 0.0 ? scaled : 0.0;  // NaN as well
        const double sample = positive < p->top ? positive : p->top;
        const double fraction = sample - (double)(int)sample;
        const int bSure = fraction > p->doubt && fraction < 1.0 - p->doubt;
        samples[i] = (BYTE)(int)sample;
        sure[i] = (BYTE)bSure;
        nSure += (size_t)bSure;
    }
    return count - nSure;
}

static size_t Show(const Display *p, const double *numbers, size_t count, BYTE *samples, BYTE *sure)
{
    return p->function == DISPLAY_LOGARITHM
               ? ShowBy(p, DISPLAY_LOGARITHM, numbers, count, samples, sure)
               : ShowBy(p, DISPLAY_EXPONENTIAL, numbers, count, samples, sure);
}

const SpectrumKernels SPECTRUM_KERNELS = {Multiply, Magnify, Restore, Range, Truncate, Show};

}  // namespace KERNEL_LEVEL
