// Numbers of any size as samples: a function of them, spread so that the least becomes 0 and the
// greatest the highest level.
#ifndef FREQUENCY_DISPLAY_H
#define FREQUENCY_DISPLAY_H

#include "planes.h"
#include "spectrum_kernels.h"

// For side x side numbers. nTop: the highest level.
Display SpreadOver(DisplayFunction function, const Planes *planes, size_t side, int nTop);

void ShowNumbers(const Display *p, const double *numbers, size_t count, BYTE *samples);

#endif
