// What the exports must answer, computed the slow and obvious way: pixel by pixel at (x, y), from
// the left and from the top, over whole blocks. Shares nothing with the library but the public
// header.
#ifndef TESTS_REFERENCE_REFERENCE_H
#define TESTS_REFERENCE_REFERENCE_H

#include "VexaFilter.h"

#include <vector>

enum Filter { LAPLACE, GRADIENT, ENHANCE, UNIFORM, GAUSS };

struct Expected {
    bool bNull;
    std::vector<BYTE> block;  // the result, byte by byte
    int nSteps;               // that the progress bar makes
    int nRange;               // its upper bound
};

static inline Expected ExpectNull(void)
{
    return {true, {}, 0, 0};
}

static inline Expected ExpectBlock(const std::vector<BYTE> &block)
{
    return {false, block, 0, 0};
}

// The whole call of a filter, on a DIB that is in order. nKernel is for the first two.
Expected ExpectFilter(Filter filter, const std::vector<BYTE> &dib, int nKernel);

// The kernel selectors that are no mistake.
std::vector<int> ValidSelectors(Filter filter);

// One pixel of a filter away from any border: the window's nine levels row by row.
int ExpectLevel(Filter filter, int nKernel, const BYTE window[9]);

// The conversions.
std::vector<BYTE> ExpectMonoToGray(const std::vector<BYTE> &dib, unsigned method);
std::vector<BYTE> ExpectTo24(const std::vector<BYTE> &dib);

#endif
