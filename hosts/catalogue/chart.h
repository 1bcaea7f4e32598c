// A picture's counts and their chart, for hosts that show them. The library counts a row's padding,
// too; here it is left out.
#ifndef CATALOGUE_CHART_H
#define CATALOGUE_CHART_H

#include <VexaFilter.h>

// False: not a DIB of 1, 4, 8 or 24 bits.
bool CountPicture(HGLOBAL hDib, HistogramRecord *record);

// The chart as HistDispToDC draws it, on black, as a 24-bit DIB of that size; null: it is too
// narrow, or there is no memory.
HGLOBAL DrawChart(const HistogramRecord *record, int width, int height, int channel);

#endif
