// See transform_kernels.h: compiled once per instruction set into the namespace KERNEL_LEVEL.

#include "transform_kernels.h"

#include <string.h>

namespace KERNEL_LEVEL
{

enum { LANES = 4, VECTORS = LINES / LANES };
typedef double Lanes __attribute__((vector_size(LANES * sizeof(double))));

// A scratch element: the real parts of all lines, then the imaginary ones.
enum { SCRATCH_STEP = 2 * LINES };

// What a first step makes of two or four elements may take these forms.
enum Form { WHOLE, FINITE, REAL };

struct Complex {
    Lanes re, im;
};

static const double ZEROS[LINES] = {};

#define INLINE static inline __attribute__((always_inline))

INLINE void Get(const double *from, Lanes *p)
{
    memcpy(p, from, sizeof *p);
}

INLINE void Put(const Lanes *p, double *to)
{
    memcpy(to, p, sizeof *p);
}

INLINE void Join(Complex *a, Complex *b, double cosine, double sine)
{
    const Lanes re = cosine * b->re - sine * b->im;
    const Lanes im = cosine * b->im + sine * b->re;
    b->re = a->re - re;
    b->im = a->im - im;
    a->re = a->re + re;
    a->im = a->im + im;
}

// With the twiddle 1.
INLINE void JoinPlain(Complex *a, Complex *b, Form form)
{
    const Complex t = *b;
    if (form == WHOLE) {
        Join(a, b, 1.0, 0.0);
        return;
    }
    b->re = a->re - t.re;
    a->re = a->re + t.re;
    if (form == FINITE) {
        b->im = a->im - t.im;
        a->im = a->im + t.im;
    }
}

// Of two real numbers.
INLINE void JoinReal(Complex *a, Complex *b, double cosine, double sine)
{
    const Lanes re = cosine * b->re;
    const Lanes im = sine * b->re;
    b->re = a->re - re;
    b->im = -im;
    a->re = a->re + re;
    a->im = im;
}

// ---- first step: from anywhere, in bit-reversed order, to the scratch lines ---------------------

INLINE void GetElement(const LineTransform *p, const Lines *from, size_t k, int v, Form form,
                       Complex *pElement)
{
    const int bLive = k < p->nLive;
    const size_t offset = k * from->step + (size_t)(v * LANES);
    Get(bLive ? from->re + offset : ZEROS, &pElement->re);
    pElement->re *= p->before;
    if (form == REAL) {
        pElement->im = Lanes{};
    } else {
        Get(bLive ? from->im + offset : ZEROS, &pElement->im);
        pElement->im *= p->before;
    }
}

INLINE void PutElement(const Complex *pElement, double *re, double *im)
{
    Put(&pElement->re, re);
    Put(&pElement->im, im);
}

// The number that follows k where bits are counted from the top, of 2 x nTop numbers.
INLINE size_t NextReversed(size_t k, size_t nTop)
{
    while ((k & nTop) != 0) {
        k ^= nTop;
        nTop >>= 1;
    }
    return k | nTop;
}

// Elements nFirst to nFirst + count - 1 of the scratch lines. k: the element that the first of them
// takes; returns the one for the next.
INLINE size_t BeginPairs(const LineTransform *p, const Lines *from, size_t nFirst, size_t count,
                         size_t k, Form form)
{
    for (size_t e = nFirst; e < nFirst + count; e += 2) {
        for (int v = 0; v < VECTORS; v++) {
            double *out = p->scratch + e * SCRATCH_STEP + v * LANES;
            Complex a, b;
            GetElement(p, from, k, v, form, &a);
            GetElement(p, from, k + p->n / 2, v, form, &b);
            JoinPlain(&a, &b, form);
            PutElement(&a, out, out + LINES);
            PutElement(&b, out + SCRATCH_STEP, out + SCRATCH_STEP + LINES);
        }
        k = NextReversed(k, p->n / 4);
    }
    return k;
}

INLINE size_t BeginFours(const LineTransform *p, const Lines *from, size_t nFirst, size_t count,
                         size_t k, Form form)
{
    const size_t nQuarter = p->n / 4;
    const double cosine = p->cosines[2];
    const double sine = p->sines[2];
    for (size_t e = nFirst; e < nFirst + count; e += 4) {
        for (int v = 0; v < VECTORS; v++) {
            double *out = p->scratch + e * SCRATCH_STEP + v * LANES;
            Complex x[4];
            GetElement(p, from, k, v, form, &x[0]);
            GetElement(p, from, k + 2 * nQuarter, v, form, &x[1]);
            GetElement(p, from, k + nQuarter, v, form, &x[2]);
            GetElement(p, from, k + 3 * nQuarter, v, form, &x[3]);
            JoinPlain(&x[0], &x[1], form);
            JoinPlain(&x[2], &x[3], form);
            JoinPlain(&x[0], &x[2], form);
            if (form == REAL) {
                JoinReal(&x[1], &x[3], cosine, sine);
            } else {
                Join(&x[1], &x[3], cosine, sine);
            }
            for (int i = 0; i < 4; i++) {
                PutElement(&x[i], out + i * SCRATCH_STEP, out + i * SCRATCH_STEP + LINES);
            }
        }
        k = NextReversed(k, nQuarter / 2);
    }
    return k;
}

static size_t Begin(const LineTransform *p, const Lines *from, size_t nFirst, size_t count,
                    size_t k)
{
    const int bOdd = p->log2n % 2;
    if (p->bReal) {
        return bOdd ? BeginPairs(p, from, nFirst, count, k, REAL)
                    : BeginFours(p, from, nFirst, count, k, REAL);
    }
    if (p->bFinite) {
        return bOdd ? BeginPairs(p, from, nFirst, count, k, FINITE)
                    : BeginFours(p, from, nFirst, count, k, FINITE);
    }
    return bOdd ? BeginPairs(p, from, nFirst, count, k, WHOLE)
                : BeginFours(p, from, nFirst, count, k, WHOLE);
}

// ---- later steps: two stages each ---------------------------------------------------------------

// Four elements of the scratch lines, l1 apart from e on, to the same ones of other lines.
INLINE void StepOnFours(const LineTransform *p, const double *in, size_t l1, size_t j, double *re,
                        double *im, size_t step, double after, int bLast, int bReal)
{
    const double *cosines = p->cosines + l1 - 1 + j;
    const double *sines = p->sines + l1 - 1 + j;
    for (int v = 0; v < VECTORS; v++) {
        Complex x[4];
        for (int i = 0; i < 4; i++) {
            const double *from = in + (size_t)i * l1 * SCRATCH_STEP + v * LANES;
            Get(from, &x[i].re);
            Get(from + LINES, &x[i].im);
        }
        Join(&x[0], &x[1], cosines[0], sines[0]);
        Join(&x[2], &x[3], cosines[0], sines[0]);
        Join(&x[0], &x[2], cosines[l1], sines[l1]);
        Join(&x[1], &x[3], cosines[2 * l1], sines[2 * l1]);
        for (int i = 0; i < 4; i++) {
            const size_t offset = (size_t)i * l1 * step + (size_t)(v * LANES);
            if (bLast) {
                x[i].re *= after;
                x[i].im *= after;
            }
            Put(&x[i].re, re + offset);
            if (!bReal) {
                Put(&x[i].im, im + offset);
            }
        }
    }
}

static void Step(const LineTransform *p, size_t nFirst, size_t count, size_t l1)
{
    for (size_t e = nFirst; e < nFirst + count; e += 4 * l1) {
        for (size_t j = 0; j < l1; j++) {
            double *x = p->scratch + (e + j) * SCRATCH_STEP;
            StepOnFours(p, x, l1, j, x, x + LINES, SCRATCH_STEP, 1.0, 0, 0);
        }
    }
}

INLINE void FinishAs(const LineTransform *p, const Lines *to, int bReal)
{
    const size_t l1 = p->n / 4;
    for (size_t j = 0; j < l1; j++) {
        StepOnFours(p, p->scratch + j * SCRATCH_STEP, l1, j, to->re + j * to->step,
                    to->im + j * to->step, to->step, p->after, 1, bReal);
    }
}

static void Finish(const LineTransform *p, const Lines *to)
{
    if (p->bRealResult) {
        FinishAs(p, to, 1);
    } else {
        FinishAs(p, to, 0);
    }
}

// Where the first step was the last one.
static void CopyOut(const LineTransform *p, const Lines *to)
{
    for (size_t k = 0; k < p->n; k++) {
        for (int i = 0; i < LINES; i++) {
            to->re[k * to->step + (size_t)i] = p->scratch[k * SCRATCH_STEP + (size_t)i] * p->after;
            to->im[k * to->step + (size_t)i] =
                p->scratch[k * SCRATCH_STEP + LINES + (size_t)i] * p->after;
        }
    }
}

// Scratch elements that the first cache holds, twiddles besides, and that whole steps make.
static const size_t ODD_BLOCK = 128;
static const size_t EVEN_BLOCK = 64;

static void Transform(const LineTransform *p, const Lines *from, const Lines *to)
{
    const size_t n = p->n;
    const int bOdd = p->log2n % 2;
    const size_t nMost = bOdd ? ODD_BLOCK : EVEN_BLOCK;
    const size_t nBlock = n < nMost ? n : nMost;
    const size_t nBegun = bOdd ? 2 : 4;
    size_t l1 = nBegun;
    size_t k = 0;
    for (size_t e = 0; e < n; e += nBlock) {
        k = Begin(p, from, e, nBlock, k);
        for (l1 = nBegun; l1 * 4 <= nBlock && l1 * 4 < n; l1 *= 4) {
            Step(p, e, nBlock, l1);
        }
    }
    for (; l1 * 4 < n; l1 *= 4) {
        Step(p, 0, n, l1);
    }
    if (l1 < n) {
        Finish(p, to);
    } else {
        CopyOut(p, to);
    }
}

// ---- rows as lines ------------------------------------------------------------------------------

INLINE void Transpose(Lanes x[4])
{
    const Lanes a = __builtin_shufflevector(x[0], x[1], 0, 4, 2, 6);
    const Lanes b = __builtin_shufflevector(x[0], x[1], 1, 5, 3, 7);
    const Lanes c = __builtin_shufflevector(x[2], x[3], 0, 4, 2, 6);
    const Lanes d = __builtin_shufflevector(x[2], x[3], 1, 5, 3, 7);
    x[0] = __builtin_shufflevector(a, c, 0, 1, 4, 5);
    x[1] = __builtin_shufflevector(b, d, 0, 1, 4, 5);
    x[2] = __builtin_shufflevector(a, c, 2, 3, 6, 7);
    x[3] = __builtin_shufflevector(b, d, 2, 3, 6, 7);
}

static void TransposeFours(const double *from, size_t fromStep, double *to, size_t toStep)
{
    Lanes x[4];
    for (size_t i = 0; i < 4; i++) {
        Get(from + i * fromStep, &x[i]);
    }
    Transpose(x);
    for (size_t i = 0; i < 4; i++) {
        Put(&x[i], to + i * toStep);
    }
}

static void RowsToLines(const double *rows, size_t stride, size_t count, double *part, size_t step)
{
    for (size_t k = 0; k < count; k += 4) {
        for (size_t i = 0; i < LINES; i += LANES) {
            TransposeFours(rows + i * stride + k, stride, part + k * step + i, step);
        }
    }
}

static void LinesToRows(const double *part, size_t step, size_t count, double *rows, size_t stride)
{
    for (size_t k = 0; k < count; k += 4) {
        for (size_t i = 0; i < LINES; i += LANES) {
            TransposeFours(part + k * step + i, step, rows + i * stride + k, stride);
        }
    }
}

const TransformKernels TRANSFORM_KERNELS = {Transform, RowsToLines, LinesToRows};

}  // namespace KERNEL_LEVEL
