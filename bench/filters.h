// The filters that are timed as whole calls, one row each, in the order of the tables.
#ifndef BENCH_FILTERS_H
#define BENCH_FILTERS_H

#include "VexaFilter.h"

struct BenchFilter {
    const char *pName;
    HGLOBAL (*Run)(HGLOBAL hDib, int nParameter, UINT mode);
    int nParameter;
    int bGrayOnly = 0;  // takes no colour
};

extern const BenchFilter CONVOLUTIONS[];  // up to one without a name

// On a 1-bit page (pictures.h), and on gray pictures; up to one without a name. The number is the
// side of a square element.
extern const BenchFilter PAGE_FILTERS[];
extern const BenchFilter GRAY_FILTERS[];
extern const BenchFilter RANK_FILTERS[];  // of large windows, gray and colour

extern const BenchFilter EFFECTS[];  // gray and colour; up to one without a name

// Not a filter: a block as large as the image, allocated as results are and written once.
extern const BenchFilter NEW_BLOCK;

#endif
