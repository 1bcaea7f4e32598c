// The tonal filters pixel by pixel: the answer to a whole call on a DIB that is in order.
#ifndef TESTS_REFERENCE_TONAL_H
#define TESTS_REFERENCE_TONAL_H

#include "reference.h"

enum Tone { AUTO_CONTRAST, PARABOLA, SOLARIZING, POSTERIZING, LEVELS, AUTO_LEVELS, TO_NEIGHBOUR };

// The parameters in the order of the export.
struct ToneCall {
    Tone tone;
    int p[6];
};

Expected ExpectTone(const ToneCall &call, const std::vector<BYTE> &dib);

#endif
