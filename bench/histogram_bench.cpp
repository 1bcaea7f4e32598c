// The histogram transforms beside OpenCV, and the two loops that carry them and the tonal filters:
// bytes through a table, and bytes counted.
//
// Slide and stretch meet the peer's table look-up, modification its histogram and look-up, the
// others the calls of their names; equalizeHist takes no colour, so there the channels are split
// and merged again. Before anything is timed the results are compared inside the picture, but for
// the equalisation: the peer's starts from the darkest level that occurs.

#include "harness.h"

#include "frame/levels_kernels.h"
#include "peer_table.h"
#include "pictures.h"

#include <benchmark/benchmark.h>
#include <opencv2/imgproc.hpp>

#include <math.h>

#include <string>

enum { SIDE = 2048, THRESHOLD = 128, SHIFT = 40 };

// ---- ours ---------------------------------------------------------------------------------------

static HGLOBAL Slide(HGLOBAL hDib, int shift, UINT mode)
{
    return HistDIBSlide(hDib, 0, 255, shift, mode, NULL);
}

static HGLOBAL Stretch(HGLOBAL hDib, int, UINT mode)
{
    return HistDIBStretch(hDib, 0, 255, 1.5f, mode, NULL);
}

static HGLOBAL Threshold(HGLOBAL hDib, int threshold, UINT mode)
{
    return HistDIBThreshold(hDib, (UINT)threshold, mode, NULL);
}

static HGLOBAL Complement(HGLOBAL hDib, int, UINT mode)
{
    return HistDIBComplement(hDib, mode, NULL);
}

static HGLOBAL Modify(HGLOBAL hDib, int, UINT mode)
{
    return HistDIBModify(hDib, mode, NULL);
}

static HGLOBAL Equalization(HGLOBAL hDib, int, UINT mode)
{
    return HistDIBEqualization(hDib, mode, NULL);
}

// ---- the peer -----------------------------------------------------------------------------------

static void PeerSlide(const cv::Mat &src, cv::Mat &dst)
{
    static const cv::Mat table =
        TableOf([](int level) { return level < 128 ? level + SHIFT : level; });
    cv::LUT(src, table, dst);
}

static void PeerStretch(const cv::Mat &src, cv::Mat &dst)
{
    static const cv::Mat table =
        TableOf([](int level) { return level < 128 ? (int)(level * 1.5 + 0.5) : level; });
    cv::LUT(src, table, dst);
}

static void PeerThreshold(const cv::Mat &src, cv::Mat &dst)
{
    cv::threshold(src, dst, THRESHOLD - 1, 255, cv::THRESH_BINARY);
}

static void PeerComplement(const cv::Mat &src, cv::Mat &dst)
{
    cv::bitwise_not(src, dst);
}

static void Count(const cv::Mat &src, int channel, cv::Mat &counts)
{
    const int nLevels = GRAY_LEVELS;
    const float range[] = {0, GRAY_LEVELS};
    const float *ranges = range;
    cv::calcHist(&src, 1, &channel, cv::Mat(), counts, 1, &nLevels, &ranges);
}

static void PeerModify(const cv::Mat &src, cv::Mat &dst)
{
    const int channels = src.channels();
    cv::Mat table(1, GRAY_LEVELS, CV_8UC(channels));
    for (int channel = 0; channel < channels; channel++) {
        cv::Mat counts;
        double share = 0;
        Count(src, channel, counts);
        for (int level = 0; level < GRAY_LEVELS; level++) {
            share += counts.at<float>(level) / (double)src.total();
            const double value = fmin(pow(10, share * 2.40824) - 1, 255);
            table.data[level * channels + channel] = (BYTE)value;
        }
    }
    cv::LUT(src, table, dst);
}

static void PeerEqualization(const cv::Mat &src, cv::Mat &dst)
{
    if (src.channels() == 1) {
        cv::equalizeHist(src, dst);
        return;
    }
    cv::Mat channels[3];
    cv::split(src, channels);
    for (cv::Mat &channel : channels) {
        cv::equalizeHist(channel, channel);
    }
    cv::merge(channels, 3, dst);
}

static const BenchRow ROWS[] = {
    {{"Slide", Slide, SHIFT}, PeerSlide, 0},
    {{"Stretch", Stretch, 0}, PeerStretch, 0},
    {{"Threshold", Threshold, THRESHOLD}, PeerThreshold, 0},
    {{"Complement", Complement, 0}, PeerComplement, 0},
    {{"Modify", Modify, 0}, PeerModify, 1},
    {{"Equalization", Equalization, 0}, PeerEqualization, NOT_COMPARED},
};

// ---- the loops ----------------------------------------------------------------------------------

// Over a whole picture, into memory that is there already.
struct Loop {
    const char *pName;
    PictureKind kind;
    void (*Ours)(const BYTE *src, size_t count, BYTE *dst);
    void (*Peer)(const cv::Mat &src, cv::Mat &dst);
};

// Without order and, unlike a curve, without a level twice.
static BYTE AnyLevel(int i)
{
    return (BYTE)(i * 167 + 13);
}

// The library keeps its choice to itself; the objects are linked beside it. (platform/cpu.h and the
// peer's headers both name a CPU_AVX2.)
static const MapKernels *Kernels(void)
{
    return __builtin_cpu_supports("avx2") ? &avx2::MAP_KERNELS : &sse2::MAP_KERNELS;
}

static void MapOurs(const BYTE *src, size_t count, BYTE *dst)
{
    BYTE table[GRAY_LEVELS];
    for (int i = 0; i < GRAY_LEVELS; i++) {
        table[i] = AnyLevel(i);
    }
    Kernels()->MapBytes(table, src, dst, count);
}

static void MapPeer(const cv::Mat &src, cv::Mat &dst)
{
    static const cv::Mat table = TableOf(AnyLevel);
    cv::LUT(src, table, dst);
}

static void MapPixelsOurs(const BYTE *src, size_t count, BYTE *dst)
{
    BYTE tables[COLOR_CHANNELS][GRAY_LEVELS];
    for (int i = 0; i < COLOR_CHANNELS * GRAY_LEVELS; i++) {
        tables[i / GRAY_LEVELS][i % GRAY_LEVELS] = AnyLevel(i * 3 + i / GRAY_LEVELS);
    }
    Kernels()->MapPixels(tables, src, dst, count);
}

static void MapPixelsPeer(const cv::Mat &src, cv::Mat &dst)
{
    static cv::Mat table;
    if (table.empty()) {
        const cv::Mat tables[3] = {TableOf(AnyLevel), TableOf([](int i) { return 255 - i; }),
                                   TableOf([](int i) { return i * 3; })};
        cv::merge(tables, 3, table);
    }
    cv::LUT(src, table, dst);
}

static void CountOurs(const BYTE *src, size_t count, BYTE *)
{
    DWORD counts[GRAY_LEVELS] = {};
    CountBytes(src, count, counts);
    benchmark::DoNotOptimize(counts);
}

static void CountPixelsOurs(const BYTE *src, size_t count, BYTE *)
{
    DWORD counts[COLOR_CHANNELS][GRAY_LEVELS] = {};
    CountPixels(src, count, counts);
    benchmark::DoNotOptimize(counts);
}

static void CountPeer(const cv::Mat &src, cv::Mat &)
{
    cv::Mat counts;
    for (int channel = 0; channel < src.channels(); channel++) {
        Count(src, channel, counts);
    }
}

static const Loop LOOPS[] = {
    {"MapBytes", PICTURE_RAMP, MapOurs, MapPeer},
    {"MapPixels", PICTURE_COLOR, MapPixelsOurs, MapPixelsPeer},
    {"CountBytes", PICTURE_RAMP, CountOurs, CountPeer},
    {"CountPixels", PICTURE_COLOR, CountPixelsOurs, CountPeer},
};

static cv::Mat WholePicture(PictureKind kind)
{
    return cv::Mat(SIDE, SIDE, IsColorPicture(kind) ? CV_8UC3 : CV_8UC1,
                   const_cast<BYTE *>(PictureBits(SharedPicture(kind, SIDE))));
}

static void RunLoop(benchmark::State &state, const Loop *pLoop, bool bOurs)
{
    const cv::Mat src = WholePicture(pLoop->kind);
    cv::Mat dst = src.clone();
    for (auto _ : state) {
        if (bOurs) {
            pLoop->Ours(src.data, src.total() * src.elemSize(), dst.data);
        } else {
            pLoop->Peer(src, dst);
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * (int64_t)src.total());
}

int main(int argc, char **argv)
{
    int bAgree = 1;
    cv::setNumThreads(1);
    for (const BenchRow &row : ROWS) {
        bAgree &= RegisterRow(&row);
    }
    for (const Loop &loop : LOOPS) {
        const std::string name =
            std::string(loop.pName) + "/" + PICTURE_NAMES[loop.kind] + "/2048-reused/";
        benchmark::RegisterBenchmark((name + "ours").c_str(), RunLoop, &loop, true);
        benchmark::RegisterBenchmark((name + "opencv").c_str(), RunLoop, &loop, false);
    }
    return RunBenchmarks(bAgree, argc, argv);
}
