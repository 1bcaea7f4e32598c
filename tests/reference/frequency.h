// The frequency filters number by number: the transforms as they are defined, on whole planes, and
// the answers to whole calls.
#ifndef TESTS_REFERENCE_FREQUENCY_H
#define TESTS_REFERENCE_FREQUENCY_H

#include "reference.h"

#include <vector>

typedef std::vector<double> Numbers;

// In place. Directions: 1 forward and -1 inverse; 0 forward and 1 inverse.
void FFT1D(int direction, int log2n, double *re, double *im);
void FFT2D(double *re, double *im, int n, int direction);
void FFT2DTable(double *re, double *im, int n, int direction);
void FFT1DTable(double *re, double *im, int n, int direction, const double *cosTable,
                const double *sinTable, int log2n);
void FillTables(int n, int direction, Numbers *pCosines, Numbers *pSines);

// For DIBs in order, of any depth.
Expected ExpectSpectrum(const std::vector<BYTE> &dib, int transformKind);
Expected ExpectLowpass(const std::vector<BYTE> &dib, int cutoff, int filterType, int transformKind);
Expected ExpectHighpass(const std::vector<BYTE> &dib, int cutoff, int filterType,
                        int transformKind);
Expected ExpectEnhance(const std::vector<BYTE> &dib, int cutoff, float gain, int transformKind);
Expected ExpectHomomorphic(const std::vector<BYTE> &dib, int cutoff, int bandWidth, float gammaHigh,
                           float gammaLow, int transformKind);
// noise null: the inverse filter.
Expected ExpectRestored(const std::vector<BYTE> &dib, const std::vector<BYTE> &psf,
                        const double *noise, int transformKind, int scale);

#endif
