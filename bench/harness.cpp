// Whole calls beside a peer, and new memory alone. See harness.h, and README.md for how to read
// them.
//
// All times are the thread's own processor time, so that other work on the machine disturbs less;
// everything here runs on one thread.
//
// New pages: our blocks of 512 KiB and more are mapped and kept for reuse when freed, and
// GlobalCompact gives back what is kept. The peer's come from the C heap, which is told to map
// large blocks and to keep nothing. Reused: the C heap is told to keep everything.

#include "harness.h"

#include "pictures.h"

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>

#include <malloc.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <string>

enum { SIDE = 2048, SMALL_SIDE = 256 };

enum Memory { NEW_PAGES, REUSED };

// ---- pictures and memory ------------------------------------------------------------------------

// A DIB's rows turned to top first, in the peer's own memory.
static cv::Mat PeerPicture(HGLOBAL hDib, PictureKind kind, int side)
{
    cv::Mat picture(side, side, IsColorPicture(kind) ? CV_8UC3 : CV_8UC1);
    const size_t stride = picture.step;
    const BYTE *pixels = PictureBits(hDib);
    for (int y = 0; y < side; y++) {
        memcpy(picture.ptr(y), pixels + (size_t)(side - 1 - y) * stride, stride);
    }
    return picture;
}

static void SetHeap(Memory memory)
{
    mallopt(M_MMAP_THRESHOLD, memory == NEW_PAGES ? 128 << 10 : 1 << 30);
    mallopt(M_TRIM_THRESHOLD, memory == NEW_PAGES ? 128 << 10 : 1 << 30);
}

static void GivePagesBack(void)
{
    GlobalCompact(0);
    malloc_trim(0);
}

static void CountPixels(benchmark::State &state, int64_t pixels)
{
    state.SetItemsProcessed(state.iterations() * pixels);
}

// ---- whole calls --------------------------------------------------------------------------------

static void RunOurs(benchmark::State &state, const BenchFilter *pFilter, PictureKind kind, int side,
                    Memory memory)
{
    const HGLOBAL hSource = SharedPicture(kind, side);
    SetHeap(memory);
    GivePagesBack();
    for (auto _ : state) {
        const HGLOBAL hResult = pFilter->Run(hSource, pFilter->nParameter, 0);
        if (hResult == NULL) {
            state.SkipWithError("the filter failed");
            break;
        }
        if (memory == NEW_PAGES) {
            state.PauseTiming();
        }
        GlobalFree(hResult);
        if (memory == NEW_PAGES) {
            GivePagesBack();
            state.ResumeTiming();
        }
    }
    CountPixels(state, (int64_t)side * side);
}

static void RunPeer(benchmark::State &state, PeerFilter peer, PictureKind kind, int side,
                    Memory memory)
{
    SetHeap(memory);
    const cv::Mat source = PeerPicture(SharedPicture(kind, side), kind, side);
    GivePagesBack();
    for (auto _ : state) {
        cv::Mat result;
        peer(source, result);
        if (memory == NEW_PAGES) {
            state.PauseTiming();
        }
        result.release();
        if (memory == NEW_PAGES) {
            GivePagesBack();
            state.ResumeTiming();
        }
    }
    CountPixels(state, (int64_t)side * side);
}

static std::string RowName(const char *pFilter, PictureKind kind, const char *pSize,
                           const char *pSide)
{
    return std::string(pFilter) + "/" + PICTURE_NAMES[kind] + "/" + pSize + "/" + pSide;
}

void RegisterWholeCalls(const BenchFilter *pFilter, const char *pPeerName, PeerFilter peer)
{
    static const struct {
        const char *pName;
        int side;
        Memory memory;
    } SETTINGS[] = {
        {"2048", SIDE, NEW_PAGES}, {"2048-reused", SIDE, REUSED}, {"256", SMALL_SIDE, REUSED}};
    for (const PictureKind kind : {PICTURE_RAMP, PICTURE_COLOR}) {
        for (const auto &setting : SETTINGS) {
            if (pFilter->bGrayOnly && IsColorPicture(kind)) {
                continue;
            }
            benchmark::RegisterBenchmark(
                RowName(pFilter->pName, kind, setting.pName, "ours").c_str(), RunOurs, pFilter,
                kind, setting.side, setting.memory);
            if (peer != NULL) {
                benchmark::RegisterBenchmark(
                    RowName(pFilter->pName, kind, setting.pName, pPeerName).c_str(), RunPeer, peer,
                    kind, setting.side, setting.memory);
            }
        }
    }
    for (const PictureKind kind : {PICTURE_SHUFFLED, PICTURE_INCOMPLETE}) {
        benchmark::RegisterBenchmark(RowName(pFilter->pName, kind, "2048", "ours").c_str(), RunOurs,
                                     pFilter, kind, (int)SIDE, NEW_PAGES);
    }
}

void RegisterOtherPeer(const BenchFilter *pFilter, const char *pPeerName, PeerFilter peer)
{
    for (const PictureKind kind : {PICTURE_RAMP, PICTURE_COLOR}) {
        benchmark::RegisterBenchmark(RowName(pFilter->pName, kind, "2048", pPeerName).c_str(),
                                     RunPeer, peer, kind, (int)SIDE, NEW_PAGES);
    }
}

// ---- new memory alone ---------------------------------------------------------------------------

static void NewMatLike(const cv::Mat &src, cv::Mat &dst)
{
    dst.create(src.size(), src.type());
    memset(dst.data, 1, dst.total() * dst.elemSize());
}

// Rows Memset/DEPTH/2048/SIDE: a result block of each side, allocated and written once.
static void RegisterMemoryRows(void)
{
    for (const PictureKind kind : {PICTURE_RAMP, PICTURE_COLOR}) {
        benchmark::RegisterBenchmark(RowName(NEW_BLOCK.pName, kind, "2048", "ours").c_str(),
                                     RunOurs, &NEW_BLOCK, kind, (int)SIDE, NEW_PAGES);
        benchmark::RegisterBenchmark(RowName(NEW_BLOCK.pName, kind, "2048", "opencv").c_str(),
                                     RunPeer, NewMatLike, kind, (int)SIDE, NEW_PAGES);
    }
}

// ---- the same work? -----------------------------------------------------------------------------

static int MostDifferent(const BYTE *ours, const cv::Mat &peer, int nMargin)
{
    int most = 0;
    const int channels = peer.channels();
    for (int y = nMargin; y < peer.rows - nMargin; y++) {
        const BYTE *a = ours + (size_t)(peer.rows - 1 - y) * peer.step;
        const BYTE *b = peer.ptr(y);
        for (int i = nMargin * channels; i < (peer.cols - nMargin) * channels; i++) {
            const int difference = abs(a[i] - b[i]);
            most = difference > most ? difference : most;
        }
    }
    return most;
}

int PeerAgrees(const BenchFilter *pFilter, PeerFilter peer, int nTolerance, int nMargin)
{
    int bAgrees = 1;
    for (const PictureKind kind : {PICTURE_RAMP, PICTURE_COLOR}) {
        if (pFilter->bGrayOnly && IsColorPicture(kind)) {
            continue;
        }
        const HGLOBAL hSource = SharedPicture(kind, SMALL_SIDE);
        const HGLOBAL hResult = pFilter->Run(hSource, pFilter->nParameter, 0);
        cv::Mat result;
        peer(PeerPicture(hSource, kind, SMALL_SIDE), result);
        if (hResult == NULL || result.type() != (IsColorPicture(kind) ? CV_8UC3 : CV_8UC1) ||
            MostDifferent(PictureBits(hResult), result, nMargin) > nTolerance) {
            fprintf(stderr, "%s, %s: the peer's result is another.\n", pFilter->pName,
                    PICTURE_NAMES[kind]);
            bAgrees = 0;
        }
        GlobalFree(hResult);
    }
    return bAgrees;
}

int RegisterRow(const BenchRow *pRow, int nMargin)
{
    RegisterWholeCalls(&pRow->filter, "opencv", pRow->peer);
    return pRow->peer == NULL || pRow->nTolerance == NOT_COMPARED ||
           PeerAgrees(&pRow->filter, pRow->peer, pRow->nTolerance, nMargin);
}

int RunBenchmarks(int bAgree, int argc, char **argv)
{
    RegisterMemoryRows();
    benchmark::Initialize(&argc, argv);
    if (!bAgree || benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
