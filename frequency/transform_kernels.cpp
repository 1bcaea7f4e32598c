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

// Elements of columns lie a row apart, where no processor expects them. Those of a step some steps
// ahead are asked for.
enum { STEPS_AHEAD = 3 };

INLINE size_t ReversedAhead(size_t k, size_t nTop)
{
    for (int i = 0; i < STEPS_AHEAD; i++) {
        k = NextReversed(k, nTop);
    }
    return k;
}

INLINE void AskFor(const Lines *lines, size_t k, Form form)
{
    __builtin_prefetch(lines->re + k * lines->step);
    if (form != REAL) {
        __builtin_prefetch(lines->im + k * lines->step);
    }
}

// Elements nFirst to nFirst + count - 1 of the scratch lines. k: the element that the first of them
// takes; returns the one for the next.
INLINE size_t BeginPairs(const LineTransform *p, const Lines *from, size_t nFirst, size_t count,
                         size_t k, Form form)
{
    size_t nAhead = ReversedAhead(k, p->n / 4);
    for (size_t e = nFirst; e < nFirst + count; e += 2) {
        AskFor(from, nAhead, form);
        AskFor(from, nAhead + p->n / 2, form);
        nAhead = NextReversed(nAhead, p->n / 4);
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
    size_t nAhead = ReversedAhead(k, nQuarter / 2);
    for (size_t e = nFirst; e < nFirst + count; e += 4) {
        for (size_t i = 0; i < 4; i++) {
            AskFor(from, nAhead + i * nQuarter, form);
        }
        nAhead = NextReversed(nAhead, nQuarter / 2);
        for (int v = 0; v < VECTORS; v++) {
            double *out = p->scratch + e * SCRATCH_STEP + v * LANES;
            Complex a, b, c, d;
            GetElement(p, from, k, v, form, &a);
            GetElement(p, from, k + 2 * nQuarter, v, form, &b);
            GetElement(p, from, k + nQuarter, v, form, &c);
            GetElement(p, from, k + 3 * nQuarter, v, form, &d);
            JoinPlain(&a, &b, form);
            JoinPlain(&c, &d, form);
            JoinPlain(&a, &c, form);
            if (form == REAL) {
                JoinReal(&b, &d, cosine, sine);
            } else {
                Join(&b, &d, cosine, sine);
            }
            PutElement(&a, out, out + LINES);
            PutElement(&b, out + SCRATCH_STEP, out + SCRATCH_STEP + LINES);
            PutElement(&c, out + 2 * SCRATCH_STEP, out + 2 * SCRATCH_STEP + LINES);
            PutElement(&d, out + 3 * SCRATCH_STEP, out + 3 * SCRATCH_STEP + LINES);
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

INLINE void GetScratch(const double *from, Complex *p)
{
    Get(from, &p->re);
    Get(from + LINES, &p->im);
}

INLINE void PutResult(const Complex *p, double after, int bLast, int bReal, double *re, double *im)
{
    const Lanes scaledRe = bLast ? p->re * after : p->re;
    const Lanes scaledIm = bLast ? p->im * after : p->im;
    Put(&scaledRe, re);
    if (!bReal) {
        Put(&scaledIm, im);
    }
}

// Four elements of the scratch lines, l1 apart from e on, to the same ones of other lines.
INLINE void StepOnFours(const LineTransform *p, const double *in, size_t l1, size_t j, double *re,
                        double *im, size_t step, double after, int bLast, int bReal)
{
    const double *cosines = p->cosines + l1 - 1 + j;
    const double *sines = p->sines + l1 - 1 + j;
    for (int v = 0; v < VECTORS; v++) {
        const double *from = in + v * LANES;
        const size_t offset = (size_t)v * LANES;
        Complex a, b, c, d;
        GetScratch(from, &a);
        GetScratch(from + l1 * SCRATCH_STEP, &b);
        GetScratch(from + 2 * l1 * SCRATCH_STEP, &c);
        GetScratch(from + 3 * l1 * SCRATCH_STEP, &d);
        Join(&a, &b, cosines[0], sines[0]);
        Join(&c, &d, cosines[0], sines[0]);
        Join(&a, &c, cosines[l1], sines[l1]);
        Join(&b, &d, cosines[2 * l1], sines[2 * l1]);
        PutResult(&a, after, bLast, bReal, re + offset, im + offset);
        PutResult(&b, after, bLast, bReal, re + l1 * step + offset, im + l1 * step + offset);
        PutResult(&c, after, bLast, bReal, re + 2 * l1 * step + offset,
                  im + 2 * l1 * step + offset);
        PutResult(&d, after, bLast, bReal, re + 3 * l1 * step + offset,
                  im + 3 * l1 * step + offset);
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
static const size_t EVEN_BLOCK = 256;

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

// Four by four.
INLINE void Transpose(const double *from, size_t fromStep, double *to, size_t toStep)
{
    Lanes x, y, z, w;
    Get(from, &x);
    Get(from + fromStep, &y);
    Get(from + 2 * fromStep, &z);
    Get(from + 3 * fromStep, &w);
    const Lanes a = __builtin_shufflevector(x, y, 0, 4, 2, 6);
    const Lanes b = __builtin_shufflevector(x, y, 1, 5, 3, 7);
    const Lanes c = __builtin_shufflevector(z, w, 0, 4, 2, 6);
    const Lanes d = __builtin_shufflevector(z, w, 1, 5, 3, 7);
    x = __builtin_shufflevector(a, c, 0, 1, 4, 5);
    y = __builtin_shufflevector(b, d, 0, 1, 4, 5);
    z = __builtin_shufflevector(a, c, 2, 3, 6, 7);
    w = __builtin_shufflevector(b, d, 2, 3, 6, 7);
    Put(&x, to);
    Put(&y, to + toStep);
    Put(&z, to + 2 * toStep);
    Put(&w, to + 3 * toStep);
}

static void RowsToLines(const double *rows, size_t stride, size_t count, double *part, size_t step)
{
    for (size_t k = 0; k < count; k += 4) {
        for (size_t i = 0; i < LINES; i += LANES) {
            Transpose(rows + i * stride + k, stride, part + k * step + i, step);
        }
    }
}

static void LinesToRows(const double *part, size_t step, size_t count, double *rows, size_t stride)
{
    for (size_t k = 0; k < count; k += 4) {
        for (size_t i = 0; i < LINES; i += LANES) {
            Transpose(part + k * step + i, step, rows + i * stride + k, stride);
        }
    }
}

const TransformKernels TRANSFORM_KERNELS = {Transform, RowsToLines, LinesToRows};

}  // namespace KERNEL_LEVEL
