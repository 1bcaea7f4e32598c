// The effects pixel by pixel: the answer to a whole call on a DIB that is in order.
#ifndef TESTS_REFERENCE_EFFECTS_H
#define TESTS_REFERENCE_EFFECTS_H

#include "reference.h"

enum Effect {
    MOTION_BLUR,
    CENTER_MOTION_BLUR,
    MOSAIC,
    MULTIPLY,
    NOISE,
    AVERAGE,
    IMPRESSIONIST,
    POLAR,
    CYLINDER,
    PUZZLE
};

// The parameters in the order of the export.
struct EffectCall {
    Effect effect;
    int p[2];
};

// nSeed: the clock.
Expected ExpectEffect(const EffectCall &call, const std::vector<BYTE> &dib, unsigned nSeed);

// The draws of that clock.
std::vector<unsigned> Draws(unsigned nSeed, size_t count);

#endif
