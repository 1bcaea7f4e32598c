// Sorting networks, made while compiling: Batcher's odd-even merges of two sorted lists of any
// lengths, and sorts built of them.
//
// A network runs in the lanes of vectors: a kernel holds one sample of each list position in a
// variable and orders them pair by pair; the compiler turns each pair into one minimum and one
// maximum of a whole vector, and drops those whose result nobody uses.
//
// In a namespace per level: shared inline code would be kept once by the linker, perhaps in the
// form that an older processor cannot run.
#ifndef STATISTICS_SORTING_NETWORKS_H
#define STATISTICS_SORTING_NETWORKS_H

namespace KERNEL_LEVEL
{

enum { MOST_POSITIONS = 64, MOST_PAIRS = 256 };

// Positions in the order of their samples.
struct Positions {
    int count;
    int at[MOST_POSITIONS];
};

// Pair by pair, the smaller sample goes to position low. The sorted list is then read at order.
struct Network {
    int nPairs;
    int low[MOST_PAIRS];
    int high[MOST_PAIRS];
    Positions order;
};

static constexpr Positions EverySecond(const Positions &list, int first)
{
    Positions half = {};
    for (int i = first; i < list.count; i += 2) {
        half.at[half.count++] = list.at[i];
    }
    return half;
}

static constexpr void AddPair(Network &network, int low, int high)
{
    network.low[network.nPairs] = low;
    network.high[network.nPairs++] = high;
}

// Merges the odd and the even places of both lists; then only neighbours can be out of order.
static constexpr Positions AddMerge(Network &network, const Positions &x, const Positions &y)
{
    if (x.count == 0 || y.count == 0) {
        return x.count == 0 ? y : x;
    }
    if (x.count == 1 && y.count == 1) {
        AddPair(network, x.at[0], y.at[0]);
        return {2, {x.at[0], y.at[0]}};
    }
    const Positions odd = AddMerge(network, EverySecond(x, 0), EverySecond(y, 0));
    const Positions even = AddMerge(network, EverySecond(x, 1), EverySecond(y, 1));
    Positions merged = {1, {odd.at[0]}};
    for (int i = 0; i < odd.count || i < even.count; i++) {
        if (i < even.count && i + 1 < odd.count) {
            AddPair(network, even.at[i], odd.at[i + 1]);
        }
        if (i < even.count) {
            merged.at[merged.count++] = even.at[i];
        }
        if (i + 1 < odd.count) {
            merged.at[merged.count++] = odd.at[i + 1];
        }
    }
    return merged;
}

static constexpr Positions Successive(int first, int count)
{
    Positions list = {};
    for (list.count = 0; list.count < count; list.count++) {
        list.at[list.count] = first + list.count;
    }
    return list;
}

static constexpr Positions AddSort(Network &network, int first, int count)
{
    if (count == 1) {
        return Successive(first, 1);
    }
    const Positions x = AddSort(network, first, count / 2);
    const Positions y = AddSort(network, first + count / 2, count - count / 2);
    return AddMerge(network, x, y);
}

static constexpr Network MergeNetwork(int nFirst, int nSecond)
{
    Network network = {};
    network.order = AddMerge(network, Successive(0, nFirst), Successive(nFirst, nSecond));
    return network;
}

static constexpr Network SortNetwork(int count)
{
    Network network = {};
    network.order = AddSort(network, 0, count);
    return network;
}

// Sorts positions 0 to COUNT - 1.
template <int COUNT> static constexpr Network SORT = SortNetwork(COUNT);

// Merges the sorted positions 0 to FIRST - 1 with the SECOND sorted ones behind them.
template <int FIRST, int SECOND> static constexpr Network MERGE = MergeNetwork(FIRST, SECOND);

}  // namespace KERNEL_LEVEL

#endif
