// See frequency.h.

#include "frequency.h"

#include "picture.h"

#include <math.h>
#include <string.h>

#include <functional>

// ---- transforms ---------------------------------------------------------------------------------

static void ReverseBits(double *re, double *im, int n)
{
    int j = 0;
    for (int i = 0; i < n - 1; i++) {
        if (i < j) {
            std::swap(re[i], re[j]);
            std::swap(im[i], im[j]);
        }
        int k = n / 2;
        while (k <= j) {
            j -= k;
            k /= 2;
        }
        j += k;
    }
}

static void Butterfly(double *re, double *im, int i, int i1, double u1, double u2)
{
    const double t1 = u1 * re[i1] - u2 * im[i1];
    const double t2 = u1 * im[i1] + u2 * re[i1];
    re[i1] = re[i] - t1;
    im[i1] = im[i] - t2;
    re[i] += t1;
    im[i] += t2;
}

void FFT1D(int direction, int log2n, double *re, double *im)
{
    const int n = 1 << log2n;
    ReverseBits(re, im, n);
    double c1 = -1.0, c2 = 0.0;
    int l2 = 1;
    for (int stage = 0; stage < log2n; stage++) {
        const int l1 = l2;
        l2 = 2 * l1;
        double u1 = 1.0, u2 = 0.0;
        for (int j = 0; j < l1; j++) {
            for (int i = j; i < n; i += l2) {
                Butterfly(re, im, i, i + l1, u1, u2);
            }
            const double z = u1 * c1 - u2 * c2;
            u2 = u1 * c2 + u2 * c1;
            u1 = z;
        }
        c2 = sqrt((1.0 - c1) / 2.0);
        if (direction == 1) {
            c2 = -c2;
        }
        c1 = sqrt((1.0 + c1) / 2.0);
    }
    for (int i = 0; direction == 1 && i < n; i++) {
        re[i] /= n;
        im[i] /= n;
    }
}

void FFT1DTable(double *re, double *im, int n, int direction, const double *cosTable,
                const double *sinTable, int log2n)
{
    for (int i = 0; direction == 1 && i < n; i++) {
        re[i] /= n;
        im[i] /= n;
    }
    ReverseBits(re, im, n);
    int l1 = 1;
    for (int stage = 0; stage < log2n; stage++, l1 *= 2) {
        const int l2 = 2 * l1;
        for (int j = 0; j < l1; j++) {
            const double cosine = j == 0 ? 1.0 : cosTable[j * (n / l2)];
            const double sine = j == 0 ? 0.0 : sinTable[j * (n / l2)];
            for (int i = j; i < n; i += l2) {
                Butterfly(re, im, i, i + l1, cosine, sine);
            }
        }
    }
}

void FillTables(int n, int direction, Numbers *pCosines, Numbers *pSines)
{
    const double step = 6.283 / n;
    for (int k = 0; k < n; k++) {
        const double angle = k * step;
        const double sine = (double)sinl((long double)angle);
        pCosines->push_back((double)cosl((long double)angle));
        pSines->push_back(direction == 1 ? sine : -1.0 * sine);
    }
}

static void OverLines(double *re, double *im, int n, bool bColumns,
                      const std::function<void(double *, double *)> &Transform)
{
    const int next = bColumns ? n : 1;
    Numbers lineRe((size_t)n), lineIm((size_t)n);
    for (int line = 0; line < n; line++) {
        const int first = bColumns ? line : line * n;
        for (int k = 0; k < n; k++) {
            lineRe[(size_t)k] = re[first + k * next];
            lineIm[(size_t)k] = im[first + k * next];
        }
        Transform(lineRe.data(), lineIm.data());
        for (int k = 0; k < n; k++) {
            re[first + k * next] = lineRe[(size_t)k];
            im[first + k * next] = lineIm[(size_t)k];
        }
    }
}

static int Log2(int n)
{
    int log2n = 0;
    while (1 << log2n < n) {
        log2n++;
    }
    return log2n;
}

void FFT2D(double *re, double *im, int n, int direction)
{
    const auto Line = [&](double *r, double *i) { FFT1D(direction, Log2(n), r, i); };
    OverLines(re, im, n, true, Line);
    OverLines(re, im, n, false, Line);
}

void FFT2DTable(double *re, double *im, int n, int direction)
{
    Numbers cosines, sines;
    FillTables(n, direction, &cosines, &sines);
    const auto Line = [&](double *r, double *i) {
        FFT1DTable(r, i, n, direction, cosines.data(), sines.data(), Log2(n));
    };
    OverLines(re, im, n, false, Line);
    OverLines(re, im, n, true, Line);
}

// ---- planes -------------------------------------------------------------------------------------

enum { SPARE_NUMBERS = 6 };  // of 50 bytes

struct SquarePlane {
    int n;
    Numbers re, im;
};

static SquarePlane MakePlane(int n)
{
    const size_t count = (size_t)n * (size_t)n + SPARE_NUMBERS;
    return {n, Numbers(count), Numbers(count)};
}

static void Forward(SquarePlane *p, int transformKind)
{
    if (transformKind == 0) {
        FFT2D(p->re.data(), p->im.data(), p->n, 1);
    } else {
        FFT2DTable(p->re.data(), p->im.data(), p->n, 0);
    }
}

static void Inverse(SquarePlane *p, int transformKind)
{
    if (transformKind == 0) {
        FFT2D(p->re.data(), p->im.data(), p->n, -1);
    } else {
        FFT2DTable(p->re.data(), p->im.data(), p->n, 1);
    }
}

static void Scale(SquarePlane *p, double factor)
{
    for (int i = 0; i < p->n * p->n; i++) {
        p->re[(size_t)i] *= factor;
        p->im[(size_t)i] *= factor;
    }
}

static void CentreSpectrum(SquarePlane *p)
{
    const int h = p->n / 2;
    for (int r = 0; r < h; r++) {
        for (int c = 0; c < p->n; c++) {
            const size_t a = (size_t)(r * p->n + c);
            const size_t b = (size_t)((r + h) * p->n + (c < h ? c + h : c - h));
            std::swap(p->re[a], p->re[b]);
            std::swap(p->im[a], p->im[b]);
        }
    }
}

static void LogMagnitude(SquarePlane *p)
{
    for (int i = 0; i < p->n * p->n; i++) {
        const double re = p->re[(size_t)i], im = p->im[(size_t)i];
        p->re[(size_t)i] = (double)log10l((long double)(sqrt(re * re + im * im) + 1.0));
    }
}

static void NormalizeSpectrum(SquarePlane *p, int bitCount)
{
    double most = -1e10, least = 1e10;
    for (int i = 0; i < p->n * p->n; i++) {
        most = p->re[(size_t)i] > most ? p->re[(size_t)i] : most;
        least = p->re[(size_t)i] < least ? p->re[(size_t)i] : least;
    }
    double range = most - least;
    range = range < 1e-10 ? 1e-10 : range;
    const double top = bitCount == 4 ? 15.0 : 255.0;
    const double scale = top / range;
    for (int i = 0; i < p->n * p->n; i++) {
        const double value = (p->re[(size_t)i] - least) * scale;
        p->re[(size_t)i] = value > top ? top : value < 0.0 ? 0.0 : value;
    }
}

// ---- rows ---------------------------------------------------------------------------------------

struct Image {
    int width, height, bits;
    size_t head;    // bytes before the rows
    size_t stride;  // of a row
};

static Image ImageOf(const Bytes &dib)
{
    const BITMAPINFOHEADER h = HeaderOf(dib);
    const int bits = h.biBitCount & 0xff;
    const size_t colors = h.biClrUsed != 0 ? h.biClrUsed : bits == 4 ? 16 : bits == 8 ? 256 : 0;
    return {h.biWidth, h.biHeight, bits, 40 + 4 * colors,
            ((size_t)bits * (size_t)h.biWidth + 31) / 32 * 4};
}

static void DibRowToSamples(const Image &image, int channel, double *row, const BYTE *src)
{
    if (image.bits == 24) {
        for (size_t i = 0; i < image.stride / 3; i++) {
            row[i] = (signed char)src[3 * i + (size_t)channel];
        }
    } else if (image.bits == 8) {
        for (size_t i = 0; i < image.stride; i++) {
            row[i] = (signed char)src[i];
        }
    } else if (image.bits == 4) {
        for (size_t i = 0; i < image.stride; i++) {
            row[2 * i] = src[i] >> 4;
            row[2 * i + 1] = src[i] & 15;
        }
    }
}

static int Truncate(double x)
{
    return x != x ? 0 : x > 2147483647.0 ? 2147483647 : x < -2147483648.0 ? INT32_MIN : (int)x;
}

static void SamplesToDibRow(const Image &image, int channel, const double *row, BYTE *dst)
{
    if (image.bits == 24) {
        for (size_t i = 0; i < image.stride / 3; i++) {
            dst[3 * i + (size_t)channel] = (BYTE)Truncate(row[i]);
        }
    } else if (image.bits == 8) {
        for (size_t i = 0; i < image.stride; i++) {
            dst[i] = (BYTE)Truncate(row[i]);
        }
    } else if (image.bits == 4) {
        for (size_t i = 0; i < image.stride; i++) {
            dst[i] = (BYTE)((Truncate(row[2 * i]) & 15) * 16 + (Truncate(row[2 * i + 1]) & 15));
        }
    }
}

static void ReadPlane(const Bytes &dib, const Image &image, int channel, SquarePlane *p)
{
    for (int r = 0; r < image.height; r++) {
        DibRowToSamples(image, channel, &p->re[(size_t)(r * p->n)],
                        &dib[image.head + (size_t)r * image.stride]);
    }
}

static void WritePlane(const SquarePlane &plane, const Image &image, int channel, Bytes *pDib)
{
    for (int r = 0; r < image.height; r++) {
        SamplesToDibRow(image, channel, &plane.re[(size_t)(r * plane.n)],
                        &(*pDib)[image.head + (size_t)r * image.stride]);
    }
}

static int SideFor(int side)
{
    int n = 2;
    while (n < side) {
        n *= 2;
    }
    return n;
}

// ---- calls --------------------------------------------------------------------------------------

static Bytes BlankResult(const Bytes &dib, const Image &image, int width, int height)
{
    const size_t channels = image.bits == 24 ? 3 : 1;
    Bytes result(image.head + (size_t)((width + 3) / 4) * (size_t)height * 4 * channels + 4);
    memcpy(result.data(), dib.data(), image.head);
    return result;
}

static bool HasSamples(const Image &image)
{
    return image.bits == 4 || image.bits == 8 || image.bits == 24;
}

static Expected ForChannels(const Image &image, Bytes result,
                            const std::function<void(int, Bytes *)> &Run)
{
    for (int channel = 0; HasSamples(image) && channel < (image.bits == 24 ? 3 : 1); channel++) {
        Run(channel, &result);
    }
    return ExpectBlock(result);
}

Expected ExpectSpectrum(const Bytes &dib, int transformKind)
{
    const Image image = ImageOf(dib);
    const int n = SideFor(image.width > image.height ? image.width : image.height);
    Bytes blank = BlankResult(dib, image, n, n);
    BITMAPINFOHEADER header = HeaderOf(dib);
    header.biWidth = header.biHeight = n;
    SetHeader(&blank, header);
    return ForChannels(image, blank, [&](int channel, Bytes *pResult) {
        SquarePlane plane = MakePlane(n);
        ReadPlane(dib, image, channel, &plane);
        Forward(&plane, transformKind);
        Scale(&plane, transformKind == 0 ? 500000.0 : 1.0);
        CentreSpectrum(&plane);
        LogMagnitude(&plane);
        NormalizeSpectrum(&plane, image.bits);
        WritePlane(plane, ImageOf(*pResult), channel, pResult);
    });
}

typedef std::function<double(double)> TransferValue;  // of D2

static void Filter(SquarePlane *p, int transformKind, const TransferValue &Value)
{
    Forward(p, transformKind);
    CentreSpectrum(p);
    for (int r = 0; r < p->n; r++) {
        for (int c = 0; c < p->n; c++) {
            const int dy = p->n / 2 - r, dx = p->n / 2 - c;
            const double h = Value((double)(dx * dx + dy * dy));
            p->re[(size_t)(r * p->n + c)] *= h;
            p->im[(size_t)(r * p->n + c)] *= h;
        }
    }
    CentreSpectrum(p);
    Inverse(p, transformKind);
}

static Expected ExpectFiltered(const Bytes &dib, int transformKind, const TransferValue &Value)
{
    const Image image = ImageOf(dib);
    const int n = SideFor(image.width > image.height ? image.width : image.height);
    return ForChannels(image, BlankResult(dib, image, image.width, image.height),
                       [&](int channel, Bytes *pResult) {
                           SquarePlane plane = MakePlane(n);
                           ReadPlane(dib, image, channel, &plane);
                           Filter(&plane, transformKind, Value);
                           WritePlane(plane, image, channel, pResult);
                       });
}

static double SquareOf(int distance)
{
    return (double)distance * (double)distance;
}

Expected ExpectLowpass(const Bytes &dib, int cutoff, int filterType, int transformKind)
{
    const double c2 = SquareOf(cutoff & 0xffff);
    return ExpectFiltered(dib, transformKind, [&](double d2) {
        return filterType != 2 ? (d2 < c2 ? 1.0 : 0.0) : c2 == 0 ? 0.0 : 1 / (d2 / c2 + 1);
    });
}

Expected ExpectHighpass(const Bytes &dib, int cutoff, int filterType, int transformKind)
{
    const double c2 = SquareOf(cutoff & 0xffff);
    return ExpectFiltered(dib, transformKind, [&](double d2) {
        return filterType != 2 ? (d2 >= c2 ? 1.0 : 0.0) : d2 == 0 ? 0.0 : 1 / (c2 / d2 + 1);
    });
}

Expected ExpectEnhance(const Bytes &dib, int cutoff, float gain, int transformKind)
{
    const double c2 = SquareOf(cutoff & 0xffff);
    if (gain < 1.0f) {
        return ExpectNull();
    }
    const double limited = gain > 2.0f ? 2.0 : (double)gain;
    return ExpectFiltered(dib, transformKind, [&](double d2) {
        const double h = d2 == 0 ? 0.0 : 1 / (c2 / d2 + 1) + (limited - 1);
        return h > 1.0 ? 1.0 : h;
    });
}

Expected ExpectHomomorphic(const Bytes &dib, int cutoff, int bandWidth, float gammaHigh,
                           float gammaLow, int transformKind)
{
    const Image image = ImageOf(dib);
    const int n = SideFor(image.width > image.height ? image.width : image.height);
    const int c = cutoff & 0xffff, half = (bandWidth & 0xffff) / 2;
    const double i2 = SquareOf(c - half), o2 = SquareOf(c + half);
    const double gH = (double)gammaHigh, gL = (double)gammaLow;
    const double larger = gH > gL ? gH : gL;
    const double divisor = larger < 0.001 ? 0.001 : larger;
    const auto Value = [&](double d2) {
        const double h = d2 > o2          ? gH
                         : d2 < i2        ? gL
                         : o2 - i2 <= 1.0 ? gL
                                          : gL + (d2 - i2) / (o2 - i2) * (gH - gL);
        return h / divisor;
    };
    return ForChannels(image, BlankResult(dib, image, image.width, image.height),
                       [&](int channel, Bytes *pResult) {
                           SquarePlane plane = MakePlane(n);
                           ReadPlane(dib, image, channel, &plane);
                           for (double &s : plane.re) {
                               s = s > 1.0 ? (double)logl((long double)s) : 0.0;
                           }
                           Filter(&plane, transformKind, Value);
                           for (int i = 0; i < n * n; i++) {
                               const double x = plane.re[(size_t)i];
                               const double clamped = x < -200.0 ? -200.0 : x > 200.0 ? 200.0 : x;
                               plane.re[(size_t)i] = (double)expl((long double)clamped);
                           }
                           NormalizeSpectrum(&plane, image.bits);
                           WritePlane(plane, image, channel, pResult);
                       });
}

Expected ExpectRestored(const Bytes &dib, const Bytes &psf, const double *noise, int transformKind,
                        int scale)
{
    const Image image = ImageOf(dib), blur = ImageOf(psf);
    int side = image.width > image.height ? image.width : image.height;
    side = blur.width > side ? blur.width : side;
    const int n = SideFor(blur.height > side ? blur.height : side);
    return ForChannels(image, BlankResult(dib, image, image.width, image.height),
                       [&](int channel, Bytes *pResult) {
                           SquarePlane g = MakePlane(n), h = MakePlane(n);
                           ReadPlane(dib, image, channel, &g);
                           ReadPlane(psf, blur, channel, &h);
                           Forward(&g, transformKind);
                           Forward(&h, transformKind);
                           Scale(&g, transformKind == 0 ? 100000.0 : 1.0);
                           Scale(&h, transformKind == 0 ? 100000.0 : 1.0);
                           for (size_t i = 0; i < (size_t)(n * n); i++) {
                               const double re = g.re[i], im = g.im[i], hRe = h.re[i],
                                            hIm = h.im[i];
                               if (noise == NULL) {
                                   const double d = hRe * hRe + hIm * hIm;
                                   if (d != 0.0) {
                                       g.re[i] = (re * hRe + im * hIm) / d * scale;
                                       g.im[i] = (im * hRe - re * hIm) / d * scale;
                                   }
                                   continue;
                               }
                               const double d = hRe * hRe + hIm * hIm + *noise;
                               const double wRe = d == 0.0 ? 0.0 : hRe / d,
                                            wIm = d == 0.0 ? 0.0 : -hIm / d;
                               g.re[i] = (wRe * re - wIm * im) * scale;
                               g.im[i] = (wRe * im + wIm * re) * scale;
                           }
                           Scale(&g, transformKind == 0 ? 1e-5 : 1.0);
                           Inverse(&g, transformKind);
                           WritePlane(g, image, channel, pResult);
                       });
}
