// What is done to spectra between the transforms, on LINES lines at once, and how real numbers
// become samples again.
#ifndef FREQUENCY_SPECTRUM_KERNELS_H
#define FREQUENCY_SPECTRUM_KERNELS_H

#include "transform_kernels.h"

#include <windows.h>

// ---- transfer functions -------------------------------------------------------------------------

enum TransferShape {
    LOWPASS_IDEAL,
    LOWPASS_BUTTERWORTH,
    HIGHPASS_IDEAL,
    HIGHPASS_BUTTERWORTH,
    HIGH_EMPHASIS,
    HOMOMORPHIC
};

// Real factors that depend on D2 alone, the square of the distance from frequency (0, 0).
struct Transfer {
    TransferShape shape;
    double cutoff2;         // the square of the cut-off
    double offset;          // HIGH_EMPHASIS: added in all places but the middle
    double inner2, outer2;  // HOMOMORPHIC: squares of where the ramp begins and ends
    double low, high;       // HOMOMORPHIC: inside and outside of it
    double most;            // HOMOMORPHIC: what all is divided by
};

// ---- restoration --------------------------------------------------------------------------------

struct Restoration {
    int bWiener;
    double noise;   // bWiener: added to the denominator
    double before;  // factors of both spectra, of the restored numbers, and last of what goes on
    double scale;
    double after;
};

// ---- samples ------------------------------------------------------------------------------------

// To base 10, of a number of at least 1; of a number brought within +-MOST_EXPONENT.
enum DisplayFunction { DISPLAY_LOGARITHM, DISPLAY_EXPONENTIAL };

static const double MOST_EXPONENT = 200.0;

static inline double LimitExponent(double x)
{
    const double atLeast = x < -MOST_EXPONENT ? -MOST_EXPONENT : x;
    return atLeast > MOST_EXPONENT ? MOST_EXPONENT : atLeast;
}

// A sample is the function of a number, less least, times scale, from 0 to top.
struct Display {
    DisplayFunction function;
    double least;
    double scale;
    double top;
    double doubt;  // how far the near form of a sample may be off
};

struct SpectrumKernels {
    // Multiplies n elements of the lines nFirst to nFirst + LINES - 1 of n.
    void (*Multiply)(const Transfer *p, size_t n, size_t nFirst, const Lines *lines);
    // re becomes the magnitude of the number times a factor, and 1.
    void (*Magnify)(double factor, size_t n, const Lines *lines);
    // The restored spectrum takes the place of the degraded one. 0: some of it is not finite.
    int (*Restore)(const Restoration *p, size_t n, const Lines *degraded, const Lines *blur);
    // The least and the greatest of count numbers and of what stands there already. NaN is neither.
    void (*Range)(const double *numbers, size_t count, double *pLeast, double *pGreatest);
    // Low bytes of the truncated numbers (frame/intops.h: TruncateToInt).
    void (*Truncate)(const double *numbers, size_t count, BYTE *samples);
    // Samples by a fast form of the function. Returns how many are in doubt: those whose sure byte
    // is 0.
    size_t (*Show)(const Display *p, const double *numbers, size_t count, BYTE *samples,
                   BYTE *sure);
};

namespace sse2
{
extern const SpectrumKernels SPECTRUM_KERNELS;
}
namespace avx2
{
extern const SpectrumKernels SPECTRUM_KERNELS;
}

// Chosen at attach (library/kernels); read-only afterwards.
extern const SpectrumKernels *g_pSpectrumKernels;

#endif
