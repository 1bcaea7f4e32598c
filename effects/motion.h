// What the two motion blurs share: their arguments and the offsets of their samples.
#ifndef EFFECTS_MOTION_H
#define EFFECTS_MOTION_H

#include "sample_rows.h"

struct MotionArguments {
    int nDirection;  // degrees, or the divisor of the step from the centre
    int nLength;     // samples
};

// An ArgumentTest.
int HasLength(const void *pArguments);

// Samples lie at the offsets from nFirst to nEnd - 1: of an even number one more on the negative
// side.
struct MotionOffsets {
    int64_t nFirst, nEnd;
};
MotionOffsets OffsetsOf(int nLength);

// The bar steps of a filter that loads, allocates, computes and stores.
int64_t FourPasses(const SampleRows *pRows);

#endif
