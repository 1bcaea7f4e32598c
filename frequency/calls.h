// What the calls of this family share: planes, results, channels.
//
// Kept: the planes of a call stay allocated when it succeeds (docs/frequency.md says what that
// means for a host). Where their memory runs out, the result and the planes so far stay allocated
// and the wait cursor showing.
#ifndef FREQUENCY_CALLS_H
#define FREQUENCY_CALLS_H

#include "display.h"
#include "frame/call.h"
#include "planes.h"

static const unsigned FREQUENCY_QUIRKS =
    AS_STORED | LOW_BYTE_OF_DEPTH | ONE_PLANE | SHORTAGE_LEAVES_CURSOR;

enum { SAMPLE_VALUES = 256, MOST_SMALL_SAMPLES = 24, MOST_PLANES = 4 };

// A call's work; its first members are filled in by the export's worker.
struct FrequencyWork {
    TransformKind kind;
    int bLogarithms;  // of samples above 1, else 0
    int bSpectrum;    // the result has the sides of the plane
    const FilterCall *pCall;
    void (*RunChannel)(FrequencyWork *p);
    // By RunOnPlanes.
    FourierPlan fourier;
    SampleSource source;
    SampleSource blur;  // with a second image
    SampleRows result;
    Planes planes;
    Planes blurPlanes;
    double values[SAMPLE_VALUES];
    BYTE small[2][MOST_SMALL_SAMPLES];
    double smallPlanes[MOST_PLANES][LINES * LINES];
};

// The side of the planes that hold the call's images.
size_t SideOf(const FilterCall *pCall);

// 0 for images whose planes cannot be addressed in 32 bits: a record's Prepare.
int FitsPlanes(FilterCall *pCall);

// Makes planes and result, and runs RunChannel for each channel. Returns the result.
HGLOBAL RunOnPlanes(FilterCall *pCall, FrequencyWork *p);

// The inverse transform, its real part truncated to samples of the result.
void InvertToResult(FrequencyWork *p, int bFinite);

// The same, spread over the levels by the exponential.
void InvertToExponentials(FrequencyWork *p, int bFinite);

// What the planes' real parts show, with (0, 0) in the middle.
void ShowCentred(FrequencyWork *p, DisplayFunction function);

#endif
