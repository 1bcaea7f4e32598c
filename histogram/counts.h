// Counting the stored values of rows, for the transforms and for the charts.
#ifndef HISTOGRAM_COUNTS_H
#define HISTOGRAM_COUNTS_H

#include "frame/levels.h"

// Adds what nRows rows of 24 bits hold to the counts of their channels. The one or two bytes behind
// a row's last whole pixel belong to none; padding that makes up a pixel counts as one.
void CountChannels(const BYTE *src, size_t nRows, size_t stride,
                   DWORD counts[COLOR_CHANNELS][GRAY_LEVELS]);

// Counts of bytes as counts of their two nibbles. Not in place.
void SplitCounts(const DWORD bytes[GRAY_LEVELS], DWORD nibbles[GRAY_LEVELS]);

#endif
