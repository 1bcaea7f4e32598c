// See rank.h.

#include "rank.h"

#include <algorithm>

// The sort leaves the first sample where it is.
static int MedianLevel(std::vector<int> samples)
{
    std::sort(samples.begin() + 1, samples.end());
    return samples[samples.size() / 2];
}

static int TrimmedLevel(std::vector<int> samples, int nTrim)
{
    const int count = (int)samples.size();
    long long sum = 0;
    std::sort(samples.begin(), samples.end());
    for (int i = nTrim; i <= count - nTrim - 1; i++) {
        sum += samples[(size_t)i];
    }
    return (int)((double)sum / (count - 2 * nTrim) + 0.5);
}

int RankLevel(Rank rank, const std::vector<int> &samples, int nTrim)
{
    const int lowest = *std::min_element(samples.begin(), samples.end());
    const int greatest = *std::max_element(samples.begin(), samples.end());
    switch (rank) {
    case MINIMUM:
        return lowest;
    case MAXIMUM:
        return greatest;
    case MIDPOINT:
        return (greatest + lowest) / 2;
    case RANGE:
        return greatest - lowest;
    case TRIMMED:
        return TrimmedLevel(samples, nTrim);
    case MEDIAN:
    case WEIGHTED:
    default:
        return MedianLevel(samples);
    }
}

std::vector<int> WeightedSamples(const std::vector<int> &samples,
                                 const std::vector<unsigned char> &weights, int columns)
{
    std::vector<int> list;
    for (size_t x = 0; x < (size_t)columns; x++) {
        for (size_t i = x; i < weights.size(); i += (size_t)columns) {
            list.insert(list.end(), weights[i], samples[i]);
        }
    }
    return list;
}
