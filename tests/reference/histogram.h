// The histogram transforms byte by byte: the answer to a whole call.
#ifndef TESTS_REFERENCE_HISTOGRAM_H
#define TESTS_REFERENCE_HISTOGRAM_H

#include "reference.h"

enum Transform { SLIDE, STRETCH, THRESHOLD, COMPLEMENT, MODIFY, EQUALIZATION };

// The parameters of all; each transform has its own.
struct TransformCall {
    Transform transform;
    UINT low, high;
    int shift;
    float factor;
    UINT threshold;
};

// Null for 1 bit where it is refused; else the DIB is taken to be in order, of any depth.
Expected ExpectTransform(const TransformCall &call, const std::vector<BYTE> &dib);

#endif
