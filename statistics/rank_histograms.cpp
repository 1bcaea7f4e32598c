// Median and both trimmed means of square windows of any size, from histograms: the base level.

#include "sixteen_sse2.h"

#include "rank_histograms.inl"
