// The order statistics of a window, by sorting.
#ifndef TESTS_REFERENCE_RANK_H
#define TESTS_REFERENCE_RANK_H

#include <vector>

enum Rank { MINIMUM, MAXIMUM, MEDIAN, MIDPOINT, RANGE, TRIMMED, WEIGHTED };

// samples: in the order of the window; weighted: each as often as it counts.
int RankLevel(Rank rank, const std::vector<int> &samples, int nTrim);

// A window's samples row by row, listed column by column and as often as the weights say.
std::vector<int> WeightedSamples(const std::vector<int> &samples,
                                 const std::vector<unsigned char> &weights, int columns);

#endif
