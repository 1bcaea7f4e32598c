// Median and both trimmed means of square windows of any size, from histograms: with AVX2.

#include "sixteen_avx2.h"

#include "rank_histograms.inl"
