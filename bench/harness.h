// The rows that every family's benchmark has: whole calls beside a peer, new memory alone, and
// kernels on their own.
#ifndef BENCH_HARNESS_H
#define BENCH_HARNESS_H

#include "filters.h"
#include "frame/line_kernel.h"

namespace cv
{
class Mat;
}

// The peer's call for the same work. dst is empty: the peer makes it.
typedef void (*PeerFilter)(const cv::Mat &src, cv::Mat &dst);

// Rows FILTER/DEPTH/SIZE/SIDE, where SIDE is "ours" or pPeerName, for each of these settings:
//   2048           the result in new pages of the system, given back untimed after each call
//   2048-reused    the result in memory that the allocator kept from the call before
//   256            the same, small: pictures stay in the cache; freeing is part of the call
// Ours alone on palettes that are not a ramp, 2048 only, and where there is no peer (null).
void RegisterWholeCalls(const BenchFilter *pFilter, const char *pPeerName, PeerFilter peer);

// A second way of the peer to do the same, 2048 only.
void RegisterOtherPeer(const BenchFilter *pFilter, const char *pPeerName, PeerFilter peer);

// Row Kernel/NAME/DEPTH/LEVEL for both depths: a 3 x 3 kernel over lines in the cache. Where the
// processor lacks the level, "sse2" or "avx2", the row is skipped and says so.
void RegisterKernel(const char *pName, const char *pLevel, LineKernel kernel);

// A filter and the peer's call for the same work; null: it has none.
struct BenchRow {
    BenchFilter filter;
    PeerFilter peer;
    int nTolerance;  // of the results' levels; NOT_COMPARED where they may differ
};
enum { NOT_COMPARED = 256 };

// 0 when the peer's result differs by more than nTolerance from ours somewhere further than nMargin
// pixels from the border: then the rows would compare different work. Said on standard error.
int PeerAgrees(const BenchFilter *pFilter, PeerFilter peer, int nTolerance, int nMargin = 1);

// The whole calls of a row beside OpenCV, if PeerAgrees, whose result it returns.
int RegisterRow(const BenchRow *pRow, int nMargin = 1);

// The last lines of a benchmark's main: memory rows, and all that is registered. bAgree 0: nothing
// is run. Returns the exit status.
int RunBenchmarks(int bAgree, int argc, char **argv);

#endif
